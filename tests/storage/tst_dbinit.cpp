#include "storage/dbworker.h"
#include "support/dbfileprobe.h"
#include "support/logcapture.h"
#include "support/tempprofile.h"

#include <QCoreApplication>
#include <QDir>
#include <QSettings>
#include <QVersionNumber>
#include <QtTest>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

// What a start leaves in the profile from nothing, an older layout or a damaged file.
namespace
{
const QString idnAce = QStringLiteral("xn--e1afmkfd.xn--p1ai");
const QString idnUnicode
    = QString::fromUtf8("\xd0\xbf\xd1\x80\xd0\xb8\xd0\xbc\xd0\xb5\xd1\x80.\xd1\x80\xd1\x84");

QStringList strings(std::initializer_list<const char*> items)
{
    QStringList result;
    for (const char* item : items)
        result << QString::fromUtf8(item);
    return result;
}

// Takes a directory's write permission away or gives it back, for root too (immutable flag).
void setWritable(const QString& path, bool writable)
{
    if (geteuid() != 0) {
        QFile::setPermissions(
            path, QFile::ReadOwner | QFile::ExeOwner | (writable ? QFile::WriteOwner : QFile::Permission()));
        return;
    }
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY);
    int flags = 0;
    if (fd >= 0 && ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0) {
        flags = writable ? flags & ~FS_IMMUTABLE_FL : flags | FS_IMMUTABLE_FL;
        ioctl(fd, FS_IOC_SETFLAGS, &flags);
    }
    if (fd >= 0)
        ::close(fd);
}

QStringList rows(const QSqlDatabase& db, const char* sql)
{
    return sqlRows(db, QString::fromUtf8(sql));
}

// Every table with its columns, in table order.
QStringList schema(const QSqlDatabase& db)
{
    return rows(db,
        "SELECT m.name, group_concat(p.name, ', ') FROM sqlite_master m JOIN "
        "pragma_table_info(m.name) p WHERE m.type = 'table' AND m.name NOT LIKE 'sqlite_%' "
        "GROUP BY m.name ORDER BY m.name;");
}

const QStringList currentSchema
    = strings({ "bookmark_node|id, title, url", "bookmark_structure|ancestor, descendant, depth",
        "browser_history|id, url, title, favorite_icon, visited_count, date",
        "device_modes|domain, device_mode", "downloads|id, path, url, last_modified, status",
        "favicons|base_url, favicon, date", "link|link_id, url, title, thumb_path", "metadata|db_version",
        "password_exceptions|url, suggestions_count",
        "permissions|site_id, camera, microphone, geolocation, notification, screen_capture, popups, cookies",
        "search_engines|id, name, url, editable", "site_dprs|id, site_id, dpr", "sites|id, site",
        "tab|tab_id, tab_history_id, screenshot, order_index", "tab_history|id, tab_id, link_id, date" });

// Whether a release had a change, shipped as 1.<minor> or, on the other numbering line, as <second>.
bool reached(const QString& version, int minor, const QVersionNumber& second = {})
{
    const QVersionNumber v = QVersionNumber::fromString(version);
    return v.majorVersion() == 1 ? v.minorVersion() >= minor : v >= second;
}

