#include "utils/filepathutils.h"

#include <QTranslator>
#include <QtTest>

class TestFilePathUtils : public QObject
{
    Q_OBJECT
private slots:
    void urlHelpers_data();
    void urlHelpers();
    void readableSize_data();
    void readableSize();
};

namespace
{
// Row "function: case", what the function is given and what it must answer.
void row(const char* name, const char* input, const char* expected)
{
    QTest::newRow(name) << QString::fromUtf8(name).section(QLatin1Char(':'), 0, 0) << QString::fromUtf8(input)
                        << QString::fromUtf8(expected);
}
} // namespace

void TestFilePathUtils::urlHelpers_data()
{
    QTest::addColumn<QString>("function");
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("expected");
    // clang-format off
    row("getDomain: plain", "https://example.com/path", "example.com");
    row("getDomain: subdomain", "https://mail.example.com/", "example.com");
    row("getDomain: multi-label suffix", "https://news.bbc.co.uk/a", "bbc.co.uk");
    row("getDomain: private suffix", "https://user.github.io/repo", "user.github.io");
    row("getDomain: port", "https://shop.example.com:8443/cart", "example.com");
    row("getDomain: upper case", "https://WWW.Example.COM/", "example.com");
    row("getDomain: ipv4", "http://192.168.1.20:8080/admin", "192.168.1.20");
    row("getDomain: ipv6", "http://[2001:db8::1]/", "2001:db8::1");
    row("getDomain: localhost", "http://localhost:3000/", "localhost");
    row("getDomain: idn unicode", "https://www.пример.рф/", "пример.рф");
    row("getDomain: idn ace", "https://www.xn--e1afmkfd.xn--p1ai/", "пример.рф");
    row("getDomain: no scheme", "m.example.co.uk/page", "example.co.uk");
    row("getDomain: bare suffix", "https://co.uk/", "co.uk");
    row("getDomain: about", "about:blank", "");
    row("getBaseUrl: path query fragment", "https://example.com/a/b?c=d#e", "https://example.com");
    row("getBaseUrl: port kept", "http://example.com:8080/x", "http://example.com:8080");
    row("getBaseUrl: user info kept", "ftp://u@example.com/f", "ftp://u@example.com");
    row("getBaseUrl: idn", "https://пример.рф/страница", "https://пример.рф");
    row("getCommonUrl: http www", "http://www.example.com/a", "example.com/a");
    row("getCommonUrl: https www", "https://www.example.com/", "example.com/");
    row("getCommonUrl: http", "http://example.com", "example.com");
    row("getCommonUrl: https", "https://m.example.com/x?y", "m.example.com/x?y");
    row("getCommonUrl: file", "file:///home/user/a.pdf", "home/user/a.pdf");
    row("getCommonUrl: only one prefix dropped", "https://http://x", "http://x");
    row("getCommonUrl: other scheme kept", "ftp://www.example.com", "ftp://www.example.com");
    row("getCommonUrl: www without scheme kept", "www.example.com", "www.example.com");
    row("getHost: port", "https://a.example.com:444/x", "a.example.com");
    row("getHost: ace decoded", "https://xn--e1afmkfd.xn--p1ai/", "пример.рф");
    row("getHost: no scheme", "example.com/a", "example.com");
    row("getHost: file", "file:///tmp/x", "");
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
    QTest::newRow("bytes") << qint64(1023) << QStringLiteral("1023 B");
    QTest::newRow("one kb") << qint64(1024) << QStringLiteral("1.0 KB");
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
