#include "dbworker.h"

#include "utils/logcategories.h"
#include "utils/urlparts.h"

#include <QVariant>

// Bookmarks live in a closure table: bookmark_structure holds one row for every
// (ancestor, descendant) pair with its distance, never a node paired with itself.
// Reads then need no recursion except for drawing the folder tree. Bookmarks are
// never private, so everything here runs on the main connection.

namespace
{

const QString insertLinksSql = QStringLiteral("INSERT INTO bookmark_structure SELECT ?, ?, 1 UNION SELECT "
                                              "ancestor, ?, depth + 1 FROM bookmark_structure "
                                              "WHERE descendant = ?;");

const QString parentSql
    = QStringLiteral("SELECT ancestor FROM bookmark_structure WHERE descendant = ? AND depth = 1;");

// Ids are spliced as decimal numbers only, so nothing needs quoting.
QString joinIds(const QList<int>& ids)
{
    QStringList parts;
    parts.reserve(ids.size());
    for (int id : ids)
        parts.append(QString::number(id));
    return parts.join(QLatin1Char(','));
}

// A folder is a node whose url is NULL. The UI hands over "" for a folder, which
// SQLite would store as an empty text and so turn the folder into a bookmark.
QVariant urlValue(const QString& url)
{
    return url.isEmpty() ? QVariant(QVariant::String) : QVariant(url);
}

} // namespace

bool DBWorker::linkUnderParent(int id, int parentId)
{
    auto links = prepare(insertLinksSql, false);
    links.addBindValue(parentId);
    links.addBindValue(id);
    links.addBindValue(id);
    links.addBindValue(parentId);
    return execute(links);
}

int DBWorker::bookmarkParent(int id)
{
    auto query = prepare(parentSql, false);
    query.addBindValue(id);
    if (!execute(query) || !query.next())
        return -1;
    return query.value(0).toInt();
}

bool DBWorker::moveCreatesCycle(const QList<int>& ids, int newParentId)
{
    if (ids.contains(newParentId))
        return true;
    // A node of the list that lies below another one of the list would be
    // re-hung twice and keep stale links to its old ancestor; refused as well.
    const QString list = joinIds(ids);
    auto query = prepare(QStringLiteral("SELECT 1 FROM bookmark_structure WHERE ancestor IN (%1) "
                                        "AND (descendant = ? OR descendant IN (%2)) LIMIT 1;")
                             .arg(list, list),
        false);
    query.addBindValue(newParentId);
    // Unable to tell: refuse rather than risk cutting a subtree off the root.
    if (!execute(query))
        return true;
    return query.next();
}

void DBWorker::addBookmarkNode(int parentId, const QString& url, const QString& title)
{
    qCDebug(lcStorage) << Q_FUNC_INFO << "url:" << url << "title:" << title << "parent =" << parentId;

    auto query = prepare(QStringLiteral("INSERT INTO bookmark_node (url, title) VALUES (?, ?);"), false);
    query.addBindValue(urlValue(url));
    query.addBindValue(title);
    if (!execute(query))
        return;

    const int newId = query.lastInsertId().toInt();
    if (newId <= 0) {
        qCWarning(lcStorage) << Q_FUNC_INFO << "failed to add url to bookmarks";
        return;
    }

    if (!linkUnderParent(newId, parentId))
        return;

    if (url.isEmpty())
        getBookmarkTree();
    getBookmarks(parentId, QString());
}

void DBWorker::updateBookmarkNode(int id, const QString& url, const QString& title)
{
    // Only a folder keeps a NULL url: a bookmark whose address is cleared stays
    // a bookmark (with an empty one) instead of turning into an empty folder.
    bool folder = false;
    if (url.isEmpty()) {
        auto kind = prepare(QStringLiteral("SELECT url IS NULL FROM bookmark_node WHERE id = ?;"), false);
        kind.addBindValue(id);
        if (!execute(kind))
            return;
        folder = kind.next() && kind.value(0).toBool();
        kind.finish();
    }
    auto query = prepare(QStringLiteral("UPDATE bookmark_node SET url = ?, title = ? WHERE id = ?;"), false);
    // A null string would be bound as NULL too, so a cleared address is stored as "".
    query.addBindValue(
        folder ? QVariant(QVariant::String) : QVariant(url.isEmpty() ? QString(QLatin1String("")) : url));
    query.addBindValue(title);
    query.addBindValue(id);
    execute(query);
}

