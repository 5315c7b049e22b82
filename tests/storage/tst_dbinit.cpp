#include "storage/dbworker.h"
#include "support/dbfileprobe.h"
#include "support/logcapture.h"
#include "support/tempprofile.h"

#include <QCoreApplication>
#include <QDir>
#include <QSettings>
#include <QtTest>

// A fresh profile and a first start: the file the browser creates from nothing.
class TestDbInit : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void newFileHasSchemaDefaultsAndWal();
    void secondStartChangesNothing();
    void missingTableIsRecreated_data();
    void missingTableIsRecreated();
    void unopenableLocationIsLogged();
    void unusableFileIsMovedAside_data();
    void unusableFileIsMovedAside();
};

void TestDbInit::initTestCase()
{
    QCoreApplication::setOrganizationName(QStringLiteral("ru.nuvo"));
    QCoreApplication::setApplicationName(QStringLiteral("webdeck"));
}

void TestDbInit::newFileHasSchemaDefaultsAndWal()
{
    TempProfile profile;
    LogCapture log("browser.app.migration");
    {
        DBWorker worker;
        worker.init();
    }
    QCOMPARE(log.messages(),
        QStringList({ QStringLiteral("Create browser's DB"),
            QStringLiteral("Set version of browser's DB to \"2.1.0.5\"") }));

    DbFileProbe db(profile.databasePath());
    QVERIFY2(db.isOpen(), qPrintable(db.lastError()));
    QCOMPARE(db.tables(),
        QStringList({ QStringLiteral("bookmark_node"), QStringLiteral("bookmark_structure"),
            QStringLiteral("browser_history"), QStringLiteral("device_modes"), QStringLiteral("downloads"),
            QStringLiteral("favicons"), QStringLiteral("link"), QStringLiteral("metadata"),
            QStringLiteral("password_exceptions"), QStringLiteral("permissions"),
            QStringLiteral("search_engines"), QStringLiteral("site_dprs"), QStringLiteral("sites"),
            QStringLiteral("tab"), QStringLiteral("tab_history") }));
    QCOMPARE(db.columns(QStringLiteral("permissions")),
        QStringList({ QStringLiteral("site_id"), QStringLiteral("camera"), QStringLiteral("microphone"),
            QStringLiteral("geolocation"), QStringLiteral("notification"), QStringLiteral("screen_capture"),
            QStringLiteral("popups"), QStringLiteral("cookies") }));
    QCOMPARE(db.column(QStringLiteral("SELECT db_version FROM metadata;")),
        QVariantList({ QStringLiteral("2.1.0.5") }));
    QCOMPARE(db.value(QStringLiteral("PRAGMA journal_mode;")).toString(), QStringLiteral("wal"));
    QVERIFY(db.indexes().contains(QStringLiteral("browser_history_url_date_title_visited_count")));
    QVERIFY(db.indexes().contains(QStringLiteral("tab_history_tab_id")));

    const QList<QVariantList> nodes
        = db.rows(QStringLiteral("SELECT id, title, url FROM bookmark_node ORDER BY id;"));
    QCOMPARE(nodes.size(), 5);
    for (int id = 0; id < 5; ++id)
        QCOMPARE(nodes.at(id).at(0).toInt(), id);
    QVERIFY(nodes.at(0).at(1).isNull());
    QCOMPARE(nodes.at(1).at(1).toString(), QStringLiteral("Bookmarks"));
    QCOMPARE(nodes.at(2).at(1).toString(), QStringLiteral("Quick access"));
    // Without a catalogue the translated titles are their ids.
    QCOMPARE(nodes.at(3).at(1).toString(), QStringLiteral("browser-la-nuvo"));
    QCOMPARE(nodes.at(4).at(1).toString(), QStringLiteral("browser-la-orvane_os"));
    QVERIFY(nodes.at(3).at(2).toString().startsWith(QLatin1String("https://")));
    QVERIFY(nodes.at(4).at(2).toString().startsWith(QLatin1String("https://")));
    QVERIFY(nodes.at(2).at(2).isNull());

    QList<QVariantList> closure = db.rows(QStringLiteral(
        "SELECT ancestor, descendant, depth FROM bookmark_structure ORDER BY ancestor, descendant;"));
    const QList<QVariantList> expectedClosure
        = { { 0, 1, 1 }, { 0, 2, 1 }, { 0, 3, 2 }, { 0, 4, 2 }, { 2, 3, 1 }, { 2, 4, 1 } };
    QCOMPARE(closure.size(), expectedClosure.size());
    for (int i = 0; i < closure.size(); ++i) {
        for (int c = 0; c < 3; ++c)
            QCOMPARE(closure.at(i).at(c).toInt(), expectedClosure.at(i).at(c).toInt());
    }

    const QList<QVariantList> engines
        = db.rows(QStringLiteral("SELECT id, name, url, editable FROM search_engines ORDER BY id;"));
    QCOMPARE(engines.size(), 3);
    QCOMPARE(engines.at(0).at(1).toString(), QStringLiteral("DuckDuckGo"));
    QCOMPARE(engines.at(1).at(1).toString(), QStringLiteral("Google"));
    QCOMPARE(engines.at(2).at(1).toString(), QStringLiteral("browser-la-yandex"));
    const QStringList searchPaths
        = { QStringLiteral("/?q=%s"), QStringLiteral("/search?q=%s"), QStringLiteral("/search/?text=%s") };
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(engines.at(i).at(0).toInt(), i);
        const QString url = engines.at(i).at(2).toString();
        QVERIFY2(
            url.startsWith(QLatin1String("https://")) && url.endsWith(searchPaths.at(i)), qPrintable(url));
        QCOMPARE(engines.at(i).at(3).toInt(), 0);
    }
}

