#pragma once

#include "records.h"

#include <QAtomicInt>
#include <QDateTime>
#include <QMetaMethod>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <QThread>

#include <deque>
#include <functional>
#include <vector>

class DBWorker;

// The one way into storage from the GUI thread. Every operation is queued, by
// name, to the DBWorker living on the manager's own thread and returns at
// once; answers come back as the same-named signals of this class, in the
// order the requests were made. The worker's init() is the first request, so
// nothing runs against a file that is not opened and migrated yet.
class DBManager : public QObject
{
    Q_OBJECT
public:
    // Made on first use, on the GUI thread; lives until the process ends.
    static DBManager* instance();
    ~DBManager() override;

    // Returns once every request queued so far has run and its writes are
    // committed. The thread keeps running. Done by itself when the application
    // quits and when it is destroyed.
    void drain();
    // Drains, then stops the storage thread for good. Done by itself when the
    // application object is destroyed (or at exit, without one); a request
    // made later cannot run any more and is logged as such. Safe to call more
    // than once.
    void shutdown();

public slots:

    // ---- history ----
    void getHistory(const QString& filter, const QDateTime& start, const QDateTime& end);
    void addHistoryEntry(const QString& url, const QString& title);
    void removeHistoryEntry(int linkId);
    void removeHistoryEntries(const QSet<int>& ids);
    void clearHistory(const QDateTime& start, const QDateTime& end);
    void updateHistoryTitle(const QString& url, const QString& title);
    void getMostVisitedLinks(int count);
    void removeMostVisitedLink(const QString& url);

    // ---- tab history ----
    void getTabHistory(
        int tabId, const QString& filter, const QDateTime& start, const QDateTime& end, bool isPrivate);
    void addToTabHistory(int tabId, const QString& url, const QString& title, bool isPrivate);
    void goBack(int tabId, bool isPrivate);
    void goForward(int tabId, bool isPrivate);
    void removeTabHistoryEntry(int historyId, int tabId, bool isPrivate);
    void removeTabHistoryEntries(int tabId, const QSet<int>& ids, bool isPrivate);
    void clearTabHistory(
        int tabId, int currentTabId, const QDateTime& start, const QDateTime& end, bool isPrivate);
    void clearDeprecatedTabHistory(int tabId, int currentId, bool isPrivate);
    void updateTabHistoryTitle(int tabId, const QString& url, const QString& title, bool isPrivate);
    void updateTabHistoryEntry(int tabHistoryId, const QString& url, const QString& title, bool isPrivate);

    // ---- tabs ----
    void getTabs();
    void addTabs(const QList<int>& tabIds, int index, const QStringList& urls, const QStringList& titles,
        bool isPrivate);
    void updateTab(int tabId, int tabHistoryId, bool isPrivate);
    void removeTab(int tabId, int index, bool isPrivate);
    void clearTabs(bool isPrivate);
    void setScreenshotTab(int tabId, const QString& screenshot);

    // ---- device modes ----
    void setDeviceMode(const QString& domain, int mode, bool isPrivate);
    // Answers with deviceModeAvailable; -1 when the domain has no stored mode.
    void getDeviceMode(const QString& domain, bool isPrivate);

    // ---- bookmarks ----
    void getBookmarkTree();
    void getBookmarks(int folderId, const QString& filter);
    void addBookmarkNode(int parentId, const QString& url, const QString& title);
    void updateBookmarkNode(int id, const QString& url, const QString& title);
    void moveBookmarkNode(int id, int newParentId, bool isFolder);
    void moveBookmarkNodes(const QList<int>& ids, int newParentId, bool hasFolder);
    void removeBookmarkNode(int id, bool isFolder, bool clearOnly);
    void removeBookmarkNodes(const QList<int>& ids, bool hasFolder);
    void removeAllBookmarks();
    void migrateBookmark(const QString& title, const QString& url, const QString& favicon);
    void isBookmarked(const QString& url);
    void getBookmarkData(const QString& url);

    // ---- favicons ----
    void setFavicon(const QString& baseUrl, const QString& favicon, bool replace);
    void updateTimeFavicon(const QString& baseUrl);
    void getFavicons();

    // ---- permissions ----
    void getPermissions();
    // policies: the seven decisions in column order; a negative value is stored as "no decision".
    void addPermissions(const QString& site, const QList<int>& policies);
    void updatePermission(const QString& site, int type, int value);
    void revokePermissions(const QString& site);
    void removePermissionsData(const QString& site);
    void removeAllPermissions();

