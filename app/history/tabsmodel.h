#pragma once

#include "storage/records.h"
#include "tabactivity.h"

#include <QAbstractListModel>
#include <QHash>
#include <QPointer>

class DBManager;
class SettingsManager;

// The open tabs as the tab switcher shows them, and for the tabs whose web view
// is alive, when each was last used, so that idle background tabs can give
// their web view back when memory runs short. Outside incognito mode every
// change is written through storage and the list comes back in the next run.
class TabsModel : public QAbstractListModel
{
    Q_OBJECT
    // Number of tabs.
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    // Row of the tab on screen; restored from the previous run.
    Q_PROPERTY(int selectedTab READ selectedTab WRITE setSelectedTab NOTIFY selectedTabChanged)
    // Row of the tab opened last; -1 when it is gone.
    Q_PROPERTY(int lastOpenedTabIndex READ lastOpenedTabIndex NOTIFY lastOpenedTabIndexChanged)
    // Private tabs, kept in memory only; can be switched off once, which loads the stored tabs.
    Q_PROPERTY(bool isIncognito READ isIncognito WRITE setIsIncognito NOTIFY isIncognitoChanged)
    // Screenshot of the selected tab.
    Q_PROPERTY(QString currentScreenshot READ currentScreenshot NOTIFY currentScreenshotChanged)
public:
    enum TabRoles {
        TabIdRole = Qt::UserRole + 1,
        UrlRole,
        TitleRole,
        DeviceModeRole,
        ScreenshotRole,
        PopupWindowRole,
        DprRole,
        TempPermissionsRole,
    };
    Q_ENUM(TabRoles)

    // On the process' storage and settings, as QML makes it.
    explicit TabsModel(QObject* parent = nullptr);
    // settings tells the previous run's current tab and each site's zoom; neither is owned.
    TabsModel(DBManager* db, SettingsManager* settings, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return m_tabs.size(); }
    int selectedTab() const { return m_selectedTab; }
    void setSelectedTab(int row);
    int lastOpenedTabIndex() const { return m_lastOpenedTabIndex; }
    bool isIncognito() const { return m_isIncognito; }
    void setIsIncognito(bool isIncognito);
    QString currentScreenshot() const;

    Q_INVOKABLE void insert(int index, const QList<QString>& url, const QList<QString>& title = {},
        QObject* popupWindow = nullptr);
    Q_INVOKABLE void remove(int index);
    Q_INVOKABLE void clear();
    Q_INVOKABLE int getTabID(int index) const;
    Q_INVOKABLE void setScreenshotToDB(int index, const QString& screenshot);
    Q_INVOKABLE int findTabByUrl(const QString& url) const;
    Q_INVOKABLE int findTabByHost(const QString& host) const;

    // Answers given to one tab for this time only; never stored, gone with the tab.
    // The answer of the tab at index for a Permission type; InvalidResponse when none.
    Q_INVOKABLE int getTempPermission(int index, int type) const;
    // The answers of the host's tab, one per Permission type (-1: none); empty without such a tab.
    Q_INVOKABLE QVariantList getTempPermissions(const QString& host) const;
    // policies: answers in Permission type order; a negative one leaves that type as it was.
    Q_INVOKABLE void addPermissions(const QString& host, const QVariantList& policies);
    Q_INVOKABLE void removeTempPermissions(const QString& host);

    // Zoom of the tabs on site (the zoom itself is stored by the screen settings).
    Q_INVOKABLE void setDpr(const QString& site, float dpr);
    Q_INVOKABLE void resetDprs();
    Q_INVOKABLE void setDeviceMode(const QString& domain, int mode);

    Q_INVOKABLE void addLiveTab(int tabId, bool isProtected);
    Q_INVOKABLE bool isProtected(int tabId) const;
    Q_INVOKABLE void removeLiveTab(int tabId);
    Q_INVOKABLE void updateTabActivity(int tabId, bool isProtected, bool updateLastUsed);
    // Emits discardTab for every background tab idle for over ten minutes and for
    // the least recently used one idle for over a minute.
    Q_INVOKABLE void findCandidateDiscardTab(const QList<int>& tabsWithDownloads);

public slots:
    void tabsAvailable(const QList<Tab>& tabList);

signals:
    void countChanged();
    void selectedTabChanged();
    void lastOpenedTabIndexChanged();
    void isIncognitoChanged();
    void currentScreenshotChanged();
    // index is the id of the tab whose web view the front end frees.
    void discardTab(int index);

private:
    TabActivity freshActivity(bool isProtected) const;
    void discard(int tabId, qint64 lastUsed, qint64 now);
    bool isValidRow(int row) const { return row >= 0 && row < m_tabs.size(); }
    void changed(int row, int role);
    void setLastOpenedTabIndex(int row);
    void rememberSelected();

    DBManager* m_db;
    QPointer<SettingsManager> m_settings;
    QList<Tab> m_tabs;
    QHash<int, TabActivity> m_liveTabs;
    int m_selectedTab = -1;
    int m_lastOpenedTabIndex = -1;
    bool m_isIncognito = true;
    bool m_incognitoFixed = false;
};
