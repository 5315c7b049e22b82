#include "pwainstalljob.h"

#include "pwamanifest.h"
#include "utils/logcategories.h"

#include <application.h>
#include <webview.h>

#include <QBuffer>
#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QSaveFile>

namespace
{
const QStringList permissions = {
    QStringLiteral("Internet"),
    QStringLiteral("UserDirs"),
    QStringLiteral("RemovableMedia"),
    QStringLiteral("DeviceInfo"),
    QStringLiteral("Location"),
    QStringLiteral("Downloads"),
    QStringLiteral("MediaIndexing"),
    QStringLiteral("Audio"),
    QStringLiteral("Camera"),
    QStringLiteral("Printing"),
    QStringLiteral("ScreenCapture"),
    QStringLiteral("ru.cryptopro.gui@ru.cryptopro.csp"),
    QStringLiteral("ru.cryptopro.nmcades@ru.cryptopro.csp"),
};
} // namespace

PwaInstallJob::PwaInstallJob(
    Orvane::WebView::WebView* webView, const QString& baseUrl, const QString& manifestUrl, QObject* parent)
    : QObject(parent)
    , m_webView(webView)
    , m_hadWebView(webView != nullptr)
    , m_baseUrlText(baseUrl)
    , m_manifestUrlText(manifestUrl)
{
    qRegisterMetaType<PwaManager::PwaDeployResult>("PwaManager::PwaDeployResult");
    qDBusRegisterMetaType<QPairBS>();
}

void PwaInstallJob::start()
{
    if (!m_hadWebView) {
        qCWarning(lcPwa) << "webView is null, cannot install, returning";
        emitError(PwaManager::FAILURE);
        return;
    }
    m_baseUrl = QUrl(m_baseUrlText);
    m_manifestUrl = QUrl(m_manifestUrlText);
    if (!m_baseUrl.isValid() || m_baseUrl.isRelative() || !m_manifestUrl.isValid() || m_baseUrlText.isEmpty()
        || m_manifestUrlText.isEmpty()) {
        qCWarning(lcPwa) << "either manifest or base url is invalid!";
        emitError(PwaManager::FAILURE);
        return;
    }
    if (m_manifestUrl.isRelative())
        m_manifestUrl = m_baseUrl.resolved(m_manifestUrl);
    connect(m_webView.data(), &Orvane::WebView::WebView::stringResourceDownloadFinished, this,
        &PwaInstallJob::handleManifestDownloaded);
    connect(m_webView.data(), &Orvane::WebView::WebView::imageDownloadFinished, this,
        &PwaInstallJob::handleIconDownloaded);
    // A closed tab takes its pending downloads with it; the job must still end.
    connect(m_webView.data(), &QObject::destroyed, this, [this] { emitError(PwaManager::FAILURE); });
    continueInstallation();
}

void PwaInstallJob::emitError(PwaManager::PwaDeployResult result)
{
    qCWarning(lcPwa) << "PWA job failed:" << result;
    finish(result);
}

void PwaInstallJob::finish(PwaManager::PwaDeployResult result)
{
    if (m_finished)
        return;
    m_finished = true;
    if (m_webView)
        m_webView->disconnect(this);
    emit finished(m_webView.data(), m_manifestUrlText, result);
}

void PwaInstallJob::continueInstallation()
{
    if (m_finished)
        return;
    qCDebug(lcPwa) << "Current status:" << m_stage;
    switch (m_stage) {
    case 0:
        m_stage = 1;
        downloadManifest(m_manifestUrl);
        break;
    case 1:
        m_stage = 2;
        if (parseManifest())
            continueInstallation();
        break;
    case 2:
        m_stage = 3;
        downloadIcons(m_manifest);
        break;
    case 3:
        m_stage = 4;
        prepareOsPwaResources();
        break;
    case 4:
        sendApmPwaRequest();
        break;
    case 5:
        qCInfo(lcPwa) << "All PWA data downloaded";
        break;
    }
}

void PwaInstallJob::downloadManifest(const QUrl& url)
{
    if (!m_webView) {
        emitError(PwaManager::FAILURE);
        return;
    }
    m_webView->downloadStringResource(url.toString());
}

void PwaInstallJob::handleManifestDownloaded(bool success, QString resourceUrl, QString resourceContent)
{
    // The view serves others too; only the manifest this job asked for counts.
    if (m_stage != 1 || resourceUrl != m_manifestUrl.toString())
        return;
    qCDebug(lcPwa) << success << resourceUrl << resourceContent.left(256);
    if (!success) {
        emitError(PwaManager::FAILURE_CANNOT_DOWNLOAD_MANIFEST);
        return;
    }
    m_manifestText = resourceContent;
    continueInstallation();
}

