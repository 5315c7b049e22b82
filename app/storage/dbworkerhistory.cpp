#include "dbworker.h"

#include "utils/logcategories.h"

#include <QDate>
#include <QSqlError>
#include <QTime>
#include <QVariant>

// Browsing history (always the profile's file: private tabs leave no history)
// and the per-tab back/forward lists with their shared link rows.

namespace
{

// An invalid bound means "no bound"; a negative value is what the date clauses test for.
qint64 boundMs(const QDateTime& bound)
{
    return bound.isValid() ? bound.toMSecsSinceEpoch() : -1;
}

// Date restriction shared by getHistory and clearHistory when no text filter is given.
// Every fragment ends with a blank because callers splice it straight before the next keyword.
QString historyDateClause(qint64 startMs, qint64 endMs)
{
    QString clause;
    if (startMs >= 0) {
        clause = QStringLiteral("WHERE date >= %1 ").arg(startMs);
        if (endMs >= 0)
            clause += QStringLiteral("AND date <= %1 ").arg(endMs);
    } else if (endMs >= 0) {
        clause = QStringLiteral("WHERE date <= %1 ").arg(endMs);
    }
    return clause;
}

QString searchPattern(const QString& filter)
{
    return QStringLiteral("%%1%").arg(filter);
}

QString joinedIds(const QSet<int>& ids)
{
    QStringList parts;
    parts.reserve(ids.size());
    for (int id : ids)
        parts.append(QString::number(id));
    return parts.join(QLatin1Char(','));
}

// Rows of the history reads: id, url, title, date, bookmarked.
Link historyLink(const CachedQuery& query)
{
    Link link;
    link.id = query.value(0).toInt();
    link.isValid = true;
    link.url = query.value(1).toString();
    link.title = query.value(2).toString();
    link.date = QDateTime::fromMSecsSinceEpoch(query.value(3).toLongLong());
    link.bookmarked = query.value(4).toBool();
    return link;
}

} // namespace

void DBWorker::getHistory(const QString& filter, const QDateTime& start, const QDateTime& end)
{
    const qint64 startMs = boundMs(start);
    const qint64 endMs = boundMs(end);
    QString clause;
    if (filter.isEmpty()) {
        clause = historyDateClause(startMs, endMs);
    } else {
        // AND binds tighter than OR, so the bounds narrow only the title match.
        // Callers rely on this exact result set, so the grouping stays as it is.
        clause = QStringLiteral("WHERE url LIKE :search OR title LIKE :search ");
        if (startMs >= 0)
            clause += QStringLiteral("AND date >= %1 ").arg(startMs);
        if (endMs >= 0)
            clause += QStringLiteral("AND date <= %1 ").arg(endMs);
        clause += QStringLiteral("GROUP BY url ");
    }

    auto query
        = prepare(QStringLiteral("SELECT id, url, title, date, (url IN (SELECT url FROM bookmark_node)) "
                                 "AS bookmarked FROM browser_history %1ORDER BY date DESC;")
                      .arg(clause),
            false);
    if (!filter.isEmpty())
        query.bindValue(QStringLiteral(":search"), searchPattern(filter));
    if (!execute(query))
        return;

    QList<Link> links;
    while (query.next())
        links.append(historyLink(query));
    deliver([=] { emit historyAvailable(links, filter, start, end); });
}

void DBWorker::addHistoryEntry(const QString& url, const QString& title)
{
    qCDebug(lcStorage) << Q_FUNC_INFO << "url:" << url << "title:" << title;

    // One row per url and local calendar day: a visit after midnight starts a new row.
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const qint64 startOfToday = m_localDay.startOfDay(now);

    auto select = prepare(SelectTodaysVisit,
        QStringLiteral(
            "SELECT id FROM browser_history WHERE url = ? AND date >= ? ORDER BY date DESC LIMIT 1;"),
        false);
    select.bind(1, url);
    select.bind(2, startOfToday);
    if (!execute(select))
        return;

    // A statement left mid-result keeps SQLite's implicit transaction open, so
    // reads are finished before the writes that follow them.
    const int id = select.next() ? int(select.value(0)) : 0;
    select.finish();
    if (id > 0) {
        // A page that has not reported its title yet must not wipe the one already known.
        auto update = title.isEmpty()
            ? prepare(UpdateVisit,
                QStringLiteral("UPDATE browser_history SET date = ?, visited_count = visited_count + 1  "
                               "WHERE id = ?;"),
                false)
            : prepare(UpdateVisitAndTitle,
                QStringLiteral("UPDATE browser_history SET date = ?, title = ?, visited_count = "
                               "visited_count + 1  WHERE id = ?;"),
                false);
        int position = 1;
        update.bind(position++, now);
        if (!title.isEmpty())
            update.bind(position++, title);
        update.bind(position, id);
        execute(update);
        return;
    }

    auto insert = prepare(InsertVisit,
        QStringLiteral("INSERT INTO browser_history (url, title, date) VALUES (?, ?, ?);"), false);
    insert.bind(1, url);
    insert.bind(2, title);
    insert.bind(3, now);
    execute(insert);
}