// Turns a current file into the layout an older release wrote, with a few rows of user
// data. "ACE" stands for an internationalised host in the ASCII form they stored.
QStringList oldLayout(const QString& version)
{
    const bool bySiteId = reached(version, 265, QVersionNumber(2, 1, 0));
    QString tab = QStringLiteral("tab_id INTEGER PRIMARY KEY, tab_history_id INTEGER, order_index INTEGER");
    if (reached(version, 126))
        tab += QStringLiteral(", screenshot TEXT");
    if (!reached(version, 133))
        tab += QStringLiteral(", is_desktop BOOLEAN");
    else if (!bySiteId)
        tab += QStringLiteral(", device_mode INTEGER DEFAULT -1");
    QStringList sql = strings({ "DELETE FROM bookmark_node;", "DELETE FROM bookmark_structure;",
        "DELETE FROM search_engines;", "DROP TABLE tab;",
        "INSERT INTO link (url) VALUES ('https://ACE/path/xn--80a?q=1'), ('https://a.example/xn--80a');",
        "INSERT INTO browser_history (url, date) VALUES ('http://ACE:8080/a', 1);",
        "INSERT INTO tab_history VALUES (1, 1, 1, 0);",
        "INSERT INTO bookmark_node VALUES (0, NULL, NULL), (1, 'Bookmarks', NULL), (7, 'saved', 'ACE/page');",
        "INSERT INTO search_engines VALUES (0, 'DuckDuckGo', 'https://duckduckgo.com/?q=%s', 0), "
        "(2, 'Yandex', 'http://yandex.ru/yandsearch?text=%s', 0), (5, 'Mine', 'https://s.ACE/?q=%s', 1);",
        "INSERT INTO favicons VALUES ('https://ACE', 'data:icon', 5);",
        "INSERT INTO downloads (path, url) VALUES ('/tmp/a.pdf', 'https://ACE/a.pdf');",
        "INSERT INTO password_exceptions VALUES ('https://ACE', -1);",
        "INSERT INTO sites VALUES (1, 'https://maps.example'), (2, 'https://ACE'), (3, "
        "'https://zoom.example');",
        "INSERT INTO permissions (site_id, camera, microphone, geolocation, popups, cookies) "
        "VALUES (1, 1, 0, 2, 1, 1), (2, 0, NULL, NULL, 0, 1);",
        "INSERT INTO site_dprs (site_id, dpr) VALUES (3, 1.5);" });
    sql << QStringLiteral("CREATE TABLE tab (%1);").arg(tab)
        << QStringLiteral("INSERT INTO tab (tab_id, tab_history_id, order_index) VALUES (1, 1, 0);")
        << QStringLiteral("UPDATE metadata SET db_version = '%1';").arg(version);
    if (!bySiteId) {
        // Until sites got ids, per-site data was keyed by the site's URL.
        QString permissions = QStringLiteral("url TEXT PRIMARY KEY, camera INTEGER, microphone INTEGER, "
                                             "geolocation INTEGER, popups INTEGER, cookies INTEGER");
        if (reached(version, 187))
            permissions += QStringLiteral(", notification INTEGER");
        if (reached(version, 260, QVersionNumber(2, 0, 4)))
            permissions += QStringLiteral(", screen_capture INTEGER");
        sql << strings({ "DROP TABLE sites;", "DROP TABLE device_modes;", "DROP TABLE permissions;",
            "DROP TABLE site_dprs;" })
            << QStringLiteral("CREATE TABLE permissions (%1);").arg(permissions)
            << QStringLiteral(
                   "INSERT INTO permissions (url, camera, microphone, geolocation, popups, cookies) "
                   "VALUES ('https://maps.example', 1, 0, 2, 1, 1), ('https://ACE', 0, NULL, NULL, 0, 1);");
        if (reached(version, 150)) // zoom per site came with the screen settings
            sql << QStringLiteral(
                "CREATE TABLE site_dprs (id INTEGER PRIMARY KEY, site TEXT UNIQUE, dpr FLOAT);")
                << QStringLiteral("INSERT INTO site_dprs (site, dpr) VALUES ('https://zoom.example', 1.5);");
    }
    if (!reached(version, 180))
        sql << QStringLiteral("DROP TABLE downloads;");
    if (!reached(version, 208))
        sql << QStringLiteral("DROP TABLE password_exceptions;");
    return sql.replaceInStrings(QStringLiteral("ACE"), idnAce);
}
} // namespace

class TestDbInit : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void firstAndSecondStart();
    void ladder_data();
    void ladder();
    void unusableFileIsMovedAside_data();
    void unusableFileIsMovedAside();
    void trims_data();
    void trims();
};

void TestDbInit::initTestCase()
{
    QCoreApplication::setOrganizationName(QStringLiteral("ru.nuvo"));
    QCoreApplication::setApplicationName(QStringLiteral("webdeck"));
}

