// A page visit recorded end to end, as the browser records it: the GUI thread
// queues addHistoryEntry and addToTabHistory through DBManager and waits until
// linkAddedToTabHistory comes back. Two measures: serial, one visit at a time,
// each waited for (the latency of a visit), and pipelined, all visits queued
// back to back and timed until the last signal, divided by their number (the
// throughput while the user browses). The URLs are those of the raw sqlite3
// baseline (bench_pagevisit_raw).
//
// Further lines split and frame the figure: the same visits run by a DBWorker
// on the calling thread (Qt SQL without the thread), the bare round trip
// between two threads through a condition variable (the floor of any hand-over
// to a worker thread on this machine), and the same visits through a storage
// thread set up like DBManager's with WAL and with SQLite's default rollback
// journal (journal_mode=DELETE, synchronous=FULL), which the browser never runs.
//
// Last, a burst: that many further visits queued through DBManager at once
// (a session restore, a history import), timed until the last signal; the
// raw program's "burst" mode runs the same statements in one transaction.
//
//   bench_pagevisit [visits] [rollback visits] [burst]      (defaults 2000, 200, 10000)
//
// With 0 visits only the burst runs (for a profiler).

#include "storage/dbmanager.h"
#include "storage/dbworker.h"
#include "support/tempprofile.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QLoggingCategory>
#include <QMap>
#include <QSettings>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTextStream>
#include <QThread>
#include <QVariant>

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

// Per thread of this process: name, ns on a CPU, ns waiting for one (/proc schedstat).
QMap<QString, QPair<qint64, qint64>> threadTimes()
{
    QMap<QString, QPair<qint64, qint64>> times;
    for (const QString& tid :
        QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile comm(QStringLiteral("/proc/self/task/%1/comm").arg(tid));
        QFile stat(QStringLiteral("/proc/self/task/%1/schedstat").arg(tid));
        if (!comm.open(QIODevice::ReadOnly) || !stat.open(QIODevice::ReadOnly))
            continue;
        const QList<QByteArray> fields = stat.readAll().split(' ');
        times.insert(QString::fromLatin1(comm.readAll().trimmed()) + QLatin1Char('/') + tid,
            qMakePair(fields.value(0).toLongLong(), fields.value(1).toLongLong()));
    }
    return times;
}

