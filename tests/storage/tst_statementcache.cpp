#include "storage/dbworker.h"
#include "support/dbfileprobe.h"
#include "support/logcapture.h"
#include "support/tempprofile.h"

#include <QLoggingCategory>
#include <QRandomGenerator>
#include <QSqlError>
#include <QtTest>

// Statements run again from a cache per connection, seen through SQLite's own list
// of a connection's compiled statements (sqlite_stmt), and the indexes reads use.
namespace
{
const QString cacheDb = QStringLiteral("statement-cache-test");
const QString fileDb = QLatin1String(QSqlDatabase::defaultConnection);
const QString privateDb = DBWorker::privateConnectionName();
const QStringList urls = { QStringLiteral("https://a.example/"), QStringLiteral("https://b.example/o'q"),
    QStringLiteral("https://c.example/?q=1"), QStringLiteral("https://d.example/%2") };

QStringList rows(const QString& sql, const QVariantList& values = {}, const QString& connection = fileDb)
{
    return sqlRows(QSqlDatabase::database(connection, false), sql, values);
}

// Statements compiled on a connection that meet a condition, this probe left out.
int compiled(const QString& connection, const char* condition = "1")
{
    const QString sql
        = QStringLiteral("SELECT COUNT(*) FROM sqlite_stmt WHERE sql NOT LIKE '%sqlite_stmt%' AND ");
    return rows(sql + QLatin1String(condition), {}, connection).value(0).toInt();
}

// Runs a statement taken from the cache: the error, empty if none.
QString run(StatementCache& cache, const QString& sql, const QVariantList& values = {})
{
    bool prepared = false;
    CachedQuery query = cache.take(sql, &prepared);
    for (const QVariant& value : values)
        query.addBindValue(value);
    return prepared && query.exec() ? QString() : query.lastError().text();
}

// One step of browsing, drawn from a random number; history and bookmarks are file-only.
void step(DBWorker& w, quint32 code, bool isPrivate)
{
    const int op = code % 11, tab = 1 + code / 11 % 3;
    const QString url = urls.at(code / 33 % 4),
                  title = code / 132 % 3 ? QStringLiteral("T%1").arg(code % 7) : QString();
    if (op < 3)
        w.addToTabHistory(tab, url, title, isPrivate);
    else if (op < 5)
        op == 3 ? w.goBack(tab, isPrivate) : w.goForward(tab, isPrivate);
    else if (op == 5)
        w.clearDeprecatedTabHistory(tab, int(code >> 24), isPrivate);
    else if (op == 6)
        w.removeTab(tab, 0, isPrivate);
    else if (op == 7)
        w.updateTabHistoryTitle(tab, url, QStringLiteral("R") + title, isPrivate);
    else if (op == 8) // each recorded page runs the statement the batch holds on loan
        w.addTabs({ tab, tab + 3 }, 1, { url, urls.at(0) }, { title, QString() }, isPrivate);
    else if (op == 9 && !isPrivate)
        w.addHistoryEntry(url, title);
    else if (!isPrivate) {
        w.addBookmarkNode(1 + tab % 2, url, title);
        w.moveBookmarkNode(3, 2 - tab % 2, false);
        w.isBookmarked(url);
    }
}
} // namespace

