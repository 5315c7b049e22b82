#include "searchmodel.h"

#include "storage/dbmanager.h"

SearchModel::SearchModel(QObject* parent)
    : BaseHistoryModel(parent)
{
    DBManager* storage = DBManager::instance();
    connect(storage, &DBManager::historyAvailable, this, &SearchModel::onHistoryAnswer);
    connect(storage, &DBManager::historyTitleChanged, this, &SearchModel::onTitleUpdated);
}

void SearchModel::search(const QString& filter)
{
    m_filter = filter;
    if (filter.isEmpty()) {
        setLinks({});
        return;
    }
    DBManager::instance()->getHistory(filter, QDateTime(), QDateTime());
}

void SearchModel::removeSearchEntry(int index)
{
    if (!isValidRow(index))
        return;
    DBManager::instance()->removeHistoryEntry(links().at(index).id);
    removeLocalRows({ index });
}

void SearchModel::searchResultAvailable(const QList<Link>& linkList)
{
    setLinks(linkList);
}

void SearchModel::onHistoryAnswer(
    const QList<Link>& links, const QString& filter, const QDateTime& start, const QDateTime& end)
{
    // Searches span all time; a bounded answer belongs to the history page.
    if (m_filter.isEmpty() || filter != m_filter || start.isValid() || end.isValid())
        return;
    searchResultAvailable(links);
}
