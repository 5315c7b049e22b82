#include "history/tabmanager.h"
#include "history/tabsmodel.h"
#include "settings/settingsmanager.h"
#include "startup/qmltypes.h"
#include "storage/dbmanager.h"
#include "support/dbfileprobe.h"
#include "support/logcapture.h"
#include "support/tempprofile.h"

#include <QAbstractItemModelTester>
#include <QProcess>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QtTest>

namespace
{
// Each tab's url without "https://", zoom and device mode.
QString tabs(const TabsModel& model)
{
    QStringList rows;
    for (int row = 0; row < model.rowCount(); ++row)
        for (int role : { TabsModel::UrlRole, TabsModel::DprRole, TabsModel::DeviceModeRole })
            rows << model.index(row).data(role).toString().remove(QStringLiteral("https://"));
    return rows.join(QLatin1Char(' '));
}
} // namespace

class TestTabsModel : public QObject
{
    Q_OBJECT
    TempProfile m_profile;

private slots:
    void discard_data()
    {
        QTest::addColumn<QString>("live"); // id:age in ms; "p" protected, "n" only just added at that age
        QTest::addColumn<QList<int>>("downloads");
        QTest::addColumn<QString>("discarded"); // long-idle ids in id order, then "> " and the candidate
        // clang-format off
        QTest::newRow("59.999 s is recent") << "1:59999" << QList<int>() << "";
        QTest::newRow("60.000 s is idle") << "1:60000" << QList<int>() << "> 1";
        QTest::newRow("600.000 s waits its turn") << "1:600000 2:300000" << QList<int>() << "> 1";
        QTest::newRow("600.001 s goes at once") << "1:600001 2:300000" << QList<int>() << "1 > 2";
        QTest::newRow("protected never") << "1:3600000p 2:70000p" << QList<int>() << "";
        QTest::newRow("downloading never") << "1:3600000 2:700000 3:90000" << QList<int>{ 1, 3 } << "2";
        QTest::newRow("least recently used") << "1:120000 2:300000 3:200000 4:10" << QList<int>() << "> 2";
        QTest::newRow("just added counts 20 ms ahead") << "1:60019n" << QList<int>() << "";
        // clang-format on
    }

    void discard()
    {
        QFETCH(QString, live);
        QFETCH(QList<int>, downloads);
        QFETCH(QString, discarded);
        const qint64 now = 10000000;
        qint64 clock = 0;
        TabManager::instance()->setClockSource([&clock] { return clock; });
        TabsModel model(DBManager::instance(), nullptr);
        QHash<QString, qint64> ages;
        auto entries = QRegularExpression(QStringLiteral("(\\d+):(\\d+)([pn]?)")).globalMatch(live);
        while (entries.hasNext()) {
            const QRegularExpressionMatch entry = entries.next();
            const bool justAdded = entry.captured(3) == QLatin1String("n");
            clock = now - entry.captured(2).toLongLong();
            model.addLiveTab(entry.captured(1).toInt(), false);
            if (!justAdded)
                model.updateTabActivity(
                    entry.captured(1).toInt(), entry.captured(3) == QLatin1String("p"), true);
            ages[entry.captured(1)] = now - clock - (justAdded ? 20 : 0);
        }
        clock = now;
        QSignalSpy spy(&model, &TabsModel::discardTab);
        LogCapture log("browser.app.tabs");
        model.findCandidateDiscardTab(downloads);
        TabManager::instance()->setClockSource({});

        // Every live tab is logged once as a candidate, each discarded one once more.
        QStringList ids, lines;
        for (const QList<QVariant>& signal : spy)
            ids << signal.first().toString();
        for (const QString& id : ages.keys() + ids)
            lines << QStringLiteral("%1 tabId: %2 lastUsed: %3 seconds ago")
                         .arg(QLatin1String(lines.size() < ages.size() ? "Candidate" : "Discard"), id)
                         .arg(ages[id] / 1000);
        QStringList logged = log.messages();
        std::sort(logged.begin(), logged.end());
        std::sort(lines.begin(), lines.end());
        QCOMPARE(logged, lines);
        // The candidate comes last, after every long-idle tab of the scan.
        const bool hasCandidate = discarded.contains(QLatin1Char('>')) && !ids.isEmpty();
        const QStringList candidate
            = hasCandidate ? QStringList { QStringLiteral(">"), ids.takeLast() } : QStringList();
        std::sort(ids.begin(), ids.end());
        QCOMPARE((ids + candidate).join(QLatin1Char(' ')), discarded);
    }