void TestDbInit::firstAndSecondStart()
{
    TempProfile profile;
    // The file's path is spliced into the statement that attaches it to the private database.
    qputenv("XDG_DATA_HOME",
        QFile::encodeName(QDir(profile.path()).absoluteFilePath(QStringLiteral("it's data"))));
    QVERIFY(profile.databasePath().contains(QLatin1Char('\'')));
    LogCapture log("browser.app.migration");
    DBWorker().init();
    DbFileProbe file(profile.databasePath());
    const QSqlDatabase db = file.database();
    QCOMPARE(schema(db), currentSchema);
    QCOMPARE(rows(db,
                 "SELECT db_version, journal_mode, (SELECT COUNT(*) FROM sqlite_master WHERE name IN "
                 "('browser_history_url_date_title_visited_count', 'tab_history_tab_id')) FROM metadata, "
                 "pragma_journal_mode;"),
        strings({ "2.1.0.5|wal|2" }));
    // Without a catalogue the translated titles are their ids.
    QCOMPARE(rows(db, "SELECT id, title, url LIKE 'https://_%' FROM bookmark_node;"),
        strings({ "0|NULL|NULL", "1|Bookmarks|NULL", "2|Quick access|NULL", "3|browser-la-nuvo|1",
            "4|browser-la-orvane_os|1" }));
    QCOMPARE(rows(db, "SELECT * FROM bookmark_structure ORDER BY ancestor, descendant;"),
        strings({ "0|1|1", "0|2|1", "0|3|2", "0|4|2", "2|3|1", "2|4|1" }));
    QCOMPARE(rows(db,
                 "SELECT id, name, editable, substr(url, 1, 8), substr(url, instr(substr(url, 9), '/') + 8) "
                 "FROM search_engines;"),
        strings({ "0|DuckDuckGo|0|https://|/?q=%s", "1|Google|0|https://|/search?q=%s",
            "2|browser-la-yandex|0|https://|/search/?text=%s" }));

    // Lost tables come back, presets only into empty tables; a current file is not migrated.
    QVERIFY(file.execAll(strings({ "DELETE FROM bookmark_node WHERE id IN (3, 4);", "DROP TABLE downloads;",
        "DROP TABLE search_engines;", "INSERT INTO sites VALUES (1, 'cam.ex'), (2, 'zoom.ex');",
        "INSERT INTO permissions (site_id) VALUES (1);", "INSERT INTO site_dprs VALUES (9, 2, 1.75);",
        "INSERT INTO device_modes VALUES ('example.com', 1), ('o''brien.example', 0);",
        "INSERT INTO browser_history (url) VALUES ('a');", "INSERT INTO tab VALUES (1, 1, NULL, 0);" })));
    DBWorker worker;
    worker.init();
    QCOMPARE(log.messages(),
        strings({ "Create browser's DB", "Set version of browser's DB to \"2.1.0.5\"",
            "Current version of browser's DB is \"2.1.0.5\"" }));
    QCOMPARE(schema(db), currentSchema);
    QCOMPARE(rows(db, "SELECT (SELECT COUNT(*) FROM bookmark_node), COUNT(*) FROM search_engines;"),
        strings({ "3|3" }));

    // Private tabs get the file's per-site screen settings and nothing else; the
    // worker runs on this thread, so its private connection can be read here.
    const QSqlDatabase mem = QSqlDatabase::database(DBWorker::privateConnectionName(), false);
    QCOMPARE(schema(mem), currentSchema);
    QCOMPARE(rows(mem,
                 "SELECT * FROM sites UNION ALL SELECT * FROM device_modes UNION ALL SELECT id || ':' || "
                 "site_id, dpr FROM site_dprs UNION ALL SELECT COUNT(*), 'no history' FROM browser_history "
                 "UNION ALL SELECT COUNT(*), 'no tabs' FROM tab UNION ALL SELECT COUNT(*), "
                 "'no permissions' FROM permissions UNION ALL SELECT COUNT(*), 'databases' FROM "
                 "pragma_database_list;"),
        strings({ "1|cam.ex", "2|zoom.ex", "example.com|1", "o'brien.example|0", "9:2|1.75", "0|no history",
            "0|no tabs", "0|no permissions", "1|databases" }));
    // What they set stays there.
    worker.setDeviceMode(QStringLiteral("private.example"), 1, true);
    worker.addDpr(QStringLiteral("https://private.example/page"), 2, true);
    QCOMPARE(rows(db, "SELECT site FROM sites UNION ALL SELECT domain FROM device_modes;"),
        strings({ "cam.ex", "zoom.ex", "example.com", "o'brien.example" }));
}

