#include "application.h"

#include <QGuiApplication>
#include <QQuickView>
#include <QStandardPaths>

namespace Orvane {
namespace Application {

QGuiApplication* application(int& argc, char** argv)
{
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
