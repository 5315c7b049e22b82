// Runs the real start-up in a child process (this executable, relaunched with
// --probe) against a test QML directory, and checks what it hands to the
// engine, the environment and QML.
#include "startup/startup.h"
#include "tempprofile.h"

#include <webenginecontext.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QQmlContext>
#include <QQuickItem>
#include <QQuickView>
#include <QSaveFile>
#include <QTemporaryDir>
#include <QtTest>

namespace
{
const char* const windowQml = "import QtQuick 2.15\nimport BrowserInternal 1.0\nItem {\n"
                              "    property string report: [typeof startUrl !== 'undefined' ? startUrl : "
                              "'<unset>', FilePathUtils.getCommonUrl('https://www.example.com/a'), pwa, "
                              "STANDALONE].join('|')\n}\n";

// The shell's window asks the manager, by its QML name, where the app may go.
const char* const pwaQml
    = "import QtQuick 2.15\nimport BrowserInternal 1.0\nItem {\n"
      "    property string report: [typeof startUrl !== 'undefined' ? startUrl : '<unset>', "
      "pwa, PwaManager.pwaConfig.valid, "
      "PwaManager.isInScope('https://m.example.com/app/inbox', PwaManager.pwaConfig.scope), "
      "PwaManager.isInScope('https://example.org/app/', PwaManager.pwaConfig.scope)]"
      ".join('|')\n}\n";

// Child mode: just before the event loop would run, writes down what start-up produced.
int probe(int argc, char** argv)
{
    StartupConfig config;
    config.appDataDir = qEnvironmentVariable("PROBE_APP_DATA_DIR");
    const QString output = qEnvironmentVariable("PROBE_OUTPUT");
    config.beforeExec = [output](QQuickView* view) {
        QJsonObject report, properties, env, parameters;
        for (const char* name : { "STANDALONE", "startUrl", "inapptab", "pwa", "dbusService", "dbusIface",
                 "qmlLocation", "appVersion", "libcefOpensslChecksum" }) {
            const QVariant value = view->rootContext()->contextProperty(QString::fromLatin1(name));
            if (value.isValid())
                properties.insert(QString::fromLatin1(name), QJsonValue::fromVariant(value));
        }
        for (const char* name : { "ORVANE_APP_ID", "ORVANE_PACKAGE_NAME", "STREAMCAMERA_IGNORE_CODEC_ID" })
            env.insert(QString::fromLatin1(name), qEnvironmentVariable(name));
        const auto engineParameters = Orvane::WebView::WebEngineContext::parameters();
        for (auto it = engineParameters.cbegin(); it != engineParameters.cend(); ++it)
            parameters.insert(it.key(), it.value());
        QJsonArray switches;
        for (const std::string& sw : Orvane::WebView::WebEngineContext::switches())
            switches.append(QString::fromStdString(sw));
        report.insert(QStringLiteral("contextProperties"), properties);
        report.insert(QStringLiteral("environment"), env);
        report.insert(QStringLiteral("engineParameters"), parameters);
        report.insert(QStringLiteral("engineSwitches"), switches);
        report.insert(QStringLiteral("app"),
            QString(QCoreApplication::organizationName() + QLatin1Char('/')
                + QCoreApplication::applicationName()));
        report.insert(
            QStringLiteral("engineInitialized"), Orvane::WebView::WebEngineContext::isInitialized());
        report.insert(QStringLiteral("source"), view->source().toString());
        report.insert(QStringLiteral("qmlReport"),
            view->rootObject() ? view->rootObject()->property("report").toString() : QString());
        report.insert(QStringLiteral("captureDir"),
            view->rootContext()->contextProperty(QStringLiteral("captureDir")).toString());
        QSaveFile file(output);
        if (file.open(QIODevice::WriteOnly) && file.write(QJsonDocument(report).toJson()) > 0)
            file.commit();
        QTimer::singleShot(0, qApp, &QCoreApplication::quit);
    };
    return runWebdeck(argc, argv, config);
}
} // namespace

