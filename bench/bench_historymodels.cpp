// The history page and search as the GUI thread feels them: from the call
// until the rows are in the model, and the longest stretch in between during
// which the GUI thread could not run anything else. Also the cost of painting
// one letter icon.
//
//   bench_historymodels [runs]

#include "history/historymodel.h"
#include "history/lettericon.h"
#include "history/searchmodel.h"
#include "storage/dbmanager.h"
#include "support/dbfileprobe.h"
#include "support/tempprofile.h"

#include "benchsupport.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QGuiApplication>
#include <QSignalSpy>
#include <QSqlQuery>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>

namespace
{
double threadCpuMs()
{
    timespec ts;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return ts.tv_sec * 1e3 + ts.tv_nsec / 1e6;
}

void drain()
{
    QSignalSpy spy(DBManager::instance(), &DBManager::deviceModeAvailable);
    DBManager::instance()->getDeviceMode(QStringLiteral("drain.example"), false);
    spy.wait(60000);
}

// Rows written by a connection of its own, after start-up trimmed the history.
void seedHistory(const QString& path, int rows)
{
    DbFileProbe db(path);
    QSqlDatabase conn = db.database();
    conn.transaction();
    QSqlQuery insert(conn);
    insert.prepare(QStringLiteral("INSERT INTO browser_history (url, title, date) VALUES (?, ?, ?)"));
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    for (int i = 0; i < rows; ++i) {
        insert.addBindValue(QStringLiteral("https://site%1.example/page/%2").arg(i % 5000).arg(i));
        insert.addBindValue(QStringLiteral("Page %1 about word%2").arg(i).arg(i % 100));
        insert.addBindValue(now - qint64(i) * 1000);
        insert.exec();
    }
    conn.commit();
}

struct Timing {
    double total = 0; // call until the rows are in the model, ms
    double longestBlock = 0; // longest gap between two turns of the GUI event loop, ms
    double answerCpu = 0; // GUI thread CPU time from the answer's arrival until the rows are in, ms
    double longestBusy = 0; // most GUI thread CPU time spent between two turns of the loop, ms
};

// GUI thread CPU time spent from the storage answer until the model holds the rows:
// the part of the work that no other thread's load can inflate.
// Made before the model, so that its handler of the answer runs before the model's.
struct AnswerClock {
    QObject context;
    double startedAt = 0;
    double spent = 0;
    AnswerClock()
    {
        QObject::connect(DBManager::instance(), &DBManager::historyAvailable, &context,
            [this] { startedAt = threadCpuMs(); });
    }
    void watch(BaseHistoryModel& model)
    {
        QObject::connect(&model, &BaseHistoryModel::countChanged, &context, [this] {
            if (startedAt > 0)
                spent = threadCpuMs() - startedAt;
        });
    }
};

// Runs request(), then spins the event loop until done() holds. A 0 ms timer
// notes every turn of the loop; the widest gap between turns is the longest
// time the GUI thread was busy with one thing.
Timing measure(const std::function<void()>& request, const std::function<bool()>& done)
{
    QElapsedTimer clock;
    qint64 lastTurn = 0;
    qint64 widest = 0;
    double lastCpu = threadCpuMs();
    double busiest = 0;
    QTimer ticker;
    ticker.setInterval(0);
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        const qint64 now = clock.nsecsElapsed();
        widest = qMax(widest, now - lastTurn);
        lastTurn = now;
        const double cpu = threadCpuMs();
        busiest = qMax(busiest, cpu - lastCpu);
        lastCpu = cpu;
    });
    clock.start();
    ticker.start();
    request();
    widest = qMax(widest, clock.nsecsElapsed()); // the call itself blocks too
    lastTurn = clock.nsecsElapsed();
    while (!done())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    const qint64 end = clock.nsecsElapsed();
    widest = qMax(widest, end - lastTurn);
    busiest = qMax(busiest, threadCpuMs() - lastCpu);
    return { end / 1e6, widest / 1e6, 0, busiest };
}

void report(const char* name, const QVector<Timing>& runs, const char* goal)
{
    QVector<double> totals, blocks, cpu, busy;
    for (const Timing& t : runs) {
        totals << t.total;
        blocks << t.longestBlock;
        cpu << t.answerCpu;
        busy << t.longestBusy;
    }
    std::printf("%s (goal: %s)\n  until rows: median %.2f ms\n"
                "  longest GUI loop gap (wall): median %.2f ms, max %.2f ms\n"
                "  longest GUI thread CPU between loop turns: median %.2f ms, max %.2f ms\n"
                "  GUI thread CPU for the answer: median %.2f ms, max %.2f ms\n",
        name, goal, median(totals), median(blocks), *std::max_element(blocks.begin(), blocks.end()),
        median(busy), *std::max_element(busy.begin(), busy.end()), median(cpu),
        *std::max_element(cpu.begin(), cpu.end()));
}
} // namespace

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("ru.nuvo"));
    QCoreApplication::setApplicationName(QStringLiteral("webdeck"));
    const int runs = argc > 1 ? QByteArray(argv[1]).toInt() : 9;
    TempProfile profile;
    drain();

    seedHistory(profile.databasePath(), 10000);
    {
        QVector<Timing> timings;
        for (int i = 0; i < runs; ++i) {
            AnswerClock answer;
            HistoryModel model;
            answer.watch(model);
            timings << measure([&] { model.getHistory(QString()); }, [&] { return model.count() == 10000; });
            timings.last().answerCpu = answer.spent;
        }
        report("HistoryModel refill, 10,000 links", timings, "block < 4 ms");
    }

    seedHistory(profile.databasePath(), 90000);
    {
        QVector<Timing> timings;
        int found = 0;
        for (int i = 0; i < runs; ++i) {
            AnswerClock answer;
            SearchModel model;
            answer.watch(model);
            const QString term = QStringLiteral("word%1").arg(40 + i);
            timings << measure([&] { model.search(term); }, [&] { return model.count() > 0; });
            timings.last().answerCpu = answer.spent;
            found = model.count();
        }
        report("SearchModel search, 100,000 rows", timings, "rows < 50 ms, block < 4 ms");
        std::printf("%-40s (%d rows found per search)\n", "", found);
    }

    {
        QVector<double> image, url;
        for (int i = 0; i < 200; ++i) {
            QElapsedTimer t;
            t.start();
            LetterIcon::image(QString(QChar(u'A' + i % 26)));
            image << t.nsecsElapsed() / 1e6;
            t.restart();
            LetterIcon::dataUrl(QString(QChar(u'A' + i % 26)));
            url << t.nsecsElapsed() / 1e6;
        }
        std::printf("%-40s median %7.3f ms per icon (as PNG data URL %7.3f ms)   goal: < 2 ms\n",
            "Letter icon painting", median(image), median(url));
    }
    DBManager::instance()->shutdown();
    return 0;
}
