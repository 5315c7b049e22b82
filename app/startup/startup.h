#pragma once

#include <QString>
#include <functional>

class QQuickView;

struct StartupConfig {
    // Where the QML files live; the installed location unless a test moves it.
    QString appDataDir = QStringLiteral(WEBDECK_DATA_DIR);
    // Runs after the window is shown and before the event loop; a test uses it
    // to look at what start-up produced and to quit.
    std::function<void(QQuickView*)> beforeExec;
};

// The whole start of the browser or of a PWA shell; returns the process exit code.
int runWebdeck(int& argc, char** argv, const StartupConfig& config = StartupConfig());
