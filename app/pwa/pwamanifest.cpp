#include "pwamanifest.h"

#include "utils/logcategories.h"

namespace PwaManifest
{

QString stripComments(const QString& text)
{
    QString result = text.trimmed();
    if (result.startsWith(QLatin1String("//"))) {
        qCWarning(lcPwa) << "Manifest starts with comment, attempting to strip before parsing";
        const int brace = result.indexOf(QLatin1Char('{'));
        if (brace >= 0)
            result = result.mid(brace);
    }
    return result;
}

QString displayName(const QJsonObject& manifest, const QString& fallback)
{
    const QString name = manifest.value(QLatin1String("name")).toString();
    if (!name.isEmpty())
        return name;
    qCWarning(lcPwa) << "Manifest missing 'name', using domain fallback:" << fallback;
    return fallback;
}

QUrl directoryOf(const QUrl& url)
{
    return url.adjusted(QUrl::RemoveQuery | QUrl::RemoveFragment | QUrl::RemoveFilename);
}

QUrl startUrl(const QString& startUrlText, const QUrl& baseUrl, const QUrl& manifestUrl)
{
    const QUrl baseDirectory = directoryOf(baseUrl);
    QUrl parsed = startUrlText.isEmpty() ? QUrl() : QUrl(startUrlText, QUrl::TolerantMode);
    if (parsed.isRelative() && !parsed.isEmpty())
        parsed = manifestUrl.resolved(parsed);
    if (startUrlText.isEmpty() || startUrlText.trimmed() == QLatin1String("/"))
        return baseDirectory;
    if (parsed.isValid() && !parsed.isEmpty() && parsed.scheme() == baseUrl.scheme()
        && parsed.host() == baseUrl.host() && parsed.port() == baseUrl.port())
        return parsed;
    return baseDirectory;
}

QString displayMode(const QJsonObject& manifest)
{
    QString mode = manifest.value(QLatin1String("display")).toString().trimmed().toLower();
    if (mode.isEmpty()) {
        qCInfo(lcPwa) << "Manifest missing 'display', using default 'standalone'";
        mode = QStringLiteral("standalone");
    }
    return mode;
}

bool isAppDisplayMode(const QString& mode)
{
    return mode == QLatin1String("fullscreen") || mode == QLatin1String("standalone")
        || mode == QLatin1String("minimal-ui");
}

} // namespace PwaManifest
