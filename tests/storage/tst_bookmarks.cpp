// Bookmark operations whose outcome a user notices directly: what a folder read
// or a search returns, what emptying keeps, and the moves that are refused.

#include "storage/dbworker.h"
#include "support/bookmarkprobe.h"
#include "support/tempprofile.h"

#include <QSignalSpy>
#include <QtTest>
#include <memory>

using ClosureLink = BookmarkProbe::Link;

namespace
{
QStringList titles(std::initializer_list<const char*> list)
{
    QStringList result;
    for (const char* title : list)
        result.append(QString::fromUtf8(title));
    return result;
}
} // namespace

class TestBookmarks : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void removeAllKeepsPermanentFolders();
    void filteredRead_data();
    void filteredRead();
    void removeFolder_data();
    void removeFolder();
    void moveIntoOwnSubtreeIsRefused_data();
    void moveIntoOwnSubtreeIsRefused();
    void folderStaysFolderWhenRenamed();
    void lookupByUrl_data();
    void lookupByUrl();
    void migrateTwiceMakesOneFolder();

private:
    // Adds a node and returns its id (the newest row).
    int add(int parent, const QString& url, const QString& title);
    QList<BookmarkTreeNode> tree();

    std::unique_ptr<TempProfile> m_profile;
    std::unique_ptr<DBWorker> m_worker;
};

void TestBookmarks::init()
{
    m_profile = std::make_unique<TempProfile>();
    QVERIFY(m_profile->isValid());
    m_worker = std::make_unique<DBWorker>();
    m_worker->init();
}

void TestBookmarks::cleanup()
{
    m_worker.reset();
    m_profile.reset();
}

int TestBookmarks::add(int parent, const QString& url, const QString& title)
{
    m_worker->addBookmarkNode(parent, url, title);
    return BookmarkProbe::scalar(QStringLiteral("SELECT MAX(id) FROM bookmark_node"));
}

QList<BookmarkTreeNode> TestBookmarks::tree()
{
    QSignalSpy spy(m_worker.get(), &DBWorker::bookmarksTreeAvailable);
    m_worker->getBookmarkTree();
    return spy.count() == 1 ? spy.first().at(0).value<QList<BookmarkTreeNode>>() : QList<BookmarkTreeNode>();
}

void TestBookmarks::removeAllKeepsPermanentFolders()
{
    const int folder = add(1, QString(), QStringLiteral("Travel"));
    add(folder, QStringLiteral("https://trains.example/"), QStringLiteral("Trains"));
    add(2, QStringLiteral("https://news.example/"), QStringLiteral("News"));
    add(add(folder, QString(), QStringLiteral("Sub")), QStringLiteral("https://x.example/"),
        QStringLiteral("X"));

    QSignalSpy treeSpy(m_worker.get(), &DBWorker::bookmarksTreeAvailable);
    QSignalSpy listSpy(m_worker.get(), &DBWorker::bookmarksAvailable);
    m_worker->removeAllBookmarks();

    QList<int> left;
    for (const BookmarkProbe::Node& node : BookmarkProbe::nodes())
        left.append(node.id);
    QCOMPARE(left, QList<int>({ 0, 1, 2 }));
    QCOMPARE(BookmarkProbe::links(), QList<ClosureLink>({ { 0, 1, 1 }, { 0, 2, 1 } }));

    // The tree and the quick access list are re-read, both now empty.
    QCOMPARE(treeSpy.count(), 1);
    const auto nodes = treeSpy.first().at(0).value<QList<BookmarkTreeNode>>();
    QCOMPARE(nodes.size(), 2);
    for (const BookmarkTreeNode& node : nodes) {
        QCOMPARE(node.depth, 0);
        QCOMPARE(node.children, 0);
    }
    QCOMPARE(listSpy.count(), 1);
    QVERIFY(listSpy.first().at(0).value<QList<Bookmark>>().isEmpty());
}

