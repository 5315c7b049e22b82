#include "pwamanager.h"

#include "pwainstalljob.h"
#include "pwamanifest.h"
#include "pwaupdatejob.h"
#include "utils/logcategories.h"

#include <application.h>
#include <pwahelper.h>
#include <webview.h>

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQmlEngine>

namespace
{
PwaManager* s_instance = nullptr;
} // namespace

PwaManager::PwaManager(QObject* parent)
    : QObject(parent)
{
    qRegisterMetaType<QPairBS>("QPairBS");
    qDBusRegisterMetaType<QPairBS>();
    qRegisterMetaType<PwaConfig>();
    qRegisterMetaType<Orvane::WebView::WebView*>();
    qRegisterMetaType<PwaManager::PwaDeployResult>("PwaManager::PwaDeployResult");
    qCDebug(lcPwa) << "PwaManager created";
}

PwaManager* PwaManager::instance()
{
    if (!s_instance)
        s_instance = new PwaManager;
    return s_instance;
}

QObject* PwaManager::qmlInstance(QQmlEngine* engine, QJSEngine* scriptEngine)
{
    Q_UNUSED(engine)
    Q_UNUSED(scriptEngine)
    PwaManager* manager = instance();
    QQmlEngine::setObjectOwnership(manager, QQmlEngine::CppOwnership);
    return manager;
}

void PwaManager::checkAlreadyInstalled(
    Orvane::WebView::WebView* webView, const QString& baseUrl, const QString& manifestUrl)
{
    if (!webView || !webView->isReady())
        return;
    // Other downloads of the same view answer through the same signal; only
    // the manifest asked for here ends this check.
    auto connection = std::make_shared<QMetaObject::Connection>();
    *connection = connect(webView, &Orvane::WebView::WebView::stringResourceDownloadFinished, this,
        [this, webView, baseUrl, manifestUrl, connection](
            bool success, const QString& resourceUrl, const QString& content) {
            if (resourceUrl != manifestUrl)
                return;
            disconnect(*connection);
            if (success)
                checkManifest(webView, baseUrl, manifestUrl, content);
        });
    webView->downloadStringResource(manifestUrl);
}

void PwaManager::checkManifest(Orvane::WebView::WebView* webView, const QString& baseUrl,
    const QString& manifestUrl, const QString& content)
{
    const QJsonObject manifest
        = QJsonDocument::fromJson(PwaManifest::stripComments(content).toUtf8()).object();
    emit sendAppName(PwaManifest::displayName(manifest, baseUrl));

    const QUrl start = PwaManifest::startUrl(
        manifest.value(QLatin1String("start_url")).toString(), QUrl(baseUrl), QUrl(manifestUrl));
    const QString appId = Orvane::PWA::generateAppId(start.toString());
    if (!PwaManifest::isAppDisplayMode(PwaManifest::displayMode(manifest))) {
        qCInfo(lcPwa) << "shouldn't work as PWA";
        return;
    }

    qCInfo(lcPwa) << "Checking if PWA is already installed:" << appId;
    QDBusInterface apm(QStringLiteral("ru.nuvo.APM"), QStringLiteral("/ru/nuvo/APM"),
        QStringLiteral("ru.nuvo.APM.PWA"), QDBusConnection::systemBus());
    if (!apm.isValid()) {
        qCInfo(lcPwa) << "D-Bus interface ru.nuvo.APM is not valid";
        return;
    }
    auto* watcher = new QDBusPendingCallWatcher(apm.asyncCall(QStringLiteral("CheckInstalled"), appId), this);
    QPointer<Orvane::WebView::WebView> view(webView);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, view, appId] {
        watcher->deleteLater();
        QDBusPendingReply<QPairBS> reply = *watcher;
        if (reply.isError()) {
            qCWarning(lcPwa) << "CheckInstalled failed:" << reply.error().message();
            return;
        }
        const bool installed = reply.value().first;
        qCInfo(lcPwa) << "PWA" << appId << (installed ? "already installed!" : "is not installed!");
        emit checkAlreadyInstalledFinished(view.data(), installed);
    });
}

