// A long random sequence of tree edits, checked after every step against a plain
// parent-pointer tree kept here: the closure table must hold exactly one row per
// (ancestor, descendant) pair with the right distance, and the folder tree read
// must draw the same tree depth-first.

#include "storage/dbworker.h"
#include "support/bookmarkprobe.h"
#include "support/tempprofile.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QtTest>
#include <algorithm>
#include <memory>

namespace
{

struct ModelNode {
    int parent = -1;
    bool folder = false;
    QString title;
    QString url;
};

// The tree as the user sees it, without any closure bookkeeping.
class TreeModel
{
public:
    QMap<int, ModelNode> nodes;

    bool isPermanent(int id) const { return id <= 2; }

    QList<int> children(int id) const
    {
        QList<int> result;
        for (auto it = nodes.constBegin(); it != nodes.constEnd(); ++it) {
            if (it.value().parent == id && it.key() != 0)
                result.append(it.key());
        }
        return result;
    }

    bool isBelow(int node, int ancestor) const
    {
        for (int up = nodes.value(node).parent; up >= 0; up = nodes.value(up).parent) {
            if (up == ancestor)
                return true;
        }
        return false;
    }

    // The node and everything below it.
    QSet<int> subtree(int id) const
    {
        QSet<int> result { id };
        for (auto it = nodes.constBegin(); it != nodes.constEnd(); ++it) {
            if (isBelow(it.key(), id))
                result.insert(it.key());
        }
        return result;
    }

    QList<BookmarkProbe::Link> closure() const
    {
        QList<BookmarkProbe::Link> links;
        for (auto it = nodes.constBegin(); it != nodes.constEnd(); ++it) {
            int depth = 1;
            for (int up = it.value().parent; up >= 0; up = nodes.value(up).parent, ++depth)
                links.append({ up, it.key(), depth });
        }
        std::sort(links.begin(), links.end());
        return links;
    }

    int bookmarksBelow(int id) const
    {
        int count = 0;
        for (auto it = nodes.constBegin(); it != nodes.constEnd(); ++it) {
            if (!it.value().folder && isBelow(it.key(), id))
                ++count;
        }
        return count;
    }

    QList<int> folders() const
    {
        QList<int> result;
        for (auto it = nodes.constBegin(); it != nodes.constEnd(); ++it) {
            if (it.value().folder && it.key() != 0)
                result.append(it.key());
        }
        return result;
    }

    QList<int> movable() const
    {
        QList<int> result;
        for (int id : nodes.keys()) {
            if (!isPermanent(id))
                result.append(id);
        }
        return result;
    }

    void removeSubtree(int id)
    {
        for (int node : subtree(id))
            nodes.remove(node);
    }
};

// Rebuilds the model from whatever the profile starts with (the permanent
// folders, and presets if the database brings any).
TreeModel modelFromDatabase()
{
    TreeModel model;
    model.nodes.insert(0, { -1, true, QString(), QString() });
    const QList<BookmarkProbe::Link> links = BookmarkProbe::links();
    for (const BookmarkProbe::Node& node : BookmarkProbe::nodes()) {
        if (node.id == 0)
            continue;
        int parent = -1;
        for (const BookmarkProbe::Link& link : links) {
            if (link.descendant == node.id && link.depth == 1)
                parent = link.ancestor;
        }
        model.nodes.insert(
            node.id, { parent, node.url.isNull(), node.title.toString(), node.url.toString() });
    }
    return model;
}

} // namespace

class TestBookmarkClosure : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void randomEditsKeepClosure();

