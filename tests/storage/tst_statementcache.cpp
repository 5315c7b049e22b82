#include "storage/statementcache.h"
#include "support/tempprofile.h"

#include <QDir>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTest>

#include <memory>

// The statement cache on a real SQLite file. What SQLite itself lists about the
// connection's compiled statements (the sqlite_stmt table) tells which statement
// ran, how many times, and whether one was left in the middle of a read.
class TestStatementCache : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void idleStatementRunsAgain();
    void nestedUseGetsItsOwnStatement();
    void returnedStatementHoldsNoRead();
    void unusableStatementsAreNotKept_data();
    void unusableStatementsAreNotKept();
    void splicedStatementsStayBounded_data();
    void splicedStatementsStayBounded();
    void clearForgetsEveryStatement();

private:
    CachedQuery take(const QString& sql, bool expectPrepared = true);
    // The run count of every compiled copy of sql on the connection, in ascending order.
    QList<int> runsOf(const QString& sql);
    // Compiled statements on the connection, the probe's own left out.
    int statementCount(bool busyOnly = false);
    QSqlDatabase database() const { return QSqlDatabase::database(connection, false); }

    static const QString connection;
    std::unique_ptr<TempProfile> m_profile;
    std::unique_ptr<StatementCache> m_cache;
};

const QString TestStatementCache::connection = QStringLiteral("statement-cache-test");

void TestStatementCache::init()
{
    m_profile = std::make_unique<TempProfile>();
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection);
    db.setDatabaseName(QDir(m_profile->path()).absoluteFilePath(QStringLiteral("cache.sqlite")));
    QVERIFY(db.open());
    QSqlQuery setup(db);
    QVERIFY(setup.exec(QStringLiteral("PRAGMA journal_mode=WAL")));
    QVERIFY(setup.exec(QStringLiteral("CREATE TABLE t (id INTEGER PRIMARY KEY, v TEXT UNIQUE)")));
    QVERIFY(setup.exec(QStringLiteral(
        "INSERT INTO t (id, v) VALUES (1, 'v1'), (2, 'v2'), (3, 'v3'), (4, 'v4'), (5, 'v5')")));
    m_cache = std::make_unique<StatementCache>(connection);
}

void TestStatementCache::cleanup()
{
    m_cache.reset();
    {
        QSqlDatabase db = database();
        db.close();
    }
    QSqlDatabase::removeDatabase(connection);
    m_profile.reset();
}

CachedQuery TestStatementCache::take(const QString& sql, bool expectPrepared)
{
    bool prepared = !expectPrepared;
    CachedQuery query = m_cache->take(sql, &prepared);
    if (prepared != expectPrepared)
        qWarning() << "unexpected prepare outcome for" << sql << query.lastError().text();
    return query;
}

QList<int> TestStatementCache::runsOf(const QString& sql)
{
    // The driver hands SQLite "?" rewritten as named placeholders: compare the text before the first.
    QSqlQuery probe(database());
    probe.prepare(QStringLiteral("SELECT run FROM sqlite_stmt WHERE sql LIKE ? ORDER BY run"));
    const int placeholder = sql.indexOf(QLatin1Char('?'));
    probe.addBindValue(QString((placeholder < 0 ? sql : sql.left(placeholder)) + QLatin1Char('%')));
    QList<int> runs;
    if (!probe.exec())
        qWarning() << "sqlite_stmt is not readable:" << probe.lastError().text();
    while (probe.next())
        runs.append(probe.value(0).toInt());
    return runs;
}

int TestStatementCache::statementCount(bool busyOnly)
{
    QSqlQuery probe(database());
    const QString sql = QStringLiteral("SELECT COUNT(*) FROM sqlite_stmt WHERE sql NOT LIKE '%sqlite_stmt%'");
    if (!probe.exec(busyOnly ? sql + QStringLiteral(" AND busy") : sql) || !probe.next())
        return -1;
    return probe.value(0).toInt();
}

void TestStatementCache::idleStatementRunsAgain()
{
    const QString sql = QStringLiteral("SELECT v FROM t WHERE id = ?");
    for (int id = 1; id <= 5; ++id) {
        auto query = take(sql);
        query.addBindValue(id);
        QVERIFY(query.exec());
        QVERIFY(query.next());
        QCOMPARE(query.value(0).toString(), QStringLiteral("v%1").arg(id));
    }
    // One compiled statement served all five uses, each with its own value.
    QCOMPARE(runsOf(sql), QList<int>({ 5 }));
    QCOMPARE(m_cache->size(), 1);
}

void TestStatementCache::nestedUseGetsItsOwnStatement()
{
    // The shape of an operation that calls another running the same statement
    // while it still reads its own rows.
    const QString sql = QStringLiteral("SELECT id FROM t WHERE id >= ? ORDER BY id");
    {
        // Run once before, so that the outer use below is served from the cache.
        auto warm = take(sql);
        warm.addBindValue(5);
        QVERIFY(warm.exec());
    }
    QList<int> outerIds;
    QList<int> innerCounts;
    {
        auto outer = take(sql);
        outer.addBindValue(1);
        QVERIFY(outer.exec());
        while (outer.next()) {
            const int id = outer.value(0).toInt();
            outerIds.append(id);
            auto inner = take(sql);
            inner.addBindValue(id);
            QVERIFY(inner.exec());
            int rows = 0;
            while (inner.next())
                ++rows;
            innerCounts.append(rows);
            QCOMPARE(runsOf(sql).size(), 2);
        }
    }
    QCOMPARE(outerIds, QList<int>({ 1, 2, 3, 4, 5 }));
    QCOMPARE(innerCounts, QList<int>({ 5, 4, 3, 2, 1 }));
    // Back in the cache: one copy, the other one dropped.
    QCOMPARE(runsOf(sql).size(), 1);
    QCOMPARE(m_cache->size(), 1);
}

