#include "application.h"

#include <QGuiApplication>
#include <QQuickView>
#include <QStandardPaths>
#include <QtWebEngine/qtwebengineglobal.h>

namespace Orvane
{
namespace Application
{

    QGuiApplication* application(int& argc, char** argv)
    {
        // QtWebEngine shares its OpenGL context with the scene graph; that context
        // has to exist before the application object does. The device engine has
        // no such need, which is why the engine itself still starts later.
        QtWebEngine::initialize();
        return new QGuiApplication(argc, argv);
    }

    QQuickView* createView()
    {
        auto* view = new QQuickView;
        view->setResizeMode(QQuickView::SizeRootObjectToView);
        return view;
    }

    QString getPath(PathType type)
    {
        switch (type) {
        case AppDataPath:
            return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
        case CapturePath:
            return QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
        }
        return QString();
    }

} // namespace Application
} // namespace Orvane
