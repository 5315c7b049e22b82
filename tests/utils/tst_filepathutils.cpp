#include "utils/filepathutils.h"

#include <QtTest>

namespace
{
// Row "function: case", what the function is given and what it must answer.
void row(const char* name, const char* input, const char* expected)
{
    QTest::newRow(name) << QString::fromUtf8(name).section(QLatin1Char(':'), 0, 0) << QString::fromUtf8(input)
                        << QString::fromUtf8(expected);
}
} // namespace

class TestFilePathUtils : public QObject
{
    Q_OBJECT
private slots:
    void urlHelpers_data()
    {
        QTest::addColumn<QString>("function");
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("expected");
        // clang-format off
        row("getDomain: subdomain", "https://mail.example.com/", "example.com");
        row("getDomain: multi-label suffix", "https://news.bbc.co.uk/a", "bbc.co.uk");
        row("getDomain: private suffix", "https://user.github.io/repo", "user.github.io");
        row("getDomain: ipv4", "http://192.168.1.20:8080/admin", "192.168.1.20");
        row("getDomain: ipv6", "http://[2001:db8::1]/", "2001:db8::1");
        row("getDomain: idn ace", "https://www.xn--e1afmkfd.xn--p1ai/", "пример.рф");
        row("getDomain: no scheme", "m.example.co.uk/page", "example.co.uk");
        row("getDomain: bare suffix", "https://co.uk/", "co.uk");
        row("getDomain: about", "about:blank", "");
        row("getBaseUrl: path query fragment", "https://example.com/a/b?c=d#e", "https://example.com");
        row("getBaseUrl: port kept", "http://example.com:8080/x", "http://example.com:8080");
        row("getCommonUrl: http www", "http://www.example.com/a", "example.com/a");
        row("getCommonUrl: https", "https://m.example.com/x?y", "m.example.com/x?y");
        row("getCommonUrl: file", "file:///home/user/a.pdf", "home/user/a.pdf");
        row("getCommonUrl: only one prefix dropped", "https://http://x", "http://x");
        row("getCommonUrl: other scheme kept", "ftp://www.example.com", "ftp://www.example.com");
        row("getCommonUrl: www without scheme kept", "www.example.com", "www.example.com");
        row("getHost: port", "https://a.example.com:444/x", "a.example.com");
        row("getHost: ace decoded", "https://xn--e1afmkfd.xn--p1ai/", "пример.рф");
        row("getHost: file", "file:///tmp/x", "");
        // clang-format on
    }

    void urlHelpers()
    {
        QFETCH(QString, function);
        QFETCH(QString, input);
        QFETCH(QString, expected);
        QString answer;
        QVERIFY(QMetaObject::invokeMethod(FilePathUtils::instance(), function.toLatin1().constData(),
            Q_RETURN_ARG(QString, answer), Q_ARG(QString, input)));
        QCOMPARE(answer, expected);
    }

    void readableSize_data()
    {
        QTest::addColumn<qint64>("bytes");
        QTest::addColumn<QString>("text");
        const QList<QPair<qint64, const char*>> rows = { { 1023, "1023 B" }, { 1024, "1.0 KB" },
            { 1024 * 1024 - 1, "1024.0 KB" }, { 20 * 1024 * 1024 + 300 * 1024, "20.3 MB" },
            { qint64(5) << 30, "5.0 GB" }, { qint64(2048) << 40, "2048.0 TB" }, { -5, "0 B" } };
        for (const auto& row : rows)
            QTest::newRow(row.second) << row.first << QString::fromLatin1(row.second);
    }

    void readableSize()
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
};

QTEST_MAIN(TestFilePathUtils)
#include "tst_filepathutils.moc"
