#include "fakepackagemanager.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QThread>
#include <QUuid>
#include <QtTest>

namespace
{
// Interface, method, input arguments' signatures (comma-separated), output signature.
struct MethodInfo {
    const char* interface;
    const char* method;
    const char* in;
    const char* out;
};
const MethodInfo methods[] = {
    { FakePackageManager::pwaInterface, "CheckInstalled", "s", "(bs)" },
    { FakePackageManager::pwaInterface, "Install", "s,s,s,as,(bs),(bs),(bs),s,as", "" },
    { FakePackageManager::pwaInterface, "Upgrade", "s,s,as,(bs),(bs),(bs),s,as", "" },
    { FakePackageManager::bookmarksInterface, "CheckExists", "s", "b" },
    { FakePackageManager::bookmarksInterface, "Create", "s,s,s", "" },
};

QString signatureOf(const QVariant& value)
{
    if (value.userType() == qMetaTypeId<QDBusArgument>())
        return value.value<QDBusArgument>().currentSignature();
    if (value.userType() == qMetaTypeId<QDBusVariant>())
        return QStringLiteral("v");
    return QString::fromLatin1(QDBusMetaType::typeToSignature(value.userType()));
}

// Structures and arrays alike become lists of their members.
QVariant readPlain(const QDBusArgument& argument)
{
    const auto type = argument.currentType();
    if (type != QDBusArgument::StructureType && type != QDBusArgument::ArrayType)
        return FakePackageManager::plain(argument.asVariant());
    QVariantList members;
    type == QDBusArgument::StructureType ? argument.beginStructure() : argument.beginArray();
    while (!argument.atEnd())
        members << readPlain(argument);
    type == QDBusArgument::StructureType ? argument.endStructure() : argument.endArray();
    return members;
}
} // namespace

class FakePackageManager::Object : public QDBusVirtualObject
{
public:
    explicit Object(FakePackageManager* owner)
        : m_owner(owner)
    {
    }
    QString introspect(const QString&) const override { return m_owner->introspect(); }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        return m_owner->handle(message, connection);
    }

private:
    FakePackageManager* m_owner;
};

FakePackageManager::FakePackageManager(const QString& busAddress, QObject* parent)
    : QObject(parent)
    , m_address(busAddress)
    , m_connectionName(
          QStringLiteral("fakepackagemanager-") + QUuid::createUuid().toString(QUuid::WithoutBraces))
{
}

FakePackageManager::~FakePackageManager()
{
    stop();
    QDBusConnection::disconnectFromBus(m_connectionName);
    if (m_thread) {
        m_thread->quit();
        m_thread->wait();
        delete m_thread;
    }
    delete m_object;
}

void FakePackageManager::script(const QString& method, const Answer& answer)
{
    QMutexLocker lock(&m_mutex);
    m_answers.insert(method, answer);
}

void FakePackageManager::clearCalls()
{
    QMutexLocker lock(&m_mutex);
    m_calls.clear();
}

bool FakePackageManager::start(const QStringList& interfaces)
{
    {
        QMutexLocker lock(&m_mutex);
        m_interfaces = interfaces;
    }
    QDBusConnection connection = QDBusConnection::connectToBus(m_address, m_connectionName);
    if (!connection.isConnected()) {
        m_error = connection.lastError().message();
        return false;
    }
    if (!m_object) {
        m_thread = new QThread;
        m_thread->setObjectName(QStringLiteral("fakepackagemanager"));
        m_thread->start();
        m_object = new Object(this);
        m_object->moveToThread(m_thread);
    }
    if (!connection.registerVirtualObject(QLatin1String(objectPath), m_object)) {
        m_error = QStringLiteral("cannot export ") + QLatin1String(objectPath);
        return false;
    }
    if (!connection.registerService(QLatin1String(serviceName))) {
        m_error = connection.lastError().message();
        return false;
    }
    return true;
}

