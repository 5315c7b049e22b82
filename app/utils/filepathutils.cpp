#include "filepathutils.h"

#include "logcategories.h"
#include "urlfilter.h"

#include <QFileInfo>
#include <QHostAddress>
#include <QLocale>
#include <QQmlEngine>
#include <QUrl>
#include <libpsl.h>

namespace
{
// Users paste URLs with and without a scheme; a bare "example.com/page" must
// still yield a host.
QUrl toUrl(const QString& text)
{
    const QString trimmed = text.trimmed();
    QUrl url(trimmed, QUrl::TolerantMode);
    if (url.host().isEmpty() && !trimmed.contains(QLatin1String("://"))
        && !trimmed.startsWith(QLatin1String("file:")))
        url = QUrl::fromUserInput(trimmed);
    return url;
}
} // namespace

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
    return QUrl(url, QUrl::TolerantMode)
        .adjusted(QUrl::RemovePath | QUrl::RemoveQuery | QUrl::RemoveFragment | QUrl::StripTrailingSlash)
        .toString();
}

QString FilePathUtils::getDomain(const QString& url) const
{
    const QUrl parsed = toUrl(url);
    const QString host = parsed.host(QUrl::FullyDecoded).toLower();
    if (host.isEmpty())
        return QString();
    if (!QHostAddress(host).isNull())
        return host;
    // The list is matched on the ASCII form; the answer goes back in Unicode,
    // the form in which hosts are stored.
    const QByteArray ace = QUrl::toAce(host);
    if (ace.isEmpty())
        return host;
    const psl_ctx_t* psl = psl_builtin();
    const char* registrable = psl ? psl_registrable_domain(psl, ace.constData()) : nullptr;
    if (!registrable)
        return host;
    return QUrl::fromAce(QByteArray(registrable));
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
    return toUrl(url).host(QUrl::FullyDecoded);
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
