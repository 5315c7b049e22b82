#include "dbmanager.h"

#include "dbworker.h"
#include "utils/logcategories.h"

#include <QCoreApplication>

namespace
{
DBManager* s_instance = nullptr;

void registerStorageMetaTypes()
{
    qRegisterMetaType<QList<Link>>("QList<Link>");
    qRegisterMetaType<QList<Tab>>("QList<Tab>");
    qRegisterMetaType<QList<BookmarkTreeNode>>("QList<BookmarkTreeNode>");
    qRegisterMetaType<QList<Bookmark>>("QList<Bookmark>");
    qRegisterMetaType<QList<Download>>("QList<Download>");
    qRegisterMetaType<QSet<int>>("QSet<int>");
    qRegisterMetaType<QMap<QString, QString>>();
    qRegisterMetaType<QMap<QString, bool>>();
    qRegisterMetaType<QHash<QString, int>>("QHash<QString, int>");
    // Further types that cross the thread in requests or answers.
    qRegisterMetaType<QList<int>>();
    qRegisterMetaType<Download>();
    qRegisterMetaType<SearchEngine>();
    qRegisterMetaType<QList<SearchEngine>>("QList<SearchEngine>");
    qRegisterMetaType<SiteDpr>();
    qRegisterMetaType<QList<SiteDpr>>("QList<SiteDpr>");
    qRegisterMetaType<SitePermissions>();
    qRegisterMetaType<QList<SitePermissions>>("QList<SitePermissions>");
}
} // namespace

DBManager* DBManager::instance()
{
    if (!s_instance)
        s_instance = new DBManager;
    return s_instance;
}

DBManager::DBManager(QObject* parent)
    : QObject(parent)
{
    m_thread.setObjectName(QStringLiteral("storage"));
    registerStorageMetaTypes();

    m_worker = new DBWorker;
    m_worker->moveToThread(&m_thread);
    // The worker closes its connections on its own thread, after its last request.
    connect(&m_thread, &QThread::finished, m_worker, &QObject::deleteLater);
    connect(m_worker, &DBWorker::historyAvailable, this, &DBManager::historyAvailable);
    connect(m_worker, &DBWorker::tabHistoryAvailable, this, &DBManager::tabHistoryAvailable);
    connect(m_worker, &DBWorker::mostVisitedLinksAvailable, this, &DBManager::mostVisitedLinksAvailable);
    connect(m_worker, &DBWorker::tabsAvailable, this, &DBManager::tabsAvailable);
    connect(m_worker, &DBWorker::faviconsAvailable, this, &DBManager::faviconsAvailable);
    connect(m_worker, &DBWorker::bookmarksTreeAvailable, this, &DBManager::bookmarksTreeAvailable);
    connect(m_worker, &DBWorker::bookmarksAvailable, this, &DBManager::bookmarksAvailable);
    connect(m_worker, &DBWorker::bookmarkedAvailable, this, &DBManager::bookmarkedAvailable);
    connect(m_worker, &DBWorker::bookmarkDataAvailable, this, &DBManager::bookmarkDataAvailable);
    connect(m_worker, &DBWorker::permissionsAvailable, this, &DBManager::permissionsAvailable);
    connect(m_worker, &DBWorker::searchEnginesAvailable, this, &DBManager::searchEnginesAvailable);
    connect(m_worker, &DBWorker::searchEngineAdded, this, &DBManager::searchEngineAdded);
    connect(m_worker, &DBWorker::historyTitleChanged, this, &DBManager::historyTitleChanged);
    connect(m_worker, &DBWorker::tabHistoryTitleChanged, this, &DBManager::tabHistoryTitleChanged);
    connect(m_worker, &DBWorker::tabHistoryEntryChanged, this, &DBManager::tabHistoryEntryChanged);
    connect(m_worker, &DBWorker::linkAddedToTabHistory, this, &DBManager::linkAddedToTabHistory);
    connect(m_worker, &DBWorker::downloadsAvailable, this, &DBManager::downloadsAvailable);
    connect(m_worker, &DBWorker::downloadAdded, this, &DBManager::downloadAdded);
    connect(m_worker, &DBWorker::oldDownloadRemoved, this, &DBManager::oldDownloadRemoved);
    connect(m_worker, &DBWorker::passwordExceptionsAvailable, this, &DBManager::passwordExceptionsAvailable);
    connect(m_worker, &DBWorker::siteDprsAvailable, this, &DBManager::siteDprsAvailable);
    connect(m_worker, &DBWorker::siteDprAdded, this, &DBManager::siteDprAdded);
    connect(m_worker, &DBWorker::tabDeviceModeChanged, this, &DBManager::tabDeviceModeChanged);
    connect(m_worker, &DBWorker::deviceModeAvailable, this, &DBManager::deviceModeAvailable);

    // Requests queued up to the moment the application quits are still written:
    // quitting drains the worker before the process goes on to exit.
    if (QCoreApplication* app = QCoreApplication::instance())
        connect(app, &QCoreApplication::aboutToQuit, this, &DBManager::shutdown);
    qAddPostRoutine([] {
        if (s_instance)
            s_instance->shutdown();
    });

    m_thread.start();
    QMetaObject::invokeMethod(m_worker, "init", Qt::QueuedConnection);
}

