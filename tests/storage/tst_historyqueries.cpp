#include "storage/dbworker.h"
#include "storage/localday.h"
#include "support/dbfileprobe.h"
#include "support/tempprofile.h"

#include <QSignalSpy>
#include <QTest>
#include <memory>
#include <time.h>

namespace
{
constexpr qint64 dayMs = 24 * 60 * 60 * 1000;
const qint64 base = QDateTime(QDate(2023, 5, 10), QTime(8, 0), Qt::UTC).toMSecsSinceEpoch();

const auto at = [](qint64 offset) { return QDateTime::fromMSecsSinceEpoch(base + offset); };

// Every row of one statement on one of the worker's connections: columns joined
// by "|", rows by " ". A failure reads "error: ..." so that the comparison shows it.
QString sql(const QString& text, const QVariantList& values = {}, bool isPrivate = false)
{
    return sqlRows(QSqlDatabase::database(isPrivate ? DBWorker::privateConnectionName()
                                                    : QLatin1String(QSqlDatabase::defaultConnection)),
        text, values, QStringLiteral("|"), QString())
        .join(QLatin1Char(' '));
}

// History rows "url:title:when:visits,...", each dated origin + unit * when.
void addHistory(const QString& rows, qint64 origin, qint64 unit)
{
    for (const QString& row : rows.split(QLatin1Char(','), Qt::SkipEmptyParts))
        sql(QStringLiteral(
                "INSERT INTO browser_history (url, title, date, visited_count) VALUES (?, ?, ?, ?)"),
            { row.section(QLatin1Char(':'), 0, 0), row.section(QLatin1Char(':'), 1, 1),
                origin + unit * row.section(QLatin1Char(':'), 2, 2).toLongLong(),
                row.section(QLatin1Char(':'), 3).toInt() });
}

// Tab id and url of every tab-history entry, oldest first, the entry a tab
// shows marked "*" ("1a 2x 1b* 2y*").
QString entries(bool isPrivate)
{
    return sql(
        QStringLiteral("SELECT tab_id || url || IIF(id IN (SELECT tab_history_id FROM tab), '*', '') FROM "
                       "tab_history JOIN link USING (link_id) ORDER BY id"),
        {}, isPrivate);
}

// Visits given as "1a:title,2x": tab 1 opens "a", then tab 2 opens "x". Each
// entry is then dated base + 1000 * its id.
void visit(DBWorker& worker, const QString& visits, bool isPrivate)
{
    for (const QString& visit : visits.split(QLatin1Char(',')))
        worker.addToTabHistory(visit.left(1).toInt(), visit.section(QLatin1Char(':'), 0, 0).mid(1),
            visit.section(QLatin1Char(':'), 1), isPrivate);
    sql(QStringLiteral("UPDATE tab_history SET date = ? + 1000 * id"), { base }, isPrivate);
}

// Tabs 1..count at positions 0..count-1, tab N showing "tN".
void openTabs(DBWorker& worker, int count, bool isPrivate)
{
    for (int id = 1; id <= count; ++id) {
        sql(QStringLiteral("INSERT INTO tab (tab_id, order_index) VALUES (?, ?)"), { id, id - 1 }, isPrivate);
        worker.addToTabHistory(id, QStringLiteral("t%1").arg(id), QString(), isPrivate);
    }
}

// The urls (or titles) of a signalled link list, bookmarked ones marked "*", the current one "<".
QString join(const QVariant& links, QString Link::*field = &Link::url, int current = 0)
{
    QStringList result;
    for (const Link& link : links.value<QList<Link>>()) {
        result.append(link.*field + QLatin1String(link.bookmarked ? "*" : "")
            + QLatin1String(link.id == current ? "<" : ""));
    }
    return result.join(QLatin1Char(' '));
}
} // namespace

// Browsing history, per-tab back/forward lists and the tab strip, run by a real
// worker on a fresh profile file and its private in-memory twin.
class TestHistoryQueries : public QObject
{
    Q_OBJECT
    std::unique_ptr<TempProfile> m_profile; // outlives the worker, which closes its connections
    std::unique_ptr<DBWorker> m_worker;
    DBWorker& w() { return *m_worker; }

private slots:
    void initTestCase()
    {
        // Local midnight must differ from UTC midnight for the per-day merge to be tested at all.
        qputenv("TZ", "<+0545>-05:45");
        tzset();
        qRegisterMetaType<QList<Link>>("QList<Link>");
    }

    void init()
    {
        // The old profile goes first: it restores the environment the new one replaces.
        m_worker.reset();
        m_profile.reset();
        m_profile = std::make_unique<TempProfile>();
        m_worker = std::make_unique<DBWorker>();
        w().init();
    }