    void persistence()
    {
        const QString settingsFile = m_profile.path() + QStringLiteral("/browser-app.conf");
        {
            SettingsManager settings(settingsFile, DBManager::instance());
            TabsModel model(DBManager::instance(), &settings), incognito(DBManager::instance(), &settings);
            QAbstractItemModelTester tester(&model);
            model.setIsIncognito(false);
            settings.screenSettingsManager()->updateDpr(QStringLiteral("https://a.example"), false, 1.5);
            QVERIFY(drainStorage());
            const auto site = [](const char* name) {
                return QStringLiteral("https://%1.example/").arg(QLatin1String(name));
            };
            model.insert(0, { site("a"), site("b") });
            model.insert(2, { site("c") });
            model.insert(1, { site("d") });
            QCOMPARE(model.lastOpenedTabIndex(), 1);
            model.setSelectedTab(2);
            model.remove(2); // closing the tab on screen shows the next one
            model.setScreenshotToDB(2, QStringLiteral("data:c"));
            QCOMPARE(model.currentScreenshot(), QStringLiteral("data:c"));
            incognito.insert(0, { QStringLiteral("https://private.example/") });
            model.setDeviceMode(QStringLiteral("c.example"), 1);
            QCOMPARE(tabs(model), QStringLiteral("a.example/ 1.5 -1 d.example/ -1 -1 c.example/ -1 1"));
            QVERIFY(drainStorage());
        }
        delete DBManager::instance();
        DbFileProbe file(m_profile.databasePath());
        QCOMPARE(
            file.value(QStringLiteral("SELECT COUNT(*) FROM link WHERE url LIKE '%private%'")).toInt(), 0);
        // The first tab stored by an earlier run with a higher id than this run handed out.
        QVERIFY(file.execAll({ QStringLiteral("UPDATE tab_history SET tab_id = 900 WHERE tab_id = (SELECT "
                                              "tab_id FROM tab WHERE order_index = 0)"),
            QStringLiteral("UPDATE tab SET tab_id = 900 WHERE order_index = 0") }));

        SettingsManager settings(settingsFile, DBManager::instance());
        TabsModel model(DBManager::instance(), &settings);
        QAbstractItemModelTester tester(&model);
        QSignalSpy loaded(&model, &TabsModel::countChanged), switched(&model, &TabsModel::isIncognitoChanged);
        model.setIsIncognito(true); // already so: neither a switch nor final
        model.setIsIncognito(false);
        QVERIFY(loaded.wait(5000));
        model.setIsIncognito(true); // the mode is chosen once
        QCOMPARE(switched.size(), 1);
        QCOMPARE(tabs(model), QStringLiteral("a.example/ 1.5 -1 d.example/ -1 -1 c.example/ -1 1"));
        QCOMPARE(QPoint(model.selectedTab(), model.lastOpenedTabIndex()), QPoint(2, 2));
        QCOMPARE(model.currentScreenshot(), QStringLiteral("data:c"));
        model.insert(3, { QStringLiteral("https://e.example/") });
        QCOMPARE(model.getTabID(3), 901);
        model.clear();
        QVERIFY(drainStorage());
        QCOMPARE(file.value(QStringLiteral("SELECT COUNT(*) FROM tab")).toInt(), 0);
    }

    void finding_data()
    {
        QTest::addColumn<QString>("query"); // a url, or "host " and a host
        QTest::addColumn<int>("row");
        // clang-format off
        QTest::newRow("common form") << "example.com/a" << 0;
        QTest::newRow("file") << "file:///tmp/page.html" << 2;
        QTest::newRow("other path") << "example.com/b" << -1;
        QTest::newRow("host in ACE") << "host xn--e1afmkfd.xn--p1ai" << 1;
        QTest::newRow("host upper case Unicode") << "host ПРИМЕР.РФ" << 1;
        QTest::newRow("no such host") << "host example.com" << -1;
        // clang-format on
    }

    void finding()
    {
        QFETCH(QString, query);
        QFETCH(int, row);
        TabsModel model(DBManager::instance(), nullptr);
        model.insert(0,
            { QStringLiteral("https://www.example.com/a"), QStringLiteral("http://пример.рф/b"),
                QStringLiteral("file:///tmp/page.html") });
        const QString host = query.startsWith(QLatin1String("host ")) ? query.mid(5) : QString();
        QCOMPARE(host.isEmpty() ? model.findTabByUrl(query) : model.findTabByHost(host), row);
        // Temporary answers are kept by the host's tab.
        model.addPermissions(host, { 1, -1, 0 });
        QCOMPARE(model.getTempPermissions(host).mid(0, 3),
            (row < 0 || host.isEmpty() ? QVariantList() : QVariantList { 1, -1, 0 }));
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
        // clang-format off
        component.setData("import QtQuick 2.15\nimport BrowserInternal 1.0\n"
            "Item { property Item tabs: r\n Component.onCompleted: r.model.insert(0, ['https://q.example/'], ['Q'], null)\n"
            "Repeater { id: r; model: TabsModel {} delegate: Item { property string row: [tabId, url, title, dpr, tempPermissions.length].join(' ') } } }", QUrl());
        // clang-format on
        QScopedPointer<QObject> root(component.create());
        QVERIFY2(root, qPrintable(component.errorString()));
        QObject* repeater = root->property("tabs").value<QObject*>();
        auto* model = repeater->property("model").value<TabsModel*>();
        QQuickItem* item = nullptr;
        QMetaObject::invokeMethod(repeater, "itemAt", Q_RETURN_ARG(QQuickItem*, item), Q_ARG(int, 0));
        QVERIFY(item);
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