DBManager::~DBManager()
{
    shutdown();
    if (s_instance == this)
        s_instance = nullptr;
}

void DBManager::shutdown()
{
    if (!m_worker)
        return;
    // Posted behind every request already queued, so the worker's loop ends
    // only once they have all run.
    QMetaObject::invokeMethod(
        m_worker, [] { QThread::currentThread()->quit(); }, Qt::QueuedConnection);
    m_thread.wait();
    m_worker = nullptr;
    qCDebug(lcStorage) << "storage thread stopped";
}

void DBManager::getHistory(const QString& filter, const QDateTime& start, const QDateTime& end)
{
    QMetaObject::invokeMethod(m_worker, "getHistory", Qt::QueuedConnection, Q_ARG(QString, filter),
        Q_ARG(QDateTime, start), Q_ARG(QDateTime, end));
}

void DBManager::addHistoryEntry(const QString& url, const QString& title)
{
    QMetaObject::invokeMethod(
        m_worker, "addHistoryEntry", Qt::QueuedConnection, Q_ARG(QString, url), Q_ARG(QString, title));
}

void DBManager::removeHistoryEntry(int linkId)
{
    QMetaObject::invokeMethod(m_worker, "removeHistoryEntry", Qt::QueuedConnection, Q_ARG(int, linkId));
}

void DBManager::removeHistoryEntries(const QSet<int>& ids)
{
    QMetaObject::invokeMethod(m_worker, "removeHistoryEntries", Qt::QueuedConnection, Q_ARG(QSet<int>, ids));
}

void DBManager::clearHistory(const QDateTime& start, const QDateTime& end)
{
    QMetaObject::invokeMethod(
        m_worker, "clearHistory", Qt::QueuedConnection, Q_ARG(QDateTime, start), Q_ARG(QDateTime, end));
}

void DBManager::updateHistoryTitle(const QString& url, const QString& title)
{
    QMetaObject::invokeMethod(
        m_worker, "updateHistoryTitle", Qt::QueuedConnection, Q_ARG(QString, url), Q_ARG(QString, title));
}

void DBManager::getMostVisitedLinks(int count)
{
    QMetaObject::invokeMethod(m_worker, "getMostVisitedLinks", Qt::QueuedConnection, Q_ARG(int, count));
}

void DBManager::removeMostVisitedLink(const QString& url)
{
    QMetaObject::invokeMethod(m_worker, "removeMostVisitedLink", Qt::QueuedConnection, Q_ARG(QString, url));
}

void DBManager::getTabHistory(
    int tabId, const QString& filter, const QDateTime& start, const QDateTime& end, bool isPrivate)
{
    QMetaObject::invokeMethod(m_worker, "getTabHistory", Qt::QueuedConnection, Q_ARG(int, tabId),
        Q_ARG(QString, filter), Q_ARG(QDateTime, start), Q_ARG(QDateTime, end), Q_ARG(bool, isPrivate));
}

void DBManager::addToTabHistory(int tabId, const QString& url, const QString& title, bool isPrivate)
{
    QMetaObject::invokeMethod(m_worker, "addToTabHistory", Qt::QueuedConnection, Q_ARG(int, tabId),
        Q_ARG(QString, url), Q_ARG(QString, title), Q_ARG(bool, isPrivate));
}

void DBManager::goBack(int tabId, bool isPrivate)
{
    QMetaObject::invokeMethod(
        m_worker, "goBack", Qt::QueuedConnection, Q_ARG(int, tabId), Q_ARG(bool, isPrivate));
}

void DBManager::goForward(int tabId, bool isPrivate)
{
    QMetaObject::invokeMethod(
        m_worker, "goForward", Qt::QueuedConnection, Q_ARG(int, tabId), Q_ARG(bool, isPrivate));
}

