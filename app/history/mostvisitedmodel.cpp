#include "mostvisitedmodel.h"

#include "storage/dbmanager.h"

MostVisitedModel::MostVisitedModel(QObject* parent)
    : BaseHistoryModel(parent)
{
    DBManager* storage = DBManager::instance();
    connect(storage, &DBManager::mostVisitedLinksAvailable, this, &MostVisitedModel::onMostVisitedAnswer);
    connect(storage, &DBManager::historyTitleChanged, this, &MostVisitedModel::onTitleUpdated);
}

void MostVisitedModel::getMostVisitedLinks(int count)
{
    m_requested = count;
    DBManager::instance()->getMostVisitedLinks(count);
}

void MostVisitedModel::removeMostVisitedLink(int index)
{
    if (!isValidRow(index))
        return;
    DBManager::instance()->removeMostVisitedLink(links().at(index).url);
    removeLocalRows({ index });
}

void MostVisitedModel::mostVisitedLinksAvailable(const QList<Link>& links)
{
    setLinks(links);
}

void MostVisitedModel::onMostVisitedAnswer(const QList<Link>& links)
{
    // The answer does not say how many were asked for; a longer list than this
    // model asked for was another model's, and none at all was asked yet.
    if (m_requested < 0 || links.size() > m_requested)
        return;
    mostVisitedLinksAvailable(links);
}
