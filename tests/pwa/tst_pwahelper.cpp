#include "pwahelper.h"

#include <QProcess>
#include <QRegularExpression>
#include <QtTest>

using namespace Orvane::PWA;

namespace
{
// Every log line as "<category> <level>: <text>": what was said and where it went.
QStringList s_lines;

void captureMessage(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    static const char* const levels[] = { "debug", "warning", "critical", "fatal", "info" };
    s_lines << QStringLiteral("%1 %2: %3")
                   .arg(QLatin1String(context.category), QLatin1String(levels[type]), text);
}

// The suite runs with debug output off, but the helpers' debug lines are part of their behaviour.
void enableHelperDebug(QLoggingCategory* category)
{
    const char* name = category->categoryName();
    if (qstrcmp(name, "browser.pwahelper") == 0 || qstrcmp(name, "default") == 0)
        category->setEnabled(QtDebugMsg, true);
}

} // namespace

class TestPwaHelper : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QLoggingCategory::installFilter(enableHelperDebug);
        qInstallMessageHandler(captureMessage);
    }
    void init() { s_lines.clear(); }

    void manifestValidity_data()
    {
        QTest::addColumn<QUrl>("baseUrl");
        QTest::addColumn<QByteArray>("manifest");
        QTest::addColumn<QString>("warning"); // empty: valid
        const QUrl site(QStringLiteral("https://example.org/app/"));
        const QString badBase = QStringLiteral("browser.pwahelper warning: baseUrl is invalid!");
        const QString badManifest = QStringLiteral("browser.pwahelper warning: manifest is invalid!");
        QTest::newRow("empty object is enough") << site << QByteArray("{}") << QString();
        QTest::newRow("array") << site << QByteArray(R"([{"name":"App"}])") << badManifest;
        QTest::newRow("malformed base URL")
            << QUrl(QStringLiteral("http://exa mple.org/")) << QByteArray("{}") << badBase;
        QTest::newRow("base URL judged first") << QUrl() << QByteArray("[1]") << badBase;
    }

    void manifestValidity()
    {
        QFETCH(QUrl, baseUrl);
        QFETCH(QByteArray, manifest);
        QFETCH(QString, warning);
        QCOMPARE(verifyManifestValidity(baseUrl, QJsonDocument::fromJson(manifest)), warning.isEmpty());
        QCOMPARE(s_lines, warning.isEmpty() ? QStringList() : QStringList { warning });
    }

    void scopeUrl_data()
    {
        QTest::addColumn<QString>("manifestUrl");
        QTest::addColumn<QByteArray>("manifest");
        QTest::addColumn<QString>("startUrl");
        QTest::addColumn<QString>("scope");
        const auto row = [](const char* name, const char* manifest, const char* start, const char* scope,
                             const char* manifestUrl = "https://example.org/manifest.json") {
            QTest::newRow(name) << QString::fromLatin1(manifestUrl) << QByteArray(manifest)
                                << QString::fromLatin1(start) << QString::fromLatin1(scope);
        };
        const char* start = "https://example.org/app/index.html";
        const char* appDir = "https://example.org/app/";
        // clang-format off
    row("relative scope", R"({"scope":"/app/"})", start, appDir);
    row("scope without slash", R"({"scope":"/app"})", start, "https://example.org/app");
    row("foreign scope ignored", R"({"scope":"/other/"})", start, appDir);
    row("no scope, query and fragment", "{}", "https://example.org/a/b?x=1#top", "https://example.org/a/");
    row("equal paths without slash", R"({"scope":"/app"})", "https://example.org/app", "https://example.org/");
    row("relative start URL", "{}", "sub/page.html?x=1", "https://example.org/pwa/sub/", "https://example.org/pwa/manifest.json");
    row("invalid start URL", "{}", "https://exa mple.org/app/", "");
        // clang-format on
    }

    void scopeUrl()
    {
        QFETCH(QString, manifestUrl);
        QFETCH(QByteArray, manifest);
        QFETCH(QString, startUrl);
        QFETCH(QString, scope);
        PWAInfo info;
        info.manifestUrl = QUrl(manifestUrl);
        info.manifest = QJsonDocument::fromJson(manifest);
        info.startUrl = QUrl(startUrl);
        QCOMPARE(extractScopeUrl(info), QUrl(scope));
        QCOMPARE(s_lines,
            scope.isEmpty() ? QStringList { QStringLiteral(
                "browser.pwahelper debug: start_url is invalid! returning empty scope url") }
                            : QStringList());
    }

    void orientation_data()
    {
        QTest::addColumn<QByteArray>("manifest");
        QTest::addColumn<QString>("orientation");
        QTest::addColumn<QString>("line");
        const QString fallback
            = QStringLiteral("browser.pwahelper debug: orientation empty or invalid, using All");
        const char* const table[][2] = { { "any", "All" }, { "natural", "All" },
            { "portrait", "PortraitMask" }, { "portrait-primary", "Portrait" },
            { "portrait-secondary", "PortraitInverted" }, { "landscape", "LandscapeMask" },
            { "landscape-primary", "Landscape" }, { "landscape-secondary", "LandscapeInverted" } };
        for (const auto& row : table)
            QTest::newRow(row[0]) << (QByteArray(R"({"orientation":")") + row[0] + "\"}")
                                  << QString::fromLatin1(row[1]) << QString();
        QTest::newRow("missing") << QByteArray("{}") << QStringLiteral("All")
                                 << QStringLiteral("browser.pwahelper debug: no orientation, using All");
        QTest::newRow("case-sensitive")
            << QByteArray(R"({"orientation":"Portrait"})") << QStringLiteral("All") << fallback;
        QTest::newRow("empty") << QByteArray(R"({"orientation":""})") << QStringLiteral("All") << fallback;
        QTest::newRow("not a string")
            << QByteArray(R"({"orientation":["landscape"]})") << QStringLiteral("All") << fallback;
    }

    void orientation()
    {
        QFETCH(QByteArray, manifest);
        QFETCH(QString, orientation);
        QFETCH(QString, line);
        QCOMPARE(extractOrvaneAppOrientation(QJsonDocument::fromJson(manifest)), orientation);
        QCOMPARE(s_lines, line.isEmpty() ? QStringList() : QStringList { line });
    }

    void appId_data()
    {
        // The id as the package manager computes it: SHA-256 over the SHA-256 digest of
        // the UTF-8 text, first 16 bytes, one letter 'a' + nibble per half byte.
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("id");
        QTest::newRow("start URL") << QStringLiteral("https://example.org/app/index.html")
                                   << QStringLiteral("naeihonammjohlagfhjdljcheabmijnn");
        QTest::newRow("non-ASCII hashed as UTF-8")
            << QString::fromUtf8("https://пример.рф/☃") << QStringLiteral("ilpidbggcfnljkapcaahkcnejfbemkmd");
    }

    void appId()
    {
        QFETCH(QString, text);
        QFETCH(QString, id);
        QCOMPARE(generateAppId(text), id);
        QCOMPARE(s_lines, QStringList { QStringLiteral("default debug: appId: \"%1\"").arg(id) });
    }

    void icons_data()
    {
        QTest::addColumn<QList<QSize>>("sizes");
        QTest::addColumn<int>("source"); // index of the image the icons come from, -1 for none
        QTest::newRow("nothing") << QList<QSize>() << -1;
        QTest::newRow("larger side wins, not area") << QList<QSize> { { 100, 100 }, { 200, 50 } } << 1;
        QTest::newRow("tie goes to the first")
            << QList<QSize> { { 200, 50 }, { 50, 200 }, { 200, 200 } } << 0;
        QTest::newRow("null images skipped") << QList<QSize> { { 0, 0 }, { 10, 10 } } << 1;
        QTest::newRow("wide image stretched") << QList<QSize> { { 512, 256 } } << 0;
    }

    void icons()
    {
        QFETCH(QList<QSize>, sizes);
        QFETCH(int, source);
        // Each image is four vertical bands of its own colours: the output tells
        // which image was used, stretching keeps the outer bands at the edges, and
        // the fast transformation never blends two bands.
        QList<QImage> images;
        for (int i = 0; i < sizes.size(); ++i) {
            QImage image;
            if (!sizes.at(i).isEmpty()) {
                image = QImage(sizes.at(i), QImage::Format_RGB32);
                for (int x = 0; x < image.width(); ++x)
                    for (int y = 0; y < image.height(); ++y)
                        image.setPixel(x, y, qRgb(40 * i, 60 * (x * 4 / image.width()), 100));
            }
            images << image;
        }
        const QList<QImage> icons = convertIcons(images);
        if (source < 0) {
            QVERIFY(icons.isEmpty());
            return;
        }
        QCOMPARE(icons.size(), 4);
        const int sides[] = { 86, 108, 128, 172 };
        for (int i = 0; i < 4; ++i) {
            const QImage& icon = icons.at(i);
            QCOMPARE(icon.size(), QSize(sides[i], sides[i]));
            QCOMPARE(icon.pixel(0, 0), qRgb(40 * source, 0, 100));
            QCOMPARE(icon.pixel(sides[i] - 1, sides[i] - 1), qRgb(40 * source, 180, 100));
            for (int x = 0; x < sides[i]; ++x)
                QVERIFY2(qGreen(icon.pixel(x, x)) % 60 == 0, "blended pixel");
        }
    }
};

QTEST_GUILESS_MAIN(TestPwaHelper)
#include "tst_pwahelper.moc"