private:
    // Compares the database with the model; returns an empty string when they agree.
    QString mismatch();
    QString treeMismatch(const QList<BookmarkTreeNode>& rows) const;
    QString folderListMismatch(const QList<Bookmark>& list, int folderId) const;
    int pick(int bound) { return int(m_random.bounded(bound)); }
    template <typename T> T pickFrom(const QList<T>& list) { return list.at(pick(list.size())); }
    QList<int> pickSiblings();
    // Of two random nodes the one with fewer nodes below, so that removals
    // mostly prune twigs and the tree keeps growing.
    int pickSmallSubtree(const QList<int>& pool)
    {
        const int a = pickFrom(pool);
        const int b = pickFrom(pool);
        return m_model.subtree(a).size() <= m_model.subtree(b).size() ? a : b;
    }
    bool step(QString* what);

    std::unique_ptr<TempProfile> m_profile;
    std::unique_ptr<DBWorker> m_worker;
    std::unique_ptr<QSignalSpy> m_treeSpy;
    std::unique_ptr<QSignalSpy> m_listSpy;
    TreeModel m_model;
    QRandomGenerator m_random { 20240611u };
    int m_titleCounter = 0;
};

void TestBookmarkClosure::init()
{
    m_profile = std::make_unique<TempProfile>();
    QVERIFY(m_profile->isValid());
    m_worker = std::make_unique<DBWorker>();
    m_worker->init();
    m_treeSpy = std::make_unique<QSignalSpy>(m_worker.get(), &DBWorker::bookmarksTreeAvailable);
    m_listSpy = std::make_unique<QSignalSpy>(m_worker.get(), &DBWorker::bookmarksAvailable);
    m_model = modelFromDatabase();
    m_random.seed(20240611u);
}

void TestBookmarkClosure::cleanup()
{
    m_treeSpy.reset();
    m_listSpy.reset();
    m_worker.reset();
    m_profile.reset();
}

QString TestBookmarkClosure::treeMismatch(const QList<BookmarkTreeNode>& rows) const
{
    // Walk the rows as an indented drawing: each row's depth may go at most one
    // level deeper than the row before, and its parent is the open folder one
    // level up. Siblings may come in any order; the drawing must be depth-first.
    QList<int> open;
    QSet<int> seen;
    for (const BookmarkTreeNode& row : rows) {
        if (row.depth < 0 || row.depth > open.size())
            return QStringLiteral("row %1 jumps to depth %2 after depth %3")
                .arg(row.id)
                .arg(row.depth)
                .arg(open.size() - 1);
        open = open.mid(0, row.depth);
        const int drawnParent = open.isEmpty() ? 0 : open.last();
        if (!m_model.nodes.contains(row.id) || !m_model.nodes.value(row.id).folder)
            return QStringLiteral("row %1 is no folder of the tree").arg(row.id);
        const ModelNode& node = m_model.nodes.value(row.id);
        if (node.parent != drawnParent)
            return QStringLiteral("folder %1 drawn below %2, belongs below %3")
                .arg(row.id)
                .arg(drawnParent)
                .arg(node.parent);
        if (row.title != node.title)
            return QStringLiteral("folder %1 titled %2, expected %3").arg(row.id).arg(row.title, node.title);
        if (row.children != m_model.bookmarksBelow(row.id))
            return QStringLiteral("folder %1 counts %2 bookmarks, expected %3")
                .arg(row.id)
                .arg(row.children)
                .arg(m_model.bookmarksBelow(row.id));
        if (seen.contains(row.id))
            return QStringLiteral("folder %1 drawn twice").arg(row.id);
        seen.insert(row.id);
        open.append(row.id);
    }
    const QList<int> folders = m_model.folders();
    if (seen.size() != folders.size())
        return QStringLiteral("tree has %1 folders, expected %2").arg(seen.size()).arg(folders.size());
    return QString();
}

QString TestBookmarkClosure::folderListMismatch(const QList<Bookmark>& list, int folderId) const
{
    // Direct children, folders before bookmarks.
    QSet<int> got;
    bool bookmarkSeen = false;
    for (const Bookmark& bookmark : list) {
        const ModelNode node = m_model.nodes.value(bookmark.id);
        if (node.folder && bookmarkSeen)
            return QStringLiteral("folder %1 listed after a bookmark").arg(bookmark.id);
        bookmarkSeen = bookmarkSeen || !node.folder;
        if (bookmark.title != node.title || bookmark.url != node.url)
            return QStringLiteral("node %1 listed as %2 %3")
                .arg(bookmark.id)
                .arg(bookmark.title, bookmark.url);
        got.insert(bookmark.id);
    }
    const QList<int> expected = m_model.children(folderId);
    if (got != QSet<int>(expected.cbegin(), expected.cend()) || list.size() != expected.size())
        return QStringLiteral("list of folder %1 has %2 nodes, expected %3")
            .arg(folderId)
            .arg(list.size())
            .arg(expected.size());
    return QString();
}

