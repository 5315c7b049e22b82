#include "dbworker.h"

#include "utils/logcategories.h"

#include <QSqlError>
#include <QUrl>
#include <QVariant>

// Per-site settings (permissions, zoom, device modes) and the small auxiliary
// tables: search engines, downloads, password exceptions and favicons.

namespace
{

const int permissionColumns = 7;

// Permissions and zoom belong to an origin, not to a page: a url is reduced to
// its scheme and authority. Text that is no absolute url (a bare host, say) is
// already a key and stays as it is.
QString siteKey(const QString& site)
{
    const QUrl url(site);
    if (url.host().isEmpty())
        return site;
    return url.url(QUrl::RemovePath | QUrl::RemoveQuery | QUrl::RemoveFragment | QUrl::StripTrailingSlash);
}

// A negative decision means "none" and is kept as NULL, so that the engine asks again.
QVariant policyValue(int value)
{
    return value < 0 ? QVariant(QVariant::Int) : QVariant(value);
}

QVariant now()
{
    return QDateTime::currentMSecsSinceEpoch();
}

} // namespace

// ---- sites ----

int DBWorker::findSiteId(const QString& site, bool isPrivate, bool* failed)
{
    auto query = prepare(QStringLiteral("SELECT id FROM sites WHERE site = ?;"), isPrivate);
    query.addBindValue(site);
    const bool ok = execute(query);
    if (failed)
        *failed = !ok;
    if (!ok || !query.next())
        return -1;
    return query.value(0).toInt();
}

int DBWorker::getSiteId(const QString& site, bool isPrivate)
{
    bool failed = false;
    const int id = findSiteId(site, isPrivate, &failed);
    if (id >= 0 || failed)
        return id;

    auto insert = prepare(QStringLiteral("INSERT INTO sites (site) VALUES (?);"), isPrivate);
    insert.addBindValue(site);
    if (!execute(insert))
        return -1;
    bool ok = false;
    const int newId = insert.lastInsertId().toInt(&ok);
    if (!ok || newId <= 0) {
        qCWarning(lcStorage) << Q_FUNC_INFO << "unable to fetch last inserted id";
        return -1;
    }
    return newId;
}

// ---- permissions ----

void DBWorker::getPermissions()
{
    auto query = prepare(
        QStringLiteral(
            "SELECT sites.site, permissions.camera, permissions.microphone, permissions.geolocation, "
            "permissions.notification, permissions.screen_capture, permissions.popups, "
            "permissions.cookies FROM permissions JOIN sites ON permissions.site_id = sites.id;"),
        false);
    if (!execute(query))
        return;

    QList<SitePermissions> permissions;
    while (query.next()) {
        SitePermissions row;
        row.site = query.value(0).toString();
        for (int column = 1; column <= permissionColumns; ++column) {
            const QVariant value = query.value(column);
            row.policies.append(value.isNull() ? -1 : value.toInt());
        }
        permissions.append(row);
    }
    deliver([=] { emit permissionsAvailable(permissions); });
}

void DBWorker::addPermissions(const QString& site, const QList<int>& policies)
{
    const int siteId = getSiteId(siteKey(site), false);

    auto existing = prepare(QStringLiteral("SELECT * FROM permissions WHERE site_id = ?;"), false);
    existing.addBindValue(siteId);
    if (!execute(existing))
        return;
    const bool update = existing.next();

    // Decisions missing from a short list count as "none".
    QVariantList values;
    for (int i = 0; i < permissionColumns; ++i)
        values.append(policyValue(policies.value(i, -1)));

    auto query = prepare(update ? QStringLiteral("UPDATE permissions SET camera = ?, microphone = ?, "
                                                 "geolocation = ?, notification = ?, screen_capture = ?, "
                                                 "popups = ?, cookies = ? WHERE site_id = ?;")
                                : QStringLiteral("INSERT INTO permissions VALUES (?, ?, ?, ?, ?, ?, ?, ?);"),
        false);
    if (!update)
        query.addBindValue(siteId);
    for (const QVariant& value : qAsConst(values))
        query.addBindValue(value);
    if (update)
        query.addBindValue(siteId);
    execute(query);
}

