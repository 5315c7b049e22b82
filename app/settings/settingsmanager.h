#pragma once

#include "permissionsmanager.h"
#include "screensettingsmanager.h"
#include "searchenginesmanager.h"

#include <QObject>
#include <QSettings>

class DBManager;
class QJSEngine;
class QQmlEngine;

// The browser's preferences, kept in one settings file and mirrored in typed
// properties. Every setter writes its key at once; the file itself is written
// by QSettings in its own time, always through a temporary file, so a crash
// leaves either the old or the new file, never half of one.
class SettingsManager : public QObject
{
    Q_OBJECT
    // Answer for the camera on sites without their own.
    Q_PROPERTY(int defaultCameraPermission READ defaultCameraPermission WRITE setDefaultCameraPermission
            NOTIFY defaultCameraPermissionChanged)
    // Answer for the microphone on sites without their own.
    Q_PROPERTY(int defaultMicPermission READ defaultMicPermission WRITE setDefaultMicPermission NOTIFY
            defaultMicPermissionChanged)
    // Answer for screen capture on sites without their own.
    Q_PROPERTY(int defaultScreenCapturePermission READ defaultScreenCapturePermission WRITE
            setDefaultScreenCapturePermission NOTIFY defaultScreenCapturePermissionChanged)
    // Answer for the location on sites without their own.
    Q_PROPERTY(int defaultGeoPermission READ defaultGeoPermission WRITE setDefaultGeoPermission NOTIFY
            defaultGeoPermissionChanged)
    // Answer for notifications on sites without their own.
    Q_PROPERTY(int defaultNotifPermission READ defaultNotifPermission WRITE setDefaultNotifPermission NOTIFY
            defaultNotifPermissionChanged)
    // Directory downloads go to, ending in "/".
    Q_PROPERTY(QString defaultDownloadPath READ defaultDownloadPath WRITE setDefaultDownloadPath NOTIFY
            defaultDownloadPathChanged)
    // Whether a download asks before it starts.
    Q_PROPERTY(bool defaultDownloadRequest READ defaultDownloadRequest WRITE setDefaultDownloadRequest NOTIFY
            defaultDownloadRequestChanged)
    // Tab that was current when the browser closed; -1 for none.
    Q_PROPERTY(
        int lastOpenedTabID READ lastOpenedTabID WRITE setLastOpenedTabID NOTIFY lastOpenedTabIDChanged)
    // Whether the toolbar hides while scrolling.
    Q_PROPERTY(bool movableToolbar READ movableToolbar WRITE setMovableToolbar NOTIFY movableToolbarChanged)
    // Whether swipes go back and forward.
    Q_PROPERTY(bool navGesturesEnabled READ navGesturesEnabled WRITE setNavGesturesEnabled NOTIFY
            navGesturesEnabledChanged)
    // Id of the engine the address bar searches with.
    Q_PROPERTY(int searchEngineId READ searchEngineId WRITE setSearchEngineId NOTIFY searchEngineIdChanged)
    // Whether the home page is the built-in one (else homePageUrl).
    Q_PROPERTY(
        bool standardHomePage READ standardHomePage WRITE setStandardHomePage NOTIFY standardHomePageChanged)
    // Most visited tiles on the home page.
    Q_PROPERTY(
        int mostVisitedCount READ mostVisitedCount WRITE setMostVisitedCount NOTIFY mostVisitedCountChanged)
    // The user's own home page.
    Q_PROPERTY(QString homePageUrl READ homePageUrl WRITE setHomePageUrl NOTIFY homePageUrlChanged)
    // Whether every tab closes when the browser exits.
    Q_PROPERTY(bool closeAllTabs READ closeAllTabs WRITE setCloseAllTabs NOTIFY closeAllTabsChanged)
    // Whether client certificates are kept on the crypto token.
    Q_PROPERTY(bool saveCertOnTokenCPro READ saveCertOnTokenCPro WRITE setSaveCertOnTokenCPro NOTIFY
            saveCertOnTokenCProChanged)
    // Whether saved passwords fill in forms.
    Q_PROPERTY(bool enablePasswordsAutofill READ enablePasswordsAutofill WRITE setEnablePasswordsAutofill
            NOTIFY enablePasswordsAutofillChanged)
    // Whether the browser offers to save passwords.
    Q_PROPERTY(bool suggestToSavePasswords READ suggestToSavePasswords WRITE setSuggestToSavePasswords NOTIFY
            suggestToSavePasswordsChanged)
    // Whether the PWA introduction was shown.
    Q_PROPERTY(
        bool pwaWelcomeShowed READ pwaWelcomeShowed WRITE setPwaWelcomeShowed NOTIFY pwaWelcomeShowedChanged)
    // Per-site permission answers.
    Q_PROPERTY(PermissionsManager* permissions READ permissions NOTIFY permissionsManagerChanged)
    // Search engines and the one in use.
    Q_PROPERTY(SearchEnginesManager* searchEngines READ searchEngines NOTIFY searchEnginesManagerChanged)
    // Per-site zoom and device mode.
    Q_PROPERTY(ScreenSettingsManager* screenSettingsManager READ screenSettingsManager NOTIFY
            screenSettingsManagerChanged)
public:
    // The layout version the keys of this build follow.
    static const QString currentVersion;

