// The settings object's life: where the file is, what happens to a file that
// cannot be read, and how files written by older layouts are brought forward.

#include "settingsmanager.h"

#include "storage/dbmanager.h"
#include "utils/logcategories.h"

#include <permissionmanager.h>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QQmlEngine>
#include <QStandardPaths>
#include <QVersionNumber>

const QString SettingsManager::currentVersion = QStringLiteral("1.284");

namespace
{
const QString versionKey = QStringLiteral("internal/settings_version");

// Layout 2 files come from the 2.x line of the browser, whose own version is this.
const QString currentVersion2 = QStringLiteral("2.1.0.5");

// Whether QSettings could make sense of the file: a file it cannot open, or whose
// text is not in its format, would otherwise be overwritten with defaults at the
// first change, and the user's preferences lost for good.
bool unreadable(const QString& filePath, const QSettings& settings)
{
    const QFileInfo info(filePath);
    if (!info.exists())
        return false;
    if (info.isDir())
        return true;
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly))
        return true;
    return settings.status() != QSettings::NoError;
}
} // namespace

SettingsManager* SettingsManager::instance()
{
    static SettingsManager* manager = new SettingsManager(defaultFilePath(), DBManager::instance());
    return manager;
}

QObject* SettingsManager::qmlInstance(QQmlEngine* engine, QJSEngine* scriptEngine)
{
    Q_UNUSED(engine)
    Q_UNUSED(scriptEngine)
    SettingsManager* manager = instance();
    QQmlEngine::setObjectOwnership(manager, QQmlEngine::CppOwnership);
    return manager;
}

QString SettingsManager::defaultFilePath()
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation))
        .absoluteFilePath(QStringLiteral("browser-app.conf"));
}

QString SettingsManager::defaultDownloadDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::DownloadLocation) + QLatin1Char('/');
}

SettingsManager::SettingsManager(const QString& filePath, DBManager* db, QObject* parent)
    : QObject(parent)
    , m_db(db)
{
    openFile(filePath);
    m_permissions = new PermissionsManager(db, Orvane::WebView::PermissionManager::GetInstance(), this);
    m_searchEngines = new SearchEnginesManager(db, this);
    m_screenSettings = new ScreenSettingsManager(db, this);
    load();
    migrate();

    m_searchEngines->setCurrentEngineId(m_searchEngineId);
    connect(this, &SettingsManager::searchEngineIdChanged, this,
        [this] { m_searchEngines->setCurrentEngineId(m_searchEngineId); });
    // Searching must keep working when the user deletes the engine in use.
    connect(m_searchEngines, &SearchEnginesManager::currentEngineRemoved, this,
        [this] { setSearchEngineId(m_searchEngines->defaultEngineId()); });
}

void SettingsManager::openFile(const QString& filePath)
{
    m_settings = new QSettings(filePath, QSettings::NativeFormat, this);
    if (!unreadable(filePath, *m_settings))
        return;
    delete m_settings;
    const QString aside = filePath + QStringLiteral(".unreadable-")
        + QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMddTHHmmsszzz"));
    const bool moved = QFile::rename(filePath, aside) || QDir().rename(filePath, aside);
    qCWarning(lcApp) << "settings file cannot be read, moved aside and defaults used:" << filePath
                     << (moved ? aside : QStringLiteral("(could not be moved)"));
    m_settings = new QSettings(filePath, QSettings::NativeFormat, this);
}

void SettingsManager::migrate()
{
    const QVersionNumber stored
        = QVersionNumber::fromString(m_settings->value(versionKey, QStringLiteral("1.0")).toString());
    QString target;
    if (stored.majorVersion() == 1 && stored < QVersionNumber::fromString(currentVersion))
        target = currentVersion;
    else if (stored.majorVersion() == 2 && stored < QVersionNumber(2, 1, 0))
        target = currentVersion2;
    if (target.isEmpty())
        return;

    // Older layouts could grant a device to every site by default; now a site
    // must ask first, so a blanket Allow becomes Ask. Deny stays.
    const struct {
        int* member;
        const char* key;
    } policies[] = {
        { &m_defaultCameraPermission, "permissions/default_camera_policy" },
        { &m_defaultMicPermission, "permissions/default_mic_policy" },
        { &m_defaultScreenCapturePermission, "permissions/default_screen_capture_policy" },
        { &m_defaultGeoPermission, "permissions/default_geo_policy" },
        { &m_defaultNotifPermission, "permissions/default_notif_policy" },
    };
    for (const auto& policy : policies) {
        if (*policy.member == Permission::Allow) {
            *policy.member = Permission::AlwaysAsk;
            m_settings->setValue(QString::fromLatin1(policy.key), int(Permission::AlwaysAsk));
        }
    }
    m_settings->setValue(versionKey, target);
}

void SettingsManager::clearHistory(const QDateTime& start)
{
    m_db->clearHistory(start, QDateTime());
}
