#include "startup.h"

#include "libchecksum.h"
#include "platformqmltypes.h"
#include "pwa/pwamanager.h"
#include "qmltypes.h"
#include "quitsignals.h"
#include "settings/settingsmanager.h"
#include "startoptions.h"
#include "testhooks.h"
#include "utils/logcategories.h"

#include <application.h>
#include <webenginecontext.h>

#include <QCoreApplication>
#include <QDeviceInfo>
#include <QGuiApplication>
#include <QLocale>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickView>
#include <QTranslator>
#include <QVersionNumber>

#include <memory>

namespace
{
const QString appId = QStringLiteral(WEBDECK_APP_ID);
const QString installDataDir = QStringLiteral("/usr/share/") + appId;
const QString appVersion = QStringLiteral("2.1.0.5");
const QString customQmlImportPath = installDataDir + QStringLiteral("/data/qt5/qml");
const QString resourcesInstallPath = installDataDir + QStringLiteral("/data/qt5/qml/ru/orvaneos/WebView");
const QString subprocessLauncherInstallPath = QStringLiteral("/usr/libexec/") + appId
    + QStringLiteral("/bin/ru.orvaneos.webview-subprocess-launcher");
const QString privateLibdir = installDataDir + QStringLiteral("/lib");
const QString browserExtensionsPath = installDataDir + QStringLiteral("/browser-extensions/");
const QString cryptoproCheckerInstallPath
    = QStringLiteral("/usr/libexec/") + appId + QStringLiteral("/bin/ru.orvaneos.webview-cryptopro-checker");
const QString translationsDir = installDataDir + QStringLiteral("/translations/");

bool osBelow52()
{
    const QVersionNumber os = QVersionNumber::fromString(QDeviceInfo().version(QDeviceInfo::Os));
    return QVersionNumber::compare(os, QVersionNumber(5, 2)) < 0;
}

QString engineCryptoChecksum()
{
    QString checksum = libraryChecksum(
        QStringLiteral("/opt/app/") + appId + QStringLiteral("/current/data/lib/libcef-openssl.so"));
    if (checksum.isEmpty())
        checksum = libraryChecksum(installDataDir + QStringLiteral("/lib/libcef-openssl.so"));
    return checksum;
}
} // namespace

