// Per-site permission answers: through the models to the database and on to
// the platform permission manager QtWebEngine asks.

#include "settings/permissionsmanager.h"
#include "settings/permissionsproxymodel.h"
#include "storage/dbmanager.h"
#include "support/dbfileprobe.h"
#include "support/httpserver.h"
#include "support/logcapture.h"
#include "support/tempprofile.h"

#include <permissionmanager.h>

#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QtTest>
#include <QtWebEngine>
#include <memory>

using Orvane::WebView::PermissionManager;

namespace
{
const QString a = QStringLiteral("https://a.example");

// "-" is no answer, "t"/"f" a bool, digits a number: "1 - 2 t" -> {1, null, 2, true}.
QVariantList values(const QString& text)
{
    QVariantList result;
    for (const QString& word : text.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        result.append(word == QLatin1String("-") ? QVariant()
                : word == QLatin1String("t")     ? QVariant(true)
                : word == QLatin1String("f")     ? QVariant(false)
                                                 : QVariant(word.toInt()));
    return result;
}

// The engine's answers for camera, microphone, location, notifications: 0 grant, 1 ask, 2 refuse.
QString engineAnswers(const QString& url)
{
    QStringList answers;
    for (unsigned int type : { 8u, 4096u, 512u, 32768u })
        answers.append(QString::number(PermissionManager::GetInstance()->result(url, type)));
    return answers.join(QLatin1Char(' '));
}

// Rows as "site v v v v v v v", null as "-", sorted.
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
    rows.sort();
    return rows;
}
// Decisions for QtWebEngine's own feature numbers, the origin as QtWebEngine reports it.
const char* const featuresQml
    = "import QtQml 2.15\nimport QtWebEngine 1.10\nQtObject { property string decisions: ["
      "WebEngineView.MediaAudioCapture, WebEngineView.MediaVideoCapture, "
      "WebEngineView.MediaAudioVideoCapture,"
      "WebEngineView.Geolocation, WebEngineView.DesktopVideoCapture, WebEngineView.DesktopAudioVideoCapture,"
      "WebEngineView.Notifications].map(function (feature) {"
      "  return permissionManager.decisionFor('https://a.example/', feature) }).join(' ') }";
} // namespace

