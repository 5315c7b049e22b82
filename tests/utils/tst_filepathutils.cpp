#include "utils/filepathutils.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QTemporaryDir>
#include <QTranslator>
#include <QtTest>

#include "startup/qmltypes.h"

class TestFilePathUtils : public QObject
{
    Q_OBJECT
private slots:
    void domain_data();
    void domain();
    void baseUrl_data();
    void baseUrl();
    void commonUrl_data();
    void commonUrl();
    void host_data();
    void host();
    void readableSize_data();
    void readableSize();
    void fileExists();
    void qmlSingletonIsTheInstance();
};

void TestFilePathUtils::domain_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("domain");
    QTest::newRow("plain") << QStringLiteral("https://example.com/path") << QStringLiteral("example.com");
    QTest::newRow("subdomain") << QStringLiteral("https://mail.example.com/") << QStringLiteral("example.com");
    QTest::newRow("www2") << QStringLiteral("http://www2.example.org/x") << QStringLiteral("example.org");
    QTest::newRow("multi-label suffix") << QStringLiteral("https://news.bbc.co.uk/a") << QStringLiteral("bbc.co.uk");
    QTest::newRow("deep multi-label") << QStringLiteral("https://a.b.c.example.com.au/") << QStringLiteral("example.com.au");
    QTest::newRow("private suffix") << QStringLiteral("https://user.github.io/repo") << QStringLiteral("user.github.io");
    QTest::newRow("port") << QStringLiteral("https://shop.example.com:8443/cart") << QStringLiteral("example.com");
    QTest::newRow("upper case") << QStringLiteral("https://WWW.Example.COM/") << QStringLiteral("example.com");
    QTest::newRow("ipv4") << QStringLiteral("http://192.168.1.20:8080/admin") << QStringLiteral("192.168.1.20");
    QTest::newRow("ipv6") << QStringLiteral("http://[2001:db8::1]/") << QStringLiteral("2001:db8::1");
    QTest::newRow("localhost") << QStringLiteral("http://localhost:3000/") << QStringLiteral("localhost");
    QTest::newRow("idn unicode") << QStringLiteral("https://www.пример.рф/") << QStringLiteral("пример.рф");
    QTest::newRow("idn ace") << QStringLiteral("https://www.xn--e1afmkfd.xn--p1ai/") << QStringLiteral("пример.рф");
    QTest::newRow("no scheme") << QStringLiteral("m.example.co.uk/page") << QStringLiteral("example.co.uk");
    QTest::newRow("bare suffix") << QStringLiteral("https://co.uk/") << QStringLiteral("co.uk");
    QTest::newRow("about") << QStringLiteral("about:blank") << QString();
    QTest::newRow("empty") << QString() << QString();
}

void TestFilePathUtils::domain()
{
    QFETCH(QString, url);
    QFETCH(QString, domain);
    QCOMPARE(FilePathUtils::instance()->getDomain(url), domain);
}

void TestFilePathUtils::baseUrl_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("base");
    QTest::newRow("path query fragment") << QStringLiteral("https://example.com/a/b?c=d#e")
                                         << QStringLiteral("https://example.com");
    QTest::newRow("trailing slash") << QStringLiteral("https://example.com/") << QStringLiteral("https://example.com");
    QTest::newRow("port kept") << QStringLiteral("http://example.com:8080/x") << QStringLiteral("http://example.com:8080");
    QTest::newRow("user info kept") << QStringLiteral("ftp://u@example.com/f") << QStringLiteral("ftp://u@example.com");
    QTest::newRow("idn") << QStringLiteral("https://пример.рф/страница") << QStringLiteral("https://пример.рф");
    QTest::newRow("already base") << QStringLiteral("https://example.com") << QStringLiteral("https://example.com");
}

void TestFilePathUtils::baseUrl()
{
    QFETCH(QString, url);
    QFETCH(QString, base);
    QCOMPARE(FilePathUtils::instance()->getBaseUrl(url), base);
}

void TestFilePathUtils::commonUrl_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("common");
    QTest::newRow("http www") << QStringLiteral("http://www.example.com/a") << QStringLiteral("example.com/a");
    QTest::newRow("https www") << QStringLiteral("https://www.example.com/") << QStringLiteral("example.com/");
    QTest::newRow("http") << QStringLiteral("http://example.com") << QStringLiteral("example.com");
    QTest::newRow("https") << QStringLiteral("https://m.example.com/x?y") << QStringLiteral("m.example.com/x?y");
    QTest::newRow("file") << QStringLiteral("file:///home/user/a.pdf") << QStringLiteral("home/user/a.pdf");
    QTest::newRow("only one prefix dropped") << QStringLiteral("https://http://x") << QStringLiteral("http://x");
    QTest::newRow("other scheme kept") << QStringLiteral("ftp://www.example.com") << QStringLiteral("ftp://www.example.com");
    QTest::newRow("www without scheme kept") << QStringLiteral("www.example.com") << QStringLiteral("www.example.com");
}