void DBManager::removeTabHistoryEntry(int historyId, int tabId, bool isPrivate)
{
    QMetaObject::invokeMethod(m_worker, "removeTabHistoryEntry", Qt::QueuedConnection, Q_ARG(int, historyId),
        Q_ARG(int, tabId), Q_ARG(bool, isPrivate));
}

void DBManager::removeTabHistoryEntries(int tabId, const QSet<int>& ids, bool isPrivate)
{
    QMetaObject::invokeMethod(m_worker, "removeTabHistoryEntries", Qt::QueuedConnection, Q_ARG(int, tabId),
        Q_ARG(QSet<int>, ids), Q_ARG(bool, isPrivate));
}

void DBManager::clearTabHistory(
    int tabId, int currentTabId, const QDateTime& start, const QDateTime& end, bool isPrivate)
{
    QMetaObject::invokeMethod(m_worker, "clearTabHistory", Qt::QueuedConnection, Q_ARG(int, tabId),
        Q_ARG(int, currentTabId), Q_ARG(QDateTime, start), Q_ARG(QDateTime, end), Q_ARG(bool, isPrivate));
}

void DBManager::clearDeprecatedTabHistory(int tabId, int currentId, bool isPrivate)
{
    QMetaObject::invokeMethod(m_worker, "clearDeprecatedTabHistory", Qt::QueuedConnection, Q_ARG(int, tabId),
        Q_ARG(int, currentId), Q_ARG(bool, isPrivate));
}

void DBManager::updateTabHistoryTitle(int tabId, const QString& url, const QString& title, bool isPrivate)
{
    QMetaObject::invokeMethod(m_worker, "updateTabHistoryTitle", Qt::QueuedConnection, Q_ARG(int, tabId),
        Q_ARG(QString, url), Q_ARG(QString, title), Q_ARG(bool, isPrivate));
}

void DBManager::updateTabHistoryEntry(
    int tabHistoryId, const QString& url, const QString& title, bool isPrivate)
{
    QMetaObject::invokeMethod(m_worker, "updateTabHistoryEntry", Qt::QueuedConnection,
        Q_ARG(int, tabHistoryId), Q_ARG(QString, url), Q_ARG(QString, title), Q_ARG(bool, isPrivate));
}

void DBManager::getTabs()
{
    QMetaObject::invokeMethod(m_worker, "getTabs", Qt::QueuedConnection);
}

void DBManager::addTabs(
    const QList<int>& tabIds, int index, const QStringList& urls, const QStringList& titles, bool isPrivate)
{
    QMetaObject::invokeMethod(m_worker, "addTabs", Qt::QueuedConnection, Q_ARG(QList<int>, tabIds),
        Q_ARG(int, index), Q_ARG(QStringList, urls), Q_ARG(QStringList, titles), Q_ARG(bool, isPrivate));
}

void DBManager::updateTab(int tabId, int tabHistoryId, bool isPrivate)
{
    QMetaObject::invokeMethod(m_worker, "updateTab", Qt::QueuedConnection, Q_ARG(int, tabId),
        Q_ARG(int, tabHistoryId), Q_ARG(bool, isPrivate));
}

void DBManager::removeTab(int tabId, int index, bool isPrivate)
{
    QMetaObject::invokeMethod(m_worker, "removeTab", Qt::QueuedConnection, Q_ARG(int, tabId),
        Q_ARG(int, index), Q_ARG(bool, isPrivate));
}

void DBManager::clearTabs(bool isPrivate)
{
    QMetaObject::invokeMethod(m_worker, "clearTabs", Qt::QueuedConnection, Q_ARG(bool, isPrivate));
}

void DBManager::setScreenshotTab(int tabId, const QString& screenshot)
{
    QMetaObject::invokeMethod(
        m_worker, "setScreenshotTab", Qt::QueuedConnection, Q_ARG(int, tabId), Q_ARG(QString, screenshot));
}

void DBManager::setDeviceMode(const QString& domain, int mode, bool isPrivate)
{
    QMetaObject::invokeMethod(m_worker, "setDeviceMode", Qt::QueuedConnection, Q_ARG(QString, domain),
        Q_ARG(int, mode), Q_ARG(bool, isPrivate));
}

void DBManager::getDeviceMode(const QString& domain, bool isPrivate)
{
    QMetaObject::invokeMethod(
        m_worker, "getDeviceMode", Qt::QueuedConnection, Q_ARG(QString, domain), Q_ARG(bool, isPrivate));
}

void DBManager::getBookmarkTree()
{
    QMetaObject::invokeMethod(m_worker, "getBookmarkTree", Qt::QueuedConnection);
}

