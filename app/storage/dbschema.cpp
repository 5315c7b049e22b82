#include "dbschema.h"

namespace
{
// Built before main runs and never changed afterwards.
const QVector<TableSchema> tables = {
    { QStringLiteral("tab"),
        { QStringLiteral("tab_id INTEGER PRIMARY KEY AUTOINCREMENT"),
            QStringLiteral("tab_history_id INTEGER"), QStringLiteral("screenshot TEXT"),
            QStringLiteral("order_index INTEGER") } },
    { QStringLiteral("link"),
        { QStringLiteral("link_id INTEGER PRIMARY KEY AUTOINCREMENT"), QStringLiteral("url TEXT"),
            QStringLiteral("title TEXT"), QStringLiteral("thumb_path TEXT") } },
    { QStringLiteral("browser_history"),
        { QStringLiteral("id INTEGER PRIMARY KEY AUTOINCREMENT"), QStringLiteral("url TEXT"),
            QStringLiteral("title TEXT"), QStringLiteral("favorite_icon TEXT"),
            QStringLiteral("visited_count INTEGER DEFAULT 1"), QStringLiteral("date INTEGER") } },
    { QStringLiteral("tab_history"),
        { QStringLiteral("id INTEGER PRIMARY KEY AUTOINCREMENT"), QStringLiteral("tab_id INTEGER"),
            QStringLiteral("link_id INTEGER"), QStringLiteral("date INTEGER") } },
    { QStringLiteral("bookmark_node"),
        { QStringLiteral("id INTEGER PRIMARY KEY AUTOINCREMENT"), QStringLiteral("title TEXT"),
            QStringLiteral("url TEXT") } },
    { QStringLiteral("bookmark_structure"),
        { QStringLiteral("ancestor INTEGER"), QStringLiteral("descendant INTEGER"),
            QStringLiteral("depth INTEGER") } },
    { QStringLiteral("permissions"),
        { QStringLiteral("site_id INTEGER PRIMARY KEY"), QStringLiteral("camera INTEGER"),
            QStringLiteral("microphone INTEGER"), QStringLiteral("geolocation INTEGER"),
            QStringLiteral("notification INTEGER"), QStringLiteral("screen_capture INTEGER"),
            QStringLiteral("popups INTEGER"), QStringLiteral("cookies INTEGER") } },
    { QStringLiteral("search_engines"),
        { QStringLiteral("id INTEGER PRIMARY KEY AUTOINCREMENT"), QStringLiteral("name TEXT"),
            QStringLiteral("url TEXT"), QStringLiteral("editable BIT") } },
    { QStringLiteral("favicons"),
        { QStringLiteral("base_url TEXT PRIMARY KEY"), QStringLiteral("favicon TEXT"),
            QStringLiteral("date INTEGER") } },
    { QStringLiteral("downloads"),
        { QStringLiteral("id INTEGER PRIMARY KEY AUTOINCREMENT"), QStringLiteral("path TEXT UNIQUE"),
            QStringLiteral("url TEXT"), QStringLiteral("last_modified INTEGER"),
            QStringLiteral("status INTEGER DEFAULT 0") } },
    { QStringLiteral("sites"),
        { QStringLiteral("id INTEGER PRIMARY KEY AUTOINCREMENT"), QStringLiteral("site TEXT UNIQUE") } },
    { QStringLiteral("password_exceptions"),
        { QStringLiteral("url TEXT UNIQUE"), QStringLiteral("suggestions_count INTEGER") } },
    { QStringLiteral("site_dprs"),
        { QStringLiteral("id INTEGER PRIMARY KEY AUTOINCREMENT"), QStringLiteral("site_id INTEGER UNIQUE"),
            QStringLiteral("dpr FLOAT") } },
    { QStringLiteral("device_modes"),
        { QStringLiteral("domain TEXT PRIMARY KEY"), QStringLiteral("device_mode INTEGER") } },
    { QStringLiteral("metadata"), { QStringLiteral("db_version TEXT") } },
};

// Each serves statements run on every page visit or at every start: the per-day
// history merge, the filtered history list and the most-visited tiles (url,
// date, title, visited_count: both group by url, and with every column they
// read in the index they walk it alone instead of fetching each row in url
// order), the history list and its trim (date), tab
// history reads and deletions (tab_id), link reuse (url), the bookmark closure
// walks in both directions (each answered from the index alone), the
// "bookmarked" test (bookmark_node url) and the favicon trim (date). Indexes
// that a wider one replaced are dropped after it exists, so a profile made by
// an older version ends up with the same set as a new one.
const QStringList indexes = {
    QStringLiteral("CREATE INDEX IF NOT EXISTS browser_history_url_date_title_visited_count ON "
                   "browser_history (url, date, title, visited_count);"),
    QStringLiteral("DROP INDEX IF EXISTS browser_history_url_date;"),
    QStringLiteral("CREATE INDEX IF NOT EXISTS browser_history_date ON browser_history (date);"),
    QStringLiteral("CREATE INDEX IF NOT EXISTS tab_history_tab_id ON tab_history (tab_id);"),
    QStringLiteral("CREATE INDEX IF NOT EXISTS link_url ON link (url);"),
    QStringLiteral("CREATE INDEX IF NOT EXISTS bookmark_structure_descendant_depth_ancestor ON "
                   "bookmark_structure (descendant, depth, ancestor);"),
    QStringLiteral("DROP INDEX IF EXISTS bookmark_structure_descendant_depth;"),
    QStringLiteral("CREATE INDEX IF NOT EXISTS bookmark_structure_ancestor_descendant ON bookmark_structure "
                   "(ancestor, descendant);"),
    QStringLiteral("DROP INDEX IF EXISTS bookmark_structure_ancestor;"),
    QStringLiteral("CREATE INDEX IF NOT EXISTS bookmark_node_url ON bookmark_node (url);"),
    QStringLiteral("CREATE INDEX IF NOT EXISTS favicons_date ON favicons (date);"),
};
} // namespace

const QVector<TableSchema>& schemaTables()
{
    return tables;
}

QString schemaColumns(const QString& table)
{
    for (const TableSchema& t : tables) {
        if (t.name == table)
            return t.columns.join(QStringLiteral(", "));
    }
    return QString();
}

const QStringList& schemaIndexes()
{
    return indexes;
}

QString databaseVersion()
{
    return QStringLiteral("2.1.0.5");
}