int runWebdeck(int& argc, char** argv, const StartupConfig& config)
{
    qCInfo(lcApp) << "start" << __TIME__;
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts, true);

    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const StartOptions options = parseStartOptions(arguments, qEnvironmentVariableIsSet("WEBDRIVER"));
    QString startUrl = options.startUrl;

    if (!options.pwa) {
        qputenv("ORVANE_APP_ID", appId.toUtf8());
        qputenv("ORVANE_PACKAGE_NAME", appId.toUtf8());
    }

    registerQmlTypes();
    registerPlatformQmlTypes();

    std::unique_ptr<QGuiApplication> app(Orvane::Application::application(argc, argv));
    if (!options.pwa) {
        app->setOrganizationName(QStringLiteral("ru.nuvo"));
        app->setApplicationName(QStringLiteral("webdeck"));
    } else {
        app->setOrganizationName(QStringLiteral("webdeck"));
        app->setApplicationName(QStringLiteral("pwa"));
        // The shell opens what the installer configured; a missing or broken
        // configuration leaves an empty start URL, which the window handles.
        auto* pwaManager = qobject_cast<PwaManager*>(PwaManager::instance());
        if (!pwaManager) {
            qCCritical(lcApp) << "no pwa manager, cannot start pwa!";
            return -1;
        }
        startUrl = pwaManager->pwaConfig().startUrl;
    }

    // Installed even when loading fails: a missing catalogue only means the
    // ids (or the engineering English) show through.
    const QLocale locale = QLocale::system();
    std::unique_ptr<QTranslator> engTranslator(new QTranslator);
    engTranslator->load(appId + QStringLiteral("_eng_en"), translationsDir);
    app->installTranslator(engTranslator.get());
    std::unique_ptr<QTranslator> appTranslator(new QTranslator);
    appTranslator->load(locale, appId, QStringLiteral("-"), QStringLiteral("/usr/share/translations/"));
    app->installTranslator(appTranslator.get());
    std::unique_ptr<QTranslator> browserTranslator(new QTranslator);
    browserTranslator->load(locale, QStringLiteral("ru.nuvo.browser"), QStringLiteral("-"), translationsDir);
    app->installTranslator(browserTranslator.get());
    std::unique_ptr<QTranslator> webviewTranslator(new QTranslator);
    webviewTranslator->load(
        locale, QStringLiteral("ru.orvaneos.webview"), QStringLiteral("-"), translationsDir);
    app->installTranslator(webviewTranslator.get());

    // Settings are loaded before any UI exists.
    SettingsManager::instance();

    std::unique_ptr<QQuickView> view(Orvane::Application::createView());
    qCDebug(lcApp) << "customQmlImportPath:" << customQmlImportPath;
    view->engine()->addImportPath(customQmlImportPath);
    qCDebug(lcApp) << "resourcesInstallPath:" << resourcesInstallPath;
    qCDebug(lcApp) << "subprocessLauncherInstallPath:" << subprocessLauncherInstallPath;
    qCDebug(lcApp) << "privateLibdir:" << privateLibdir;
    qCDebug(lcApp) << "browserExtensionsPath:" << browserExtensionsPath;
    qCDebug(lcApp) << "cryptoproCheckerInstallPath:" << cryptoproCheckerInstallPath;

    QMap<QString, QString> parameters;
    parameters.insert(QStringLiteral("resources-path"), resourcesInstallPath);
    parameters.insert(QStringLiteral("private-libdir"), privateLibdir);
    parameters.insert(QStringLiteral("browser-extensions-path"), browserExtensionsPath);
    parameters.insert(QStringLiteral("disable-system-extensions"), QStringLiteral("yes"));
    parameters.insert(QStringLiteral("cryptopro-checker-path"), cryptoproCheckerInstallPath);
    const std::vector<std::string> switches { "--browser-subprocess-path="
        + subprocessLauncherInstallPath.toStdString() };

    qputenv("STREAMCAMERA_IGNORE_CODEC_ID", "gstreamer:encoder");
    Orvane::WebView::WebEngineContext::InitBrowser(argc, argv, switches, parameters, {});

    view->setTitle(qtTrId("browser-ti-standalone-ap-name"));
    const QString qmlLocation = config.appDataDir + QStringLiteral("/qml");
    QQmlContext* context = view->rootContext();
    context->setContextProperty(QStringLiteral("STANDALONE"), true);
    if (!startUrl.isEmpty())
        context->setContextProperty(QStringLiteral("startUrl"), startUrl);
    context->setContextProperty(QStringLiteral("inapptab"), false);
    context->setContextProperty(QStringLiteral("pwa"), options.pwa);
    context->setContextProperty(QStringLiteral("VERSION_5_1"), osBelow52());
    context->setContextProperty(QStringLiteral("dbusService"), appId);
    context->setContextProperty(QStringLiteral("dbusIface"), appId);
    context->setContextProperty(
        QStringLiteral("captureDir"), Orvane::Application::getPath(Orvane::Application::CapturePath));
    context->setContextProperty(QStringLiteral("qmlLocation"), qmlLocation);
    context->setContextProperty(QStringLiteral("appVersion"), appVersion);
    context->setContextProperty(QStringLiteral("libcefOpensslChecksum"), engineCryptoChecksum());

    const QString topLevel
        = options.pwa ? QStringLiteral("/qml/pwa/PWAWindow.qml") : QStringLiteral("/qml/BrowserWindow.qml");
    // However the quit comes (Qt.quit() from the page, the last window closed,
    // SIGTERM or SIGINT from the session), it goes through the event loop's
    // exit, so that aboutToQuit drains storage and the tabs stay for next time.
    QObject::connect(
        view->engine(), &QQmlEngine::quit, app.get(), &QCoreApplication::quit, Qt::QueuedConnection);
    QuitSignals quitSignals;
    QObject::connect(&quitSignals, &QuitSignals::quitRequested, app.get(), &QCoreApplication::quit);
    std::unique_ptr<TestHooks> testHooks;
    if (qEnvironmentVariableIsSet("WEBDECK_TEST_HOOKS"))
        testHooks.reset(new TestHooks(view.get(), qEnvironmentVariable("WEBDECK_TEST_HOOKS")));

    view->setSource(QUrl::fromLocalFile(config.appDataDir + topLevel));
    view->show();
    if (config.beforeExec)
        config.beforeExec(view.get());
    qCDebug(lcApp) << "exec";
    const int result = app->exec();

    testHooks.reset();
    view.reset();
    app.reset();
    return result;
}