void TestFilePathUtils::commonUrl()
{
    QFETCH(QString, url);
    QFETCH(QString, common);
    QCOMPARE(FilePathUtils::instance()->getCommonUrl(url), common);
}

void TestFilePathUtils::host_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("host");
    QTest::newRow("port") << QStringLiteral("https://a.example.com:444/x") << QStringLiteral("a.example.com");
    QTest::newRow("ace decoded") << QStringLiteral("https://xn--e1afmkfd.xn--p1ai/") << QStringLiteral("пример.рф");
    QTest::newRow("ip") << QStringLiteral("http://10.0.0.1/") << QStringLiteral("10.0.0.1");
    QTest::newRow("no scheme") << QStringLiteral("example.com/a") << QStringLiteral("example.com");
    QTest::newRow("file") << QStringLiteral("file:///tmp/x") << QString();
}

void TestFilePathUtils::host()
{
    QFETCH(QString, url);
    QFETCH(QString, host);
    QCOMPARE(FilePathUtils::instance()->getHost(url), host);
}

void TestFilePathUtils::readableSize_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("zero") << qint64(0) << QStringLiteral("0 B");
    QTest::newRow("bytes") << qint64(1023) << QStringLiteral("1023 B");
    QTest::newRow("one kb") << qint64(1024) << QStringLiteral("1.0 KB");
    QTest::newRow("kb and a half") << qint64(1536) << QStringLiteral("1.5 KB");
    QTest::newRow("just below a mb") << qint64(1024 * 1024 - 1) << QStringLiteral("1024.0 KB");
    QTest::newRow("mb") << qint64(20 * 1024 * 1024 + 300 * 1024) << QStringLiteral("20.3 MB");
    QTest::newRow("gb") << qint64(5) * 1024 * 1024 * 1024 << QStringLiteral("5.0 GB");
    QTest::newRow("tb") << qint64(3) * 1024 * 1024 * 1024 * 1024 << QStringLiteral("3.0 TB");
    QTest::newRow("beyond tb stays tb") << qint64(2048) * 1024 * 1024 * 1024 * 1024 << QStringLiteral("2048.0 TB");
    QTest::newRow("negative") << qint64(-5) << QStringLiteral("0 B");
}

void TestFilePathUtils::readableSize()
{
    QFETCH(qint64, bytes);
    QFETCH(QString, text);
    QLocale::setDefault(QLocale::c());
    QTranslator translator;
    QVERIFY(translator.load(QStringLiteral(WEBDECK_QM_DIR "/ru.nuvo.webdeck_eng_en.qm")));
    QCoreApplication::installTranslator(&translator);
    const QString result = FilePathUtils::instance()->getReadableSize(bytes);
    QCoreApplication::removeTranslator(&translator);
    QCOMPARE(result, text);
}

void TestFilePathUtils::fileExists()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("a file.txt"));
    FilePathUtils* utils = FilePathUtils::instance();
    QVERIFY(!utils->fileExists(path));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    QVERIFY(utils->fileExists(path));
    QVERIFY(utils->fileExists(QUrl::fromLocalFile(path).toString()));
    QVERIFY(utils->fileExists(dir.path()));
    QVERIFY(!utils->fileExists(QString()));
}

void TestFilePathUtils::qmlSingletonIsTheInstance()
{
    registerQmlTypes();
    {
        QQmlEngine engine;
        QQmlComponent component(&engine);
        component.setData("import QtQml 2.15\nimport BrowserInternal 1.0\n"
                          "QtObject { property QtObject utils: FilePathUtils }",
                          QUrl());
        QScopedPointer<QObject> object(component.create());
        QVERIFY2(object, qPrintable(component.errorString()));
        QCOMPARE(object->property("utils").value<QObject*>(), static_cast<QObject*>(FilePathUtils::instance()));
    }
    // The engine is gone; the process-wide object must not have gone with it.
    QCOMPARE(FilePathUtils::instance()->getHost(QStringLiteral("https://example.com/")),
             QStringLiteral("example.com"));
}

QTEST_MAIN(TestFilePathUtils)
#include "tst_filepathutils.moc"
