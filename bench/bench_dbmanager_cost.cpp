// What storage costs the GUI thread. First the time one DBManager call takes
// on the calling thread (queueing only; the work happens on the storage
// thread). Then a burst of 10,000 page visits queued at once: while the worker
// absorbs it, a zero-interval timer measures the longest gap between two turns
// of the GUI event loop, which also delivers the 10,000 answers.
//
//   bench_dbmanager_cost [calls] [burst]      (defaults 20000 and 10000)

#include "storage/dbmanager.h"
#include "support/tempprofile.h"

#include "benchsupport.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QLoggingCategory>
#include <QSettings>
#include <QTextStream>
#include <QTimer>

#include <algorithm>
#include <vector>

namespace
{

// Waits until every request queued so far has run.
void drain(DBManager* manager)
{
    QEventLoop loop;
    QObject::connect(manager, &DBManager::tabsAvailable, &loop, &QEventLoop::quit);
    manager->getTabs();
    loop.exec();
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("ru.nuvo"));
    QCoreApplication::setApplicationName(QStringLiteral("webdeck"));
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\nbrowser.app.*.info=false"));
    const int calls = argc > 1 ? QByteArray(argv[1]).toInt() : 20000;
    const int burst = argc > 2 ? QByteArray(argv[2]).toInt() : 10000;
    QTextStream out(stdout);

    TempProfile profile;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, profile.path());
    DBManager* manager = DBManager::instance();
    drain(manager);

    // One call on the calling thread, timed one by one.
    std::vector<double> history, tabHistory, read;
    for (int i = 0; i < calls; ++i) {
        const QString url = QStringLiteral("https://cost%1.example.com/").arg(i);
        QElapsedTimer t;
        t.start();
        manager->addHistoryEntry(url, QStringLiteral("title"));
        history.push_back(t.nsecsElapsed() / 1e3);
        t.restart();
        manager->addToTabHistory(1, url, QStringLiteral("title"), false);
        tabHistory.push_back(t.nsecsElapsed() / 1e3);
        t.restart();
        manager->getTabHistory(99, QString(), QDateTime(), QDateTime(), false);
        read.push_back(t.nsecsElapsed() / 1e3);
        if (i % 500 == 499)
            drain(manager); // keep the queue short, as interactive use does
    }
    drain(manager);
    out << "main-thread cost per call (median of " << calls << "): addHistoryEntry "
        << QString::number(median(history), 'f', 2) << " us, addToTabHistory "
        << QString::number(median(tabHistory), 'f', 2) << " us, getTabHistory "
        << QString::number(median(read), 'f', 2) << " us\n";

    // How long the event loop can stall on this machine with no storage work
    // at all: the floor under the figure of the burst.
    {
        QElapsedTimer sinceTick, idle;
        double idleLongestMs = 0;
        QTimer ticker;
        ticker.setInterval(0);
        ticker.setTimerType(Qt::PreciseTimer);
        QEventLoop idleLoop;
        QObject::connect(&ticker, &QTimer::timeout, [&] {
            idleLongestMs = std::max(idleLongestMs, sinceTick.nsecsElapsed() / 1e6);
            sinceTick.restart();
            if (idle.elapsed() > 2000)
                idleLoop.quit();
        });
        idle.start();
        sinceTick.start();
        ticker.start();
        idleLoop.exec();
        out << "idle GUI thread, 2 s: longest gap between two event loop turns "
            << QString::number(idleLongestMs, 'f', 2) << " ms\n";
    }

    // The burst.
    int answered = 0;
    QEventLoop loop;
    QObject::connect(manager, &DBManager::linkAddedToTabHistory, &loop, [&] {
        if (++answered == burst)
            loop.quit();
    });
    QElapsedTimer queueing;
    queueing.start();
    for (int i = 0; i < burst; ++i) {
        const QString url = QStringLiteral("https://burst%1.example.com/page/%2").arg(i % 50).arg(i);
        manager->addHistoryEntry(url, QStringLiteral("title"));
        manager->addToTabHistory(2 + i % 10, url, QStringLiteral("title"), false);
    }
    const double queueMs = queueing.nsecsElapsed() / 1e6;

    QElapsedTimer sinceTick;
    double longestMs = 0;
    QTimer ticker;
    ticker.setInterval(0);
    ticker.setTimerType(Qt::PreciseTimer);
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        longestMs = std::max(longestMs, sinceTick.nsecsElapsed() / 1e6);
        sinceTick.restart();
    });
    QElapsedTimer absorbing;
    absorbing.start();
    sinceTick.start();
    ticker.start();
    loop.exec();
    ticker.stop();
    out << "burst of " << burst << " visits: queued in " << QString::number(queueMs, 'f', 1)
        << " ms, absorbed in " << QString::number(absorbing.nsecsElapsed() / 1e6, 'f', 0)
        << " ms, longest GUI-thread stall while absorbing " << QString::number(longestMs, 'f', 2) << " ms\n";
    manager->shutdown();
    return 0;
}