QString TestBookmarkClosure::mismatch()
{
    const QList<BookmarkProbe::Link> links = BookmarkProbe::links();
    for (const BookmarkProbe::Link& link : links) {
        if (link.depth == 0)
            return QStringLiteral("row of depth 0 for node %1").arg(link.descendant);
    }
    for (int id : m_model.nodes.keys()) {
        if (id == 0)
            continue;
        const int parents = int(std::count_if(links.cbegin(), links.cend(),
            [id](const BookmarkProbe::Link& link) { return link.descendant == id && link.depth == 1; }));
        if (parents != 1)
            return QStringLiteral("node %1 has %2 parent rows").arg(id).arg(parents);
    }
    const QList<BookmarkProbe::Link> expected = m_model.closure();
    if (links != expected)
        return QStringLiteral("closure\n  got      %1\n  expected %2")
            .arg(BookmarkProbe::toString(links), BookmarkProbe::toString(expected));

    const QList<BookmarkProbe::Node> rows = BookmarkProbe::nodes();
    if (rows.size() != m_model.nodes.size())
        return QStringLiteral("%1 node rows, expected %2").arg(rows.size()).arg(m_model.nodes.size());
    for (const BookmarkProbe::Node& row : rows) {
        if (!m_model.nodes.contains(row.id))
            return QStringLiteral("node %1 should be gone").arg(row.id);
        const ModelNode node = m_model.nodes.value(row.id);
        if (row.id != 0 && (row.url.isNull() != node.folder || row.title.toString() != node.title))
            return QStringLiteral("node %1 stored as %2 / %3")
                .arg(row.id)
                .arg(row.title.toString(), row.url.toString());
    }

    m_treeSpy->clear();
    m_worker->getBookmarkTree();
    if (m_treeSpy->count() != 1)
        return QStringLiteral("tree read gave no answer");
    return treeMismatch(m_treeSpy->takeFirst().at(0).value<QList<BookmarkTreeNode>>());
}

QList<int> TestBookmarkClosure::pickSiblings()
{
    QList<int> parents;
    for (int folder : m_model.folders()) {
        for (int child : m_model.children(folder)) {
            if (!m_model.isPermanent(child)) {
                parents.append(folder);
                break;
            }
        }
    }
    if (parents.isEmpty())
        return {};
    QList<int> pool = m_model.children(pickFrom(parents));
    QList<int> chosen;
    const int wanted = 1 + pick(qMin(4, int(pool.size())));
    while (chosen.size() < wanted && !pool.isEmpty()) {
        const int id = pool.takeAt(pick(pool.size()));
        if (!m_model.isPermanent(id))
            chosen.append(id);
    }
    return chosen;
}

