#include "storage/dbworker.h"
#include "support/dbfileprobe.h"
#include "support/logcapture.h"
#include "support/tempprofile.h"

#include <QCoreApplication>
#include <QDir>
#include <QVersionNumber>
#include <QtTest>

// Files left by older releases, built here table by table in the layout each
// release wrote, then opened by the current code.
namespace
{

const QString idnAce = QStringLiteral("xn--e1afmkfd.xn--p1ai");
const QString idnUnicode
    = QString::fromUtf8("\xd0\xbf\xd1\x80\xd0\xb8\xd0\xbc\xd0\xb5\xd1\x80.\xd1\x80\xd1\x84");
const QString yandexOld = QStringLiteral("http://yandex.ru/yandsearch?text=%s");
const QString yandexNew = QStringLiteral("https://yandex.ru/search/?text=%s");

bool below(const QString& version, int major, int minor, int micro = 0)
{
    return QVersionNumber::compare(QVersionNumber::fromString(version), QVersionNumber(major, minor, micro))
        < 0;
}

// Whether a release of either numbering line had already reached a change
// that was shipped as 1.x on one line and 2.x on the other.
bool reached(const QString& version, int firstMinor, int secondMinor, int secondMicro)
{
    const QVersionNumber v = QVersionNumber::fromString(version);
    if (v.majorVersion() == 1)
        return !below(version, 1, firstMinor);
    return !below(version, 2, secondMinor, secondMicro);
}

// Writes the tables of the given release with a few rows of user data.
bool buildOldFile(DbFileProbe& db, const QString& version)
{
    const bool keyedBySiteId = reached(version, 265, 1, 0);
    QStringList sql;

    QStringList tabColumns = { QStringLiteral("tab_id INTEGER PRIMARY KEY AUTOINCREMENT"),
        QStringLiteral("tab_history_id INTEGER"), QStringLiteral("order_index INTEGER") };
    if (!below(version, 1, 126))
        tabColumns << QStringLiteral("screenshot TEXT");
    if (below(version, 1, 133))
        tabColumns << QStringLiteral("is_desktop BOOLEAN");
    else if (!keyedBySiteId)
        tabColumns << QStringLiteral("device_mode INTEGER DEFAULT -1");
    sql << QStringLiteral("CREATE TABLE tab (%1);").arg(tabColumns.join(QStringLiteral(", ")));
    sql << QStringLiteral("INSERT INTO tab (tab_id, tab_history_id, order_index) VALUES (1, 1, 0);");

    sql << QStringLiteral(
        "CREATE TABLE link (link_id INTEGER PRIMARY KEY AUTOINCREMENT, url TEXT, title TEXT, "
        "thumb_path TEXT);")
        << QStringLiteral("INSERT INTO link (url, title) VALUES ('https://%1/path/xn--80a?q=1', 'idn');")
               .arg(idnAce)
        << QStringLiteral(
               "INSERT INTO link (url, title) VALUES ('https://plain.example.com/xn--80a', 'plain');")
        << QStringLiteral(
               "CREATE TABLE browser_history (id INTEGER PRIMARY KEY AUTOINCREMENT, url TEXT, title TEXT, "
               "favorite_icon TEXT, visited_count INTEGER DEFAULT 1, date INTEGER);")
        << QStringLiteral(
               "INSERT INTO browser_history (url, title, date) VALUES ('http://%1:8080/a', 'port', %2);")
               .arg(idnAce)
               .arg(QDateTime::currentMSecsSinceEpoch())
        << QStringLiteral("CREATE TABLE tab_history (id INTEGER PRIMARY KEY AUTOINCREMENT, tab_id INTEGER, "
                          "link_id INTEGER, date INTEGER);")
        << QStringLiteral("INSERT INTO tab_history (tab_id, link_id, date) VALUES (1, 1, 0);")
        << QStringLiteral(
               "CREATE TABLE bookmark_node (id INTEGER PRIMARY KEY AUTOINCREMENT, title TEXT, url TEXT);")
        << QStringLiteral("INSERT INTO bookmark_node VALUES (0, NULL, NULL), (1, 'Bookmarks', NULL), "
                          "(7, 'saved', '%1/page');")
               .arg(idnAce)
        << QStringLiteral(
               "CREATE TABLE bookmark_structure (ancestor INTEGER, descendant INTEGER, depth INTEGER);")
        << QStringLiteral("INSERT INTO bookmark_structure VALUES (0, 1, 1), (0, 7, 2), (1, 7, 1);")
        << QStringLiteral(
               "CREATE TABLE search_engines (id INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT, url TEXT, "
               "editable BIT);")
        << QStringLiteral(
               "INSERT INTO search_engines VALUES (0, 'DuckDuckGo', 'https://duckduckgo.com/?q=%s', 0), "
               "(2, 'Yandex', '%1', 0), (5, 'Mine', 'https://search.%2/?q=%s', 1);")
               .arg(yandexOld, idnAce)
        << QStringLiteral("CREATE TABLE favicons (base_url TEXT PRIMARY KEY, favicon TEXT, date INTEGER);")
        << QStringLiteral("INSERT INTO favicons VALUES ('https://%1', 'data:icon', 5);").arg(idnAce);

    // Permissions: keyed by the site URL until sites got ids; notification and
    // screen capture arrived later as extra columns.
    if (keyedBySiteId) {
        sql << QStringLiteral("CREATE TABLE sites (id INTEGER PRIMARY KEY AUTOINCREMENT, site TEXT UNIQUE);")
            << QStringLiteral(
                   "INSERT INTO sites (id, site) VALUES (1, 'https://maps.example.com'), (2, 'https://%1'), "
                   "(3, 'https://zoom.example.org');")
                   .arg(idnAce)
            << QStringLiteral("CREATE TABLE permissions (site_id INTEGER PRIMARY KEY, camera INTEGER, "
                              "microphone INTEGER, geolocation INTEGER, notification INTEGER, "
                              "screen_capture INTEGER, popups INTEGER, cookies INTEGER);")
            << QStringLiteral(
                   "INSERT INTO permissions (site_id, camera, microphone, geolocation, popups, cookies) "
                   "VALUES (1, 1, 0, 2, 1, 1), (2, 0, NULL, NULL, 0, 1);")
            << QStringLiteral(
                   "CREATE TABLE site_dprs (id INTEGER PRIMARY KEY AUTOINCREMENT, site_id INTEGER UNIQUE, "
                   "dpr FLOAT);")
            << QStringLiteral("INSERT INTO site_dprs (site_id, dpr) VALUES (3, 1.5);")
            << QStringLiteral("CREATE TABLE device_modes (domain TEXT PRIMARY KEY, device_mode INTEGER);")
            << QStringLiteral("INSERT INTO device_modes VALUES ('example.com', 1);");
    } else {
        QStringList permissionColumns
            = { QStringLiteral("url TEXT PRIMARY KEY"), QStringLiteral("camera INTEGER"),
                  QStringLiteral("microphone INTEGER"), QStringLiteral("geolocation INTEGER"),
                  QStringLiteral("popups INTEGER"), QStringLiteral("cookies INTEGER") };
        if (!below(version, 1, 187))
            permissionColumns << QStringLiteral("notification INTEGER");
        if (reached(version, 260, 0, 4))
            permissionColumns << QStringLiteral("screen_capture INTEGER");
        sql << QStringLiteral("CREATE TABLE permissions (%1);")
                   .arg(permissionColumns.join(QStringLiteral(", ")))
            << QStringLiteral(
                   "INSERT INTO permissions (url, camera, microphone, geolocation, popups, cookies) "
                   "VALUES ('https://maps.example.com', 1, 0, 2, 1, 1), ('https://%1', 0, NULL, NULL, 0, 1);")
                   .arg(idnAce);
        // Zoom per site came with the screen settings, after the first releases.
        if (!below(version, 1, 150)) {
            sql << QStringLiteral(
                "CREATE TABLE site_dprs (id INTEGER PRIMARY KEY AUTOINCREMENT, site TEXT UNIQUE, "
                "dpr FLOAT);")
                << QStringLiteral(
                       "INSERT INTO site_dprs (site, dpr) VALUES ('https://zoom.example.org', 1.5);");
        }
    }
    if (!below(version, 1, 180))
        sql << QStringLiteral(
            "CREATE TABLE downloads (id INTEGER PRIMARY KEY AUTOINCREMENT, path TEXT UNIQUE, "
            "url TEXT, last_modified INTEGER, status INTEGER DEFAULT 0);")
            << QStringLiteral("INSERT INTO downloads (path, url) VALUES ('/tmp/a.pdf', 'https://%1/a.pdf');")
                   .arg(idnAce);
    if (!below(version, 1, 208))
        sql << QStringLiteral(
            "CREATE TABLE password_exceptions (url TEXT UNIQUE, suggestions_count INTEGER);")
            << QStringLiteral("INSERT INTO password_exceptions VALUES ('https://%1', -1);").arg(idnAce);
    sql << QStringLiteral("CREATE TABLE metadata (db_version TEXT);")
        << QStringLiteral("INSERT INTO metadata VALUES ('%1');").arg(version);

    sql.prepend(QStringLiteral("BEGIN;"));
    sql.append(QStringLiteral("COMMIT;"));
    for (const QString& statement : sql) {
        if (!db.exec(statement))
            return false;
    }
    return true;
}

QString done(const QString& step)
{
    return QStringLiteral("Migration browser's DB to %1 is well done").arg(step);
}

} // namespace