void TestDbInit::secondStartChangesNothing()
{
    TempProfile profile;
    {
        DBWorker worker;
        worker.init();
    }
    {
        DbFileProbe db(profile.databasePath());
        // A user who emptied the quick-access folder keeps it empty: the presets
        // come back only when the whole bookmark table is empty.
        QVERIFY(db.exec(QStringLiteral("DELETE FROM bookmark_node WHERE id IN (3, 4);")));
        QVERIFY(db.exec(QStringLiteral("DELETE FROM search_engines WHERE id = 1;")));
    }
    LogCapture log("browser.app.migration");
    {
        DBWorker worker;
        worker.init();
    }
    QCOMPARE(
        log.messages(), QStringList({ QStringLiteral("Current version of browser's DB is \"2.1.0.5\"") }));
    DbFileProbe db(profile.databasePath());
    QCOMPARE(db.value(QStringLiteral("SELECT COUNT(*) FROM bookmark_node;")).toInt(), 3);
    QCOMPARE(db.value(QStringLiteral("SELECT COUNT(*) FROM search_engines;")).toInt(), 2);
    QCOMPARE(db.value(QStringLiteral("SELECT COUNT(*) FROM metadata;")).toInt(), 1);
}

void TestDbInit::missingTableIsRecreated_data()
{
    QTest::addColumn<QString>("table");
    QTest::newRow("downloads") << QStringLiteral("downloads");
    QTest::newRow("device_modes") << QStringLiteral("device_modes");
    QTest::newRow("search_engines refilled") << QStringLiteral("search_engines");
}

void TestDbInit::missingTableIsRecreated()
{
    QFETCH(QString, table);
    TempProfile profile;
    {
        DBWorker worker;
        worker.init();
    }
    QStringList before;
    {
        DbFileProbe db(profile.databasePath());
        before = db.columns(table);
        QVERIFY(db.exec(QStringLiteral("DROP TABLE %1;").arg(table)));
        QVERIFY(!db.tables().contains(table));
    }
    {
        DBWorker worker;
        worker.init();
    }
    DbFileProbe db(profile.databasePath());
    QCOMPARE(db.columns(table), before);
    QCOMPARE(db.value(QStringLiteral("SELECT COUNT(*) FROM %1;").arg(table)).toInt(),
        table == QLatin1String("search_engines") ? 3 : 0);
}

