#include "records.h"

#include <QDebug>

// The labels carry their own blanks and the stream stays in its spacing mode:
// log readers and scripts that grep these lines depend on the exact layout.

QDebug operator<<(QDebug dbg, const Link* link)
{
    if (!link) {
        dbg << "Link (this = 0x0)";
        return dbg;
    }
    dbg << "Link(id = " << link->id << ", isValid = " << link->isValid << ", url = " << link->url
        << ", title = " << link->title << ", thumbnailPath = " << link->thumbnailPath
        << ", date = " << link->date << ")";
    return dbg;
}

QDebug operator<<(QDebug dbg, const Tab* tab)
{
    if (!tab) {
        dbg << "Tab (this = 0x0)";
        return dbg;
    }
    dbg << "Tab(id = " << tab->id << ", url = " << tab->url << ", title = " << tab->title
        << ", deviceMode = " << tab->deviceMode << ", popupWindow = " << tab->popupWindow.data() << ")";
    return dbg;
}

QDebug operator<<(QDebug dbg, const Download* download)
{
    if (!download) {
        dbg << "Download (this = 0x0)";
        return dbg;
    }
    dbg << "Download(id = " << download->id << ", filePath = " << download->filePath
        << ", url = " << download->url << ", lastModified = " << download->lastModified
        << ", status = " << download->status << ", cachedKey = " << download->cachedKey << ")";
    return dbg;
}
