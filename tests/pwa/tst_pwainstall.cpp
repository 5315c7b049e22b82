// Web apps installed from a loopback site through the real jobs into a fake package manager.

#include "fakepackagemanager.h"
#include "httpserver.h"
#include "logcapture.h"
#include "privatebus.h"
#include "pwa/pwamanager.h"
#include "pwa/pwamanifest.h"
#include "tempprofile.h"

#include <application.h>
#include <pwahelper.h>
#include <webview.h>

#include <QBuffer>
#include <QJsonArray>
#include <QJsonObject>
#include <QtTest>

using Orvane::WebView::WebView;

namespace
{
QByteArray png(int width, int height, QColor colour = Qt::red, QImage::Format format = QImage::Format_ARGB32)
{
    QImage image(width, height, format);
    image.fill(colour);
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return data;
}

QJsonObject readJson(const QString& path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return QJsonDocument::fromJson(file.readAll()).object();
}

const QStringList permissions = QStringLiteral(
    "Internet UserDirs RemovableMedia DeviceInfo Location Downloads MediaIndexing Audio Camera Printing "
    "ScreenCapture ru.cryptopro.gui@ru.cryptopro.csp ru.cryptopro.nmcades@ru.cryptopro.csp")
                                    .split(QLatin1Char(' '));
} // namespace

class TestPwaInstall : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void installEndToEnd();
    void failures_data();
    void failures();
    void updateReplacesIcons();
    void realManifests_data();
    void realManifests();
    void startUrlStaysOnOrigin_data();
    void startUrlStaysOnOrigin();

private:
    // Runs install or update and returns the result, or -1 when no result came.
    int run(bool update, WebView* view, const QString& base, const QString& manifest, int timeoutMs = 10000);
    QString appDir(const QString& startUrl) const
    {
        return Orvane::Application::getPath(Orvane::Application::AppDataPath) + QStringLiteral("/PWAs/")
            + Orvane::PWA::generateAppId(startUrl) + QStringLiteral("/PWA");
    }
    QString url(const char* path) const { return m_server.url(QString::fromLatin1(path)).toString(); }

    TempProfile m_profile;
    std::unique_ptr<PrivateBus> m_bus;
    std::unique_ptr<FakePackageManager> m_apm;
    HttpServer m_server;
    WebView m_view;
};

void TestPwaInstall::initTestCase()
{
    m_bus.reset(new PrivateBus);
    QVERIFY2(m_bus->isValid(), qPrintable(m_bus->errorString()));
    m_apm.reset(new FakePackageManager(m_bus->address()));
    QVERIFY2(m_apm->start(), qPrintable(m_apm->errorString()));
    QVERIFY(m_server.start());

    const QByteArray good = R"({"name": "Notes", "start_url": "index.html?from=pwa", "scope": "/app/",
        "display": "Fullscreen", "orientation": "landscape",
        "icons": [{"src": "icon-512.png", "sizes": "512x512"}, {"src": "gone.png"}, {"src": ""}, "junk"]})";
    m_server.route("/app/index.html", "<html></html>", "text/html");
    // Served from another directory: relative icons resolve there first, then against the page.
    m_server.route("/meta/manifest.json", "// generated\n" + good, "application/manifest+json");
    m_server.redirect("/meta/icon-512.png", "/static/icon-512.png");
    m_server.route("/static/icon-512.png", png(512, 512), "image/png");
    m_server.route("/app/gone.png", png(64, 32), "image/png");
    m_server.route("/bad/manifest.json", "[1, 2]", "application/json");
    m_server.route(
        "/nested/manifest.json", QByteArray(100000, '[') + QByteArray(100000, ']'), "application/json");
    m_server.route("/huge/manifest.json", "{\"name\": \"" + QByteArray(2 * 1024 * 1024, 'x') + "\"}",
        "application/json");
    m_server.route("/hostile/manifest.json",
        R"({"name": "../../evil/x", "icons": [{"src": "file:///etc/hostname", "sizes": "99999x99999"},
            {"src": "bomb.png"}, {"src": "missing.png"}, {"src": "text.png"}]})",
        "application/json");
    // 20 megapixels in a few kilobytes of PNG: over the decoder's pixel cap.
    m_server.route("/hostile/bomb.png", png(5000, 4000, Qt::black, QImage::Format_Mono), "image/png");
    m_server.route("/hostile/text.png", "not an image", "image/png");
    HttpServer::Response slow;
    slow.body = good;
    slow.delayMs = 300;
    m_server.route("/slow/manifest.json", slow);
    m_server.route("/slow/icon-512.png", png(512, 512), "image/png");
}

