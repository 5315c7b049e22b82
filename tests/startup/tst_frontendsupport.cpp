// How the address field reads what was typed.

#include <QQmlComponent>
#include <QQmlEngine>
#include <QtTest>

class TestFrontendSupport : public QObject
{
    Q_OBJECT
private slots:
    void addressFieldInput_data();
    void addressFieldInput();
};

void TestFrontendSupport::addressFieldInput_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("opened");
    const auto row = [](const char* typed, const char* opened) {
        QTest::newRow(typed) << QString::fromUtf8(typed) << QString::fromUtf8(opened);
    };
    row("https://example.com/a?b", "https://example.com/a?b");
    row("example.com/x", "http://example.com/x");
    row("localhost:8080/x", "http://localhost:8080/x");
    row("about:blank", "about:blank");
    row("qt quick", "https://find.example/?q=qt%20quick");
    row("webdeck", "https://find.example/?q=webdeck"); // one word without a dot
    row("a&b=c", "https://find.example/?q=a%26b%3Dc");
    row("what is qt.io", "https://find.example/?q=what%20is%20qt.io");
    row("   ", "");
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