void DBWorker::moveBookmarkNode(int id, int newParentId, bool isFolder)
{
    if (moveCreatesCycle({ id }, newParentId)) {
        qCWarning(lcStorage) << Q_FUNC_INFO
                             << "refusing to move a bookmark node into itself or its own subtree"
                             << "id:" << id << "new parent:" << newParentId;
        return;
    }

    const int oldParentId = bookmarkParent(id);

    auto cut = prepare(QStringLiteral("WITH children AS (SELECT descendant FROM bookmark_structure struct "
                                      "WHERE struct.ancestor = ?) DELETE FROM bookmark_structure WHERE "
                                      "descendant = ? OR (descendant IN children AND ancestor != ? AND "
                                      "ancestor NOT IN children);"),
        false);
    cut.addBindValue(id);
    cut.addBindValue(id);
    cut.addBindValue(id);
    if (!execute(cut))
        return;

    if (!linkUnderParent(id, newParentId))
        return;

    if (isFolder) {
        auto join = prepare(
            QStringLiteral(
                "INSERT INTO bookmark_structure SELECT bookmark_structure.ancestor, struct.descendant, "
                "bookmark_structure.depth + struct.depth FROM bookmark_structure INNER JOIN "
                "bookmark_structure struct ON struct.ancestor = bookmark_structure.descendant WHERE "
                "bookmark_structure.descendant = ?;"),
            false);
        join.addBindValue(id);
        if (!execute(join))
            return;
        getBookmarkTree();
    }
    getBookmarks(oldParentId, QString());
}

void DBWorker::moveBookmarkNodes(const QList<int>& ids, int newParentId, bool hasFolder)
{
    // A node listed twice would be hung twice under the new parent.
    QList<int> nodes;
    for (int id : ids) {
        if (!nodes.contains(id))
            nodes.append(id);
    }
    if (nodes.isEmpty())
        return;
    if (moveCreatesCycle(nodes, newParentId)) {
        qCWarning(lcStorage) << Q_FUNC_INFO
                             << "refusing to move bookmark nodes into themselves or their own subtree"
                             << "ids:" << nodes << "new parent:" << newParentId;
        return;
    }

    const int oldParentId = bookmarkParent(nodes.first());
    const QString list = joinIds(nodes);

    auto cut
        = prepare(QStringLiteral("WITH children AS (SELECT descendant FROM bookmark_structure struct "
                                 "WHERE struct.ancestor IN (%1)) DELETE FROM bookmark_structure WHERE "
                                 "descendant IN (%2) OR (descendant IN children AND ancestor NOT IN (%3) "
                                 "AND ancestor NOT IN children);")
                      .arg(list, list, list),
            false);
    if (!execute(cut))
        return;

    for (int id : qAsConst(nodes)) {
        if (!linkUnderParent(id, newParentId))
            return;
    }

    if (hasFolder) {
        auto join = prepare(
            QStringLiteral(
                "INSERT INTO bookmark_structure SELECT bookmark_structure.ancestor, struct.descendant, "
                "bookmark_structure.depth + struct.depth FROM bookmark_structure INNER JOIN "
                "bookmark_structure struct ON struct.ancestor = bookmark_structure.descendant WHERE "
                "bookmark_structure.descendant IN (%1);")
                .arg(list),
            false);
        if (!execute(join))
            return;
        getBookmarkTree();
    }
    getBookmarks(oldParentId, QString());
}

