#include "permissionsproxymodel.h"

#include "permissionsmodel.h"

PermissionsProxyModel::PermissionsProxyModel(QObject* parent)
    : QSortFilterProxyModel(parent)
{
    // Sites read alphabetically in the settings pages.
    setSortRole(PermissionsModel::UrlRole);
    setSortCaseSensitivity(Qt::CaseInsensitive);
    sort(0);
    connect(this, &QAbstractItemModel::rowsInserted, this, &PermissionsProxyModel::countChanged);
    connect(this, &QAbstractItemModel::rowsRemoved, this, &PermissionsProxyModel::countChanged);
    connect(this, &QAbstractItemModel::modelReset, this, &PermissionsProxyModel::countChanged);
    connect(this, &QAbstractItemModel::layoutChanged, this, &PermissionsProxyModel::countChanged);
}

void PermissionsProxyModel::setPermissionType(Permission::PermissionType type)
{
    if (type == m_permissionType)
        return;
    m_permissionType = type;
    refilter();
    emit permissionTypeChanged();
}

void PermissionsProxyModel::setResponseType(Permission::ResponseType type)
{
    if (type == m_responseType)
        return;
    m_responseType = type;
    refilter();
    emit responseTypeChanged();
}

void PermissionsProxyModel::setFilter(const QString& filter)
{
    if (filter == m_filter)
        return;
    m_filter = filter;
    refilter();
    emit filterChanged();
}

void PermissionsProxyModel::refilter()
{
    invalidateFilter();
    emit countChanged();
}

bool PermissionsProxyModel::filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const
{
    const QModelIndex row = sourceModel()->index(sourceRow, 0, sourceParent);
    const QString url = row.data(PermissionsModel::UrlRole).toString();
    const bool textMatches = url.contains(m_filter, Qt::CaseInsensitive);
    if (m_permissionType == Permission::InvalidPermission && m_responseType == Permission::InvalidResponse)
        return textMatches;
    const QVariant value = row.data(m_permissionType + 1);
    return !value.isNull() && value.toInt() == m_responseType && textMatches;
}
