// Per-site permission answers: through the models to the database, and from
// there to the web engine's answers to QtWebEngine's requests.

#include "settings/permissionsmanager.h"
#include "settings/permissionsproxymodel.h"
#include "storage/dbmanager.h"
#include "support/dbfileprobe.h"
#include "support/logcapture.h"
#include "support/tempprofile.h"

#include <permissionmanager.h>

#include <QAbstractItemModelTester>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QSignalSpy>
#include <QtTest>
#include <memory>

using Orvane::WebView::PermissionManager;
namespace Requests = Orvane::WebView::Permissions;

namespace
{
const QString site = QStringLiteral("https://a.example");
const QVariant null;

// The engine's answers for the site, camera microphone geolocation notification.
QString engineAnswers(const QString& url)
{
    const PermissionManager* engine = PermissionManager::GetInstance();
    QStringList answers;
    for (unsigned int type :
        { Requests::Camera, Requests::Microphone, Requests::Geolocation, Requests::Notification })
        answers.append(QString::number(engine->result(url, type)));
    return answers.join(QLatin1Char(' '));
}

QStringList modelRows(QAbstractItemModel* model)
{
    QStringList rows;
    for (int row = 0; row < model->rowCount(); ++row) {
        QStringList cells;
        for (int role = PermissionsModel::UrlRole; role <= PermissionsModel::CookiesRole; ++role) {
            const QVariant value = model->index(row, 0).data(role);
            cells.append(value.isNull() ? QStringLiteral("-") : value.toString());
        }
        rows.append(cells.join(QLatin1Char(' ')));
    }
    return rows;
}
} // namespace

class TestSitePermissions : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void answersReachStorageAndEngine_data();
    void answersReachStorageAndEngine();
    void proxyFilters_data();
    void proxyFilters();
    void revokeRemoveAndRemoveAll();
    void storedAnswersAppliedAfterRestart();
    void webEngineRequests_data();
    void webEngineRequests();

private:
    // Waits until every request queued so far has run, and the model refilled.
    QStringList reload();

    std::unique_ptr<TempProfile> m_profile;
    std::unique_ptr<PermissionsManager> m_manager;
    std::unique_ptr<QAbstractItemModelTester> m_tester;
};

void TestSitePermissions::initTestCase()
{
    m_profile = std::make_unique<TempProfile>();
    DBManager::instance();
}

void TestSitePermissions::init()
{
    m_tester.reset();
    m_manager.reset();
    PermissionManager::GetInstance()->clear();
    DBManager::instance()->removeAllPermissions();
    // The manager reads the stored answers once; reload() answers come one for one after it.
    QSignalSpy loaded(DBManager::instance(), &DBManager::permissionsAvailable);
    m_manager = std::make_unique<PermissionsManager>(DBManager::instance(), PermissionManager::GetInstance());
    m_tester = std::make_unique<QAbstractItemModelTester>(
        m_manager->permissionsModel(), QAbstractItemModelTester::FailureReportingMode::QtTest);
    QVERIFY(loaded.wait(5000));
}

QStringList TestSitePermissions::reload()
{
    QSignalSpy spy(DBManager::instance(), &DBManager::permissionsAvailable);
    DBManager::instance()->getPermissions();
    if (!spy.wait(5000))
        return { QStringLiteral("no answer") };
    DbFileProbe probe(m_profile->databasePath());
    return sqlRows(probe.database(),
        QStringLiteral(
            "SELECT sites.site, camera, microphone, geolocation, notification, screen_capture, popups, "
            "cookies FROM permissions JOIN sites ON permissions.site_id = sites.id ORDER BY sites.site;"),
        {}, QStringLiteral(" "), QStringLiteral("-"));
}

void TestSitePermissions::answersReachStorageAndEngine_data()
{
    QTest::addColumn<QVariantList>("before"); // seven answers set first, empty for none
    QTest::addColumn<int>("type");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("stored"); // the row in the file and in the model
    QTest::addColumn<QByteArray>("engine"); // 0 granted, 1 ask, 2 refused
    QTest::addColumn<bool>("logged");

    const QString url = site + QStringLiteral("/some/page?x=1");
    const QVariantList asked { 2, 2, 2, 2, 2, 2, 2 };
    const QVariantList allowed { 1, 1, 1, 1, 1, 1, 1 };
    QTest::newRow("camera allowed, new site")
        << QVariantList() << 0 << QVariant(true) << site + QStringLiteral(" 1 - - - - - -")
        << QByteArray("0 1 1 1") << false;
    QTest::newRow("camera refused") << asked << 0 << QVariant(false)
                                    << site + QStringLiteral(" 0 2 2 2 2 2 2") << QByteArray("2 1 1 1")
                                    << false;
    QTest::newRow("geolocation reset")
        << allowed << 2 << null << site + QStringLiteral(" 1 1 - 1 1 1 1") << QByteArray("0 0 1 0") << false;
    QTest::newRow("microphone ask again")
        << allowed << 1 << QVariant(2) << site + QStringLiteral(" 1 2 1 1 1 1 1") << QByteArray("0 1 0 0")
        << false;
    QTest::newRow("notification by number")
        << asked << 3 << QVariant(1) << site + QStringLiteral(" 2 2 2 1 2 2 2") << QByteArray("1 1 1 0")
        << false;
    QTest::newRow("popups stored, not forwarded")
        << asked << 5 << QVariant(true) << site + QStringLiteral(" 2 2 2 2 2 1 2") << QByteArray("1 1 1 1")
        << true;
    QTest::newRow("screen capture stored, not forwarded")
        << QVariantList() << 4 << QVariant(false) << site + QStringLiteral(" - - - - 0 - -")
        << QByteArray("1 1 1 1") << true;
    QTest::newRow("unknown type") << allowed << 9 << QVariant(false)
                                  << site + QStringLiteral(" 1 1 1 1 1 1 1") << QByteArray("0 0 0 0") << true;
    Q_UNUSED(url)
}