void TestDbInit::ladder_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<QStringList>("tamper"); // run on the old file before the start
    QTest::addColumn<QStringList>("steps"); // ladder messages; bare names are "well done" steps
    QTest::addColumn<bool>("yandexUpdated");
    QTest::addColumn<bool>("hostsDecoded");

    const char* hosts = "1.282/2.1.0";
    QTest::newRow("1.100") << "1.100" << QStringList()
                           << strings({ "1.126", "1.133", "1.180", "1.187", "1.208", "1.260/2.0.4",
                                  // No zoom table yet: its move fails, the new one is empty.
                                  "Error with DB migration to 1.265/2.1.0: fill sites table from site_dprs",
                                  "Error with DB migration to 1.265/2.1.0: fill site_dprs_temp table",
                                  hosts })
                           << true << true;
    // A failed step neither stops the ladder nor keeps the old version, so it is not retried at every start.
    QTest::newRow("1.200, screen capture already added")
        << "1.200" << strings({ "ALTER TABLE permissions ADD COLUMN screen_capture INTEGER;" })
        << strings({ "1.208", "Error with migration browser's DB to 1.260/2.0.4", hosts }) << true << true;
    QTest::newRow("1.280") << "1.280" << QStringList() << strings({ hosts }) << false << true;
    QTest::newRow("1.282") << "1.282" << QStringList() << QStringList() << false << false;
    QTest::newRow("2.0.4") << "2.0.4" << QStringList() << strings({ hosts }) << true << true;
    QTest::newRow("2.1.0.5 current") << "2.1.0.5" << QStringList() << QStringList() << false << false;
}

void TestDbInit::ladder()
{
    QFETCH(QString, version);
    QFETCH(QStringList, tamper);
    QFETCH(QStringList, steps);
    QFETCH(bool, yandexUpdated);
    QFETCH(bool, hostsDecoded);
    TempProfile profile;
    DBWorker().init();
    QVERIFY(DbFileProbe(profile.databasePath()).execAll(oldLayout(version) + tamper));
    LogCapture log("browser.app.migration");
    DBWorker().init();

    steps.replaceInStrings(QRegularExpression(QStringLiteral("^([\\d./]+)$")),
        QStringLiteral("Migration browser's DB to \\1 is well done"));
    steps.prepend(QStringLiteral("Current version of browser's DB is \"%1\"").arg(version));
    if (version != QLatin1String("2.1.0.5"))
        steps << QStringLiteral("Set version of browser's DB to \"2.1.0.5\"");
    QCOMPARE(log.messages(), steps);

    DbFileProbe file(profile.databasePath());
    const QSqlDatabase db = file.database();
    // Every table ends in the current layout; a column added to tab goes last.
    QStringList layout = currentSchema;
    QCOMPARE(schema(db),
        layout.replaceInStrings(
            QStringLiteral("screenshot, order_index"), QStringLiteral("order_index, screenshot")));
    // Nothing else is touched, and an old file gets no presets.
    QCOMPARE(rows(db,
                 "SELECT db_version, (SELECT COUNT(*) FROM bookmark_node), (SELECT COUNT(*) FROM "
                 "search_engines), (SELECT COUNT(*) FROM tab_history) FROM metadata;"),
        strings({ "2.1.0.5|3|3|1" }));

    // Permissions and zoom reach their sites through ids, whichever layout they came from.
    const QString host = hostsDecoded ? idnUnicode : idnAce;
    QCOMPARE(rows(db,
                 "SELECT sites.site, camera, microphone, geolocation, notification, screen_capture, popups, "
                 "cookies FROM permissions JOIN sites ON sites.id = site_id ORDER BY sites.site;"),
        QStringList({ QStringLiteral("https://maps.example|1|0|2|NULL|NULL|1|1"),
            QStringLiteral("https://%1|0|NULL|NULL|NULL|NULL|0|1").arg(host) }));
    QCOMPARE(rows(db, "SELECT site, dpr FROM site_dprs JOIN sites ON sites.id = site_id;"),
        !reached(version, 150) ? QStringList() : strings({ "https://zoom.example|1.5" }));

    // Only the host is decoded; an "xn--" elsewhere in the URL stays as it is.
    QStringList urls = strings({ "https://ACE/path/xn--80a?q=1", "https://a.example/xn--80a",
        "http://ACE:8080/a", "ACE/page", "https://s.ACE/?q=%s", "https://ACE" });
    urls << (yandexUpdated ? QStringLiteral("https://yandex.ru/search/?text=%s")
                           : QStringLiteral("http://yandex.ru/yandsearch?text=%s"));
    if (reached(version, 180))
        urls << QStringLiteral("https://ACE/a.pdf");
    if (reached(version, 208))
        urls << QStringLiteral("https://ACE");
    QStringList stored = rows(db,
        "SELECT url FROM link UNION ALL SELECT url FROM browser_history UNION ALL "
        "SELECT url FROM bookmark_node WHERE id = 7 UNION ALL SELECT url FROM search_engines WHERE id > 0 "
        "UNION ALL SELECT base_url FROM favicons UNION ALL SELECT url FROM downloads "
        "UNION ALL SELECT url FROM password_exceptions;");
    stored.sort();
    urls.replaceInStrings(QStringLiteral("ACE"), host).sort();
    QCOMPARE(stored, urls);
}

