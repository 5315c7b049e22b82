#include "bookmarkservice.h"

#include "bridgebus.h"
#include "bridgefiles.h"
#include "pwahelper.h"

#include <QUrl>

using namespace ApmBridge;

namespace
{

// Only pages make sense as menu entries; anything else (javascript:, data:, a
// relative text or an option-like "--x") is refused.
QString pageUrl(const QString& text)
{
    const QUrl url(text.trimmed(), QUrl::TolerantMode);
    const QString scheme = url.scheme();
    if (!url.isValid() || url.isRelative()
        || (scheme != QLatin1String("http") && scheme != QLatin1String("https")
            && scheme != QLatin1String("file")))
        return QString();
    return url.toString(QUrl::FullyEncoded);
}

// One entry per url: its name is derived from the url, so asking again finds it.
QString entryId(const QString& url)
{
    return QStringLiteral("ru.nuvo.webdeck.bookmark.") + Orvane::PWA::generateAppId(url);
}

QImage imageFromDataUrl(const QString& text)
{
    const int comma = text.indexOf(QLatin1Char(','));
    if (!text.startsWith(QLatin1String("data:image/")) || comma < 0)
        return QImage();
    const QByteArray payload = text.mid(comma + 1).toLatin1();
    const bool base64 = text.leftRef(comma).endsWith(QLatin1String(";base64"));
    return QImage::fromData(
        base64 ? QByteArray::fromBase64(payload) : QByteArray::fromPercentEncoding(payload));
}

} // namespace

BookmarkService::BookmarkService(QObject* parent)
    : QDBusAbstractAdaptor(parent)
{
}

bool BookmarkService::CheckExists(const QString& url)
{
    if (!bridgeOf(this)->acceptCaller())
        return false;
    const QString page = pageUrl(url);
    return !page.isEmpty() && Files::desktopEntryExists(entryId(page));
}

void BookmarkService::Create(const QString& url, const QString& title, const QString& icon)
{
    if (!bridgeOf(this)->acceptCaller())
        return;
    const QString page = pageUrl(url);
    if (page.isEmpty()) {
        bridgeOf(this)->replyError(QDBusError::InvalidArgs, QStringLiteral("not a page url: ") + url);
        return;
    }
    const QString id = entryId(page);
    // Without a usable icon the entry still works, with the browser's own icon.
    const QImage image = imageFromDataUrl(icon);
    const bool ownIcon = !image.isNull() && Files::installIcons(id, image);
    const QString host = QUrl(page).host();
    const QString exec
        = Files::execArgument(Files::browserPath()) + QLatin1Char(' ') + Files::execArgument(page);
    const bool written = Files::writeDesktopEntry(id,
        { { QStringLiteral("Type"), QStringLiteral("Application") },
            { QStringLiteral("Version"), QStringLiteral("1.0") },
            { QStringLiteral("Name"), Files::displayName(title, host.isEmpty() ? page : host) },
            { QStringLiteral("Comment"), page }, { QStringLiteral("Exec"), exec },
            { QStringLiteral("TryExec"), Files::browserPath() },
            { QStringLiteral("Icon"), ownIcon ? id : QStringLiteral("web-browser") },
            { QStringLiteral("Terminal"), QStringLiteral("false") },
            { QStringLiteral("Categories"), QStringLiteral("Network;WebBrowser;") },
            { QStringLiteral("X-Webdeck-Url"), page } });
    if (!written) {
        bridgeOf(this)->replyError(
            QDBusError::Failed, QStringLiteral("cannot write the menu entry of ") + page);
        return;
    }
    Files::refreshMenus();
    qCInfo(lcApmBridge) << "added bookmark" << page << "as" << id;
}