void DBWorker::updatePermission(const QString& site, int type, int value)
{
    const int siteId = getSiteId(siteKey(site), false);

    // Popups and cookies change only through addPermissions.
    QString sql;
    switch (type) {
    case 0:
        sql = QStringLiteral("UPDATE permissions SET camera = ? WHERE site_id = ?;");
        break;
    case 1:
        sql = QStringLiteral("UPDATE permissions SET microphone = ? WHERE site_id = ?;");
        break;
    case 2:
        sql = QStringLiteral("UPDATE permissions SET geolocation = ? WHERE site_id = ?;");
        break;
    case 3:
        sql = QStringLiteral("UPDATE permissions SET notification = ? WHERE site_id = ?;");
        break;
    case 4:
        sql = QStringLiteral("UPDATE permissions SET screen_capture = ? WHERE site_id = ?;");
        break;
    default:
        return;
    }

    auto query = prepare(sql, false);
    query.addBindValue(policyValue(value));
    query.addBindValue(siteId);
    execute(query);
}

void DBWorker::revokePermissions(const QString& site)
{
    // An unknown site has nothing to revoke; looking it up must not create it.
    const int siteId = findSiteId(siteKey(site), false);
    if (siteId < 0)
        return;
    auto query
        = prepare(QStringLiteral("UPDATE permissions SET camera = NULL, microphone = NULL, geolocation = "
                                 "NULL, notification = NULL, screen_capture = NULL, popups = NULL, "
                                 "cookies = NULL, screen_capture = NULL WHERE site_id = ?;"),
            false);
    query.addBindValue(siteId);
    execute(query);
}

void DBWorker::removePermissionsData(const QString& site)
{
    const int siteId = findSiteId(siteKey(site), false);
    if (siteId < 0)
        return;
    auto query = prepare(QStringLiteral("DELETE FROM permissions WHERE site_id = ?;"), false);
    query.addBindValue(siteId);
    execute(query);
}

void DBWorker::removeAllPermissions()
{
    auto query = prepare(QStringLiteral("DELETE FROM permissions;"), false);
    execute(query);
}

// ---- site zoom (DPR) ----

void DBWorker::getSiteDprs(bool isPrivate)
{
    auto query = prepare(QStringLiteral("SELECT site_dprs.id, sites.site, site_dprs.dpr FROM site_dprs JOIN "
                                        "sites ON site_dprs.site_id = sites.id;"),
        isPrivate);
    if (!execute(query))
        return;

    QList<SiteDpr> dprs;
    while (query.next()) {
        SiteDpr row;
        row.id = query.value(0).toInt();
        row.site = query.value(1).toString();
        row.dpr = query.value(2).toDouble();
        dprs.append(row);
    }
    deliver([=] { emit siteDprsAvailable(dprs, isPrivate); });
}

void DBWorker::addDpr(const QString& site, double dpr, bool isPrivate)
{
    const QString key = siteKey(site);
    const int siteId = getSiteId(key, isPrivate);

    auto query = prepare(QStringLiteral("INSERT INTO site_dprs (site_id, dpr) VALUES (?, ?);"), isPrivate);
    query.addBindValue(siteId);
    query.addBindValue(dpr);
    if (!execute(query))
        return;

    SiteDpr row;
    row.id = query.lastInsertId().toInt();
    row.site = key;
    row.dpr = dpr;
    deliver([=] { emit siteDprAdded(row, isPrivate); });
}

void DBWorker::updateDpr(const QString& site, double dpr, bool isPrivate)
{
    auto query = prepare(
        QStringLiteral("UPDATE site_dprs SET dpr = ? WHERE site_id = (SELECT id FROM sites WHERE site = ?);"),
        isPrivate);
    query.addBindValue(dpr);
    query.addBindValue(siteKey(site));
    execute(query);
}

void DBWorker::removeDpr(const QString& site, bool isPrivate)
{
    auto query = prepare(
        QStringLiteral("DELETE FROM site_dprs WHERE site_id = (SELECT id FROM sites WHERE site = ?);"),
        isPrivate);
    query.addBindValue(siteKey(site));
    execute(query);
}

void DBWorker::removeDprs(const QStringList& sites)
{
    QStringList literals;
    literals.reserve(sites.size());
    for (const QString& site : sites)
        literals.append(sqlLiteral(siteKey(site)));
    auto query = prepare(
        QStringLiteral("DELETE FROM site_dprs WHERE id IN (SELECT id FROM sites WHERE site IN (%1));")
            .arg(literals.join(QLatin1Char(','))),
        false);
    execute(query);
}