void TestSitePermissions::answersReachStorageAndEngine()
{
    QFETCH(QVariantList, before);
    QFETCH(int, type);
    QFETCH(QVariant, value);
    QFETCH(QString, stored);
    QFETCH(QByteArray, engine);
    QFETCH(bool, logged);

    if (!before.isEmpty())
        m_manager->addPermissions(site, before);
    LogCapture log("browser.app.permissions");
    // A page url, as the web view reports it; answers belong to its origin.
    m_manager->updatePermission(site + QStringLiteral("/some/page?x=1"), type, value);

    QCOMPARE(log.messages(QtCriticalMsg).contains(QStringLiteral("unexpected permission type requested!")),
        logged);
    QCOMPARE(engineAnswers(site).toLatin1(), engine);
    QCOMPARE(reload(), QStringList { stored });
    QCOMPARE(modelRows(m_manager->permissionsModel()), QStringList { stored });
}

void TestSitePermissions::proxyFilters_data()
{
    QTest::addColumn<int>("permissionType");
    QTest::addColumn<int>("responseType");
    QTest::addColumn<QString>("filter");
    QTest::addColumn<QByteArray>("sites"); // listed, in order

    QTest::newRow("all")
        << -1 << -1 << QString()
        << QByteArray(
               "https://a.example https://b.example https://c.test https://d.test https://mail.example");
    QTest::newRow("text, any case") << -1 << -1 << QStringLiteral("EXAMPLE")
                                    << QByteArray("https://a.example https://b.example https://mail.example");
    QTest::newRow("camera allowed") << 0 << 1 << QString() << QByteArray("https://a.example https://c.test");
    QTest::newRow("camera allowed, text") << 0 << 1 << QStringLiteral("test") << QByteArray("https://c.test");
    QTest::newRow("camera denied") << 0 << 0 << QString() << QByteArray("https://b.example");
    QTest::newRow("cookies asked") << 6 << 2 << QStringLiteral("MAIL") << QByteArray("https://mail.example");
    QTest::newRow("nothing matches") << 3 << 1 << QString() << QByteArray();
}

void TestSitePermissions::proxyFilters()
{
    QFETCH(int, permissionType);
    QFETCH(int, responseType);
    QFETCH(QString, filter);
    QFETCH(QByteArray, sites);

    // d.test has no camera answer at all: it is never listed under a camera answer.
    const QList<std::pair<const char*, QVariantList>> stored = {
        { "https://c.test", { 1, 1, 1, 0, 0, 0, 0 } },
        { "https://a.example", { 1, null, null, null, null, null, null } },
        { "https://b.example", { 0, 1, 1, 2, 2, 2, 1 } },
        { "https://d.test", { null, 1, 1, 2, 1, 1, 1 } },
        { "https://mail.example", { 2, 2, 2, 2, 2, 2, 2 } },
    };
    PermissionsProxyModel proxy;
    QAbstractItemModelTester tester(&proxy, QAbstractItemModelTester::FailureReportingMode::QtTest);
    proxy.setSourceModel(m_manager->permissionsModel());
    for (const auto& row : stored)
        m_manager->addPermissions(QString::fromLatin1(row.first), row.second);
    QCOMPARE(proxy.count(), stored.size());

    // Filters set after a refill from storage, as the settings page does.
    QSignalSpy countSpy(&proxy, &PermissionsProxyModel::countChanged);
    QCOMPARE(reload().size(), stored.size());
    proxy.setPermissionType(Permission::PermissionType(permissionType));
    proxy.setResponseType(Permission::ResponseType(responseType));
    proxy.setFilter(filter);
    QStringList listed;
    for (int row = 0; row < proxy.rowCount(); ++row)
        listed.append(proxy.index(row, 0).data(PermissionsModel::UrlRole).toString());
    QCOMPARE(listed.join(QLatin1Char(' ')).toLatin1(), sites);
    QCOMPARE(proxy.count(), listed.size());
    QVERIFY(!countSpy.isEmpty());
}

