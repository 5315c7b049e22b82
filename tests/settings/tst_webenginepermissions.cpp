// A real QtWebEngine page asking for a permission: the view's handler asks the
// platform permission manager, so stored answers are applied without a prompt
// and only unanswered sites are prompted.

#include "settings/permissionsmanager.h"
#include "storage/dbmanager.h"
#include "support/tempprofile.h"

#include <permissionmanager.h>

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>
#include <QtWebEngine>
#include <memory>

namespace
{
// Serves one page from 127.0.0.1 that asks for notifications and shows the answer in its title.
class PageServer : public QTcpServer
{
public:
    PageServer()
    {
        listen(QHostAddress::LocalHost, 0);
        connect(this, &QTcpServer::newConnection, this, [this] {
            QTcpSocket* socket = nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, socket, [socket] {
                socket->readAll();
                const QByteArray body = "<html><head><title>asking</title></head><body><script>"
                                        "Notification.requestPermission().then(function (answer) {"
                                        " document.title = 'answer:' + answer; });</script></body></html>";
                socket->write(
                    "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nConnection: close\r\nContent-Length: "
                    + QByteArray::number(body.size()) + "\r\n\r\n" + body);
                socket->disconnectFromHost();
            });
        });
    }
    QString origin() const { return QStringLiteral("http://127.0.0.1:%1").arg(serverPort()); }
};

// What the front end's web view does with a request; a prompt is counted and,
// as a user saying no, refused.
const QByteArray viewQml = R"(
import QtQuick 2.15
import QtQuick.Window 2.15
import QtWebEngine 1.10
Window {
    width: 320; height: 240; visible: true
    property int prompts: 0
    property alias title: view.title
    property alias url: view.url
    WebEngineView {
        id: view
        anchors.fill: parent
        onFeaturePermissionRequested: {
            var decision = permissionManager.decisionFor(securityOrigin, feature)
            if (decision === 1) {
                ++prompts
                grantFeaturePermission(securityOrigin, feature, false)
            } else {
                grantFeaturePermission(securityOrigin, feature, decision === 0)
            }
        }
    }
})";
} // namespace

class TestWebEnginePermissions : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void pageRequest_data();
    void pageRequest();

private:
    TempProfile m_profile;
};

void TestWebEnginePermissions::initTestCase()
{
    DBManager::instance();
}

void TestWebEnginePermissions::pageRequest_data()
{
    QTest::addColumn<QVariantList>("answers"); // given for the site, in order; null resets
    QTest::addColumn<QString>("title");
    QTest::addColumn<int>("prompts");

    QTest::newRow("denied: refused, no prompt")
        << QVariantList { false } << QStringLiteral("answer:denied") << 0;
    QTest::newRow("allowed: granted, no prompt")
        << QVariantList { true } << QStringLiteral("answer:granted") << 0;
    QTest::newRow("no answer: prompt") << QVariantList {} << QStringLiteral("answer:denied") << 1;
    QTest::newRow("denied then reset: prompt again")
        << QVariantList { false, QVariant() } << QStringLiteral("answer:denied") << 1;
}

void TestWebEnginePermissions::pageRequest()
{
    QFETCH(QVariantList, answers);
    QFETCH(QString, title);
    QFETCH(int, prompts);

    PageServer server; // a port of its own: the engine never reuses an earlier origin's answer
    QVERIFY(server.isListening());
    PermissionsManager permissions(DBManager::instance(), Orvane::WebView::PermissionManager::GetInstance());
    for (const QVariant& answer : answers)
        permissions.updatePermission(server.origin(), Permission::Notification, answer);

    QQmlEngine engine;
    engine.rootContext()->setContextProperty(
        QStringLiteral("permissionManager"), Orvane::WebView::PermissionManager::GetInstance());
    QQmlComponent component(&engine);
    component.setData(viewQml, QUrl());
    std::unique_ptr<QObject> window(component.create());
    QVERIFY2(window, qPrintable(component.errorString()));
    window->setProperty("url", QUrl(server.origin() + QStringLiteral("/page.html")));
    QTRY_VERIFY_WITH_TIMEOUT(
        window->property("title").toString().startsWith(QLatin1String("answer:")), 30000);
    QCOMPARE(window->property("title").toString(), title);
    QCOMPARE(window->property("prompts").toInt(), prompts);
}

int main(int argc, char** argv)
{
    // The engine's sandbox cannot start as root, as CI runs; the page is our own.
    qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND"))
        qputenv("QT_QUICK_BACKEND", "software");
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QtWebEngine::initialize();
    QGuiApplication app(argc, argv);
    TestWebEnginePermissions test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_webenginepermissions.moc"
