#pragma once

#include "directquery.h"
#include "localday.h"
#include "records.h"
#include "statementcache.h"

#include <QDateTime>
#include <QObject>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlError>
#include <QStringList>

#include <QAtomicInt>
#include <QElapsedTimer>

#include <functional>
#include <optional>
#include <vector>

// Owns both SQLite connections (the profile's file and the private in-memory
// twin used by incognito tabs) and runs every storage operation. It lives on the
// storage thread of DBManager; nothing else may touch its connections. Every
// operation is a slot so that DBManager can queue it by name; results leave as
// signals. Tests drive it directly on their own thread.
class DBWorker : public QObject
{
    Q_OBJECT
public:
    explicit DBWorker(QObject* parent = nullptr);
    ~DBWorker() override;

    // Name of the private in-memory connection.
    static QString privateConnectionName();
    // Absolute path of the database file in the current profile.
    static QString databaseFilePath();

    // An SQL string literal with every quote doubled, for the few statements
    // that splice text instead of binding it.
    static QString sqlLiteral(const QString& text);

    // Requests queued to this worker and not started yet, counted by whoever
    // queues them (DBManager). With it the worker sees a burst and writes it
    // in one transaction; without it every statement commits on its own.
    void setQueueCounter(QAtomicInt* counter) { m_queued = counter; }
    // Called on this thread after each queued request (and the commit it
    // may end) has run and emitted its answers, when a queue counter is set.
    void setRequestDone(std::function<void()> hook) { m_requestDone = std::move(hook); }
    // Commits the open group of writes, if any, and sends the answers held for it.
    void commitPending();

protected:
    bool event(QEvent* event) override;

public slots:
    // Opens, creates, migrates, fills and trims. Queued first by DBManager.
    void init();

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
    // Sends an answer now, or once the writes before it are committed when a
    // group of requests shares one transaction.
    void deliver(std::function<void()> emission);
    void beginGroup();
    bool runRequest(QEvent* event);
    // Stops using a file SQLite reports as damaged: moves it aside and starts
    // a fresh one in its place (dbworkerrecovery.cpp).
    void checkDamage(const QSqlError& error);
    void statementFailed(const char* signature, const char* what, const QString& sql, const QSqlError& error);
    // Closes the file, moves it aside and opens a new one at the same path.
    bool replaceDamagedFile();

    // The connection an operation runs on.
    QSqlDatabase database(bool isPrivate) const;
    // A statement on the chosen connection, from its cache when one is idle.
    // Hold it as `auto query = prepare(...)`: it returns to the cache when it
    // goes out of scope, so it must stay in use no longer than it stays in scope.
    CachedQuery prepare(const QString& sql, bool isPrivate);
    bool execute(CachedQuery& query);
    // The statements of a page visit, run without Qt SQL's per-value
    // bookkeeping; each slot always holds the same SQL text.
    enum DirectSlot {
        SelectTodaysVisit,
        UpdateVisit,
        UpdateVisitAndTitle,
        InsertVisit,
        SelectLink,
        InsertLink,
        InsertTabHistory,
        SelectTab,
        UpdateTabEntry,
        InsertTab,
    };
    DirectQuery prepare(DirectSlot slot, const QString& sql, bool isPrivate);
    // Also reports a statement that could not be compiled.
    bool execute(DirectQuery& query);

    // ---- database set-up and migrations (dbworker.cpp, dbmigrations.cpp) ----
    bool openConnections();
    // Reads the schema once: a damaged or foreign file is found here at the
    // latest and replaced. False when no usable file could be had.
    bool probeFile();
    void configureFileConnection();
    void createTables(const QSqlDatabase& db);
    void createIndexes(bool isPrivate);
    void storeVersion(const QString& version, bool isNew);
    void runMigrations(const QString& storedVersion);
    void moveSiteDataToSiteIds();
    void insertDefaultRows();
    void seedPrivateDatabase();
    void trimOldData();
    bool fixAceHosts(const QString& table, const QString& keyColumn, const QString& valueColumn);

    // ---- history and tabs helpers (dbworkerhistory.cpp) ----
    int createLink(const QString& url, bool isPrivate, const QString& title, const QString& thumbPath);
    Link currentTabLink(int tabId);
    // Whether the tab has a row; empty when the look-up itself failed.
    std::optional<bool> tabExists(int tabId, bool isPrivate);

    // ---- bookmark helpers (dbworkerbookmarks.cpp) ----
    // The depth-1 ancestor of a node, -1 when it has none.
    int bookmarkParent(int id);
    // Whether hanging ids under newParentId would put a node below itself.
    bool moveCreatesCycle(const QList<int>& ids, int newParentId);
    // Links a node below parentId and below every ancestor of parentId.
    bool linkUnderParent(int id, int parentId);
    // Id of the folder of migrated bookmarks below "Bookmarks", -1 when missing.
    int migratedBookmarksFolder(const QString& folderTitle);

    // ---- site data helpers (dbworkersitedata.cpp) ----
    int getSiteId(const QString& site, bool isPrivate);
    // The sites.id of a site without creating the row; -1 when the site is unknown.
    int findSiteId(const QString& site, bool isPrivate, bool* failed = nullptr);

    QString m_mainConnection;
    bool m_opened = false;
    LocalDay m_localDay;
    QAtomicInt* m_queued = nullptr;
    std::function<void()> m_requestDone;
    bool m_inGroup = false;
    bool m_recovering = false;
    // Whether a statement of the request running now failed.
    bool m_statementFailed = false;
    int m_groupSize = 0;
    QElapsedTimer m_groupAge;
    std::vector<std::function<void()>> m_held;
    // Declared after the connection name they are built from.
    StatementCache m_fileStatements;
    StatementCache m_privateStatements;
    DirectStatements m_fileDirect;
    DirectStatements m_privateDirect;
};
