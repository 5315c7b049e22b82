// Read paths of the history page and of tab restore, on profiles of growing size:
// getHistory with a text filter, getMostVisitedLinks, and getTabs with its
// substring joins.
//
// Usage: bench_historyreads [--runs N] [--indexes none|url-date|url-date-title|url-date-title-count]
//   Measures against the indexes that start-up creates. "--indexes none" drops
//   the history, tab history and link indexes first; the other variants put a
//   browser_history index on the columns named in place of the one on url
//   that start-up creates.

#include "storage/dbworker.h"
#include "support/tempprofile.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTextStream>
#include <QVariant>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <random>
#include <vector>

namespace
{

QTextStream out(stdout);

bool exec(QSqlQuery& query)
{
    if (query.exec())
        return true;
    out << "statement failed: " << query.lastQuery() << ": " << query.lastError().text() << '\n';
    return false;
}

bool run(const QString& sql)
{
    QSqlQuery query(QSqlDatabase::database());
    return query.prepare(sql) && exec(query);
}

QString indexSet;

// The history index on url that start-up creates, whatever its columns.
QStringList urlIndexes()
{
    QSqlQuery query(QSqlDatabase::database());
    query.exec(QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'index' AND tbl_name = "
                              "'browser_history' AND name LIKE 'browser_history_url%'"));
    QStringList names;
    while (query.next())
        names.append(query.value(0).toString());
    return names;
}

void adjustIndexes()
{
    const QMap<QString, QString> variants = {
        { QStringLiteral("url-date"), QStringLiteral("(url, date)") },
        { QStringLiteral("url-date-title"), QStringLiteral("(url, date, title)") },
        { QStringLiteral("url-date-title-count"), QStringLiteral("(url, date, title, visited_count)") },
    };
    if (indexSet == QLatin1String("none")) {
        for (const QString& name : urlIndexes())
            run(QStringLiteral("DROP INDEX %1").arg(name));
        for (const char* name : { "browser_history_date", "tab_history_tab_id", "link_url" })
            run(QStringLiteral("DROP INDEX IF EXISTS %1").arg(QLatin1String(name)));
    } else if (variants.contains(indexSet)) {
        for (const QString& name : urlIndexes())
            run(QStringLiteral("DROP INDEX %1").arg(name));
        run(QStringLiteral("CREATE INDEX bench_history_url ON browser_history %1")
                .arg(variants.value(indexSet)));
    }
}

const QStringList words = {
    QStringLiteral("news"),
    QStringLiteral("weather"),
    QStringLiteral("recipes"),
    QStringLiteral("maps"),
    QStringLiteral("travel"),
    QStringLiteral("music"),
    QStringLiteral("sports"),
    QStringLiteral("shop"),
    QStringLiteral("forum"),
    QStringLiteral("docs"),
    QStringLiteral("video"),
    QStringLiteral("mail"),
};

// rows history rows over rows / 5 distinct urls, one row per url and day, in the
// last year; about one title in twelve and one host in twelve mention "news".
void fillHistory(int rows)
{
    std::mt19937 random(42);
    const int urls = std::max(1, rows / 5);
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const qint64 year = 365LL * 24 * 60 * 60 * 1000;
    QSqlDatabase db = QSqlDatabase::database();
    db.transaction();
    QSqlQuery insert(db);
    insert.prepare(
        QStringLiteral("INSERT INTO browser_history (url, title, date, visited_count) VALUES (?, ?, ?, ?)"));
    for (int i = 0; i < rows; ++i) {
        const int u = int(random() % urls);
        const QString host = words.at(u % words.size()) + QString::number(u / words.size());
        insert.addBindValue(QStringLiteral("https://%1.example.com/page/%2").arg(host).arg(u));
        insert.addBindValue(QStringLiteral("%1 page %2").arg(words.at((u / 7) % words.size())).arg(u));
        insert.addBindValue(now - qint64(random() % year));
        insert.addBindValue(int(1 + random() % 4));
        if (!exec(insert))
            break;
    }
    db.commit();
}

// tabs tabs with entries entries each, every tab showing its newest entry;
// sites sites, half with a zoom, and sites / 4 domains with a device mode.
void fillTabs(int tabs, int entries, int sites)
{
    QSqlDatabase db = QSqlDatabase::database();
    db.transaction();
    QSqlQuery link(db), entry(db), tab(db), site(db), dpr(db), mode(db);
    link.prepare(QStringLiteral("INSERT INTO link (url, title) VALUES (?, ?)"));
    entry.prepare(QStringLiteral("INSERT INTO tab_history (tab_id, link_id, date) VALUES (?, ?, ?)"));
    tab.prepare(QStringLiteral("INSERT INTO tab (tab_id, tab_history_id, order_index) VALUES (?, ?, ?)"));
    site.prepare(QStringLiteral("INSERT INTO sites (site) VALUES (?)"));
    dpr.prepare(QStringLiteral("INSERT INTO site_dprs (site_id, dpr) VALUES (?, ?)"));
    mode.prepare(QStringLiteral("INSERT INTO device_modes (domain, device_mode) VALUES (?, ?)"));
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    for (int s = 0; s < sites; ++s) {
        site.addBindValue(QStringLiteral("https://site%1.example.org").arg(s));
        exec(site);
        if (s % 2 == 0) {
            dpr.addBindValue(site.lastInsertId());
            dpr.addBindValue(1.25);
            exec(dpr);
        }
        if (s % 4 == 0) {
            mode.addBindValue(QStringLiteral("site%1.example.org").arg(s));
            mode.addBindValue(1);
            exec(mode);
        }
    }
    for (int t = 1; t <= tabs; ++t) {
        QVariant last;
        for (int e = 0; e < entries; ++e) {
            // Pages of the known sites, so that the joins find their matches.
            const int s = (t * entries + e) % std::max(1, sites);
            link.addBindValue(QStringLiteral("https://site%1.example.org/tab%2/page%3").arg(s).arg(t).arg(e));
            link.addBindValue(QStringLiteral("Page %1 of tab %2").arg(e).arg(t));
            exec(link);
            entry.addBindValue(t);
            entry.addBindValue(link.lastInsertId());
            entry.addBindValue(now - (entries - e) * 1000);
            exec(entry);
            last = entry.lastInsertId();
        }
        tab.addBindValue(t);
        tab.addBindValue(last);
        tab.addBindValue(t - 1);
        exec(tab);
    }
    db.commit();
}

