#include "dbmanager.h"

#include "dbworker.h"
#include "utils/logcategories.h"

#include <QCoreApplication>
#include <QHash>

#include <cstdlib>

namespace
{
DBManager* s_instance = nullptr;

void stopInstance()
{
    if (s_instance)
        s_instance->shutdown();
}

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

template <typename... Args>
void DBManager::relay(void (DBWorker::*answer)(Args...), void (DBManager::*signal)(Args...))
{
    // Direct: runs on the storage thread as the worker emits; the arguments
    // are copied into the queued emission.
    connect(
        m_worker, answer, m_worker,
        [this, signal](Args... args) {
            m_answersToSend.emplace_back([this, signal, args...] { (this->*signal)(args...); });
        },
        Qt::DirectConnection);
}

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
    m_worker->setQueueCounter(&m_queued);
    m_worker->moveToThread(&m_thread);
    // The worker closes its connections on its own thread, after its last request.
    connect(&m_thread, &QThread::finished, m_worker, &QObject::deleteLater);
    // Every answer is relayed under its own name, in the order the worker
    // gave them, in one hand-over per request or group commit.
    m_worker->setRequestDone([this] { sendAnswers(); });
    relay(&DBWorker::historyAvailable, &DBManager::historyAvailable);
    relay(&DBWorker::tabHistoryAvailable, &DBManager::tabHistoryAvailable);
    relay(&DBWorker::mostVisitedLinksAvailable, &DBManager::mostVisitedLinksAvailable);
    relay(&DBWorker::tabsAvailable, &DBManager::tabsAvailable);
    relay(&DBWorker::faviconsAvailable, &DBManager::faviconsAvailable);
    relay(&DBWorker::bookmarksTreeAvailable, &DBManager::bookmarksTreeAvailable);
    relay(&DBWorker::bookmarksAvailable, &DBManager::bookmarksAvailable);
    relay(&DBWorker::bookmarkedAvailable, &DBManager::bookmarkedAvailable);
    relay(&DBWorker::bookmarkDataAvailable, &DBManager::bookmarkDataAvailable);
    relay(&DBWorker::permissionsAvailable, &DBManager::permissionsAvailable);
    relay(&DBWorker::searchEnginesAvailable, &DBManager::searchEnginesAvailable);
    relay(&DBWorker::searchEngineAdded, &DBManager::searchEngineAdded);
    relay(&DBWorker::historyTitleChanged, &DBManager::historyTitleChanged);
    relay(&DBWorker::tabHistoryTitleChanged, &DBManager::tabHistoryTitleChanged);
    relay(&DBWorker::tabHistoryEntryChanged, &DBManager::tabHistoryEntryChanged);
    relay(&DBWorker::linkAddedToTabHistory, &DBManager::linkAddedToTabHistory);
    relay(&DBWorker::downloadsAvailable, &DBManager::downloadsAvailable);
    relay(&DBWorker::downloadAdded, &DBManager::downloadAdded);
    relay(&DBWorker::oldDownloadRemoved, &DBManager::oldDownloadRemoved);
    relay(&DBWorker::passwordExceptionsAvailable, &DBManager::passwordExceptionsAvailable);
    relay(&DBWorker::siteDprsAvailable, &DBManager::siteDprsAvailable);
    relay(&DBWorker::siteDprAdded, &DBManager::siteDprAdded);
    relay(&DBWorker::tabDeviceModeChanged, &DBManager::tabDeviceModeChanged);
    relay(&DBWorker::deviceModeAvailable, &DBManager::deviceModeAvailable);

    // Nothing a user did may be lost at exit, including what a QML handler or
    // a destructor asks for while the program winds down. Quitting only waits
    // for what is queued so far; the thread stops when the application object
    // is destroyed, the last moment at which Qt still delivers a queued call.
    // A process that exits without destroying it stops the thread at exit.
    if (QCoreApplication* app = QCoreApplication::instance())
        connect(app, &QCoreApplication::aboutToQuit, this, &DBManager::drain);
    qAddPostRoutine(stopInstance);
    std::atexit(stopInstance);

