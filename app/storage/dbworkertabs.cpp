#include "dbworker.h"

#include "utils/logcategories.h"
#include "utils/urlparts.h"

#include <QVariant>

// The tab strip: which tabs exist, their order and the entry each one shows.

namespace
{

// Internal pages never enter the back/forward list.
bool isRecordable(const QString& url)
{
    return !url.isEmpty() && !url.startsWith(QLatin1String("about:"))
        && !url.startsWith(QLatin1String("chrome:"));
}

} // namespace

void DBWorker::getTabs()
{
    // Sites and device modes match by substring of the url, the way they were stored.
    auto query = prepare(
        QStringLiteral(
            "SELECT tab.tab_id, link.url, link.title, COALESCE(device_modes.device_mode, -1), "
            "tab.screenshot, COALESCE(site_dprs.dpr, -1), tab.order_index FROM tab, link, tab_history "
            "LEFT JOIN sites ON INSTR(link.url, sites.site) > 0 LEFT JOIN device_modes ON "
            "INSTR(link.url, device_modes.domain) LEFT JOIN site_dprs ON sites.id = site_dprs.site_id "
            "WHERE tab.tab_id = tab_history.tab_id AND tab.tab_history_id = tab_history.id AND "
            "link.link_id = tab_history.link_id ORDER BY tab.order_index;"),
        false);
    if (!execute(query))
        return;

    QList<Tab> tabs;
    while (query.next()) {
        Tab tab;
        tab.id = query.value(0).toInt();
        tab.url = query.value(1).toString();
        tab.title = query.value(2).toString();
        tab.deviceMode = query.value(3).toInt();
        tab.screenshotPath = query.value(4).toString();
        tab.dpr = query.value(5).toDouble();
        tab.orderIndex = query.value(6).toInt();
        tabs.append(tab);
    }
    deliver([=] { emit tabsAvailable(tabs); });
}

void DBWorker::addTabs(
    const QList<int>& tabIds, int index, const QStringList& urls, const QStringList& titles, bool isPrivate)
{
    auto shift = prepare(
        QStringLiteral("UPDATE tab SET order_index = order_index + ? WHERE order_index >= ?;"), isPrivate);
    shift.addBindValue(tabIds.size());
    shift.addBindValue(index);
    if (!execute(shift))
        return;

    for (int i = 0; i < tabIds.size(); ++i) {
        const int tabId = tabIds.at(i);
        const QString url = urls.value(i);

        const std::optional<bool> exists = tabExists(tabId, isPrivate);
        if (!exists)
            return;
        const bool known = *exists;
        auto place = known
            ? prepare(QStringLiteral("UPDATE tab SET order_index = ? WHERE tab_id = ?;"), isPrivate)
            : prepare(QStringLiteral("INSERT INTO tab (tab_id, order_index) VALUES (?, ?);"), isPrivate);
        place.addBindValue(known ? index + i : tabId);
        place.addBindValue(known ? tabId : index + i);
        if (!execute(place))
            return;

        if (isRecordable(url))
            addToTabHistory(tabId, url, titles.value(i), isPrivate);

        // Device modes are the user's per-site choice and are read from the file
        // even for private tabs (the private database holds a copy of them anyway).
        auto mode = prepare(QStringLiteral("SELECT device_mode FROM device_modes WHERE domain = ?"), false);
        mode.addBindValue(UrlParts::domain(url));
        if (!execute(mode))
            return;
        // The receiver applies the mode to the tab at the batch's index: every tab
        // of a batch reports that same index.
        if (mode.next()) {
            const int deviceMode = mode.value(0).toInt();
            deliver([=] { emit tabDeviceModeChanged(index, deviceMode, isPrivate); });
        }
    }
}

std::optional<bool> DBWorker::tabExists(int tabId, bool isPrivate)
{
    auto exists = prepare(SelectTab, QStringLiteral("SELECT 1 FROM tab WHERE tab_id = ?;"), isPrivate);
    exists.bind(1, tabId);
    if (!execute(exists))
        return std::nullopt;
    // Finished before the caller writes: a half-read statement keeps SQLite's read transaction open.
    const bool known = exists.next();
    exists.finish();
    return known;
}

void DBWorker::updateTab(int tabId, int tabHistoryId, bool isPrivate)
{
    qCDebug(lcStorage) << Q_FUNC_INFO << "tab:" << tabId << "tab history id:" << tabHistoryId;
    const std::optional<bool> exists = tabExists(tabId, isPrivate);
    if (!exists)
        return;
    const bool known = *exists;
    auto query = known
        ? prepare(
            UpdateTabEntry, QStringLiteral("UPDATE tab SET tab_history_id = ? WHERE tab_id = ?;"), isPrivate)
        : prepare(
            InsertTab, QStringLiteral("INSERT INTO tab (tab_id, tab_history_id) VALUES (?, ?);"), isPrivate);
    query.bind(1, known ? tabHistoryId : tabId);
    query.bind(2, known ? tabId : tabHistoryId);
    execute(query);
}

void DBWorker::removeTab(int tabId, int index, bool isPrivate)
{
    auto removeRow = prepare(QStringLiteral("DELETE FROM tab WHERE tab_id = ?;"), isPrivate);
    removeRow.addBindValue(tabId);
    if (!execute(removeRow))
        return;
    auto removeHistory = prepare(QStringLiteral("DELETE FROM tab_history WHERE tab_id = ?;"), isPrivate);
    removeHistory.addBindValue(tabId);
    if (!execute(removeHistory))
        return;
    auto closeGap = prepare(
        QStringLiteral("UPDATE tab SET order_index = order_index - 1 WHERE order_index >= ?;"), isPrivate);
    closeGap.addBindValue(index);
    execute(closeGap);
}

void DBWorker::clearTabs(bool isPrivate)
{
    for (const QString& sql : { QStringLiteral("DELETE FROM tab;"), QStringLiteral("DELETE FROM link;"),
             QStringLiteral("DELETE FROM tab_history;") }) {
        auto query = prepare(sql, isPrivate);
        if (!execute(query))
            return;
    }
}

void DBWorker::setScreenshotTab(int tabId, const QString& screenshot)
{
    auto query = prepare(QStringLiteral("UPDATE tab SET screenshot = ? WHERE tab_id = ?;"), false);
    query.addBindValue(screenshot);
    query.addBindValue(tabId);
    execute(query);
}