    // ---- search engines ----
    void getSearchEngines();
    void addSearchEngine(const QString& name, const QString& url);
    void updateSearchEngine(int id, const QString& name, const QString& url);
    void removeSearchEngine(int id);

    // ---- downloads ----
    void getDownloads();
    // cachedKey is the download manager's own key; it travels back in downloadAdded.
    void addDownload(const QString& path, const QString& url, const QString& cachedKey);
    void setStatusDownload(const QString& path, int status);
    void setDownloadSuccessful(const QString& path);
    void removeDownload(const QString& path);
    void removeDownloads(const QSet<int>& ids);

    // ---- password exceptions ----
    void getPasswordExceptions();
    void addException(const QString& url);
    void removeException(const QString& url);
    void setSuggestionsCount(const QString& url, int count);

    // ---- site zoom (DPR) ----
    void getSiteDprs(bool isPrivate);
    void addDpr(const QString& site, double dpr, bool isPrivate);
    void updateDpr(const QString& site, double dpr, bool isPrivate);
    void removeDpr(const QString& site, bool isPrivate);
    void removeDprs(const QStringList& sites);
    void removeAllDprs();

signals:
    void historyAvailable(
        const QList<Link>& links, const QString& filter, const QDateTime& start, const QDateTime& end);
    void tabHistoryAvailable(int tabId, const QList<Link>& linkList, int currentLinkId);
    void mostVisitedLinksAvailable(const QList<Link>& links);
    void tabsAvailable(const QList<Tab>& tabs);
    void faviconsAvailable(const QMap<QString, QString>& favicons);
    void bookmarksTreeAvailable(const QList<BookmarkTreeNode>& nodes);
    void bookmarksAvailable(const QList<Bookmark>& bookmarks);
    void bookmarkedAvailable(bool bookmarked);
    void bookmarkDataAvailable(int id, const QString& url, const QString& title, int parentId);
    void permissionsAvailable(const QList<SitePermissions>& permissions);
    void searchEnginesAvailable(const QList<SearchEngine>& engines);
    void searchEngineAdded(const SearchEngine& engine);
    void historyTitleChanged(const QString& url, const QString& title);
    void tabHistoryTitleChanged(int tabId, const QString& url, const QString& title);
    void tabHistoryEntryChanged(int tabHistoryId, const QString& url, const QString& title);
    void linkAddedToTabHistory();
    void downloadsAvailable(const QList<Download>& downloads);
    void downloadAdded(const Download& download, const QString& path);
    void oldDownloadRemoved(int oldId);
    void passwordExceptionsAvailable(const QHash<QString, int>& exceptions);
    void siteDprsAvailable(const QList<SiteDpr>& dprs, bool isPrivate);
    void siteDprAdded(const SiteDpr& dpr, bool isPrivate);
    void tabDeviceModeChanged(int tabIndex, int deviceMode, bool isIncognito);
    void deviceModeAvailable(const QString& domain, int deviceMode, bool isPrivate);

private:
    explicit DBManager(QObject* parent = nullptr);

    // Queues one request to the worker, counted so that it can see a burst.
    bool post(const char* method, QGenericArgument a0 = QGenericArgument(nullptr),
        QGenericArgument a1 = QGenericArgument(), QGenericArgument a2 = QGenericArgument(),
        QGenericArgument a3 = QGenericArgument(), QGenericArgument a4 = QGenericArgument());

    // The worker's slot for a request name, looked up by name and argument
    // types on the name's first use, then reused.
    QMetaMethod workerSlot(const char* method, const QGenericArgument (&args)[5]);
    // Relays a worker signal as this object's signal of the same name.
    template <typename... Args>
    void relay(void (DBWorker::*answer)(Args...), void (DBManager::*signal)(Args...));
    // On the storage thread: hands the answers of the request just run to this thread.
    void sendAnswers();
    // On this object's thread: emits them, after any still waiting.
    void emitAnswers(std::vector<std::function<void()>> answers);

    QThread m_thread;
    DBWorker* m_worker = nullptr;
    // Answers of the running request; touched only on the storage thread.
    std::vector<std::function<void()>> m_answersToSend;
    // Answers received and not emitted yet, oldest first; touched only on this object's thread.
    std::deque<std::function<void()>> m_answersToEmit;
    // Requests queued and not started; shared with the worker.
    QAtomicInt m_queued;
    bool m_stopped = false;
};
