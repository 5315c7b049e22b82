#include "pwaservice.h"

#include "bridgefiles.h"
#include "pwahelper.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

using namespace ApmBridge;

namespace
{

const QString kEntryPrefix = QStringLiteral("ru.nuvo.webdeck.pwa.");
const QString kRecordFile = QStringLiteral("installed.json");

QString entryId(const QString& appId)
{
    return kEntryPrefix + appId;
}

QJsonObject readJsonObject(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QJsonObject();
    return QJsonDocument::fromJson(file.readAll()).object();
}

QByteArray readBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The browser names the app directory in the string argument, or else the icons
// it lists lie in it.
QString sourceDirectory(const QString& source, const QStringList& icons)
{
    if (QDir::isAbsolutePath(source) && QFileInfo(source).isDir())
        return QDir::cleanPath(source);
    for (const QString& icon : icons) {
        if (QDir::isAbsolutePath(icon))
            return QFileInfo(icon).absolutePath();
    }
    return QString();
}

bool isInstalled(const QString& appId)
{
    return Files::isSafeId(appId) && Files::desktopEntryExists(entryId(appId))
        && QFileInfo::exists(PwaService::appHome(appId) + QLatin1Char('/') + kRecordFile);
}

} // namespace

PwaService::PwaService(QObject* parent)
    : QDBusAbstractAdaptor(parent)
{
}

QString PwaService::appHome(const QString& appId)
{
    return Files::bridgeDataDir() + QLatin1String("/pwa/") + appId;
}

// The PWA shell runs as organisation "webdeck", application "pwa" and reads its
// configuration from its application data directory.
QString PwaService::appDataDir(const QString& appId)
{
    return appHome(appId) + QLatin1String("/webdeck/pwa");
}

BoolString PwaService::CheckInstalled(const QString& appId)
{
    if (!bridgeOf(this)->acceptCaller())
        return {};
    if (!isInstalled(appId))
        return { false, QString() };
    return { true, Files::applicationsDir() + QLatin1Char('/') + entryId(appId) + QLatin1String(".desktop") };
}

void PwaService::Install(const QString& scope, const QString& appId, const QString& name,
    const QStringList& permissions, const BoolString&, const BoolString&, const BoolString&,
    const QString& source, const QStringList& icons)
{
    if (!bridgeOf(this)->acceptCaller())
        return;
    qCInfo(lcApmBridge) << "install" << appId << name << scope << "permissions" << permissions;
    if (!Files::isSafeId(appId)) {
        bridgeOf(this)->replyError(QDBusError::InvalidArgs, QStringLiteral("unusable app id: ") + appId);
        return;
    }
    deploy(appId, { scope, name, sourceDirectory(source, icons), icons });
}

void PwaService::Upgrade(const QString& scope, const QString& name, const QStringList& permissions,
    const BoolString&, const BoolString&, const BoolString&, const QString& source, const QStringList& icons)
{
    if (!bridgeOf(this)->acceptCaller())
        return;
    qCInfo(lcApmBridge) << "upgrade" << name << scope << "permissions" << permissions;
    const Request request { scope, name, sourceDirectory(source, icons), icons };
    const QString startUrl = readJsonObject(request.directory + QLatin1String("/pwaconfig.json"))
                                 .value(QLatin1String("start_url"))
                                 .toString();
    const QString appId = installedIdFor(request, startUrl);
    if (appId.isEmpty()) {
        bridgeOf(this)->replyError(
            QDBusError::Failed, QStringLiteral("no installed app matches ") + request.directory);
        return;
    }
    deploy(appId, request);
}

// An upgrade carries no app id. The browser derives the id from the start URL
// it writes into "pwaconfig.json", so that URL, in the forms a URL prints in,
// names the app; an app directory named after its id names it too. Nothing
// looser (scope, directory) is taken: two apps may share either, and an
// upgrade must never overwrite another app.
QString PwaService::installedIdFor(const Request& request, const QString& startUrl) const
{
    const QUrl url(startUrl);
    QStringList candidates;
    for (const QString& text : { startUrl, url.toString(), url.toString(QUrl::FullyEncoded) }) {
        if (!text.isEmpty())
            candidates.append(Orvane::PWA::generateAppId(text));
    }
    candidates.append(QFileInfo(request.directory).fileName());
    for (const QString& appId : qAsConst(candidates)) {
        if (isInstalled(appId))
            return appId;
    }
    return QString();
}