void reportThreadTimes(const QMap<QString, QPair<qint64, qint64>>& before)
{
    const auto after = threadTimes();
    for (auto it = after.begin(); it != after.end(); ++it) {
        const auto start = before.value(it.key());
        const qint64 run = it.value().first - start.first;
        const qint64 wait = it.value().second - start.second;
        if (run > 1000000)
            QTextStream(stdout) << "  thread " << it.key() << ": " << QString::number(run / 1e6, 'f', 1)
                                << " ms on a CPU, " << QString::number(wait / 1e6, 'f', 1)
                                << " ms waiting for one\n";
    }
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

// A storage thread set up the way DBManager sets up its own (worker moved to
// the thread, init queued first, requests queued by name), for the journal
// variant that DBManager has no switch for.
class StorageThread
{
public:
    explicit StorageThread(bool rollbackJournal)
        : m_worker(new DBWorker)
    {
        m_worker->moveToThread(&m_thread);
        QObject::connect(&m_thread, &QThread::finished, m_worker, &QObject::deleteLater);
        m_thread.start();
        QMetaObject::invokeMethod(m_worker, "init", Qt::QueuedConnection);
        if (rollbackJournal) {
            QMetaObject::invokeMethod(
                m_worker,
                [] {
                    // On the storage thread, on the worker's own connection to the file.
                    QSqlQuery pragma(QSqlDatabase::database());
                    if (!pragma.exec(QStringLiteral("PRAGMA journal_mode=DELETE")) || !pragma.next()
                        || pragma.value(0).toString() != QLatin1String("delete"))
                        qFatal("the file did not leave WAL mode");
                    pragma.finish();
                    pragma.exec(QStringLiteral("PRAGMA synchronous=FULL"));
                },
                Qt::QueuedConnection);
        }
    }
    ~StorageThread()
    {
        QMetaObject::invokeMethod(
            m_worker, [] { QThread::currentThread()->quit(); }, Qt::QueuedConnection);
        m_thread.wait();
    }

    DBWorker* worker() const { return m_worker; }
    void addHistoryEntry(const QString& url, const QString& title)
    {
        QMetaObject::invokeMethod(
            m_worker, "addHistoryEntry", Qt::QueuedConnection, Q_ARG(QString, url), Q_ARG(QString, title));
    }
    void addToTabHistory(int tabId, const QString& url, const QString& title, bool isPrivate)
    {
        QMetaObject::invokeMethod(m_worker, "addToTabHistory", Qt::QueuedConnection, Q_ARG(int, tabId),
            Q_ARG(QString, url), Q_ARG(QString, title), Q_ARG(bool, isPrivate));
    }
    void getTabs() { QMetaObject::invokeMethod(m_worker, "getTabs", Qt::QueuedConnection); }

private:
    QThread m_thread;
    DBWorker* m_worker;
};

// Serial, then pipelined, visits through a storage thread. source carries
// linkAddedToTabHistory and tabsAvailable back to this thread; storage takes the requests.
template <typename Source, typename Storage>
void measureThread(const QString& what, Source* source, Storage* storage, int visits)
{
    QEventLoop loop;
    int received = 0;
    int target = 0;
    const auto added = QObject::connect(source, &Source::linkAddedToTabHistory, &loop, [&] {
        if (++received >= target)
            loop.quit();
    });
    const auto ready = QObject::connect(source, &Source::tabsAvailable, &loop, &QEventLoop::quit);
    storage->getTabs(); // answers once init has run
    loop.exec();
    QObject::disconnect(ready);

    auto queueVisit = [storage](int i) {
        const QString url = visitUrl(i);
        const QString title = QStringLiteral("Page %1").arg(i);
        storage->addHistoryEntry(url, title);
        storage->addToTabHistory(1 + i % 10, url, title, false);
    };

    measure(qPrintable(what + QStringLiteral(", serial")), visits, [&](int i) {
        target = received + 1;
        queueVisit(i);
        loop.exec();
    });

    // New pages again, in the same mix: the serial run has seen visits 0 .. visits - 1.
    QElapsedTimer total;
    total.start();
    target = received + visits;
    for (int i = visits; i < 2 * visits; ++i)
        queueVisit(i);
    const double queuedUs = total.nsecsElapsed() / 1e3;
    loop.exec();
    const double totalUs = total.nsecsElapsed() / 1e3;
    QTextStream(stdout) << what << ", pipelined: " << visits << " visits queued at once, "
                        << QString::number(totalUs / visits, 'f', 1) << " us per visit (queueing took "
                        << QString::number(queuedUs / 1e3, 'f', 1) << " ms of "
                        << QString::number(totalUs / 1e3, 'f', 1) << " ms)\n";
    QObject::disconnect(added);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("ru.nuvo"));
    QCoreApplication::setApplicationName(QStringLiteral("webdeck"));
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\nbrowser.app.*.info=false"));
    const int visits = argc > 1 ? QByteArray(argv[1]).toInt() : 2000;
    const int rollbackVisits = argc > 2 ? QByteArray(argv[2]).toInt() : 200;
    const int burst = argc > 3 ? QByteArray(argv[3]).toInt() : 10000;
    qRegisterMetaType<QList<Tab>>("QList<Tab>"); // DBManager registers it for itself

    if (visits > 0)
        threadRoundTrip(5000);

    if (visits > 0) {
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

    for (const bool rollback : { false, true }) {
        if (visits <= 0)
            break;
        TempProfile profile;
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, profile.path());
        StorageThread storage(rollback);
        measureThread(rollback ? QStringLiteral("storage thread, DELETE journal + synchronous=FULL")
                               : QStringLiteral("storage thread, WAL + synchronous=NORMAL"),
            storage.worker(), &storage, rollback ? rollbackVisits : visits);
    }

    TempProfile profile;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, profile.path());
    DBManager* manager = DBManager::instance();
    QEventLoop loop;
    if (visits > 0) {
        measureThread(QStringLiteral("DBManager end to end"), manager, manager, visits);
    } else {
        // The burst starts on an opened file, as it does after the serial runs.
        const auto ready = QObject::connect(manager, &DBManager::tabsAvailable, &loop, &QEventLoop::quit);
        manager->getTabs();
        loop.exec();
        QObject::disconnect(ready);
    }

    int received = 0;
    QObject::connect(manager, &DBManager::linkAddedToTabHistory, &loop, [&] {
        if (++received == burst)
            loop.quit();
    });
    const auto threadsBefore = threadTimes();
    QElapsedTimer total;
    total.start();
    for (int i = 2 * visits; i < 2 * visits + burst; ++i) {
        const QString url = visitUrl(i);
        const QString title = QStringLiteral("Page %1").arg(i);
        manager->addHistoryEntry(url, title);
        manager->addToTabHistory(1 + i % 10, url, title, false);
    }
    loop.exec();
    QTextStream(stdout) << "DBManager burst: " << burst << " visits queued at once, "
                        << QString::number(total.nsecsElapsed() / 1e3 / burst, 'f', 1) << " us per visit, "
                        << QString::number(total.nsecsElapsed() / 1e6, 'f', 1) << " ms in all\n";
    reportThreadTimes(threadsBefore);
    manager->shutdown();
    return 0;
}