bool PwaInstallJob::parseManifest()
{
    m_manifest = QJsonDocument::fromJson(PwaManifest::stripComments(m_manifestText).toUtf8());
    if (!Orvane::PWA::verifyManifestValidity(m_baseUrl, m_manifest)) {
        emitError(PwaManager::FAILURE_BAD_MANIFEST);
        return false;
    }
    const QJsonObject object = m_manifest.object();
    m_info.name = PwaManifest::displayName(object, m_baseUrl.host());
    m_info.baseUrl = m_baseUrl;
    m_info.manifestUrl = m_manifestUrl;
    m_info.manifest = m_manifest;
    m_info.startUrl = PwaManifest::startUrl(
        object.value(QLatin1String("start_url")).toString(), m_baseUrl, m_manifestUrl);
    m_info.id = Orvane::PWA::generateAppId(m_info.startUrl.toString());
    m_info.name = PwaManifest::displayName(object, m_info.startUrl.host());
    m_info.orientation = Orvane::PWA::extractOrvaneAppOrientation(m_manifest);
    m_info.scopeUrl = Orvane::PWA::extractScopeUrl(m_info);
    m_display = PwaManifest::displayMode(object);
    emit sendAppName(m_info.name);
    return true;
}

void PwaInstallJob::downloadIcons(const Orvane::PWA::PWAManifest& manifest)
{
    qCDebug(lcPwa) << "Parsing icons from manifest";
    const QJsonArray icons = manifest.object().value(QLatin1String("icons")).toArray();
    for (const QJsonValue& value : icons) {
        if (!value.isObject())
            continue;
        const QString src = value.toObject().value(QLatin1String("src")).toString();
        if (src.isEmpty()) {
            qCDebug(lcPwa) << "Icon entry missing or empty 'src'";
            continue;
        }
        if (m_iconsToDownload.size() >= maxIcons)
            break;
        IconSource source;
        source.primary = m_manifestUrl.resolved(QUrl(src));
        const QUrl fallback = m_baseUrl.resolved(QUrl(src));
        if (fallback != source.primary)
            source.fallback = fallback;
        m_iconsToDownload << source;
    }
    if (m_iconsToDownload.isEmpty()) {
        const QUrl favicon = m_baseUrl.resolved(QUrl(QStringLiteral("/favicon.ico")));
        qCWarning(lcPwa) << "No valid icons in manifest. Falling back to:" << favicon;
        m_iconsToDownload << IconSource { favicon, QUrl() };
        m_faviconTried = true;
    }
    QStringList urls;
    for (const IconSource& source : qAsConst(m_iconsToDownload))
        urls << source.primary.toString();
    qCDebug(lcPwa) << "iconsToDownload:" << urls;
    downloadNextIcon();
}

void PwaInstallJob::downloadNextIcon()
{
    if (m_finished)
        return;
    if (m_iconsToDownload.isEmpty()) {
        if (m_icons.isEmpty() && !m_faviconTried) {
            m_faviconTried = true;
            const QUrl favicon = m_baseUrl.resolved(QUrl(QStringLiteral("/favicon.ico")));
            qCWarning(lcPwa) << "All icon downloads failed. Attempting to download fallback favicon:"
                             << favicon;
            m_pendingFallback = QUrl();
            downloadIcon(favicon);
            return;
        }
        continueInstallation();
        return;
    }
    const IconSource source = m_iconsToDownload.takeFirst();
    m_pendingFallback = source.fallback;
    downloadIcon(source.primary);
}

void PwaInstallJob::downloadIcon(const QUrl& url)
{
    if (!m_webView) {
        emitError(PwaManager::FAILURE);
        return;
    }
    qCDebug(lcPwa) << "Downloading icon:" << url;
    m_pendingIcon = url;
    m_webView->downloadImage(url.toString());
}

void PwaInstallJob::handleIconDownloaded(Orvane::WebView::Favicon image)
{
    if (m_pendingIcon.isEmpty() || m_stage != 3) {
        qCWarning(lcPwa) << "No pending icon URL to associate with received favicon";
        return;
    }
    // An answer for a download this job did not ask for (another user of the view).
    if (image.url().isValid() && image.url() != m_pendingIcon)
        return;
    const QUrl url = m_pendingIcon;
    m_pendingIcon = QUrl();
    if (image.isValid()) {
        qCDebug(lcPwa) << "Successfully downloaded icon from:" << url;
        m_icons << image.image();
    } else if (m_pendingFallback.isValid()) {
        const QUrl fallback = m_pendingFallback;
        m_pendingFallback = QUrl();
        qCDebug(lcPwa) << "Primary icon failed, retrying fallback URL:" << fallback;
        downloadIcon(fallback);
        return;
    } else {
        qCDebug(lcPwa) << "Icon download failed and no fallback for URL:" << url;
    }
    downloadNextIcon();
}

void PwaInstallJob::prepareOsPwaResources()
{
    if (m_icons.isEmpty()) {
        qCWarning(lcPwa) << "no icons! aborting installation";
        emitError(PwaManager::FAILURE_CANNOT_DOWNLOAD_ICONS);
        return;
    }
    m_launcherIcons = Orvane::PWA::convertIcons(m_icons);
    m_icons.clear(); // the originals may be large; only the launcher sizes are kept
    if (m_launcherIcons.isEmpty()) {
        qCWarning(lcPwa) << "no icons! aborting installation";
        emitError(PwaManager::FAILURE_CANNOT_DOWNLOAD_ICONS);
        return;
    }
    continueInstallation();
}

