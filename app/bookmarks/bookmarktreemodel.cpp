#include "bookmarktreemodel.h"

#include "bookmarkmanager.h"

BookmarkTreeModel::BookmarkTreeModel(QObject* parent)
    : QAbstractListModel(parent)
    , m_manager(BookmarkManager::instance())
{
    m_manager->attachTree(this);
}

BookmarkTreeModel::BookmarkTreeModel(BookmarkManager* manager, QObject* parent)
    : QAbstractListModel(parent)
    , m_manager(manager)
{
}

BookmarkTreeModel::~BookmarkTreeModel()
{
    if (m_manager)
        m_manager->detachTree(this);
}

int BookmarkTreeModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_shown.size();
}

QVariant BookmarkTreeModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_shown.size())
        return QVariant();
    const int i = m_shown.at(index.row());
    const BookmarkTreeNode& node = m_nodes.at(i);
    switch (role) {
    case IdRole:
        return node.id;
    case TitleRole:
        return node.title;
    case DepthRole:
        return node.depth;
    case ChildCountRole:
        return node.children;
    case ExpandedRole:
        return !m_collapsed.contains(node.id);
    case HasSubfoldersRole:
        return subtreeEnd(i) > i + 1;
    default:
        return QVariant();
    }
}

QHash<int, QByteArray> BookmarkTreeModel::roleNames() const
{
    return {
        { IdRole, "id" },
        { TitleRole, "title" },
        { DepthRole, "depth" },
        { ChildCountRole, "childCount" },
        { ExpandedRole, "expanded" },
        { HasSubfoldersRole, "hasSubfolders" },
    };
}

int BookmarkTreeModel::subtreeEnd(int i) const
{
    const int depth = m_nodes.at(i).depth;
    int end = i + 1;
    while (end < m_nodes.size() && m_nodes.at(end).depth > depth)
        ++end;
    return end;
}

QVector<int> BookmarkTreeModel::visibleNodes() const
{
    QVector<int> shown;
    shown.reserve(m_nodes.size());
    for (int i = 0; i < m_nodes.size();) {
        shown.append(i);
        i = m_collapsed.contains(m_nodes.at(i).id) ? subtreeEnd(i) : i + 1;
    }
    return shown;
}

void BookmarkTreeModel::toggleExpanded(int row)
{
    if (row < 0 || row >= m_shown.size())
        return;
    const int id = m_nodes.at(m_shown.at(row)).id;
    setExpanded(id, m_collapsed.contains(id));
}

void BookmarkTreeModel::setExpanded(int folderId, bool expanded)
{
    if (m_collapsed.contains(folderId) != expanded)
        return;
    if (expanded)
        m_collapsed.remove(folderId);
    else
        m_collapsed.insert(folderId);
    const int row = indexOf(folderId);
    if (row < 0)
        return; // hidden itself: shows as set once its parent opens
    // The subfolders that appear or vanish are one block right below the row.
    const QVector<int> shown = visibleNodes();
    const int delta = shown.size() - m_shown.size();
    if (delta > 0) {
        beginInsertRows(QModelIndex(), row + 1, row + delta);
        m_shown = shown;
        endInsertRows();
    } else if (delta < 0) {
        beginRemoveRows(QModelIndex(), row + 1, row - delta);
        m_shown = shown;
        endRemoveRows();
    }
    const QModelIndex changed = index(row);
    emit dataChanged(changed, changed, { ExpandedRole });
    if (delta != 0)
        emit countChanged();
}

int BookmarkTreeModel::indexOf(int folderId) const
{
    for (int row = 0; row < m_shown.size(); ++row) {
        if (m_nodes.at(m_shown.at(row)).id == folderId)
            return row;
    }
    return -1;
}

bool BookmarkTreeModel::canMoveInto(int nodeId, int targetId) const
{
    if (nodeId == targetId)
        return false;
    for (int i = 0; i < m_nodes.size(); ++i) {
        if (m_nodes.at(i).id != nodeId)
            continue;
        for (int j = i + 1; j < subtreeEnd(i); ++j) {
            if (m_nodes.at(j).id == targetId)
                return false;
        }
        return true;
    }
    return true; // not a folder: nothing below it
}

QString BookmarkTreeModel::folderTitle(int folderId) const
{
    for (const BookmarkTreeNode& node : m_nodes) {
        if (node.id == folderId)
            return node.title;
    }
    return QString();
}

int BookmarkTreeModel::childFolder(int parentId, const QString& title) const
{
    for (int i = 0; i < m_nodes.size(); ++i) {
        if (m_nodes.at(i).id != parentId)
            continue;
        const int depth = m_nodes.at(i).depth + 1;
        for (int j = i + 1; j < subtreeEnd(i); ++j) {
            if (m_nodes.at(j).depth == depth && m_nodes.at(j).title == title)
                return m_nodes.at(j).id;
        }
        return -1;
    }
    return -1;
}

void BookmarkTreeModel::setNodes(const QList<BookmarkTreeNode>& nodes)
{
    const int before = m_shown.size();
    beginResetModel();
    m_nodes = nodes;
    m_shown = visibleNodes();
    endResetModel();
    if (before != m_shown.size())
        emit countChanged();
}

void BookmarkTreeModel::renameFolder(int id, const QString& title)
{
    for (BookmarkTreeNode& node : m_nodes) {
        if (node.id == id)
            node.title = title;
    }
    const int row = indexOf(id);
    if (row >= 0)
        emit dataChanged(index(row), index(row), { TitleRole });
}

void BookmarkTreeModel::removeFolders(const QSet<int>& ids)
{
    // A folder goes with its whole subtree; the rows of one folder are a block.
    for (int i = 0; i < m_nodes.size();) {
        if (!ids.contains(m_nodes.at(i).id)) {
            ++i;
            continue;
        }
        const int end = subtreeEnd(i);
        const int first = m_shown.indexOf(i);
        int last = first;
        while (last + 1 < m_shown.size() && m_shown.at(last + 1) < end)
            ++last;
        if (first >= 0)
            beginRemoveRows(QModelIndex(), first, last);
        m_nodes.erase(m_nodes.begin() + i, m_nodes.begin() + end);
        m_shown = visibleNodes();
        if (first >= 0) {
            endRemoveRows();
            emit countChanged();
        }
    }
}