void DBWorker::removeBookmarkNode(int id, bool isFolder, bool clearOnly)
{
    if (!isFolder) {
        auto node = prepare(QStringLiteral("DELETE FROM bookmark_node WHERE id = ?;"), false);
        node.addBindValue(id);
        if (!execute(node))
            return;
        auto links = prepare(QStringLiteral("DELETE FROM bookmark_structure WHERE descendant = ?;"), false);
        links.addBindValue(id);
        execute(links);
        return;
    }

    QString nodeSql = QStringLiteral("DELETE FROM bookmark_node WHERE id IN (SELECT descendant FROM "
                                     "bookmark_structure WHERE ancestor = ?");
    QString linkSql
        = QStringLiteral("WITH temp AS (SELECT descendant FROM bookmark_structure WHERE ancestor = ?");
    if (clearOnly) {
        nodeSql += QStringLiteral(" AND descendant != ?") + QStringLiteral(")");
        linkSql += QStringLiteral(" AND descendant != ?");
    } else {
        nodeSql += QStringLiteral(")") + QStringLiteral(" OR id = ?");
    }
    linkSql
        += QStringLiteral(") DELETE FROM bookmark_structure WHERE descendant IN temp OR ancestor IN temp");
    if (!clearOnly)
        linkSql += QStringLiteral(" OR descendant = ? OR ancestor = ?");

    auto node = prepare(nodeSql, false);
    node.addBindValue(id);
    node.addBindValue(id);
    if (!execute(node))
        return;

    auto links = prepare(linkSql, false);
    links.addBindValue(id);
    links.addBindValue(id);
    if (!clearOnly)
        links.addBindValue(id);
    if (!execute(links))
        return;

    getBookmarkTree();
}

void DBWorker::removeBookmarkNodes(const QList<int>& ids, bool hasFolder)
{
    if (ids.isEmpty())
        return;
    const int oldParentId = bookmarkParent(ids.first());
    const QString list = joinIds(ids);

    auto nodes = prepare(QStringLiteral("DELETE FROM bookmark_node WHERE id IN (SELECT descendant FROM "
                                        "bookmark_structure WHERE ancestor IN (%1)) OR id IN (%2);")
                             .arg(list, list),
        false);
    if (!execute(nodes))
        return;

    auto links
        = prepare(QStringLiteral("WITH temp AS (SELECT descendant FROM bookmark_structure WHERE "
                                 "ancestor IN (%1)) DELETE FROM bookmark_structure WHERE descendant IN "
                                 "temp OR descendant IN (%2) OR ancestor IN temp OR ancestor IN (%3);")
                      .arg(list, list, list),
            false);
    if (!execute(links))
        return;

    if (hasFolder)
        getBookmarkTree();
    getBookmarks(oldParentId, QString());
}

void DBWorker::removeAllBookmarks()
{
    auto nodes = prepare(QStringLiteral("DELETE FROM bookmark_node WHERE id > 2;"), false);
    if (!execute(nodes))
        return;
    auto links
        = prepare(QStringLiteral("DELETE FROM bookmark_structure WHERE ancestor != 0 OR depth != 1;"), false);
    if (!execute(links))
        return;

    getBookmarkTree();
    getBookmarks(2, QString());
}

void DBWorker::getBookmarkTree()
{
    auto query = prepare(
        QStringLiteral(
            "WITH folders (id, ancestor, title, children) AS (SELECT id, bookmark_structure.ancestor, title, "
            "(SELECT COUNT(descendant) FROM bookmark_structure struct INNER JOIN bookmark_node node ON "
            "struct.descendant = node.id WHERE struct.ancestor = bookmark_node.id AND node.url NOT NULL) AS "
            "children "
            "FROM bookmark_node INNER JOIN bookmark_structure ON bookmark_structure.descendant = id WHERE "
            "bookmark_structure.depth = 1 AND url IS NULL), tree (id, title, depth, children) AS (SELECT id, "
            "title, "
            "0 AS depth, children FROM folders WHERE ancestor = 0 UNION ALL SELECT folders1.id, "
            "folders1.title, "
            "tree.depth + 1, folders1.children FROM folders folders1 INNER JOIN tree ON tree.id = "
            "folders1.ancestor "
            "ORDER BY 3 DESC) SELECT * FROM tree;"),
        false);
    if (!execute(query))
        return;

    QList<BookmarkTreeNode> nodes;
    while (query.next()) {
        BookmarkTreeNode node;
        node.id = query.value(0).toInt();
        node.title = query.value(1).toString();
        node.depth = query.value(2).toInt();
        node.children = query.value(3).toInt();
        nodes.append(node);
    }
    deliver([=] { emit bookmarksTreeAvailable(nodes); });
}