void DBWorker::removeHistoryEntry(int linkId)
{
    auto query = prepare(QStringLiteral("DELETE FROM browser_history WHERE id = ?"), false);
    query.addBindValue(linkId);
    execute(query);
}

void DBWorker::removeHistoryEntries(const QSet<int>& ids)
{
    auto query
        = prepare(QStringLiteral("DELETE FROM browser_history WHERE id IN (%1);").arg(joinedIds(ids)), false);
    execute(query);
}

void DBWorker::clearHistory(const QDateTime& start, const QDateTime& end)
{
    const QString clause = historyDateClause(boundMs(start), boundMs(end));
    auto query = prepare(QStringLiteral("DELETE FROM browser_history %1;").arg(clause), false);
    execute(query);
}

void DBWorker::updateHistoryTitle(const QString& url, const QString& title)
{
    auto query = prepare(QStringLiteral("UPDATE browser_history SET title = ? WHERE url = ?;"), false);
    query.addBindValue(title);
    query.addBindValue(url);
    if (!execute(query)) {
        qCWarning(lcStorage) << Q_FUNC_INFO << "Failed to add title to browser history" << url << title;
        return;
    }
    deliver([=] { emit historyTitleChanged(url, title); });
}

void DBWorker::getMostVisitedLinks(int count)
{
    auto query = prepare(
        QStringLiteral("SELECT id, url, title, date, (url IN (SELECT url FROM bookmark_node)) AS bookmarked, "
                       "SUM(visited_count) FROM browser_history WHERE date > ? GROUP BY url HAVING "
                       "SUM(visited_count) > 0 ORDER BY SUM(visited_count) DESC, title ASC LIMIT ?;"),
        false);
    query.addBindValue(QDateTime::currentDateTimeUtc().addDays(-30).toMSecsSinceEpoch());
    query.addBindValue(count);
    if (!execute(query))
        return;

    QList<Link> links;
    while (query.next())
        links.append(historyLink(query));
    deliver([=] { emit mostVisitedLinksAvailable(links); });
}

void DBWorker::removeMostVisitedLink(const QString& url)
{
    // The visits stay in the history list; only their weight for the tiles goes.
    auto query
        = prepare(QStringLiteral("UPDATE browser_history SET visited_count = 0 WHERE url = ?;"), false);
    query.addBindValue(url);
    execute(query);
}

void DBWorker::getTabHistory(
    int tabId, const QString& filter, const QDateTime& start, const QDateTime& end, bool isPrivate)
{
    QString clause;
    if (!filter.isEmpty())
        clause += QStringLiteral("AND (link.url LIKE :search OR link.title LIKE :search) ");
    if (start.isValid())
        clause += QStringLiteral("AND tab_history.date >= %1 ").arg(start.toMSecsSinceEpoch());
    if (end.isValid())
        clause += QStringLiteral("AND tab_history.date <= %1 ").arg(end.toMSecsSinceEpoch());

    // Bookmarks live only in the file, while the entries may live in the private
    // database, so the bookmarked urls travel into the statement as literals.
    auto bookmarks = prepare(QStringLiteral("SELECT url FROM bookmark_node"), false);
    if (!execute(bookmarks))
        return;
    QStringList urls;
    while (bookmarks.next()) {
        const QString url = bookmarks.value(0).toString();
        if (!url.isEmpty())
            urls.append(sqlLiteral(url));
    }
    const QString bookmarked = urls.isEmpty()
        ? QStringLiteral("false")
        : QStringLiteral("link.url IN (%1)").arg(urls.join(QStringLiteral(", ")));

    auto query = prepare(
        QStringLiteral(
            "SELECT tab_history.id, link.url, link.thumb_path, link.title, tab_history.date, (%1) AS "
            "bookmarked, (tab_history.id == tab.tab_history_id) AS current FROM tab_history INNER JOIN "
            "tab ON tab.tab_id = tab_history.tab_id INNER JOIN link ON tab_history.link_id = "
            "link.link_id WHERE tab_history.tab_id = %2 %3ORDER BY tab_history.id DESC;")
            .arg(bookmarked, QString::number(tabId), clause),
        isPrivate);
    if (!filter.isEmpty())
        query.bindValue(QStringLiteral(":search"), searchPattern(filter));
    if (!execute(query))
        return;

    QList<Link> links;
    int currentLinkId = 0;
    while (query.next()) {
        Link link;
        link.id = query.value(0).toInt();
        link.isValid = true;
        link.url = query.value(1).toString();
        link.thumbnailPath = query.value(2).toString();
        link.title = query.value(3).toString();
        link.date = QDateTime::fromMSecsSinceEpoch(query.value(4).toLongLong());
        link.bookmarked = query.value(5).toBool();
        if (query.value(6).toBool())
            currentLinkId = link.id;
        links.append(link);
    }
    deliver([=] { emit tabHistoryAvailable(tabId, links, currentLinkId); });
}

