// Search engines and per-site zoom through their models and the database file; settings types from QML.

#include "settings/settingsmanager.h"
#include "startup/qmltypes.h"
#include "storage/dbmanager.h"
#include "support/dbfileprobe.h"
#include "support/tempprofile.h"

#include <QQmlComponent>
#include <QQmlEngine>
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

// Adds the user's engine "Mine" and returns the id storage gave it, -1 if it failed.
int addMine(SearchEnginesManager* engines)
{
    QSignalSpy added(DBManager::instance(), &DBManager::searchEngineAdded);
    if (engines->addSearchEngine(QStringLiteral("Mine"), QStringLiteral("https://mine.example/?q=%s")) != 0
        || !added.wait(5000))
        return -1;
    return added.first().first().value<SearchEngine>().id;
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
    void initTestCase()
    {
        m_profile = std::make_unique<TempProfile>();
        DBManager::instance();
        registerQmlTypes();
    }

    void cleanupTestCase() { DBManager::instance()->shutdown(); }
    void init()
    {
        DBManager::instance()->removeAllDprs();
        for (const char* site : { "https://a.example", "https://b.example" })
            DBManager::instance()->removeDpr(QString::fromLatin1(site), true);
        m_dir = std::make_unique<QTemporaryDir>();
        m_settings = std::make_unique<SettingsManager>(
            m_dir->filePath(QStringLiteral("browser-app.conf")), DBManager::instance());
        QVERIFY(settle());
    }

    void cleanup()
    {
        // User engines go, so every case starts with the three built-in ones.
        DbFileProbe probe(m_profile->databasePath());
        QVERIFY(probe.exec(QStringLiteral("DELETE FROM search_engines WHERE editable;")));
        m_settings.reset();
    }

    void searchEngineEdits_data()
    {
        // After the user added "Mine": one call ("mine" is its id, "_" a blank name), its
        // result, and the user engines afterwards in the model and the file.
        QTest::addColumn<QString>("call");
        QTest::addColumn<int>("result");
        QTest::addColumn<QString>("userRows");

        const QString mine = QStringLiteral("Mine|https://mine.example/?q=%s||true");
        QTest::newRow("added") << "" << 0 << mine;
        QTest::newRow("add without %s") << "add Other https://x.example/" << 2 << mine;
        QTest::newRow("add without name") << "add _ https://x.example/?q=%s" << 1 << mine;
        QTest::newRow("update") << "update mine Other https://o.example/s=%s" << 0
                                << "Other|https://o.example/s=%s||true";
        QTest::newRow("update built-in") << "update 1 Mine https://x.example/?q=%s" << 3 << mine;
        QTest::newRow("remove") << "remove mine" << 0 << "";
        QTest::newRow("remove unknown") << "remove 99" << 4 << mine;
    }

    void searchEngineEdits()
    {
        QFETCH(QString, call);
        QFETCH(int, result);
        QFETCH(QString, userRows);

        SearchEnginesManager* engines = m_settings->searchEngines();
        Tester tester(engines->searchEnginesModel(), Tester::FailureReportingMode::QtTest);
        const QList<int> roles { SearchEnginesModel::NameRole, SearchEnginesModel::UrlRole,
            SearchEnginesModel::SuggestionsUrlRole, SearchEnginesModel::EditableRole };
        const QStringList builtIn = rows(engines->searchEnginesModel(), roles);
        QCOMPARE(builtIn.size(), 3);
        QVERIFY(builtIn.at(2).endsWith(QLatin1String("/suggest-ff.cgi?part=|false")));

        const QString mineId = QString::number(addMine(engines));
        m_settings->setSearchEngineId(mineId.toInt());
        QSignalSpy urlChanged(engines, &SearchEnginesManager::searchUrlChanged);
        QStringList words = call.replace(QLatin1String("mine"), mineId).split(QLatin1Char(' '));
        words.replaceInStrings(QStringLiteral("_"), QStringLiteral(" "));
        int actual = 0;
        if (words.first() == QLatin1String("add"))
            actual = engines->addSearchEngine(words.at(1), words.at(2));
        else if (words.first() == QLatin1String("update"))
            actual = engines->updateSearchEngine(words.at(1).toInt(), words.at(2), words.at(3));
        else if (words.first() == QLatin1String("remove"))
            actual = engines->removeSearchEngine(words.at(1).toInt());
        QCOMPARE(actual, result);
        QVERIFY(settle());

        const QStringList user = userRows.split(QLatin1Char(';'), Qt::SkipEmptyParts);
        QCOMPARE(rows(engines->searchEnginesModel(), roles), builtIn + user);
        DbFileProbe probe(m_profile->databasePath());
        QCOMPARE(sqlRows(probe.database(),
                     QStringLiteral("SELECT name, url, '', 'true' FROM search_engines WHERE editable;")),
            user);

        // The engine in use follows an edit, and the default one takes over when it is removed.
        const QString inUse = (user + builtIn.mid(2)).first().section(QLatin1Char('|'), 0, 1);
        QCOMPARE(engines->searchEngineName() + QLatin1Char('|') + engines->searchUrl(), inUse);
        QCOMPARE(urlChanged.size(), inUse.startsWith(QLatin1String("Mine|")) ? 0 : 1);
        m_settings.reset();
        QSettings file(m_dir->filePath(QStringLiteral("browser-app.conf")), QSettings::NativeFormat);
        QCOMPARE(file.value(QStringLiteral("search/search_engine_id")).toInt(),
            user.isEmpty() ? 2 : mineId.toInt());
    }

    void siteZoom_data()
    {
        // Steps: "n" normal / "i" incognito, a url of the site and the zoom (0 removes); rows
        // "site|dpr" without "https://", joined by ";". The file holds the normal rows only.
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("normal");
        QTest::addColumn<QString>("incognito");

        const char* rows[][4] = {
            { "twice before storage answers", "n a.example/x 1.5;n a.example/y 2", "a.example|2", "" },
            { "incognito stays in memory", "i a.example 3;n b.example 1.25", "b.example|1.25",
                "a.example|3" },
            { "same site in both", "n a.example 2;i a.example 0.5", "a.example|2", "a.example|0.5" },
            { "removed before storage answered", "n a.example 2;n b.example 3;n a.example 0", "b.example|3",
                "" },
        };
        for (const auto& row : rows)
            QTest::newRow(row[0]) << QString::fromLatin1(row[1]) << QString::fromLatin1(row[2])
                                  << QString::fromLatin1(row[3]);
    }

    void siteZoom()
    {
        QFETCH(QString, steps);
        QFETCH(QString, normal);
        QFETCH(QString, incognito);

        ScreenSettingsManager* screen = m_settings->screenSettingsManager();
        Tester normalTester(screen->dprModel(), Tester::FailureReportingMode::QtTest);
        Tester incognitoTester(screen->incognitoDprModel(), Tester::FailureReportingMode::QtTest);
        QHash<QString, double> expected[2];
        for (const QString& step : steps.split(QLatin1Char(';'))) {
            QStringList parts = step.split(QLatin1Char(' '));
            parts[1].prepend(QStringLiteral("https://"));
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
        const auto text = [](const QStringList& rows) {
            return rows.join(QLatin1Char(';')).remove(QStringLiteral("https://"));
        };
        QCOMPARE(text(rows(screen->dprModel(), roles)), normal);
        QCOMPARE(text(rows(screen->incognitoDprModel(), roles)), incognito);
        QCOMPARE(text(fileZooms()), normal);
    }

    void removeSelectedZooms()
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
        QCOMPARE(model->count() + fileZooms().size(), 0);
    }

    void typesFromQml()
    {
        m_settings->permissions()->addPermissions(QStringLiteral("https://a.example"), { 0 });
        SettingsManager::instance()->setMostVisitedCount(7);
        QQmlEngine engine;
        QQmlComponent component(&engine);
        component.setData(R"(
            import QtQuick 2.15
            import BrowserInternal 1.0
            Item {
                property int tiles: SettingsManager.mostVisitedCount
                property PermissionsProxyModel denied: PermissionsProxyModel {
                    sourceModel: SettingsManager.permissions.permissionsModel
                    permissionType: Permission.Camera
                    responseType: Permission.Deny
                }
                property PermissionsManager sitePermissions: PermissionsManager {}
                property DprModel zooms: DprModel {}
                property string second: engines.count > 1 ? engines.itemAt(1).label : ""
                Repeater {
                    id: engines
                    model: SettingsManager.searchEngines.searchEnginesModel
                    delegate: Item { property string label: model.name + " " + model.id }
                }
            })",
            QUrl());
        std::unique_ptr<QObject> object(component.create());
        QVERIFY2(object, qPrintable(component.errorString()));
        QCOMPARE(object->property("tiles").toInt(), 7);
        QTRY_COMPARE(object->property("second").toString(), QStringLiteral("Google 1"));
        QObject* denied = object->property("denied").value<QObject*>();
        QTRY_COMPARE(denied->property("count").toInt(), 1);
        SettingsManager::instance()->permissions()->addPermissions(
            QStringLiteral("https://b.example"), { 0 });
        QCOMPARE(denied->property("count").toInt(), 2);
    }

private:
    QStringList fileZooms()
    {
        DbFileProbe probe(m_profile->databasePath());
        return sqlRows(probe.database(),
            QStringLiteral(
                "SELECT sites.site, site_dprs.dpr FROM site_dprs JOIN sites ON site_dprs.site_id = sites.id "
                "ORDER BY sites.site;"));
    }

    std::unique_ptr<TempProfile> m_profile;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<SettingsManager> m_settings;
};

QTEST_MAIN(TestScreenAndSearch)
#include "tst_screenandsearch.moc"