class TestStartup : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(QDir(m_appData.path()).mkpath(QStringLiteral("qml/pwa")));
        for (const char* name : { "qml/BrowserWindow.qml", "qml/pwa/PWAWindow.qml" }) {
            QFile file(m_appData.filePath(QString::fromLatin1(name)));
            QVERIFY(file.open(QIODevice::WriteOnly)
                && file.write(qstrcmp(name, "qml/pwa/PWAWindow.qml") == 0 ? pwaQml : windowQml) > 0);
        }
    }

    void modes_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QString>("startUrl"); // "<unset>": no context property
        QTest::newRow("no url") << QStringList() << QStringLiteral("<unset>");
        QTest::newRow("positional url") << QStringList { QStringLiteral("https://example.com/") }
                                        << QStringLiteral("https://example.com/");
    }

    void modes()
    {
        QFETCH(QStringList, args);
        QFETCH(QString, startUrl);
        QJsonObject report;
        QVERIFY(runProbe(args, false, &report));
        QVERIFY(report.take(QStringLiteral("captureDir")).toString().startsWith(m_profile.path()));
        // No engine crypto library here: the digest is published empty.
        QString expected = QStringLiteral(R"({"contextProperties": {"STANDALONE": true, "inapptab": false,
            "pwa": false, "dbusService": "ru.nuvo.webdeck", "dbusIface": "ru.nuvo.webdeck",
            "qmlLocation": "APPDATA/qml", "appVersion": "2.1.0.5", "libcefOpensslChecksum": ""START},
          "environment": {"ORVANE_APP_ID": "ru.nuvo.webdeck", "ORVANE_PACKAGE_NAME": "ru.nuvo.webdeck",
            "STREAMCAMERA_IGNORE_CODEC_ID": "gstreamer:encoder"},
          "engineParameters": {"resources-path": "SHARE/data/qt5/qml/ru/orvaneos/WebView",
            "private-libdir": "SHARE/lib", "browser-extensions-path": "SHARE/browser-extensions/",
            "disable-system-extensions": "yes", "cryptopro-checker-path": "LIBEXECcryptopro-checker"},
          "engineSwitches": ["--browser-subprocess-path=LIBEXECsubprocess-launcher"],
          "app": "ru.nuvo/webdeck", "engineInitialized": true, "source": "SOURCE",
          "qmlReport": "URL|example.com/a|false|true"})");
        expected
            .replace(QLatin1String("START"),
                startUrl == QLatin1String("<unset>") ? QString() : QStringLiteral(", \"startUrl\": \"URL\""))
            .replace(QLatin1String("URL"), startUrl)
            .replace(QLatin1String("APPDATA"), m_appData.path())
            .replace(QLatin1String("SHARE"), QLatin1String("/usr/share/ru.nuvo.webdeck"))
            .replace(QLatin1String("LIBEXEC"),
                QLatin1String("/usr/libexec/ru.nuvo.webdeck/bin/ru.orvaneos.webview-"))
            .replace(QLatin1String("SOURCE"),
                QUrl::fromLocalFile(m_appData.filePath(QStringLiteral("qml/BrowserWindow.qml"))).toString());
        QCOMPARE(report, QJsonDocument::fromJson(expected.toUtf8()).object());
    }

    void pwaMode_data()
    {
        QTest::addColumn<QByteArray>("config"); // pwaconfig.json of the app; empty: none
        QTest::addColumn<bool>("webdriver");
        QTest::addColumn<QString>("qmlReport");
        const QByteArray config = "{\"start_url\": \"https://example.com/app/index.html\", "
                                  "\"scope\": \"https://example.com/app/\", \"display\": \"standalone\"}";
        const QString configured = QStringLiteral("https://example.com/app/index.html|true|true|true|false");
        const QString unset = QStringLiteral("<unset>|true|false|false|false");
        QTest::newRow("configured") << config << false << configured;
        QTest::newRow("configured, webdriver") << config << true << configured;
        QTest::newRow("no configuration") << QByteArray() << false << unset;
        QTest::newRow("malformed configuration")
            << QByteArray("[\"https://example.com/\"]") << false << unset;
    }

    void pwaMode()
    {
        QFETCH(QByteArray, config);
        QFETCH(bool, webdriver);
        QFETCH(QString, qmlReport);
        // The shell's own data directory: organisation "webdeck", application "pwa".
        const QString appDir = qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/webdeck/pwa");
        QDir(appDir).removeRecursively();
        if (!config.isEmpty()) {
            QVERIFY(QDir().mkpath(appDir));
            QFile file(appDir + QStringLiteral("/pwaconfig.json"));
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(config) > 0);
        }
        QJsonObject report;
        QVERIFY(runProbe(
            { QStringLiteral("--pwa"), QStringLiteral("https://ignored.example/") }, webdriver, &report));
        QCOMPARE(report.value(QStringLiteral("app")).toString(), QStringLiteral("webdeck/pwa"));
        const QJsonObject env = report.value(QStringLiteral("environment")).toObject();
        QVERIFY(env.value(QStringLiteral("ORVANE_APP_ID")).toString().isEmpty());
        QCOMPARE(report.value(QStringLiteral("source")).toString(),
            QUrl::fromLocalFile(m_appData.filePath(QStringLiteral("qml/pwa/PWAWindow.qml"))).toString());
        QCOMPARE(report.value(QStringLiteral("qmlReport")).toString(), qmlReport);
    }

private:
    // Runs start-up in a child process and reads back its report.
    bool runProbe(const QStringList& args, bool webdriver, QJsonObject* report)
    {
        const QString output = m_appData.filePath(QStringLiteral("report.json"));
        QFile::remove(output);
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("PROBE_APP_DATA_DIR"), m_appData.path());
        env.insert(QStringLiteral("PROBE_OUTPUT"), output);
        env.insert(QStringLiteral("QT_QUICK_BACKEND"), QStringLiteral("software")); // no OpenGL here
        for (const char* name : { "ORVANE_APP_ID", "ORVANE_PACKAGE_NAME", "STREAMCAMERA_IGNORE_CODEC_ID" })
            env.remove(QString::fromLatin1(name));
        if (webdriver)
            env.insert(QStringLiteral("WEBDRIVER"), QStringLiteral("1"));
        else
            env.remove(QStringLiteral("WEBDRIVER"));
        QProcess process;
        process.setProcessEnvironment(env);
        process.start(
            QCoreApplication::applicationFilePath(), QStringList { QStringLiteral("--probe") } + args);
        if (!process.waitForFinished(60000) || process.exitCode() != 0) {
            qWarning() << process.exitCode() << process.readAllStandardError();
            return false;
        }
        QFile file(output);
        if (!file.open(QIODevice::ReadOnly))
            return false;
        *report = QJsonDocument::fromJson(file.readAll()).object();
        return true;
    }

    QTemporaryDir m_appData;
    TempProfile m_profile;
};

int main(int argc, char** argv)
{
    if (argc > 1 && qstrcmp(argv[1], "--probe") == 0) {
        argv[1] = argv[0];
        return probe(argc - 1, argv + 1);
    }
    QCoreApplication app(argc, argv);
    TestStartup test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_startup.moc"
