#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QHash>
#include <QMutex>
#include <QStringList>
#include <QVariantList>

// The platform package manager as the browser sees it: service "ru.nuvo.APM",
// object "/ru/nuvo/APM", interfaces "ru.nuvo.APM.PWA" (CheckInstalled,
// Install, Upgrade) and "ru.nuvo.APM.Bookmarks" (CheckExists, Create).
//
// It lives in the test process on a connection of its own to the bus at
// `address` (a PrivateBus), so the product's calls really cross the daemon,
// and answers on a thread of its own, so that a caller blocking the test's
// main thread in a synchronous call still gets its reply.
// Every call is recorded with its arguments and their D-Bus signatures; each
// method answers as scripted: values, an error, or never.
class FakePackageManager : public QObject
{
    Q_OBJECT
public:
    static constexpr const char* serviceName = "ru.nuvo.APM";
    static constexpr const char* objectPath = "/ru/nuvo/APM";
    static constexpr const char* pwaInterface = "ru.nuvo.APM.PWA";
    static constexpr const char* bookmarksInterface = "ru.nuvo.APM.Bookmarks";

    struct Answer {
        enum Kind { Values, Error, NoReply };
        Kind kind = Values;
        QVariantList values; // reply arguments; use structure() for a D-Bus structure
        QString errorName = QStringLiteral("ru.nuvo.APM.Error.Failed");
        QString errorMessage = QStringLiteral("refused by the test");

        static Answer reply(const QVariantList& values = {}) { return { Values, values, {}, {} }; }
        static Answer error(const QString& name, const QString& message)
        {
            return { Error, {}, name, message };
        }
        static Answer never() { return { NoReply, {}, {}, {} }; }
    };

    struct Call {
        QString interface;
        QString method;
        QVariantList arguments; // as plain values: structures and arrays become QVariantLists
        QStringList signatures; // one D-Bus signature per argument, e.g. "s", "as", "(bs)"
        QString signature() const { return signatures.join(QString()); }
    };

    explicit FakePackageManager(const QString& busAddress, QObject* parent = nullptr);
    ~FakePackageManager() override;

    // Connects, exports the object and takes the service name. The
    // interfaces that the object should not have can be left out, to play a
    // package manager that lacks one.
    bool start(
        const QStringList& interfaces = { QLatin1String(pwaInterface), QLatin1String(bookmarksInterface) });
    void stop(); // gives up the name and the object
    QString errorString() const { return m_error; }

    // The default answers are CheckInstalled (false, ""), CheckExists false and
    // an empty reply for the other methods.
    void script(const QString& method, const Answer& answer);

    QList<Call> calls(const QString& method = QString()) const;
    void clearCalls();

    // A D-Bus structure of these values, e.g. structure({ true, QString() }) for "(bs)".
    static QVariant structure(const QVariantList& members);
    // A received argument turned into plain values (structures and arrays become lists).
    static QVariant plain(const QVariant& argument);

signals:
    void called(const QString& method); // emitted on the service's thread

private:
    class Object;
    bool handle(const QDBusMessage& message, const QDBusConnection& connection);
    QString introspect() const;

    QString m_address;
    QString m_connectionName;
    QString m_error;
    QStringList m_interfaces;
    QHash<QString, Answer> m_answers;
    QList<Call> m_calls;
    Object* m_object = nullptr;
    QThread* m_thread = nullptr;
    mutable QMutex m_mutex; // calls, answers and interfaces are shared with the service thread
};
