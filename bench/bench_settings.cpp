// Cost of the settings objects the browser touches on every start and on the
// site settings page:
//  - SettingsManager construction on a settings file with every key set (each
//    run reads its own copy, so QSettings' per-file cache never answers);
//  - a list of 1,000 sites' permission answers filtered by a search text, and
//    by one answer of one kind plus the text.
//
//   bench_settings [runs]      (default 50)

#include "settings/permissionsproxymodel.h"
#include "settings/settingsmanager.h"
#include "storage/dbmanager.h"
#include "support/tempprofile.h"

#include "benchsupport.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QTextStream>

#include <algorithm>
#include <vector>

namespace
{
void writeFullFile(const QString& path)
{
    QSettings file(path, QSettings::NativeFormat);
    file.setValue(QStringLiteral("internal/settings_version"), SettingsManager::currentVersion);
    const QStringList keys = { QStringLiteral("permissions/default_camera_policy"),
        QStringLiteral("permissions/default_mic_policy"),
        QStringLiteral("permissions/default_screen_capture_policy"),
        QStringLiteral("permissions/default_geo_policy"), QStringLiteral("permissions/default_notif_policy"),
        QStringLiteral("download/default_path"), QStringLiteral("download/default_request"),
        QStringLiteral("tabs/last_opened_tab_id"), QStringLiteral("ui/movable_toolbar"),
        QStringLiteral("ui/nav_gestures_enabled"), QStringLiteral("search/search_engine_id"),
        QStringLiteral("homepage/standard_home_page"), QStringLiteral("homepage/most_visited_count"),
        QStringLiteral("homepage/home_page_url"), QStringLiteral("security/close_all_tabs"),
        QStringLiteral("security/save_cert_on_token_cpro"), QStringLiteral("passwords/enable_autofill"),
        QStringLiteral("passwords/suggest_to_save"), QStringLiteral("ui/pwa_welcome") };
    for (const QString& key : keys)
        file.setValue(key,
            key.endsWith(QLatin1String("path")) || key.endsWith(QLatin1String("url"))
                ? QVariant(QStringLiteral("/home/user/Downloads/some/where/"))
                : QVariant(1));
}
} // namespace

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("browser.*=false"));
    const int runs = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 50;
    TempProfile profile;
    DBManager* db = DBManager::instance();
    QTextStream out(stdout);

    QTemporaryDir dir;
    const QString full = dir.filePath(QStringLiteral("full.conf"));
    writeFullFile(full);
    std::vector<double> construction;
    for (int run = 0; run < runs; ++run) {
        // A byte copy: QSettings has never seen this path, so it parses the file.
        const QString path = dir.filePath(QStringLiteral("browser-app-%1.conf").arg(run));
        QFile::copy(full, path);
        QElapsedTimer timer;
        timer.start();
        auto* settings = new SettingsManager(path, db);
        construction.push_back(timer.nsecsElapsed() / 1e6);
        delete settings;
        QCoreApplication::processEvents();
    }

    PermissionsModel model;
    QList<SitePermissions> sites;
    for (int i = 0; i < 1000; ++i) {
        SitePermissions site;
        site.site = QStringLiteral("https://site%1.example.com").arg(i);
        site.policies = { i % 3, (i + 1) % 3, -1, i % 2, 2, 1, 0 };
        sites.append(site);
    }
    model.onPermissionsAvailable(sites);
    PermissionsProxyModel proxy;
    proxy.setSourceModel(&model);
    std::vector<double> byText;
    std::vector<double> byAnswer;
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer timer;
        timer.start();
        proxy.setFilter(QStringLiteral("SITE%1").arg(run % 10 + 1));
        byText.push_back(timer.nsecsElapsed() / 1e6);
        const int textCount = proxy.count();

        timer.restart();
        proxy.setPermissionType(Permission::Camera);
        proxy.setResponseType(Permission::Allow);
        byAnswer.push_back(timer.nsecsElapsed() / 1e6);
        if (textCount == 0 || proxy.count() == 0 || proxy.count() >= textCount)
            return 1;
        proxy.setPermissionType(Permission::InvalidPermission);
        proxy.setResponseType(Permission::InvalidResponse);
        proxy.setFilter(QString());
    }

    out << "SettingsManager construction, every key set: median " << median(construction)
        << " ms (goal < 5 ms)\n";
    out << "1,000 sites filtered by text: median " << median(byText) << " ms (goal < 10 ms)\n";
    out << "1,000 sites filtered by camera Allow and text: median " << median(byAnswer) << " ms\n";
    db->shutdown();
    return 0;
}
