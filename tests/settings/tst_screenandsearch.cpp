// Search engines and per-site zoom through their models and the database
// file, and the settings types as QML sees them.

#include "settings/settingsmanager.h"
#include "startup/qmltypes.h"
#include "storage/dbmanager.h"
#include "support/dbfileprobe.h"
#include "support/tempprofile.h"

#include <QAbstractItemModelTester>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QSignalSpy>
#include <QtTest>
#include <memory>

namespace
{
using Tester = QAbstractItemModelTester;

QStringList rows(const QAbstractItemModel* model, const QList<int>& roles)
{
    QStringList result;
    for (int row = 0; row < model->rowCount(); ++row) {
        QStringList cells;
        for (int role : roles)
            cells.append(model->index(row, 0).data(role).toString());
        result.append(cells.join(QLatin1Char('|')));
    }
    return result;
}

// Lets every request queued so far run on the storage thread.
bool settle()
{
    QSignalSpy spy(DBManager::instance(), &DBManager::deviceModeAvailable);
    DBManager::instance()->getDeviceMode(QStringLiteral("settle"), false);
    return spy.wait(5000);
}
} // namespace

class TestScreenAndSearch : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void searchEngineEdits_data();
    void searchEngineEdits();
    void removingEngineInUseFallsBack();
    void siteZoom_data();
    void siteZoom();
    void removeSelectedZooms();
    void typesFromQml();

private:
    QStringList fileZooms();

    std::unique_ptr<TempProfile> m_profile;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<SettingsManager> m_settings;
};

void TestScreenAndSearch::initTestCase()
{
    m_profile = std::make_unique<TempProfile>();
    DBManager::instance();
    registerQmlTypes();
}

void TestScreenAndSearch::init()
{
    DBManager::instance()->removeAllDprs();
    for (const char* site : { "https://a.example", "https://b.example" })
        DBManager::instance()->removeDpr(QString::fromLatin1(site), true);
    m_dir = std::make_unique<QTemporaryDir>();
    m_settings = std::make_unique<SettingsManager>(
        m_dir->filePath(QStringLiteral("browser-app.conf")), DBManager::instance());
    QVERIFY(settle());
}

void TestScreenAndSearch::cleanup()
{
    // User engines go, so every case starts with the three built-in ones.
    DbFileProbe probe(m_profile->databasePath());
    QVERIFY(probe.exec(QStringLiteral("DELETE FROM search_engines WHERE editable;")));
    m_settings.reset();
}

QStringList TestScreenAndSearch::fileZooms()
{
    DbFileProbe probe(m_profile->databasePath());
    return sqlRows(probe.database(),
        QStringLiteral(
            "SELECT sites.site, site_dprs.dpr FROM site_dprs JOIN sites ON site_dprs.site_id = sites.id "
            "ORDER BY sites.site;"));
}

void TestScreenAndSearch::searchEngineEdits_data()
{
    QTest::addColumn<QByteArray>("operation");
    QTest::addColumn<int>("id"); // -1: the engine added first
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("url");
    QTest::addColumn<int>("result");
    QTest::addColumn<QString>("userRow"); // the added engine afterwards, in model and file; "" gone

    const QString name = QStringLiteral("Mine");
    const QString url = QStringLiteral("https://mine.example/?q=%s");
    const QString row = QStringLiteral("Mine|https://mine.example/?q=%s||true");
    QTest::newRow("add") << QByteArray("add") << 0 << name << url << int(SearchEnginesManager::Done) << row;
    QTest::newRow("add without %s") << QByteArray("add") << 0 << name
                                    << QStringLiteral("https://mine.example/")
                                    << int(SearchEnginesManager::MissingQueryPlaceholder) << QString();
    QTest::newRow("add without name") << QByteArray("add") << 0 << QStringLiteral(" ") << url
                                      << int(SearchEnginesManager::EmptyName) << QString();
    QTest::newRow("update") << QByteArray("update") << -1 << QStringLiteral("Other")
                            << QStringLiteral("https://other.example/s=%s") << int(SearchEnginesManager::Done)
                            << QStringLiteral("Other|https://other.example/s=%s||true");
    QTest::newRow("update without %s")
        << QByteArray("update") << -1 << name << QStringLiteral("https://x.example/")
        << int(SearchEnginesManager::MissingQueryPlaceholder) << row;
    QTest::newRow("update built-in") << QByteArray("update") << 1 << name << url
                                     << int(SearchEnginesManager::NotEditable) << row;
    QTest::newRow("remove") << QByteArray("remove") << -1 << QString() << QString()
                            << int(SearchEnginesManager::Done) << QString();
    QTest::newRow("remove built-in") << QByteArray("remove") << 0 << QString() << QString()
                                     << int(SearchEnginesManager::NotEditable) << row;
    QTest::newRow("remove unknown") << QByteArray("remove") << 99 << QString() << QString()
                                    << int(SearchEnginesManager::UnknownEngine) << row;
}

