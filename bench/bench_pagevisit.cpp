// A page visit recorded end to end, as the browser records it: the GUI thread
// queues addHistoryEntry and addToTabHistory through DBManager and waits until
// linkAddedToTabHistory comes back. One visit at a time, on a fresh profile,
// with the same URLs as the raw sqlite3 baseline (bench_pagevisit_raw).
//
// Two more lines split the figure up: the same visits run by a DBWorker on the
// calling thread (the cost of Qt SQL without the thread), and the bare round
// trip between two threads through a condition variable (the floor of any
// hand-over to a worker thread on this machine).
//
//   bench_pagevisit [visits]      (default 2000)

#include "storage/dbmanager.h"
#include "storage/dbworker.h"
#include "support/tempprofile.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QLoggingCategory>
#include <QSettings>
#include <QTextStream>

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace
{

QString visitUrl(int i)
{
    // Fifty sites; every fifth visit goes back to a page seen before.
    return QStringLiteral("https://site%1.example.com/page/%2").arg(i % 50).arg(i % 5 == 4 ? i - 4 : i);
}

void report(const char* what, std::vector<double> us, double totalUs)
{
    const double mean = totalUs / us.size();
    std::sort(us.begin(), us.end());
    QTextStream(stdout) << what << ": " << us.size() << " visits, median "
                        << QString::number(us[us.size() / 2], 'f', 1) << " us, mean "
                        << QString::number(mean, 'f', 1) << " us, p90 "
                        << QString::number(us[us.size() * 9 / 10], 'f', 1) << " us\n";
}

// Runs visit(i) for every visit and times each one.
void measure(const char* what, int visits, const std::function<void(int)>& visit)
{
    std::vector<double> us;
    us.reserve(visits);
    QElapsedTimer total;
    total.start();
    for (int i = 0; i < visits; ++i) {
        QElapsedTimer timer;
        timer.start();
        visit(i);
        us.push_back(timer.nsecsElapsed() / 1e3);
    }
    report(what, us, total.nsecsElapsed() / 1e3);
}

void threadRoundTrip(int rounds)
{
    std::mutex mutex;
    std::condition_variable cv;
    int turn = 0;
    bool stop = false;
    std::thread peer([&] {
        std::unique_lock<std::mutex> lock(mutex);
        while (true) {
            cv.wait(lock, [&] { return turn == 1 || stop; });
            if (stop)
                return;
            turn = 0;
            cv.notify_all();
        }
    });
    std::vector<double> us;
    for (int i = 0; i < rounds; ++i) {
        QElapsedTimer timer;
        timer.start();
        std::unique_lock<std::mutex> lock(mutex);
        turn = 1;
        cv.notify_all();
        cv.wait(lock, [&] { return turn == 0; });
        us.push_back(timer.nsecsElapsed() / 1e3);
    }
    {
        std::lock_guard<std::mutex> lock(mutex);
        stop = true;
        cv.notify_all();
    }
    peer.join();
    std::sort(us.begin(), us.end());
    QTextStream(stdout) << "bare thread round trip (condition variable): median "
                        << QString::number(us[us.size() / 2], 'f', 1) << " us\n";
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("ru.nuvo"));
    QCoreApplication::setApplicationName(QStringLiteral("webdeck"));
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\nbrowser.app.*.info=false"));
    const int visits = argc > 1 ? QByteArray(argv[1]).toInt() : 2000;

    threadRoundTrip(5000);

    {
        TempProfile profile;
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, profile.path());
        DBWorker worker;
        worker.init();
        measure("DBWorker on the calling thread", visits, [&worker](int i) {
            const QString url = visitUrl(i);
            const QString title = QStringLiteral("Page %1").arg(i);
            worker.addHistoryEntry(url, title);
            worker.addToTabHistory(1 + i % 10, url, title, false);
        });
    }

    TempProfile profile;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, profile.path());
    DBManager* manager = DBManager::instance();
    QEventLoop loop;
    QObject::connect(manager, &DBManager::linkAddedToTabHistory, &loop, &QEventLoop::quit);
    QObject::connect(manager, &DBManager::tabsAvailable, &loop, &QEventLoop::quit);
    manager->getTabs(); // answers once init has run
    loop.exec();

    measure("DBManager end to end", visits, [&](int i) {
        const QString url = visitUrl(i);
        const QString title = QStringLiteral("Page %1").arg(i);
        manager->addHistoryEntry(url, title);
        manager->addToTabHistory(1 + i % 10, url, title, false);
        loop.exec();
    });
    manager->shutdown();
    return 0;
}
