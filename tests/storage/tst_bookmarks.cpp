// The bookmark tree on a real profile. A long random sequence of edits is checked
// after every step against a plain parent-pointer tree kept here; the fixed cases
// guard what a user notices directly: searches, emptying, refused moves, migration.

#include "storage/dbworker.h"
#include "support/dbfileprobe.h"
#include "support/tempprofile.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QSqlError>
#include <QSqlRecord>
#include <QtTest>
#include <algorithm>
#include <memory>

namespace
{

// The rows of a statement on the worker's file connection, columns joined by blanks, sorted.
QStringList rows(const QString& sql, const QVariantList& values = {})
{
    QStringList result = sqlRows(QSqlDatabase::database(), sql, values, QStringLiteral(" "), QString());
    result.sort();
    return result;
}

// The titles of a folder read, sorted and joined by ",".
QString titles(const QList<QVariant>& answer)
{
    QStringList result;
    for (const Bookmark& bookmark : answer.value(0).value<QList<Bookmark>>())
        result.append(bookmark.title);
    result.sort();
    return result.join(QLatin1Char(','));
}

struct Node {
    int parent = -1;
    bool folder = false;
    QString title;
};

} // namespace

class TestBookmarks : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_worker.reset(), m_profile.reset(); }
    void randomEditsKeepClosure();

private:
    int add(int parent, const QString& url, const QString& title);
    // The model tree of the random sequence.
    template <typename Keep> QList<int> select(Keep keep) const
    {
        QList<int> result;
        for (int node : m_tree.keys()) {
            if (keep(node))
                result.append(node);
        }
        return result;
    }
    QList<int> folders() const
    {
        return select([&](int id) { return id != 0 && m_tree.value(id).folder; });
    }
    QList<int> children(int id) const
    {
        return select([&](int node) { return node != 0 && m_tree.value(node).parent == id; });
    }
    QList<int> below(int id, bool withSelf = true) const;
    int pick(int bound) { return int(m_random.bounded(bound)); }
    int pickFrom(const QList<int>& list) { return list.at(pick(list.size())); }
    QString step(bool& treeRead, int& listed);
    void checkStore(const QString& at);

    std::unique_ptr<TempProfile> m_profile;
    std::unique_ptr<DBWorker> m_worker;
    // Nested folders "Reading news" / "Deep" / "Deeper", and a folder "Side", all in "Bookmarks".
    QList<int> m_folders;
    QMap<int, Node> m_tree;
    QRandomGenerator m_random { 20240611u };
    int m_counter = 0;
};

void TestBookmarks::init()
{
    m_profile = std::make_unique<TempProfile>();
    QVERIFY(m_profile->isValid());
    m_worker = std::make_unique<DBWorker>();
    m_worker->init();
    m_folders = { add(1, QString(), QStringLiteral("Reading news")) };
    m_folders << add(m_folders.last(), QString(), QStringLiteral("Deep"));
    m_folders << add(m_folders.last(), QString(), QStringLiteral("Deeper"));
    m_folders << add(1, QString(), QStringLiteral("Side"));
    add(m_folders.at(2), QStringLiteral("https://daily.example/?q=1"), QStringLiteral("Daily news"));
    add(m_folders.at(0), QStringLiteral("https://paper.example/news"), QStringLiteral("Morning"));
    add(1, QStringLiteral("https://top.example/"), QStringLiteral("news top"));
    add(1, QStringLiteral("https://tea.example/"), QStringLiteral("Five o'clock"));
    add(2, QStringLiteral("https://quick.example/"), QStringLiteral("Daily quick"));
}

int TestBookmarks::add(int parent, const QString& url, const QString& title)
{
    m_worker->addBookmarkNode(parent, url, title);
    return rows(QStringLiteral("SELECT MAX(id) FROM bookmark_node")).value(0).toInt();
}

QList<int> TestBookmarks::below(int id, bool withSelf) const
{
    return select([&](int node) {
        for (int up = withSelf ? node : m_tree.value(node).parent; up >= 0; up = m_tree.value(up).parent) {
            if (up == id)
                return true;
        }
        return false;
    });
}

