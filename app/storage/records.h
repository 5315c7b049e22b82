#pragma once

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QMap>
#include <QMetaType>
#include <QPointer>
#include <QSet>
#include <QString>

class QDebug;

// Plain rows carried from the storage worker to the models on the GUI thread.
// They travel by value inside queued signals, so they stay cheap to copy.

struct Link {
    int id = 0;
    bool isValid = false;
    QString url;
    QString title;
    QString thumbnailPath;
    QDateTime date;
    bool bookmarked = false;
};

struct Tab {
    int id = 0;
    QString url;
    QString title;
    int deviceMode = -1; // -1: no device mode stored for the site
    QString screenshotPath;
    double dpr = -1.0; // -1: no zoom stored for the site
    int orderIndex = 0;
    // The popup window that opened this tab; owned by the UI, never stored.
    QPointer<QObject> popupWindow;
    // Answers given for this tab only (Permission type to response); never stored.
    QHash<int, int> tempPermissions;
};

struct Download {
    int id = 0;
    QString filePath;
    QString url;
    QDateTime lastModified;
    int status = 0;
    QString cachedKey;
};

struct Bookmark {
    int id = 0;
    QString title;
    QString url;
};

struct BookmarkTreeNode {
    int id = 0;
    QString title;
    int depth = 0;
    int children = 0; // bookmarks at any depth below the folder
};

struct SearchEngine {
    int id = 0;
    QString name;
    QString url;
    bool editable = false;
};

struct SiteDpr {
    int id = 0;
    QString site;
    double dpr = -1.0;
};

// One site's stored decisions, in the column order camera, microphone,
// geolocation, notification, screen capture, popups, cookies. A site with no
// decision for a kind holds -1 there (stored as NULL).
struct SitePermissions {
    QString site;
    QList<int> policies;
};

QDebug operator<<(QDebug dbg, const Link* link);
QDebug operator<<(QDebug dbg, const Tab* tab);
QDebug operator<<(QDebug dbg, const Download* download);

Q_DECLARE_METATYPE(Link)
Q_DECLARE_METATYPE(Tab)
Q_DECLARE_METATYPE(Download)
Q_DECLARE_METATYPE(Bookmark)
Q_DECLARE_METATYPE(BookmarkTreeNode)
Q_DECLARE_METATYPE(SearchEngine)
Q_DECLARE_METATYPE(SiteDpr)
Q_DECLARE_METATYPE(SitePermissions)