void TestDbInit::unusableFileIsMovedAside_data()
{
    // 3,000 history rows damaged at an offset (-1: cut to that length), found at start or by a request.
    QTest::addColumn<int>("offset");
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray garbage(4096, '\xa5');
    QTest::newRow("text file") << 0 << QByteArray("bookmarks I wanted to keep\n").repeated(200);
    QTest::newRow("page overwritten in the middle") << 40 * 4096 << garbage;
    QTest::newRow("truncated") << -1 << QByteArray(8192, 0);
    QTest::newRow("empty file is a new database") << 0 << QByteArray();
    QTest::newRow("read-only directory") << 0 << QByteArray("not an sqlite header");
}

void TestDbInit::unusableFileIsMovedAside()
{
    QFETCH(int, offset);
    QFETCH(QByteArray, bytes);
    const bool damaged = !bytes.isEmpty();
    const bool readOnlyDir = QTest::currentDataTag() == QByteArray("read-only directory");
    const bool movedAside = damaged && !readOnlyDir;
    TempProfile profile;
    QVERIFY(QDir().mkpath(profile.dataLocation()));
    if (QTest::currentDataTag() != QByteArray("text file") && damaged) {
        DBWorker().init();
        DbFileProbe(profile.databasePath())
            .exec(QStringLiteral("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < "
                                 "3000) INSERT INTO browser_history (url, title, date) SELECT "
                                 "'https://example.com/' || i, 'page ' || i, i FROM n;"));
    }
    QFile file(profile.databasePath());
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(offset < 0 ? file.resize(bytes.size()) : file.seek(offset) && file.write(bytes) == bytes.size());
    QVERIFY(file.seek(0));
    const QByteArray before = file.readAll();
    file.close();
    const auto restore = qScopeGuard([&] { setWritable(profile.dataLocation(), true); });
    if (readOnlyDir)
        setWritable(profile.dataLocation(), false);
    if (readOnlyDir && QFile(profile.dataLocation() + QStringLiteral("/probe")).open(QIODevice::WriteOnly))
        QSKIP("no way to make a directory read-only on this file system");
    LogCapture log("browser.app.storage");
    DBWorker worker;
    worker.init();
    // The browser answers: what the first request finds damaged is replaced
    // under it, the request after it works on the new file.
    QSignalSpy answers(&worker, &DBWorker::historyAvailable);
    worker.getHistory(QString(), QDateTime(), QDateTime());
    worker.addHistoryEntry(QStringLiteral("https://after.example/"), QStringLiteral("after"));
    worker.getHistory(QString(), QDateTime(), QDateTime());
    const QDir dir(profile.dataLocation());
    const QStringList aside
        = dir.entryList(QDir::Files)
              .filter(QRegularExpression(QStringLiteral("^browser-app\\.sqlite\\.corrupt-\\d{8}-\\d{6}$")));
    QCOMPARE(aside.size(), movedAside ? 1 : 0);
    QCOMPARE(log.startingWith(QStringLiteral("Moved unusable database aside")).size(), movedAside ? 1 : 0);
    if (readOnlyDir) {
        // Said clearly, the damaged file never reopened, and no crash.
        QCOMPARE(log.startingWith(QStringLiteral("Failed to move unusable database aside")).size(), 1);
        QVERIFY(answers.isEmpty());
        return;
    }
    QFile moved(dir.absoluteFilePath(aside.value(0)));
    QVERIFY(!movedAside || (moved.open(QIODevice::ReadOnly) && moved.readAll() == before));
    QVERIFY(!answers.isEmpty());
    QCOMPARE(answers.last().first().value<QList<Link>>().size(), 1);
    // Either way the browser goes on with a working, current database.
    DbFileProbe db(profile.databasePath());
    QCOMPARE(schema(db.database()), currentSchema);
    QCOMPARE(rows(db.database(), "SELECT db_version, (SELECT COUNT(*) FROM search_engines) FROM metadata;"),
        strings({ "2.1.0.5|3" }));
}

