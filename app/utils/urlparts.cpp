#include "urlparts.h"

#include <QHostAddress>
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

QString UrlParts::baseUrl(const QString& url)
{
    return QUrl(url, QUrl::TolerantMode)
        .adjusted(QUrl::RemovePath | QUrl::RemoveQuery | QUrl::RemoveFragment | QUrl::StripTrailingSlash)
        .toString();
}

QString UrlParts::domain(const QString& url)
{
    const QString hostName = toUrl(url).host(QUrl::FullyDecoded).toLower();
    if (hostName.isEmpty())
        return QString();
    if (!QHostAddress(hostName).isNull())
        return hostName;
    // The list is matched on the ASCII form; the answer goes back in Unicode,
    // the form in which hosts are stored. libpsl's built-in list is immutable
    // after load, so concurrent look-ups need no lock.
    const QByteArray ace = QUrl::toAce(hostName);
    if (ace.isEmpty())
        return hostName;
    const psl_ctx_t* psl = psl_builtin();
    const char* registrable = psl ? psl_registrable_domain(psl, ace.constData()) : nullptr;
    if (!registrable)
        return hostName;
    return QUrl::fromAce(QByteArray(registrable));
}

QString UrlParts::host(const QString& url)
{
    return toUrl(url).host(QUrl::FullyDecoded);
}
