// Setters and loading of every preference; the file's life (opening, moving
// an unreadable one aside, layout migration) is in settingsfile.cpp.

#include "settingsmanager.h"

#include "storage/dbmanager.h"

#include <QQmlEngine>
#include <QStandardPaths>

template <typename T> bool SettingsManager::store(T& member, const T& value, const QString& key)
{
    if (member == value)
        return false;
    m_settings->setValue(key, value);
    member = value;
    return true;
}

void SettingsManager::setDefaultCameraPermission(int value)
{
    if (store(m_defaultCameraPermission, value, QStringLiteral("permissions/default_camera_policy")))
        emit defaultCameraPermissionChanged();
}

void SettingsManager::setDefaultMicPermission(int value)
{
    if (store(m_defaultMicPermission, value, QStringLiteral("permissions/default_mic_policy")))
        emit defaultMicPermissionChanged();
}

void SettingsManager::setDefaultScreenCapturePermission(int value)
{
    if (store(m_defaultScreenCapturePermission, value,
            QStringLiteral("permissions/default_screen_capture_policy")))
        emit defaultScreenCapturePermissionChanged();
}

void SettingsManager::setDefaultGeoPermission(int value)
{
    if (store(m_defaultGeoPermission, value, QStringLiteral("permissions/default_geo_policy")))
        emit defaultGeoPermissionChanged();
}

void SettingsManager::setDefaultNotifPermission(int value)
{
    if (store(m_defaultNotifPermission, value, QStringLiteral("permissions/default_notif_policy")))
        emit defaultNotifPermissionChanged();
}

void SettingsManager::setDefaultDownloadPath(const QString& value)
{
    if (store(m_defaultDownloadPath, value, QStringLiteral("download/default_path")))
        emit defaultDownloadPathChanged();
}

void SettingsManager::setDefaultDownloadRequest(bool value)
{
    if (store(m_defaultDownloadRequest, value, QStringLiteral("download/default_request")))
        emit defaultDownloadRequestChanged();
}

void SettingsManager::setLastOpenedTabID(int value)
{
    if (store(m_lastOpenedTabID, value, QStringLiteral("tabs/last_opened_tab_id")))
        emit lastOpenedTabIDChanged();
}

void SettingsManager::setMovableToolbar(bool value)
{
    if (store(m_movableToolbar, value, QStringLiteral("ui/movable_toolbar")))
        emit movableToolbarChanged();
}

void SettingsManager::setNavGesturesEnabled(bool value)
{
    if (store(m_navGesturesEnabled, value, QStringLiteral("ui/nav_gestures_enabled")))
        emit navGesturesEnabledChanged();
}

void SettingsManager::setSearchEngineId(int value)
{
    if (store(m_searchEngineId, value, QStringLiteral("search/search_engine_id")))
        emit searchEngineIdChanged();
}

void SettingsManager::setStandardHomePage(bool value)
{
    if (store(m_standardHomePage, value, QStringLiteral("homepage/standard_home_page")))
        emit standardHomePageChanged();
}

void SettingsManager::setMostVisitedCount(int value)
{
    if (store(m_mostVisitedCount, value, QStringLiteral("homepage/most_visited_count")))
        emit mostVisitedCountChanged();
}

void SettingsManager::setHomePageUrl(const QString& value)
{
    if (store(m_homePageUrl, value, QStringLiteral("homepage/home_page_url")))
        emit homePageUrlChanged();
}

void SettingsManager::setCloseAllTabs(bool value)
{
    if (store(m_closeAllTabs, value, QStringLiteral("security/close_all_tabs")))
        emit closeAllTabsChanged();
}

void SettingsManager::setSaveCertOnTokenCPro(bool value)
{
    if (store(m_saveCertOnTokenCPro, value, QStringLiteral("security/save_cert_on_token_cpro")))
        emit saveCertOnTokenCProChanged();
}

void SettingsManager::setEnablePasswordsAutofill(bool value)
{
    if (store(m_enablePasswordsAutofill, value, QStringLiteral("passwords/enable_autofill")))
        emit enablePasswordsAutofillChanged();
}

void SettingsManager::setSuggestToSavePasswords(bool value)
{
    if (store(m_suggestToSavePasswords, value, QStringLiteral("passwords/suggest_to_save")))
        emit suggestToSavePasswordsChanged();
}

void SettingsManager::setPwaWelcomeShowed(bool value)
{
    if (store(m_pwaWelcomeShowed, value, QStringLiteral("ui/pwa_welcome")))
        emit pwaWelcomeShowedChanged();
}

void SettingsManager::load()
{
    m_defaultCameraPermission
        = m_settings->value(QStringLiteral("permissions/default_camera_policy"), int(Permission::AlwaysAsk))
              .toInt();
    m_defaultMicPermission
        = m_settings->value(QStringLiteral("permissions/default_mic_policy"), int(Permission::AlwaysAsk))
              .toInt();
    m_defaultScreenCapturePermission
        = m_settings
              ->value(QStringLiteral("permissions/default_screen_capture_policy"), int(Permission::AlwaysAsk))
              .toInt();
    m_defaultGeoPermission
        = m_settings->value(QStringLiteral("permissions/default_geo_policy"), int(Permission::AlwaysAsk))
              .toInt();
    m_defaultNotifPermission
        = m_settings->value(QStringLiteral("permissions/default_notif_policy"), int(Permission::AlwaysAsk))
              .toInt();
    m_defaultDownloadPath
        = m_settings->value(QStringLiteral("download/default_path"), defaultDownloadDirectory()).toString();
    m_defaultDownloadRequest = m_settings->value(QStringLiteral("download/default_request"), true).toBool();
    m_lastOpenedTabID = m_settings->value(QStringLiteral("tabs/last_opened_tab_id"), -1).toInt();
    m_movableToolbar = m_settings->value(QStringLiteral("ui/movable_toolbar"), true).toBool();
    m_navGesturesEnabled = m_settings->value(QStringLiteral("ui/nav_gestures_enabled"), true).toBool();
    m_searchEngineId
        = m_settings->value(QStringLiteral("search/search_engine_id"), SearchEnginesManager::defaultEngine)
              .toInt();
    m_standardHomePage = m_settings->value(QStringLiteral("homepage/standard_home_page"), true).toBool();
    m_mostVisitedCount = m_settings->value(QStringLiteral("homepage/most_visited_count"), 4).toInt();
    m_homePageUrl = m_settings->value(QStringLiteral("homepage/home_page_url"), QString()).toString();
    m_closeAllTabs = m_settings->value(QStringLiteral("security/close_all_tabs"), false).toBool();
    m_saveCertOnTokenCPro
        = m_settings->value(QStringLiteral("security/save_cert_on_token_cpro"), false).toBool();
    m_enablePasswordsAutofill = m_settings->value(QStringLiteral("passwords/enable_autofill"), true).toBool();
    m_suggestToSavePasswords = m_settings->value(QStringLiteral("passwords/suggest_to_save"), true).toBool();
    m_pwaWelcomeShowed = m_settings->value(QStringLiteral("ui/pwa_welcome"), false).toBool();
}