void TestScreenAndSearch::searchEngineEdits()
{
    QFETCH(QByteArray, operation);
    QFETCH(int, id);
    QFETCH(QString, name);
    QFETCH(QString, url);
    QFETCH(int, result);
    QFETCH(QString, userRow);

    SearchEnginesManager* engines = m_settings->searchEngines();
    Tester tester(engines->sourceModel(), Tester::FailureReportingMode::QtTest);
    Tester proxyTester(engines->searchEnginesModel(), Tester::FailureReportingMode::QtTest);
    const QList<int> roles { SearchEnginesModel::NameRole, SearchEnginesModel::UrlRole,
        SearchEnginesModel::SuggestionsUrlRole, SearchEnginesModel::EditableRole };
    const QStringList builtIn = rows(engines->searchEnginesModel(), roles);
    QCOMPARE(builtIn.size(), 3);
    QVERIFY(builtIn.at(1).startsWith(QLatin1String("Google|https://www.google.com/search?q=%s|https://")));
    QVERIFY(builtIn.at(2).contains(QLatin1String("/suggest-ff.cgi?part=|false")));

    if (operation != "add") {
        QSignalSpy added(DBManager::instance(), &DBManager::searchEngineAdded);
        QCOMPARE(
            engines->addSearchEngine(QStringLiteral("Mine"), QStringLiteral("https://mine.example/?q=%s")),
            SearchEnginesManager::Done);
        QVERIFY(added.wait(5000));
        if (id == -1)
            id = added.first().first().value<SearchEngine>().id;
    }
    QSignalSpy added(DBManager::instance(), &DBManager::searchEngineAdded);
    int actual = -1;
    if (operation == "add")
        actual = engines->addSearchEngine(name, url);
    else if (operation == "update")
        actual = engines->updateSearchEngine(id, name, url);
    else
        actual = engines->removeSearchEngine(id);
    QCOMPARE(actual, result);
    QCOMPARE(added.wait(operation == "add" && result == SearchEnginesManager::Done ? 5000 : 100),
        operation == "add" && result == SearchEnginesManager::Done);
    QVERIFY(settle());

    const QStringList expected = userRow.isEmpty() ? builtIn : builtIn + QStringList { userRow };
    QCOMPARE(rows(engines->searchEnginesModel(), roles), expected);
    DbFileProbe probe(m_profile->databasePath());
    QCOMPARE(sqlRows(probe.database(),
                 QStringLiteral("SELECT name, url, '', 'true' FROM search_engines WHERE editable;")),
        userRow.isEmpty() ? QStringList() : QStringList { userRow });
}