    m_thread.start();
    post("init");
    // Registered again once the worker has opened the file, and so after Qt
    // SQL's own clean-up, which closes every connection: both kinds of
    // handlers run in reverse order of registration, and ours must run while
    // the connection it drains is still there.
    m_queued.ref();
    QMetaObject::invokeMethod(
        m_worker,
        [] {
            qAddPostRoutine(stopInstance);
            std::atexit(stopInstance);
        },
        Qt::QueuedConnection);
}

DBManager::~DBManager()
{
    shutdown();
    if (s_instance == this)
        s_instance = nullptr;
}

bool DBManager::post(const char* method, QGenericArgument a0, QGenericArgument a1, QGenericArgument a2,
    QGenericArgument a3, QGenericArgument a4)
{
    // Without the application object Qt delivers no queued call to another thread.
    if (m_stopped || !QCoreApplication::instance()) {
        qCWarning(lcStorage) << "storage thread has stopped, request cannot run any more:" << method;
        return false;
    }
    // Still a queued call by name, but the name is resolved once: normalising
    // the signature and searching the worker's hundred slots cost more than
    // queuing the call itself.
    const QMetaMethod slot = workerSlot(method, { a0, a1, a2, a3, a4 });
    if (!slot.isValid())
        return false;
    m_queued.ref();
    if (slot.invoke(m_worker, Qt::QueuedConnection, a0, a1, a2, a3, a4))
        return true;
    m_queued.deref();
    return false;
}

QMetaMethod DBManager::workerSlot(const char* method, const QGenericArgument (&args)[5])
{
    // Keyed by the address of each request's name (every request passes its
    // own literal). One table per calling thread, so that none needs a lock.
    thread_local QHash<const char*, QMetaMethod> resolved;
    const auto found = resolved.constFind(method);
    if (found != resolved.constEnd())
        return found.value();

    QByteArray signature(method);
    signature += '(';
    for (const QGenericArgument& arg : args) {
        if (!arg.name())
            break;
        if (!signature.endsWith('('))
            signature += ',';
        signature += arg.name();
    }
    signature += ')';
    const QMetaObject& meta = DBWorker::staticMetaObject;
    const int index = meta.indexOfMethod(QMetaObject::normalizedSignature(signature.constData()).constData());
    if (index < 0) {
        qCWarning(lcStorage) << "no storage request" << signature;
        return QMetaMethod();
    }
    const QMetaMethod slot = meta.method(index);
    resolved.insert(method, slot);
    return slot;
}

void DBManager::sendAnswers()
{
    // A group commit's answers, by the thousand, cross in one queued call
    // instead of one each: a single wake-up of this thread.
    if (m_answersToSend.empty())
        return;
    std::vector<std::function<void()>> answers;
    answers.swap(m_answersToSend);
    QMetaObject::invokeMethod(
        this, [this, answers = std::move(answers)]() mutable { emitAnswers(std::move(answers)); },
        Qt::QueuedConnection);
}

void DBManager::emitAnswers(std::vector<std::function<void()>> answers)
{
    for (auto& answer : answers)
        m_answersToEmit.push_back(std::move(answer));
    // One at a time from the shared queue: a receiver that spins an event
    // loop of its own meets the later answers there, still in order.
    while (!m_answersToEmit.empty()) {
        const std::function<void()> answer = std::move(m_answersToEmit.front());
        m_answersToEmit.pop_front();
        answer();
    }
}

void DBManager::drain()
{
    if (m_stopped || !QCoreApplication::instance())
        return;
    m_queued.ref();
    DBWorker* worker = m_worker;
    QMetaObject::invokeMethod(
        m_worker, [worker] { worker->commitPending(); }, Qt::BlockingQueuedConnection);
}

void DBManager::shutdown()
{
    if (m_stopped)
        return;
    m_stopped = true;
    if (QCoreApplication::instance()) {
        // Posted behind every request already queued, so the worker's loop
        // ends only once they have all run and been committed.
        m_queued.ref();
        DBWorker* worker = m_worker;
        QMetaObject::invokeMethod(
            m_worker,
            [worker] {
                worker->commitPending();
                QThread::currentThread()->quit();
            },
            Qt::QueuedConnection);
    } else {
        const int lost = m_queued.loadAcquire();
        if (lost > 0)
            qCWarning(lcStorage) << "storage requests that can no longer run:" << lost;
        m_thread.quit();
    }
    m_thread.wait();
    qCDebug(lcStorage) << "storage thread stopped";
}