void DBWorker::getBookmarks(int folderId, const QString& filter)
{
    // Without a filter: the direct children, folders first. With one: bookmarks
    // only, at any depth below the folder.
    const QString sql = filter.isEmpty()
        ? QStringLiteral("SELECT id, title, url FROM bookmark_node INNER JOIN bookmark_structure ON "
                         "bookmark_structure.descendant = id WHERE bookmark_structure.ancestor = ? AND "
                         "bookmark_structure.depth = 1 ORDER BY url IS NOT NULL;")
        : QStringLiteral("SELECT id, title, url FROM bookmark_node INNER JOIN bookmark_structure ON "
                         "bookmark_structure.descendant = id WHERE bookmark_structure.ancestor = ? AND "
                         "url NOT NULL AND (url LIKE ? OR title LIKE ?);");
    auto query = prepare(sql, false);
    query.addBindValue(folderId);
    if (!filter.isEmpty()) {
        const QString pattern = QLatin1Char('%') + filter + QLatin1Char('%');
        query.addBindValue(pattern);
        query.addBindValue(pattern);
    }
    if (!execute(query))
        return;

    QList<Bookmark> bookmarks;
    while (query.next()) {
        Bookmark bookmark;
        bookmark.id = query.value(0).toInt();
        bookmark.title = query.value(1).toString();
        bookmark.url = query.value(2).toString();
        bookmarks.append(bookmark);
    }
    deliver([=] { emit bookmarksAvailable(bookmarks); });
}

void DBWorker::isBookmarked(const QString& url)
{
    auto query = prepare(QStringLiteral("SELECT * FROM bookmark_node WHERE url = ?;"), false);
    query.addBindValue(url);
    if (!execute(query))
        return;
    const bool bookmarked = query.next();
    deliver([=] { emit bookmarkedAvailable(bookmarked); });
}

void DBWorker::getBookmarkData(const QString& url)
{
    auto query = prepare(QStringLiteral("SELECT id, title, bookmark_structure.ancestor FROM bookmark_node "
                                        "INNER JOIN bookmark_structure ON bookmark_structure.descendant = id "
                                        "WHERE url = ? AND bookmark_structure.depth = 1;"),
        false);
    query.addBindValue(url);
    // No row: the url is no bookmark and the asker keeps its "none" state.
    if (!execute(query) || !query.next())
        return;
    const int id = query.value(0).toInt();
    const QString title = query.value(1).toString();
    const int parentId = query.value(2).toInt();
    deliver([=] { emit bookmarkDataAvailable(id, url, title, parentId); });
}

int DBWorker::migratedBookmarksFolder(const QString& folderTitle)
{
    auto query
        = prepare(QStringLiteral("SELECT id, title, url FROM bookmark_node INNER JOIN bookmark_structure "
                                 "ON bookmark_structure.descendant = id WHERE bookmark_structure.ancestor "
                                 "= ? AND url IS NULL AND title = ?;"),
            false);
    query.addBindValue(1);
    query.addBindValue(folderTitle);
    if (!execute(query) || !query.next())
        return -1;
    return query.value(0).toInt();
}

void DBWorker::migrateBookmark(const QString& title, const QString& url, const QString& favicon)
{
    const QString folderTitle = qtTrId("browser-la-migrated-bookmarks");

    int folderId = migratedBookmarksFolder(folderTitle);
    if (folderId < 0) {
        addBookmarkNode(1, QString(), folderTitle);
        folderId = migratedBookmarksFolder(folderTitle);
    }
    if (folderId < 0)
        return;

    addBookmarkNode(folderId, url, title);

    auto icon = prepare(
        QStringLiteral("INSERT OR IGNORE INTO favicons (base_url, favicon, date) VALUES (?, ?, ?);"), false);
    icon.addBindValue(UrlParts::baseUrl(url));
    icon.addBindValue(favicon);
    icon.addBindValue(QDateTime::currentMSecsSinceEpoch());
    if (!execute(icon))
        return;

    getBookmarkTree();
    getBookmarks(folderId, QString());
}
