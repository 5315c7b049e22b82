#include "permissionsmodel.h"

#include "utils/filepathutils.h"

#include <QUrl>

QString siteKeyOf(const QString& url)
{
    if (QUrl(url).host().isEmpty())
        return url;
    return FilePathUtils::instance()->getBaseUrl(url);
}

namespace
{
QList<int> normalised(QList<int> policies)
{
    while (policies.size() < Permission::typeCount)
        policies.append(Permission::InvalidResponse);
    policies.erase(policies.begin() + Permission::typeCount, policies.end());
    for (int& value : policies) {
        if (value < Permission::Deny || value > Permission::AlwaysAsk)
            value = Permission::InvalidResponse;
    }
    return policies;
}
} // namespace

PermissionsModel::PermissionsModel(QObject* parent)
    : QAbstractListModel(parent)
{
}

int PermissionsModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_rows.size();
}

QVariant PermissionsModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const SitePermissions& row = m_rows.at(index.row());
    if (role == UrlRole)
        return row.site;
    if (role < CameraRole || role > CookiesRole)
        return {};
    const int value = row.policies.value(role - 1, Permission::InvalidResponse);
    return value < 0 ? QVariant() : QVariant(value);
}

QHash<int, QByteArray> PermissionsModel::roleNames() const
{
    return {
        { UrlRole, "url" },
        { CameraRole, "camera" },
        { MicrophoneRole, "microphone" },
        { GeolocationRole, "geolocation" },
        { NotificationRole, "notification" },
        { ScreenCaptureRole, "screenCapture" },
        { PopupsRole, "popups" },
        { CookiesRole, "cookies" },
    };
}

void PermissionsModel::getUrlPermissionsList(QVariantList* list) const
{
    if (!list)
        return;
    const QHash<int, QByteArray> names = roleNames();
    for (int row = 0; row < m_rows.size(); ++row) {
        QVariantMap entry;
        for (auto it = names.constBegin(); it != names.constEnd(); ++it)
            entry.insert(QString::fromLatin1(it.value()), data(index(row), it.key()));
        list->append(entry);
    }
}

QString PermissionsModel::getUrl(int row) const
{
    return row >= 0 && row < m_rows.size() ? m_rows.at(row).site : QString();
}

QVariantList PermissionsModel::getAllowedList(const QString& site) const
{
    QVariantList allowed;
    const QList<int> policies = policiesOf(site);
    for (int type = 0; type < policies.size(); ++type) {
        if (policies.at(type) == Permission::Allow)
            allowed.append(type);
    }
    return allowed;
}

int PermissionsModel::getPermission(const QString& site, int type) const
{
    return policiesOf(site).value(type, Permission::InvalidResponse);
}

int PermissionsModel::rowOf(const QString& site) const
{
    const QString key = siteKeyOf(site);
    for (int row = 0; row < m_rows.size(); ++row) {
        if (m_rows.at(row).site == key)
            return row;
    }
    return -1;
}

QList<int> PermissionsModel::policiesOf(const QString& site) const
{
    const int row = rowOf(site);
    return row < 0 ? normalised({}) : m_rows.at(row).policies;
}

void PermissionsModel::setPolicies(const QString& site, const QList<int>& policies)
{
    const int row = rowOf(site);
    if (row >= 0) {
        m_rows[row].policies = normalised(policies);
        emit dataChanged(index(row), index(row));
    } else {
        beginInsertRows(QModelIndex(), m_rows.size(), m_rows.size());
        m_rows.append({ siteKeyOf(site), normalised(policies) });
        endInsertRows();
    }
    emit permissionsChanged();
}

void PermissionsModel::removeSite(const QString& site)
{
    const int row = rowOf(site);
    if (row < 0)
        return;
    beginRemoveRows(QModelIndex(), row, row);
    m_rows.removeAt(row);
    endRemoveRows();
    emit permissionsChanged();
}

void PermissionsModel::removeAll()
{
    beginResetModel();
    m_rows.clear();
    endResetModel();
    emit allPermissionsRemoved();
    emit permissionsChanged();
}

void PermissionsModel::onPermissionsAvailable(const QList<SitePermissions>& permissions)
{
    beginResetModel();
    m_rows.clear();
    m_rows.reserve(permissions.size());
    for (const SitePermissions& site : permissions)
        m_rows.append({ site.site, normalised(site.policies) });
    endResetModel();
    emit permissionsChanged();
}