class TestSitePermissions : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { DBManager::instance(); }

    void cleanupTestCase() { DBManager::instance()->shutdown(); }
    void init()
    {
        DBManager::instance()->removeAllPermissions();
        QSignalSpy loaded(DBManager::instance(), &DBManager::permissionsAvailable);
        restart();
        QVERIFY(loaded.wait(5000));
    }

    void calls_data()
    {
        // Calls on a.example (b.example keeps "1 1 1 1 1 1 1" throughout); "update T V"
        // passes a page url of the site, as the web view reports it.
        QTest::addColumn<QString>("calls");
        QTest::addColumn<QString>("stored"); // a.example in the file and the model, "" for no row
        QTest::addColumn<QString>("engine");
        QTest::addColumn<bool>("logged"); // "unexpected permission type requested!"

        const auto row = [](const char* name, const char* calls, const char* stored, const char* engine,
                             bool logged = false) {
            QTest::newRow(name) << QString::fromLatin1(calls) << QString::fromLatin1(stored)
                                << QString::fromLatin1(engine) << logged;
        };
        row("allow camera, new site", "update 0 t", "1 - - - - - -", "0 1 1 1");
        row("refuse camera", "add 2 2 2 2 2 2 2;update 0 f", "0 2 2 2 2 2 2", "2 1 1 1");
        row("reset location", "add 1 1 1 1 1 1 1;update 2 -", "1 1 - 1 1 1 1", "0 0 1 0");
        row("microphone back to ask", "add 1 1 1 1 1 1 1;update 1 2", "1 2 1 1 1 1 1", "0 1 0 0");
        row("notifications by number", "update 3 1", "- - - 1 - - -", "1 1 1 0");
        row("popups kept, not forwarded", "add 2 2 2 2 2 2 2;update 5 t", "2 2 2 2 2 1 2", "1 1 1 1", true);
        row("unknown kind", "add 1 1 1 1 1 1 1;update 9 f", "1 1 1 1 1 1 1", "0 0 0 0", true);
        row("revoke", "add 0 1 0 1 1 1 1;revoke", "- - - - - - -", "1 1 1 1");
        row("remove", "add 0 1 0 1 1 1 1;remove", "", "1 1 1 1");
    }

    void calls()
    {
        QFETCH(QString, calls);
        QFETCH(QString, stored);
        QFETCH(QString, engine);
        QFETCH(bool, logged);

        const QString b = QStringLiteral("https://b.example");
        m_manager->addPermissions(b, values(QStringLiteral("1 1 1 1 1 1 1")));
        LogCapture log("browser.app.permissions");
        for (const QString& call : calls.split(QLatin1Char(';'))) {
            const QStringList words = call.split(QLatin1Char(' '));
            if (words.first() == QLatin1String("add"))
                m_manager->addPermissions(a, values(call.mid(4)));
            else if (words.first() == QLatin1String("update"))
                m_manager->updatePermission(
                    a + QStringLiteral("/page?q=1"), words.at(1).toInt(), values(words.at(2)).first());
            else if (words.first() == QLatin1String("revoke"))
                m_manager->revokePermissions(a);
            else
                m_manager->removePermissionsData(a);
        }
        QCOMPARE(
            log.messages(QtCriticalMsg).contains(QStringLiteral("unexpected permission type requested!")),
            logged);
        QCOMPARE(engineAnswers(a), engine);
        QCOMPARE(engineAnswers(b), QStringLiteral("0 0 0 0"));
        QStringList rows { b + QStringLiteral(" 1 1 1 1 1 1 1") };
        if (!stored.isEmpty())
            rows.prepend(a + QLatin1Char(' ') + stored);
        QCOMPARE(reload(), rows);
        QCOMPARE(modelRows(m_manager->permissionsModel()), rows);
        restart();
        QTRY_COMPARE(
            engineAnswers(a) + QLatin1Char(' ') + engineAnswers(b), engine + QStringLiteral(" 0 0 0 0"));

        QSignalSpy removedAll(m_manager->permissionsModel(), &PermissionsModel::allPermissionsRemoved);
        m_manager->removeAllPermissions();
        QCOMPARE(removedAll.count(), 1);
        QCOMPARE(engineAnswers(b), QStringLiteral("1 1 1 1"));
        QCOMPARE(reload(), QStringList());
    }

    void proxyFilters_data()
    {
        QTest::addColumn<int>("permissionType");
        QTest::addColumn<int>("responseType");
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("listed");

        QTest::newRow("all, sorted") << -1 << -1 << QString()
                                     << "a.example b.example c.test d.test mail.example";
        QTest::newRow("text, any case")
            << -1 << -1 << QStringLiteral("EXAMPLE") << "a.example b.example mail.example";
        QTest::newRow("camera allowed, never the unanswered") << 0 << 1 << QString() << "a.example c.test";
        QTest::newRow("cookies asked, text") << 6 << 2 << QStringLiteral("MAIL") << "mail.example";
        QTest::newRow("nothing matches") << 3 << 1 << QString() << "";
    }

    void proxyFilters()
    {
        QFETCH(int, permissionType);
        QFETCH(int, responseType);
        QFETCH(QString, filter);
        QFETCH(QString, listed);

        PermissionsProxyModel proxy;
        QAbstractItemModelTester tester(&proxy, QAbstractItemModelTester::FailureReportingMode::QtTest);
        proxy.setSourceModel(m_manager->permissionsModel());
        for (const char* site : { "c.test 1 1 1 0 0 0 0", "a.example 1 - - - - - -",
                 "b.example 0 1 1 2 2 2 1", "d.test - 1 1 2 1 1 1", "MAIL.example 2 2 2 2 2 2 2" })
            m_manager->addPermissions(
                QStringLiteral("https://") + QString::fromLatin1(site).section(QLatin1Char(' '), 0, 0),
                values(QString::fromLatin1(site).section(QLatin1Char(' '), 1)));
        QCOMPARE(reload().size(), 5); // filters then apply to the rows refilled from storage

        QSignalSpy countSpy(&proxy, &PermissionsProxyModel::countChanged);
        proxy.setPermissionType(Permission::PermissionType(permissionType));
        proxy.setResponseType(Permission::ResponseType(responseType));
        proxy.setFilter(filter);
        QStringList sites;
        for (int row = 0; row < proxy.rowCount(); ++row)
            sites.append(proxy.index(row, 0).data(PermissionsModel::UrlRole).toString().mid(8));
        QCOMPARE(sites.join(QLatin1Char(' ')), listed);
        QCOMPARE(proxy.count(), sites.size());
        QCOMPARE(countSpy.isEmpty(), permissionType == -1 && filter.isEmpty());
    }

    void webEngineFeatures_data()
    {
        // Decisions (0 grant, 1 ask, 2 refuse) for QtWebEngine's features in the order
        // audio, video, audio+video, location, screen, screen+audio, notifications.
        QTest::addColumn<QString>("answers");
        QTest::addColumn<QString>("decisions");
        QTest::newRow("camera refused") << QStringLiteral("0 1 1 1 1") << QStringLiteral("0 2 2 0 1 1 0");
        QTest::newRow("camera, microphone") << QStringLiteral("1 1 0 2") << QStringLiteral("0 0 0 2 1 1 1");
    }

    void webEngineFeatures()
    {
        QFETCH(QString, answers);
        QFETCH(QString, decisions);

        m_manager->addPermissions(a, values(answers));
        QQmlEngine engine;
        engine.rootContext()->setContextProperty(
            QStringLiteral("permissionManager"), PermissionManager::GetInstance());
        QQmlComponent component(&engine);
        component.setData(featuresQml, QUrl());
        std::unique_ptr<QObject> object(component.create());
        QVERIFY2(object, qPrintable(component.errorString()));
        QCOMPARE(object->property("decisions").toString(), decisions);
    }

    // A real page's request, answered the way the front end's web view does.
    void pageRequest_data();
    void pageRequest();