void TestSitePermissions::revokeRemoveAndRemoveAll()
{
    const QString other = QStringLiteral("https://b.example");
    m_manager->addPermissions(site, { 0, 1, 0, 1, 1, 1, 1 });
    m_manager->addPermissions(other, { 1, 1, 1, 1, 1, 1, 1 });
    QCOMPARE(engineAnswers(site), QStringLiteral("2 0 2 0"));

    m_manager->revokePermissions(site);
    QCOMPARE(engineAnswers(site), QStringLiteral("1 1 1 1"));
    QCOMPARE(engineAnswers(other), QStringLiteral("0 0 0 0"));
    const QStringList revoked { site + QStringLiteral(" - - - - - - -"),
        other + QStringLiteral(" 1 1 1 1 1 1 1") };
    QCOMPARE(reload(), revoked);
    QCOMPARE(modelRows(m_manager->permissionsModel()), revoked);

    m_manager->removePermissionsData(site);
    QCOMPARE(reload(), QStringList { other + QStringLiteral(" 1 1 1 1 1 1 1") });
    QCOMPARE(m_manager->permissionsModel()->rowCount(), 1);

    QSignalSpy removedAll(m_manager->permissionsModel(), &PermissionsModel::allPermissionsRemoved);
    m_manager->removeAllPermissions();
    QCOMPARE(removedAll.count(), 1);
    QCOMPARE(engineAnswers(other), QStringLiteral("1 1 1 1"));
    QCOMPARE(reload(), QStringList {});
    QCOMPARE(m_manager->permissionsModel()->rowCount(), 0);
}

void TestSitePermissions::storedAnswersAppliedAfterRestart()
{
    m_manager->addPermissions(site, { 0, 1, null, 2, 1, 1, 1 });
    reload();
    // A new start: the desktop engine remembers nothing by itself.
    m_manager.reset();
    PermissionManager::GetInstance()->clear();
    PermissionsManager restarted(DBManager::instance(), PermissionManager::GetInstance());
    QCOMPARE(engineAnswers(site), QStringLiteral("1 1 1 1"));
    QTRY_COMPARE(engineAnswers(site), QStringLiteral("2 0 1 1"));
}

void TestSitePermissions::webEngineRequests_data()
{
    QTest::addColumn<QVariantList>("answers");
    QTest::addColumn<QByteArray>("feature"); // a WebEngineView.Feature name
    QTest::addColumn<int>("decision");

    const QVariantList camDenyMicAllow { 0, 1, 1, 0, null, null, null };
    QTest::newRow("camera denied") << camDenyMicAllow << QByteArray("MediaVideoCapture")
                                   << int(PermissionManager::Refused);
    QTest::newRow("microphone allowed")
        << camDenyMicAllow << QByteArray("MediaAudioCapture") << int(PermissionManager::Granted);
    QTest::newRow("both, one denied")
        << camDenyMicAllow << QByteArray("MediaAudioVideoCapture") << int(PermissionManager::Refused);
    QTest::newRow("both allowed") << QVariantList { 1, 1 } << QByteArray("MediaAudioVideoCapture")
                                  << int(PermissionManager::Granted);
    QTest::newRow("both, one unanswered")
        << QVariantList { 1 } << QByteArray("MediaAudioVideoCapture") << int(PermissionManager::Ask);
    QTest::newRow("location allowed")
        << camDenyMicAllow << QByteArray("Geolocation") << int(PermissionManager::Granted);
    QTest::newRow("notifications denied")
        << camDenyMicAllow << QByteArray("Notifications") << int(PermissionManager::Refused);
    QTest::newRow("notifications asked")
        << QVariantList { 1, 1, 1, 2 } << QByteArray("Notifications") << int(PermissionManager::Ask);
    QTest::newRow("screen sharing always asks")
        << QVariantList { 1, 1, 1, 1, 1 } << QByteArray("DesktopVideoCapture") << int(PermissionManager::Ask);
    QTest::newRow("unanswered site") << QVariantList() << QByteArray("Geolocation")
                                     << int(PermissionManager::Ask);
}

void TestSitePermissions::webEngineRequests()
{
    QFETCH(QVariantList, answers);
    QFETCH(QByteArray, feature);
    QFETCH(int, decision);

    if (!answers.isEmpty())
        m_manager->addPermissions(site, answers);
    // The feature number comes from QtWebEngine's own QML type, as a view's
    // featurePermissionRequested handler receives it, and the origin in the
    // form QtWebEngine reports it.
    QQmlEngine engine;
    engine.rootContext()->setContextProperty(
        QStringLiteral("permissionManager"), PermissionManager::GetInstance());
    QQmlComponent component(&engine);
    component.setData("import QtQml 2.15\nimport QtWebEngine 1.10\nQtObject { property int decision: "
                      "permissionManager.decisionFor(\"https://a.example/\", WebEngineView."
            + feature + ") }",
        QUrl());
    std::unique_ptr<QObject> object(component.create());
    QVERIFY2(object, qPrintable(component.errorString()));
    QCOMPARE(object->property("decision").toInt(), decision);
}

QTEST_MAIN(TestSitePermissions)
#include "tst_sitepermissions.moc"