void DBManager::getBookmarks(int folderId, const QString& filter)
{
    QMetaObject::invokeMethod(
        m_worker, "getBookmarks", Qt::QueuedConnection, Q_ARG(int, folderId), Q_ARG(QString, filter));
}

void DBManager::addBookmarkNode(int parentId, const QString& url, const QString& title)
{
    QMetaObject::invokeMethod(m_worker, "addBookmarkNode", Qt::QueuedConnection, Q_ARG(int, parentId),
        Q_ARG(QString, url), Q_ARG(QString, title));
}

void DBManager::updateBookmarkNode(int id, const QString& url, const QString& title)
{
    QMetaObject::invokeMethod(m_worker, "updateBookmarkNode", Qt::QueuedConnection, Q_ARG(int, id),
        Q_ARG(QString, url), Q_ARG(QString, title));
}

void DBManager::moveBookmarkNode(int id, int newParentId, bool isFolder)
{
    QMetaObject::invokeMethod(m_worker, "moveBookmarkNode", Qt::QueuedConnection, Q_ARG(int, id),
        Q_ARG(int, newParentId), Q_ARG(bool, isFolder));
}

void DBManager::moveBookmarkNodes(const QList<int>& ids, int newParentId, bool hasFolder)
{
    QMetaObject::invokeMethod(m_worker, "moveBookmarkNodes", Qt::QueuedConnection, Q_ARG(QList<int>, ids),
        Q_ARG(int, newParentId), Q_ARG(bool, hasFolder));
}

void DBManager::removeBookmarkNode(int id, bool isFolder, bool clearOnly)
{
    QMetaObject::invokeMethod(m_worker, "removeBookmarkNode", Qt::QueuedConnection, Q_ARG(int, id),
        Q_ARG(bool, isFolder), Q_ARG(bool, clearOnly));
}

void DBManager::removeBookmarkNodes(const QList<int>& ids, bool hasFolder)
{
    QMetaObject::invokeMethod(m_worker, "removeBookmarkNodes", Qt::QueuedConnection, Q_ARG(QList<int>, ids),
        Q_ARG(bool, hasFolder));
}

void DBManager::removeAllBookmarks()
{
    QMetaObject::invokeMethod(m_worker, "removeAllBookmarks", Qt::QueuedConnection);
}

void DBManager::migrateBookmark(const QString& title, const QString& url, const QString& favicon)
{
    QMetaObject::invokeMethod(m_worker, "migrateBookmark", Qt::QueuedConnection, Q_ARG(QString, title),
        Q_ARG(QString, url), Q_ARG(QString, favicon));
}

void DBManager::isBookmarked(const QString& url)
{
    QMetaObject::invokeMethod(m_worker, "isBookmarked", Qt::QueuedConnection, Q_ARG(QString, url));
}

void DBManager::getBookmarkData(const QString& url)
{
    QMetaObject::invokeMethod(m_worker, "getBookmarkData", Qt::QueuedConnection, Q_ARG(QString, url));
}

void DBManager::setFavicon(const QString& baseUrl, const QString& favicon, bool replace)
{
    QMetaObject::invokeMethod(m_worker, "setFavicon", Qt::QueuedConnection, Q_ARG(QString, baseUrl),
        Q_ARG(QString, favicon), Q_ARG(bool, replace));
}

void DBManager::updateTimeFavicon(const QString& baseUrl)
{
    QMetaObject::invokeMethod(m_worker, "updateTimeFavicon", Qt::QueuedConnection, Q_ARG(QString, baseUrl));
}

void DBManager::getFavicons()
{
    QMetaObject::invokeMethod(m_worker, "getFavicons", Qt::QueuedConnection);
}

void DBManager::getPermissions()
{
    QMetaObject::invokeMethod(m_worker, "getPermissions", Qt::QueuedConnection);
}

void DBManager::addPermissions(const QString& site, const QList<int>& policies)
{
    QMetaObject::invokeMethod(
        m_worker, "addPermissions", Qt::QueuedConnection, Q_ARG(QString, site), Q_ARG(QList<int>, policies));
}

void DBManager::updatePermission(const QString& site, int type, int value)
{
    QMetaObject::invokeMethod(m_worker, "updatePermission", Qt::QueuedConnection, Q_ARG(QString, site),
        Q_ARG(int, type), Q_ARG(int, value));
}

void DBManager::revokePermissions(const QString& site)
{
    QMetaObject::invokeMethod(m_worker, "revokePermissions", Qt::QueuedConnection, Q_ARG(QString, site));
}

void DBManager::removePermissionsData(const QString& site)
{
    QMetaObject::invokeMethod(m_worker, "removePermissionsData", Qt::QueuedConnection, Q_ARG(QString, site));
}

