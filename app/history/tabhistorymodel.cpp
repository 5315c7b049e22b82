#include "tabhistorymodel.h"

#include "storage/dbmanager.h"

TabHistoryModel::TabHistoryModel(QObject* parent)
    : BaseHistoryModel(parent)
{
    connect(DBManager::instance(), &DBManager::tabHistoryAvailable, this, &TabHistoryModel::onStorageAnswer);
}

void TabHistoryModel::setTabId(int tabId)
{
    if (tabId == m_tabId)
        return;
    m_tabId = tabId;
    m_pending.clear();
    emit tabIdChanged();
    request(QString(), QDateTime(), QDateTime());
}

void TabHistoryModel::add(const QString& url, const QString& title)
{
    if (m_tabId < 0 || isInternalUrl(url))
        return;
    DBManager* storage = DBManager::instance();
    if (isValidRow(m_currentIndex))
        storage->clearDeprecatedTabHistory(m_tabId, links().at(m_currentIndex).id, m_isPrivate);
    storage->addToTabHistory(m_tabId, url, title, m_isPrivate);
    // Queued behind the write, so the answer already holds the new entry; the
    // full list, since back and forward are judged on it.
    request(QString(), QDateTime(), QDateTime(), true);
}

QString TabHistoryModel::goBack()
{
    setCurrentIndex(m_currentIndex + 1);
    DBManager::instance()->goBack(m_tabId, m_isPrivate);
    return isValidRow(m_currentIndex) ? links().at(m_currentIndex).url : QString();
}

QString TabHistoryModel::goForward()
{
    setCurrentIndex(m_currentIndex - 1);
    DBManager::instance()->goForward(m_tabId, m_isPrivate);
    return isValidRow(m_currentIndex) ? links().at(m_currentIndex).url : QString();
}

void TabHistoryModel::navigateThroughTabHistory(int historyId)
{
    for (int row = 0; row < count(); ++row) {
        if (links().at(row).id == historyId) {
            setCurrentIndex(row);
            DBManager::instance()->updateTab(m_tabId, historyId, m_isPrivate);
            return;
        }
    }
}

void TabHistoryModel::updateCurrentEntry(const QString& url, const QString& title)
{
    if (!isValidRow(m_currentIndex) || isInternalUrl(url))
        return;
    const Link& current = links().at(m_currentIndex);
    if (current.url == url && current.title == title)
        return;
    DBManager::instance()->updateTabHistoryEntry(current.id, url, title, m_isPrivate);
    setRowUrl(m_currentIndex, url);
    setRowTitle(m_currentIndex, title);
}

void TabHistoryModel::search(const QString& filter)
{
    request(filter, m_last.start, m_last.end);
}

void TabHistoryModel::clear()
{
    QList<int> rows;
    for (int row = 0; row < count(); ++row)
        rows.append(row);
    if (m_last.filter.isEmpty()) {
        DBManager::instance()->clearTabHistory(m_tabId, m_tabId, m_last.start, m_last.end, m_isPrivate);
        // Storage answers a clear with the tab's whole list, unasked.
        m_last = Request();
        m_pending.enqueue(m_last);
    } else {
        QSet<int> ids;
        for (int row : qAsConst(rows)) {
            if (row != m_currentIndex)
                ids.insert(links().at(row).id);
        }
        if (!ids.isEmpty())
            DBManager::instance()->removeTabHistoryEntries(m_tabId, ids, m_isPrivate);
    }
    removeRowsKeepingCurrent(rows);
}

void TabHistoryModel::remove(int index)
{
    if (!isValidRow(index) || index == m_currentIndex)
        return;
    DBManager::instance()->removeTabHistoryEntry(links().at(index).id, m_tabId, m_isPrivate);
    removeRowsKeepingCurrent({ index });
}

void TabHistoryModel::removeSelected()
{
    QList<int> rows = getSelectedIndexes();
    rows.removeAll(m_currentIndex);
    if (rows.isEmpty())
        return;
    QSet<int> ids;
    for (int row : qAsConst(rows))
        ids.insert(links().at(row).id);
    DBManager::instance()->removeTabHistoryEntries(m_tabId, ids, m_isPrivate);
    removeRowsKeepingCurrent(rows);
}

void TabHistoryModel::updateTitle(const QString& url, const QString& title)
{
    DBManager::instance()->updateTabHistoryTitle(m_tabId, url, title, m_isPrivate);
    onTitleUpdated(url, title);
}

void TabHistoryModel::tabHistoryAvailable(int tabId, const QList<Link>& linkList, int currentHistoryId,
    const QString& filter, const QDateTime& start, const QDateTime& end)
{
    if (tabId != m_tabId || filter != m_last.filter || start != m_last.start || end != m_last.end)
        return;
    setLinks(linkList);
    for (int row = 0; row < linkList.size(); ++row) {
        if (linkList.at(row).id == currentHistoryId) {
            setCurrentIndex(row);
            break;
        }
    }
    announceNavigation();
    if (m_addAnswered)
        emit linkAddedToTabHistory();
}

void TabHistoryModel::onEntryChanged(const QString& url, const QString& title)
{
    updateCurrentEntry(url, title);
}

void TabHistoryModel::onTitleChanged(const QString& title)
{
    if (!isValidRow(m_currentIndex) || links().at(m_currentIndex).title == title)
        return;
    DBManager::instance()->updateTabHistoryTitle(m_tabId, links().at(m_currentIndex).url, title, m_isPrivate);
    setRowTitle(m_currentIndex, title);
}

void TabHistoryModel::request(
    const QString& filter, const QDateTime& start, const QDateTime& end, bool afterAdd)
{
    m_last = { filter, start, end, afterAdd };
    m_pending.enqueue(m_last);
    DBManager::instance()->getTabHistory(m_tabId, filter, start, end, m_isPrivate);
}

void TabHistoryModel::onStorageAnswer(int tabId, const QList<Link>& links, int currentHistoryId)
{
    if (tabId != m_tabId)
        return;
    // An answer nobody here asked for comes from a clear elsewhere, which
    // always re-reads the whole list.
    const Request asked = m_pending.isEmpty() ? Request() : m_pending.dequeue();
    m_addAnswered = asked.afterAdd;
    tabHistoryAvailable(tabId, links, currentHistoryId, asked.filter, asked.start, asked.end);
    m_addAnswered = false;
}

void TabHistoryModel::setCurrentIndex(int index)
{
    m_currentIndex = index;
    emit currentIndexChanged();
    announceNavigation();
}

void TabHistoryModel::removeRowsKeepingCurrent(const QList<int>& rows)
{
    QList<int> doomed;
    int shift = 0;
    for (int row : rows) {
        if (row == m_currentIndex || !isValidRow(row))
            continue;
        doomed.append(row);
        shift += row < m_currentIndex ? 1 : 0;
    }
    if (doomed.isEmpty())
        return;
    removeLocalRows(doomed);
    if (shift > 0)
        setCurrentIndex(m_currentIndex - shift);
    announceNavigation();
}

void TabHistoryModel::announceNavigation()
{
    if (canGoBack() != m_couldGoBack) {
        m_couldGoBack = canGoBack();
        emit canGoBackChanged();
    }
    if (canGoForward() != m_couldGoForward) {
        m_couldGoForward = canGoForward();
        emit canGoForwardChanged();
    }
}