void PwaService::deploy(const QString& appId, const Request& request)
{
    const QString config = request.directory + QLatin1String("/pwaconfig.json");
    const QString startUrl = readJsonObject(config).value(QLatin1String("start_url")).toString();
    if (request.directory.isEmpty() || startUrl.isEmpty()) {
        bridgeOf(this)->replyError(
            QDBusError::InvalidArgs, QStringLiteral("no usable pwaconfig.json in ") + request.directory);
        return;
    }

    // Every readable icon is kept for the app; the largest one feeds the theme sizes.
    QList<QImage> images;
    QImage best;
    for (const QString& icon : request.icons) {
        const QImage image = QImageReader(QDir(request.directory).absoluteFilePath(icon)).read();
        if (image.isNull())
            continue;
        images.append(image);
        if (qMax(image.width(), image.height()) > qMax(best.width(), best.height()))
            best = image;
    }
    if (best.isNull()) {
        bridgeOf(this)->replyError(QDBusError::InvalidArgs,
            QStringLiteral("no readable icon in ") + request.icons.join(QLatin1Char(' ')));
        return;
    }

    const QString dataDir = appDataDir(appId);
    bool ok = Files::writeFile(dataDir, QStringLiteral("pwaconfig.json"), readBytes(config));
    const QByteArray manifest = readBytes(request.directory + QLatin1String("/manifest.json"));
    if (!manifest.isEmpty())
        ok = ok && Files::writeFile(dataDir, QStringLiteral("manifest.json"), manifest);
    QStringList iconFiles;
    for (const QImage& image : qAsConst(images)) {
        const QString file = QStringLiteral("%1x%2.png").arg(image.width()).arg(image.height());
        iconFiles.append(file);
        ok = ok && Files::writeFile(dataDir, file, Files::pngData(image));
    }
    // Icons of an earlier version that the new set lacks would linger in the app.
    for (const QString& stale : QDir(dataDir).entryList({ QStringLiteral("*.png") }, QDir::Files)) {
        if (!iconFiles.contains(stale))
            Files::removeFile(dataDir, stale);
    }

    const QString host = QUrl(startUrl).host();
    const QString name = Files::displayName(request.name, host.isEmpty() ? appId : host);
    const QJsonObject record { { QStringLiteral("id"), appId }, { QStringLiteral("name"), name },
        { QStringLiteral("scope"), request.scope }, { QStringLiteral("start_url"), startUrl },
        { QStringLiteral("source"), request.directory } };
    ok = ok && Files::installIcons(entryId(appId), best);
    const QString exec = Files::execArgument(QStringLiteral("env")) + QLatin1Char(' ')
        + Files::execArgument(QLatin1String("XDG_DATA_HOME=") + appHome(appId)) + QLatin1Char(' ')
        + Files::execArgument(Files::browserPath()) + QLatin1String(" --pwa");
    ok = ok
        && Files::writeDesktopEntry(entryId(appId),
            { { QStringLiteral("Type"), QStringLiteral("Application") },
                { QStringLiteral("Version"), QStringLiteral("1.0") }, { QStringLiteral("Name"), name },
                { QStringLiteral("Comment"), Files::displayName(startUrl, QString()) },
                { QStringLiteral("Exec"), exec }, { QStringLiteral("TryExec"), Files::browserPath() },
                { QStringLiteral("Icon"), entryId(appId) },
                { QStringLiteral("Terminal"), QStringLiteral("false") },
                { QStringLiteral("Categories"), QStringLiteral("Network;") },
                { QStringLiteral("X-Webdeck-AppId"), appId } });
    // The record goes last: an app counts as installed only once all of it is there.
    ok = ok && Files::writeFile(appHome(appId), kRecordFile, QJsonDocument(record).toJson());
    if (!ok) {
        bridgeOf(this)->replyError(
            QDBusError::Failed, QStringLiteral("cannot write the files of app ") + appId);
        return;
    }
    Files::refreshMenus();
    qCInfo(lcApmBridge) << "installed app" << appId << name << "from" << request.directory;
}
