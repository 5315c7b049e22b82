#include "filepathutils.h"

#include "logcategories.h"
#include "urlfilter.h"
#include "urlparts.h"

#include <QFileInfo>
#include <QLocale>
#include <QQmlEngine>
#include <QUrl>

FilePathUtils::FilePathUtils(QObject* parent)
    : QObject(parent)
{
}

FilePathUtils* FilePathUtils::instance()
{
    static FilePathUtils* utils = new FilePathUtils;
    return utils;
}

QObject* FilePathUtils::qmlInstance(QQmlEngine* engine, QJSEngine* scriptEngine)
{
    Q_UNUSED(engine)
    Q_UNUSED(scriptEngine)
    FilePathUtils* utils = instance();
    QQmlEngine::setObjectOwnership(utils, QQmlEngine::CppOwnership);
    return utils;
}

bool FilePathUtils::fileExists(const QString& path) const
{
    if (path.isEmpty())
        return false;
    const QString local = path.startsWith(QLatin1String("file:")) ? QUrl(path).toLocalFile() : path;
    return !local.isEmpty() && QFileInfo::exists(local);
}

QString FilePathUtils::getBaseUrl(const QString& url) const
{
    return UrlParts::baseUrl(url);
}

QString FilePathUtils::getDomain(const QString& url) const
{
    return UrlParts::domain(url);
}

QString FilePathUtils::getCommonUrl(const QString& url) const
{
    static const QLatin1String prefixes[] = { QLatin1String("http://www."), QLatin1String("https://www."),
        QLatin1String("http://"), QLatin1String("https://"), QLatin1String("file:///") };
    for (const QLatin1String& prefix : prefixes) {
        if (url.startsWith(prefix))
            return url.mid(prefix.size());
    }
    return url;
}

QString FilePathUtils::getHost(const QString& url) const
{
    return UrlParts::host(url);
}

QString FilePathUtils::getReadableSize(qint64 bytes) const
{
    if (bytes < 0)
        bytes = 0;
    const QLocale locale;
    if (bytes < 1024)
        //% "%1 B"
        return qtTrId("browser-la-size-bytes").arg(bytes);
    const char* const ids[] = { QT_TRID_NOOP("browser-la-size-kb"), QT_TRID_NOOP("browser-la-size-mb"),
        QT_TRID_NOOP("browser-la-size-gb"), QT_TRID_NOOP("browser-la-size-tb") };
    double value = bytes / 1024.0;
    int unit = 0;
    while (value >= 1024.0 && unit < 3) {
        value /= 1024.0;
        ++unit;
    }
    return qtTrId(ids[unit]).arg(locale.toString(value, 'f', 1));
}

QString FilePathUtils::getFileName(const QString& path) const
{
    const QString local = path.contains(QLatin1String("://")) ? QUrl(path).path() : path;
    return QFileInfo(local).fileName();
}

bool FilePathUtils::isUrlBlocked(
    const QString& url, const QStringList& blocklist, const QStringList& allowlist) const
{
    return ::isUrlBlocked(url, blocklist, allowlist);
}