void TestBookmarks::filteredRead_data()
{
    QTest::addColumn<QString>("folder"); // title of the folder searched, "Bookmarks" for 1
    QTest::addColumn<QString>("filter");
    QTest::addColumn<QStringList>("expected"); // titles

    QTest::newRow("title in a sub-subfolder") << "Bookmarks"
                                              << "daily" << titles({ "Daily news" });
    QTest::newRow("url, not title") << "Bookmarks"
                                    << "paper.example" << titles({ "Morning" });
    QTest::newRow("case of ascii letters ignored") << "Bookmarks"
                                                   << "DAILY" << titles({ "Daily news" });
    QTest::newRow("folder title never returned") << "Bookmarks"
                                                 << "Reading" << titles({});
    QTest::newRow("matches at several depths") << "Bookmarks"
                                               << "news" << titles({ "Daily news", "Morning", "news top" });
    QTest::newRow("only below the folder") << "Reading"
                                           << "news" << titles({ "Daily news", "Morning" });
    QTest::newRow("other top folder") << "Quick access"
                                      << "daily" << titles({ "Daily quick" });
    QTest::newRow("quote in filter") << "Bookmarks"
                                     << "o'clock" << titles({ "Five o'clock" });
    QTest::newRow("no match") << "Bookmarks"
                              << "nothing-like-this" << titles({});
}

void TestBookmarks::filteredRead()
{
    QFETCH(QString, folder);
    QFETCH(QString, filter);
    QFETCH(QStringList, expected);

    // Bookmarks / Reading (a folder whose name matches nothing useful) / Deep /
    // "Daily news"; Reading holds "Morning" (url mentions news); "news top" and
    // "Five o'clock" sit in Bookmarks itself; quick access holds "Daily quick".
    const int reading = add(1, QStringLiteral(""), QStringLiteral("Reading news"));
    const int deep = add(reading, QString(), QStringLiteral("Deep"));
    add(deep, QStringLiteral("https://daily.example/"), QStringLiteral("Daily news"));
    add(reading, QStringLiteral("https://paper.example/news"), QStringLiteral("Morning"));
    add(1, QStringLiteral("https://top.example/"), QStringLiteral("news top"));
    add(1, QStringLiteral("https://tea.example/"), QStringLiteral("Five o'clock"));
    add(2, QStringLiteral("https://quick.example/"), QStringLiteral("Daily quick"));

    const QMap<QString, int> folders { { QStringLiteral("Bookmarks"), 1 },
        { QStringLiteral("Quick access"), 2 }, { QStringLiteral("Reading"), reading } };
    QSignalSpy spy(m_worker.get(), &DBWorker::bookmarksAvailable);
    m_worker->getBookmarks(folders.value(folder), filter);
    QCOMPARE(spy.count(), 1);

    QStringList titles;
    for (const Bookmark& bookmark : spy.first().at(0).value<QList<Bookmark>>()) {
        QVERIFY2(!bookmark.url.isEmpty(), qPrintable(bookmark.title));
        titles.append(bookmark.title);
    }
    titles.sort();
    expected.sort();
    QCOMPARE(titles, expected);
}

void TestBookmarks::removeFolder_data()
{
    QTest::addColumn<bool>("clearOnly");
    QTest::newRow("clear only") << true;
    QTest::newRow("whole folder") << false;
}

void TestBookmarks::removeFolder()
{
    QFETCH(bool, clearOnly);

    const QList<ClosureLink> baseline = BookmarkProbe::links();
    const int keep = add(1, QStringLiteral("https://keep.example/"), QStringLiteral("Keep"));
    const int folder = add(1, QString(), QStringLiteral("Work"));
    add(folder, QStringLiteral("https://a.example/"), QStringLiteral("A"));
    const int sub = add(folder, QString(), QStringLiteral("Sub"));
    add(sub, QStringLiteral("https://b.example/"), QStringLiteral("B"));

    QSignalSpy treeSpy(m_worker.get(), &DBWorker::bookmarksTreeAvailable);
    m_worker->removeBookmarkNode(folder, true, clearOnly);
    QCOMPARE(treeSpy.count(), 1);

    QList<int> left;
    for (const BookmarkProbe::Node& node : BookmarkProbe::nodes()) {
        if (node.id >= keep)
            left.append(node.id);
    }
    QList<ClosureLink> links = baseline;
    links << ClosureLink { 1, keep, 1 } << ClosureLink { 0, keep, 2 };
    if (clearOnly) {
        QCOMPARE(left, QList<int>({ keep, folder }));
        links << ClosureLink { 1, folder, 1 } << ClosureLink { 0, folder, 2 };
    } else {
        QCOMPARE(left, QList<int>({ keep }));
    }
    std::sort(links.begin(), links.end());
    QCOMPARE(BookmarkProbe::toString(BookmarkProbe::links()), BookmarkProbe::toString(links));

    bool listed = false;
    for (const BookmarkTreeNode& node : treeSpy.first().at(0).value<QList<BookmarkTreeNode>>()) {
        if (node.id == folder) {
            listed = true;
            QCOMPARE(node.children, 0);
            QCOMPARE(node.depth, 1);
        }
        QVERIFY(node.id != sub);
    }
    QCOMPARE(listed, clearOnly);
}

