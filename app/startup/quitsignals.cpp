#include "quitsignals.h"

#include "utils/logcategories.h"

#include <QSocketNotifier>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace
{
int s_fds[2] = { -1, -1 };

void onSignal(int signalNumber)
{
    const char byte = char(signalNumber);
    // Nothing can be done about a full pipe inside a handler; a quit is already pending then.
    [[maybe_unused]] const ssize_t written = ::write(s_fds[0], &byte, 1);
}

void setHandler(int signalNumber, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(signalNumber, &action, nullptr);
}
} // namespace

QuitSignals::QuitSignals(QObject* parent)
    : QObject(parent)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, s_fds) != 0) {
        qCWarning(lcApp) << "cannot watch quit signals";
        return;
    }
    m_notifier = new QSocketNotifier(s_fds[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &QuitSignals::readSignal);
    setHandler(SIGTERM, onSignal);
    setHandler(SIGINT, onSignal);
}

QuitSignals::~QuitSignals()
{
    if (!m_notifier)
        return;
    setHandler(SIGTERM, SIG_DFL);
    setHandler(SIGINT, SIG_DFL);
    delete m_notifier;
    ::close(s_fds[0]);
    ::close(s_fds[1]);
    s_fds[0] = s_fds[1] = -1;
}

void QuitSignals::readSignal()
{
    char byte = 0;
    if (::read(s_fds[1], &byte, 1) != 1)
        return;
    qCInfo(lcApp) << "quit on signal" << int(byte);
    emit quitRequested(int(byte));
}