private:
    // A new start of the browser: the desktop engine remembers nothing by itself.
    void restart()
    {
        m_tester.reset();
        m_manager.reset();
        PermissionManager::GetInstance()->clear();
        m_manager
            = std::make_unique<PermissionsManager>(DBManager::instance(), PermissionManager::GetInstance());
        m_tester = std::make_unique<QAbstractItemModelTester>(
            m_manager->permissionsModel(), QAbstractItemModelTester::FailureReportingMode::QtTest);
    }

    // The file's rows once every request queued so far has run (the model refills from the same answer).
    QStringList reload()
    {
        QSignalSpy spy(DBManager::instance(), &DBManager::permissionsAvailable);
        DBManager::instance()->getPermissions();
        if (!spy.wait(5000))
            return { QStringLiteral("no answer") };
        DbFileProbe probe(m_profile.databasePath());
        return sqlRows(probe.database(),
            QStringLiteral(
                "SELECT site, camera, microphone, geolocation, notification, screen_capture, popups, cookies "
                "FROM permissions JOIN sites ON site_id = sites.id ORDER BY site;"),
            {}, QStringLiteral(" "), QStringLiteral("-"));
    }

    TempProfile m_profile;
    std::unique_ptr<PermissionsManager> m_manager;
    std::unique_ptr<QAbstractItemModelTester> m_tester;
};

void TestSitePermissions::pageRequest_data()
{
    QTest::addColumn<QString>("answers"); // for notifications, in order
    QTest::addColumn<int>("prompts");
    QTest::addColumn<QString>("title");

    QTest::newRow("denied: refused, no prompt") << "f" << 0 << "answer:denied";
    QTest::newRow("allowed: granted, no prompt") << "t" << 0 << "answer:granted";
    QTest::newRow("no answer: prompt") << "" << 1 << "answer:denied";
    QTest::newRow("denied then reset: prompt again") << "f -" << 1 << "answer:denied";
}

void TestSitePermissions::pageRequest()
{
    QFETCH(QString, answers);
    QFETCH(int, prompts);
    QFETCH(QString, title);

    // One page on 127.0.0.1, on a port of its own so that no earlier origin's answer is reused.
    HttpServer server;
    QVERIFY(server.start());
    server.route("/page.html",
        "<html><head><title>asking</title></head><body><script>Notification.requestPermission().then("
        "function (answer) { document.title = 'answer:' + answer; });</script></body></html>",
        "text/html");
    const QString origin = server.url().toString();
    for (const QVariant& answer : values(answers))
        m_manager->updatePermission(origin, Permission::Notification, answer);

    // What the front end's web view does; a prompt is counted and answered no.
    QQmlEngine engine;
    engine.rootContext()->setContextProperty(
        QStringLiteral("permissionManager"), PermissionManager::GetInstance());
    QQmlComponent component(&engine);
    component.setData(R"(
        import QtQuick 2.15
        import QtQuick.Window 2.15
        import QtWebEngine 1.10
        Window {
            visible: true
            property int prompts: 0
            property alias title: view.title
            property alias url: view.url
            WebEngineView {
                id: view
                anchors.fill: parent
                onFeaturePermissionRequested: {
                    var decision = permissionManager.decisionFor(securityOrigin, feature)
                    if (decision === 1)
                        ++prompts
                    grantFeaturePermission(securityOrigin, feature, decision === 0)
                }
            }
        })",
        QUrl());
    std::unique_ptr<QObject> window(component.create());
    QVERIFY2(window, qPrintable(component.errorString()));
    window->setProperty("url", QUrl(origin + QStringLiteral("/page.html")));
    QTRY_VERIFY_WITH_TIMEOUT(
        window->property("title").toString().startsWith(QLatin1String("answer:")), 30000);
    QCOMPARE(window->property("title").toString(), title);
    QCOMPARE(window->property("prompts").toInt(), prompts);
}

int main(int argc, char** argv)
{
    qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1"); // CI runs as root
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND"))
        qputenv("QT_QUICK_BACKEND", "software");
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QtWebEngine::initialize();
    QGuiApplication app(argc, argv);
    TestSitePermissions test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_sitepermissions.moc"
