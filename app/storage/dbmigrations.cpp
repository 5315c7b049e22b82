#include "dbworker.h"

#include "dbschema.h"
#include "utils/logcategories.h"

#include <QSettings>
#include <QUrl>
#include <QVersionNumber>

#include <utility>

namespace
{
const QString migrationDone = QStringLiteral("Migration browser's DB to %1 is well done");
const QString migrationError = QStringLiteral("Error with migration browser's DB to %1");

// Until 1.208 there was one line of versions. Afterwards the 1.x and 2.x lines
// were released side by side, so a step carries one threshold per line.
bool below(const QVersionNumber& stored, const QVersionNumber& step)
{
    return QVersionNumber::compare(stored, step) < 0;
}

bool belowDual(
    const QVersionNumber& stored, const QVersionNumber& firstLine, const QVersionNumber& secondLine)
{
    return (stored.majorVersion() == 1 && below(stored, firstLine))
        || (stored.majorVersion() == 2 && below(stored, secondLine));
}

QString createTableStatement(const QString& name, const QString& columnsOf)
{
    return QStringLiteral("CREATE TABLE IF NOT EXISTS %1 (%2);").arg(name, schemaColumns(columnsOf));
}

// Where the host of a stored URL (or bare site) sits: after the first "://",
// up to the first "/" or, when it comes earlier, the ":" of a port.
std::pair<int, int> hostSpan(const QString& value)
{
    const int schemeEnd = value.indexOf(QLatin1String("://"));
    const int start = schemeEnd < 0 ? 0 : schemeEnd + 3;
    int end = value.indexOf(QLatin1Char('/'), start);
    if (end < 0)
        end = value.size();
    const int colon = value.indexOf(QLatin1Char(':'), start);
    if (colon >= 0 && colon < end)
        end = colon;
    return { start, end - start };
}

const QString yandexOldUrl = QStringLiteral("http://yandex.ru/yandsearch?text=%s");
const QString yandexUrl = QStringLiteral("https://yandex.ru/search/?text=%s");
} // namespace

void DBWorker::runMigrations(const QString& storedVersion)
{
    const QVersionNumber stored = QVersionNumber::fromString(storedVersion);

    // Runs the statements of one step in order and stops at the first failure.
    auto runStep = [this](const QStringList& statements) {
        for (const QString& sql : statements) {
            auto query = prepare(sql, false);
            if (!execute(query))
                return false;
        }
        return true;
    };
    auto simpleStep = [&](const QString& name, const QStringList& statements, const QString& error) {
        if (runStep(statements))
            qCInfo(lcMigration).noquote() << migrationDone.arg(name);
        else
            qCInfo(lcMigration).noquote() << error;
    };

    if (below(stored, QVersionNumber(1, 126))) {
        simpleStep(QStringLiteral("1.126"), { QStringLiteral("ALTER TABLE tab ADD COLUMN screenshot TEXT;") },
            migrationError.arg(QStringLiteral("1.126")));
    }
    if (below(stored, QVersionNumber(1, 133))) {
        simpleStep(QStringLiteral("1.133"),
            { QStringLiteral("ALTER TABLE tab ADD COLUMN device_mode INTEGER DEFAULT -1;"),
                QStringLiteral("UPDATE tab SET device_mode = CAST(is_desktop as INTEGER)"),
                QStringLiteral("ALTER TABLE tab DROP COLUMN is_desktop;") },
            QStringLiteral("Error with add column device_mode in table tab"));
    }
    if (below(stored, QVersionNumber(1, 180))) {
        simpleStep(QStringLiteral("1.180"),
            { createTableStatement(QStringLiteral("downloads"), QStringLiteral("downloads")) },
            migrationError.arg(QStringLiteral("1.180")));
    }
    if (below(stored, QVersionNumber(1, 187))) {
        simpleStep(QStringLiteral("1.187"),
            { QStringLiteral("ALTER TABLE permissions ADD COLUMN notification INTEGER") },
            migrationError.arg(QStringLiteral("1.187")));
    }
    if (below(stored, QVersionNumber(1, 208))) {
        simpleStep(QStringLiteral("1.208"),
            { createTableStatement(
                QStringLiteral("password_exceptions"), QStringLiteral("password_exceptions")) },
            migrationError.arg(QStringLiteral("1.208")));
    }
    if (belowDual(stored, QVersionNumber(1, 260), QVersionNumber(2, 0, 4))) {
        simpleStep(QStringLiteral("1.260/2.0.4"),
            { QStringLiteral("ALTER TABLE permissions ADD COLUMN screen_capture INTEGER") },
            migrationError.arg(QStringLiteral("1.260/2.0.4")));
    }
    if (belowDual(stored, QVersionNumber(1, 276), QVersionNumber(2, 0, 5))) {
        auto query = prepare(QStringLiteral("UPDATE search_engines SET url = ? WHERE url = ?;"), false);
        query.addBindValue(yandexUrl);
        query.addBindValue(yandexOldUrl);
        if (!execute(query))
            qCInfo(lcMigration).noquote()
                << "Error with DB migration to 1.276/2.0.5: update Yandex search engine";
    }
    if (belowDual(stored, QVersionNumber(1, 265), QVersionNumber(2, 1, 0)))
        moveSiteDataToSiteIds();
    if (belowDual(stored, QVersionNumber(1, 282), QVersionNumber(2, 1, 0))) {
        // Older releases stored internationalised hosts as the browser engine
        // reported them, in their ASCII form; people read and search them in Unicode.
        static const QVector<std::pair<QString, std::pair<QString, QString>>> columns = {
            { QStringLiteral("sites"), { QStringLiteral("site"), QStringLiteral("id") } },
            { QStringLiteral("link"), { QStringLiteral("url"), QStringLiteral("link_id") } },
            { QStringLiteral("browser_history"), { QStringLiteral("url"), QStringLiteral("id") } },
            { QStringLiteral("bookmark_node"), { QStringLiteral("url"), QStringLiteral("id") } },
            { QStringLiteral("downloads"), { QStringLiteral("url"), QStringLiteral("id") } },
            { QStringLiteral("search_engines"), { QStringLiteral("url"), QStringLiteral("id") } },
            { QStringLiteral("favicons"), { QStringLiteral("base_url"), QStringLiteral("base_url") } },
            { QStringLiteral("password_exceptions"), { QStringLiteral("url"), QStringLiteral("url") } },
        };
        bool allDone = true;
        for (const auto& entry : columns) {
            if (!fixAceHosts(entry.first, entry.second.second, entry.second.first)) {
                allDone = false;
                qCInfo(lcMigration).noquote()
                    << "Error with DB migration to 1.282/2.1.0: table" << entry.first << "update";
            }
        }
        if (allDone)
            qCInfo(lcMigration).noquote() << migrationDone.arg(QStringLiteral("1.282/2.1.0"));
    }
}

