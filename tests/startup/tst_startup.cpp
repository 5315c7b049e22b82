// Runs the real start-up in a child process against a test QML directory and
// checks what it hands to the engine, the environment and QML.

#include "tempprofile.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace
{
const char* const browserQml
    = "import QtQuick 2.15\n"
      "import BrowserInternal 1.0\n"
      "Item {\n"
      "    property string report: [typeof startUrl !== 'undefined' ? startUrl : '<unset>',\n"
      "                             FilePathUtils.getCommonUrl('https://www.example.com/a'),\n"
      "                             pwa, STANDALONE].join('|')\n"
      "}\n";

// The shell's window asks the manager, by its QML name, where the app may go.
const char* const pwaQml
    = "import QtQuick 2.15\n"
      "import BrowserInternal 1.0\n"
      "Item {\n"
      "    property string report: [typeof startUrl !== 'undefined' ? startUrl : '<unset>', pwa,\n"
      "        PwaManager.pwaConfig.valid,\n"
      "        PwaManager.isInScope('https://m.example.com/app/inbox', PwaManager.pwaConfig.scope),\n"
      "        PwaManager.isInScope('https://example.org/app/', PwaManager.pwaConfig.scope)].join('|')\n"
      "}\n";
}

class TestStartup : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void browserMode_data();
    void browserMode();
    void pwaMode_data();
    void pwaMode();

private:
    struct Run {
        int exitCode = -2;
        QJsonObject report;
        QString stderrText;
    };
    Run runProbe(const QStringList& args, bool webdriver);

    QTemporaryDir m_appData;
    TempProfile m_profile;
};

void TestStartup::initTestCase()
{
    QVERIFY(m_appData.isValid());
    QVERIFY(QDir(m_appData.path()).mkpath(QStringLiteral("qml/pwa")));
    for (const QString& name :
        { QStringLiteral("qml/BrowserWindow.qml"), QStringLiteral("qml/pwa/PWAWindow.qml") }) {
        QFile file(m_appData.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(name.contains(QLatin1String("pwa/")) ? pwaQml : browserQml);
    }
}

TestStartup::Run TestStartup::runProbe(const QStringList& args, bool webdriver)
{
    Run run;
    const QString output = m_appData.filePath(QStringLiteral("report.json"));
    QFile::remove(output);
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("PROBE_APP_DATA_DIR"), m_appData.path());
    env.insert(QStringLiteral("PROBE_OUTPUT"), output);
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    // No OpenGL without a display; the test window has nothing that needs it.
    env.insert(QStringLiteral("QT_QUICK_BACKEND"), QStringLiteral("software"));
    env.remove(QStringLiteral("ORVANE_APP_ID"));
    env.remove(QStringLiteral("ORVANE_PACKAGE_NAME"));
    env.remove(QStringLiteral("STREAMCAMERA_IGNORE_CODEC_ID"));
    env.remove(QStringLiteral("WEBDRIVER"));
    if (webdriver)
        env.insert(QStringLiteral("WEBDRIVER"), QStringLiteral("1"));
    QProcess process;
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(STARTUP_PROBE), args);
    if (!process.waitForFinished(60000)) {
        process.kill();
        process.waitForFinished();
        return run;
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -3;
    run.stderrText = QString::fromLocal8Bit(process.readAllStandardError());
    QFile file(output);
    if (file.open(QIODevice::ReadOnly))
        run.report = QJsonDocument::fromJson(file.readAll()).object();
    return run;
}

void TestStartup::browserMode_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<bool>("webdriver");
    QTest::addColumn<QString>("expectedStartUrl"); // "<unset>" when no context property

    QTest::newRow("no url") << QStringList {} << false << QStringLiteral("<unset>");
    QTest::newRow("positional url") << QStringList { QStringLiteral("https://example.com/") } << false
                                    << QStringLiteral("https://example.com/");
    QTest::newRow("webdriver") << QStringList { QStringLiteral("https://example.com/") } << true
                               << QStringLiteral("about:blank");
    QTest::newRow("socket ignored") << QStringList { QStringLiteral("--socket"), QStringLiteral("/tmp/s") }
                                    << false << QStringLiteral("<unset>");
}