    void addHistoryEntry_data()
    {
        QTest::addColumn<QString>("prior"); // url:title:ms from local midnight:visits, seeded first
        QTest::addColumn<QString>("titles"); // one visit of "a" per title
        QTest::addColumn<QString>("rows"); // url|visited_count|title|dated by the visits
        // clang-format off
        QTest::newRow("twice today") << QString() << "A,B" << "a|2|B|1";
        QTest::newRow("row at local midnight merges") << "a:Old:0:1" << "New" << "a|2|New|1";
        QTest::newRow("empty title keeps the stored one") << "a:Old:0:1" << "" << "a|2|Old|1";
        QTest::newRow("row 1 ms before midnight stays") << "a:Old:-1:1" << "New" << "a|1|Old|0 a|1|New|1";
        QTest::newRow("other url is not merged") << "b:Old:0:1" << "New" << "b|1|Old|0 a|1|New|1";
        // clang-format on
    }

    void addHistoryEntry()
    {
        QFETCH(QString, prior);
        QFETCH(QString, titles);
        QFETCH(QString, rows);
        const qint64 before = QDateTime::currentMSecsSinceEpoch();
        addHistory(prior, QDateTime(QDate::currentDate(), QTime(0, 0)).toMSecsSinceEpoch(), 1);
        for (const QString& title : titles.split(QLatin1Char(',')))
            w().addHistoryEntry(QStringLiteral("a"), title);
        QCOMPARE(sql(QStringLiteral(
                         "SELECT url, visited_count, title, date >= ? FROM browser_history ORDER BY id"),
                     { before }),
            rows);
    }

