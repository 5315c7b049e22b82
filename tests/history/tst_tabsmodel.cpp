#include "history/tabmanager.h"
#include "history/tabsmodel.h"
#include "settings/settingsmanager.h"
#include "startup/qmltypes.h"
#include "storage/dbmanager.h"
#include "support/dbfileprobe.h"
#include "support/logcapture.h"
#include "support/tempprofile.h"

#include <QAbstractItemModelTester>
#include <QDir>
#include <QProcess>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

namespace
{
bool drain()
{
    QSignalSpy spy(DBManager::instance(), &DBManager::deviceModeAvailable);
    DBManager::instance()->getDeviceMode(QStringLiteral("drain.example"), false);
    return spy.wait(10000);
}

QString urls(const TabsModel& model)
{
    QStringList rows;
    for (int row = 0; row < model.rowCount(); ++row)
        rows << model.index(row).data(TabsModel::UrlRole).toString().remove(QStringLiteral("https://"));
    return rows.join(QLatin1Char(' '));
}
} // namespace

class TestTabsModel : public QObject
{
    Q_OBJECT
    std::unique_ptr<TempProfile> m_profile;
    QString settingsPath() const { return m_profile->path() + QStringLiteral("/browser-app.conf"); }

private slots:
    void init()
    {
        delete DBManager::instance();
        m_profile.reset();
        m_profile = std::make_unique<TempProfile>();
        QVERIFY(drain());
    }

    void discard_data()
    {
        QTest::addColumn<QString>("live"); // id:age in ms; "p" protected, "n" only just added at that age
        QTest::addColumn<QList<int>>("downloads");
        QTest::addColumn<QList<int>>("atOnce"); // discarded during the scan, in id order
        QTest::addColumn<int>("candidate");
        const QList<int> none;
        // clang-format off
        QTest::newRow("no live tabs") << "" << none << none << -1;
        QTest::newRow("59.999 s is recent") << "1:59999" << none << none << -1;
        QTest::newRow("60.000 s is idle") << "1:60000" << none << none << 1;
        QTest::newRow("600.000 s waits its turn") << "1:600000 2:300000" << none << none << 1;
        QTest::newRow("600.001 s goes at once") << "1:600001 2:300000" << none << QList<int>{ 1 } << 2;
        QTest::newRow("protected never") << "1:3600000p 2:70000p" << none << none << -1;
        QTest::newRow("downloading never") << "1:3600000 2:700000 3:90000" << QList<int>{ 1, 3 } << QList<int>{ 2 } << -1;
        QTest::newRow("11, 12 and 3 minutes") << "1:660000 2:720000 3:180000" << none << QList<int>{ 1, 2 } << 3;
        QTest::newRow("least recently used") << "1:120000 2:300000 3:200000 4:10" << none << none << 2;
        QTest::newRow("just added counts 20 ms ahead") << "1:60019n" << none << none << -1;
        QTest::newRow("just added, idle long") << "1:600020n 2:300000" << none << none << 1;
        // clang-format on
    }

    void discard()
    {
        QFETCH(QString, live);
        QFETCH(QList<int>, downloads);
        QFETCH(QList<int>, atOnce);
        QFETCH(int, candidate);
        const qint64 now = 10'000'000;
        qint64 clock = 0;
        TabManager::instance()->setClockSource([&clock] { return clock; });
        TabsModel model(DBManager::instance(), nullptr);
        QStringList candidateLines;
        QHash<int, qint64> ages;
        for (const QString& spec : live.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
            const int id = spec.section(QLatin1Char(':'), 0, 0).toInt();
            const qint64 age = spec.section(QLatin1Char(':'), 1)
                                   .remove(QRegularExpression(QStringLiteral("[pn]")))
                                   .toLongLong();
            clock = now - age;
            model.addLiveTab(id, false);
            if (!spec.endsWith(QLatin1Char('n')))
                model.updateTabActivity(id, spec.endsWith(QLatin1Char('p')), true);
            ages.insert(id, spec.endsWith(QLatin1Char('n')) ? age - 20 : age);
            candidateLines << QStringLiteral("Candidate tabId: %1 lastUsed: %2 seconds ago")
                                  .arg(id)
                                  .arg(ages[id] / 1000);
        }
        clock = now;
        QSignalSpy discarded(&model, &TabsModel::discardTab);
        LogCapture log("browser.app.tabs");
        model.findCandidateDiscardTab(downloads);
        TabManager::instance()->setClockSource({});

        QList<int> ids;
        QStringList discardLines;
        for (const QList<QVariant>& signal : discarded) {
            ids << signal.first().toInt();
            discardLines << QStringLiteral("Discard tabId: %1 lastUsed: %2 seconds ago")
                                .arg(ids.last())
                                .arg(ages[ids.last()] / 1000);
        }
        // The candidate comes last, after every long-idle tab of the scan.
        QCOMPARE(candidate == -1 ? -1 : ids.takeLast(), candidate);
        std::sort(ids.begin(), ids.end());
        QCOMPARE(ids, atOnce);
        QStringList candidates = log.startingWith(QStringLiteral("Candidate"));
        std::sort(candidates.begin(), candidates.end());
        std::sort(candidateLines.begin(), candidateLines.end());
        QCOMPARE(candidates, candidateLines);
        QCOMPARE(log.startingWith(QStringLiteral("Discard")), discardLines);
        QCOMPARE(log.messages().size(), candidateLines.size() + discardLines.size());
    }

