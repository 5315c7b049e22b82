#include "bridgebus.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>

#include <unistd.h>

Q_LOGGING_CATEGORY(lcApmBridge, "browser.apmbridge")

namespace ApmBridge
{

QDBusArgument& operator<<(QDBusArgument& argument, const BoolString& value)
{
    argument.beginStructure();
    argument << value.flag << value.text;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, BoolString& value)
{
    argument.beginStructure();
    argument >> value.flag >> value.text;
    argument.endStructure();
    return argument;
}

void registerBusTypes()
{
    qDBusRegisterMetaType<BoolString>();
}

bool BridgeObject::acceptCaller()
{
    const QString caller = message().service();
    const QDBusReply<uint> uid = connection().interface()->serviceUid(caller);
    if (uid.isValid() && uid.value() == ::getuid())
        return true;
    qCWarning(lcApmBridge) << "refused caller" << caller << "of user" << uid.value() << uid.error().message();
    sendErrorReply(QDBusError::AccessDenied, QStringLiteral("the bridge serves only its own user"));
    return false;
}

void BridgeObject::replyError(QDBusError::ErrorType type, const QString& text)
{
    qCWarning(lcApmBridge) << "refused" << message().member() << text;
    sendErrorReply(type, text);
}

} // namespace ApmBridge