void PwaManager::runJob(std::shared_ptr<PwaInstallJob> job)
{
    m_job = std::move(job);
    connect(m_job.get(), &PwaInstallJob::finished, this, &PwaManager::handleJobFinished);
    connect(m_job.get(), &PwaInstallJob::sendAppName, this, &PwaManager::handleSendAppName);
    m_job->start();
}

void PwaManager::install(
    Orvane::WebView::WebView* webView, const QString& baseUrl, const QString& manifestUrl)
{
    qCDebug(lcPwa) << "install" << baseUrl << manifestUrl;
    if (!webView) {
        qCWarning(lcPwa) << "webView is null, cannot install, returning";
        return;
    }
    if (m_job) {
        qCWarning(lcPwa) << "another PWA is installing";
        return;
    }
    runJob(std::make_shared<PwaInstallJob>(webView, baseUrl, manifestUrl));
}

void PwaManager::update(Orvane::WebView::WebView* webView, const QString& baseUrl, const QString& manifestUrl)
{
    qCDebug(lcPwa) << "update" << baseUrl << manifestUrl;
    if (!webView) {
        qCWarning(lcPwa) << "webView is null, cannot update, returning";
        return;
    }
    if (m_job) {
        qCWarning(lcPwa) << "another PWA is updating";
        return;
    }
    runJob(std::make_shared<PwaUpdateJob>(webView, baseUrl, manifestUrl));
}

void PwaManager::handleJobFinished(
    Orvane::WebView::WebView* webView, QString manifestUrl, PwaManager::PwaDeployResult result)
{
    qCInfo(lcPwa) << "job finished" << manifestUrl << int(result);
    // The job is still on the stack that emitted; let it unwind first.
    if (m_job) {
        std::shared_ptr<PwaInstallJob> finished = std::move(m_job);
        finished->disconnect(this);
        QMetaObject::invokeMethod(
            this, [finished] {}, Qt::QueuedConnection);
    }
    emit installationFinished(webView, manifestUrl, result);
}

void PwaManager::handleSendAppName(QString appName)
{
    emit sendAppName(appName);
}

bool PwaManager::isInScope(const QString& url, const QString& scopeUrl) const
{
    qCDebug(lcPwa) << "Checking scope:" << url << scopeUrl;
    const QUrl target = PwaManifest::directoryOf(QUrl(url, QUrl::TolerantMode));
    const QUrl scope = PwaManifest::directoryOf(QUrl(scopeUrl, QUrl::TolerantMode));
    // isParentOf: same scheme and authority, and the path continues the scope's below a slash.
    if (scope.isParentOf(target) || scope == target)
        return true;
    if (!scope.host().isEmpty() && target.host().endsWith(QLatin1Char('.') + scope.host()))
        return target.scheme() == scope.scheme() && target.path().startsWith(scope.path());
    return false;
}

PwaConfig PwaManager::loadPwaConfig() const
{
    const QString fileName = QStringLiteral("%1/pwaconfig.json")
                                 .arg(Orvane::Application::getPath(Orvane::Application::AppDataPath));
    qCDebug(lcPwa) << "loading" << fileName;
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        qCCritical(lcPwa) << "cannot open pwaconfig!";
        return PwaConfig();
    }
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll());
    if (!document.isObject()) {
        qCCritical(lcPwa) << "pwaconfig has invalid format!";
        return PwaConfig();
    }
    const QJsonObject object = document.object();
    PwaConfig config;
    config.startUrl = object.value(QLatin1String("start_url")).toString();
    config.scope = object.value(QLatin1String("scope")).toString();
    config.display = object.value(QLatin1String("display")).toString();
    config.valid = true;
    return config;
}

const PwaConfig& PwaManager::pwaConfig() const
{
    if (!m_config.valid) {
        qCDebug(lcPwa) << "pwaConfig empty, loading config from storage";
        m_config = loadPwaConfig();
    }
    return m_config;
}
