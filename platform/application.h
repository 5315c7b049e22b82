#pragma once

#include <QString>

class QGuiApplication;
class QQuickView;

namespace Orvane
{
namespace Application
{

    // The platform numbers its well-known directories; only the two that the
    // browser asks for are defined. See docs/decisions.md for the desktop mapping.
    enum PathType {
        AppDataPath = 16, // the application's own writable data directory
        CapturePath = 20, // where camera captures and screenshots go
    };

    // Makes the application object. The caller owns it.
    QGuiApplication* application(int& argc, char** argv);

    // Makes the view that shows the QML UI. The caller owns it.
    QQuickView* createView();

    // The directory of a PathType, or an empty string for a type this platform does not know.
    QString getPath(PathType type);

} // namespace Application
} // namespace Orvane
