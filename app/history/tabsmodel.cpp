#include "tabsmodel.h"

#include "settings/permission.h"
#include "settings/settingsmanager.h"
#include "storage/dbmanager.h"
#include "tabmanager.h"
#include "utils/filepathutils.h"

TabsModel::TabsModel(QObject* parent)
    : TabsModel(DBManager::instance(), SettingsManager::instance(), parent)
{
}

TabsModel::TabsModel(DBManager* db, SettingsManager* settings, QObject* parent)
    : QAbstractListModel(parent)
    , m_db(db)
    , m_settings(settings)
{
    // Storage reports the stored device mode of a site a new tab opened on.
    connect(m_db, &DBManager::tabDeviceModeChanged, this, [this](int row, int mode, bool isIncognito) {
        if (isIncognito == m_isIncognito && isValidRow(row) && m_tabs.at(row).deviceMode != mode) {
            m_tabs[row].deviceMode = mode;
            changed(row, DeviceModeRole);
        }
    });
}

int TabsModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_tabs.size();
}

QVariant TabsModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || !isValidRow(index.row()))
        return QVariant();
    const Tab& tab = m_tabs.at(index.row());
    switch (role) {
    case TabIdRole:
        return tab.id;
    case UrlRole:
        return tab.url;
    case TitleRole:
        return tab.title;
    case DeviceModeRole:
        return tab.deviceMode;
    case ScreenshotRole:
        return tab.screenshotPath;
    case PopupWindowRole:
        return QVariant::fromValue(tab.popupWindow.data());
    case DprRole:
        return tab.dpr;
    case TempPermissionsRole: {
        QVariantList answers;
        for (int type = 0; type < Permission::typeCount; ++type)
            answers << tab.tempPermissions.value(type, Permission::InvalidResponse);
        return answers;
    }
    default:
        return QVariant();
    }
}

QHash<int, QByteArray> TabsModel::roleNames() const
{
    return {
        { TabIdRole, "tabId" },
        { UrlRole, "url" },
        { TitleRole, "title" },
        { DeviceModeRole, "deviceMode" },
        { ScreenshotRole, "screenshot" },
        { PopupWindowRole, "popupWindow" },
        { DprRole, "dpr" },
        { TempPermissionsRole, "tempPermissions" },
    };
}

void TabsModel::setSelectedTab(int row)
{
    if (!isValidRow(row))
        row = -1;
    if (row == m_selectedTab)
        return;
    const QString screenshot = currentScreenshot();
    m_selectedTab = row;
    rememberSelected();
    emit selectedTabChanged();
    if (currentScreenshot() != screenshot)
        emit currentScreenshotChanged();
}

void TabsModel::rememberSelected()
{
    // The next run opens on the tab the user was on; private tabs do not come back.
    if (!m_isIncognito && m_settings && isValidRow(m_selectedTab))
        m_settings->setLastOpenedTabID(m_tabs.at(m_selectedTab).id);
}

void TabsModel::setLastOpenedTabIndex(int row)
{
    if (row == m_lastOpenedTabIndex)
        return;
    m_lastOpenedTabIndex = row;
    emit lastOpenedTabIndexChanged();
}

QString TabsModel::currentScreenshot() const
{
    return isValidRow(m_selectedTab) ? m_tabs.at(m_selectedTab).screenshotPath : QString();
}

void TabsModel::setIsIncognito(bool isIncognito)
{
    // The mode is chosen once, at start: switching a running model would mix
    // private tabs into the stored list or the other way round.
    if (isIncognito == m_isIncognito || m_incognitoFixed)
        return;
    m_isIncognito = isIncognito;
    m_incognitoFixed = true;
    emit isIncognitoChanged();
    if (!m_isIncognito) {
        connect(m_db, &DBManager::tabsAvailable, this, &TabsModel::tabsAvailable, Qt::UniqueConnection);
        m_db->getTabs();
    }
}

void TabsModel::insert(
    int index, const QList<QString>& url, const QList<QString>& title, QObject* popupWindow)
{
    if (index < 0 || index > m_tabs.size() || url.isEmpty())
        return;
    if (popupWindow && url.size() != 1)
        qFatal("Can't insert several tabs with popupWindow");

    ScreenSettingsManager* screen = m_settings ? m_settings->screenSettingsManager() : nullptr;
    FilePathUtils* urls = FilePathUtils::instance();
    QList<int> ids;
    beginInsertRows(QModelIndex(), index, index + url.size() - 1);
    for (int i = 0; i < url.size(); ++i) {
        Tab tab;
        tab.id = TabManager::instance()->nextTabId();
        tab.url = url.at(i);
        tab.title = title.value(i);
        tab.orderIndex = index + i;
        tab.popupWindow = popupWindow;
        if (screen) {
            tab.dpr = screen->getDpr(tab.url, m_isIncognito);
            tab.deviceMode = screen->deviceMode(urls->getDomain(tab.url), m_isIncognito);
        }
        m_tabs.insert(index + i, tab);
        ids << tab.id;
    }
    endInsertRows();
    // Stored at once, so a tab opened just before a crash is there in the next run.
    if (!m_isIncognito)
        m_db->addTabs(ids, index, url, title, false);
    if (m_selectedTab >= index) {
        m_selectedTab += url.size();
        emit selectedTabChanged();
    }
    setLastOpenedTabIndex(index + url.size() - 1);
    emit countChanged();
}