void TestPwaInstall::init()
{
    m_apm->clearCalls();
    m_apm->script(QStringLiteral("Install"), FakePackageManager::Answer::reply());
    m_apm->script(QStringLiteral("Upgrade"), FakePackageManager::Answer::reply());
    QDir(Orvane::Application::getPath(Orvane::Application::AppDataPath) + QStringLiteral("/PWAs"))
        .removeRecursively();
}

int TestPwaInstall::run(
    bool update, WebView* view, const QString& base, const QString& manifest, int timeoutMs)
{
    PwaManager* manager = PwaManager::instance();
    QSignalSpy finished(manager, &PwaManager::installationFinished);
    if (update)
        manager->update(view, base, manifest);
    else
        manager->install(view, base, manifest);
    if (finished.isEmpty() && !finished.wait(timeoutMs))
        return -1;
    if (finished.size() != 1 || finished.at(0).at(0).value<WebView*>() != view
        || finished.at(0).at(1).toString() != manifest)
        return -2;
    return finished.at(0).at(2).toInt();
}

void TestPwaInstall::installEndToEnd()
{
    QSignalSpy names(PwaManager::instance(), &PwaManager::sendAppName);
    const QString base = url("/app/index.html");
    QCOMPARE(run(false, &m_view, base, url("/meta/manifest.json")), int(PwaManager::SUCCESS));
    QCOMPARE(names.value(0).value(0).toString(), QStringLiteral("Notes"));

    const QString start = url("/meta/index.html?from=pwa");
    const QString dir = appDir(start);
    const QStringList icons = { dir + QStringLiteral("/86x86.png"), dir + QStringLiteral("/108x108.png"),
        dir + QStringLiteral("/128x128.png"), dir + QStringLiteral("/172x172.png") };
    for (const QString& icon : icons)
        QCOMPARE(QImage(icon).width(), QFileInfo(icon).baseName().section(QLatin1Char('x'), 0, 0).toInt());
    QCOMPARE(readJson(dir + QStringLiteral("/manifest.json")).value(QStringLiteral("name")).toString(),
        QStringLiteral("Notes"));
    // The manifest's scope does not contain its start page, so the start page's directory is the scope.
    const QJsonObject config = readJson(dir + QStringLiteral("/pwaconfig.json"));
    QCOMPARE(config,
        QJsonObject({ { QStringLiteral("start_url"), start }, { QStringLiteral("scope"), url("/meta/") },
            { QStringLiteral("display"), QStringLiteral("fullscreen") } }));
    // The unknown icon was looked for beside the manifest, then beside the page.
    QCOMPARE(m_server.hits("/meta/gone.png"), 1);
    QCOMPARE(m_server.hits("/app/gone.png"), 1);

    const auto calls = m_apm->calls(QStringLiteral("Install"));
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls[0].interface, QStringLiteral("ru.nuvo.APM.PWA"));
    QCOMPARE(calls[0].signature(), QStringLiteral("sssas(bs)(bs)(bs)sas"));
    const QVariantList expected = { url("/meta/"), Orvane::PWA::generateAppId(start), QStringLiteral("Notes"),
        permissions, QVariantList { true, QStringLiteral("LandscapeMask") },
        QVariantList { true, QStringLiteral("fullscreen") }, QVariantList { true, start }, dir, icons };
    QCOMPARE(calls[0].arguments, expected);

    // The installed check finds the same app id through the manifest.
    QSignalSpy checked(PwaManager::instance(), &PwaManager::checkAlreadyInstalledFinished);
    m_apm->script(QStringLiteral("CheckInstalled"),
        FakePackageManager::Answer::reply(
            { FakePackageManager::structure({ true, QStringLiteral("1.0") }) }));
    PwaManager::instance()->checkAlreadyInstalled(&m_view, base, url("/meta/manifest.json"));
    QVERIFY(checked.wait());
    QCOMPARE(checked.at(0).at(1).toBool(), true);
    QCOMPARE(m_apm->calls(QStringLiteral("CheckInstalled")).value(0).arguments,
        QVariantList { Orvane::PWA::generateAppId(start) });
}