void TestDbInit::unopenableLocationIsLogged()
{
    TempProfile profile;
    // A plain file where the data directory should be: it can be neither
    // created nor used, and the start gives up after saying so.
    const QString parent = QFileInfo(profile.dataLocation()).absolutePath();
    QVERIFY(QDir().mkpath(QFileInfo(parent).absolutePath()));
    QFile file(parent);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();

    LogCapture log("browser.app.storage");
    DBWorker worker;
    worker.init();
    QCOMPARE(log.startingWith(QStringLiteral("Can't create directory")).size(), 1);
    QCOMPARE(log.startingWith(QStringLiteral("Failed to open database")).size(), 1);
    QVERIFY(log.startingWith(QStringLiteral("Failed to open private database")).isEmpty());
    QVERIFY(log.messages(QtInfoMsg).isEmpty());
    QVERIFY(!QFile::exists(profile.databasePath()));
}

void TestDbInit::unusableFileIsMovedAside_data()
{
    QTest::addColumn<QString>("damage");
    QTest::addColumn<bool>("movedAside");
    QTest::newRow("text file") << QStringLiteral("text") << true;
    QTest::newRow("overwritten header") << QStringLiteral("header") << true;
    QTest::newRow("overwritten schema page") << QStringLiteral("schema") << true;
    QTest::newRow("empty file is a new database") << QStringLiteral("empty") << false;
}

void TestDbInit::unusableFileIsMovedAside()
{
    QFETCH(QString, damage);
    QFETCH(bool, movedAside);
    TempProfile profile;
    QVERIFY(QDir().mkpath(profile.dataLocation()));
    if (damage == QLatin1String("header") || damage == QLatin1String("schema")) {
        DBWorker worker;
        worker.init();
    }
    QByteArray bytes;
    {
        QFile file(profile.databasePath());
        QVERIFY(file.open(QIODevice::ReadWrite));
        if (damage == QLatin1String("text")) {
            file.write(QByteArray("bookmarks I wanted to keep\n").repeated(200));
        } else if (damage == QLatin1String("header")) {
            file.write("not an sqlite header");
        } else if (damage == QLatin1String("schema")) {
            // Page one past the 100-byte header holds the table list.
            file.seek(100);
            file.write(QByteArray(2000, '\xa5'));
        }
        file.close();
        QVERIFY(file.open(QIODevice::ReadOnly));
        bytes = file.readAll();
    }

    LogCapture log("browser.app.storage");
    {
        DBWorker worker;
        worker.init();
    }

    const QStringList aside = QDir(profile.dataLocation())
                                  .entryList({ QStringLiteral("browser-app.sqlite.corrupt-*") }, QDir::Files);
    if (!movedAside) {
        QVERIFY(aside.isEmpty());
        QVERIFY(log.startingWith(QStringLiteral("Moved unusable database aside")).isEmpty());
    } else {
        QCOMPARE(aside.size(), 1);
        QVERIFY2(QRegularExpression(QStringLiteral("^browser-app\\.sqlite\\.corrupt-\\d{8}-\\d{6}$"))
                     .match(aside.first())
                     .hasMatch(),
            qPrintable(aside.first()));
        QFile moved(QDir(profile.dataLocation()).absoluteFilePath(aside.first()));
        QVERIFY(moved.open(QIODevice::ReadOnly));
        QCOMPARE(moved.readAll(), bytes);
        QCOMPARE(
            log.messages(QtWarningMsg).filter(QStringLiteral("Moved unusable database aside")).size(), 1);
    }

    // Either way the browser goes on with a working, current database.
    DbFileProbe db(profile.databasePath());
    QCOMPARE(db.tables().size(), 15);
    QCOMPARE(
        db.value(QStringLiteral("SELECT db_version FROM metadata;")).toString(), QStringLiteral("2.1.0.5"));
    QCOMPARE(db.value(QStringLiteral("SELECT COUNT(*) FROM search_engines;")).toInt(), 3);
}

QTEST_GUILESS_MAIN(TestDbInit)
#include "tst_dbinit.moc"
