#pragma once

#include "bridgebus.h"

#include <QDBusAbstractAdaptor>
#include <QStringList>

// "ru.nuvo.APM.PWA" on a desktop: an installed web app becomes a menu entry that
// starts the browser's PWA shell with a data directory of the app's own, where
// the shell finds the app's "pwaconfig.json".
class PwaService : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "ru.nuvo.APM.PWA")

public:
    explicit PwaService(QObject* parent);

    // The data home an installed app runs with, and its data directory in it.
    static QString appHome(const QString& appId);
    static QString appDataDir(const QString& appId);

public slots:
    ApmBridge::BoolString CheckInstalled(const QString& appId);
    void Install(const QString& scope, const QString& appId, const QString& name,
        const QStringList& permissions, const ApmBridge::BoolString& first,
        const ApmBridge::BoolString& second, const ApmBridge::BoolString& third, const QString& source,
        const QStringList& icons);
    void Upgrade(const QString& scope, const QString& name, const QStringList& permissions,
        const ApmBridge::BoolString& first, const ApmBridge::BoolString& second,
        const ApmBridge::BoolString& third, const QString& source, const QStringList& icons);

private:
    struct Request {
        QString scope;
        QString name;
        QString directory; // the app directory the browser prepared
        QStringList icons;
    };

    void deploy(const QString& appId, const Request& request);
    QString installedIdFor(const Request& request, const QString& startUrl) const;
};