void TestPwaInstall::failures_data()
{
    QTest::addColumn<QString>("mode"); // install, update, null view, twice, update unchanged
    QTest::addColumn<QString>("base");
    QTest::addColumn<QString>("manifest");
    QTest::addColumn<QString>("apm"); // ok, error, down
    QTest::addColumn<int>("expected"); // -1: no result at all
    QTest::addColumn<QString>("log");
    QTest::addColumn<QByteArrayList>("fetched"); // paths the site must have been asked for

    // Paths starting with "/" are on the loopback site; "fetched" lists paths separated by blanks.
    const auto row = [this](const char* name, const char* mode, const char* base, const char* manifest,
                         const char* apm, int expected, const char* log, const char* fetched = "") {
        const auto address
            = [this](const char* text) { return *text == '/' ? url(text) : QString::fromLatin1(text); };
        QTest::newRow(name) << QString::fromLatin1(mode) << address(base) << address(manifest)
                            << QString::fromLatin1(apm) << expected << QString::fromLatin1(log)
                            << QByteArray(fetched).split(' ').mid(*fetched ? 0 : 1);
    };
    const char* base = "/app/index.html";
    const char* good = "/meta/manifest.json";
    const char* noApm = "can not work with ru.nuvo.APM service";
    const char* refused = "An error occured during DBus call:";
    const char* invalid = "either manifest or base url is invalid!";
    // clang-format off
    row("null view", "null view", base, good, "ok", -1, "webView is null, cannot install, returning");
    row("invalid manifest url", "install", base, "http://[::1", "ok", PwaManager::FAILURE, invalid);
    row("manifest 404", "install", base, "/nowhere/manifest.json", "ok", PwaManager::FAILURE_CANNOT_DOWNLOAD_MANIFEST, "");
    row("local manifest", "install", base, "file:///etc/hostname", "ok", PwaManager::FAILURE_CANNOT_DOWNLOAD_MANIFEST, "");
    row("manifest over size cap", "install", base, "/huge/manifest.json", "ok", PwaManager::FAILURE_CANNOT_DOWNLOAD_MANIFEST, "");
    row("array manifest", "install", base, "/bad/manifest.json", "ok", PwaManager::FAILURE_BAD_MANIFEST, "");
    row("deeply nested manifest", "install", base, "/nested/manifest.json", "ok", PwaManager::FAILURE_BAD_MANIFEST, "");
    row("no icon obtainable", "install", "/page/index.html", "/hostile/manifest.json", "ok", PwaManager::FAILURE_CANNOT_DOWNLOAD_ICONS,
        "no icons! aborting installation", "/hostile/bomb.png /page/bomb.png /hostile/missing.png /page/missing.png /hostile/text.png /favicon.ico");
    row("install refused", "install", base, good, "error", PwaManager::FAILURE_CANNOT_INSTALL, refused);
    row("install, no package manager", "install", base, good, "down", PwaManager::FAILURE_CANNOT_INSTALL, noApm);
    row("update, no package manager", "update", base, good, "down", PwaManager::FAILURE_CANNOT_UPDATED, noApm);
    row("update with nothing changed", "update unchanged", base, good, "ok", PwaManager::FAILURE_ALREADY_UPDATED, "");
    row("second install while one runs", "twice", base, "/slow/manifest.json", "ok", PwaManager::SUCCESS, "another PWA is installing");
    // clang-format on
}

