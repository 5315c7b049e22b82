#include "bookmarkmodel.h"

#include "bookmarkmanager.h"
#include "history/faviconsmap.h"
#include "utils/filepathutils.h"

BookmarkModel::BookmarkModel(QObject* parent)
    : QAbstractListModel(parent)
{
    connect(FaviconsMap::instance(), &FaviconsMap::valueChanged, this, &BookmarkModel::onFaviconChanged);
    connect(FaviconsMap::instance(), &FaviconsMap::faviconsLoaded, this, &BookmarkModel::onFaviconsLoaded);
}

BookmarkModel::BookmarkModel(BookmarkManager* manager, int folderId, QObject* parent)
    : BookmarkModel(parent)
{
    m_manager = manager;
    m_folderId = folderId;
}

BookmarkModel::~BookmarkModel()
{
    if (m_manager)
        m_manager->detach(this);
}

BookmarkManager* BookmarkModel::manager()
{
    if (!m_manager)
        m_manager = BookmarkManager::instance();
    return m_manager;
}

int BookmarkModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_rows.size();
}

QVariant BookmarkModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return QVariant();
    const Bookmark& row = m_rows.at(index.row());
    switch (role) {
    case IdRole:
        return row.id;
    case TitleRole:
        return row.title;
    case UrlRole:
        return row.url;
    case IsFolderRole:
        // Only a folder has no url at all; a bookmark's url may be empty.
        return row.url.isNull();
    case FaviconRole:
        return row.url.isEmpty() ? QString() : FaviconsMap::instance()->getFavicon(row.url);
    case SelectedRole:
        return m_selection.contains(row.id);
    default:
        return QVariant();
    }
}

QHash<int, QByteArray> BookmarkModel::roleNames() const
{
    return {
        { IdRole, "id" },
        { TitleRole, "title" },
        { UrlRole, "url" },
        { IsFolderRole, "isFolder" },
        { FaviconRole, "favicon" },
        { SelectedRole, "selected" },
    };
}

void BookmarkModel::setFolderId(int folderId)
{
    if (m_folderId == folderId)
        return;
    m_folderId = folderId;
    m_selection.clear(); // another folder: nothing of it was chosen yet
    emit folderIdChanged();
    emit selectedCountChanged();
    refresh();
}

void BookmarkModel::setFilter(const QString& filter)
{
    if (m_filter == filter)
        return;
    m_filter = filter;
    emit filterChanged();
    refresh();
}

int BookmarkModel::selectedCount() const
{
    return selectedIds().size();
}

bool BookmarkModel::selectionHasFolder() const
{
    for (const Bookmark& row : m_rows) {
        if (row.url.isNull() && m_selection.contains(row.id))
            return true;
    }
    return false;
}

void BookmarkModel::toggleSelection(int row)
{
    if (row < 0 || row >= m_rows.size())
        return;
    const int id = m_rows.at(row).id;
    if (!m_selection.remove(id))
        m_selection.insert(id);
    emit dataChanged(index(row), index(row), { SelectedRole });
    emit selectedCountChanged();
}

void BookmarkModel::selectAll()
{
    for (const Bookmark& row : qAsConst(m_rows))
        m_selection.insert(row.id);
    if (!m_rows.isEmpty())
        emit dataChanged(index(0), index(m_rows.size() - 1), { SelectedRole });
    emit selectedCountChanged();
}

void BookmarkModel::deselectAll()
{
    m_selection.clear();
    if (!m_rows.isEmpty())
        emit dataChanged(index(0), index(m_rows.size() - 1), { SelectedRole });
    emit selectedCountChanged();
}

QList<int> BookmarkModel::selectedIds() const
{
    QList<int> ids;
    for (const Bookmark& row : m_rows) {
        if (m_selection.contains(row.id))
            ids.append(row.id);
    }
    return ids;
}

void BookmarkModel::removeSelected()
{
    const QList<int> ids = selectedIds();
    if (!ids.isEmpty())
        manager()->removeBookmarkNodes(ids, selectionHasFolder());
}

void BookmarkModel::moveSelected(int newParentId)
{
    const QList<int> ids = selectedIds();
    if (!ids.isEmpty())
        manager()->moveBookmarkNodes(ids, newParentId, selectionHasFolder());
}

int BookmarkModel::indexOf(int id) const
{
    for (int row = 0; row < m_rows.size(); ++row) {
        if (m_rows.at(row).id == id)
            return row;
    }
    return -1;
}

void BookmarkModel::refresh()
{
    manager()->refresh(this);
}

void BookmarkModel::setRows(const QList<Bookmark>& rows)
{
    const int before = m_rows.size();
    const int selectedBefore = selectedCount();
    beginResetModel();
    m_rows = rows;
    endResetModel();
    if (before != m_rows.size())
        emit countChanged();
    if (selectedBefore != selectedCount())
        emit selectedCountChanged();
}

void BookmarkModel::removeIds(const QSet<int>& ids)
{
    bool selectionChanged = false;
    for (int row = m_rows.size() - 1; row >= 0; --row) {
        if (!ids.contains(m_rows.at(row).id))
            continue;
        beginRemoveRows(QModelIndex(), row, row);
        selectionChanged |= m_selection.remove(m_rows.takeAt(row).id);
        endRemoveRows();
        emit countChanged();
    }
    if (selectionChanged)
        emit selectedCountChanged();
}

void BookmarkModel::updateRow(int id, const QString& title, const QString& url)
{
    const int row = indexOf(id);
    if (row < 0)
        return;
    m_rows[row].title = title;
    // A bookmark whose address is cleared stays a bookmark, as it does in the file.
    m_rows[row].url = url.isEmpty() && !m_rows.at(row).url.isNull() ? QString(QLatin1String("")) : url;
    emit dataChanged(index(row), index(row), { TitleRole, UrlRole, IsFolderRole, FaviconRole });
}

void BookmarkModel::onFaviconChanged(const QString& baseUrl)
{
    for (int row = 0; row < m_rows.size(); ++row) {
        if (!m_rows.at(row).url.isEmpty()
            && FilePathUtils::instance()->getBaseUrl(m_rows.at(row).url) == baseUrl)
            emit dataChanged(index(row), index(row), { FaviconRole });
    }
}

void BookmarkModel::onFaviconsLoaded()
{
    if (!m_rows.isEmpty())
        emit dataChanged(index(0), index(m_rows.size() - 1), { FaviconRole });
}