void DBWorker::addToTabHistory(int tabId, const QString& url, const QString& title, bool isPrivate)
{
    // Page previews are kept per tab (tab.screenshot), so links carry no thumbnail.
    const int linkId = createLink(url, isPrivate, title, QString());
    if (linkId < 1) {
        qCWarning(lcStorage) << Q_FUNC_INFO << "failed to add url to tab history" << tabId << url;
        return;
    }

    auto query = prepare(InsertTabHistory,
        QStringLiteral("INSERT INTO tab_history (tab_id, link_id, date) VALUES (?, ?, ?);"), isPrivate);
    query.bind(1, tabId);
    query.bind(2, linkId);
    query.bind(3, QDateTime::currentMSecsSinceEpoch());
    if (!execute(query))
        return;

    const qint64 insertedId = query.lastInsertId();
    const int tabHistoryId = insertedId != 0 ? int(insertedId) : -1;
    qCDebug(lcStorage) << Q_FUNC_INFO << "tab:" << tabId << "link:" << linkId << "tab history id"
                       << tabHistoryId;
    if (tabHistoryId < 1) {
        qCWarning(lcStorage) << Q_FUNC_INFO << "failed to add url to tab history" << tabId << url;
        return;
    }
    updateTab(tabId, tabHistoryId, isPrivate);
    deliver([=] { emit linkAddedToTabHistory(); });
}

void DBWorker::goBack(int tabId, bool isPrivate)
{
    auto query
        = prepare(QStringLiteral("SELECT id FROM tab_history WHERE tab_id = ? AND id < (SELECT "
                                 "tab_history_id FROM tab WHERE tab_id = ?) ORDER BY id DESC LIMIT 1;"),
            isPrivate);
    query.addBindValue(tabId);
    query.addBindValue(tabId);
    if (!execute(query) || !query.next())
        return;
    const int id = query.value(0).toInt();
    query.finish();
    if (id > 0)
        updateTab(tabId, id, isPrivate);
}

void DBWorker::goForward(int tabId, bool isPrivate)
{
    auto query = prepare(QStringLiteral("SELECT id FROM tab_history WHERE tab_id = ? AND id > (SELECT "
                                        "tab_history_id FROM tab WHERE tab_id = ?) ORDER BY id ASC LIMIT 1;"),
        isPrivate);
    query.addBindValue(tabId);
    query.addBindValue(tabId);
    if (!execute(query) || !query.next())
        return;
    const int id = query.value(0).toInt();
    query.finish();
    if (id > 0)
        updateTab(tabId, id, isPrivate);
}

void DBWorker::removeTabHistoryEntry(int historyId, int tabId, bool isPrivate)
{
    auto query = prepare(QStringLiteral("DELETE FROM tab_history WHERE id = ? AND tab_id = ?"), isPrivate);
    query.addBindValue(historyId);
    query.addBindValue(tabId);
    execute(query);
}

void DBWorker::removeTabHistoryEntries(int tabId, const QSet<int>& ids, bool isPrivate)
{
    auto query = prepare(QStringLiteral("DELETE FROM tab_history WHERE id IN (%1) AND tab_id = %2;")
                             .arg(joinedIds(ids), QString::number(tabId)),
        isPrivate);
    execute(query);
}

void DBWorker::clearTabHistory(
    int tabId, int currentTabId, const QDateTime& start, const QDateTime& end, bool isPrivate)
{
    QString clause;
    if (start.isValid())
        clause += QStringLiteral("AND date >= %1 ").arg(start.toMSecsSinceEpoch());
    if (end.isValid())
        clause += QStringLiteral("AND date <= %1 ").arg(end.toMSecsSinceEpoch());

    // The entry a tab shows is never removed: the tab would be left pointing nowhere.
    QString sql;
    if (tabId != -1) {
        sql = QStringLiteral(
            "DELETE FROM tab_history WHERE tab_id = %1 AND id NOT IN (SELECT id FROM tab_history "
            "INNER JOIN tab ON tab_history.tab_id = tab.tab_id WHERE tab_history.id = "
            "tab.tab_history_id AND tab.tab_id = %2) %3;")
                  .arg(QString::number(tabId), QString::number(tabId), clause);
    } else {
        sql = QStringLiteral(
            "DELETE FROM tab_history WHERE id NOT IN (SELECT id FROM tab_history INNER JOIN tab ON "
            "tab_history.tab_id = tab.tab_id WHERE tab_history.id = tab.tab_history_id) %1;")
                  .arg(clause);
    }
    auto query = prepare(sql, isPrivate);
    if (!execute(query))
        return;
    getTabHistory(currentTabId, QString(), QDateTime(), QDateTime(), isPrivate);
}

