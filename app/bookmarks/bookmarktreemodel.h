#pragma once

#include "storage/records.h"

#include <QAbstractListModel>
#include <QPointer>
#include <QSet>

// The bookmark folder tree flattened for a QML list, as the bookmarks page's
// folder column and the "move to folder" dialog draw it: rows in drawing
// order, each with its depth for indentation. A collapsed folder hides its
// subfolders; the expanded state is kept by folder id, so it survives the
// refills that follow every change. Folders start expanded.
class BookmarkManager;

class BookmarkTreeModel : public QAbstractListModel
{
    Q_OBJECT
    // Number of rows shown.
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    enum Roles {
        IdRole = Qt::UserRole + 1,
        TitleRole,
        DepthRole,
        ChildCountRole, // bookmarks at any depth below the folder
        ExpandedRole,
        HasSubfoldersRole,
    };
    Q_ENUM(Roles)

    // A model made from QML (a dialog with expanded states of its own) is fed
    // by the bookmark manager like the manager's own.
    explicit BookmarkTreeModel(QObject* parent = nullptr);
    BookmarkTreeModel(BookmarkManager* manager, QObject* parent);
    ~BookmarkTreeModel() override;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;
    int count() const { return m_shown.size(); }

    Q_INVOKABLE void toggleExpanded(int row);
    Q_INVOKABLE void setExpanded(int folderId, bool expanded);
    // Row of folder id among the shown rows, or -1.
    Q_INVOKABLE int indexOf(int folderId) const;
    // Whether node may be moved into folder target: not into itself nor below itself.
    Q_INVOKABLE bool canMoveInto(int nodeId, int targetId) const;
    // Title of folder id, or an empty string.
    Q_INVOKABLE QString folderTitle(int folderId) const;

    // Called by the manager.
    void setNodes(const QList<BookmarkTreeNode>& nodes);
    void renameFolder(int id, const QString& title);
    void removeFolders(const QSet<int>& ids);
    const QList<BookmarkTreeNode>& nodes() const { return m_nodes; }
    // Id of the direct subfolder of parentId with this title, or -1.
    int childFolder(int parentId, const QString& title) const;

signals:
    void countChanged();

private:
    // Indexes into m_nodes of the rows a reader sees.
    QVector<int> visibleNodes() const;
    // The node index just past the subtree of node index i.
    int subtreeEnd(int i) const;
    void relayout();

    QList<BookmarkTreeNode> m_nodes; // every folder, in drawing order
    QVector<int> m_shown;
    QSet<int> m_collapsed;
    QPointer<BookmarkManager> m_manager;
};
