#include "bookmarkmanager.h"

#include "bookmarkmodel.h"
#include "bookmarktreemodel.h"
#include "history/faviconsmap.h"
#include "storage/dbmanager.h"
#include "utils/logcategories.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QQmlEngine>
#include <QSet>

namespace
{
const QString apmService = QStringLiteral("ru.nuvo.APM");
const QString apmPath = QStringLiteral("/ru/nuvo/APM");
const QString apmBookmarks = QStringLiteral("ru.nuvo.APM.Bookmarks");

bool isInternalUrl(const QString& url)
{
    return url.startsWith(QLatin1String("about:")) || url.startsWith(QLatin1String("chrome:"));
}

// A plain method call rather than a QDBusInterface: building an interface first
// asks the service to introspect itself, with the bus's default timeout of 25
// seconds, so a hung package manager would freeze the browser that long.
QDBusMessage callAppGrid(const QString& method, const QVariantList& arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(apmService, apmPath, apmBookmarks, method);
    call.setArguments(arguments);
    return QDBusConnection::systemBus().call(call, QDBus::Block, BookmarkManager::appGridTimeoutMs);
}
} // namespace

BookmarkManager::BookmarkManager(DBManager* storage, QObject* parent)
    : QObject(parent)
    , m_storage(storage)
    , m_quickAccess(new BookmarkModel(this, QuickAccessFolder, this))
    , m_tree(new BookmarkTreeModel(this, this))
{
    m_trees.append(m_tree);
    connect(storage, &DBManager::bookmarksTreeAvailable, this, &BookmarkManager::onTreeAvailable);
    connect(storage, &DBManager::bookmarksAvailable, this, &BookmarkManager::onListAvailable);
    connect(storage, &DBManager::bookmarkedAvailable, this, &BookmarkManager::onBookmarkedAvailable);
    connect(storage, &DBManager::bookmarkDataAvailable, this, &BookmarkManager::onBookmarkDataAvailable);
    expect(true);
    storage->getBookmarkTree();
    refresh(m_quickAccess);
}

BookmarkManager* BookmarkManager::instance()
{
    static BookmarkManager* manager = new BookmarkManager(DBManager::instance());
    return manager;
}

QObject* BookmarkManager::qmlInstance(QQmlEngine*, QJSEngine*)
{
    DBManager::instance();
    BookmarkManager* manager = instance();
    // Outlives every engine: native code holds it too.
    QQmlEngine::setObjectOwnership(manager, QQmlEngine::CppOwnership);
    return manager;
}

void BookmarkManager::addBookmark(int parentId, const QString& url, const QString& title)
{
    m_storage->addBookmarkNode(parentId, url, title);
    expect(false, parentId);
    refreshAll();
}

void BookmarkManager::addFolder(int parentId, const QString& title)
{
    m_storage->addBookmarkNode(parentId, QString(), title);
    expect(true);
    expect(false, parentId);
    refreshAll();
}

void BookmarkManager::removeBookmarkNode(int id, bool isFolder, bool clearOnly)
{
    m_storage->removeBookmarkNode(id, isFolder, clearOnly);
    if (isFolder)
        expect(true);
    if (!clearOnly)
        removeShown({ id }, isFolder);
    refreshAll();
}

void BookmarkManager::removeBookmarkNodes(const QList<int>& ids, bool hasFolder)
{
    if (ids.isEmpty())
        return;
    m_storage->removeBookmarkNodes(ids, hasFolder);
    if (hasFolder)
        expect(true);
    expect(false); // the folder the nodes were in, not named in the answer
    const QSet<int> removed(ids.cbegin(), ids.cend());
    removeShown(removed, hasFolder);
    refreshAll();
}

void BookmarkManager::updateBookmarkNode(int id, int parentId, const QString& title, const QString& url)
{
    m_storage->updateBookmarkNode(id, url, title);
    if (url.isEmpty()) {
        for (BookmarkTreeNode& node : m_nodes) {
            if (node.id == id)
                node.title = title;
        }
        for (BookmarkTreeModel* tree : qAsConst(m_trees))
            tree->renameFolder(id, title);
    }
    // Every list showing the node, the quick access one among them, changes in place.
    for (const QPointer<BookmarkModel>& model : qAsConst(m_models)) {
        if (model)
            model->updateRow(id, title, url);
    }
    emit bookmarkNodeUpdated(id, parentId, title, url);
}