void DBManager::removeAllPermissions()
{
    QMetaObject::invokeMethod(m_worker, "removeAllPermissions", Qt::QueuedConnection);
}

void DBManager::getSearchEngines()
{
    QMetaObject::invokeMethod(m_worker, "getSearchEngines", Qt::QueuedConnection);
}

void DBManager::addSearchEngine(const QString& name, const QString& url)
{
    QMetaObject::invokeMethod(
        m_worker, "addSearchEngine", Qt::QueuedConnection, Q_ARG(QString, name), Q_ARG(QString, url));
}

void DBManager::updateSearchEngine(int id, const QString& name, const QString& url)
{
    QMetaObject::invokeMethod(m_worker, "updateSearchEngine", Qt::QueuedConnection, Q_ARG(int, id),
        Q_ARG(QString, name), Q_ARG(QString, url));
}

void DBManager::removeSearchEngine(int id)
{
    QMetaObject::invokeMethod(m_worker, "removeSearchEngine", Qt::QueuedConnection, Q_ARG(int, id));
}

void DBManager::getDownloads()
{
    QMetaObject::invokeMethod(m_worker, "getDownloads", Qt::QueuedConnection);
}

void DBManager::addDownload(const QString& path, const QString& url, const QString& cachedKey)
{
    QMetaObject::invokeMethod(m_worker, "addDownload", Qt::QueuedConnection, Q_ARG(QString, path),
        Q_ARG(QString, url), Q_ARG(QString, cachedKey));
}

void DBManager::setStatusDownload(const QString& path, int status)
{
    QMetaObject::invokeMethod(
        m_worker, "setStatusDownload", Qt::QueuedConnection, Q_ARG(QString, path), Q_ARG(int, status));
}

void DBManager::setDownloadSuccessful(const QString& path)
{
    QMetaObject::invokeMethod(m_worker, "setDownloadSuccessful", Qt::QueuedConnection, Q_ARG(QString, path));
}

void DBManager::removeDownload(const QString& path)
{
    QMetaObject::invokeMethod(m_worker, "removeDownload", Qt::QueuedConnection, Q_ARG(QString, path));
}

void DBManager::removeDownloads(const QSet<int>& ids)
{
    QMetaObject::invokeMethod(m_worker, "removeDownloads", Qt::QueuedConnection, Q_ARG(QSet<int>, ids));
}

void DBManager::getPasswordExceptions()
{
    QMetaObject::invokeMethod(m_worker, "getPasswordExceptions", Qt::QueuedConnection);
}

void DBManager::addException(const QString& url)
{
    QMetaObject::invokeMethod(m_worker, "addException", Qt::QueuedConnection, Q_ARG(QString, url));
}

void DBManager::removeException(const QString& url)
{
    QMetaObject::invokeMethod(m_worker, "removeException", Qt::QueuedConnection, Q_ARG(QString, url));
}

void DBManager::setSuggestionsCount(const QString& url, int count)
{
    QMetaObject::invokeMethod(
        m_worker, "setSuggestionsCount", Qt::QueuedConnection, Q_ARG(QString, url), Q_ARG(int, count));
}

void DBManager::getSiteDprs(bool isPrivate)
{
    QMetaObject::invokeMethod(m_worker, "getSiteDprs", Qt::QueuedConnection, Q_ARG(bool, isPrivate));
}

void DBManager::addDpr(const QString& site, double dpr, bool isPrivate)
{
    QMetaObject::invokeMethod(m_worker, "addDpr", Qt::QueuedConnection, Q_ARG(QString, site),
        Q_ARG(double, dpr), Q_ARG(bool, isPrivate));
}

void DBManager::updateDpr(const QString& site, double dpr, bool isPrivate)
{
    QMetaObject::invokeMethod(m_worker, "updateDpr", Qt::QueuedConnection, Q_ARG(QString, site),
        Q_ARG(double, dpr), Q_ARG(bool, isPrivate));
}

void DBManager::removeDpr(const QString& site, bool isPrivate)
{
    QMetaObject::invokeMethod(
        m_worker, "removeDpr", Qt::QueuedConnection, Q_ARG(QString, site), Q_ARG(bool, isPrivate));
}

void DBManager::removeDprs(const QStringList& sites)
{
    QMetaObject::invokeMethod(m_worker, "removeDprs", Qt::QueuedConnection, Q_ARG(QStringList, sites));
}

void DBManager::removeAllDprs()
{
    QMetaObject::invokeMethod(m_worker, "removeAllDprs", Qt::QueuedConnection);
}
