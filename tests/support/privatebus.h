#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

class QProcess;

// A dbus-daemon of the test's own, listening on a socket in a temporary
// directory, with DBUS_SYSTEM_BUS_ADDRESS (and, if asked, the session bus
// address) pointed at it while the object lives.
//
// QtDBus reads the address once, when QDBusConnection::systemBus() is first
// used, and keeps that connection for the life of the process: make one bus
// per test process (e.g. in initTestCase) before anything touches the system
// bus, and keep it until the end.
class PrivateBus
{
public:
    explicit PrivateBus(bool alsoSessionBus = false);
    ~PrivateBus();

    bool isValid() const { return !m_address.isEmpty(); }
    QString address() const { return m_address; }
    // Why the daemon did not start, for QVERIFY2.
    QString errorString() const { return m_error; }

private:
    QTemporaryDir m_dir;
    QProcess* m_daemon = nullptr;
    QString m_address;
    QString m_error;
    QByteArray m_savedSystem;
    QByteArray m_savedSession;
    bool m_session = false;
};
