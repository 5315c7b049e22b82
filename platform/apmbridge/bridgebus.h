#pragma once

#include <QDBusArgument>
#include <QDBusContext>
#include <QDBusError>
#include <QLoggingCategory>
#include <QMetaType>
#include <QString>

Q_DECLARE_LOGGING_CATEGORY(lcApmBridge) // "browser.apmbridge"

namespace ApmBridge
{

// The (bs) structure of the package manager's calls: the installed-check reply
// and the three option structures of Install and Upgrade.
struct BoolString {
    bool flag = false;
    QString text;
};

QDBusArgument& operator<<(QDBusArgument& argument, const BoolString& value);
const QDBusArgument& operator>>(const QDBusArgument& argument, BoolString& value);
void registerBusTypes();

// The object at "/ru/nuvo/APM". QtDBus keeps the call context of an adaptor's
// slot on the adaptor's parent, so the adaptors reach their caller through it.
class BridgeObject : public QObject, protected QDBusContext
{
    Q_OBJECT

public:
    // The system bus is shared by every user of the machine, while the bridge
    // writes into its own user's home: only callers running as that user are
    // served, so nobody can put entries into another user's menu. False, after
    // an error reply, for anyone else.
    bool acceptCaller();
    void replyError(QDBusError::ErrorType type, const QString& text);
};

// The bridge object of an adaptor.
inline BridgeObject* bridgeOf(QObject* adaptor)
{
    return static_cast<BridgeObject*>(adaptor->parent());
}

} // namespace ApmBridge

Q_DECLARE_METATYPE(ApmBridge::BoolString)