void TestBookmarks::moveIntoOwnSubtreeIsRefused_data()
{
    QTest::addColumn<QString>("moved"); // names of the nodes moved
    QTest::addColumn<QString>("target"); // name of the new parent
    QTest::addColumn<bool>("many");

    QTest::newRow("onto itself") << "top"
                                 << "top" << false;
    QTest::newRow("into its child") << "top"
                                    << "child" << false;
    QTest::newRow("into its grandchild") << "top"
                                         << "grandchild" << false;
    QTest::newRow("list, onto one of them") << "side,top"
                                            << "top" << true;
    QTest::newRow("list, into a grandchild") << "side,top"
                                             << "grandchild" << true;
    // A node below another listed node would be hung twice.
    QTest::newRow("list holding a node and its child") << "top,child"
                                                       << "side" << true;
}

void TestBookmarks::moveIntoOwnSubtreeIsRefused()
{
    QFETCH(QString, moved);
    QFETCH(QString, target);
    QFETCH(bool, many);

    QMap<QString, int> id;
    id[QStringLiteral("top")] = add(1, QString(), QStringLiteral("top"));
    id[QStringLiteral("child")] = add(id.value(QStringLiteral("top")), QString(), QStringLiteral("child"));
    id[QStringLiteral("grandchild")]
        = add(id.value(QStringLiteral("child")), QString(), QStringLiteral("grandchild"));
    add(id.value(QStringLiteral("grandchild")), QStringLiteral("https://leaf.example/"),
        QStringLiteral("leaf"));
    id[QStringLiteral("side")] = add(1, QString(), QStringLiteral("side"));

    const QList<ClosureLink> before = BookmarkProbe::links();
    QSignalSpy treeSpy(m_worker.get(), &DBWorker::bookmarksTreeAvailable);
    QSignalSpy listSpy(m_worker.get(), &DBWorker::bookmarksAvailable);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("refusing to move")));

    QList<int> movedIds;
    for (const QString& name : moved.split(QLatin1Char(',')))
        movedIds.append(id.value(name));
    if (many)
        m_worker->moveBookmarkNodes(movedIds, id.value(target), true);
    else
        m_worker->moveBookmarkNode(movedIds.first(), id.value(target), true);

    QCOMPARE(BookmarkProbe::toString(BookmarkProbe::links()), BookmarkProbe::toString(before));
    QCOMPARE(treeSpy.count(), 0);
    QCOMPARE(listSpy.count(), 0);
}

void TestBookmarks::folderStaysFolderWhenRenamed()
{
    const int folder = add(1, QStringLiteral(""), QStringLiteral("Old"));
    m_worker->updateBookmarkNode(folder, QStringLiteral(""), QStringLiteral("New"));

    bool found = false;
    for (const BookmarkTreeNode& node : tree()) {
        if (node.id == folder) {
            found = true;
            QCOMPARE(node.title, QStringLiteral("New"));
        }
    }
    QVERIFY(found);
}