void FakePackageManager::stop()
{
    QDBusConnection connection(m_connectionName);
    if (!connection.isConnected())
        return;
    connection.unregisterService(QLatin1String(serviceName));
    connection.unregisterObject(QLatin1String(objectPath));
}

QString FakePackageManager::introspect() const
{
    QMutexLocker lock(&m_mutex);
    QString xml;
    for (const QString& interface : m_interfaces) {
        xml += QStringLiteral("<interface name=\"%1\">\n").arg(interface);
        for (const MethodInfo& info : methods) {
            if (interface != QLatin1String(info.interface))
                continue;
            xml += QStringLiteral("<method name=\"%1\">").arg(QLatin1String(info.method));
            const QStringList in = QString::fromLatin1(info.in).split(QLatin1Char(','));
            for (int i = 0; i < in.size(); ++i)
                xml += QStringLiteral("<arg name=\"arg%1\" type=\"%2\" direction=\"in\"/>").arg(i).arg(in[i]);
            if (*info.out)
                xml += QStringLiteral("<arg name=\"result\" type=\"%1\" direction=\"out\"/>")
                           .arg(QLatin1String(info.out));
            xml += QStringLiteral("</method>\n");
        }
        xml += QStringLiteral("</interface>\n");
    }
    return xml;
}

bool FakePackageManager::handle(const QDBusMessage& message, const QDBusConnection& connection)
{
    if (message.type() != QDBusMessage::MethodCallMessage)
        return false;
    QMutexLocker lock(&m_mutex);
    const MethodInfo* info = nullptr;
    for (const MethodInfo& candidate : methods) {
        if (message.member() == QLatin1String(candidate.method)
            && (message.interface().isEmpty() || message.interface() == QLatin1String(candidate.interface))
            && m_interfaces.contains(QLatin1String(candidate.interface)))
            info = &candidate;
    }
    if (!info)
        return false; // QtDBus answers UnknownMethod

    Call call;
    call.interface = message.interface();
    call.method = message.member();
    for (const QVariant& argument : message.arguments()) {
        call.signatures << signatureOf(argument);
        call.arguments << plain(argument);
    }
    m_calls << call;

    Answer answer;
    if (m_answers.contains(call.method)) {
        answer = m_answers.value(call.method);
    } else if (call.method == QLatin1String("CheckInstalled")) {
        answer = Answer::reply({ structure({ false, QString() }) });
    } else if (call.method == QLatin1String("CheckExists")) {
        answer = Answer::reply({ false });
    }

    switch (answer.kind) {
    case Answer::Values:
        connection.send(message.createReply(answer.values));
        break;
    case Answer::Error:
        connection.send(message.createErrorReply(answer.errorName, answer.errorMessage));
        break;
    case Answer::NoReply:
        // The caller waits until its own timeout.
        message.setDelayedReply(true);
        break;
    }
    lock.unlock();
    emit called(call.method);
    return true;
}

QList<FakePackageManager::Call> FakePackageManager::calls(const QString& method) const
{
    QMutexLocker lock(&m_mutex);
    QList<Call> result;
    for (const Call& call : m_calls) {
        if (method.isEmpty() || call.method == method)
            result << call;
    }
    return result;
}

QVariant FakePackageManager::structure(const QVariantList& members)
{
    QDBusArgument argument;
    argument.beginStructure();
    for (const QVariant& member : members) {
        switch (member.userType()) {
        case QMetaType::Bool:
            argument << member.toBool();
            break;
        case QMetaType::Int:
            argument << member.toInt();
            break;
        case QMetaType::QString:
            argument << member.toString();
            break;
        case QMetaType::QStringList:
            argument << member.toStringList();
            break;
        default:
            argument << QDBusVariant(member);
        }
    }
    argument.endStructure();
    return QVariant::fromValue(argument);
}

QVariant FakePackageManager::plain(const QVariant& argument)
{
    if (argument.userType() == qMetaTypeId<QDBusArgument>())
        return readPlain(argument.value<QDBusArgument>());
    return argument;
}
