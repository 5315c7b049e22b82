#pragma once

#include "basehistorymodel.h"

// The start page tiles: the pages visited most in the last thirty days.
class MostVisitedModel : public BaseHistoryModel
{
    Q_OBJECT
public:
    explicit MostVisitedModel(QObject* parent = nullptr);

    Q_INVOKABLE void getMostVisitedLinks(int count);
    // Takes the page off the tiles; its visits stay in the history.
    Q_INVOKABLE void removeMostVisitedLink(int index);

public slots:
    void mostVisitedLinksAvailable(const QList<Link>& links);

private:
    void onMostVisitedAnswer(const QList<Link>& links);

    int m_requested = -1;
};