bool TestBookmarkClosure::step(QString* what)
{
    m_treeSpy->clear();
    m_listSpy->clear();
    const int roll = pick(100);
    const QList<int> folders = m_model.folders();

    if (roll < 50) {
        const bool folder = roll < 15;
        const int parent = pickFrom(folders);
        const QString title = QStringLiteral("node %1").arg(++m_titleCounter);
        // The UI hands over "" for a folder; a null string must not be the only case that works.
        const QString url = folder ? (pick(2) ? QString() : QStringLiteral(""))
                                   : QStringLiteral("https://site%1.example/page").arg(m_titleCounter);
        *what = QStringLiteral("add %1 under %2")
                    .arg(folder ? QStringLiteral("folder") : QStringLiteral("bookmark"))
                    .arg(parent);
        const QSet<int> before = QSet<int>(m_model.nodes.keyBegin(), m_model.nodes.keyEnd());
        m_worker->addBookmarkNode(parent, url, title);
        if (m_listSpy->isEmpty())
            return QTest::qVerify(
                false, "listed", qPrintable(*what + QStringLiteral(": no list re-read")), __FILE__, __LINE__);
        int newId = -1;
        for (const Bookmark& b : m_listSpy->last().at(0).value<QList<Bookmark>>()) {
            if (!before.contains(b.id))
                newId = b.id;
        }
        if (newId < 0)
            return QTest::qVerify(false, "newId", qPrintable(*what + QStringLiteral(": new node not listed")),
                __FILE__, __LINE__);
        m_model.nodes.insert(newId, { parent, folder, title, url });
        if (folder != (m_treeSpy->count() == 1))
            return QTest::qVerify(false, "tree",
                qPrintable(*what + QStringLiteral(": tree re-read only for folders")), __FILE__, __LINE__);
        const QString listError
            = folderListMismatch(m_listSpy->last().at(0).value<QList<Bookmark>>(), parent);
        return QTest::qVerify(listError.isEmpty(), "list",
            qPrintable(*what + QLatin1String(": ") + listError), __FILE__, __LINE__);
    }

    if (roll < 73) {
        // One node or several siblings to another folder (possibly the same one).
        const bool many = roll >= 63;
        QList<int> ids = many ? pickSiblings() : QList<int>();
        if (!many && !m_model.movable().isEmpty())
            ids = { pickFrom(m_model.movable()) };
        if (ids.isEmpty())
            return true;
        QSet<int> blocked;
        bool hasFolder = false;
        for (int id : ids) {
            blocked.unite(m_model.subtree(id));
            hasFolder = hasFolder || m_model.nodes.value(id).folder;
        }
        QList<int> targets;
        for (int folder : folders) {
            if (!blocked.contains(folder))
                targets.append(folder);
        }
        const int target = pickFrom(targets);
        const int oldParent = m_model.nodes.value(ids.first()).parent;
        *what = QStringLiteral("move %1 node(s) from %2 to %3, first %4")
                    .arg(ids.size())
                    .arg(oldParent)
                    .arg(target)
                    .arg(ids.first());
        if (many)
            m_worker->moveBookmarkNodes(ids, target, hasFolder);
        else
            m_worker->moveBookmarkNode(ids.first(), target, hasFolder);
        for (int id : ids)
            m_model.nodes[id].parent = target;
        if (hasFolder != (m_treeSpy->count() == 1) || m_listSpy->count() != 1)
            return QTest::qVerify(
                false, "signals", qPrintable(*what + QStringLiteral(": wrong re-reads")), __FILE__, __LINE__);
        const QString listError
            = folderListMismatch(m_listSpy->last().at(0).value<QList<Bookmark>>(), oldParent);
        return QTest::qVerify(listError.isEmpty(), "list",
            qPrintable(*what + QLatin1String(": ") + listError), __FILE__, __LINE__);
    }

    if (roll < 78) {
        // A folder into itself or below itself: refused, nothing may change.
        QList<int> candidates;
        for (int folder : folders) {
            if (!m_model.isPermanent(folder))
                candidates.append(folder);
        }
        if (candidates.isEmpty())
            return true;
        const int id = pickFrom(candidates);
        QList<int> inside;
        for (int node : m_model.subtree(id)) {
            if (m_model.nodes.value(node).folder)
                inside.append(node);
        }
        std::sort(inside.begin(), inside.end());
        const int target = pickFrom(inside);
        *what = QStringLiteral("refused move of %1 into %2").arg(id).arg(target);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("refusing to move")));
        if (roll % 2)
            m_worker->moveBookmarkNode(id, target, true);
        else
            m_worker->moveBookmarkNodes({ id }, target, true);
        return QTest::qVerify(m_treeSpy->isEmpty() && m_listSpy->isEmpty(), "quiet",
            qPrintable(*what + QStringLiteral(": re-read after a refusal")), __FILE__, __LINE__);
    }

    if (roll < 86) {
        // One node; folders emptied or removed, permanent folders only emptied.
        const bool permanent = roll < 79 && pick(3) == 0;
        const QList<int> movable = m_model.movable();
        if (!permanent && movable.isEmpty())
            return true;
        const int id = permanent ? 1 + pick(2) : pickSmallSubtree(movable);
        const bool folder = m_model.nodes.value(id).folder;
        const bool clearOnly = permanent || (folder && pick(2) == 0);
        *what = QStringLiteral("remove %1 %2")
                    .arg(id)
                    .arg(clearOnly ? QStringLiteral("(clear only)") : QString());
        m_worker->removeBookmarkNode(id, folder, clearOnly);
        for (int child : m_model.children(id))
            m_model.removeSubtree(child);
        if (!clearOnly)
            m_model.nodes.remove(id);
        return QTest::qVerify(folder == (m_treeSpy->count() == 1), "tree",
            qPrintable(*what + QStringLiteral(": tree re-read only for folders")), __FILE__, __LINE__);
    }

    if (roll < 94) {
        // Several nodes: siblings, or any mix including nested ones.
        QList<int> ids = pickSiblings();
        if (roll >= 91 && m_model.movable().size() > 2) {
            QList<int> pool = m_model.movable();
            const int first = pickSmallSubtree(pool);
            pool.removeOne(first);
            ids = { first, pickSmallSubtree(pool) };
        }
        if (ids.isEmpty())
            return true;
        bool hasFolder = false;
        for (int id : ids)
            hasFolder = hasFolder || m_model.nodes.value(id).folder;
        const int oldParent = m_model.nodes.value(ids.first()).parent;
        *what = QStringLiteral("remove %1 nodes from %2").arg(ids.size()).arg(oldParent);
        m_worker->removeBookmarkNodes(ids, hasFolder);
        for (int id : ids)
            m_model.removeSubtree(id);
        if (hasFolder != (m_treeSpy->count() == 1) || m_listSpy->count() != 1)
            return QTest::qVerify(
                false, "signals", qPrintable(*what + QStringLiteral(": wrong re-reads")), __FILE__, __LINE__);
        const QString listError
            = folderListMismatch(m_listSpy->last().at(0).value<QList<Bookmark>>(), oldParent);
        return QTest::qVerify(listError.isEmpty(), "list",
            qPrintable(*what + QLatin1String(": ") + listError), __FILE__, __LINE__);
    }

    if (roll < 99 || pick(4) != 0) {
        const QList<int> movable = m_model.movable();
        if (movable.isEmpty())
            return true;
        const int id = pickFrom(movable);
        ModelNode& node = m_model.nodes[id];
        node.title = QStringLiteral("renamed %1").arg(++m_titleCounter);
        *what = QStringLiteral("rename %1").arg(id);
        m_worker->updateBookmarkNode(id, node.url, node.title);
        return true;
    }

    *what = QStringLiteral("remove all");
    m_worker->removeAllBookmarks();
    for (int id : m_model.movable())
        m_model.nodes.remove(id);
    return true;
}

void TestBookmarkClosure::randomEditsKeepClosure()
{
    QString problem = mismatch();
    QVERIFY2(problem.isEmpty(), qPrintable(QStringLiteral("initial tree: ") + problem));

    int largest = 0;
    int deepest = 0;
    for (int number = 0; number < 300; ++number) {
        QString what;
        if (!step(&what))
            return;
        problem = mismatch();
        QVERIFY2(
            problem.isEmpty(), qPrintable(QStringLiteral("step %1, %2: %3").arg(number).arg(what, problem)));
        largest = qMax(largest, int(m_model.nodes.size()));
        for (const BookmarkProbe::Link& link : BookmarkProbe::links())
            deepest = qMax(deepest, link.depth);
    }
    // The sequence must reach trees worth checking, not hover around the roots.
    qInfo() << "largest tree" << largest << "deepest link" << deepest;
    QVERIFY2(largest >= 40, qPrintable(QString::number(largest)));
    QVERIFY2(deepest >= 4, qPrintable(QString::number(deepest)));
}

QTEST_GUILESS_MAIN(TestBookmarkClosure)
#include "tst_bookmarks_closure.moc"
