#include "historymodel.h"

#include "storage/dbmanager.h"

HistoryModel::HistoryModel(QObject* parent)
    : BaseHistoryModel(parent)
{
    DBManager* storage = DBManager::instance();
    connect(storage, &DBManager::historyAvailable, this, &HistoryModel::onHistoryAnswer);
    connect(storage, &DBManager::historyTitleChanged, this, &HistoryModel::onTitleUpdated);
}

void HistoryModel::add(const QString& url, const QString& title)
{
    if (isInternalUrl(url))
        return;
    DBManager::instance()->addHistoryEntry(url, title);
    getHistory(QString(), QDateTime(), QDateTime());
}

void HistoryModel::getHistory(const QString& filter, const QDateTime& start, const QDateTime& end)
{
    m_filter = filter;
    m_start = start;
    m_end = end;
    DBManager::instance()->getHistory(filter, start, end);
}

void HistoryModel::search(const QString& filter)
{
    getHistory(filter, m_start, m_end);
}

void HistoryModel::clear()
{
    if (count() == 0)
        return;
    if (m_filter.isEmpty()) {
        DBManager::instance()->clearHistory(m_start, m_end);
    } else {
        // Storage clears by period only; a cleared search must not take the
        // visits that did not match with it.
        QSet<int> ids;
        for (const Link& link : links())
            ids.insert(link.id);
        DBManager::instance()->removeHistoryEntries(ids);
    }
    setLinks({});
}

void HistoryModel::remove(int index)
{
    if (!isValidRow(index))
        return;
    DBManager::instance()->removeHistoryEntry(links().at(index).id);
    removeLocalRows({ index });
}

void HistoryModel::removeSelected()
{
    const QSet<int> ids = selectedIds();
    if (ids.isEmpty())
        return;
    DBManager::instance()->removeHistoryEntries(ids);
    removeLocalRows(getSelectedIndexes());
}

void HistoryModel::updateTitle(const QString& url, const QString& title)
{
    // Every model showing the url follows through historyTitleChanged.
    DBManager::instance()->updateHistoryTitle(url, title);
}

void HistoryModel::historyAvailable(const QList<Link>& linkList)
{
    setLinks(linkList);
}

void HistoryModel::onHistoryAnswer(
    const QList<Link>& links, const QString& filter, const QDateTime& start, const QDateTime& end)
{
    // Answers to other models, and to requests this one has since replaced, are not ours.
    if (filter != m_filter || start != m_start || end != m_end)
        return;
    historyAvailable(links);
}