    void persistence()
    {
        int closedId = -1;
        {
            SettingsManager settings(settingsPath(), DBManager::instance());
            TabsModel model(DBManager::instance(), &settings);
            TabsModel incognito(DBManager::instance(), &settings);
            QAbstractItemModelTester tester(&model);
            model.setIsIncognito(false);
            QVERIFY(drain());
            const auto open = [&model](int at, const QStringList& pages) { model.insert(at, pages, pages); };
            open(0, { QStringLiteral("https://a.example/"), QStringLiteral("https://b.example/") });
            open(2, { QStringLiteral("https://c.example/") });
            open(1, { QStringLiteral("https://d.example/") });
            QCOMPARE(model.lastOpenedTabIndex(), 1);
            closedId = model.getTabID(0);
            model.remove(0);
            model.setSelectedTab(1);
            model.setScreenshotToDB(1, QStringLiteral("data:b"));
            QCOMPARE(model.currentScreenshot(), QStringLiteral("data:b"));
            incognito.insert(0, { QStringLiteral("https://private.example/") });
            model.setDeviceMode(QStringLiteral("c.example"), 1);
            QCOMPARE(urls(model), QStringLiteral("d.example/ b.example/ c.example/"));
            QVERIFY(drain());
        }
        delete DBManager::instance();
        DbFileProbe file(m_profile->databasePath());
        QCOMPARE(file.value(QStringLiteral("SELECT COUNT(*) FROM link WHERE url LIKE '%private%'")),
            QVariant(QStringLiteral("0")));
        // A tab stored by an earlier run with a higher id than this run handed out.
        QVERIFY(file.exec(QStringLiteral("UPDATE tab_history SET tab_id = 900 WHERE tab_id = "
                                         "(SELECT tab_id FROM tab WHERE order_index = 2)")));
        QVERIFY(file.exec(QStringLiteral("UPDATE tab SET tab_id = 900 WHERE order_index = 2")));

        SettingsManager settings(settingsPath(), DBManager::instance());
        TabsModel model(DBManager::instance(), &settings);
        QAbstractItemModelTester tester(&model);
        QSignalSpy loaded(&model, &TabsModel::countChanged);
        model.setIsIncognito(false);
        QVERIFY(loaded.wait(5000));
        QCOMPARE(urls(model), QStringLiteral("d.example/ b.example/ c.example/"));
        QCOMPARE(model.selectedTab(), 1);
        QCOMPARE(model.currentScreenshot(), QStringLiteral("data:b"));
        QCOMPARE(model.index(2).data(TabsModel::DeviceModeRole).toInt(), 1);
        QVERIFY(model.findTabByUrl(QStringLiteral("a.example")) == -1 && closedId >= 0);
        model.insert(3, { QStringLiteral("https://e.example/") });
        QCOMPARE(model.getTabID(3), 901);
        model.clear();
        QVERIFY(drain());
        QCOMPARE(file.value(QStringLiteral("SELECT COUNT(*) FROM tab")), QVariant(QStringLiteral("0")));
    }

    void incognitoSwitchesOnce_data()
    {
        QTest::addColumn<QList<bool>>("values");
        QTest::addColumn<bool>("result");
        QTest::addColumn<int>("changes");
        QTest::newRow("true keeps it open") << QList<bool> { true, true, false } << false << 1;
        QTest::newRow("false is final") << QList<bool> { false, true, false, true } << false << 1;
    }