struct Figure {
    double medianMs = 0;
    double minMs = 0;
    int results = 0;
};

Figure measure(int runs, const std::function<int()>& operation)
{
    Figure figure;
    figure.results = operation(); // warm the page cache and the statement cache
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        figure.results = operation();
        times.push_back(timer.nsecsElapsed() / 1e6);
    }
    std::sort(times.begin(), times.end());
    figure.medianMs = times[times.size() / 2];
    figure.minMs = times.front();
    return figure;
}

void report(const QString& label, const Figure& figure, int runs)
{
    out << QStringLiteral("%1: median %2 ms, min %3 ms, %4 results, %5 runs\n")
               .arg(label, -52)
               .arg(figure.medianMs, 0, 'f', 3)
               .arg(figure.minMs, 0, 'f', 3)
               .arg(figure.results)
               .arg(runs);
    out.flush();
}

struct HistoryFigures {
    Figure filtered;
    Figure mostVisited;
};

HistoryFigures historyFigures(int rows, int runs)
{
    TempProfile profile;
    auto worker = std::make_unique<DBWorker>();
    worker->init();
    adjustIndexes();
    fillHistory(rows);
    int count = 0;
    QObject::connect(worker.get(), &DBWorker::historyAvailable,
        [&count](const QList<Link>& links) { count = links.size(); });
    QObject::connect(worker.get(), &DBWorker::mostVisitedLinksAvailable,
        [&count](const QList<Link>& links) { count = links.size(); });
    HistoryFigures figures;
    figures.filtered = measure(runs, [&]() {
        count = -1;
        worker->getHistory(QStringLiteral("news"), QDateTime(), QDateTime());
        return count;
    });
    report(QStringLiteral("getHistory(\"news\") over %1 rows").arg(rows), figures.filtered, runs);
    figures.mostVisited = measure(runs, [&]() {
        count = -1;
        worker->getMostVisitedLinks(8);
        return count;
    });
    report(QStringLiteral("getMostVisitedLinks(8) over %1 rows").arg(rows), figures.mostVisited, runs);
    return figures;
}

Figure tabsFigure(int tabs, int entries, int sites, int runs)
{
    TempProfile profile;
    auto worker = std::make_unique<DBWorker>();
    worker->init();
    adjustIndexes();
    fillTabs(tabs, entries, sites);
    int count = 0;
    QObject::connect(
        worker.get(), &DBWorker::tabsAvailable, [&count](const QList<Tab>& list) { count = list.size(); });
    const Figure figure = measure(runs, [&]() {
        count = -1;
        worker->getTabs();
        return count;
    });
    report(QStringLiteral("getTabs, %1 tabs x %2 entries, %3 sites").arg(tabs).arg(entries).arg(sites),
        figure, runs);
    return figure;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    int runs = 15;
    const int runsAt = args.indexOf(QStringLiteral("--runs"));
    if (runsAt >= 0 && runsAt + 1 < args.size())
        runs = std::max(1, args.at(runsAt + 1).toInt());
    const int indexesAt = args.indexOf(QStringLiteral("--indexes"));
    if (indexesAt >= 0 && indexesAt + 1 < args.size())
        indexSet = args.at(indexesAt + 1);
    out << "indexes: " << (indexSet.isEmpty() ? QStringLiteral("as created at start-up") : indexSet) << '\n';
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\nbrowser.app.*.info=false"));

    const HistoryFigures small = historyFigures(2000, runs);
    const HistoryFigures large = historyFigures(100000, runs);
    out << QStringLiteral("getHistory growth: 50x rows -> %1x time\n")
               .arg(large.filtered.medianMs / small.filtered.medianMs, 0, 'f', 1);
    out << QStringLiteral("getMostVisitedLinks growth: 50x rows -> %1x time\n")
               .arg(large.mostVisited.medianMs / small.mostVisited.medianMs, 0, 'f', 1);

    const Figure fewTabs = tabsFigure(20, 20, 100, runs);
    const Figure fewSites = tabsFigure(200, 20, 100, runs);
    const Figure manyTabs = tabsFigure(200, 20, 1000, runs);
    out << QStringLiteral("getTabs growth: 10x tabs -> %1x time, then 10x sites -> %2x time\n")
               .arg(fewSites.medianMs / fewTabs.medianMs, 0, 'f', 1)
               .arg(manyTabs.medianMs / fewSites.medianMs, 0, 'f', 1);
    return 0;
}
