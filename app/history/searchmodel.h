#pragma once

#include "basehistorymodel.h"

// Results of a text search over the whole history.
class SearchModel : public BaseHistoryModel
{
    Q_OBJECT
public:
    explicit SearchModel(QObject* parent = nullptr);

    // An empty text empties the results instead of listing the whole history.
    Q_INVOKABLE void search(const QString& filter);
    Q_INVOKABLE void removeSearchEntry(int index);

    QString filter() const { return m_filter; }

public slots:
    void searchResultAvailable(const QList<Link>& linkList);

private:
    void onHistoryAnswer(
        const QList<Link>& links, const QString& filter, const QDateTime& start, const QDateTime& end);

    QString m_filter;
};
