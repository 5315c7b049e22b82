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
    void urlHelpers_data();
    void urlHelpers();
    void readableSize_data();
    void readableSize();
};

// One table for the URL helpers: the function, what it is given, what it must answer.
void TestFilePathUtils::urlHelpers_data()
{
    QTest::addColumn<QString>("function");
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("expected");
    // clang-format off
    QTest::newRow("getDomain: plain") << QStringLiteral("getDomain") << QStringLiteral("https://example.com/path") << QStringLiteral("example.com");
    QTest::newRow("getDomain: subdomain") << QStringLiteral("getDomain") << QStringLiteral("https://mail.example.com/") << QStringLiteral("example.com");
    QTest::newRow("getDomain: www2") << QStringLiteral("getDomain") << QStringLiteral("http://www2.example.org/x") << QStringLiteral("example.org");
    QTest::newRow("getDomain: multi-label suffix") << QStringLiteral("getDomain") << QStringLiteral("https://news.bbc.co.uk/a") << QStringLiteral("bbc.co.uk");
    QTest::newRow("getDomain: deep multi-label") << QStringLiteral("getDomain") << QStringLiteral("https://a.b.c.example.com.au/") << QStringLiteral("example.com.au");
    QTest::newRow("getDomain: private suffix") << QStringLiteral("getDomain") << QStringLiteral("https://user.github.io/repo") << QStringLiteral("user.github.io");
    QTest::newRow("getDomain: port") << QStringLiteral("getDomain") << QStringLiteral("https://shop.example.com:8443/cart") << QStringLiteral("example.com");
    QTest::newRow("getDomain: upper case") << QStringLiteral("getDomain") << QStringLiteral("https://WWW.Example.COM/") << QStringLiteral("example.com");
    QTest::newRow("getDomain: ipv4") << QStringLiteral("getDomain") << QStringLiteral("http://192.168.1.20:8080/admin") << QStringLiteral("192.168.1.20");
    QTest::newRow("getDomain: ipv6") << QStringLiteral("getDomain") << QStringLiteral("http://[2001:db8::1]/") << QStringLiteral("2001:db8::1");
    QTest::newRow("getDomain: localhost") << QStringLiteral("getDomain") << QStringLiteral("http://localhost:3000/") << QStringLiteral("localhost");
    QTest::newRow("getDomain: idn unicode") << QStringLiteral("getDomain") << QStringLiteral("https://www.пример.рф/") << QStringLiteral("пример.рф");
    QTest::newRow("getDomain: idn ace") << QStringLiteral("getDomain") << QStringLiteral("https://www.xn--e1afmkfd.xn--p1ai/") << QStringLiteral("пример.рф");
    QTest::newRow("getDomain: no scheme") << QStringLiteral("getDomain") << QStringLiteral("m.example.co.uk/page") << QStringLiteral("example.co.uk");
    QTest::newRow("getDomain: bare suffix") << QStringLiteral("getDomain") << QStringLiteral("https://co.uk/") << QStringLiteral("co.uk");
    QTest::newRow("getDomain: about") << QStringLiteral("getDomain") << QStringLiteral("about:blank") << QString();
    QTest::newRow("getDomain: empty") << QStringLiteral("getDomain") << QString() << QString();
    QTest::newRow("getBaseUrl: path query fragment") << QStringLiteral("getBaseUrl") << QStringLiteral("https://example.com/a/b?c=d#e") << QStringLiteral("https://example.com");
    QTest::newRow("getBaseUrl: trailing slash") << QStringLiteral("getBaseUrl") << QStringLiteral("https://example.com/") << QStringLiteral("https://example.com");
    QTest::newRow("getBaseUrl: port kept") << QStringLiteral("getBaseUrl") << QStringLiteral("http://example.com:8080/x") << QStringLiteral("http://example.com:8080");
    QTest::newRow("getBaseUrl: user info kept") << QStringLiteral("getBaseUrl") << QStringLiteral("ftp://u@example.com/f") << QStringLiteral("ftp://u@example.com");
    QTest::newRow("getBaseUrl: idn") << QStringLiteral("getBaseUrl") << QStringLiteral("https://пример.рф/страница") << QStringLiteral("https://пример.рф");
    QTest::newRow("getBaseUrl: already base") << QStringLiteral("getBaseUrl") << QStringLiteral("https://example.com") << QStringLiteral("https://example.com");
    QTest::newRow("getCommonUrl: http www") << QStringLiteral("getCommonUrl") << QStringLiteral("http://www.example.com/a") << QStringLiteral("example.com/a");
    QTest::newRow("getCommonUrl: https www") << QStringLiteral("getCommonUrl") << QStringLiteral("https://www.example.com/") << QStringLiteral("example.com/");
    QTest::newRow("getCommonUrl: http") << QStringLiteral("getCommonUrl") << QStringLiteral("http://example.com") << QStringLiteral("example.com");
    QTest::newRow("getCommonUrl: https") << QStringLiteral("getCommonUrl") << QStringLiteral("https://m.example.com/x?y") << QStringLiteral("m.example.com/x?y");
    QTest::newRow("getCommonUrl: file") << QStringLiteral("getCommonUrl") << QStringLiteral("file:///home/user/a.pdf") << QStringLiteral("home/user/a.pdf");
    QTest::newRow("getCommonUrl: only one prefix dropped") << QStringLiteral("getCommonUrl") << QStringLiteral("https://http://x") << QStringLiteral("http://x");
    QTest::newRow("getCommonUrl: other scheme kept") << QStringLiteral("getCommonUrl") << QStringLiteral("ftp://www.example.com") << QStringLiteral("ftp://www.example.com");
    QTest::newRow("getCommonUrl: www without scheme kept") << QStringLiteral("getCommonUrl") << QStringLiteral("www.example.com") << QStringLiteral("www.example.com");
    QTest::newRow("getHost: port") << QStringLiteral("getHost") << QStringLiteral("https://a.example.com:444/x") << QStringLiteral("a.example.com");
    QTest::newRow("getHost: ace decoded") << QStringLiteral("getHost") << QStringLiteral("https://xn--e1afmkfd.xn--p1ai/") << QStringLiteral("пример.рф");
    QTest::newRow("getHost: ip") << QStringLiteral("getHost") << QStringLiteral("http://10.0.0.1/") << QStringLiteral("10.0.0.1");
    QTest::newRow("getHost: no scheme") << QStringLiteral("getHost") << QStringLiteral("example.com/a") << QStringLiteral("example.com");
    QTest::newRow("getHost: file") << QStringLiteral("getHost") << QStringLiteral("file:///tmp/x") << QString();
    // clang-format on
}

void TestFilePathUtils::urlHelpers()
{
    QFETCH(QString, function);
    QFETCH(QString, input);
    QFETCH(QString, expected);
    QString answer;
    QVERIFY(QMetaObject::invokeMethod(FilePathUtils::instance(), function.toLatin1().constData(),
        Q_RETURN_ARG(QString, answer), Q_ARG(QString, input)));
    QCOMPARE(answer, expected);
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
    QTest::newRow("beyond tb stays tb")
        << qint64(2048) * 1024 * 1024 * 1024 * 1024 << QStringLiteral("2048.0 TB");
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

QTEST_MAIN(TestFilePathUtils)
#include "tst_filepathutils.moc"