QString PwaInstallJob::getPwaDirPath(bool create) const
{
    // The id is 32 letters a..p, so the directory cannot leave the PWAs folder
    // whatever the manifest says.
    const QString dir = Orvane::Application::getPath(Orvane::Application::AppDataPath)
        + QStringLiteral("/PWAs/") + m_info.id + QStringLiteral("/PWA");
    if (create) {
        qCDebug(lcPwa) << "pwaDir:" << dir;
        QDir().mkpath(dir);
    }
    return dir;
}

QList<PwaInstallJob::IconFile> PwaInstallJob::iconFiles(const QString& dir) const
{
    QList<IconFile> files;
    for (const QImage& image : m_launcherIcons) {
        QByteArray png;
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, "PNG");
        files << IconFile { QStringLiteral("%1/%2x%3.png").arg(dir).arg(image.width()).arg(image.height()),
            png };
    }
    return files;
}

bool PwaInstallJob::writeFile(const QString& path, const QByteArray& data) const
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit()) {
        qCWarning(lcPwa) << "cannot write" << path << file.errorString();
        return false;
    }
    return true;
}

QStringList PwaInstallJob::writeIcons(const QString& dir, const QList<IconFile>& icons) const
{
    Q_UNUSED(dir)
    QStringList written;
    for (const IconFile& icon : icons) {
        if (!writeFile(icon.path, icon.png))
            return QStringList();
        qCDebug(lcPwa) << "wrote icon:" << icon.path;
        written << icon.path;
    }
    return written;
}

QByteArray PwaInstallJob::manifestJson() const
{
    return m_manifest.toJson();
}

QByteArray PwaInstallJob::pwaConfigJson() const
{
    QJsonObject config;
    config.insert(QStringLiteral("start_url"), m_info.startUrl.toString());
    config.insert(QStringLiteral("scope"), m_info.scopeUrl.toString());
    config.insert(QStringLiteral("display"), m_display);
    return QJsonDocument(config).toJson();
}

void PwaInstallJob::sendApmPwaRequest()
{
    const QString dir = getPwaDirPath(true);
    const QStringList icons = writeIcons(dir, iconFiles(dir));
    if (icons.isEmpty() || !writeFile(dir + QStringLiteral("/manifest.json"), manifestJson())
        || !writeFile(dir + QStringLiteral("/pwaconfig.json"), pwaConfigJson())) {
        emitError(PwaManager::FAILURE_CANNOT_INSTALL);
        return;
    }
    startDeploy(dir, icons, true);
}

void PwaInstallJob::startDeploy(const QString& dir, const QStringList& icons, bool install)
{
    QDBusInterface apm(QStringLiteral("ru.nuvo.APM"), QStringLiteral("/ru/nuvo/APM"),
        QStringLiteral("ru.nuvo.APM.PWA"), QDBusConnection::systemBus());
    if (!apm.isValid()) {
        qCWarning(lcPwa) << "can not work with ru.nuvo.APM service";
        emitError(install ? PwaManager::FAILURE_CANNOT_INSTALL : PwaManager::FAILURE_CANNOT_UPDATED);
        return;
    }
    qCInfo(lcPwa) << "scope url to dbus apm:" << m_info.scopeUrl;

    QVariantList arguments;
    arguments << m_info.scopeUrl.toString();
    if (install)
        arguments << m_info.id;
    arguments << m_info.name << permissions;
    // What the launcher needs beyond the name: whether the app pins an
    // orientation (and which), whether it runs fullscreen (and its display
    // mode), and where it starts.
    arguments << QVariant::fromValue(QPairBS(m_info.orientation != QLatin1String("All"), m_info.orientation))
              << QVariant::fromValue(QPairBS(m_display == QLatin1String("fullscreen"), m_display))
              << QVariant::fromValue(QPairBS(m_info.startUrl.isValid(), m_info.startUrl.toString()));
    arguments << dir << icons;

    const QString method = install ? QStringLiteral("Install") : QStringLiteral("Upgrade");
    auto* watcher = new QDBusPendingCallWatcher(apm.asyncCallWithArgumentList(method, arguments), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, &PwaInstallJob::handleInstallDBusReply);
}

void PwaInstallJob::handleInstallDBusReply(QDBusPendingCallWatcher* call)
{
    call->deleteLater();
    if (call->isError()) {
        qCWarning(lcPwa) << "An error occured during DBus call:" << call->error().name()
                         << call->error().message();
        emitError(PwaManager::FAILURE_CANNOT_INSTALL);
        return;
    }
    m_stage = 5;
    continueInstallation();
    finish(PwaManager::SUCCESS);
}
