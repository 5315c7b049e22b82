#pragma once

#include "permission.h"

#include <QSortFilterProxyModel>

// The settings pages' view of the per-site answers: all sites matching a search
// text, or only those with one answer for one permission kind.
class PermissionsProxyModel : public QSortFilterProxyModel
{
    Q_OBJECT
    // Rows that pass the filter.
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    // The kind to filter on; InvalidPermission lists every site.
    Q_PROPERTY(Permission::PermissionType permissionType READ permissionType WRITE setPermissionType NOTIFY
            permissionTypeChanged)
    // The answer the kind must have; InvalidResponse lists every site.
    Q_PROPERTY(Permission::ResponseType responseType READ responseType WRITE setResponseType NOTIFY
            responseTypeChanged)
    // Text the site must contain, case-insensitively.
    Q_PROPERTY(QString filter READ filter WRITE setFilter NOTIFY filterChanged)
public:
    explicit PermissionsProxyModel(QObject* parent = nullptr);

    int count() const { return rowCount(); }
    Permission::PermissionType permissionType() const { return m_permissionType; }
    void setPermissionType(Permission::PermissionType type);
    Permission::ResponseType responseType() const { return m_responseType; }
    void setResponseType(Permission::ResponseType type);
    QString filter() const { return m_filter; }
    void setFilter(const QString& filter);

signals:
    void countChanged();
    void permissionTypeChanged();
    void responseTypeChanged();
    void filterChanged();

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;

private:
    void refilter();

    Permission::PermissionType m_permissionType = Permission::InvalidPermission;
    Permission::ResponseType m_responseType = Permission::InvalidResponse;
    QString m_filter;
};
