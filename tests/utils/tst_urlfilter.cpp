// The URL block and allow lists as an administrator writes them.

#include "utils/urlfilter.h"

#include <QtTest>

namespace
{
void row(const char* name, const char* url, const char* block, const char* allow, bool blocked)
{
    const auto list = [](const char* text) {
        return QString::fromUtf8(text).split(QLatin1Char('|'), Qt::SkipEmptyParts);
    };
    QTest::newRow(name) << QString::fromUtf8(url) << list(block) << list(allow) << blocked;
}
} // namespace

class TestUrlFilter : public QObject
{
    Q_OBJECT
private slots:
    void isBlocked_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QStringList>("blocklist");
        QTest::addColumn<QStringList>("allowlist");
        QTest::addColumn<bool>("blocked");
        // clang-format off
        row("subdomain", "https://www.example.com/a", "example.com", "", true);
        row("dot: no subdomains", "https://www.example.com/", ".example.com", "", false);
        row("dot: the host itself", "https://example.com/", ".example.com", "", true);
        row("label boundary", "https://notexample.com/", "example.com", "", false);
        row("suffix of another host", "https://example.com.evil.org/", "example.com", "", false);
        row("other scheme", "http://example.com/", "https://example.com", "", false);
        row("upper-case url", "HTTPS://EXAMPLE.COM/Path", "https://example.com", "", true);
        row("upper-case entry", "https://example.com/", "HTTPS://Example.COM", "", true);
        row("other port", "https://example.com:8443/", "example.com:443", "", false);
        row("default port", "https://example.com/", "example.com:443", "", true);
        row("any host on a port", "https://x.org:8443/", "*:8443", "", true);
        row("path prefix", "http://example.com/docs/a", "example.com/docs", "", true);
        row("shorter path", "http://example.com/doc", "example.com/docs", "", false);
        row("query prefix", "https://example.com/search?q=cats", "example.com/search?q=cat", "", true);
        row("path is case-sensitive", "http://example.com/Docs", "example.com/docs", "", false);
        row("star, allowed host", "https://example.com/", "*", "example.com", false);
        row("star, allowed host exactly", "https://mail.example.com/", "*", ".example.com", true);
        row("equal entries: allow wins", "https://example.com/", "example.com", "example.com", false);
        row("longer path blocks", "https://example.com/private/x", "example.com/private", "example.com", true);
        row("longer path allows", "https://example.com/public", "example.com", "example.com/public", false);
        row("longer host blocks", "https://ads.example.com/", "ads.example.com", "example.com", true);
        row("allow of other scheme", "https://example.com/", "example.com", "http://example.com", true);
        row("scheme more specific", "https://example.com/", "https://example.com", "example.com", true);
        row("idn url, ace entry", "https://пример.рф/", "xn--e1afmkfd.xn--p1ai", "", true);
        row("ace url, idn entry", "https://xn--e1afmkfd.xn--p1ai/", "пример.рф", "", true);
        row("ipv4", "http://192.168.1.1:8080/", "192.168.1.1", "", true);
        row("ipv4 is no parent", "http://10.192.168.1.1/", "192.168.1.1", "", false);
        row("ipv6 written differently", "http://[2001:db8:0:0::1]:8080/", "[2001:DB8::1]:8080", "", true);
        row("trailing dot in url", "https://example.com./", "example.com", "", true);
        row("trailing dot in entry", "https://example.com/", "example.com.", "", true);
        row("javascript:*", "javascript:alert(1)", "javascript:*", "", true);
        row("javascript, star with allow", "javascript:alert(1)", "*", "example.com", true);
        row("data:", "data:text/html,<b>x</b>", "data:", "", true);
        row("data: other type", "data:image/png;base64,AAAA", "data:text/html", "", false);
        row("file://*", "file:///home/user/a.pdf", "file://*", "", true);
        row("file path", "file:///etc/passwd", "file:///home", "", false);
        row("about:blank stays", "about:blank", "*", "", false);
        row("invalid entries ignored", "https://a.example.com/", "*.example.com|example.com:99999|u@example.com|exa mple.com", "", false);
        // clang-format on
        QStringList filler;
        for (int i = 0; i < UrlFilter::maxEntries - 1; ++i)
            filler << QStringLiteral("host%1.test").arg(i);
        const QString url = QStringLiteral("https://example.com/"), ex = QStringLiteral("example.com");
        QTest::newRow("last entry within the limit")
            << url << (filler + QStringList { ex }) << QStringList() << true;
        QTest::newRow("entry past the limit")
            << url << (filler + QStringList { QStringLiteral("x.test"), ex }) << QStringList() << false;
    }

    void isBlocked()
    {
        QFETCH(QString, url);
        QFETCH(QStringList, blocklist);
        QFETCH(QStringList, allowlist);
        QFETCH(bool, blocked);
        QCOMPARE(UrlFilter(blocklist, allowlist).isBlocked(url), blocked);
        // The cached path must answer the same as a fresh filter.
        QCOMPARE(isUrlBlocked(url, blocklist, allowlist), blocked);
    }
};

QTEST_GUILESS_MAIN(TestUrlFilter)
#include "tst_urlfilter.moc"
