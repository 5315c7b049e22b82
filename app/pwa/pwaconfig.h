#pragma once

#include <QMetaType>
#include <QString>

// How an installed web app is launched, as the installer wrote it into
// "pwaconfig.json" beside the app.
struct PwaConfig {
    Q_GADGET
    // The page the app opens with.
    Q_PROPERTY(QString startUrl MEMBER startUrl)
    // Navigation outside this URL leaves the app.
    Q_PROPERTY(QString scope MEMBER scope)
    // The manifest's display mode ("standalone", "fullscreen", "minimal-ui").
    Q_PROPERTY(QString display MEMBER display)
    // True only when read from a well-formed file.
    Q_PROPERTY(bool valid MEMBER valid)
public:
    QString startUrl;
    QString scope;
    QString display;
    bool valid = false;
};

Q_DECLARE_METATYPE(PwaConfig)