void TestScreenAndSearch::removingEngineInUseFallsBack()
{
    SearchEnginesManager* engines = m_settings->searchEngines();
    QCOMPARE(m_settings->searchEngineId(), engines->defaultEngineId());
    QVERIFY(engines->searchSuggestionsUrl().endsWith(QLatin1String("/suggest-ff.cgi?part=")));

    QSignalSpy added(DBManager::instance(), &DBManager::searchEngineAdded);
    engines->addSearchEngine(QStringLiteral("Mine"), QStringLiteral("https://mine.example/?q=%s"));
    QVERIFY(added.wait(5000));
    const int mine = added.first().first().value<SearchEngine>().id;
    QVERIFY(mine >= 3);

    QSignalSpy urlChanged(engines, &SearchEnginesManager::searchUrlChanged);
    m_settings->setSearchEngineId(mine);
    QCOMPARE(engines->searchEngineName(), QStringLiteral("Mine"));
    QCOMPARE(engines->searchUrl(), QStringLiteral("https://mine.example/?q=%s"));
    QCOMPARE(engines->searchSuggestionsUrl(), QString());
    QCOMPARE(urlChanged.count(), 1);

    QSignalSpy idChanged(m_settings.get(), &SettingsManager::searchEngineIdChanged);
    QCOMPARE(engines->removeSearchEngine(mine), SearchEnginesManager::Done);
    QCOMPARE(idChanged.count(), 1);
    QCOMPARE(m_settings->searchEngineId(), engines->defaultEngineId());
    QCOMPARE(engines->searchUrl(), engines->sourceModel()->engine(2)->engine.url);
    m_settings.reset();
    QSettings file(m_dir->filePath(QStringLiteral("browser-app.conf")), QSettings::NativeFormat);
    QCOMPARE(file.value(QStringLiteral("search/search_engine_id")).toInt(), 2);
}

void TestScreenAndSearch::siteZoom_data()
{
    // Steps: "n" normal / "i" incognito, the url and the zoom; zoom 0 removes.
    // Expected rows are "site|dpr", lists separated by ";".
    QTest::addColumn<QString>("steps");
    QTest::addColumn<QString>("normal");
    QTest::addColumn<QString>("incognito");
    QTest::addColumn<QString>("file");

    QTest::newRow("set once") << QStringLiteral("n https://a.example/page 1.5")
                              << QStringLiteral("https://a.example|1.5") << QString()
                              << QStringLiteral("https://a.example|1.5");
    QTest::newRow("set twice before storage answers, one row")
        << QStringLiteral("n https://a.example/x 1.5;n https://a.example/y 2")
        << QStringLiteral("https://a.example|2") << QString() << QStringLiteral("https://a.example|2");
    QTest::newRow("incognito stays in memory")
        << QStringLiteral("i https://a.example 3;n https://b.example 1.25")
        << QStringLiteral("https://b.example|1.25") << QStringLiteral("https://a.example|3")
        << QStringLiteral("https://b.example|1.25");
    QTest::newRow("same site in both")
        << QStringLiteral("n https://a.example 2;i https://a.example 0.5")
        << QStringLiteral("https://a.example|2") << QStringLiteral("https://a.example|0.5")
        << QStringLiteral("https://a.example|2");
    QTest::newRow("removed") << QStringLiteral(
        "n https://a.example 2;n https://b.example 3;n https://a.example 0")
                             << QStringLiteral("https://b.example|3") << QString()
                             << QStringLiteral("https://b.example|3");
}

void TestScreenAndSearch::siteZoom()
{
    QFETCH(QString, steps);
    QFETCH(QString, normal);
    QFETCH(QString, incognito);
    QFETCH(QString, file);

    ScreenSettingsManager* screen = m_settings->screenSettingsManager();
    Tester normalTester(screen->dprModel(), Tester::FailureReportingMode::QtTest);
    Tester incognitoTester(screen->incognitoDprModel(), Tester::FailureReportingMode::QtTest);
    QHash<QString, double> expected[2];
    for (const QString& step : steps.split(QLatin1Char(';'))) {
        const QStringList parts = step.split(QLatin1Char(' '));
        const bool isIncognito = parts.at(0) == QLatin1String("i");
        const double dpr = parts.at(2).toDouble();
        const QString site = siteKeyOf(parts.at(1));
        if (dpr == 0) {
            screen->removeDpr(parts.at(1), isIncognito);
            expected[isIncognito].remove(site);
        } else {
            screen->updateDpr(parts.at(1), isIncognito, dpr);
            expected[isIncognito].insert(site, dpr);
        }
        // What a tab opened now would get, before storage has answered.
        QCOMPARE(screen->getDpr(parts.at(1) + QStringLiteral("/other"), isIncognito),
            expected[isIncognito].value(site, -1.0));
    }
    QVERIFY(settle());

    const QList<int> roles { BaseDprModel::SiteRole, BaseDprModel::DprRole };
    QCOMPARE(rows(screen->dprModel(), roles).join(QLatin1Char(';')), normal);
    QCOMPARE(rows(screen->incognitoDprModel(), roles).join(QLatin1Char(';')), incognito);
    QCOMPARE(fileZooms().join(QLatin1Char(';')), file);
    QCOMPARE(screen->getDpr(QStringLiteral("https://never.example/"), false), -1.0);
    QCOMPARE(screen->getDpr(QStringLiteral("https://never.example/"), true), -1.0);
}

