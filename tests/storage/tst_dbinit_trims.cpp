#include "storage/dbworker.h"
#include "support/dbfileprobe.h"
#include "support/tempprofile.h"

#include <QCoreApplication>
#include <QDir>
#include <QSettings>
#include <QSqlQuery>
#include <QtTest>

// What a start keeps of old data: the trims of history, favicons and unused
// sites, and the copy of per-site screen settings given to private tabs.
class TestDbInitTrims : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void trims_data();
    void trims();
    void unusedSitesAreDropped();
    void privateDatabaseGetsScreenSettingsOnly_data();
    void privateDatabaseGetsScreenSettingsOnly();

private:
    // Creates a current file, then lets the test fill it before the start under test.
    void createFile();
    QScopedPointer<TempProfile> m_profile;
};

void TestDbInitTrims::initTestCase()
{
    QCoreApplication::setOrganizationName(QStringLiteral("ru.nuvo"));
    QCoreApplication::setApplicationName(QStringLiteral("webdeck"));
}

void TestDbInitTrims::init()
{
    m_profile.reset(new TempProfile);
    // The settings location is resolved once per process; point it at this profile.
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
        QDir(m_profile->path()).absoluteFilePath(QStringLiteral("xdg_config_home")));
    createFile();
}

void TestDbInitTrims::cleanup()
{
    m_profile.reset();
}

void TestDbInitTrims::createFile()
{
    DBWorker worker;
    worker.init();
}

void TestDbInitTrims::trims_data()
{
    QTest::addColumn<QVariant>("historyLimit"); // invalid: key absent
    QTest::addColumn<QVariant>("faviconLimit");
    QTest::addColumn<int>("historyRows");
    QTest::addColumn<int>("faviconRows");
    QTest::addColumn<int>("keptHistory");
    QTest::addColumn<int>("keptFavicons");

    QTest::newRow("keys absent, over the fallbacks")
        << QVariant() << QVariant() << 2013 << 10007 << 2000 << 10000;
    QTest::newRow("keys absent, under the fallbacks")
        << QVariant() << QVariant() << 1500 << 300 << 1500 << 300;
    QTest::newRow("both keys") << QVariant(25) << QVariant(4) << 300 << 30 << 25 << 4;
    QTest::newRow("history key only") << QVariant(5000) << QVariant() << 3000 << 10 << 3000 << 10;
    QTest::newRow("limit written as text")
        << QVariant(QStringLiteral("7")) << QVariant(QStringLiteral("2")) << 20 << 5 << 7 << 2;
}

void TestDbInitTrims::trims()
{
    QFETCH(QVariant, historyLimit);
    QFETCH(QVariant, faviconLimit);
    QFETCH(int, historyRows);
    QFETCH(int, faviconRows);
    QFETCH(int, keptHistory);
    QFETCH(int, keptFavicons);

    {
        QSettings settings;
        if (historyLimit.isValid())
            settings.setValue(QStringLiteral("max_browser_history_size"), historyLimit);
        if (faviconLimit.isValid())
            settings.setValue(QStringLiteral("max_browser_favicons_size"), faviconLimit);
    }

    // Dates are a permutation of the row numbers, so that the newest rows are
    // neither the first nor the last inserted.
    const qint64 base = 1600000000000;
    {
        DbFileProbe db(m_profile->databasePath());
        QVERIFY(db.exec(QStringLiteral("BEGIN;")));
        for (int i = 0; i < historyRows; ++i) {
            QVERIFY(
                db.exec(QStringLiteral("INSERT INTO browser_history (url, title, date) VALUES (?, ?, ?);"),
                    { QStringLiteral("https://h%1.example.com/").arg(i), QStringLiteral("t"),
                        base + qint64((i * 7919) % historyRows) * 1000 }));
        }
        for (int i = 0; i < faviconRows; ++i) {
            QVERIFY(
                db.exec(QStringLiteral("INSERT INTO favicons (base_url, favicon, date) VALUES (?, ?, ?);"),
                    { QStringLiteral("https://f%1.example.com").arg(i), QStringLiteral("data:"),
                        base + qint64((i * 7919) % faviconRows) * 1000 }));
        }
        QVERIFY(db.exec(QStringLiteral("COMMIT;")));
    }

    createFile();

    DbFileProbe db(m_profile->databasePath());
    QCOMPARE(db.value(QStringLiteral("SELECT COUNT(*) FROM browser_history;")).toInt(), keptHistory);
    QCOMPARE(db.value(QStringLiteral("SELECT COUNT(*) FROM favicons;")).toInt(), keptFavicons);
    // The survivors are the newest ones.
    QCOMPARE(db.value(QStringLiteral("SELECT MIN(date) FROM browser_history;")).toLongLong(),
        base + qint64(historyRows - keptHistory) * 1000);
    QCOMPARE(db.value(QStringLiteral("SELECT MIN(date) FROM favicons;")).toLongLong(),
        base + qint64(faviconRows - keptFavicons) * 1000);
}