void TabsModel::remove(int index)
{
    if (!isValidRow(index))
        return;
    const QString screenshot = currentScreenshot();
    const int tabId = m_tabs.at(index).id;
    beginRemoveRows(QModelIndex(), index, index);
    m_tabs.removeAt(index);
    endRemoveRows();
    // Gone from the file too: a closed tab does not come back with the next run.
    if (!m_isIncognito)
        m_db->removeTab(tabId, index, false);

    if (m_lastOpenedTabIndex == index)
        setLastOpenedTabIndex(-1);
    else if (m_lastOpenedTabIndex > index)
        setLastOpenedTabIndex(m_lastOpenedTabIndex - 1);
    if (m_selectedTab > index) {
        --m_selectedTab;
        emit selectedTabChanged();
    } else if (m_selectedTab == index) {
        // Closing the tab on screen shows its neighbour: the next one, else the one before.
        m_selectedTab = qMin(index, m_tabs.size() - 1);
        rememberSelected();
        emit selectedTabChanged();
    }
    if (currentScreenshot() != screenshot)
        emit currentScreenshotChanged();
    emit countChanged();
}

void TabsModel::clear()
{
    const bool hadScreenshot = !currentScreenshot().isEmpty();
    beginResetModel();
    m_tabs.clear();
    endResetModel();
    if (!m_isIncognito)
        m_db->clearTabs(false);
    if (m_selectedTab != -1) {
        m_selectedTab = -1;
        emit selectedTabChanged();
    }
    setLastOpenedTabIndex(-1);
    if (hadScreenshot)
        emit currentScreenshotChanged();
    emit countChanged();
}

int TabsModel::getTabID(int index) const
{
    return isValidRow(index) ? m_tabs.at(index).id : -1;
}

void TabsModel::setScreenshotToDB(int index, const QString& screenshot)
{
    if (!isValidRow(index) || m_tabs.at(index).screenshotPath == screenshot)
        return;
    m_tabs[index].screenshotPath = screenshot;
    changed(index, ScreenshotRole);
    if (!m_isIncognito)
        m_db->setScreenshotTab(m_tabs.at(index).id, screenshot);
    if (index == m_selectedTab)
        emit currentScreenshotChanged();
}

int TabsModel::findTabByUrl(const QString& url) const
{
    FilePathUtils* urls = FilePathUtils::instance();
    const QString wanted = urls->getCommonUrl(url);
    for (int row = 0; row < m_tabs.size(); ++row) {
        const QString common = urls->getCommonUrl(m_tabs.at(row).url);
        if (common == wanted || common == QLatin1String("http://") + wanted
            || common == QLatin1String("https://") + wanted)
            return row;
    }
    return -1;
}

int TabsModel::findTabByHost(const QString& host) const
{
    // Hosts compare in the form people read them: "XN--80AK6AA92E.com" and
    // "пример.com" are one site, whichever form the page or the caller used.
    FilePathUtils* urls = FilePathUtils::instance();
    const QString wanted = urls->getHost(host);
    if (wanted.isEmpty())
        return -1;
    for (int row = 0; row < m_tabs.size(); ++row) {
        if (urls->getHost(m_tabs.at(row).url).compare(wanted, Qt::CaseInsensitive) == 0)
            return row;
    }
    return -1;
}

void TabsModel::changed(int row, int role)
{
    const QModelIndex i = index(row, 0);
    emit dataChanged(i, i, { role });
}

void TabsModel::tabsAvailable(const QList<Tab>& tabList)
{
    const QString screenshot = currentScreenshot();
    const int current = m_settings ? m_settings->lastOpenedTabID() : -1;
    int selected = -1;
    for (int row = 0; row < tabList.size(); ++row) {
        TabManager::instance()->raiseTabId(tabList.at(row).id);
        if (tabList.at(row).id == current)
            selected = row;
    }
    beginResetModel();
    m_tabs = tabList;
    endResetModel();
    if (selected != m_selectedTab) {
        m_selectedTab = selected;
        emit selectedTabChanged();
    }
    // The tab opened last is, until a new one opens, the one the previous run ended on.
    setLastOpenedTabIndex(selected);
    if (currentScreenshot() != screenshot)
        emit currentScreenshotChanged();
    emit countChanged();
}