void TestScreenAndSearch::removeSelectedZooms()
{
    ScreenSettingsManager* screen = m_settings->screenSettingsManager();
    DprModel* model = screen->dprModel();
    Tester tester(model, Tester::FailureReportingMode::QtTest);
    for (const char* site : { "https://a.example", "https://b.example", "https://c.example" })
        screen->updateDpr(QString::fromLatin1(site), false, 2);
    QVERIFY(settle());
    QCOMPARE(model->count(), 3);

    model->toggleSelection(0);
    model->toggleSelection(2);
    model->toggleSelection(2);
    model->toggleSelection(1);
    QCOMPARE(model->selectedCount(), 2);
    QCOMPARE(model->index(2, 0).data(DprModel::SelectedRole).toBool(), false);
    screen->removeSelectedDprs();
    QCOMPARE(model->selectedCount(), 0);
    QVERIFY(settle());
    QCOMPARE(fileZooms(), QStringList { QStringLiteral("https://c.example|2") });

    model->selectAll();
    QCOMPARE(model->selectedCount(), 1);
    screen->removeAllDprs();
    QVERIFY(settle());
    QCOMPARE(model->count(), 0);
    QCOMPARE(fileZooms(), QStringList {});
}

void TestScreenAndSearch::typesFromQml()
{
    m_settings->permissions()->addPermissions(QStringLiteral("https://a.example"),
        { 0, QVariant(), QVariant(), QVariant(), QVariant(), QVariant(), 1 });
    SettingsManager::instance()->setMostVisitedCount(7);
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData(R"(
        import QtQuick 2.15
        import BrowserInternal 1.0
        Item {
            property int tiles: SettingsManager.mostVisitedCount
            property PermissionsProxyModel denied: PermissionsProxyModel {
                permissionType: Permission.Camera
                responseType: Permission.Deny
            }
            property PermissionsManager sitePermissions: PermissionsManager {}
            property DprModel zooms: DprModel {}
            property var names: {
                var labels = []
                for (var i = 0; i < engines.count; ++i)
                    labels.push(engines.itemAt(i).label)
                return labels
            }
            Repeater {
                id: engines
                model: SettingsManager.searchEngines.searchEnginesModel
                delegate: Item { property string label: model.name + " " + model.id }
            }
            function deniedSites() {
                denied.sourceModel = SettingsManager.permissions.permissionsModel
                return denied.count
            }
        })",
        QUrl());
    std::unique_ptr<QObject> object(component.create());
    QVERIFY2(object, qPrintable(component.errorString()));
    QCOMPARE(object->property("tiles").toInt(), 7);
    QTRY_COMPARE(object->property("names").toStringList().size(), 3);
    QVERIFY(object->property("names").toStringList().contains(QStringLiteral("Google 1")));
    QVariant count;
    QMetaObject::invokeMethod(object.get(), "deniedSites", Q_RETURN_ARG(QVariant, count));
    QCOMPARE(count.toInt(), 1);
    SettingsManager::instance()->permissions()->addPermissions(
        QStringLiteral("https://b.example"), { 0, 1, 1, 1, 1, 1, 1 });
    QTRY_COMPARE(object->property("denied").value<QObject*>()->property("count").toInt(), 2);
}

QTEST_MAIN(TestScreenAndSearch)
#include "tst_screenandsearch.moc"