void DBManager::getHistory(const QString& filter, const QDateTime& start, const QDateTime& end)
{
    post("getHistory", Q_ARG(QString, filter), Q_ARG(QDateTime, start), Q_ARG(QDateTime, end));
}

void DBManager::addHistoryEntry(const QString& url, const QString& title)
{
    post("addHistoryEntry", Q_ARG(QString, url), Q_ARG(QString, title));
}

void DBManager::removeHistoryEntry(int linkId)
{
    post("removeHistoryEntry", Q_ARG(int, linkId));
}

void DBManager::removeHistoryEntries(const QSet<int>& ids)
{
    post("removeHistoryEntries", Q_ARG(QSet<int>, ids));
}

void DBManager::clearHistory(const QDateTime& start, const QDateTime& end)
{
    post("clearHistory", Q_ARG(QDateTime, start), Q_ARG(QDateTime, end));
}

void DBManager::updateHistoryTitle(const QString& url, const QString& title)
{
    post("updateHistoryTitle", Q_ARG(QString, url), Q_ARG(QString, title));
}

void DBManager::getMostVisitedLinks(int count)
{
    post("getMostVisitedLinks", Q_ARG(int, count));
}

void DBManager::removeMostVisitedLink(const QString& url)
{
    post("removeMostVisitedLink", Q_ARG(QString, url));
}

void DBManager::getTabHistory(
    int tabId, const QString& filter, const QDateTime& start, const QDateTime& end, bool isPrivate)
{
    post("getTabHistory", Q_ARG(int, tabId), Q_ARG(QString, filter), Q_ARG(QDateTime, start),
        Q_ARG(QDateTime, end), Q_ARG(bool, isPrivate));
}

void DBManager::addToTabHistory(int tabId, const QString& url, const QString& title, bool isPrivate)
{
    post("addToTabHistory", Q_ARG(int, tabId), Q_ARG(QString, url), Q_ARG(QString, title),
        Q_ARG(bool, isPrivate));
}

void DBManager::goBack(int tabId, bool isPrivate)
{
    post("goBack", Q_ARG(int, tabId), Q_ARG(bool, isPrivate));
}

void DBManager::goForward(int tabId, bool isPrivate)
{
    post("goForward", Q_ARG(int, tabId), Q_ARG(bool, isPrivate));
}

void DBManager::removeTabHistoryEntry(int historyId, int tabId, bool isPrivate)
{
    post("removeTabHistoryEntry", Q_ARG(int, historyId), Q_ARG(int, tabId), Q_ARG(bool, isPrivate));
}

void DBManager::removeTabHistoryEntries(int tabId, const QSet<int>& ids, bool isPrivate)
{
    post("removeTabHistoryEntries", Q_ARG(int, tabId), Q_ARG(QSet<int>, ids), Q_ARG(bool, isPrivate));
}

void DBManager::clearTabHistory(
    int tabId, int currentTabId, const QDateTime& start, const QDateTime& end, bool isPrivate)
{
    post("clearTabHistory", Q_ARG(int, tabId), Q_ARG(int, currentTabId), Q_ARG(QDateTime, start),
        Q_ARG(QDateTime, end), Q_ARG(bool, isPrivate));
}

void DBManager::clearDeprecatedTabHistory(int tabId, int currentId, bool isPrivate)
{
    post("clearDeprecatedTabHistory", Q_ARG(int, tabId), Q_ARG(int, currentId), Q_ARG(bool, isPrivate));
}

void DBManager::updateTabHistoryTitle(int tabId, const QString& url, const QString& title, bool isPrivate)
{
    post("updateTabHistoryTitle", Q_ARG(int, tabId), Q_ARG(QString, url), Q_ARG(QString, title),
        Q_ARG(bool, isPrivate));
}