void TestBookmarks::lookupByUrl_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<bool>("bookmarked");
    QTest::addColumn<QString>("title");

    QTest::newRow("bookmark in a subfolder") << "https://deep.example/a?b=1" << true << "Deep";
    QTest::newRow("quick access") << "https://quick.example/" << true << "Quick";
    QTest::newRow("prefix of a bookmark") << "https://deep.example/a" << false << "";
    QTest::newRow("unknown") << "https://unknown.example/" << false << "";
    QTest::newRow("empty url is no folder lookup") << "" << false << "";
}

void TestBookmarks::lookupByUrl()
{
    QFETCH(QString, url);
    QFETCH(bool, bookmarked);
    QFETCH(QString, title);

    const int folder = add(1, QStringLiteral(""), QStringLiteral("Sub"));
    const int deep = add(folder, QStringLiteral("https://deep.example/a?b=1"), QStringLiteral("Deep"));
    const int quick = add(2, QStringLiteral("https://quick.example/"), QStringLiteral("Quick"));

    QSignalSpy bookmarkedSpy(m_worker.get(), &DBWorker::bookmarkedAvailable);
    QSignalSpy dataSpy(m_worker.get(), &DBWorker::bookmarkDataAvailable);
    m_worker->isBookmarked(url);
    m_worker->getBookmarkData(url);

    QCOMPARE(bookmarkedSpy.count(), 1);
    QCOMPARE(bookmarkedSpy.first().at(0).toBool(), bookmarked);
    QCOMPARE(dataSpy.count(), bookmarked ? 1 : 0);
    if (bookmarked) {
        const QList<QVariant> data = dataSpy.first();
        const bool isDeep = title == QLatin1String("Deep");
        QCOMPARE(data.at(0).toInt(), isDeep ? deep : quick);
        QCOMPARE(data.at(1).toString(), url);
        QCOMPARE(data.at(2).toString(), title);
        QCOMPARE(data.at(3).toInt(), isDeep ? folder : 2);
    }
}

void TestBookmarks::migrateTwiceMakesOneFolder()
{
    const QString folderTitle = qtTrId("browser-la-migrated-bookmarks");
    QSignalSpy listSpy(m_worker.get(), &DBWorker::bookmarksAvailable);

    m_worker->migrateBookmark(QStringLiteral("First"), QStringLiteral("https://old.example/one"),
        QStringLiteral("data:image/png;base64,AAAA"));
    m_worker->migrateBookmark(QStringLiteral("Second"), QStringLiteral("https://old.example/two"),
        QStringLiteral("data:image/png;base64,BBBB"));

    QCOMPARE(BookmarkProbe::scalar(
                 QStringLiteral("SELECT COUNT(*) FROM bookmark_node INNER JOIN bookmark_structure "
                                "ON descendant = id WHERE ancestor = 1 AND depth = 1 AND title = ? "
                                "AND url IS NULL"),
                 { folderTitle }),
        1);
    const int folder = BookmarkProbe::scalar(
        QStringLiteral("SELECT id FROM bookmark_node WHERE title = ?"), { folderTitle });
    QCOMPARE(
        BookmarkProbe::scalar(QStringLiteral("SELECT COUNT(*) FROM bookmark_structure WHERE ancestor = ? AND "
                                             "depth = 1"),
            { folder }),
        2);

    // The last list answered is the migration folder with both bookmarks.
    QVERIFY(!listSpy.isEmpty());
    QStringList titles;
    for (const Bookmark& bookmark : listSpy.last().at(0).value<QList<Bookmark>>())
        titles.append(bookmark.title);
    titles.sort();
    QCOMPARE(titles, QStringList({ QStringLiteral("First"), QStringLiteral("Second") }));

    // One favicon per site, and a later migration does not replace it.
    QSqlQuery icons(QSqlDatabase::database());
    QVERIFY(icons.exec(QStringLiteral("SELECT base_url, favicon FROM favicons")));
    QVERIFY(icons.next());
    QCOMPARE(icons.value(0).toString(), QStringLiteral("https://old.example"));
    QCOMPARE(icons.value(1).toString(), QStringLiteral("data:image/png;base64,AAAA"));
    QVERIFY(!icons.next());
}

QTEST_GUILESS_MAIN(TestBookmarks)
#include "tst_bookmarks.moc"