void DBWorker::removeAllDprs()
{
    auto query = prepare(QStringLiteral("DELETE FROM site_dprs;"), false);
    execute(query);
}

// ---- device modes ----

void DBWorker::setDeviceMode(const QString& domain, int mode, bool isPrivate)
{
    auto query = prepare(QStringLiteral("INSERT OR REPLACE INTO device_modes VALUES (?, ?);"), isPrivate);
    query.addBindValue(domain);
    query.addBindValue(mode);
    execute(query);
}

void DBWorker::getDeviceMode(const QString& domain, bool isPrivate)
{
    auto query = prepare(QStringLiteral("SELECT device_mode FROM device_modes WHERE domain = ?;"), isPrivate);
    query.addBindValue(domain);
    if (!execute(query))
        return;
    const int mode = query.next() ? query.value(0).toInt() : -1;
    deliver([=] { emit deviceModeAvailable(domain, mode, isPrivate); });
}

// ---- search engines ----

void DBWorker::getSearchEngines()
{
    auto query = prepare(QStringLiteral("SELECT * FROM search_engines;"), false);
    if (!execute(query))
        return;

    QList<SearchEngine> engines;
    while (query.next()) {
        SearchEngine engine;
        engine.id = query.value(0).toInt();
        engine.name = query.value(1).toString();
        engine.url = query.value(2).toString();
        engine.editable = query.value(3).toBool();
        engines.append(engine);
    }
    deliver([=] { emit searchEnginesAvailable(engines); });
}

void DBWorker::addSearchEngine(const QString& name, const QString& url)
{
    auto query = prepare(
        QStringLiteral("INSERT INTO search_engines (name, url, editable) VALUES (?, ?, TRUE);"), false);
    query.addBindValue(name);
    query.addBindValue(url);
    if (!execute(query))
        return;

    SearchEngine engine;
    engine.id = query.lastInsertId().toInt();
    engine.name = name;
    engine.url = url;
    engine.editable = true;
    deliver([=] { emit searchEngineAdded(engine); });
}

void DBWorker::updateSearchEngine(int id, const QString& name, const QString& url)
{
    auto query = prepare(QStringLiteral("UPDATE search_engines SET name = ?, url = ? WHERE id = ?;"), false);
    query.addBindValue(name);
    query.addBindValue(url);
    query.addBindValue(id);
    execute(query);
}

void DBWorker::removeSearchEngine(int id)
{
    auto query = prepare(QStringLiteral("DELETE FROM search_engines WHERE id = ?;"), false);
    query.addBindValue(id);
    execute(query);
}

// ---- downloads ----

void DBWorker::getDownloads()
{
    auto query
        = prepare(QStringLiteral("SELECT id, path, url, last_modified, status FROM downloads;"), false);
    if (!execute(query))
        return;

    QList<Download> downloads;
    while (query.next()) {
        Download download;
        download.id = query.value(0).toInt();
        download.filePath = query.value(1).toString();
        download.url = query.value(2).toString();
        download.lastModified = QDateTime::fromMSecsSinceEpoch(query.value(3).toLongLong());
        download.status = query.value(4).toInt();
        downloads.append(download);
    }
    deliver([=] { emit downloadsAvailable(downloads); });
}

void DBWorker::addDownload(const QString& path, const QString& url, const QString& cachedKey)
{
    // A file downloaded again to the same path replaces the old entry; the list
    // must drop the old row before it shows the new one.
    auto existing = prepare(QStringLiteral("SELECT id FROM downloads WHERE path = ?"), false);
    existing.addBindValue(path);
    if (!execute(existing))
        return;
    if (existing.next()) {
        const int oldId = existing.value(0).toInt();
        auto remove = prepare(QStringLiteral("DELETE FROM downloads WHERE path = ?"), false);
        remove.addBindValue(path);
        if (!execute(remove))
            return;
        deliver([=] { emit oldDownloadRemoved(oldId); });
    }

    const qint64 lastModified = QDateTime::currentMSecsSinceEpoch();
    auto insert = prepare(
        QStringLiteral("INSERT INTO downloads (path, url, last_modified) VALUES (?, ?, ?);"), false);
    insert.addBindValue(path);
    insert.addBindValue(url);
    insert.addBindValue(lastModified);
    if (!execute(insert))
        return;

    Download download;
    download.id = insert.lastInsertId().toInt();
    download.filePath = path;
    download.url = url;
    download.lastModified = QDateTime::fromMSecsSinceEpoch(lastModified);
    download.status = 0;
    download.cachedKey = cachedKey;
    deliver([=] { emit downloadAdded(download, path); });
}