void TestStatementCache::returnedStatementHoldsNoRead()
{
    {
        auto query = take(QStringLiteral("SELECT id FROM t ORDER BY id"));
        QVERIFY(query.exec());
        QVERIFY(query.next()); // the first of five rows; the rest is never read
    }
    QCOMPARE(statementCount(true), 0);

    // A reader kept on an old snapshot would stop a full checkpoint after this write.
    const QString other = QStringLiteral("statement-cache-other");
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), other);
        db.setDatabaseName(database().databaseName());
        db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=0"));
        QVERIFY(db.open());
        QSqlQuery query(db);
        QVERIFY(query.exec(QStringLiteral("INSERT INTO t (v) VALUES ('w')")));
        QVERIFY(query.exec(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)")));
        QVERIFY(query.next());
        QCOMPARE(query.value(0).toInt(), 0); // not blocked by a reader
        query.finish();
        db.close();
    }
    QSqlDatabase::removeDatabase(other);
}

enum class FirstUse { DoesNotPrepare, FailsToRun, BoundButNotRun };
Q_DECLARE_METATYPE(FirstUse)

void TestStatementCache::unusableStatementsAreNotKept_data()
{
    QTest::addColumn<FirstUse>("firstUse");
    QTest::addColumn<QString>("sql");

    QTest::newRow("does not prepare") << FirstUse::DoesNotPrepare << "INSERT INTO nowhere (v) VALUES (?)";
    QTest::newRow("fails to run") << FirstUse::FailsToRun << "INSERT INTO t (v) VALUES (?)";
    QTest::newRow("bound but never run") << FirstUse::BoundButNotRun << "INSERT INTO t (v) VALUES (?)";
}

void TestStatementCache::unusableStatementsAreNotKept()
{
    QFETCH(FirstUse, firstUse);
    QFETCH(QString, sql);
    const bool prepares = firstUse != FirstUse::DoesNotPrepare;

    {
        auto query = take(sql, prepares);
        QCOMPARE(query.lastError().isValid(), !prepares);
        query.addBindValue(firstUse == FirstUse::FailsToRun ? QStringLiteral("v1") : QStringLiteral("x"));
        if (firstUse == FirstUse::FailsToRun)
            QVERIFY(!query.exec()); // v1 exists already
    }
    QCOMPARE(m_cache->size(), 0);

    // The next user gets a statement of its own that runs with exactly its value.
    {
        auto query = take(sql, prepares);
        if (!prepares) {
            QVERIFY(query.lastError().isValid());
            return;
        }
        query.addBindValue(QStringLiteral("fresh"));
        QVERIFY2(query.exec(), qPrintable(query.lastError().text()));
    }
    QCOMPARE(runsOf(sql), QList<int>({ 1 }));
    QSqlQuery check(database());
    QVERIFY(check.exec(QStringLiteral("SELECT v FROM t WHERE id > 5")));
    QVERIFY(check.next());
    QCOMPARE(check.value(0).toString(), QStringLiteral("fresh"));
    QVERIFY(!check.next());
}

void TestStatementCache::splicedStatementsStayBounded_data()
{
    QTest::addColumn<int>("capacity");
    QTest::addColumn<QList<int>>("hotRuns"); // of the statement used between the spliced ones

    QTest::newRow("room for the hot statement") << 8 << QList<int>({ 100 });
    QTest::newRow("room for one") << 1 << QList<int>({ 1 });
    QTest::newRow("no room") << 0 << QList<int>();
}

void TestStatementCache::splicedStatementsStayBounded()
{
    QFETCH(int, capacity);
    QFETCH(QList<int>, hotRuns);

    m_cache = std::make_unique<StatementCache>(connection, capacity);
    const QString hot = QStringLiteral("SELECT COUNT(*) FROM t");
    for (int i = 0; i < 100; ++i) {
        {
            auto spliced = take(QStringLiteral("SELECT v FROM t WHERE id = %1").arg(i));
            QVERIFY(spliced.exec());
            QCOMPARE(spliced.next(), i >= 1 && i <= 5);
        }
        auto query = take(hot);
        QVERIFY(query.exec());
        QVERIFY(query.next());
        QCOMPARE(query.value(0).toInt(), 5);
    }
    QVERIFY2(m_cache->size() <= capacity, qPrintable(QString::number(m_cache->size())));
    QVERIFY2(statementCount() <= capacity, qPrintable(QString::number(statementCount())));
    // The statement used most recently is the last to be forgotten.
    QCOMPARE(runsOf(hot), hotRuns);
}

void TestStatementCache::clearForgetsEveryStatement()
{
    const QString held = QStringLiteral("SELECT id FROM t");
    {
        auto loan = take(held);
        QVERIFY(loan.exec());
        {
            auto other = take(QStringLiteral("SELECT v FROM t"));
            QVERIFY(other.exec());
        }
        QCOMPARE(m_cache->size(), 1);

        m_cache->clear();
        QCOMPARE(m_cache->size(), 0);
        QCOMPARE(statementCount(), 1); // only the one still on loan
    }
    // The loan came back after the clear: it is dropped, not cached.
    QCOMPARE(m_cache->size(), 0);
    QCOMPARE(statementCount(), 0);

    auto again = take(held);
    QVERIFY(again.exec());
    QVERIFY(again.next());
}

QTEST_GUILESS_MAIN(TestStatementCache)
#include "tst_statementcache.moc"