    // The process-wide instance on the profile's "browser-app.conf".
    static SettingsManager* instance();
    static QObject* qmlInstance(QQmlEngine* engine, QJSEngine* scriptEngine);
    static QString defaultFilePath();

    SettingsManager(const QString& filePath, DBManager* db, QObject* parent = nullptr);

    QString fileName() const { return m_settings->fileName(); }
    PermissionsManager* permissions() const { return m_permissions; }
    SearchEnginesManager* searchEngines() const { return m_searchEngines; }
    ScreenSettingsManager* screenSettingsManager() const { return m_screenSettings; }

    // Clears the browsing history from start on (an invalid start: all of it).
    Q_INVOKABLE void clearHistory(const QDateTime& start);

    int defaultCameraPermission() const { return m_defaultCameraPermission; }
    void setDefaultCameraPermission(int value);
    int defaultMicPermission() const { return m_defaultMicPermission; }
    void setDefaultMicPermission(int value);
    int defaultScreenCapturePermission() const { return m_defaultScreenCapturePermission; }
    void setDefaultScreenCapturePermission(int value);
    int defaultGeoPermission() const { return m_defaultGeoPermission; }
    void setDefaultGeoPermission(int value);
    int defaultNotifPermission() const { return m_defaultNotifPermission; }
    void setDefaultNotifPermission(int value);
    QString defaultDownloadPath() const { return m_defaultDownloadPath; }
    void setDefaultDownloadPath(const QString& value);
    bool defaultDownloadRequest() const { return m_defaultDownloadRequest; }
    void setDefaultDownloadRequest(bool value);
    int lastOpenedTabID() const { return m_lastOpenedTabID; }
    void setLastOpenedTabID(int value);
    bool movableToolbar() const { return m_movableToolbar; }
    void setMovableToolbar(bool value);
    bool navGesturesEnabled() const { return m_navGesturesEnabled; }
    void setNavGesturesEnabled(bool value);
    int searchEngineId() const { return m_searchEngineId; }
    void setSearchEngineId(int value);
    bool standardHomePage() const { return m_standardHomePage; }
    void setStandardHomePage(bool value);
    int mostVisitedCount() const { return m_mostVisitedCount; }
    void setMostVisitedCount(int value);
    QString homePageUrl() const { return m_homePageUrl; }
    void setHomePageUrl(const QString& value);
    bool closeAllTabs() const { return m_closeAllTabs; }
    void setCloseAllTabs(bool value);
    bool saveCertOnTokenCPro() const { return m_saveCertOnTokenCPro; }
    void setSaveCertOnTokenCPro(bool value);
    bool enablePasswordsAutofill() const { return m_enablePasswordsAutofill; }
    void setEnablePasswordsAutofill(bool value);
    bool suggestToSavePasswords() const { return m_suggestToSavePasswords; }
    void setSuggestToSavePasswords(bool value);
    bool pwaWelcomeShowed() const { return m_pwaWelcomeShowed; }
    void setPwaWelcomeShowed(bool value);

signals:
    void defaultCameraPermissionChanged();
    void defaultMicPermissionChanged();
    void defaultScreenCapturePermissionChanged();
    void defaultGeoPermissionChanged();
    void defaultNotifPermissionChanged();
    void defaultDownloadPathChanged();
    void defaultDownloadRequestChanged();
    void lastOpenedTabIDChanged();
    void movableToolbarChanged();
    void navGesturesEnabledChanged();
    void searchEngineIdChanged();
    void standardHomePageChanged();
    void mostVisitedCountChanged();
    void homePageUrlChanged();
    void closeAllTabsChanged();
    void saveCertOnTokenCProChanged();
    void enablePasswordsAutofillChanged();
    void suggestToSavePasswordsChanged();
    void pwaWelcomeShowedChanged();
    void permissionsManagerChanged();
    void searchEnginesManagerChanged();
    void screenSettingsManagerChanged();

private:
    static QString defaultDownloadDirectory();
    void openFile(const QString& filePath);
    void load();
    void migrate();
    template <typename T> bool store(T& member, const T& value, const QString& key);

    DBManager* m_db;
    QSettings* m_settings = nullptr;
    PermissionsManager* m_permissions;
    SearchEnginesManager* m_searchEngines;
    ScreenSettingsManager* m_screenSettings;

    int m_defaultCameraPermission {};
    int m_defaultMicPermission {};
    int m_defaultScreenCapturePermission {};
    int m_defaultGeoPermission {};
    int m_defaultNotifPermission {};
    QString m_defaultDownloadPath {};
    bool m_defaultDownloadRequest {};
    int m_lastOpenedTabID {};
    bool m_movableToolbar {};
    bool m_navGesturesEnabled {};
    int m_searchEngineId {};
    bool m_standardHomePage {};
    int m_mostVisitedCount {};
    QString m_homePageUrl {};
    bool m_closeAllTabs {};
    bool m_saveCertOnTokenCPro {};
    bool m_enablePasswordsAutofill {};
    bool m_suggestToSavePasswords {};
    bool m_pwaWelcomeShowed {};
};
