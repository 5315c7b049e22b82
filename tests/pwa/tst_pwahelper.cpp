#include "pwahelper.h"

#include <QColor>
#include <QProcess>
#include <QRegularExpression>
#include <QtTest>

#include <openssl/evp.h>

using namespace Orvane::PWA;

namespace {

// Every log line as "<category> <level>: <text>", so a test sees both what was
// said and where it went.
QStringList s_lines;
QtMessageHandler s_previousHandler = nullptr;
QLoggingCategory::CategoryFilter s_previousFilter = nullptr;

void captureMessage(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    static const char* const levels[] = { "debug", "warning", "critical", "fatal", "info" };
    s_lines << QStringLiteral("%1 %2: %3")
                   .arg(QLatin1String(context.category), QLatin1String(levels[type]), text);
}

// The suite runs with debug output switched off; the debug lines are part of
// the behaviour under test, so they are switched back on for the two
// categories the helpers write to.
void enableHelperDebug(QLoggingCategory* category)
{
    if (s_previousFilter)
        s_previousFilter(category);
    const char* name = category->categoryName();
    if (qstrcmp(name, "browser.pwahelper") == 0 || qstrcmp(name, "default") == 0)
        category->setEnabled(QtDebugMsg, true);
}

PWAManifest manifestFrom(const QByteArray& json)
{
    return QJsonDocument::fromJson(json);
}

// The id as the package manager computes it, written out independently of the
// library: SHA-256 over the SHA-256 digest, first 16 bytes, one letter per nibble.
QString referenceAppId(const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    unsigned char first[EVP_MAX_MD_SIZE];
    unsigned char second[EVP_MAX_MD_SIZE];
    unsigned int firstLength = 0;
    unsigned int secondLength = 0;
    if (!EVP_Digest(utf8.constData(), size_t(utf8.size()), first, &firstLength, EVP_sha256(), nullptr)
        || !EVP_Digest(first, firstLength, second, &secondLength, EVP_sha256(), nullptr))
        return QString();
    QString id;
    for (int i = 0; i < 16; ++i) {
        id += QLatin1Char(char('a' + (second[i] >> 4)));
        id += QLatin1Char(char('a' + (second[i] & 0x0f)));
    }
    return id;
}

QStringList runTool(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(30000) || process.exitCode() != 0)
        return {};
    return QString::fromUtf8(process.readAllStandardOutput()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

// "address type name" lines of nm, demangled, as name -> type.
QHash<QString, QChar> definedSymbols(bool dynamicOnly)
{
    QStringList arguments { QStringLiteral("--defined-only"), QStringLiteral("-C") };
    if (dynamicOnly)
        arguments << QStringLiteral("-D");
    arguments << QStringLiteral(PWAHELPER_LIBRARY_FILE);
    QHash<QString, QChar> symbols;
    static const QRegularExpression line(QStringLiteral("^[0-9a-fA-F]*\\s+(\\S)\\s+(.+)$"));
    for (const QString& text : runTool(QStringLiteral(NM_PROGRAM), arguments)) {
        const QRegularExpressionMatch match = line.match(text);
        if (match.hasMatch())
            symbols.insert(match.captured(2), match.captured(1).at(0));
    }
    return symbols;
}

const QStringList& exportedFunctions()
{
    static const QStringList functions {
        QStringLiteral("pwaHelper()"),
        QStringLiteral("Orvane::PWA::verifyManifestValidity(QUrl const&, QJsonDocument const&)"),
        QStringLiteral("Orvane::PWA::extractScopeUrl(Orvane::PWA::PWAInfo const&)"),
        QStringLiteral("Orvane::PWA::extractOrvaneAppOrientation(QJsonDocument const&)"),
        QStringLiteral("Orvane::PWA::convertHexadecimalToIDAlphabet(QString const&)"),
        QStringLiteral("Orvane::PWA::generateAppId(QString const&)"),
        QStringLiteral("Orvane::PWA::convertIcons(QList<QImage> const&)"),
    };
    return functions;
}

} // namespace

class TestPwaHelper : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void manifestValidity_data();
    void manifestValidity();
    void scopeUrl_data();
    void scopeUrl();
    void orientation_data();
    void orientation();
    void idAlphabet_data();
    void idAlphabet();
    void appId_data();
    void appId();
    void iconSourceChoice_data();
    void iconSourceChoice();
    void iconsAreStretchedWithoutSmoothing();
    void libraryExportsTheRulesByName();
    void libraryKeepsItsInternalsHidden();
};