void DBWorker::moveSiteDataToSiteIds()
{
    const QString prefix = QStringLiteral("Error with DB migration to 1.265/2.1.0: ");
    // Every statement runs even when an earlier one failed: a half-moved table
    // is still replaced by one with the current layout, so that the queries of
    // this version work on it.
    const QVector<std::pair<QString, QString>> statements = {
        { QStringLiteral("ALTER TABLE tab DROP COLUMN device_mode"), QStringLiteral("tab table update") },
        { QStringLiteral("INSERT INTO sites (site) SELECT url FROM permissions;"),
            QStringLiteral("fill sites table") },
        { createTableStatement(QStringLiteral("permissions_temp"), QStringLiteral("permissions")),
            QStringLiteral("table permissions_temp create") },
        { QStringLiteral(
              "INSERT INTO permissions_temp SELECT sites.id, permissions.camera, permissions.microphone, "
              "permissions.geolocation, permissions.notification, permissions.screen_capture, "
              "permissions.popups, permissions.cookies FROM permissions JOIN sites ON sites.site = "
              "permissions.url"),
            QStringLiteral("fill permissions_temp table") },
        { QStringLiteral("DROP TABLE IF EXISTS permissions"), QStringLiteral("table permissions drop") },
        { QStringLiteral("ALTER TABLE permissions_temp RENAME TO permissions"),
            QStringLiteral("table permissions_temp rename") },
        { QStringLiteral("INSERT OR IGNORE INTO sites (site) SELECT site FROM site_dprs;"),
            QStringLiteral("fill sites table from site_dprs") },
        { createTableStatement(QStringLiteral("site_dprs_temp"), QStringLiteral("site_dprs")),
            QStringLiteral("table site_dprs_temp create") },
        { QStringLiteral(
              "INSERT INTO site_dprs_temp (site_id, dpr) SELECT sites.id, site_dprs.dpr FROM site_dprs "
              "JOIN sites ON sites.site = site_dprs.site"),
            QStringLiteral("fill site_dprs_temp table") },
        { QStringLiteral("DROP TABLE IF EXISTS site_dprs"), QStringLiteral("table site_dprs drop") },
        { QStringLiteral("ALTER TABLE site_dprs_temp RENAME TO site_dprs"),
            QStringLiteral("table site_dprs_temp rename") },
    };
    for (const auto& statement : statements) {
        auto query = prepare(statement.first, false);
        if (!execute(query))
            qCInfo(lcMigration).noquote() << prefix + statement.second;
    }
}