    void getAndClearHistory_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QDateTime>("start");
        QTest::addColumn<QDateTime>("end");
        QTest::addColumn<QString>("expected"); // urls, newest first
        const QDateTime none;
        // clang-format off
        QTest::newRow("all, newest first") << QString() << none << none << "blog news other shop* news";
        QTest::newRow("both bounds, inclusive") << QString() << at(2000) << at(4000) << "news other shop*";
        QTest::newRow("url or title, one row per url") << "news" << none << none << "blog news";
        // AND binds tighter than OR: the bounds narrow only the title match.
        QTest::newRow("bounds leave url matches") << "news" << at(4500) << none << "blog news";
        QTest::newRow("bounds narrow title matches") << "digest" << none << at(4500) << "";
        // clang-format on
    }

    void getAndClearHistory()
    {
        QFETCH(QString, filter);
        QFETCH(QDateTime, start);
        QFETCH(QDateTime, end);
        QFETCH(QString, expected);
        addHistory(QStringLiteral("news:Morning news:1:1,shop:Shop:2:1,other:Other:3:1,news:Morning news:4:1,"
                                  "blog:news digest:5:1"),
            base, 1000);
        sql(QStringLiteral("INSERT INTO bookmark_node (title, url) VALUES ('S', 'shop')"));
        QSignalSpy spy(&w(), &DBWorker::historyAvailable);
        w().getHistory(filter, start, end);
        QCOMPARE(spy.count(), 1);
        QCOMPARE(join(spy[0][0]), expected);
        QCOMPARE(spy[0].mid(1), (QVariantList { filter, start, end }));
        QStringList listed;
        for (const Link& link : spy[0][0].value<QList<Link>>()) {
            QVERIFY(link.date >= at(1000) && link.date <= at(5000));
            listed.append(QString::number(link.id));
        }
        if (!filter.isEmpty())
            return;
        // Clearing takes the same bounds: exactly the rows listed go.
        w().clearHistory(start, end);
        QCOMPARE(sql(QStringLiteral("SELECT COUNT(*), TOTAL(id IN (%1)) FROM browser_history")
                         .arg(listed.join(QLatin1Char(',')))),
            QStringLiteral("%1|0").arg(5 - listed.size()));
    }

    void mostVisited_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("removed");
        QTest::addColumn<QString>("expected"); // titles
        QTest::newRow("summed per url, ties by title") << 10 << QString() << "Beta Alpha Epsilon* Gamma";
        QTest::newRow("limited") << 2 << QString() << "Beta Alpha";
        QTest::newRow("removal covers every day") << 10 << QStringLiteral("a") << "Beta Epsilon* Gamma";
    }

    void mostVisited()
    {
        QFETCH(int, count);
        QFETCH(QString, removed);
        QFETCH(QString, expected);
        // Alpha's 2 + 1 ties Epsilon's 3; Gamma's 100 are older than 30 days; Delta has none.
        addHistory(QStringLiteral("a:Alpha:1:2,a:Alpha:0:1,b:Beta:3:5,c:Gamma:40:100,c:Gamma:1:1,d:Delta:0:0,"
                                  "e:Epsilon:0:3"),
            QDateTime::currentMSecsSinceEpoch() - 1000, -dayMs);
        sql(QStringLiteral("INSERT INTO bookmark_node (title, url) VALUES ('E', 'e')"));
        if (!removed.isEmpty())
            w().removeMostVisitedLink(removed);
        QSignalSpy spy(&w(), &DBWorker::mostVisitedLinksAvailable);
        w().getMostVisitedLinks(count);
        QCOMPARE(spy.count(), 1);
        QCOMPARE(join(spy[0][0], &Link::title), expected);
        // Leaving the tiles is not leaving the history.
        QCOMPARE(sql(QStringLiteral("SELECT COUNT(*) FROM browser_history")), QStringLiteral("7"));
    }

    void tabHistory_data()
    {
        // Tab 1 opens a, b', c and tab 2 x, a, dated 1000 to 5000. Moves in tab 1: B back, F forward, N page
        // "n" opened after dropping forward entries, R removal of entries 1 to 3; C clears tab 2's list
        // within the bounds, A every tab's. A clear answers with tab 1 read again; without one, tab 1
        // is read with the filter and the bounds.
        QTest::addColumn<QString>("moves");
        QTest::addColumn<bool>("isPrivate");
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QDateTime>("start");
        QTest::addColumn<QDateTime>("end");
        QTest::addColumn<QString>("remaining"); // every entry, oldest first, "*" on those the tabs show
        QTest::addColumn<QString>("listed"); // tab 1, newest first, "*" bookmarked, "<" shown
        const QDateTime none;
        const QString unchanged = QStringLiteral("1a 2x 1b'* 2a* 1c");
        // clang-format off
        QTest::newRow("back after a new page") << "BBNB" << false << "" << none << none << "1a* 2x 2a* 1n" << "n a<";
        QTest::newRow("private back and forward") << "BBBF" << true << "" << none << none << unchanged << "c b'*< a";
        QTest::newRow("removal spares other tabs") << "R" << false << "" << none << none << "2x 2a* 1c*" << "c<";
        QTest::newRow("clear another tab") << "BC" << false << "" << none << none << "1a 1b'* 2a* 1c" << "c b'*< a";
        QTest::newRow("clear every tab") << "BA" << true << "" << none << none << "1b'* 2a*" << "b'*<";
        QTest::newRow("clear every tab up to a time") << "BA" << false << "" << none << at(3000) << "1b'* 2a* 1c" << "c b'*<";
        QTest::newRow("title, of this tab only") << "B" << false << "news" << none << none << unchanged << "b'*< a";
        // Unlike the browsing history, the bounds narrow url and title matches alike.
        QTest::newRow("filter and start") << "B" << false << "news" << at(1500) << none << unchanged << "b'*<";
        QTest::newRow("start") << "B" << false << "" << at(3000) << none << unchanged << "c b'*<";
        // clang-format on
    }

    void tabHistory()
    {
        QFETCH(QString, moves);
        QFETCH(bool, isPrivate);
        QFETCH(QString, filter);
        QFETCH(QDateTime, start);
        QFETCH(QDateTime, end);
        QFETCH(QString, remaining);
        QFETCH(QString, listed);
        QSignalSpy added(&w(), &DBWorker::linkAddedToTabHistory);
        visit(w(), QStringLiteral("1a:Front news,2x:news elsewhere,1b':News shop,2a:Second,1c:Other"),
            isPrivate);
        QCOMPARE(added.count(), 5);
        // Tab 2's visit of "a" shares the link row, which keeps the title it was created with.
        QCOMPARE(sql(QStringLiteral("SELECT title FROM link WHERE url = 'a'"), {}, isPrivate),
            QStringLiteral("Front news"));
        // Bookmarks, in the file only, are spliced into the read as literals; unescaped, the second
        // would mark every entry as bookmarked.
        sql(QStringLiteral("INSERT INTO bookmark_node (title, url) VALUES ('B', ?), ('Q', ?)"),
            { QStringLiteral("b'"), QStringLiteral("x') OR 1=1 OR link.url IN ('y") });
        w().addTabs({ 3 }, 0, { QStringLiteral("about:blank") }, { QString() }, isPrivate); // gets no entry
        QSignalSpy spy(&w(), &DBWorker::tabHistoryAvailable);
        for (const QChar move : moves) {
            if (move == QLatin1Char('B')) {
                w().goBack(1, isPrivate);
            } else if (move == QLatin1Char('F')) {
                w().goForward(1, isPrivate);
            } else if (move == QLatin1Char('R')) {
                w().removeTabHistoryEntries(1, { 1, 2, 3 }, isPrivate);
            } else if (move == QLatin1Char('N')) {
                const QString shown
                    = sql(QStringLiteral("SELECT tab_history_id FROM tab WHERE tab_id = 1"), {}, isPrivate);
                w().clearDeprecatedTabHistory(1, shown.toInt(), isPrivate);
                visit(w(), QStringLiteral("1n:New"), isPrivate);
            } else {
                w().clearTabHistory(move == QLatin1Char('C') ? 2 : -1, 1, start, end, isPrivate);
            }
        }
        if (spy.isEmpty())
            w().getTabHistory(1, filter, start, end, isPrivate);
        QCOMPARE(entries(isPrivate), remaining);
        QCOMPARE(entries(!isPrivate), QString()); // nothing reaches the other database
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy[0][0].toInt(), 1);
        QCOMPARE(join(spy[0][1], &Link::url, spy[0][2].toInt()), listed);
        for (const Link& link : spy[0][1].value<QList<Link>>()) {
            QCOMPARE(link.date, at(1000 * link.id));
            QVERIFY(!link.title.isEmpty() && link.thumbnailPath.isEmpty());
        }
    }

    void tabStrip_data()
    {
        QTest::addColumn<int>("existing");
        QTest::addColumn<QList<int>>("added"); // none: the tab at the index is removed; index -1: all cleared
        QTest::addColumn<int>("index");
        QTest::addColumn<bool>("isPrivate");
        QTest::addColumn<QString>("strip"); // tab:order_index
        const QList<int> none;
        // clang-format off
        QTest::newRow("3 tabs at index 2") << 5 << QList<int> { 10, 11, 12 } << 2 << false << "1:0 2:1 10:2 11:3 12:4 3:5 4:6 5:7";
        QTest::newRow("known tab is moved") << 3 << QList<int> { 3 } << 0 << false << "3:0 1:1 2:2";
        QTest::newRow("remove from the middle, private") << 4 << none << 1 << true << "1:0 3:1 4:2";
        QTest::newRow("clear, private") << 4 << none << -1 << true << "";
        // clang-format on
    }

    void tabStrip()
    {
        QFETCH(int, existing);
        QFETCH(QList<int>, added);
        QFETCH(int, index);
        QFETCH(bool, isPrivate);
        QFETCH(QString, strip);
        openTabs(w(), existing, isPrivate);
        openTabs(w(), 2, !isPrivate);
        if (!added.isEmpty())
            w().addTabs(added, index, {}, {}, isPrivate);
        else if (index >= 0)
            w().removeTab(index + 1, index, isPrivate);
        else
            w().clearTabs(isPrivate);
        const QString stripSql
            = QStringLiteral("SELECT tab_id || ':' || order_index FROM tab ORDER BY order_index");
        QCOMPARE(sql(stripSql, {}, isPrivate), strip);
        QCOMPARE(sql(stripSql, {}, !isPrivate), QStringLiteral("1:0 2:1"));
        QCOMPARE(entries(!isPrivate), QStringLiteral("1t1* 2t2*"));
        // A removed tab takes its back/forward list along.
        QCOMPARE(sql(QStringLiteral("SELECT tab_id FROM tab_history EXCEPT SELECT tab_id FROM tab"), {},
                     isPrivate),
            QString());
    }

    void localDay_data()
    {
        // Calls of one cache in turn: "zone ms-after-base". Local midnight in +05:45 is base + 36,900,000.
        QTest::addColumn<QStringList>("calls");
        QTest::newRow("the day ends") << QStringList { QStringLiteral("<+0545>-05:45 36899999"),
            QStringLiteral("<+0545>-05:45 36900000") };
        QTest::newRow("the zone changes") << QStringList { QStringLiteral("<+0545>-05:45 0"),
            QStringLiteral("<-10>10 0"), QStringLiteral("<+0545>-05:45 0") };
    }

    void localDay()
    {
        QFETCH(QStringList, calls);
        LocalDay day;
        for (const QString& call : calls) {
            qputenv("TZ", call.section(QLatin1Char(' '), 0, 0).toLatin1());
            tzset();
            const qint64 now = base + call.section(QLatin1Char(' '), 1).toLongLong();
            QCOMPARE(day.startOfDay(now), at(now - base).date().startOfDay().toMSecsSinceEpoch());
        }
        qputenv("TZ", "<+0545>-05:45");
        tzset();
    }
};

QTEST_GUILESS_MAIN(TestHistoryQueries)
#include "tst_historyqueries.moc"