void TestPwaHelper::initTestCase()
{
    s_previousFilter = QLoggingCategory::installFilter(enableHelperDebug);
    s_previousHandler = qInstallMessageHandler(captureMessage);
}

void TestPwaHelper::init()
{
    s_lines.clear();
}

void TestPwaHelper::cleanupTestCase()
{
    qInstallMessageHandler(s_previousHandler);
    QLoggingCategory::installFilter(s_previousFilter);
}

void TestPwaHelper::manifestValidity_data()
{
    QTest::addColumn<QUrl>("baseUrl");
    QTest::addColumn<QByteArray>("manifest");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<QStringList>("lines");

    const QUrl site(QStringLiteral("https://example.org/app/"));
    const QString badBase = QStringLiteral("browser.pwahelper warning: baseUrl is invalid!");
    const QString badManifest = QStringLiteral("browser.pwahelper warning: manifest is invalid!");

    QTest::newRow("object") << site << QByteArray(R"({"name":"App","start_url":"/"})") << true
                            << QStringList();
    QTest::newRow("empty object: nothing else is required")
        << site << QByteArray("{}") << true << QStringList();
    QTest::newRow("array") << site << QByteArray(R"([{"name":"App"}])") << false
                           << QStringList { badManifest };
    QTest::newRow("empty document") << site << QByteArray() << false << QStringList { badManifest };
    QTest::newRow("not JSON") << site << QByteArray("<html></html>") << false << QStringList { badManifest };
    QTest::newRow("empty base URL") << QUrl() << QByteArray("{}") << false << QStringList { badBase };
    QTest::newRow("malformed base URL") << QUrl(QStringLiteral("http://exa mple.org/")) << QByteArray("{}")
                                        << false << QStringList { badBase };
    QTest::newRow("base URL is judged first")
        << QUrl() << QByteArray("[1]") << false << QStringList { badBase };
}

void TestPwaHelper::manifestValidity()
{
    QFETCH(QUrl, baseUrl);
    QFETCH(QByteArray, manifest);
    QFETCH(bool, valid);
    QFETCH(QStringList, lines);

    QCOMPARE(verifyManifestValidity(baseUrl, manifestFrom(manifest)), valid);
    QCOMPARE(s_lines, lines);
}