    void incognitoSwitchesOnce()
    {
        QFETCH(QList<bool>, values);
        QFETCH(bool, result);
        QFETCH(int, changes);
        TabsModel model(DBManager::instance(), nullptr);
        QSignalSpy changed(&model, &TabsModel::isIncognitoChanged);
        for (bool value : values)
            model.setIsIncognito(value);
        QCOMPARE(model.isIncognito(), result);
        QCOMPARE(changed.size(), changes);
    }

    void finding_data()
    {
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("url");
        QTest::addColumn<int>("row");
        // Tabs: https://www.example.com/a, http://пример.рф/b, file:///tmp/page.html
        QTest::newRow("common form") << ""
                                     << "example.com/a" << 0;
        QTest::newRow("other scheme") << ""
                                      << "http://example.com/a" << 0;
        QTest::newRow("file") << ""
                              << "file:///tmp/page.html" << 2;
        QTest::newRow("other path") << ""
                                    << "example.com/b" << -1;
        QTest::newRow("host case") << "WWW.Example.COM"
                                   << "" << 0;
        QTest::newRow("host in ACE") << "xn--e1afmkfd.xn--p1ai"
                                     << "" << 1;
        QTest::newRow("host upper case Unicode") << "ПРИМЕР.РФ"
                                                 << "" << 1;
        QTest::newRow("no such host") << "example.com"
                                      << "" << -1;
    }

    void finding()
    {
        QFETCH(QString, host);
        QFETCH(QString, url);
        QFETCH(int, row);
        TabsModel model(DBManager::instance(), nullptr);
        model.insert(0,
            { QStringLiteral("https://www.example.com/a"), QStringLiteral("http://пример.рф/b"),
                QStringLiteral("file:///tmp/page.html") });
        if (!host.isEmpty()) {
            QCOMPARE(model.findTabByHost(host), row);
            // Temporary answers are kept by the host's tab.
            model.addPermissions(host, { 1, -1, 0 });
            QCOMPARE(model.getTempPermission(qMax(row, 0), 0), row < 0 ? -1 : 1);
            QCOMPARE(model.getTempPermissions(host).mid(0, 3),
                (row < 0 ? QVariantList() : QVariantList { 1, -1, 0 }));
        } else {
            QCOMPARE(model.findTabByUrl(url), row);
        }
    }

    void severalTabsWithPopupIsFatal()
    {
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), { QStringLiteral("--popup-with-two-urls") });
        QVERIFY(child.waitForFinished(30000));
        QCOMPARE(child.exitStatus(), QProcess::CrashExit);
        QVERIFY(child.readAllStandardError().contains("Can't insert several tabs with popupWindow"));
    }

    void fromQml()
    {
        registerQmlTypes();
        QQmlEngine engine;
        QQmlComponent component(&engine);
        component.setData(
            "import QtQuick 2.15\nimport BrowserInternal 1.0\n"
            "Item { property Item tabs: r\n Repeater { id: r; model: TabsModel {} delegate: Item { "
            "property string row: [tabId, url, title, dpr, tempPermissions.length].join(' ') } } }",
            QUrl());
        std::unique_ptr<QObject> root(component.create());
        QVERIFY2(root, qPrintable(component.errorString()));
        QObject* repeater = root->property("tabs").value<QObject*>();
        auto* model = repeater->property("model").value<TabsModel*>();
        model->insert(0, { QStringLiteral("https://q.example/") }, { QStringLiteral("Q") });
        QQuickItem* item = nullptr;
        QMetaObject::invokeMethod(repeater, "itemAt", Q_RETURN_ARG(QQuickItem*, item), Q_ARG(int, 0));
        QCOMPARE(item->property("row").toString(),
            QStringLiteral("%1 https://q.example/ Q -1 7").arg(model->getTabID(0)));
    }
};

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    if (app.arguments().contains(QStringLiteral("--popup-with-two-urls"))) {
        TempProfile profile;
        QObject popup;
        TabsModel(DBManager::instance(), nullptr)
            .insert(0, { QStringLiteral("https://a.example/"), QStringLiteral("https://b.example/") }, {},
                &popup);
        return 0;
    }
    TestTabsModel test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_tabsmodel.moc"