class TestDbInitMigrations : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void ladder_data();
    void ladder();
    void failedStepDoesNotStopTheLadder();
};

void TestDbInitMigrations::initTestCase()
{
    QCoreApplication::setOrganizationName(QStringLiteral("ru.nuvo"));
    QCoreApplication::setApplicationName(QStringLiteral("webdeck"));
}

void TestDbInitMigrations::ladder_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<QStringList>("messages"); // ladder messages, in order
    QTest::addColumn<bool>("yandexUpdated");
    QTest::addColumn<bool>("hostsDecoded");

    const QString sitesFromDprs
        = QStringLiteral("Error with DB migration to 1.265/2.1.0: fill sites table from site_dprs");
    const QString fillDprs
        = QStringLiteral("Error with DB migration to 1.265/2.1.0: fill site_dprs_temp table");

    QTest::newRow("1.100") << QStringLiteral("1.100")
                           << QStringList({ done(QStringLiteral("1.126")), done(QStringLiteral("1.133")),
                                  done(QStringLiteral("1.180")), done(QStringLiteral("1.187")),
                                  done(QStringLiteral("1.208")), done(QStringLiteral("1.260/2.0.4")),
                                  // No zoom table yet: its move fails, the new one is empty.
                                  sitesFromDprs, fillDprs, done(QStringLiteral("1.282/2.1.0")) })
                           << true << true;
    QTest::newRow("1.200") << QStringLiteral("1.200")
                           << QStringList({ done(QStringLiteral("1.208")),
                                  done(QStringLiteral("1.260/2.0.4")), done(QStringLiteral("1.282/2.1.0")) })
                           << true << true;
    QTest::newRow("1.270") << QStringLiteral("1.270") << QStringList({ done(QStringLiteral("1.282/2.1.0")) })
                           << true << true;
    QTest::newRow("1.280") << QStringLiteral("1.280") << QStringList({ done(QStringLiteral("1.282/2.1.0")) })
                           << false << true;
    QTest::newRow("1.282") << QStringLiteral("1.282") << QStringList() << false << false;
    QTest::newRow("2.0.4") << QStringLiteral("2.0.4") << QStringList({ done(QStringLiteral("1.282/2.1.0")) })
                           << true << true;
    QTest::newRow("2.0.5") << QStringLiteral("2.0.5") << QStringList({ done(QStringLiteral("1.282/2.1.0")) })
                           << false << true;
    QTest::newRow("2.1.0") << QStringLiteral("2.1.0") << QStringList() << false << false;
    QTest::newRow("2.1.0.5 current") << QStringLiteral("2.1.0.5") << QStringList() << false << false;
}

