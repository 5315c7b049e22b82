#include "dbworker.h"

void DBWorker::getHistory(const QString& filter, const QDateTime& start, const QDateTime& end)
{
    Q_UNUSED(filter)
    Q_UNUSED(start)
    Q_UNUSED(end)
}

void DBWorker::addHistoryEntry(const QString& url, const QString& title)
{
    Q_UNUSED(url)
    Q_UNUSED(title)
}

void DBWorker::removeHistoryEntry(int linkId)
{
    Q_UNUSED(linkId)
}

void DBWorker::removeHistoryEntries(const QSet<int>& ids)
{
    Q_UNUSED(ids)
}

void DBWorker::clearHistory(const QDateTime& start, const QDateTime& end)
{
    Q_UNUSED(start)
    Q_UNUSED(end)
}

void DBWorker::updateHistoryTitle(const QString& url, const QString& title)
{
    Q_UNUSED(url)
    Q_UNUSED(title)
}

void DBWorker::getMostVisitedLinks(int count)
{
    Q_UNUSED(count)
}

void DBWorker::removeMostVisitedLink(const QString& url)
{
    Q_UNUSED(url)
}

void DBWorker::getTabHistory(int tabId, const QString& filter, const QDateTime& start, const QDateTime& end, bool isPrivate)
{
    Q_UNUSED(tabId)
    Q_UNUSED(filter)
    Q_UNUSED(start)
    Q_UNUSED(end)
    Q_UNUSED(isPrivate)
}

void DBWorker::addToTabHistory(int tabId, const QString& url, const QString& title, bool isPrivate)
{
    Q_UNUSED(tabId)
    Q_UNUSED(url)
    Q_UNUSED(title)
    Q_UNUSED(isPrivate)
}

void DBWorker::goBack(int tabId, bool isPrivate)
{
    Q_UNUSED(tabId)
    Q_UNUSED(isPrivate)
}

void DBWorker::goForward(int tabId, bool isPrivate)
{
    Q_UNUSED(tabId)
    Q_UNUSED(isPrivate)
}

void DBWorker::removeTabHistoryEntry(int historyId, int tabId, bool isPrivate)
{
    Q_UNUSED(historyId)
    Q_UNUSED(tabId)
    Q_UNUSED(isPrivate)
}

void DBWorker::removeTabHistoryEntries(int tabId, const QSet<int>& ids, bool isPrivate)
{
    Q_UNUSED(tabId)
    Q_UNUSED(ids)
    Q_UNUSED(isPrivate)
}

void DBWorker::clearTabHistory(int tabId, int currentTabId, const QDateTime& start, const QDateTime& end, bool isPrivate)
{
    Q_UNUSED(tabId)
    Q_UNUSED(currentTabId)
    Q_UNUSED(start)
    Q_UNUSED(end)
    Q_UNUSED(isPrivate)
}

void DBWorker::clearDeprecatedTabHistory(int tabId, int currentId, bool isPrivate)
{
    Q_UNUSED(tabId)
    Q_UNUSED(currentId)
    Q_UNUSED(isPrivate)
}

void DBWorker::updateTabHistoryTitle(int tabId, const QString& url, const QString& title, bool isPrivate)
{
    Q_UNUSED(tabId)
    Q_UNUSED(url)
    Q_UNUSED(title)
    Q_UNUSED(isPrivate)
}

void DBWorker::updateTabHistoryEntry(int tabHistoryId, const QString& url, const QString& title, bool isPrivate)
{
    Q_UNUSED(tabHistoryId)
    Q_UNUSED(url)
    Q_UNUSED(title)
    Q_UNUSED(isPrivate)
}

void DBWorker::getTabs()
{
}

void DBWorker::addTabs(const QList<int>& tabIds, int index, const QStringList& urls, const QStringList& titles, bool isPrivate)
{
    Q_UNUSED(tabIds)
    Q_UNUSED(index)
    Q_UNUSED(urls)
    Q_UNUSED(titles)
    Q_UNUSED(isPrivate)
}

void DBWorker::updateTab(int tabId, int tabHistoryId, bool isPrivate)
{
    Q_UNUSED(tabId)
    Q_UNUSED(tabHistoryId)
    Q_UNUSED(isPrivate)
}

void DBWorker::removeTab(int tabId, int index, bool isPrivate)
{
    Q_UNUSED(tabId)
    Q_UNUSED(index)
    Q_UNUSED(isPrivate)
}

void DBWorker::clearTabs(bool isPrivate)
{
    Q_UNUSED(isPrivate)
}

void DBWorker::setScreenshotTab(int tabId, const QString& screenshot)
{
    Q_UNUSED(tabId)
    Q_UNUSED(screenshot)
}

int DBWorker::createLink(const QString& url, bool isPrivate, const QString& title, const QString& thumbPath)
{
    Q_UNUSED(url)
    Q_UNUSED(isPrivate)
    Q_UNUSED(title)
    Q_UNUSED(thumbPath)
    return -1;
}

Link DBWorker::currentTabLink(int tabId)
{
    Q_UNUSED(tabId)
    return Link();
}
