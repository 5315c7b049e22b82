// What the desktop front end relies on besides the module's types: quitting
// on the session's signals, the test hooks socket, the platform types under
// their QML names, and how the address field reads what was typed.

#include "startup/platformqmltypes.h"
#include "startup/quitsignals.h"
#include "startup/testhooks.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickView>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

class TestFrontendSupport : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { registerPlatformQmlTypes(); }
    void quitsOnSessionSignal_data();
    void quitsOnSessionSignal();
    void hooksEvaluateInTheWindow_data();
    void hooksEvaluateInTheWindow();
    void platformTypesFromQml();
    void addressFieldInput_data();
    void addressFieldInput();
};

void TestFrontendSupport::quitsOnSessionSignal_data()
{
    QTest::addColumn<int>("signalNumber");
    QTest::newRow("SIGTERM") << int(SIGTERM);
    QTest::newRow("SIGINT") << int(SIGINT);
}

void TestFrontendSupport::quitsOnSessionSignal()
{
    QFETCH(int, signalNumber);
    QuitSignals quitSignals;
    QSignalSpy spy(&quitSignals, &QuitSignals::quitRequested);
    // Without the handler the default action would end the test process here.
    ::raise(signalNumber);
    QVERIFY(spy.wait(2000));
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toInt(), signalNumber);
}

void TestFrontendSupport::hooksEvaluateInTheWindow_data()
{
    QTest::addColumn<QByteArray>("expression");
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("root function with root property")
        << QByteArray("twice(n)") << QByteArray(R"({"ok":true,"value":6})");
    QTest::newRow("id in the root context")
        << QByteArray("label.text") << QByteArray(R"({"ok":true,"value":"hi"})");
    QTest::newRow("array from JavaScript")
        << QByteArray("[n, label.text]") << QByteArray(R"({"ok":true,"value":[3,"hi"]})");
    QTest::newRow("state changed by a call")
        << QByteArray("setN(5), n") << QByteArray(R"({"ok":true,"value":5})");
    QTest::newRow("error is answered, not fatal") << QByteArray("noSuchFunction()") << QByteArray();
}

void TestFrontendSupport::hooksEvaluateInTheWindow()
{
    QFETCH(QByteArray, expression);
    QFETCH(QByteArray, answer);
    QTemporaryDir dir;
    QFile qml(dir.filePath(QStringLiteral("Window.qml")));
    QVERIFY(qml.open(QIODevice::WriteOnly));
    qml.write("import QtQuick 2.15\n"
              "Item { property int n: 3\n"
              "  function twice(x) { return 2 * x }\n"
              "  function setN(x) { n = x }\n"
              "  Text { id: label; text: 'hi' } }\n");
    qml.close();
    QQuickView view;
    view.setSource(QUrl::fromLocalFile(qml.fileName()));
    QVERIFY(view.rootObject());
    TestHooks hooks(&view, dir.filePath(QStringLiteral("hooks")));
    QVERIFY(hooks.isListening());

    QLocalSocket client;
    client.connectToServer(dir.filePath(QStringLiteral("hooks")));
    QVERIFY(client.waitForConnected(2000));
    client.write(expression + "\n");
    QTRY_VERIFY(client.canReadLine());
    const QByteArray line = client.readLine().trimmed();
    if (answer.isEmpty()) {
        const QJsonObject error = QJsonDocument::fromJson(line).object();
        QCOMPARE(error.value(QStringLiteral("ok")).toBool(true), false);
        QVERIFY2(
            error.value(QStringLiteral("error")).toString().contains(QLatin1String("ReferenceError")), line.constData());
    } else {
        QCOMPARE(line, answer);
    }
}

void TestFrontendSupport::platformTypesFromQml()
{
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQml 2.15\n"
                      "import ru.orvaneos.WebView 1.0\n"
                      "QtObject {\n"
                      "  property WebView view: WebView { url: 'http://127.0.0.1/a' }\n"
                      "  property int decision: PermissionManager.decisionFor('http://127.0.0.1', 3)\n"
                      "}",
        QUrl());
    QScopedPointer<QObject> object(component.create());
    QVERIFY2(object, qPrintable(component.errorString()));
    auto* view = object->property("view").value<QObject*>();
    QVERIFY(view);
    QCOMPARE(view->property("url").toUrl(), QUrl(QStringLiteral("http://127.0.0.1/a")));
    // A site nobody answered for is asked about.
    QCOMPARE(object->property("decision").toInt(), 1);
}

void TestFrontendSupport::addressFieldInput_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("opened");
    QTest::newRow("full url") << "https://example.com/a?b"
                              << "https://example.com/a?b";
    QTest::newRow("host and path") << "example.com/x"
                                   << "http://example.com/x";
    QTest::newRow("loopback with port") << "localhost:8080/x"
                                        << "http://localhost:8080/x";
    QTest::newRow("about page") << "about:blank"
                                << "about:blank";
    QTest::newRow("words are searched") << "qt quick"
                                        << "https://find.example/?q=qt%20quick";
    QTest::newRow("one word without a dot is searched") << "webdeck"
                                                        << "https://find.example/?q=webdeck";
    QTest::newRow("query characters are encoded") << "a&b=c"
                                                  << "https://find.example/?q=a%26b%3Dc";
    QTest::newRow("dotted words are searched") << "what is qt.io"
                                               << "https://find.example/?q=what%20is%20qt.io";
    QTest::newRow("blank") << "   "
                           << "";
}

void TestFrontendSupport::addressFieldInput()
{
    QFETCH(QString, typed);
    QFETCH(QString, opened);
    QQmlEngine engine;
    QQmlComponent component(&engine);
    const QUrl urls = QUrl::fromLocalFile(QStringLiteral(WEBDECK_SOURCE_DIR "/qml/components/Urls.js"));
    component.setData("import QtQml 2.15\nimport \"" + urls.toString().toUtf8()
            + "\" as Urls\nQtObject { function open(t) { return Urls.fromInput(t, "
              "'https://find.example/?q=%s') } }",
        QUrl::fromLocalFile(QStringLiteral(WEBDECK_SOURCE_DIR "/qml/components/test.qml")));
    QScopedPointer<QObject> object(component.create());
    QVERIFY2(object, qPrintable(component.errorString()));
    QVariant result;
    QMetaObject::invokeMethod(object.data(), "open", Q_RETURN_ARG(QVariant, result), Q_ARG(QVariant, typed));
    QCOMPARE(result.toString(), opened);
}

QTEST_MAIN(TestFrontendSupport)
#include "tst_frontendsupport.moc"
