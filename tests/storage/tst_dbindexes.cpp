#include "storage/dbworker.h"
#include "support/dbfileprobe.h"
#include "support/tempprofile.h"

#include <QCoreApplication>
#include <QSqlQuery>
#include <QtTest>

// The indexes a start leaves in the file, whatever set an older version left
// there, and the reads that are meant to be answered from an index alone.
class TestDbIndexes : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void startLeavesTheCurrentSet_data();
    void startLeavesTheCurrentSet();
    void readsUseCoveringIndexes_data();
    void readsUseCoveringIndexes();
};

namespace
{
const QStringList currentIndexes = {
    QStringLiteral("bookmark_node_url"),
    QStringLiteral("bookmark_structure_ancestor_descendant"),
    QStringLiteral("bookmark_structure_descendant_depth_ancestor"),
    QStringLiteral("browser_history_date"),
    QStringLiteral("browser_history_url_date_title_visited_count"),
    QStringLiteral("favicons_date"),
    QStringLiteral("link_url"),
    QStringLiteral("tab_history_tab_id"),
};

QStringList indexNames(const QSqlDatabase& db)
{
    QSqlQuery query(db);
    query.exec(QStringLiteral(
        "SELECT name FROM sqlite_master WHERE type = 'index' AND name NOT LIKE 'sqlite_%' ORDER BY name"));
    QStringList names;
    while (query.next())
        names.append(query.value(0).toString());
    return names;
}
} // namespace

void TestDbIndexes::initTestCase()
{
    QCoreApplication::setOrganizationName(QStringLiteral("ru.nuvo"));
    QCoreApplication::setApplicationName(QStringLiteral("webdeck"));
}

void TestDbIndexes::startLeavesTheCurrentSet_data()
{
    QTest::addColumn<QStringList>("before"); // statements run on the file between two starts

    QTest::newRow("second start") << QStringList();
    QTest::newRow("indexes of the previous version")
        << QStringList({ QStringLiteral("DROP INDEX browser_history_url_date_title_visited_count"),
               QStringLiteral("DROP INDEX bookmark_structure_descendant_depth_ancestor"),
               QStringLiteral("DROP INDEX bookmark_structure_ancestor_descendant"),
               QStringLiteral("CREATE INDEX browser_history_url_date ON browser_history (url, date)"),
               QStringLiteral("CREATE INDEX bookmark_structure_descendant_depth ON bookmark_structure "
                              "(descendant, depth)"),
               QStringLiteral("CREATE INDEX bookmark_structure_ancestor ON bookmark_structure (ancestor)") });
}

void TestDbIndexes::startLeavesTheCurrentSet()
{
    QFETCH(QStringList, before);

    TempProfile profile;
    {
        DBWorker worker;
        worker.init();
        worker.addHistoryEntry(QStringLiteral("https://kept.example/"), QStringLiteral("Kept"));
        worker.addBookmarkNode(1, QStringLiteral("https://kept.example/"), QStringLiteral("Kept"));
    }
    {
        DbFileProbe db(profile.databasePath());
        QCOMPARE(db.indexes(), currentIndexes);
        for (const QString& statement : before)
            QVERIFY2(db.exec(statement), qPrintable(db.lastError()));
    }

    DBWorker worker;
    worker.init();
    QCOMPARE(indexNames(QSqlDatabase::database()), currentIndexes);
    QCOMPARE(indexNames(QSqlDatabase::database(DBWorker::privateConnectionName(), false)), currentIndexes);

    // Rebuilding the indexes touches no row, and the rebuilt ones find them.
    QSignalSpy bookmarked(&worker, &DBWorker::bookmarkedAvailable);
    worker.isBookmarked(QStringLiteral("https://kept.example/"));
    QCOMPARE(bookmarked.count(), 1);
    QVERIFY(bookmarked.first().at(0).toBool());
    QSignalSpy history(&worker, &DBWorker::historyAvailable);
    worker.getHistory(QStringLiteral("kept"), QDateTime(), QDateTime());
    QCOMPARE(history.count(), 1);
    QCOMPARE(history.first().at(0).value<QList<Link>>().size(), 1);
}

void TestDbIndexes::readsUseCoveringIndexes_data()
{
    QTest::addColumn<QString>("statement");
    QTest::addColumn<QVariantList>("values");
    QTest::addColumn<QString>("index");

    QTest::newRow("filtered history list")
        << "SELECT id, url, title, date, (url IN (SELECT url FROM bookmark_node)) AS bookmarked FROM "
           "browser_history WHERE url LIKE ? OR title LIKE ? GROUP BY url ORDER BY date DESC;"
        << QVariantList({ QStringLiteral("%news%"), QStringLiteral("%news%") })
        << "browser_history_url_date_title_visited_count";
    QTest::newRow("per-day merge of a visit")
        << "SELECT id FROM browser_history WHERE url = ? AND date >= ? ORDER BY date DESC LIMIT 1;"
        << QVariantList({ QStringLiteral("https://a.example/"), 0 })
        << "browser_history_url_date_title_visited_count";
    QTest::newRow("most-visited tiles")
        << "SELECT id, url, title, date, (url IN (SELECT url FROM bookmark_node)) AS bookmarked, "
           "SUM(visited_count) FROM browser_history WHERE date > ? GROUP BY url HAVING SUM(visited_count) > "
           "0 "
           "ORDER BY SUM(visited_count) DESC, title ASC LIMIT ?;"
        << QVariantList({ 0, 8 }) << "browser_history_url_date_title_visited_count";
    QTest::newRow("parent of a bookmark")
        << "SELECT ancestor FROM bookmark_structure WHERE descendant = ? AND depth = 1;"
        << QVariantList({ 3 }) << "bookmark_structure_descendant_depth_ancestor";
    QTest::newRow("bookmarks below a folder")
        << "SELECT COUNT(descendant) FROM bookmark_structure struct INNER JOIN bookmark_node node ON "
           "struct.descendant = node.id WHERE struct.ancestor = ? AND node.url NOT NULL"
        << QVariantList({ 1 }) << "bookmark_structure_ancestor_descendant";
}

void TestDbIndexes::readsUseCoveringIndexes()
{
    QFETCH(QString, statement);
    QFETCH(QVariantList, values);
    QFETCH(QString, index);

    TempProfile profile;
    {
        DBWorker worker;
        worker.init();
    }
    DbFileProbe db(profile.databasePath());
    QStringList plan;
    for (const QVariantList& row : db.rows(QStringLiteral("EXPLAIN QUERY PLAN ") + statement, values))
        plan.append(row.value(3).toString());
    const QString uses = QStringLiteral("USING COVERING INDEX ") + index;
    QVERIFY2(
        std::any_of(plan.cbegin(), plan.cend(), [&uses](const QString& step) { return step.contains(uses); }),
        qPrintable(plan.join(QLatin1Char('\n')) + db.lastError()));
}

QTEST_GUILESS_MAIN(TestDbIndexes)
#include "tst_dbindexes.moc"
