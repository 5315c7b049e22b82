#include "bookmarkservice.h"
#include "bridgebus.h"
#include "pwaservice.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QLoggingCategory>

// The bridge answers the browser's package-manager calls on the system bus, the
// same bus the browser uses on the device, running as the desktop user it
// installs for.
int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    app.setApplicationName(QStringLiteral("ru.nuvo.webdeck-apmbridge"));
    // SIGTERM from the session ends the bridge at once: every file goes through
    // a save file, so a stop at any moment leaves nothing half written.
    // The shared id rules log every id they make; the bridge's own lines say more.
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    ApmBridge::registerBusTypes();

    QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) {
        qCCritical(lcApmBridge) << "no system bus:" << bus.lastError().message();
        return 1;
    }
    ApmBridge::BridgeObject root;
    new PwaService(&root);
    new BookmarkService(&root);
    if (!bus.registerObject(QStringLiteral("/ru/nuvo/APM"), &root, QDBusConnection::ExportAdaptors)) {
        qCCritical(lcApmBridge) << "cannot register /ru/nuvo/APM:" << bus.lastError().message();
        return 1;
    }
    if (!bus.registerService(QStringLiteral("ru.nuvo.APM"))) {
        qCCritical(lcApmBridge) << "cannot own ru.nuvo.APM (another bridge runs?):"
                                << bus.lastError().message();
        return 1;
    }
    qCInfo(lcApmBridge) << "serving ru.nuvo.APM";
    return app.exec();
}
