#pragma once

#include <QMap>
#include <QObject>
#include <QString>

class QQmlEngine;
class QJSEngine;

// The process-wide cache of site icons, keyed by a site's base URL (scheme and
// authority, see FilePathUtils::getBaseUrl) and holding image data URLs.
//
// Made on first use, which asks storage once for every stored icon; until
// faviconsLoaded() the map answers from what was set during this run only.
// Private icons stay in memory for the rest of the run and never reach the file.
class FaviconsMap : public QObject
{
    Q_OBJECT
public:
    // Longest icon text accepted (1 MiB): anything larger is refused, never stored.
    static constexpr int maxFaviconLength = 1024 * 1024;

    static FaviconsMap* instance();
    static QObject* qmlInstance(QQmlEngine* engine, QJSEngine* scriptEngine);

    // The icon held for url's site, or an empty string.
    Q_INVOKABLE QString getFavicon(const QString& url) const;
    // Keeps favicon for url's site and, unless isPrivate, writes it to storage;
    // an icon already held only refreshes the stored date.
    Q_INVOKABLE void setFavicon(const QString& url, const QString& favicon, bool isPrivate);
    // The site's icon, or when there is none a letter icon (PNG data URL) of the
    // first character of title: what a shortcut to the page should show.
    Q_INVOKABLE QString iconFor(const QString& url, const QString& title) const;
    // A letter icon as a "data:image/png;base64," URL (see LetterIcon).
    Q_INVOKABLE QString letterIcon(const QString& letter) const;

public slots:
    // Every stored icon, delivered once by storage. Icons set during this run
    // before it came are newer and stay.
    void faviconsAvailable(const QMap<QString, QString>& favicons);

signals:
    void valueChanged(const QString& baseUrl);
    void faviconsLoaded();

private:
    explicit FaviconsMap(QObject* parent = nullptr);

    QMap<QString, QString> m_favicons;
};