// One random edit, on the store and on the model. Says what it did, whether the
// tree must have been re-read, and which folder's list (-1: none).
QString TestBookmarks::step(bool& treeRead, int& listed)
{
    // Shares of the edits, as upper bounds of a roll of 0..99.
    enum { Add = 55, MoveOne = 66, MoveMany = 76, RemoveOne = 83, RemoveMany = 90 };
    const int roll = pick(100);
    const QList<int> movable = select([](int id) { return id > 2; });
    if (roll < Add || movable.size() < 3) {
        const bool folder = roll < 15;
        const int parent = pickFrom(folders());
        const QString title = QStringLiteral("node %1").arg(++m_counter);
        // The front end hands over "" for a folder; it must make a folder like a null url.
        const QString url = folder ? (pick(2) ? QString() : QStringLiteral(""))
                                   : QStringLiteral("https://site%1.example/").arg(m_counter);
        m_tree.insert(add(parent, url, title), { parent, folder, title });
        treeRead = folder, listed = parent;
        return QStringLiteral("add under %1").arg(parent);
    }

    // One node, or up to four siblings. Removals prefer the smaller of two subtrees, so that they
    // mostly prune twigs and the tree grows.
    const int a = pickFrom(movable), b = pickFrom(movable);
    QList<int> nodes { roll < MoveOne || below(a).size() <= below(b).size() ? a : b };
    if ((roll >= MoveOne && roll < MoveMany) || (roll >= RemoveOne && roll < RemoveMany)) {
        QList<int> pool
            = children(pickFrom(select([&](int id) { return children(id).size() > (id == 0 ? 2 : 0); })));
        pool.removeAll(1), pool.removeAll(2);
        nodes.clear();
        for (int wanted = 1 + pick(qMin(4, pool.size())); nodes.size() < wanted;)
            nodes.append(pool.takeAt(pick(pool.size())));
    } else if (roll == RemoveOne - 1) {
        nodes = { 1 + pick(2) }; // a permanent folder, which can only be emptied
    }
    for (int id : nodes)
        treeRead = treeRead || m_tree.value(id).folder;
    const int first = nodes.first();
    listed = m_tree.value(first).parent;
    const QString what = QStringLiteral("roll %1, %2 nodes from %3").arg(roll).arg(nodes.size()).arg(listed);

    if (roll < MoveMany) {
        QList<int> targets = folders();
        for (int id : nodes) {
            for (int inside : below(id))
                targets.removeOne(inside);
        }
        const int target = pickFrom(targets);
        if (roll >= MoveOne)
            m_worker->moveBookmarkNodes(nodes, target, treeRead);
        else
            m_worker->moveBookmarkNode(first, target, treeRead);
        for (int id : nodes)
            m_tree[id].parent = target;
        return what + QStringLiteral(" moved to %1").arg(target);
    }
    if (roll < RemoveOne) {
        const bool clearOnly = first <= 2 || (treeRead && pick(2));
        m_worker->removeBookmarkNode(first, treeRead, clearOnly);
        for (int node : below(first, !clearOnly))
            m_tree.remove(node);
        listed = -1;
        return what + (clearOnly ? QLatin1String(" cleared") : QLatin1String(" removed"));
    }
    if (roll < RemoveMany) {
        m_worker->removeBookmarkNodes(nodes, treeRead);
        for (int id : nodes) {
            for (int node : below(id))
                m_tree.remove(node);
        }
        return what + QLatin1String(" removed");
    }
    Node& node = m_tree[first];
    node.title = QStringLiteral("renamed %1").arg(++m_counter);
    // A bookmark whose address is cleared stays a bookmark.
    m_worker->updateBookmarkNode(first,
        node.folder || pick(2) ? QStringLiteral("") : QStringLiteral("https://renamed.example/"), node.title);
    treeRead = false, listed = -1;
    return what + QLatin1String(" renamed");
}

// Node and closure rows against the model, then the tree read against the model drawn.
void TestBookmarks::checkStore(const QString& at)
{
    // The model's closure has exactly one depth-1 parent for every node but the
    // root, one row per further ancestor with its distance, and no row of depth 0.
    QStringList expected;
    for (auto it = m_tree.cbegin(); it != m_tree.cend(); ++it) {
        expected.append(QStringLiteral("node %1 %2 %3").arg(it.key()).arg(int(it->folder)).arg(it->title));
        int depth = 1;
        for (int up = it->parent; up >= 0; up = m_tree.value(up).parent)
            expected.append(QStringLiteral("link %1 %2 %3").arg(up).arg(it.key()).arg(depth++));
    }
    expected.sort();
    const QStringList stored = rows(QStringLiteral("SELECT 'node', id, url IS NULL, title FROM bookmark_node "
                                                   "UNION ALL SELECT 'link', * FROM bookmark_structure"));
    QVERIFY2(stored == expected,
        qPrintable(at + QLatin1Char('\n') + stored.join(QLatin1Char(',')) + QLatin1Char('\n')
            + expected.join(QLatin1Char(','))));

    // Each row at most one level below the row before, under the open folder one
    // level up: the tree drawn depth-first, siblings in any order.
    QSignalSpy spy(m_worker.get(), &DBWorker::bookmarksTreeAvailable);
    m_worker->getBookmarkTree();
    QList<int> open, drawn;
    for (const BookmarkTreeNode& row : spy.value(0).value(0).value<QList<BookmarkTreeNode>>()) {
        const Node node = m_tree.value(row.id);
        const QList<int> inside = below(row.id, false);
        const auto count
            = std::count_if(inside.cbegin(), inside.cend(), [&](int id) { return !m_tree.value(id).folder; });
        open = open.mid(0, row.depth);
        QVERIFY2(row.depth == open.size() && node.folder && node.title == row.title && row.children == count
                && node.parent == (open.isEmpty() ? 0 : open.last()),
            qPrintable(at + QStringLiteral(": folder %1 drawn wrongly").arg(row.id)));
        open.append(row.id);
        drawn.append(row.id);
    }
    std::sort(drawn.begin(), drawn.end());
    QVERIFY2(drawn == folders(), qPrintable(at + QStringLiteral(": folders missing or drawn twice")));
}