void DBManager::updateTabHistoryEntry(
    int tabHistoryId, const QString& url, const QString& title, bool isPrivate)
{
    post("updateTabHistoryEntry", Q_ARG(int, tabHistoryId), Q_ARG(QString, url), Q_ARG(QString, title),
        Q_ARG(bool, isPrivate));
}

void DBManager::getTabs()
{
    post("getTabs");
}

void DBManager::addTabs(
    const QList<int>& tabIds, int index, const QStringList& urls, const QStringList& titles, bool isPrivate)
{
    post("addTabs", Q_ARG(QList<int>, tabIds), Q_ARG(int, index), Q_ARG(QStringList, urls),
        Q_ARG(QStringList, titles), Q_ARG(bool, isPrivate));
}

void DBManager::updateTab(int tabId, int tabHistoryId, bool isPrivate)
{
    post("updateTab", Q_ARG(int, tabId), Q_ARG(int, tabHistoryId), Q_ARG(bool, isPrivate));
}

void DBManager::removeTab(int tabId, int index, bool isPrivate)
{
    post("removeTab", Q_ARG(int, tabId), Q_ARG(int, index), Q_ARG(bool, isPrivate));
}

void DBManager::clearTabs(bool isPrivate)
{
    post("clearTabs", Q_ARG(bool, isPrivate));
}

void DBManager::setScreenshotTab(int tabId, const QString& screenshot)
{
    post("setScreenshotTab", Q_ARG(int, tabId), Q_ARG(QString, screenshot));
}

void DBManager::setDeviceMode(const QString& domain, int mode, bool isPrivate)
{
    post("setDeviceMode", Q_ARG(QString, domain), Q_ARG(int, mode), Q_ARG(bool, isPrivate));
}

void DBManager::getDeviceMode(const QString& domain, bool isPrivate)
{
    post("getDeviceMode", Q_ARG(QString, domain), Q_ARG(bool, isPrivate));
}

void DBManager::getBookmarkTree()
{
    post("getBookmarkTree");
}

void DBManager::getBookmarks(int folderId, const QString& filter)
{
    post("getBookmarks", Q_ARG(int, folderId), Q_ARG(QString, filter));
}

void DBManager::addBookmarkNode(int parentId, const QString& url, const QString& title)
{
    post("addBookmarkNode", Q_ARG(int, parentId), Q_ARG(QString, url), Q_ARG(QString, title));
}

void DBManager::updateBookmarkNode(int id, const QString& url, const QString& title)
{
    post("updateBookmarkNode", Q_ARG(int, id), Q_ARG(QString, url), Q_ARG(QString, title));
}

void DBManager::moveBookmarkNode(int id, int newParentId, bool isFolder)
{
    post("moveBookmarkNode", Q_ARG(int, id), Q_ARG(int, newParentId), Q_ARG(bool, isFolder));
}

void DBManager::moveBookmarkNodes(const QList<int>& ids, int newParentId, bool hasFolder)
{
    post("moveBookmarkNodes", Q_ARG(QList<int>, ids), Q_ARG(int, newParentId), Q_ARG(bool, hasFolder));
}

void DBManager::removeBookmarkNode(int id, bool isFolder, bool clearOnly)
{
    post("removeBookmarkNode", Q_ARG(int, id), Q_ARG(bool, isFolder), Q_ARG(bool, clearOnly));
}

void DBManager::removeBookmarkNodes(const QList<int>& ids, bool hasFolder)
{
    post("removeBookmarkNodes", Q_ARG(QList<int>, ids), Q_ARG(bool, hasFolder));
}

void DBManager::removeAllBookmarks()
{
    post("removeAllBookmarks");
}

void DBManager::migrateBookmark(const QString& title, const QString& url, const QString& favicon)
{
    post("migrateBookmark", Q_ARG(QString, title), Q_ARG(QString, url), Q_ARG(QString, favicon));
}

void DBManager::isBookmarked(const QString& url)
{
    post("isBookmarked", Q_ARG(QString, url));
}

void DBManager::getBookmarkData(const QString& url)
{
    post("getBookmarkData", Q_ARG(QString, url));
}