void TestDbInitMigrations::ladder()
{
    QFETCH(QString, version);
    QFETCH(QStringList, messages);
    QFETCH(bool, yandexUpdated);
    QFETCH(bool, hostsDecoded);

    TempProfile profile;
    QVERIFY(QDir().mkpath(profile.dataLocation()));
    {
        DbFileProbe db(profile.databasePath());
        QVERIFY2(buildOldFile(db, version), qPrintable(db.lastError()));
    }

    LogCapture log("browser.app.migration");
    {
        DBWorker worker;
        worker.init();
    }
    QStringList ladder = log.messages();
    ladder.erase(std::remove_if(ladder.begin(), ladder.end(),
                     [](const QString& m) {
                         return !m.startsWith(QLatin1String("Migration "))
                             && !m.startsWith(QLatin1String("Error with"));
                     }),
        ladder.end());
    QCOMPARE(ladder, messages);
    QCOMPARE(log.startingWith(QStringLiteral("Current version of browser's DB is")),
        QStringList({ QStringLiteral("Current version of browser's DB is \"%1\"").arg(version) }));
    const bool current = version == QLatin1String("2.1.0.5");
    QCOMPARE(log.startingWith(QStringLiteral("Set version of browser's DB to")),
        current ? QStringList()
                : QStringList({ QStringLiteral("Set version of browser's DB to \"2.1.0.5\"") }));

    DbFileProbe db(profile.databasePath());
    QCOMPARE(db.column(QStringLiteral("SELECT db_version FROM metadata;")),
        QVariantList({ QStringLiteral("2.1.0.5") }));

    // Every table ends in the current layout.
    QCOMPARE(db.tables().size(), 15);
    QStringList tabColumns = db.columns(QStringLiteral("tab"));
    tabColumns.sort();
    QCOMPARE(tabColumns,
        QStringList({ QStringLiteral("order_index"), QStringLiteral("screenshot"),
            QStringLiteral("tab_history_id"), QStringLiteral("tab_id") }));
    QCOMPARE(db.columns(QStringLiteral("permissions")),
        QStringList({ QStringLiteral("site_id"), QStringLiteral("camera"), QStringLiteral("microphone"),
            QStringLiteral("geolocation"), QStringLiteral("notification"), QStringLiteral("screen_capture"),
            QStringLiteral("popups"), QStringLiteral("cookies") }));
    QCOMPARE(db.columns(QStringLiteral("site_dprs")),
        QStringList({ QStringLiteral("id"), QStringLiteral("site_id"), QStringLiteral("dpr") }));

    // Permissions reach their sites through the sites table, whichever layout they came from.
    const QString idnSite = QStringLiteral("https://") + (hostsDecoded ? idnUnicode : idnAce);
    const QList<QVariantList> permissions = db.rows(
        QStringLiteral("SELECT sites.site, camera, microphone, geolocation, popups, cookies FROM permissions "
                       "JOIN sites ON sites.id = permissions.site_id ORDER BY sites.site;"));
    QCOMPARE(permissions.size(), 2);
    const QVariantList maps = { QStringLiteral("https://maps.example.com"), 1, 0, 2, 1, 1 };
    const QVariantList idn = { idnSite, 0, QVariant(), QVariant(), 0, 1 };
    for (int c = 0; c < maps.size(); ++c) {
        QCOMPARE(permissions.at(0).at(c).toString(), maps.at(c).toString());
        QCOMPARE(permissions.at(1).at(c).toString(), idn.at(c).toString());
        QCOMPARE(permissions.at(1).at(c).isNull(), idn.at(c).isNull());
    }

    const QList<QVariantList> dprs = db.rows(QStringLiteral(
        "SELECT sites.site, site_dprs.dpr FROM site_dprs JOIN sites ON sites.id = site_dprs.site_id;"));
    if (version == QLatin1String("1.100")) {
        QVERIFY(dprs.isEmpty());
    } else {
        QCOMPARE(dprs.size(), 1);
        QCOMPARE(dprs.at(0).at(0).toString(), QStringLiteral("https://zoom.example.org"));
        QCOMPARE(dprs.at(0).at(1).toDouble(), 1.5);
    }

    QCOMPARE(db.value(QStringLiteral("SELECT url FROM search_engines WHERE id = 2;")).toString(),
        yandexUpdated ? yandexNew : yandexOld);

    // Only the host is decoded; an "xn--" elsewhere in the URL stays as it is.
    const QString host = hostsDecoded ? idnUnicode : idnAce;
    QCOMPARE(db.column(QStringLiteral("SELECT url FROM link ORDER BY link_id;")),
        QVariantList({ QStringLiteral("https://%1/path/xn--80a?q=1").arg(host),
            QStringLiteral("https://plain.example.com/xn--80a") }));
    QCOMPARE(db.value(QStringLiteral("SELECT url FROM browser_history;")).toString(),
        QStringLiteral("http://%1:8080/a").arg(host));
    QCOMPARE(db.value(QStringLiteral("SELECT url FROM bookmark_node WHERE id = 7;")).toString(),
        QStringLiteral("%1/page").arg(host));
    QCOMPARE(db.value(QStringLiteral("SELECT url FROM search_engines WHERE id = 5;")).toString(),
        QStringLiteral("https://search.%1/?q=%s").arg(host));
    QCOMPARE(db.column(QStringLiteral("SELECT base_url FROM favicons;")),
        QVariantList({ QStringLiteral("https://%1").arg(host) }));
    if (!below(version, 1, 180)) {
        QCOMPARE(db.value(QStringLiteral("SELECT url FROM downloads;")).toString(),
            QStringLiteral("https://%1/a.pdf").arg(host));
    }
    if (!below(version, 1, 208)) {
        QCOMPARE(db.column(QStringLiteral("SELECT url FROM password_exceptions;")),
            QVariantList({ QStringLiteral("https://%1").arg(host) }));
    }

    // User data outside the moved tables is untouched, and an old file gets no presets.
    QCOMPARE(db.value(QStringLiteral("SELECT COUNT(*) FROM bookmark_node;")).toInt(), 3);
    QCOMPARE(db.value(QStringLiteral("SELECT COUNT(*) FROM search_engines;")).toInt(), 3);
    QCOMPARE(db.value(QStringLiteral("SELECT COUNT(*) FROM tab_history;")).toInt(), 1);
}

