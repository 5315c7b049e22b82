#include "tabsmodel.h"

#include "settings/permission.h"
#include "storage/dbmanager.h"
#include "tabmanager.h"
#include "utils/filepathutils.h"
#include "utils/logcategories.h"

#include <QSet>

// Per-tab site settings and the live web views of the tab list.

namespace
{
// Used within the last minute: never discarded.
const qint64 recentlyUsedMs = 59999;
// Idle for over ten minutes: discarded without waiting for its turn.
const qint64 longIdleMs = 600000;
// A web view just made counts as used a moment ahead, so that a discard asked
// for in the same instant never picks the tab that is being opened.
const qint64 headStartMs = 20;
} // namespace

int TabsModel::getTempPermission(int index, int type) const
{
    return isValidRow(index) ? m_tabs.at(index).tempPermissions.value(type, Permission::InvalidResponse)
                             : Permission::InvalidResponse;
}

QVariantList TabsModel::getTempPermissions(const QString& host) const
{
    const int row = findTabByHost(host);
    return row < 0 ? QVariantList() : data(index(row, 0), TempPermissionsRole).toList();
}

void TabsModel::addPermissions(const QString& host, const QVariantList& policies)
{
    const int row = findTabByHost(host);
    if (row < 0)
        return;
    QHash<int, int>& answers = m_tabs[row].tempPermissions;
    const QHash<int, int> before = answers;
    for (int type = 0; type < qMin(policies.size(), int(Permission::typeCount)); ++type) {
        const int answer = policies.at(type).toInt();
        if (answer >= Permission::Deny && answer <= Permission::AlwaysAsk)
            answers.insert(type, answer);
    }
    if (answers != before)
        changed(row, TempPermissionsRole);
}

void TabsModel::removeTempPermissions(const QString& host)
{
    const int row = findTabByHost(host);
    if (row >= 0 && !m_tabs.at(row).tempPermissions.isEmpty()) {
        m_tabs[row].tempPermissions.clear();
        changed(row, TempPermissionsRole);
    }
}

void TabsModel::setDpr(const QString& site, float dpr)
{
    const QString key = siteKeyOf(site);
    for (int row = 0; row < m_tabs.size(); ++row) {
        if (siteKeyOf(m_tabs.at(row).url) == key && m_tabs.at(row).dpr != dpr) {
            m_tabs[row].dpr = dpr;
            changed(row, DprRole);
        }
    }
}

void TabsModel::resetDprs()
{
    for (int row = 0; row < m_tabs.size(); ++row) {
        if (m_tabs.at(row).dpr != -1.0) {
            m_tabs[row].dpr = -1.0;
            changed(row, DprRole);
        }
    }
}

void TabsModel::setDeviceMode(const QString& domain, int mode)
{
    FilePathUtils* urls = FilePathUtils::instance();
    for (int row = 0; row < m_tabs.size(); ++row) {
        if (urls->getDomain(m_tabs.at(row).url) == domain && m_tabs.at(row).deviceMode != mode) {
            m_tabs[row].deviceMode = mode;
            changed(row, DeviceModeRole);
        }
    }
    if (!m_isIncognito)
        m_db->setDeviceMode(domain, mode, false);
}

TabActivity TabsModel::freshActivity(bool isProtected) const
{
    return { TabManager::instance()->elapsed() + headStartMs, isProtected };
}

void TabsModel::addLiveTab(int tabId, bool isProtected)
{
    m_liveTabs.insert(tabId, freshActivity(isProtected));
}

bool TabsModel::isProtected(int tabId) const
{
    return m_liveTabs.value(tabId).isProtected;
}

void TabsModel::removeLiveTab(int tabId)
{
    m_liveTabs.remove(tabId);
}

void TabsModel::updateTabActivity(int tabId, bool isProtected, bool updateLastUsed)
{
    auto it = m_liveTabs.find(tabId);
    if (it == m_liveTabs.end())
        return;
    if (updateLastUsed)
        it->lastUsed = TabManager::instance()->elapsed();
    it->isProtected = isProtected;
}

void TabsModel::findCandidateDiscardTab(const QList<int>& tabsWithDownloads)
{
    const qint64 now = TabManager::instance()->elapsed();
    int candidate = -1;
    qint64 oldest = std::numeric_limits<qint64>::max();
    const QSet<int> excluded(tabsWithDownloads.cbegin(), tabsWithDownloads.cend());
    // Copied: a receiver of discardTab may remove the record at once.
    const QHash<int, TabActivity> live = m_liveTabs;
    for (auto it = live.cbegin(); it != live.cend(); ++it) {
        const qint64 age = now - it->lastUsed;
        qCInfo(lcTabs) << "Candidate tabId:" << it.key() << "lastUsed:" << age / 1000 << "seconds ago";
        if (it->isProtected || excluded.contains(it.key()) || age <= recentlyUsedMs)
            continue;
        if (age > longIdleMs)
            discard(it.key(), it->lastUsed, now);
        else if (it->lastUsed < oldest) {
            oldest = it->lastUsed;
            candidate = it.key();
        }
    }
    if (candidate != -1)
        discard(candidate, m_liveTabs.value(candidate, freshActivity(false)).lastUsed, now);
}

void TabsModel::discard(int tabId, qint64 lastUsed, qint64 now)
{
    qCInfo(lcTabs) << "Discard tabId:" << tabId << "lastUsed:" << (now - lastUsed) / 1000 << "seconds ago";
    emit discardTab(tabId);
}