void DBManager::setFavicon(const QString& baseUrl, const QString& favicon, bool replace)
{
    post("setFavicon", Q_ARG(QString, baseUrl), Q_ARG(QString, favicon), Q_ARG(bool, replace));
}

void DBManager::updateTimeFavicon(const QString& baseUrl)
{
    post("updateTimeFavicon", Q_ARG(QString, baseUrl));
}

void DBManager::getFavicons()
{
    post("getFavicons");
}

void DBManager::getPermissions()
{
    post("getPermissions");
}

void DBManager::addPermissions(const QString& site, const QList<int>& policies)
{
    post("addPermissions", Q_ARG(QString, site), Q_ARG(QList<int>, policies));
}

void DBManager::updatePermission(const QString& site, int type, int value)
{
    post("updatePermission", Q_ARG(QString, site), Q_ARG(int, type), Q_ARG(int, value));
}

void DBManager::revokePermissions(const QString& site)
{
    post("revokePermissions", Q_ARG(QString, site));
}

void DBManager::removePermissionsData(const QString& site)
{
    post("removePermissionsData", Q_ARG(QString, site));
}

void DBManager::removeAllPermissions()
{
    post("removeAllPermissions");
}

void DBManager::getSearchEngines()
{
    post("getSearchEngines");
}

void DBManager::addSearchEngine(const QString& name, const QString& url)
{
    post("addSearchEngine", Q_ARG(QString, name), Q_ARG(QString, url));
}

void DBManager::updateSearchEngine(int id, const QString& name, const QString& url)
{
    post("updateSearchEngine", Q_ARG(int, id), Q_ARG(QString, name), Q_ARG(QString, url));
}

void DBManager::removeSearchEngine(int id)
{
    post("removeSearchEngine", Q_ARG(int, id));
}

void DBManager::getDownloads()
{
    post("getDownloads");
}

void DBManager::addDownload(const QString& path, const QString& url, const QString& cachedKey)
{
    post("addDownload", Q_ARG(QString, path), Q_ARG(QString, url), Q_ARG(QString, cachedKey));
}

void DBManager::setStatusDownload(const QString& path, int status)
{
    post("setStatusDownload", Q_ARG(QString, path), Q_ARG(int, status));
}

void DBManager::setDownloadSuccessful(const QString& path)
{
    post("setDownloadSuccessful", Q_ARG(QString, path));
}

void DBManager::removeDownload(const QString& path)
{
    post("removeDownload", Q_ARG(QString, path));
}

void DBManager::removeDownloads(const QSet<int>& ids)
{
    post("removeDownloads", Q_ARG(QSet<int>, ids));
}

void DBManager::getPasswordExceptions()
{
    post("getPasswordExceptions");
}

void DBManager::addException(const QString& url)
{
    post("addException", Q_ARG(QString, url));
}

void DBManager::removeException(const QString& url)
{
    post("removeException", Q_ARG(QString, url));
}

void DBManager::setSuggestionsCount(const QString& url, int count)
{
    post("setSuggestionsCount", Q_ARG(QString, url), Q_ARG(int, count));
}

void DBManager::getSiteDprs(bool isPrivate)
{
    post("getSiteDprs", Q_ARG(bool, isPrivate));
}

void DBManager::addDpr(const QString& site, double dpr, bool isPrivate)
{
    post("addDpr", Q_ARG(QString, site), Q_ARG(double, dpr), Q_ARG(bool, isPrivate));
}

void DBManager::updateDpr(const QString& site, double dpr, bool isPrivate)
{
    post("updateDpr", Q_ARG(QString, site), Q_ARG(double, dpr), Q_ARG(bool, isPrivate));
}

void DBManager::removeDpr(const QString& site, bool isPrivate)
{
    post("removeDpr", Q_ARG(QString, site), Q_ARG(bool, isPrivate));
}

void DBManager::removeDprs(const QStringList& sites)
{
    post("removeDprs", Q_ARG(QStringList, sites));
}

void DBManager::removeAllDprs()
{
    post("removeAllDprs");
}
