#include "faviconsmap.h"

#include "lettericon.h"
#include "storage/dbmanager.h"
#include "utils/filepathutils.h"
#include "utils/logcategories.h"

FaviconsMap::FaviconsMap(QObject* parent)
    : QObject(parent)
{
    DBManager* storage = DBManager::instance();
    connect(storage, &DBManager::faviconsAvailable, this, &FaviconsMap::faviconsAvailable);
    storage->getFavicons();
}

FaviconsMap* FaviconsMap::instance()
{
    static FaviconsMap* map = new FaviconsMap;
    return map;
}

QObject* FaviconsMap::qmlInstance(QQmlEngine*, QJSEngine*)
{
    return instance();
}

QString FaviconsMap::getFavicon(const QString& url) const
{
    return m_favicons.value(FilePathUtils::instance()->getBaseUrl(url));
}

void FaviconsMap::setFavicon(const QString& url, const QString& favicon, bool isPrivate)
{
    const QString key = FilePathUtils::instance()->getBaseUrl(url);
    if (favicon.size() > maxFaviconLength) {
        // A hostile site could otherwise grow the file and every start-up by its icon.
        qCWarning(lcHistory) << "FaviconsMap::setFavicon: icon too large, not stored:" << key
                             << favicon.size();
        return;
    }
    if (m_favicons.value(key) == favicon) {
        if (!isPrivate)
            DBManager::instance()->updateTimeFavicon(key);
        return;
    }
    m_favicons.insert(key, favicon);
    if (!isPrivate)
        DBManager::instance()->setFavicon(key, favicon, true);
    emit valueChanged(key);
}

QString FaviconsMap::iconFor(const QString& url, const QString& title) const
{
    const QString favicon = getFavicon(url);
    return favicon.isEmpty() ? letterIcon(title.left(1)) : favicon;
}

QString FaviconsMap::letterIcon(const QString& letter) const
{
    return LetterIcon::dataUrl(letter);
}

void FaviconsMap::faviconsAvailable(const QMap<QString, QString>& favicons)
{
    // The stored icons replace the map. Start-up makes the map before any page
    // can set an icon, so nothing set in this run is lost by the swap.
    m_favicons = favicons;
    emit faviconsLoaded();
}