class TestStatementCache : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("browser.app.*.info=false"));
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), cacheDb);
        db.setDatabaseName(QStringLiteral(":memory:"));
        QVERIFY(db.open());
        rows(QStringLiteral("CREATE TABLE t (id INTEGER PRIMARY KEY, v TEXT)"), {}, cacheDb);
        rows(QStringLiteral("INSERT INTO t (v) VALUES ('v1'), ('v2'), ('v3'), ('v4'), ('v5')"), {}, cacheDb);
    }

    void nestedUseGetsItsOwnStatement()
    {
        // An operation calling another that runs the same statement while it still reads its rows.
        StatementCache cache(cacheDb);
        const QString sql = QStringLiteral("SELECT id FROM t WHERE id >= ? ORDER BY id");
        QCOMPARE(run(cache, sql, { 5 }), QString()); // the outer use comes from the cache
        QStringList seen;
        bool prepared = false;
        CachedQuery outer = cache.take(sql, &prepared);
        outer.addBindValue(1);
        QVERIFY(outer.exec());
        while (outer.next()) {
            CachedQuery inner = cache.take(sql, &prepared);
            inner.addBindValue(outer.value(0));
            QVERIFY(inner.exec());
            seen << outer.value(0).toString();
            while (inner.next())
                seen.last() += QLatin1Char('+');
        }
        QCOMPARE(seen.join(QLatin1Char(' ')), QStringLiteral("1+++++ 2++++ 3+++ 4++ 5+"));
    }

    void boundButNeverRunIsNotReused()
    {
        // Qt counts positional values from the last run: the next user's would land behind these.
        StatementCache cache(cacheDb);
        const QString insert = QStringLiteral("INSERT INTO t (v) VALUES (?)");
        bool prepared = false;
        cache.take(insert, &prepared).addBindValue(QStringLiteral("never"));
        QCOMPARE(run(cache, insert, { QStringLiteral("fresh") }), QString());
        QCOMPARE(rows(QStringLiteral("DELETE FROM t WHERE id > 5 RETURNING v"), {}, cacheDb),
            QStringList(QStringLiteral("fresh")));
    }

    void splicedStatementsStayBounded_data()
    {
        QTest::addColumn<int>("capacity");
        QTest::addColumn<QStringList>("hotRuns"); // of the statement run between the spliced ones
        QTest::newRow("default") << int(StatementCache::defaultCapacity)
                                 << QStringList(QStringLiteral("100"));
        QTest::newRow("room for one") << 1 << QStringList(QStringLiteral("1"));
    }

    void splicedStatementsStayBounded()
    {
        QFETCH(int, capacity);
        QFETCH(QStringList, hotRuns);
        StatementCache cache(cacheDb, capacity);
        const QString hot = QStringLiteral("SELECT id FROM t");
        for (int i = 0; i < 100; ++i) {
            QCOMPARE(run(cache, QStringLiteral("SELECT v FROM t WHERE id = %1").arg(i)), QString());
            QCOMPARE(run(cache, hot), QString());
        }
        QCOMPARE(compiled(cacheDb), capacity);
        // The one returned last is forgotten last; none is left mid-read, though rows were left unread.
        QCOMPARE(
            rows(QStringLiteral("SELECT run FROM sqlite_stmt WHERE sql = ?"), { hot }, cacheDb), hotRuns);
        QCOMPARE(compiled(cacheDb, "busy"), 0);
    }

    void randomSequenceMatchesFreshWorkers()
    {
        // A worker with warm caches must leave what workers that never ran anything leave, its
        // private database must follow the file, and no step may leave a read open.
        QVector<quint32> steps(160);
        QRandomGenerator(4021u).fillRange(steps.data(), steps.size());
        const QString tabs = QStringLiteral("SELECT * FROM tab UNION ALL SELECT * FROM link UNION ALL SELECT "
                                            "id, tab_id, link_id, 0 FROM tab_history");
        const QString others = QStringLiteral("SELECT url, title, visited_count FROM browser_history UNION "
                                              "ALL SELECT * FROM bookmark_structure");
        QStringList results[2];
        for (const bool fresh : { false, true }) {
            TempProfile profile;
            LogCapture log("browser.app.storage");
            std::unique_ptr<DBWorker> w;
            for (int i = 0; i < steps.size(); ++i) {
                if (!w || fresh) {
                    w.reset(new DBWorker); // the old one closes its connections before init() opens them
                    w->init();
                }
                step(*w, steps.at(i), false);
                if (!fresh)
                    step(*w, steps.at(i), true);
                results[fresh] << QStringLiteral("%1: %2").arg(i).arg(
                    rows(QStringLiteral("SELECT * FROM tab")).join(QLatin1Char(' ')));
                QVERIFY2(fresh || compiled(fileDb, "busy") + compiled(privateDb, "busy") == 0,
                    qPrintable(QStringLiteral("step %1, operation %2").arg(i).arg(steps.at(i) % 11)));
            }
            if (!fresh)
                QCOMPARE(rows(tabs, {}, privateDb), rows(tabs));
            results[fresh]
                += log.messages(QtWarningMsg).filter(QStringLiteral("failed ")) + rows(tabs) + rows(others);
        }
        QCOMPARE(results[0], results[1]);
    }

    void failedStatementsAreLoggedEveryTime()
    {
        TempProfile profile;
        DBWorker w;
        w.init();
        w.addHistoryEntry(urls.at(0), QStringLiteral("T0")); // cached before the table goes
        const QString table
            = rows(QStringLiteral("SELECT sql FROM sqlite_master WHERE name = 'browser_history'")).value(0);
        rows(QStringLiteral("DROP TABLE browser_history"));
        // The cached statement fails to run and is dropped; each later call prepares anew, and says so.
        const QString prepare
            = QStringLiteral("QSqlQuery DBWorker::prepare(const QString&, bool) failed to prepare query");
        for (QString line :
            { QStringLiteral("bool DBWorker::execute(QSqlQuery&) failed execute query"), prepare, prepare }) {
            line += QStringLiteral(" \"SELECT id FROM browser_history WHERE url = ?");
            LogCapture log("browser.app.storage");
            w.addHistoryEntry(urls.at(0), QStringLiteral("T1"));
            QCOMPARE(log.messages(QtWarningMsg).value(0).left(line.size()), line);
        }
        rows(table); // once the table is back, so are the visits
        w.addHistoryEntry(urls.at(0), QStringLiteral("T2"));
        QCOMPARE(rows(QStringLiteral("SELECT title FROM browser_history")).value(0), QStringLiteral("T2"));
    }

    void olderProfileGetsTheCoveringIndexes_data()
    {
        QTest::addColumn<QString>("like"); // pattern for one of the worker's statements
        QTest::addColumn<QString>("index");
        const QString history = QStringLiteral("browser_history_url_date_title_visited_count");
        QTest::newRow("history list") << "%GROUP BY url ORDER BY date DESC%" << history;
        QTest::newRow("visit merge") << "SELECT id FROM browser_history WHERE url = %" << history;
        QTest::newRow("tiles") << "%SUM(visited_count)%" << history;
        QTest::newRow("bookmark parent") << "SELECT ancestor FROM bookmark_structure WHERE descendant = %"
                                         << "bookmark_structure_descendant_depth_ancestor";
        QTest::newRow("folder count") << "%COUNT(descendant)%"
                                      << "bookmark_structure_ancestor_descendant";
    }

    void olderProfileGetsTheCoveringIndexes()
    {
        QFETCH(QString, like);
        QFETCH(QString, index);
        TempProfile profile;
        DBWorker().init();
        // The set the previous version left: the replaced indexes go, the wider ones come.
        const QString older = QStringLiteral(
            "DROP INDEX browser_history_url_date_title_visited_count;"
            "DROP INDEX bookmark_structure_descendant_depth_ancestor;"
            "DROP INDEX bookmark_structure_ancestor_descendant;"
            "CREATE INDEX browser_history_url_date ON browser_history (url, date);"
            "CREATE INDEX bookmark_structure_descendant_depth ON bookmark_structure (descendant, depth);"
            "CREATE INDEX bookmark_structure_ancestor ON bookmark_structure (ancestor)");
        QVERIFY(DbFileProbe(profile.databasePath()).execAll(older.split(QLatin1Char(';'))));
        DBWorker w;
        w.init();
        const QString names = QStringLiteral(
            "SELECT name FROM sqlite_master WHERE type = 'index' AND sql NOT NULL ORDER BY name");
        const QStringList current = QStringLiteral(
            "bookmark_node_url bookmark_structure_ancestor_descendant "
            "bookmark_structure_descendant_depth_ancestor browser_history_date "
            "browser_history_url_date_title_visited_count favicons_date link_url tab_history_tab_id")
                                        .split(QLatin1Char(' '));
        QCOMPARE(rows(names) + rows(names, {}, privateDb), current + current);
        w.getHistory(QStringLiteral("news"), QDateTime(), QDateTime());
        w.addHistoryEntry(urls.at(0), QString());
        w.getMostVisitedLinks(8);
        w.addBookmarkNode(1, urls.at(0), QString());
        w.moveBookmarkNode(3, 2, false);
        w.getBookmarkTree();
        // The statement as the worker compiled it, still in its cache, is answered from the index alone.
        const auto sql = rows(QStringLiteral("SELECT sql FROM sqlite_stmt WHERE sql LIKE ?"), { like });
        const auto plan = rows(QStringLiteral("EXPLAIN QUERY PLAN ") + sql.value(0)).join(QLatin1Char(' '));
        QVERIFY2(plan.contains(QStringLiteral("USING COVERING INDEX ") + index), qPrintable(plan));
    }
};

QTEST_GUILESS_MAIN(TestStatementCache)
#include "tst_statementcache.moc"