void TestStartup::browserMode()
{
    QFETCH(QStringList, args);
    QFETCH(bool, webdriver);
    QFETCH(QString, expectedStartUrl);

    const Run run = runProbe(args, webdriver);
    QVERIFY2(run.exitCode == 0, qPrintable(run.stderrText));
    const QJsonObject& report = run.report;
    QVERIFY2(!report.isEmpty(), qPrintable(run.stderrText));

    QCOMPARE(report.value(QStringLiteral("organization")).toString(), QStringLiteral("ru.nuvo"));
    QCOMPARE(report.value(QStringLiteral("application")).toString(), QStringLiteral("webdeck"));

    const QJsonObject env = report.value(QStringLiteral("environment")).toObject();
    QCOMPARE(env.value(QStringLiteral("ORVANE_APP_ID")).toString(), QStringLiteral("ru.nuvo.webdeck"));
    QCOMPARE(env.value(QStringLiteral("ORVANE_PACKAGE_NAME")).toString(), QStringLiteral("ru.nuvo.webdeck"));
    QCOMPARE(env.value(QStringLiteral("STREAMCAMERA_IGNORE_CODEC_ID")).toString(),
        QStringLiteral("gstreamer:encoder"));

    QVERIFY(report.value(QStringLiteral("engineInitialized")).toBool());
    const QJsonObject expectedParameters {
        { QStringLiteral("resources-path"),
            QStringLiteral("/usr/share/ru.nuvo.webdeck/data/qt5/qml/ru/orvaneos/WebView") },
        { QStringLiteral("private-libdir"), QStringLiteral("/usr/share/ru.nuvo.webdeck/lib") },
        { QStringLiteral("browser-extensions-path"),
            QStringLiteral("/usr/share/ru.nuvo.webdeck/browser-extensions/") },
        { QStringLiteral("disable-system-extensions"), QStringLiteral("yes") },
        { QStringLiteral("cryptopro-checker-path"),
            QStringLiteral("/usr/libexec/ru.nuvo.webdeck/bin/ru.orvaneos.webview-cryptopro-checker") },
    };
    QCOMPARE(report.value(QStringLiteral("engineParameters")).toObject(), expectedParameters);
    const QJsonArray expectedSwitches { QStringLiteral(
        "--browser-subprocess-path=/usr/libexec/ru.nuvo.webdeck/bin/"
        "ru.orvaneos.webview-subprocess-launcher") };
    QCOMPARE(report.value(QStringLiteral("engineSwitches")).toArray(), expectedSwitches);

    const QJsonObject props = report.value(QStringLiteral("contextProperties")).toObject();
    QCOMPARE(props.value(QStringLiteral("STANDALONE")), QJsonValue(true));
    QCOMPARE(props.value(QStringLiteral("inapptab")), QJsonValue(false));
    QCOMPARE(props.value(QStringLiteral("pwa")), QJsonValue(false));
    QVERIFY(props.value(QStringLiteral("VERSION_5_1")).isBool());
    QCOMPARE(props.value(QStringLiteral("dbusService")).toString(), QStringLiteral("ru.nuvo.webdeck"));
    QCOMPARE(props.value(QStringLiteral("dbusIface")).toString(), QStringLiteral("ru.nuvo.webdeck"));
    QCOMPARE(
        props.value(QStringLiteral("qmlLocation")).toString(), m_appData.path() + QStringLiteral("/qml"));
    QCOMPARE(props.value(QStringLiteral("appVersion")).toString(), QStringLiteral("2.1.0.5"));
    QVERIFY(props.value(QStringLiteral("captureDir")).toString().startsWith(m_profile.path()));
    // No engine crypto library on this machine: the digest is published empty.
    QVERIFY(props.contains(QStringLiteral("libcefOpensslChecksum")));
    QCOMPARE(props.value(QStringLiteral("libcefOpensslChecksum")).toString(), QString());
    if (expectedStartUrl == QLatin1String("<unset>"))
        QVERIFY(!props.contains(QStringLiteral("startUrl")));
    else
        QCOMPARE(props.value(QStringLiteral("startUrl")).toString(), expectedStartUrl);

    const QStringList titles { QStringLiteral("Browser"), QStringLiteral("browser-ti-standalone-ap-name") };
    QVERIFY2(titles.contains(report.value(QStringLiteral("title")).toString()),
        qPrintable(report.value(QStringLiteral("title")).toString()));
    QCOMPARE(report.value(QStringLiteral("source")).toString(),
        QUrl::fromLocalFile(m_appData.filePath(QStringLiteral("qml/BrowserWindow.qml"))).toString());
    // The window loaded and reached the module's types and the context.
    QCOMPARE(report.value(QStringLiteral("status")).toInt(), 1);
    QCOMPARE(report.value(QStringLiteral("qmlReport")).toString(),
        expectedStartUrl + QStringLiteral("|example.com/a|false|true"));
}

void TestStartup::pwaMode_data()
{
    QTest::addColumn<QByteArray>("config"); // pwaconfig.json of the app; empty: none
    QTest::addColumn<bool>("webdriver");
    QTest::addColumn<QString>("qmlReport");

    const QByteArray config = R"({"start_url": "https://example.com/app/index.html",
        "scope": "https://example.com/app/", "display": "standalone"})";
    QTest::newRow("configured") << config << false
                                << QStringLiteral("https://example.com/app/index.html|true|true|true|false");
    QTest::newRow("configured, webdriver")
        << config << true << QStringLiteral("https://example.com/app/index.html|true|true|true|false");
    QTest::newRow("no configuration")
        << QByteArray() << false << QStringLiteral("<unset>|true|false|false|false");
    QTest::newRow("malformed configuration") << QByteArray("[\"https://example.com/\"]") << false
                                             << QStringLiteral("<unset>|true|false|false|false");
}

void TestStartup::pwaMode()
{
    QFETCH(QByteArray, config);
    QFETCH(bool, webdriver);
    QFETCH(QString, qmlReport);

    // Where the shell's own data directory is: organisation "webdeck", application "pwa".
    const QString appDir = qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/webdeck/pwa");
    QDir(appDir).removeRecursively();
    if (!config.isEmpty()) {
        QVERIFY(QDir().mkpath(appDir));
        QFile file(appDir + QStringLiteral("/pwaconfig.json"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(config);
    }

    const Run run
        = runProbe({ QStringLiteral("--pwa"), QStringLiteral("https://ignored.example/") }, webdriver);
    QVERIFY2(run.exitCode == 0, qPrintable(run.stderrText));
    QCOMPARE(run.report.value(QStringLiteral("organization")).toString(), QStringLiteral("webdeck"));
    QCOMPARE(run.report.value(QStringLiteral("application")).toString(), QStringLiteral("pwa"));
    QVERIFY(run.report.value(QStringLiteral("environment"))
                .toObject()
                .value(QStringLiteral("ORVANE_APP_ID"))
                .isUndefined());
    QCOMPARE(run.report.value(QStringLiteral("source")).toString(),
        QUrl::fromLocalFile(m_appData.filePath(QStringLiteral("qml/pwa/PWAWindow.qml"))).toString());
    QCOMPARE(run.report.value(QStringLiteral("qmlReport")).toString(), qmlReport);
}

QTEST_GUILESS_MAIN(TestStartup)
#include "tst_startup.moc"