bool DBWorker::fixAceHosts(const QString& table, const QString& keyColumn, const QString& valueColumn)
{
    auto select = prepare(
        QStringLiteral("SELECT %1, %2 FROM %3 WHERE %2 LIKE '%xn--%';").arg(keyColumn, valueColumn, table),
        false);
    if (!execute(select))
        return false;
    // Read everything first: the updates may change the key the scan walks on.
    QVector<std::pair<QVariant, QString>> rows;
    while (select.next())
        rows.append({ select.value(0), select.value(1).toString() });
    select.finish();
    if (rows.isEmpty())
        return true;

    auto update = prepare(
        QStringLiteral("UPDATE %1 SET %2 = ? WHERE %3 = ?;").arg(table, valueColumn, keyColumn), false);
    bool ok = true;
    for (const auto& row : rows) {
        const std::pair<int, int> span = hostSpan(row.second);
        const QString host = row.second.mid(span.first, span.second);
        if (!host.contains(QLatin1String("xn--")))
            continue;
        const QString decoded = QUrl::fromAce(host.toUtf8());
        if (decoded.isEmpty())
            continue;
        QString value = row.second;
        value.replace(span.first, span.second, decoded);
        if (value == row.second)
            continue;
        update.addBindValue(value);
        update.addBindValue(row.first);
        if (!execute(update))
            ok = false;
    }
    return ok;
}

void DBWorker::insertDefaultRows()
{
    auto bookmarks = prepare(QStringLiteral("SELECT COUNT(*) FROM bookmark_node;"), false);
    if (execute(bookmarks) && bookmarks.next() && bookmarks.value(0).toInt() == 0) {
        bookmarks.finish();
        auto nodes
            = prepare(QStringLiteral("INSERT INTO bookmark_node (id, title, url) VALUES (0, NULL, NULL), "
                                     "(1, 'Bookmarks', NULL), (2, 'Quick access', NULL), "
                                     "(3, ?, ?), (4, ?, ?);"),
                false);
        //% "Nuvo"
        nodes.addBindValue(qtTrId("browser-la-nuvo"));
        nodes.addBindValue(QStringLiteral("https://nuvo.ru/"));
        //% "Orvane OS"
        nodes.addBindValue(qtTrId("browser-la-orvane_os"));
        nodes.addBindValue(QStringLiteral("https://orvaneos.ru/"));
        execute(nodes);
        auto structure = prepare(QStringLiteral("INSERT INTO bookmark_structure VALUES (0, 1, 1), (0, 2, 1), "
                                                "(2, 3, 1), (2, 4, 1), (0, 3, 2), (0, 4, 2);"),
            false);
        execute(structure);
    }

    auto engines = prepare(QStringLiteral("SELECT COUNT(*) FROM search_engines;"), false);
    if (execute(engines) && engines.next() && engines.value(0).toInt() == 0) {
        engines.finish();
        auto insert = prepare(QStringLiteral("INSERT INTO search_engines (id, name, url, editable) VALUES "
                                             "(0, 'DuckDuckGo', 'https://duckduckgo.com/?q=%s', FALSE), "
                                             "(1, 'Google', 'https://www.google.com/search?q=%s', FALSE), "
                                             "(2, ?, ?, FALSE);"),
            false);
        //% "Yandex"
        insert.addBindValue(qtTrId("browser-la-yandex"));
        insert.addBindValue(yandexUrl);
        execute(insert);
    }
}

void DBWorker::seedPrivateDatabase()
{
    const QStringList statements = {
        QStringLiteral("ATTACH DATABASE %1 AS main_db;").arg(sqlLiteral(databaseFilePath())),
        QStringLiteral("INSERT INTO sites SELECT * FROM main_db.sites;"),
        QStringLiteral("INSERT INTO device_modes SELECT * FROM main_db.device_modes;"),
        QStringLiteral("INSERT INTO site_dprs SELECT * FROM main_db.site_dprs;"),
        QStringLiteral("DETACH DATABASE main_db;"),
    };
    for (const QString& sql : statements) {
        auto query = prepare(sql, true);
        execute(query);
    }
}

void DBWorker::trimOldData()
{
    QSettings settings;
    auto history = prepare(QStringLiteral("DELETE FROM browser_history WHERE id NOT IN (SELECT id from "
                                          "browser_history ORDER BY date DESC LIMIT ? );"),
        false);
    history.addBindValue(settings.value(QStringLiteral("max_browser_history_size"), 2000).toInt());
    if (!execute(history))
        qCWarning(lcStorage) << "Failed to clear older history items";

    auto favicons = prepare(QStringLiteral("DELETE FROM favicons WHERE base_url NOT IN (SELECT base_url from "
                                           "favicons ORDER BY date DESC LIMIT ? );"),
        false);
    favicons.addBindValue(settings.value(QStringLiteral("max_browser_favicons_size"), 10000).toInt());
    if (!execute(favicons))
        qCWarning(lcStorage) << "Failed to clear older favicon items";

    auto sites = prepare(QStringLiteral("DELETE FROM sites WHERE id NOT IN (SELECT site_id FROM permissions) "
                                        "AND id NOT IN (SELECT site_id FROM site_dprs);"),
        false);
    if (!execute(sites))
        qCWarning(lcStorage) << "Failed to clear unnecessary sites";
}