void BookmarkManager::moveBookmarkNode(int id, int newParentId, bool isFolder)
{
    moveBookmarkNodes({ id }, newParentId, isFolder);
}

void BookmarkManager::moveBookmarkNodes(const QList<int>& ids, int newParentId, bool hasFolder)
{
    if (ids.isEmpty())
        return;
    // Storage refuses a folder moved into itself or below itself without a word;
    // refused here as well, so that nothing is taken out of the lists.
    for (int id : ids) {
        if (id == newParentId || (hasFolder && !m_tree->canMoveInto(id, newParentId)))
            return;
    }
    if (ids.size() == 1)
        m_storage->moveBookmarkNode(ids.first(), newParentId, hasFolder);
    else
        m_storage->moveBookmarkNodes(ids, newParentId, hasFolder);
    if (hasFolder)
        expect(true);
    expect(false); // the folder that was left
    const QSet<int> moved(ids.cbegin(), ids.cend());
    for (const QPointer<BookmarkModel>& model : qAsConst(m_models)) {
        // A search below an ancestor of both folders still finds the nodes.
        if (model && model->filter().isEmpty() && model->folderId() != newParentId)
            model->removeIds(moved);
    }
    refreshAll();
}

void BookmarkManager::removeAllBookmarks()
{
    m_storage->removeAllBookmarks();
    expect(true);
    expect(false, QuickAccessFolder);
    QSet<int> all;
    for (const QPointer<BookmarkModel>& model : qAsConst(m_models)) {
        if (model) {
            for (const Bookmark& row : model->rows())
                all.insert(row.id);
        }
    }
    all.remove(BookmarkFolder);
    all.remove(QuickAccessFolder);
    removeShown(all, true);
    refreshAll();
}

void BookmarkManager::migrateBookmark(const QString& title, const QString& url, const QString& favicon)
{
    // Storage answers with one more tree and list when it has to make the folder
    // of migrated bookmarks first; the tree shown tells whether it exists.
    m_storage->migrateBookmark(title, url, favicon);
    const int folder = m_tree->childFolder(BookmarkFolder, qtTrId("browser-la-migrated-bookmarks"));
    if (folder < 0) {
        expect(true);
        expect(false, BookmarkFolder);
    }
    expect(false, folder);
    expect(true);
    expect(false, folder);
    refreshAll();
}

void BookmarkManager::getBookmarked(const QString& url)
{
    ++m_bookmarkedLatest; // answers to earlier questions no longer count
    if (isInternalUrl(url)) {
        if (m_currentUrlBookmarked) {
            m_currentUrlBookmarked = false;
            emit currentUrlBookmarkedChanged();
        }
        return;
    }
    m_bookmarkedAsked.append(m_bookmarkedLatest);
    m_storage->isBookmarked(url);
}

void BookmarkManager::getBookmarkData(const QString& url)
{
    setActive(-1, QString(), -1);
    m_activeUrl = url;
    m_storage->getBookmarkData(url);
}

void BookmarkManager::saveToAppGrid(const QString& url, const QString& title)
{
    QString icon = FaviconsMap::instance()->getFavicon(url);
    if (icon.isEmpty())
        icon = FaviconsMap::instance()->letterIcon(title.left(1));
    const QDBusMessage reply = callAppGrid(QStringLiteral("Create"), { url, title, icon });
    if (reply.type() == QDBusMessage::ErrorMessage)
        qCWarning(lcApp) << Q_FUNC_INFO << "Create failed:" << reply.errorName() << reply.errorMessage();
    checkInAppGrid(url);
}

void BookmarkManager::checkInAppGrid(const QString& url)
{
    const QDBusMessage reply = callAppGrid(QStringLiteral("CheckExists"), { url });
    const bool exists = reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty()
        && reply.arguments().first().toBool();
    if (reply.type() == QDBusMessage::ErrorMessage)
        qCWarning(lcApp) << Q_FUNC_INFO << "CheckExists failed:" << reply.errorName() << reply.errorMessage();
    m_isInAppGrid = exists;
    // Told every time: the grid may have changed behind the browser's back.
    emit isInAppGridChanged();
}

void BookmarkManager::refresh(BookmarkModel* model)
{
    if (!m_models.contains(model))
        m_models.append(model);
    if (model->folderId() < 0)
        return;
    m_storage->getBookmarks(model->folderId(), model->filter());
    expect(false, model->folderId(), model->filter());
}

void BookmarkManager::detach(BookmarkModel* model)
{
    m_models.removeAll(model);
}