void TestDbInitTrims::unusedSitesAreDropped()
{
    {
        DbFileProbe db(m_profile->databasePath());
        QVERIFY(db.exec(QStringLiteral("INSERT INTO sites (id, site) VALUES (1, 'https://cam.example'), "
                                       "(2, 'https://zoom.example'), (3, 'https://gone.example'), "
                                       "(4, 'https://both.example');")));
        QVERIFY(db.exec(QStringLiteral("INSERT INTO permissions (site_id, camera) VALUES (1, 1), (4, 0);")));
        QVERIFY(db.exec(QStringLiteral("INSERT INTO site_dprs (site_id, dpr) VALUES (2, 1.25), (4, 2.0);")));
    }
    createFile();
    DbFileProbe db(m_profile->databasePath());
    QCOMPARE(db.column(QStringLiteral("SELECT id FROM sites ORDER BY id;")), QVariantList({ 1, 2, 4 }));
}

void TestDbInitTrims::privateDatabaseGetsScreenSettingsOnly_data()
{
    QTest::addColumn<QString>("dataDirectory");
    QTest::newRow("plain profile") << QString();
    // The file's path is spliced into the ATTACH statement.
    QTest::newRow("quote in the profile path") << QStringLiteral("it's data");
}

void TestDbInitTrims::privateDatabaseGetsScreenSettingsOnly()
{
    QFETCH(QString, dataDirectory);
    if (!dataDirectory.isEmpty()) {
        const QString dir = QDir(m_profile->path()).absoluteFilePath(dataDirectory);
        QVERIFY(QDir().mkpath(dir));
        qputenv("XDG_DATA_HOME", QFile::encodeName(dir));
        createFile();
        QVERIFY(m_profile->databasePath().contains(QLatin1Char('\'')));
    }
    {
        DbFileProbe db(m_profile->databasePath());
        QVERIFY(db.exec(QStringLiteral("INSERT INTO sites (id, site) VALUES (1, 'https://cam.example'), "
                                       "(2, 'https://zoom.example');")));
        QVERIFY(db.exec(QStringLiteral("INSERT INTO permissions (site_id, camera) VALUES (1, 1);")));
        QVERIFY(db.exec(QStringLiteral("INSERT INTO site_dprs (id, site_id, dpr) VALUES (9, 2, 1.75);")));
        QVERIFY(db.exec(
            QStringLiteral("INSERT INTO device_modes VALUES ('example.com', 1), ('o''brien.example', 0);")));
        QVERIFY(db.exec(
            QStringLiteral("INSERT INTO browser_history (url, title, date) VALUES ('https://a/', 'a', 1);")));
        QVERIFY(db.exec(QStringLiteral("INSERT INTO link (url, title) VALUES ('https://a/', 'a');")));
        QVERIFY(db.exec(
            QStringLiteral("INSERT INTO tab (tab_id, tab_history_id, order_index) VALUES (1, 1, 0);")));
        QVERIFY(db.exec(QStringLiteral("INSERT INTO tab_history (tab_id, link_id, date) VALUES (1, 1, 1);")));
        QVERIFY(db.exec(QStringLiteral("INSERT INTO favicons VALUES ('https://a', 'data:', 1);")));
    }

    DBWorker worker;
    worker.init();
    // The worker runs on this thread, so its private connection can be read here.
    QSqlDatabase privateDb = QSqlDatabase::database(DBWorker::privateConnectionName(), false);
    QVERIFY(privateDb.isOpen());
    auto rows = [&privateDb](const QString& sql) {
        QList<QVariantList> result;
        QSqlQuery query(privateDb);
        if (!query.exec(sql))
            return result;
        while (query.next()) {
            QVariantList row;
            for (int i = 0; i < 3 && query.value(i).isValid(); ++i)
                row.append(query.value(i));
            result.append(row);
        }
        return result;
    };

    QCOMPARE(
        rows(QStringLiteral(
                 "SELECT COUNT(*) FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite_%';"))
            .value(0)
            .value(0)
            .toInt(),
        15);
    QCOMPARE(rows(QStringLiteral("SELECT id, site FROM sites ORDER BY id;")),
        QList<QVariantList>(
            { { 1, QStringLiteral("https://cam.example") }, { 2, QStringLiteral("https://zoom.example") } }));
    QCOMPARE(rows(QStringLiteral("SELECT id, site_id, dpr FROM site_dprs;")),
        QList<QVariantList>({ { 9, 2, 1.75 } }));
    QCOMPARE(rows(QStringLiteral("SELECT domain, device_mode FROM device_modes ORDER BY domain;")),
        QList<QVariantList>(
            { { QStringLiteral("example.com"), 1 }, { QStringLiteral("o'brien.example"), 0 } }));
    for (const QString& table :
        { QStringLiteral("browser_history"), QStringLiteral("link"), QStringLiteral("tab"),
            QStringLiteral("tab_history"), QStringLiteral("permissions"), QStringLiteral("favicons"),
            QStringLiteral("bookmark_node"), QStringLiteral("search_engines") }) {
        QCOMPARE(rows(QStringLiteral("SELECT COUNT(*) FROM %1;").arg(table)).value(0).value(0).toInt(), 0);
    }
    // The file is no longer attached: private writes cannot reach it.
    QCOMPARE(rows(QStringLiteral("PRAGMA database_list;")).size(), 1);
}

QTEST_GUILESS_MAIN(TestDbInitTrims)
#include "tst_dbinit_trims.moc"
