#include "platformqmltypes.h"

#include <permissionmanager.h>
#include <webview.h>

#include <QtQml>

void registerPlatformQmlTypes()
{
    const char* uri = "ru.orvaneos.WebView";
    qmlRegisterType<Orvane::WebView::WebView>(uri, 1, 0, "WebView");
    qmlRegisterSingletonType<Orvane::WebView::PermissionManager>(
        uri, 1, 0, "PermissionManager", &Orvane::WebView::PermissionManager::GetInstance);
}