void TestPwaHelper::scopeUrl_data()
{
    QTest::addColumn<QString>("manifestUrl");
    QTest::addColumn<QByteArray>("manifest");
    QTest::addColumn<QString>("startUrl");
    QTest::addColumn<QString>("scope");

    const QString manifestUrl = QStringLiteral("https://example.org/manifest.json");
    const QString start = QStringLiteral("https://example.org/app/index.html");

    QTest::newRow("relative scope") << manifestUrl << QByteArray(R"({"scope":"/app/"})") << start
                                    << QStringLiteral("https://example.org/app/");
    QTest::newRow("scope relative to a nested manifest")
        << QStringLiteral("https://example.org/app/conf/manifest.json") << QByteArray(R"({"scope":"../"})")
        << start << QStringLiteral("https://example.org/app/");
    QTest::newRow("absolute scope") << manifestUrl << QByteArray(R"({"scope":"https://example.org/"})")
                                    << start << QStringLiteral("https://example.org/");
    QTest::newRow("scope without trailing slash") << manifestUrl << QByteArray(R"({"scope":"/app"})") << start
                                                  << QStringLiteral("https://example.org/app");
    QTest::newRow("scope is a mere name prefix") << manifestUrl << QByteArray(R"({"scope":"/ap"})") << start
                                                 << QStringLiteral("https://example.org/app/");
    QTest::newRow("foreign scope ignored") << manifestUrl << QByteArray(R"({"scope":"/other/"})") << start
                                           << QStringLiteral("https://example.org/app/");
    QTest::newRow("scope on another host")
        << manifestUrl << QByteArray(R"({"scope":"https://example.com/app/"})") << start
        << QStringLiteral("https://example.org/app/");
    QTest::newRow("scope with another scheme")
        << manifestUrl << QByteArray(R"({"scope":"http://example.org/app/"})") << start
        << QStringLiteral("https://example.org/app/");
    QTest::newRow("scope that is not a string") << manifestUrl << QByteArray(R"({"scope":42})") << start
                                                << QStringLiteral("https://example.org/app/");
    QTest::newRow("no scope, query and fragment")
        << manifestUrl << QByteArray("{}") << QStringLiteral("https://example.org/a/b?x=1&y=2#top")
        << QStringLiteral("https://example.org/a/");
    QTest::newRow("scope equal to start path with slash")
        << manifestUrl << QByteArray(R"({"scope":"/app/"})") << QStringLiteral("https://example.org/app/")
        << QStringLiteral("https://example.org/app/");
    QTest::newRow("scope equal to start path without slash")
        << manifestUrl << QByteArray(R"({"scope":"/app"})") << QStringLiteral("https://example.org/app")
        << QStringLiteral("https://example.org/");
    QTest::newRow("relative start URL resolved against the manifest")
        << QStringLiteral("https://example.org/pwa/manifest.json") << QByteArray("{}")
        << QStringLiteral("sub/page.html?x=1") << QStringLiteral("https://example.org/pwa/sub/");
    QTest::newRow("empty start URL") << manifestUrl << QByteArray("{}") << QString() << QString();
    QTest::newRow("malformed start URL")
        << manifestUrl << QByteArray("{}") << QStringLiteral("https://exa mple.org/app/") << QString();
    // The parent test compares components only: the broken host leaves the
    // authority empty, which any scope accepts, so the declared root wins.
    QTest::newRow("malformed start URL under a declared root scope")
        << manifestUrl << QByteArray(R"({"scope":"/"})") << QStringLiteral("https://exa mple.org/app/")
        << QStringLiteral("https://example.org/");
}

void TestPwaHelper::scopeUrl()
{
    QFETCH(QString, manifestUrl);
    QFETCH(QByteArray, manifest);
    QFETCH(QString, startUrl);
    QFETCH(QString, scope);

    PWAInfo info;
    info.manifestUrl = QUrl(manifestUrl);
    info.manifest = manifestFrom(manifest);
    info.startUrl = QUrl(startUrl);

    QCOMPARE(extractScopeUrl(info), QUrl(scope));
    const QStringList expectedLines = scope.isEmpty()
        ? QStringList { QStringLiteral(
            "browser.pwahelper debug: start_url is invalid! returning empty scope url") }
        : QStringList();
    QCOMPARE(s_lines, expectedLines);
}

void TestPwaHelper::orientation_data()
{
    QTest::addColumn<QByteArray>("manifest");
    QTest::addColumn<QString>("orientation");
    QTest::addColumn<QString>("line");

    const QString fallback
        = QStringLiteral("browser.pwahelper debug: orientation empty or invalid, using All");
    const QList<QPair<const char*, const char*>> table {
        { "any", "All" },
        { "natural", "All" },
        { "portrait", "PortraitMask" },
        { "portrait-primary", "Portrait" },
        { "portrait-secondary", "PortraitInverted" },
        { "landscape", "LandscapeMask" },
        { "landscape-primary", "Landscape" },
        { "landscape-secondary", "LandscapeInverted" },
    };
    for (const auto& row : table)
        QTest::newRow(row.first) << (QByteArray(R"({"orientation":")") + row.first + "\"}")
                                 << QString::fromLatin1(row.second) << QString();

    QTest::newRow("missing") << QByteArray("{}") << QStringLiteral("All")
                             << QStringLiteral("browser.pwahelper debug: no orientation, using All");
    QTest::newRow("capitalised") << QByteArray(R"({"orientation":"Portrait"})") << QStringLiteral("All")
                                 << fallback;
    QTest::newRow("padded") << QByteArray(R"({"orientation":" landscape"})") << QStringLiteral("All")
                            << fallback;
    QTest::newRow("empty") << QByteArray(R"({"orientation":""})") << QStringLiteral("All") << fallback;
    QTest::newRow("not a string") << QByteArray(R"({"orientation":["landscape"]})") << QStringLiteral("All")
                                  << fallback;
    QTest::newRow("OS name is not a keyword")
        << QByteArray(R"({"orientation":"LandscapeMask"})") << QStringLiteral("All") << fallback;
}

void TestPwaHelper::orientation()
{
    QFETCH(QByteArray, manifest);
    QFETCH(QString, orientation);
    QFETCH(QString, line);

    QCOMPARE(extractOrvaneAppOrientation(manifestFrom(manifest)), orientation);
    QCOMPARE(s_lines, line.isEmpty() ? QStringList() : QStringList { line });
}

void TestPwaHelper::idAlphabet_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("id");

    QTest::newRow("mixed digits") << QStringLiteral("0f9a") << QStringLiteral("apjk");
    QTest::newRow("every digit") << QStringLiteral("0123456789abcdef") << QStringLiteral("abcdefghijklmnop");
    QTest::newRow("upper case is not hexadecimal here") << QStringLiteral("0F") << QStringLiteral("aa");
    QTest::newRow("other characters") << QStringLiteral("g-z 9") << QStringLiteral("aaaaj");
    QTest::newRow("non-ASCII keeps the length") << QString::fromUtf8("é1😀") << QStringLiteral("abaa");
    QTest::newRow("empty") << QString() << QString();
}

void TestPwaHelper::idAlphabet()
{
    QFETCH(QString, text);
    QFETCH(QString, id);

    QCOMPARE(convertHexadecimalToIDAlphabet(text), id);
}

void TestPwaHelper::appId_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("start URL") << QStringLiteral("https://example.org/app/index.html");
    QTest::newRow("query and fragment") << QStringLiteral("https://example.org/?utm_source=homescreen#main");
    QTest::newRow("empty") << QString();
    QTest::newRow("non-ASCII is hashed as UTF-8") << QString::fromUtf8("https://пример.рф/приложение/☃");
    QTest::newRow("long") << QStringLiteral("https://example.org/").repeated(500);
}

void TestPwaHelper::appId()
{
    QFETCH(QString, text);

    const QString expected = referenceAppId(text);
    QCOMPARE(expected.size(), 32);
    QCOMPARE(generateAppId(text), expected);
    QCOMPARE(s_lines, QStringList { QStringLiteral("default debug: appId: \"%1\"").arg(expected) });
}

void TestPwaHelper::iconSourceChoice_data()
{
    QTest::addColumn<QList<QSize>>("sizes");
    QTest::addColumn<int>("source");

    QTest::newRow("nothing") << QList<QSize>() << -1;
    QTest::newRow("single") << QList<QSize> { { 512, 256 } } << 0;
    QTest::newRow("larger side wins, not area") << QList<QSize> { { 100, 100 }, { 200, 50 } } << 1;
    QTest::newRow("tie goes to the first") << QList<QSize> { { 200, 50 }, { 50, 200 }, { 200, 200 } } << 0;
    QTest::newRow("largest last") << QList<QSize> { { 16, 16 }, { 32, 32 }, { 192, 192 } } << 2;
    QTest::newRow("null images skipped") << QList<QSize> { { 0, 0 }, { 10, 10 } } << 1;
    QTest::newRow("only null images") << QList<QSize> { { 0, 0 }, { 0, 0 } } << -1;
}

void TestPwaHelper::iconSourceChoice()
{
    QFETCH(QList<QSize>, sizes);
    QFETCH(int, source);

    // Each input gets its own colour so the output tells which one was used.
    const QList<QRgb> colours { qRgb(255, 0, 0), qRgb(0, 255, 0), qRgb(0, 0, 255), qRgb(255, 255, 0) };
    QList<QImage> images;
    for (int i = 0; i < sizes.size(); ++i) {
        QImage image;
        if (!sizes.at(i).isEmpty()) {
            image = QImage(sizes.at(i), QImage::Format_RGB32);
            image.fill(colours.at(i));
        }
        images << image;
    }

    const QList<QImage> icons = convertIcons(images);
    if (source < 0) {
        QVERIFY(icons.isEmpty());
        return;
    }
    QCOMPARE(icons.size(), 4);
    const QList<int> sides { 86, 108, 128, 172 };
    for (int i = 0; i < icons.size(); ++i) {
        QCOMPARE(icons.at(i).size(), QSize(sides.at(i), sides.at(i)));
        QCOMPARE(icons.at(i).pixel(0, 0), colours.at(source));
        QCOMPARE(icons.at(i).pixel(sides.at(i) - 1, sides.at(i) - 1), colours.at(source));
    }
}

void TestPwaHelper::iconsAreStretchedWithoutSmoothing()
{
    // Four vertical bands: stretching keeps the outer bands at the edges (a
    // cropped or padded icon would not), and the fast transformation never
    // blends two bands into a colour of neither.
    const QList<QRgb> bands { qRgb(255, 0, 0), qRgb(0, 255, 0), qRgb(0, 0, 255), qRgb(255, 255, 0) };
    QImage wide(512, 256, QImage::Format_RGB32);
    for (int band = 0; band < bands.size(); ++band)
        for (int y = 0; y < wide.height(); ++y)
            for (int x = band * 128; x < (band + 1) * 128; ++x)
                wide.setPixel(x, y, bands.at(band));

    const QList<QImage> icons = convertIcons({ wide });
    QCOMPARE(icons.size(), 4);
    for (const QImage& icon : icons) {
        QCOMPARE(icon.width(), icon.height());
        const int last = icon.width() - 1;
        QCOMPARE(icon.pixel(0, 0), bands.first());
        QCOMPARE(icon.pixel(last, last), bands.last());
        QCOMPARE(icon.pixel(last / 2 - 2, last), bands.at(1));
        QCOMPARE(icon.pixel(last / 2 + 3, 0), bands.at(2));
        for (int y = 0; y <= last; ++y)
            for (int x = 0; x <= last; ++x)
                if (!bands.contains(icon.pixel(x, y)))
                    QFAIL(qPrintable(QStringLiteral("blended pixel at %1,%2 of the %3 px icon")
                                         .arg(x)
                                         .arg(y)
                                         .arg(icon.width())));
    }
}

void TestPwaHelper::libraryExportsTheRulesByName()
{
    const QHash<QString, QChar> exported = definedSymbols(true);
    QVERIFY2(!exported.isEmpty(), "nm found no dynamic symbols");
    for (const QString& function : exportedFunctions())
        QVERIFY2(exported.value(function) == QLatin1Char('T'), qPrintable(function));

    // Other programs link the file by its versioned name.
    const QStringList headers = runTool(
        QStringLiteral(OBJDUMP_PROGRAM), { QStringLiteral("-p"), QStringLiteral(PWAHELPER_LIBRARY_FILE) });
    static const QRegularExpression soname(QStringLiteral("^\\s*SONAME\\s+libwebdeck-pwahelper\\.so\\.1$"));
    QVERIFY(!headers.filter(soname).isEmpty());
}

void TestPwaHelper::libraryKeepsItsInternalsHidden()
{
    const QHash<QString, QChar> all = definedSymbols(false);
    const QHash<QString, QChar> exported = definedSymbols(true);
    const QString table = QStringLiteral("Orvane::PWA::Internal::orientationTable()");
    // The helper exists with external linkage in the library, but not in its interface.
    QVERIFY2(all.contains(table), "the library was stripped or the helper renamed");
    QVERIFY(!exported.contains(table));

    QStringList unexpected;
    for (auto it = exported.constBegin(); it != exported.constEnd(); ++it) {
        const bool ours
            = it.key().contains(QLatin1String("Orvane")) || it.key().contains(QLatin1String("pwaHelper"));
        if (ours && !exportedFunctions().contains(it.key()))
            unexpected << it.key();
    }
    QCOMPARE(unexpected, QStringList());
}

QTEST_GUILESS_MAIN(TestPwaHelper)
#include "tst_pwahelper.moc"
