#include "basehistorymodel.h"

#include <algorithm>

namespace
{
// Above this many rows a removal resets the model instead of removing row by row.
constexpr int bulkRemoval = 64;
} // namespace

BaseHistoryModel::BaseHistoryModel(QObject* parent)
    : QAbstractListModel(parent)
{
}

int BaseHistoryModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_links.size();
}

QVariant BaseHistoryModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || !isValidRow(index.row()))
        return QVariant();
    const Link& link = m_links.at(index.row());
    switch (role) {
    case UrlRole:
        return link.url;
    case TitleRole:
        return link.title.isEmpty() ? link.url : link.title;
    case DateRole:
        return link.date;
    case HistoryIdRole:
        return link.id;
    case BookmarkedRole:
        return link.bookmarked;
    case SelectedRole:
        return m_selection.contains(link.id);
    case IconRole: // the front end takes icons from FaviconsMap
    default:
        return QVariant();
    }
}

QHash<int, QByteArray> BaseHistoryModel::roleNames() const
{
    return {
        { UrlRole, "url" },
        { TitleRole, "title" },
        { DateRole, "date" },
        { IconRole, "icon" },
        { HistoryIdRole, "historyId" },
        { BookmarkedRole, "bookmarked" },
        { SelectedRole, "selected" },
    };
}

void BaseHistoryModel::setBookmarked(int index, bool bookmarked)
{
    if (!isValidRow(index) || m_links.at(index).bookmarked == bookmarked)
        return;
    m_links[index].bookmarked = bookmarked;
    const QModelIndex changed = this->index(index);
    emit dataChanged(changed, changed, { BookmarkedRole });
    updateSelectionCounts();
}

void BaseHistoryModel::toggleSelection(int index)
{
    if (!isValidRow(index))
        return;
    const int id = m_links.at(index).id;
    if (!m_selection.remove(id))
        m_selection.insert(id);
    const QModelIndex changed = this->index(index);
    emit dataChanged(changed, changed, { SelectedRole });
    updateSelectionCounts();
}

void BaseHistoryModel::selectAll()
{
    for (const Link& link : qAsConst(m_links))
        m_selection.insert(link.id);
    if (!m_links.isEmpty())
        emit dataChanged(index(0), index(m_links.size() - 1), { SelectedRole });
    updateSelectionCounts();
}

void BaseHistoryModel::deselectAll()
{
    // Also forgets entries selected under another filter: "none" means none.
    m_selection.clear();
    if (!m_links.isEmpty())
        emit dataChanged(index(0), index(m_links.size() - 1), { SelectedRole });
    updateSelectionCounts();
}

int BaseHistoryModel::getSelectedIndex() const
{
    for (int row = 0; row < m_links.size(); ++row) {
        if (m_selection.contains(m_links.at(row).id))
            return row;
    }
    return -1;
}

QList<int> BaseHistoryModel::getSelectedIndexes() const
{
    QList<int> rows;
    if (m_selection.isEmpty())
        return rows;
    for (int row = 0; row < m_links.size(); ++row) {
        if (m_selection.contains(m_links.at(row).id))
            rows.append(row);
    }
    return rows;
}

void BaseHistoryModel::onTitleUpdated(const QString& url, const QString& title)
{
    for (int row = 0; row < m_links.size(); ++row) {
        if (m_links.at(row).url == url)
            setRowTitle(row, title);
    }
}

void BaseHistoryModel::setLinks(const QList<Link>& links)
{
    beginResetModel();
    m_links = links;
    endResetModel();
    emit countChanged();
    updateSelectionCounts();
}

void BaseHistoryModel::removeLocalRows(const QList<int>& rows)
{
    QList<int> sorted;
    for (int row : rows) {
        if (isValidRow(row))
            sorted.append(row);
    }
    std::sort(sorted.begin(), sorted.end(), std::greater<int>());
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    if (sorted.size() > bulkRemoval) {
        // One reset beats thousands of single removals that each shift the list.
        QList<Link> kept;
        int next = sorted.size() - 1;
        for (int row = 0; row < m_links.size(); ++row) {
            if (next >= 0 && sorted.at(next) == row) {
                m_selection.remove(m_links.at(row).id);
                --next;
                continue;
            }
            kept.append(m_links.at(row));
        }
        setLinks(kept);
        return;
    }
    bool removed = false;
    for (int row : qAsConst(sorted)) {
        if (!isValidRow(row))
            continue;
        beginRemoveRows(QModelIndex(), row, row);
        m_selection.remove(m_links.takeAt(row).id);
        endRemoveRows();
        removed = true;
    }
    if (!removed)
        return;
    emit countChanged();
    updateSelectionCounts();
}

QSet<int> BaseHistoryModel::selectedIds() const
{
    QSet<int> ids;
    for (const Link& link : m_links) {
        if (m_selection.contains(link.id))
            ids.insert(link.id);
    }
    return ids;
}

void BaseHistoryModel::setRowTitle(int row, const QString& title)
{
    if (!isValidRow(row) || m_links.at(row).title == title)
        return;
    m_links[row].title = title;
    emit dataChanged(index(row), index(row), { TitleRole });
}

void BaseHistoryModel::setRowUrl(int row, const QString& url)
{
    if (!isValidRow(row) || m_links.at(row).url == url)
        return;
    m_links[row].url = url;
    // An empty title shows the url, so the title role changes with it.
    emit dataChanged(index(row), index(row), { UrlRole, TitleRole });
}

bool BaseHistoryModel::isInternalUrl(const QString& url)
{
    // Case-sensitive on purpose: only the engine's own spelling is internal.
    return url.startsWith(QLatin1String("about:")) || url.startsWith(QLatin1String("chrome:"));
}

void BaseHistoryModel::updateSelectionCounts()
{
    int selected = 0;
    int bookmarked = 0;
    if (!m_selection.isEmpty()) {
        for (const Link& link : qAsConst(m_links)) {
            if (m_selection.contains(link.id)) {
                ++selected;
                bookmarked += link.bookmarked ? 1 : 0;
            }
        }
    }
    if (selected != m_selectedCount) {
        m_selectedCount = selected;
        emit selectedCountChanged();
    }
    if (bookmarked != m_selectedBookmarksCount) {
        m_selectedBookmarksCount = bookmarked;
        emit selectedBookmarksCountChanged();
    }
}
