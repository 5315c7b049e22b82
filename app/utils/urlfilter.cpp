#include "urlfilter.h"

#include "logcategories.h"

#include <QHostAddress>
#include <QRegularExpression>
#include <QUrl>

#include <tuple>

namespace
{
bool isScheme(const QString& text)
{
    if (text.isEmpty() || !text.at(0).isLetter())
        return text == QLatin1String("*");
    for (const QChar c : text) {
        if (!(c.isLetterOrNumber() && c.unicode() < 128) && c != QLatin1Char('+') && c != QLatin1Char('-')
            && c != QLatin1Char('.'))
            return false;
    }
    return true;
}

// "host:8080" and "host:8080/path" name a port, "javascript:void(0)" does not.
bool startsWithPort(const QString& text)
{
    int digits = 0;
    while (digits < text.size() && text.at(digits).isDigit())
        ++digits;
    return digits > 0 && (digits == text.size() || QStringLiteral("/?#").contains(text.at(digits)));
}

int defaultPort(const QString& scheme)
{
    if (scheme == QLatin1String("http") || scheme == QLatin1String("ws"))
        return 80;
    if (scheme == QLatin1String("https") || scheme == QLatin1String("wss"))
        return 443;
    if (scheme == QLatin1String("ftp"))
        return 21;
    return -1;
}

QString normalizedHost(const QUrl& url)
{
    QString host = url.host(QUrl::EncodeUnicode).toLower();
    if (host.endsWith(QLatin1Char('.')))
        host.chop(1);
    return host;
}

// The part of a URL an entry's path is a prefix of: path and query, in the
// encoded form, so that "%20" in an entry and a space in a URL meet.
QString pathAndQuery(const QUrl& url)
{
    QString path = url.path(QUrl::FullyEncoded);
    if (path.isEmpty() && !url.host().isEmpty())
        path = QStringLiteral("/");
    if (url.hasQuery())
        path += QLatin1Char('?') + url.query(QUrl::FullyEncoded);
    return path;
}

QString entryPath(const QString& prefix, QString path)
{
    if (path.endsWith(QLatin1Char('*')))
        path.chop(1);
    if (path.isEmpty() || path == QLatin1String("/"))
        return QString();
    return pathAndQuery(QUrl(prefix + path));
}
} // namespace

UrlFilter::UrlFilter(const QStringList& blocklist, const QStringList& allowlist)
{
    add(blocklist, false);
    add(allowlist, true);
}

void UrlFilter::add(const QStringList& list, bool allow)
{
    if (list.size() > maxEntries)
        qCWarning(lcManagedConfig, "URL %s list has %d entries, the last %d are ignored",
            allow ? "allow" : "block", int(list.size()), int(list.size()) - maxEntries);
    const int count = qMin(int(list.size()), maxEntries);
    for (int i = 0; i < count; ++i) {
        const QString text = list.at(i).trimmed();
        Entry entry;
        entry.allow = allow;
        QString rest = text;
        const int separator = text.indexOf(QLatin1String("://"));
        const int colon = text.indexOf(QLatin1Char(':'));
        if (separator > 0 && isScheme(text.left(separator))) {
            entry.scheme = text.left(separator).toLower();
            rest = text.mid(separator + 3);
        } else if (colon > 0 && isScheme(text.left(colon)) && !startsWithPort(text.mid(colon + 1))) {
            // A scheme without an authority ("javascript:", "data:text/html"): any
            // host, the rest is a prefix of what follows the colon.
            entry.scheme = text.left(colon).toLower();
            entry.anyHost = true;
            entry.path = entryPath(entry.scheme + QLatin1Char(':'), text.mid(colon + 1));
            m_anyHost.append(entry);
            continue;
        }
        if (entry.scheme == QLatin1String("*"))
            entry.scheme.clear();

        static const QRegularExpression pathStart(QStringLiteral("[/?#]"));
        const int slash = rest.indexOf(pathStart);
        QString authority = rest.left(slash);
        entry.exactHost = authority.startsWith(QLatin1Char('.'));
        if (entry.exactHost)
            authority.remove(0, 1);
        QString host;
        // "file:///home/kiosk" names URLs without a host.
        bool valid = !authority.isEmpty() || !entry.scheme.isEmpty();
        if (authority == QLatin1String("*") || authority.startsWith(QLatin1String("*:"))) {
            entry.anyHost = true;
            entry.exactHost = false;
            authority.replace(0, 1, QStringLiteral("any"));
        }
        if (valid && !authority.isEmpty()) {
            const QUrl parsed(QStringLiteral("http://") + authority, QUrl::StrictMode);
            valid = parsed.isValid() && !authority.contains(QLatin1Char('*')) && parsed.userInfo().isEmpty();
            entry.port = qMax(parsed.port(), 0);
            host = normalizedHost(parsed);
            valid = valid && !host.isEmpty() && !(authority.endsWith(QLatin1Char(':')));
        }
        if (!valid) {
            qCWarning(lcManagedConfig) << "Ignoring invalid URL filter entry" << text;
            continue;
        }
        if (!QHostAddress(host).isNull())
            entry.exactHost = true; // no subdomains of an address
        entry.path = entryPath(QStringLiteral("http://h"), slash >= 0 ? rest.mid(slash) : QString());
        if (entry.anyHost) {
            m_anyHost.append(entry);
        } else {
            entry.hostLength = host.size();
            m_byHost[host].append(entry);
        }
    }
}