void TestPwaInstall::failures()
{
    QFETCH(QString, mode);
    QFETCH(QString, base);
    QFETCH(QString, manifest);
    QFETCH(QString, apm);
    QFETCH(int, expected);
    QFETCH(QString, log);
    QFETCH(QByteArrayList, fetched);

    if (mode == QLatin1String("update unchanged"))
        QCOMPARE(run(false, &m_view, base, manifest), int(PwaManager::SUCCESS));
    if (apm == QLatin1String("error"))
        for (const char* method : { "Install", "Upgrade" })
            m_apm->script(QLatin1String(method),
                FakePackageManager::Answer::error(
                    QStringLiteral("ru.nuvo.APM.Error"), QStringLiteral("no space")));
    if (apm == QLatin1String("down"))
        m_apm->stop();
    m_apm->clearCalls();
    QMap<QByteArray, int> hitsBefore;
    for (const QByteArray& path : fetched)
        hitsBefore[path] = m_server.hits(path);

    LogCapture logs("browser.app.pwa");
    int result = -1;
    if (mode == QLatin1String("twice")) {
        WebView other;
        QSignalSpy finished(PwaManager::instance(), &PwaManager::installationFinished);
        PwaManager::instance()->install(&m_view, base, manifest);
        PwaManager::instance()->install(&other, base, url("/meta/manifest.json"));
        PwaManager::instance()->update(&other, base, url("/meta/manifest.json"));
        QVERIFY(finished.wait());
        QTest::qWait(50);
        QCOMPARE(finished.size(), 1);
        QCOMPARE(finished.at(0).at(0).value<WebView*>(), &m_view);
        result = finished.at(0).at(2).toInt();
        QVERIFY(logs.messages().contains(QStringLiteral("another PWA is updating")));
    } else {
        result = run(mode.startsWith(QLatin1String("update")),
            mode == QLatin1String("null view") ? nullptr : &m_view, base, manifest,
            mode == QLatin1String("null view") ? 300 : 10000);
    }
    if (apm == QLatin1String("down"))
        QVERIFY(m_apm->start());

    QCOMPARE(result, expected);
    if (!log.isEmpty())
        QVERIFY2(!logs.startingWith(log).isEmpty(), qPrintable(logs.messages().join(QLatin1Char('\n'))));
    for (const QByteArray& path : fetched)
        QVERIFY2(m_server.hits(path) > hitsBefore.value(path), path.constData());
    // Nothing was sent for a failure before the request, and the manager takes the next job.
    const bool requestSent = expected == PwaManager::SUCCESS || apm == QLatin1String("error");
    QCOMPARE(m_apm->calls().size(), requestSent ? 1 : 0);
    QVERIFY(!PwaManager::instance()->isBusy());
    // Nothing of a hostile manifest lands outside the app directories.
    const QDir pwas(Orvane::Application::getPath(Orvane::Application::AppDataPath) + QStringLiteral("/PWAs"));
    for (const QString& entry : pwas.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        QVERIFY2(
            QRegularExpression(QStringLiteral("^[a-p]{32}$")).match(entry).hasMatch(), qPrintable(entry));
}

void TestPwaInstall::updateReplacesIcons()
{
    const QString base = url("/app/index.html");
    const QString manifest = url("/meta/manifest.json");
    QCOMPARE(run(false, &m_view, base, manifest), int(PwaManager::SUCCESS));
    const QString dir = appDir(url("/meta/index.html?from=pwa"));
    // An icon size the new set lacks, and a changed one.
    QFile::copy(dir + QStringLiteral("/86x86.png"), dir + QStringLiteral("/64x64.png"));
    QFile::remove(dir + QStringLiteral("/172x172.png"));
    QFile::copy(dir + QStringLiteral("/86x86.png"), dir + QStringLiteral("/172x172.png"));

    QCOMPARE(run(true, &m_view, base, manifest), int(PwaManager::SUCCESS));
    QVERIFY(!QFile::exists(dir + QStringLiteral("/64x64.png")));
    QCOMPARE(QImage(dir + QStringLiteral("/172x172.png")).width(), 172);
    const auto calls = m_apm->calls(QStringLiteral("Upgrade"));
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls[0].signature(), QStringLiteral("ssas(bs)(bs)(bs)sas"));
    QCOMPARE(calls[0].arguments.value(0).toString(), url("/meta/"));
    QCOMPARE(calls[0].arguments.value(1).toString(), QStringLiteral("Notes"));
    QCOMPARE(calls[0].arguments.value(7).toStringList().size(), 4);
}