void DBWorker::clearDeprecatedTabHistory(int tabId, int currentId, bool isPrivate)
{
    qCDebug(lcStorage) << Q_FUNC_INFO << "tab id:" << tabId << "current link id:" << currentId;
    auto query = prepare(QStringLiteral("DELETE FROM tab_history WHERE tab_id = ? AND id > ?;"), isPrivate);
    query.addBindValue(tabId);
    query.addBindValue(currentId);
    execute(query);
}

void DBWorker::updateTabHistoryTitle(int tabId, const QString& url, const QString& title, bool isPrivate)
{
    auto select = prepare(
        QStringLiteral(
            "SELECT link.link_id, link.title FROM tab INNER JOIN tab_history ON tab.tab_history_id = "
            "tab_history.id INNER JOIN link ON tab_history.link_id = link.link_id WHERE "
            "tab_history.tab_id = ? AND link.url = ?;"),
        isPrivate);
    select.addBindValue(tabId);
    select.addBindValue(url);
    if (!execute(select))
        return;
    const int linkId = select.next() ? select.value(0).toInt() : 0;
    select.finish();
    if (linkId < 1) {
        qCWarning(lcStorage) << Q_FUNC_INFO << "No link found for tabId" << tabId << url;
        return;
    }

    auto update = prepare(QStringLiteral("UPDATE link SET title = ? WHERE link_id = ?;"), isPrivate);
    update.addBindValue(title);
    update.addBindValue(linkId);
    if (!execute(update)) {
        qCWarning(lcStorage) << Q_FUNC_INFO << "Failed to update link's title" << linkId << title;
        return;
    }
    deliver([=] { emit tabHistoryTitleChanged(tabId, url, title); });
}

void DBWorker::updateTabHistoryEntry(
    int tabHistoryId, const QString& url, const QString& title, bool isPrivate)
{
    auto query = prepare(QStringLiteral("UPDATE link SET url = ?, title = ? WHERE link_id IN (SELECT link_id "
                                        "FROM tab_history WHERE id = ?);"),
        isPrivate);
    query.addBindValue(url);
    query.addBindValue(title);
    query.addBindValue(tabHistoryId);
    if (!execute(query)) {
        qCWarning(lcStorage) << Q_FUNC_INFO << "Failed to update tab history entry" << tabHistoryId << url;
        return;
    }
    deliver([=] { emit tabHistoryEntryChanged(tabHistoryId, url, title); });
}

int DBWorker::createLink(const QString& url, bool isPrivate, const QString& title, const QString& thumbPath)
{
    // One link row per url, shared by every tab that visits it.
    auto select = prepare(SelectLink, QStringLiteral("SELECT link_id FROM link WHERE url = ?;"), isPrivate);
    select.bind(1, url);
    if (!execute(select))
        return -1;
    if (select.next())
        return int(select.value(0));
    select.finish();

    auto insert = prepare(
        InsertLink, QStringLiteral("INSERT INTO link (url, title, thumb_path) VALUES (?, ?, ?);"), isPrivate);
    insert.bind(1, url);
    insert.bind(2, title);
    insert.bind(3, thumbPath);
    if (!execute(insert))
        return -1;
    const qint64 id = insert.lastInsertId();
    if (id == 0) {
        qCWarning(lcStorage) << Q_FUNC_INFO << "unable to fetch last inserted id" << url;
        return -1;
    }
    return int(id);
}

Link DBWorker::currentTabLink(int tabId)
{
    auto query = prepare(
        QStringLiteral(
            "SELECT link.link_id, link.url, link.thumb_path, link.title FROM tab INNER JOIN tab_history "
            "ON tab_history.id = tab.tab_history_id INNER JOIN link ON tab_history.link_id = "
            "link.link_id WHERE tab.tab_id = ?;"),
        false);
    query.addBindValue(tabId);
    Link link;
    if (!execute(query) || !query.next())
        return link;
    link.id = query.value(0).toInt();
    link.isValid = true;
    link.url = query.value(1).toString();
    link.thumbnailPath = query.value(2).toString();
    link.title = query.value(3).toString();
    return link;
}