bool UrlFilter::Match::beats(const Entry& other) const
{
    if (!entry)
        return false;
    const Entry& e = *entry;
    return std::make_tuple(e.hostLength, e.exactHost, e.path.size(), !e.scheme.isEmpty(), e.port != 0)
        > std::make_tuple(
            other.hostLength, other.exactHost, other.path.size(), !other.scheme.isEmpty(), other.port != 0);
}

void UrlFilter::consider(const QVector<Entry>& entries, bool atFullHost, const QString& scheme, int port,
    const QString& path, Match& block, Match& allow) const
{
    for (const Entry& entry : entries) {
        if ((entry.exactHost && !atFullHost) || (!entry.scheme.isEmpty() && entry.scheme != scheme)
            || (entry.port != 0 && entry.port != port) || !path.startsWith(entry.path))
            continue;
        Match& best = entry.allow ? allow : block;
        if (!best.entry || !best.beats(entry))
            best.entry = &entry;
    }
}

bool UrlFilter::isBlocked(const QString& url) const
{
    return isBlocked(QUrl(url.trimmed(), QUrl::TolerantMode));
}

bool UrlFilter::isBlocked(const QUrl& url) const
{
    if (m_byHost.isEmpty() && m_anyHost.isEmpty())
        return false;
    const QString scheme = url.scheme().toLower();
    const QString path = pathAndQuery(url);
    // The page a blocked navigation is replaced with must itself stay reachable.
    if (scheme == QLatin1String("about") && path == QLatin1String("blank"))
        return false;
    const QString host = normalizedHost(url);
    const int port = url.port(defaultPort(scheme));
    Match block;
    Match allow;
    consider(m_anyHost, true, scheme, port, path, block, allow);
    const bool address = !QHostAddress(host).isNull();
    for (int from = 0; from >= 0;) {
        const auto it = m_byHost.constFind(from == 0 ? host : host.mid(from));
        if (it != m_byHost.constEnd())
            consider(*it, from == 0, scheme, port, path, block, allow);
        const int dot = address ? -1 : host.indexOf(QLatin1Char('.'), from);
        from = dot < 0 ? -1 : dot + 1;
    }
    return block.entry && (!allow.entry || block.beats(*allow.entry));
}

bool isUrlBlocked(const QString& url, const QStringList& blocklist, const QStringList& allowlist)
{
    static QStringList compiledBlocklist;
    static QStringList compiledAllowlist;
    static UrlFilter filter;
    if (blocklist != compiledBlocklist || allowlist != compiledAllowlist) {
        filter = UrlFilter(blocklist, allowlist);
        compiledBlocklist = blocklist;
        compiledAllowlist = allowlist;
    }
    return filter.isBlocked(url);
}
