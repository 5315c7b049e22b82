#include "storage/statementcache.h"
#include "support/dbfileprobe.h"

#include <QSqlError>
#include <QtTest>

// Statements run again from a cache per connection, seen through SQLite's own list
// of a connection's compiled statements (sqlite_stmt).
namespace
{
const QString cacheDb = QStringLiteral("statement-cache-test");

QStringList rows(const QString& sql, const QVariantList& values = {})
{
    return sqlRows(QSqlDatabase::database(cacheDb, false), sql, values);
}

// Statements compiled on the connection that meet a condition, this probe left out.
int compiled(const char* condition = "1")
{
    const QString sql
        = QStringLiteral("SELECT COUNT(*) FROM sqlite_stmt WHERE sql NOT LIKE '%sqlite_stmt%' AND ");
    return rows(sql + QLatin1String(condition)).value(0).toInt();
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
} // namespace

class TestStatementCache : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), cacheDb);
        db.setDatabaseName(QStringLiteral(":memory:"));
        QVERIFY(db.open());
        rows(QStringLiteral("CREATE TABLE t (id INTEGER PRIMARY KEY, v TEXT)"));
        rows(QStringLiteral("INSERT INTO t (v) VALUES ('v1'), ('v2'), ('v3'), ('v4'), ('v5')"));
    }

    void loanedStatementIsNeverShared()
    {
        StatementCache cache(cacheDb);
        // Qt counts positional values from the last run: the next user's would land behind these.
        const QString insert = QStringLiteral("INSERT INTO t (v) VALUES (?)");
        bool prepared = false;
        cache.take(insert, &prepared).addBindValue(QStringLiteral("never"));
        QCOMPARE(run(cache, insert, { QStringLiteral("fresh") }), QString());
        QCOMPARE(rows(QStringLiteral("DELETE FROM t WHERE id > 5 RETURNING v")),
            QStringList(QStringLiteral("fresh")));

        // An operation calling another that runs the same statement while it still reads its rows.
        const QString sql = QStringLiteral("SELECT id FROM t WHERE id >= ? ORDER BY id");
        QCOMPARE(run(cache, sql, { 5 }), QString()); // the outer use comes from the cache
        QStringList seen;
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

    void splicedStatementsStayBounded()
    {
        StatementCache cache(cacheDb);
        const QString hot = QStringLiteral("SELECT id FROM t");
        for (int i = 0; i < 100; ++i) {
            QCOMPARE(run(cache, QStringLiteral("SELECT v FROM t WHERE id = %1").arg(i)), QString());
            QCOMPARE(run(cache, hot), QString());
        }
        QCOMPARE(compiled(), int(StatementCache::defaultCapacity));
        // The one returned last is forgotten last; none is left mid-read, though rows were left unread.
        QCOMPARE(rows(QStringLiteral("SELECT run FROM sqlite_stmt WHERE sql = ?"), { hot }),
            QStringList(QStringLiteral("100")));
        QCOMPARE(compiled("busy"), 0);
    }
};

QTEST_GUILESS_MAIN(TestStatementCache)
#include "tst_statementcache.moc"