void TestPwaInstall::realManifests_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("startPath");
    QTest::addColumn<QString>("scopePath");
    QTest::addColumn<int>("chosenIcon"); // index in "icons" of the image the launcher icons come from

    // Relative start pages resolve against the manifest; "/" means the page's own directory.
    const auto row = [](const char* name, const char* file, const char* start, const char* scope, int icon) {
        QTest::newRow(name) << QString::fromLatin1(file) << QString::fromLatin1(start)
                            << QString::fromLatin1(scope) << icon;
    };
    row("element", "element-web.json", "/site/index.html", "/site/", 1); // 1240x600 is the widest
    row("excalidraw", "excalidraw.json", "/site/", "/site/", 1);
    row("immich", "immich.json", "/site/", "/site/", 3); // both 512 entries name one file, served last
    row("jitsi", "jitsi-meet.json", "/site/", "/", 1); // the declared scope "/" contains the start page
}

void TestPwaInstall::realManifests()
{
    QFETCH(QString, file);
    QFETCH(QString, startPath);
    QFETCH(QString, scopePath);
    QFETCH(int, chosenIcon);

    QFile source(QFINDTESTDATA(QStringLiteral("data/") + file));
    QVERIFY(source.open(QIODevice::ReadOnly));
    const QByteArray text = source.readAll();
    const QJsonArray icons = QJsonDocument::fromJson(text).object().value(QStringLiteral("icons")).toArray();
    const QString manifest = url("/site/") + file;
    m_server.route("/site/" + file.toLatin1(), text, "application/manifest+json");
    // Every icon in the size it declares and a colour of its own.
    for (int i = 0; i < icons.size(); ++i) {
        const QStringList size
            = icons[i].toObject().value(QStringLiteral("sizes")).toString().split(QLatin1Char('x'));
        const QUrl iconUrl
            = QUrl(manifest).resolved(QUrl(icons[i].toObject().value(QStringLiteral("src")).toString()));
        m_server.route(iconUrl.path().toLatin1(),
            png(size.value(0).toInt(), size.value(1).toInt(), QColor(i * 15, 0, 0)), "image/png");
    }

    QCOMPARE(run(false, &m_view, url("/site/page.html"), manifest), int(PwaManager::SUCCESS));
    const QString dir = appDir(m_server.url(startPath).toString());
    const QJsonObject config = readJson(dir + QStringLiteral("/pwaconfig.json"));
    QCOMPARE(config.value(QStringLiteral("start_url")).toString(), m_server.url(startPath).toString());
    QCOMPARE(config.value(QStringLiteral("scope")).toString(), m_server.url(scopePath).toString());
    QCOMPARE(config.value(QStringLiteral("display")).toString(), QStringLiteral("standalone"));
    QCOMPARE(QImage(dir + QStringLiteral("/172x172.png")).pixelColor(86, 86).red(), chosenIcon * 15);
}

void TestPwaInstall::startUrlStaysOnOrigin_data()
{
    QTest::addColumn<QString>("startUrl");
    QTest::addColumn<QString>("expected");
    // Page https://example.com/app/page.html?x, manifest https://example.com/meta/m.json.
    const QString app = QStringLiteral("https://example.com/app/");
    QTest::newRow("absolute path") << "/home?pwa" << QStringLiteral("https://example.com/home?pwa");
    QTest::newRow("slash is the page's directory") << " / " << app;
    QTest::newRow("other host") << "https://evil.example/" << app;
    QTest::newRow("other scheme") << "http://example.com/app/" << app;
    QTest::newRow("other port") << "https://example.com:444/app/" << app;
    QTest::newRow("script") << "javascript:alert(1)" << app;
}

void TestPwaInstall::startUrlStaysOnOrigin()
{
    QFETCH(QString, startUrl);
    QFETCH(QString, expected);
    QCOMPARE(PwaManifest::startUrl(startUrl, QUrl(QStringLiteral("https://example.com/app/page.html?x")),
                 QUrl(QStringLiteral("https://example.com/meta/m.json")))
                 .toString(),
        expected);
}

QTEST_MAIN(TestPwaInstall)
#include "tst_pwainstall.moc"
