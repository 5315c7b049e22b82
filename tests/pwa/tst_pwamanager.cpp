// The PWA manager's rules that need no network: scope membership, the start
// page a manifest may choose, display modes, and the launch configuration.

#include "pwa/pwamanager.h"
#include "pwa/pwamanifest.h"
#include "tempprofile.h"

#include <application.h>

#include <QJsonObject>
#include <QtTest>

class TestPwaManager : public QObject
{
    Q_OBJECT
private slots:
    void isInScope_data();
    void isInScope();
    void startUrl_data();
    void startUrl();
    void displayMode_data();
    void displayMode();
    void configIsRetriedUntilRead();

private:
    TempProfile m_profile;
};

void TestPwaManager::isInScope_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("scope");
    QTest::addColumn<bool>("inScope");

    QTest::newRow("below") << "https://example.com/app/a/b.html?q#f"
                           << "https://example.com/app/" << true;
    QTest::newRow("same directory") << "https://example.com/app/x.html"
                                    << "https://example.com/app/index.html" << true;
    QTest::newRow("sibling prefix") << "https://example.com/application/"
                                    << "https://example.com/app/" << false;
    QTest::newRow("above") << "https://example.com/"
                           << "https://example.com/app/" << false;
    QTest::newRow("subdomain") << "https://m.example.com/app/x"
                               << "https://example.com/app/" << true;
    QTest::newRow("subdomain, other scheme") << "http://m.example.com/app/x"
                                             << "https://example.com/app/" << false;
    QTest::newRow("subdomain, other path") << "https://m.example.com/other/"
                                           << "https://example.com/app/" << false;
    QTest::newRow("suffix, not subdomain") << "https://badexample.com/app/"
                                           << "https://example.com/app/" << false;
    QTest::newRow("other scheme") << "http://example.com/app/x"
                                  << "https://example.com/app/" << false;
    QTest::newRow("other port") << "https://example.com:8443/app/x"
                                << "https://example.com/app/" << false;
}

void TestPwaManager::isInScope()
{
    QFETCH(QString, url);
    QFETCH(QString, scope);
    QFETCH(bool, inScope);
    QCOMPARE(PwaManager::instance()->isInScope(url, scope), inScope);
}

void TestPwaManager::startUrl_data()
{
    QTest::addColumn<QString>("startUrl");
    QTest::addColumn<QString>("expected");

    // Page https://example.com/app/page.html?x, manifest https://example.com/meta/m.json.
    QTest::newRow("relative") << "start.html"
                              << "https://example.com/meta/start.html";
    QTest::newRow("absolute path") << "/home?pwa"
                                   << "https://example.com/home?pwa";
    QTest::newRow("slash means the page's directory") << " / "
                                                      << "https://example.com/app/";
    QTest::newRow("missing") << ""
                             << "https://example.com/app/";
    QTest::newRow("other host") << "https://evil.example/"
                                << "https://example.com/app/";
    QTest::newRow("other scheme") << "http://example.com/app/"
                                  << "https://example.com/app/";
    QTest::newRow("other port") << "https://example.com:444/app/"
                                << "https://example.com/app/";
    QTest::newRow("explicit default port") << "https://example.com:443/"
                                           << "https://example.com/app/";
    QTest::newRow("javascript") << "javascript:alert(1)"
                                << "https://example.com/app/";
}

void TestPwaManager::startUrl()
{
    QFETCH(QString, startUrl);
    QFETCH(QString, expected);
    QCOMPARE(PwaManifest::startUrl(startUrl, QUrl(QStringLiteral("https://example.com/app/page.html?x")),
                 QUrl(QStringLiteral("https://example.com/meta/m.json")))
                 .toString(),
        expected);
}

void TestPwaManager::displayMode_data()
{
    QTest::addColumn<QJsonObject>("manifest");
    QTest::addColumn<bool>("isApp");

    const auto display = [](const char* mode) {
        return QJsonObject { { QStringLiteral("display"), QLatin1String(mode) } };
    };
    QTest::newRow("missing") << QJsonObject() << true;
    QTest::newRow("capitals and spaces") << display(" StandAlone ") << true;
    QTest::newRow("fullscreen") << display("fullscreen") << true;
    QTest::newRow("minimal-ui") << display("minimal-ui") << true;
    QTest::newRow("browser in capitals") << display("BROWSER") << false;
    QTest::newRow("unknown") << display("window-controls-overlay") << false;
}

void TestPwaManager::displayMode()
{
    QFETCH(QJsonObject, manifest);
    QFETCH(bool, isApp);
    QCOMPARE(PwaManifest::isAppDisplayMode(PwaManifest::displayMode(manifest)), isApp);
}

void TestPwaManager::configIsRetriedUntilRead()
{
    PwaManager* manager = PwaManager::instance();
    QVERIFY(!manager->pwaConfig().valid);

    const QString dir = Orvane::Application::getPath(Orvane::Application::AppDataPath);
    QVERIFY(QDir().mkpath(dir));
    QFile file(dir + QStringLiteral("/pwaconfig.json"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(R"({"start_url": "https://example.com/app/", "display": "standalone"})");
    file.close();
    QVERIFY(manager->pwaConfig().valid);
    QCOMPARE(manager->pwaConfig().startUrl, QStringLiteral("https://example.com/app/"));
    QCOMPARE(manager->pwaConfig().scope, QString());

    // Once read, the configuration stays what the shell started with.
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("{}");
    file.close();
    QCOMPARE(manager->pwaConfig().startUrl, QStringLiteral("https://example.com/app/"));
}

QTEST_GUILESS_MAIN(TestPwaManager)
#include "tst_pwamanager.moc"
