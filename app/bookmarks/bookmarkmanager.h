#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

#include "storage/records.h"

class BookmarkModel;
class BookmarkTreeModel;
class DBManager;
class QJSEngine;
class QQmlEngine;

// What the user interface does with bookmarks: add, edit, move and remove
// bookmarks and folders, whether the current page is one, the data of the
// active bookmark, and shortcuts on the platform's application grid.
//
// Storage answers a folder read with a bare list that does not say which folder
// it is of, and some operations read a folder by themselves. The manager is
// therefore the one place that talks to storage for every bookmark model: it
// keeps, in request order, the answers it expects and hands each list to the
// models showing that folder. After every change it also shows the result at
// once in the models and asks again for every shown folder.
class BookmarkManager : public QObject
{
    Q_OBJECT
    // The list of the quick access folder.
    Q_PROPERTY(BookmarkModel* quickAccessModel READ quickAccessModel NOTIFY quickAccessModelChanged)
    // Every folder, flattened in drawing order.
    Q_PROPERTY(BookmarkTreeModel* bookmarkTreeModel READ bookmarkTreeModel NOTIFY bookmarkTreeModelChanged)
    // Whether the url last given to getBookmarked is a bookmark.
    Q_PROPERTY(bool currentUrlBookmarked READ currentUrlBookmarked NOTIFY currentUrlBookmarkedChanged)
    // The bookmark found by getBookmarkData; -1 when none.
    Q_PROPERTY(int activeBookmarkId READ activeBookmarkId NOTIFY activeBookmarkIdChanged)
    Q_PROPERTY(QString activeBookmarkTitle READ activeBookmarkTitle NOTIFY activeBookmarkTitleChanged)
    // Folder holding the active bookmark; -1 when none.
    Q_PROPERTY(int activeBookmarkParent READ activeBookmarkParent NOTIFY activeBookmarkParentChanged)
    // Whether the url last checked is on the application grid.
    Q_PROPERTY(bool isInAppGrid READ isInAppGrid NOTIFY isInAppGridChanged)
public:
    enum PermanentFolders { BookmarkFolder = 1, QuickAccessFolder = 2 };
    Q_ENUM(PermanentFolders)

    // How long a call to the package manager may block the GUI thread. Asking
    // it only takes a look-up; a service that does not answer in this time is
    // hung, and its silence counts as "not on the grid".
    static constexpr int appGridTimeoutMs = 500;

    static BookmarkManager* instance();
    static QObject* qmlInstance(QQmlEngine* engine, QJSEngine* scriptEngine);

    BookmarkModel* quickAccessModel() const { return m_quickAccess; }
    BookmarkTreeModel* bookmarkTreeModel() const { return m_tree; }
    bool currentUrlBookmarked() const { return m_currentUrlBookmarked; }
    int activeBookmarkId() const { return m_activeId; }
    QString activeBookmarkTitle() const { return m_activeTitle; }
    int activeBookmarkParent() const { return m_activeParent; }
    bool isInAppGrid() const { return m_isInAppGrid; }

    Q_INVOKABLE void addBookmark(int parentId, const QString& url, const QString& title);
    Q_INVOKABLE void addFolder(int parentId, const QString& title);
    Q_INVOKABLE void removeBookmarkNode(int id, bool isFolder = false, bool clearOnly = false);
    Q_INVOKABLE void updateBookmarkNode(int id, int parentId, const QString& title, const QString& url);
    Q_INVOKABLE void moveBookmarkNode(int id, int newParentId, bool isFolder = false);
    Q_INVOKABLE void removeAllBookmarks();
    Q_INVOKABLE void migrateBookmark(const QString& title, const QString& url, const QString& favicon);
    Q_INVOKABLE void getBookmarked(const QString& url);
    Q_INVOKABLE void getBookmarkData(const QString& url);
    Q_INVOKABLE void saveToAppGrid(const QString& url, const QString& title);
    Q_INVOKABLE void checkInAppGrid(const QString& url);
    // Several nodes of one folder at once, as a page's selection.
    Q_INVOKABLE void moveBookmarkNodes(const QList<int>& ids, int newParentId, bool hasFolder);
    Q_INVOKABLE void removeBookmarkNodes(const QList<int>& ids, bool hasFolder);

    // For the bookmark models: (re)read the folder a model shows; forget it.
    void refresh(BookmarkModel* model);
    void detach(BookmarkModel* model);
    // A further tree model gets the current tree now and every later one.
    void attachTree(BookmarkTreeModel* model);
    void detachTree(BookmarkTreeModel* model);

signals:
    void quickAccessModelChanged();
    void bookmarkTreeModelChanged();
    void currentUrlBookmarkedChanged();
    void activeBookmarkIdChanged();
    void activeBookmarkTitleChanged();
    void activeBookmarkParentChanged();
    void isInAppGridChanged();
    void bookmarkNodeUpdated(int id, int parentId, const QString& title, const QString& url);

private:
    struct Expected {
        bool tree = false;
        int folderId = -1; // -1: a list of a folder not known here, dropped
        QString filter;
    };

    explicit BookmarkManager(DBManager* storage, QObject* parent = nullptr);

    void onTreeAvailable(const QList<BookmarkTreeNode>& nodes);
    void onListAvailable(const QList<Bookmark>& bookmarks);
    void onBookmarkedAvailable(bool bookmarked);
    void onBookmarkDataAvailable(int id, const QString& url, const QString& title, int parentId);
    void expect(bool tree, int folderId = -1, const QString& filter = QString());
    // Asks again for every folder a model shows; resync also forgets what was expected.
    void refreshAll();
    void resync();
    // Takes ids out of every model at once; a folder's rows also leave the tree.
    void removeShown(const QSet<int>& ids, bool folders);
    void setActive(int id, const QString& title, int parent);

    DBManager* m_storage;
    BookmarkModel* m_quickAccess;
    BookmarkTreeModel* m_tree;
    QList<QPointer<BookmarkModel>> m_models;
    QList<BookmarkTreeModel*> m_trees; // the manager's own one first
    QList<BookmarkTreeNode> m_nodes; // the last tree storage gave
    QList<Expected> m_expected;
    QList<int> m_bookmarkedAsked; // request numbers of isBookmarked, oldest first
    int m_bookmarkedLatest = 0;
    QString m_activeUrl;
    bool m_currentUrlBookmarked = false;
    int m_activeId = -1;
    QString m_activeTitle;
    int m_activeParent = -1;
    bool m_isInAppGrid = false;
};
