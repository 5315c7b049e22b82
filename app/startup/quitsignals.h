#pragma once

#include <QObject>

class QSocketNotifier;

// Turns SIGTERM and SIGINT from the desktop session into an orderly quit of
// the event loop, so that storage drains and the open tabs stay for the next
// start. A signal handler may do almost nothing, so it only writes the signal
// number into a socket pair; the notifier reads it on the main thread.
class QuitSignals : public QObject
{
    Q_OBJECT
public:
    // Installs the handlers; only one instance may exist at a time.
    explicit QuitSignals(QObject* parent = nullptr);
    ~QuitSignals() override;

signals:
    // The number of the signal that arrived; emitted on the main thread.
    void quitRequested(int signalNumber);

private:
    void readSignal();

    QSocketNotifier* m_notifier = nullptr;
};