void TestBookmarks::randomEditsKeepClosure()
{
    m_tree.insert(0, { -1, true, QString() });
    for (const QString& row :
        rows(QStringLiteral("SELECT id, ancestor, url IS NULL, title FROM bookmark_node "
                            "JOIN bookmark_structure ON descendant = id AND depth = 1"))) {
        const QStringList columns = row.split(QLatin1Char(' '));
        m_tree.insert(columns.at(0).toInt(),
            { columns.at(1).toInt(), columns.at(2) == QLatin1String("1"), row.section(QLatin1Char(' '), 3) });
    }
    checkStore(QStringLiteral("initial tree"));

    QSignalSpy treeSpy(m_worker.get(), &DBWorker::bookmarksTreeAvailable);
    QSignalSpy listSpy(m_worker.get(), &DBWorker::bookmarksAvailable);
    int largest = 0, deepest = 0;
    for (int number = 0; number < 300 && !QTest::currentTestFailed(); ++number) {
        treeSpy.clear(), listSpy.clear();
        bool treeRead = false;
        int listed = -1;
        const QString at = QStringLiteral("step %1, ").arg(number) + step(treeRead, listed);
        QVERIFY2(treeSpy.count() == int(treeRead) && listSpy.count() == int(listed >= 0),
            qPrintable(at + QStringLiteral(": wrong re-reads")));
        // The list of the folder left (or added to): its children, folders first.
        QList<int> ids, kinds;
        for (const Bookmark& bookmark : listSpy.value(0).value(0).value<QList<Bookmark>>())
            ids << bookmark.id, kinds << int(!m_tree.value(bookmark.id).folder);
        std::sort(ids.begin(), ids.end());
        QVERIFY2(listed < 0 || (ids == children(listed) && std::is_sorted(kinds.cbegin(), kinds.cend())),
            qPrintable(at + QStringLiteral(": wrong list of the folder")));
        checkStore(at);
        largest = qMax(largest, m_tree.size());
        deepest = qMax(
            deepest, rows(QStringLiteral("SELECT MAX(depth) FROM bookmark_structure")).value(0).toInt());
    }
    // The sequence must reach trees worth checking, not hover around the roots.
    QVERIFY2(largest >= 40 && deepest >= 4, qPrintable(QStringLiteral("%1 %2").arg(largest).arg(deepest)));

    // Emptying a folder keeps it with its links, drawn with no bookmarks below.
    m_worker->removeBookmarkNode(1, true, true);
    for (int node : below(1, false))
        m_tree.remove(node);
    checkStore(QStringLiteral("Bookmarks emptied"));
    // Emptying everything keeps the permanent folders and their links; quick access is re-read.
    treeSpy.clear(), listSpy.clear();
    m_worker->removeAllBookmarks();
    QCOMPARE(rows(QStringLiteral(
                 "SELECT 'node', id, 0 FROM bookmark_node UNION ALL SELECT * FROM bookmark_structure")),
        QString::fromLatin1("0 1 1,0 2 1,node 0 0,node 1 0,node 2 0").split(QLatin1Char(',')));
    QCOMPARE(treeSpy.value(0).value(0).value<QList<BookmarkTreeNode>>().size(), 2);
    QCOMPARE(listSpy.count(), 1);
    QVERIFY(listSpy.first().at(0).value<QList<Bookmark>>().isEmpty());
}

QTEST_GUILESS_MAIN(TestBookmarks)
#include "tst_bookmarks.moc"