void DBWorker::setStatusDownload(const QString& path, int status)
{
    auto query = prepare(QStringLiteral("UPDATE downloads SET status = ? WHERE path = ?;"), false);
    query.addBindValue(status);
    query.addBindValue(path);
    execute(query);
}

void DBWorker::setDownloadSuccessful(const QString& path)
{
    auto query = prepare(
        QStringLiteral("UPDATE downloads SET status = 2, last_modified = ? WHERE path = ?;"), false);
    query.addBindValue(now());
    query.addBindValue(path);
    execute(query);
}

void DBWorker::removeDownload(const QString& path)
{
    auto query = prepare(QStringLiteral("DELETE FROM downloads WHERE path = ?;"), false);
    query.addBindValue(path);
    execute(query);
}

void DBWorker::removeDownloads(const QSet<int>& ids)
{
    QStringList parts;
    parts.reserve(ids.size());
    for (int id : ids)
        parts.append(QString::number(id));
    auto query = prepare(
        QStringLiteral("DELETE FROM downloads WHERE id IN (%1);").arg(parts.join(QLatin1Char(','))), false);
    execute(query);
}

// ---- password exceptions ----

void DBWorker::getPasswordExceptions()
{
    auto query = prepare(QStringLiteral("SELECT * FROM password_exceptions;"), false);
    if (!execute(query))
        return;

    QHash<QString, int> exceptions;
    while (query.next())
        exceptions.insert(query.value(0).toString(), query.value(1).toInt());
    deliver([=] { emit passwordExceptionsAvailable(exceptions); });
}

void DBWorker::addException(const QString& url)
{
    auto query = prepare(QStringLiteral("INSERT INTO password_exceptions VALUES (?, -1) ON CONFLICT(url) DO "
                                        "UPDATE SET url = excluded.url, suggestions_count = -1;"),
        false);
    query.addBindValue(url);
    execute(query);
}

void DBWorker::removeException(const QString& url)
{
    auto query = prepare(QStringLiteral("DELETE FROM password_exceptions WHERE url = ?;"), false);
    query.addBindValue(url);
    execute(query);
}

void DBWorker::setSuggestionsCount(const QString& url, int count)
{
    // The statement has always carried a stray "*" that SQLite rejects; counts
    // are therefore never stored and the failure shows in the log.
    auto query = prepare(QStringLiteral("INSERT INTO password_exceptions * VALUES (?, ?) ON CONFLICT(url) DO "
                                        "UPDATE SET url = excluded.url, suggestions_count = "
                                        "excluded.suggestions_count;"),
        false);
    query.addBindValue(url);
    query.addBindValue(count);
    execute(query);
}

// ---- favicons ----

void DBWorker::getFavicons()
{
    auto query = prepare(QStringLiteral("SELECT base_url, favicon FROM favicons;"), false);
    if (!execute(query))
        return;

    QMap<QString, QString> favicons;
    while (query.next())
        favicons.insert(query.value(0).toString(), query.value(1).toString());
    deliver([=] { emit faviconsAvailable(favicons); });
}

void DBWorker::setFavicon(const QString& baseUrl, const QString& favicon, bool replace)
{
    auto query = prepare(replace ? QStringLiteral("INSERT OR REPLACE INTO favicons (base_url, favicon, date) "
                                                  "VALUES (?, ?, ?);")
                                 : QStringLiteral("INSERT OR IGNORE INTO favicons (base_url, favicon, date) "
                                                  "VALUES (?, ?, ?);"),
        false);
    query.addBindValue(baseUrl);
    query.addBindValue(favicon);
    query.addBindValue(now());
    execute(query);
}

void DBWorker::updateTimeFavicon(const QString& baseUrl)
{
    auto query = prepare(QStringLiteral("UPDATE favicons SET date = ? WHERE base_url = ?;"), false);
    query.addBindValue(now());
    query.addBindValue(baseUrl);
    execute(query);
}