void TestDbInit::trims_data()
{
    QTest::addColumn<QVariant>("historyLimit"); // invalid: key absent
    QTest::addColumn<QVariant>("faviconLimit");
    QTest::addColumn<int>("keptHistory");
    QTest::addColumn<int>("keptFavicons");
    QTest::newRow("no keys") << QVariant() << QVariant() << 2000 << 10000;
    QTest::newRow("both keys") << QVariant(25) << QVariant(4) << 25 << 4;
    QTest::newRow("limits as text") << QVariant(QStringLiteral("7")) << QVariant(QStringLiteral("2")) << 7
                                    << 2;
}

void TestDbInit::trims()
{
    QFETCH(QVariant, historyLimit);
    QFETCH(QVariant, faviconLimit);
    QFETCH(int, keptHistory);
    QFETCH(int, keptFavicons);
    const int extra = 13; // rows over the limit in each table
    TempProfile profile;
    // The settings location is resolved once per process; point it at this profile.
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, profile.path());
    QSettings settings;
    if (historyLimit.isValid())
        settings.setValue(QStringLiteral("max_browser_history_size"), historyLimit);
    if (faviconLimit.isValid())
        settings.setValue(QStringLiteral("max_browser_favicons_size"), faviconLimit);
    DBWorker().init();
    // Dates are a permutation of the row numbers, so that the newest rows are
    // neither the first nor the last inserted. Only sites without settings go.
    const qint64 base = 1600000000000;
    const QString fill
        = QStringLiteral("WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i + 1 "
                         "< %1) INSERT INTO %2 SELECT 'https://' || i, 'x', %3 + i * 7919 % %1 * 1000 "
                         "FROM n;");
    DbFileProbe db(profile.databasePath());
    QVERIFY(db.execAll(
        { fill.arg(keptHistory + extra).arg(QStringLiteral("browser_history (url, title, date)")).arg(base),
            fill.arg(keptFavicons + extra).arg(QStringLiteral("favicons")).arg(base),
            QStringLiteral("INSERT INTO sites (id) VALUES (1), (2), (3), (4);"),
            QStringLiteral("INSERT INTO permissions (site_id) VALUES (1), (4);"),
            QStringLiteral("INSERT INTO site_dprs (site_id) VALUES (2), (4);") }));
    DBWorker().init();
    QCOMPARE(rows(db.database(),
                 "SELECT COUNT(*), MIN(date) FROM browser_history UNION ALL SELECT COUNT(*), "
                 "MIN(date) FROM favicons UNION ALL SELECT group_concat(id), NULL FROM sites;"),
        QStringList({ QStringLiteral("%1|%2").arg(keptHistory).arg(base + extra * 1000),
            QStringLiteral("%1|%2").arg(keptFavicons).arg(base + extra * 1000),
            QStringLiteral("1,2,4|NULL") }));
}

QTEST_GUILESS_MAIN(TestDbInit)
#include "tst_dbinit.moc"
