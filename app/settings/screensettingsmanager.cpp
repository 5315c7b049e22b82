#include "screensettingsmanager.h"

#include "permission.h"
#include "storage/dbmanager.h"

ScreenSettingsManager::ScreenSettingsManager(DBManager* db, QObject* parent)
    : QObject(parent)
    , m_db(db)
    , m_dprModel(new DprModel(this))
    , m_incognitoDprModel(new BaseDprModel(this))
{
    connect(m_db, &DBManager::siteDprsAvailable, this, [this](const QList<SiteDpr>& dprs, bool isPrivate) {
        modelFor(isPrivate)->onSiteDprsAvailable(dprs);
    });
    connect(m_db, &DBManager::siteDprAdded, this, &ScreenSettingsManager::onSiteDprAdded);
    connect(
        m_db, &DBManager::deviceModeAvailable, this, [this](const QString& domain, int mode, bool isPrivate) {
            if (mode >= 0)
                m_deviceModes[isPrivate].insert(domain, mode);
            emit deviceModeAvailable(domain, mode, isPrivate);
        });
    m_db->getSiteDprs(false);
    m_db->getSiteDprs(true);
}

BaseDprModel* ScreenSettingsManager::modelFor(bool isIncognito) const
{
    return isIncognito ? m_incognitoDprModel : m_dprModel;
}

double ScreenSettingsManager::getDpr(const QString& url, bool isIncognito) const
{
    const QString site = siteKeyOf(url);
    const auto pending = m_pending[isIncognito].constFind(site);
    if (pending != m_pending[isIncognito].constEnd())
        return pending.value();
    return modelFor(isIncognito)->dprOf(site);
}

void ScreenSettingsManager::updateDpr(const QString& url, bool isIncognito, double dpr)
{
    const QString site = siteKeyOf(url);
    BaseDprModel* model = modelFor(isIncognito);
    QHash<QString, float>& pending = m_pending[isIncognito];
    if (model->rowOf(site) >= 0 || pending.contains(site)) {
        // Queued behind the add when one is pending, so it lands on the new row.
        m_db->updateDpr(site, dpr, isIncognito);
        model->setDpr(site, float(dpr));
        if (pending.contains(site))
            pending.insert(site, float(dpr));
        return;
    }
    pending.insert(site, float(dpr));
    m_db->addDpr(site, dpr, isIncognito);
}

void ScreenSettingsManager::onSiteDprAdded(const SiteDpr& dpr, bool isPrivate)
{
    if (m_removedPending[isPrivate].remove(dpr.site))
        return;
    SiteDpr row = dpr;
    const auto pending = m_pending[isPrivate].constFind(dpr.site);
    if (pending != m_pending[isPrivate].constEnd()) {
        // A later change was already sent behind the add.
        row.dpr = pending.value();
        m_pending[isPrivate].erase(pending);
    }
    modelFor(isPrivate)->onSiteDprAdded(row);
}

void ScreenSettingsManager::removeDpr(const QString& url, bool isIncognito)
{
    const QString site = siteKeyOf(url);
    m_db->removeDpr(site, isIncognito);
    if (m_pending[isIncognito].remove(site))
        m_removedPending[isIncognito].insert(site);
    modelFor(isIncognito)->removeSite(site);
}

void ScreenSettingsManager::removeSelectedDprs()
{
    // One removal per site: the batch statement matches zoom rows by the
    // sites' ids, which only meet by chance.
    const QStringList sites = m_dprModel->selectedSites();
    for (const QString& site : sites)
        removeDpr(site, false);
}

void ScreenSettingsManager::removeAllDprs()
{
    m_db->removeAllDprs();
    for (auto it = m_pending[false].cbegin(); it != m_pending[false].cend(); ++it)
        m_removedPending[false].insert(it.key());
    m_pending[false].clear();
    m_dprModel->onSiteDprsAvailable({});
}

void ScreenSettingsManager::setDeviceMode(const QString& domain, int mode, bool isIncognito)
{
    m_deviceModes[isIncognito].insert(domain, mode);
    m_db->setDeviceMode(domain, mode, isIncognito);
}

int ScreenSettingsManager::deviceMode(const QString& domain, bool isIncognito) const
{
    return m_deviceModes[isIncognito].value(domain, -1);
}

void ScreenSettingsManager::requestDeviceMode(const QString& domain, bool isIncognito)
{
    m_db->getDeviceMode(domain, isIncognito);
}
