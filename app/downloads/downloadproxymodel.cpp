#include "downloadproxymodel.h"

#include "downloadmodel.h"

DownloadProxyModel::DownloadProxyModel(QObject* parent)
    : QSortFilterProxyModel(parent)
{
    setDynamicSortFilter(true);
    setSortRole(DownloadModel::DateRole);
    sort(0, Qt::DescendingOrder);
}

void DownloadProxyModel::setKind(const QString& kind)
{
    if (kind == m_kind)
        return;
    m_kind = kind;
    invalidateFilter();
    emit kindChanged();
}

void DownloadProxyModel::setSearchText(const QString& text)
{
    if (text == m_searchText)
        return;
    m_searchText = text;
    invalidateFilter();
    emit searchTextChanged();
}

bool DownloadProxyModel::filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const
{
    const QModelIndex index = sourceModel()->index(sourceRow, 0, sourceParent);
    if (!m_kind.isEmpty() && index.data(DownloadModel::KindRole).toString() != m_kind)
        return false;
    if (m_searchText.isEmpty())
        return true;
    return index.data(DownloadModel::FileNameRole).toString().contains(m_searchText, Qt::CaseInsensitive)
        || index.data(DownloadModel::UrlRole).toString().contains(m_searchText, Qt::CaseInsensitive);
}

bool DownloadProxyModel::lessThan(const QModelIndex& left, const QModelIndex& right) const
{
    const QDateTime a = left.data(DownloadModel::DateRole).toDateTime();
    const QDateTime b = right.data(DownloadModel::DateRole).toDateTime();
    // Same instant: the later one in the list is the newer one.
    return a == b ? left.row() < right.row() : a < b;
}