void TestDbInitMigrations::failedStepDoesNotStopTheLadder()
{
    // A 1.200 file in which an earlier, broken release already added the
    // screen capture column: that step fails, the later ones still run and
    // the version still moves on, so the failure is not retried at every start.
    TempProfile profile;
    QVERIFY(QDir().mkpath(profile.dataLocation()));
    {
        DbFileProbe db(profile.databasePath());
        QVERIFY2(buildOldFile(db, QStringLiteral("1.200")), qPrintable(db.lastError()));
        QVERIFY(db.exec(QStringLiteral("ALTER TABLE permissions ADD COLUMN screen_capture INTEGER;")));
    }
    LogCapture log("browser.app.migration");
    {
        DBWorker worker;
        worker.init();
    }
    QVERIFY(log.messages().contains(QStringLiteral("Error with migration browser's DB to 1.260/2.0.4")));
    QVERIFY(log.messages().contains(done(QStringLiteral("1.282/2.1.0"))));
    DbFileProbe db(profile.databasePath());
    QCOMPARE(
        db.value(QStringLiteral("SELECT db_version FROM metadata;")).toString(), QStringLiteral("2.1.0.5"));
    QCOMPARE(db.value(QStringLiteral(
                          "SELECT COUNT(*) FROM permissions JOIN sites ON sites.id = permissions.site_id;"))
                 .toInt(),
        2);
}

QTEST_GUILESS_MAIN(TestDbInitMigrations)
#include "tst_dbinit_migrations.moc"
