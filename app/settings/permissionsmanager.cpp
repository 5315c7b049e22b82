#include "permissionsmanager.h"

#include "storage/dbmanager.h"
#include "utils/logcategories.h"

#include <permissionmanager.h>

namespace
{
using namespace Orvane::WebView;

// Only the kinds the engine has its own request types for are forwarded.
const unsigned int engineRequestTypes[] = {
    Permissions::Camera,
    Permissions::Microphone,
    Permissions::Geolocation,
    Permissions::Notification,
};
const int forwardedTypes = 4;

int responseOf(const QVariant& value)
{
    if (value.isNull() || !value.isValid())
        return Permission::InvalidResponse;
    if (value.userType() == QMetaType::Bool)
        return value.toBool() ? Permission::Allow : Permission::Deny;
    bool ok = false;
    const int number = value.toInt(&ok);
    return ok && number >= Permission::Deny && number <= Permission::AlwaysAsk ? number
                                                                               : Permission::InvalidResponse;
}
} // namespace

PermissionsManager::PermissionsManager(QObject* parent)
    : PermissionsManager(DBManager::instance(), PermissionManager::GetInstance(), parent)
{
}

PermissionsManager::PermissionsManager(DBManager* db, PermissionManager* engine, QObject* parent)
    : QObject(parent)
    , m_db(db)
    , m_engine(engine)
    , m_model(new PermissionsModel(this))
{
    connect(m_db, &DBManager::permissionsAvailable, m_model, &PermissionsModel::onPermissionsAvailable);
    // The desktop engine keeps answers only in memory: the stored ones are handed
    // over whenever they are read, so a refused site stays refused after a restart.
    connect(m_model, &QAbstractItemModel::modelReset, this, &PermissionsManager::forwardAll);
    m_db->getPermissions();
}

void PermissionsManager::store(const QString& site, const QList<int>& policies)
{
    m_model->setPolicies(site, policies);
    // The whole row, not one column: it also creates the row of a site seen
    // for the first time, and it covers popups and cookies.
    m_db->addPermissions(siteKeyOf(site), m_model->policiesOf(site));
}

void PermissionsManager::forward(const QString& site, int type, int response)
{
    const unsigned int requestType = engineRequestTypes[type];
    if (response == Permission::Allow || response == Permission::Deny)
        m_engine->setPermission(site, requestType, response == Permission::Allow ? 0 : 2);
    else
        m_engine->resetPermission(site, requestType);
}

void PermissionsManager::forwardAll()
{
    for (int row = 0; row < m_model->rowCount(); ++row) {
        const QString site = m_model->getUrl(row);
        const QList<int> policies = m_model->policiesOf(site);
        for (int type = 0; type < forwardedTypes; ++type)
            forward(site, type, policies.at(type));
    }
}

void PermissionsManager::addPermissions(const QString& url, const QVariantList& policies)
{
    QList<int> values;
    for (const QVariant& value : policies)
        values.append(responseOf(value));
    store(url, values);
    const QList<int> stored = m_model->policiesOf(url);
    for (int type = 0; type < forwardedTypes; ++type)
        forward(url, type, stored.at(type));
}

void PermissionsManager::updatePermission(const QString& url, int type, const QVariant& value)
{
    if (type < 0 || type >= Permission::typeCount) {
        qCCritical(lcPermissions) << "unexpected permission type requested!";
        return;
    }
    const int response = responseOf(value);
    QList<int> policies = m_model->policiesOf(url);
    policies[type] = response;
    store(url, policies);
    if (type >= forwardedTypes) {
        qCCritical(lcPermissions) << "unexpected permission type requested!";
        return;
    }
    forward(url, type, response);
}

void PermissionsManager::revokePermissions(const QString& url)
{
    m_db->revokePermissions(siteKeyOf(url));
    if (m_model->rowOf(url) >= 0)
        m_model->setPolicies(url, {});
    for (int type = 0; type < forwardedTypes; ++type)
        forward(url, type, Permission::InvalidResponse);
}

void PermissionsManager::removePermissionsData(const QString& url)
{
    m_db->removePermissionsData(siteKeyOf(url));
    m_model->removeSite(url);
    for (int type = 0; type < forwardedTypes; ++type)
        forward(url, type, Permission::InvalidResponse);
}

void PermissionsManager::removeAllPermissions()
{
    for (int row = 0; row < m_model->rowCount(); ++row) {
        for (int type = 0; type < forwardedTypes; ++type)
            forward(m_model->getUrl(row), type, Permission::InvalidResponse);
    }
    m_db->removeAllPermissions();
    m_model->removeAll();
}