void BookmarkManager::attachTree(BookmarkTreeModel* model)
{
    m_trees.append(model);
    model->setNodes(m_nodes);
}

void BookmarkManager::detachTree(BookmarkTreeModel* model)
{
    m_trees.removeAll(model);
}

void BookmarkManager::refreshAll()
{
    // Storage re-reads the tree after folder changes only, but every change of a
    // bookmark changes the counts the tree shows.
    m_storage->getBookmarkTree();
    expect(true);
    QList<QPair<int, QString>> asked;
    m_models.removeAll(nullptr);
    for (const QPointer<BookmarkModel>& model : qAsConst(m_models)) {
        const QPair<int, QString> key(model->folderId(), model->filter());
        if (key.first < 0 || asked.contains(key))
            continue;
        asked.append(key);
        m_storage->getBookmarks(key.first, key.second);
        expect(false, key.first, key.second);
    }
}

void BookmarkManager::resync()
{
    m_expected.clear();
    // Answers still on their way are dropped until the fresh ones.
    m_expected.append({ true, -2, QString() });
    m_storage->getBookmarkTree();
    refreshAll();
}

void BookmarkManager::expect(bool tree, int folderId, const QString& filter)
{
    m_expected.append({ tree, folderId, filter });
}

void BookmarkManager::onTreeAvailable(const QList<BookmarkTreeNode>& nodes)
{
    // A tree names itself: always the whole tree, whoever asked.
    m_nodes = nodes;
    for (BookmarkTreeModel* tree : qAsConst(m_trees))
        tree->setNodes(nodes);
    if (m_expected.isEmpty())
        return;
    const Expected next = m_expected.takeFirst();
    if (next.folderId == -2) {
        // The barrier of a resync: drop what came before the fresh answers.
        while (!m_expected.isEmpty() && m_expected.first().folderId == -2)
            m_expected.removeFirst();
        return;
    }
    if (!next.tree) {
        // A list that was expected never came (a failed statement): which later
        // list belongs to whom is no longer known.
        qCWarning(lcStorage) << Q_FUNC_INFO << "bookmark answers out of step, reading again";
        resync();
    }
}

void BookmarkManager::onListAvailable(const QList<Bookmark>& bookmarks)
{
    // A list asked for by somebody else, or dropped by a resync.
    if (m_expected.isEmpty() || m_expected.first().folderId == -2)
        return;
    // Trees that were expected before it and never came are skipped.
    while (!m_expected.isEmpty() && m_expected.first().tree)
        m_expected.removeFirst();
    if (m_expected.isEmpty())
        return;
    const Expected next = m_expected.takeFirst();
    if (next.folderId < 0)
        return;
    m_models.removeAll(nullptr);
    for (const QPointer<BookmarkModel>& model : qAsConst(m_models)) {
        if (model->folderId() == next.folderId && model->filter() == next.filter)
            model->setRows(bookmarks);
    }
}

void BookmarkManager::onBookmarkedAvailable(bool bookmarked)
{
    if (m_bookmarkedAsked.isEmpty())
        return; // somebody else asked
    if (m_bookmarkedAsked.takeFirst() != m_bookmarkedLatest)
        return;
    if (m_currentUrlBookmarked != bookmarked) {
        m_currentUrlBookmarked = bookmarked;
        emit currentUrlBookmarkedChanged();
    }
}

void BookmarkManager::onBookmarkDataAvailable(int id, const QString& url, const QString& title, int parentId)
{
    if (url != m_activeUrl)
        return; // an answer for a page that is no longer the active one
    setActive(id, title, parentId);
}

void BookmarkManager::setActive(int id, const QString& title, int parent)
{
    if (m_activeId != id) {
        m_activeId = id;
        emit activeBookmarkIdChanged();
    }
    if (m_activeTitle != title) {
        m_activeTitle = title;
        emit activeBookmarkTitleChanged();
    }
    if (m_activeParent != parent) {
        m_activeParent = parent;
        emit activeBookmarkParentChanged();
    }
}

void BookmarkManager::removeShown(const QSet<int>& ids, bool folders)
{
    for (const QPointer<BookmarkModel>& model : qAsConst(m_models)) {
        if (model)
            model->removeIds(ids);
    }
    if (folders) {
        for (BookmarkTreeModel* tree : qAsConst(m_trees))
            tree->removeFolders(ids);
        m_nodes = m_tree->nodes();
    }
}
