#include "privatebus.h"

#include <QFile>
#include <QProcess>
#include <QSaveFile>

namespace
{
const char* const systemVariable = "DBUS_SYSTEM_BUS_ADDRESS";
const char* const sessionVariable = "DBUS_SESSION_BUS_ADDRESS";

void restore(const char* name, const QByteArray& saved)
{
    if (saved.isNull())
        qunsetenv(name);
    else
        qputenv(name, saved);
}
} // namespace

PrivateBus::PrivateBus(bool alsoSessionBus)
    : m_session(alsoSessionBus)
{
    if (!m_dir.isValid()) {
        m_error = QStringLiteral("no temporary directory");
        return;
    }
    // Everybody may own any name and call anything: the bus exists only for
    // this test process and the services it starts itself.
    const QString config = m_dir.filePath(QStringLiteral("bus.conf"));
    const QString text
        = QStringLiteral(R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>custom</type>
  <listen>unix:path=%1</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow receive_sender="*"/>
  </policy>
</busconfig>
)")
              .arg(m_dir.filePath(QStringLiteral("bus")));
    QSaveFile file(config);
    if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0 || !file.commit()) {
        m_error = file.errorString();
        return;
    }

    m_daemon = new QProcess;
    m_daemon->setProcessChannelMode(QProcess::SeparateChannels);
    m_daemon->start(QStringLiteral("dbus-daemon"),
        { QStringLiteral("--config-file=") + config, QStringLiteral("--nofork"),
            QStringLiteral("--print-address=1"), QStringLiteral("--nopidfile"),
            QStringLiteral("--nosyslog") });
    if (!m_daemon->waitForStarted(10000)) {
        m_error = QStringLiteral("dbus-daemon did not start: ") + m_daemon->errorString();
        return;
    }
    // The daemon prints its address once it listens.
    QByteArray line;
    while (!line.contains('\n') && m_daemon->waitForReadyRead(10000))
        line += m_daemon->readAllStandardOutput();
    m_address = QString::fromUtf8(line.trimmed());
    if (m_address.isEmpty()) {
        m_error = QStringLiteral("dbus-daemon printed no address: ")
            + QString::fromLocal8Bit(m_daemon->readAllStandardError());
        return;
    }
    m_savedSystem = qgetenv(systemVariable);
    qputenv(systemVariable, m_address.toUtf8());
    if (m_session) {
        m_savedSession = qgetenv(sessionVariable);
        qputenv(sessionVariable, m_address.toUtf8());
    }
}

PrivateBus::~PrivateBus()
{
    if (!m_address.isEmpty()) {
        restore(systemVariable, m_savedSystem);
        if (m_session)
            restore(sessionVariable, m_savedSession);
    }
    if (m_daemon) {
        m_daemon->terminate();
        if (!m_daemon->waitForFinished(5000)) {
            m_daemon->kill();
            m_daemon->waitForFinished(5000);
        }
        delete m_daemon;
    }
}
