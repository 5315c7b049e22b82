#pragma once

#include "basehistorymodel.h"

#include <QDateTime>

// The history page: every visit, newest first, narrowed by a text and a period.
class HistoryModel : public BaseHistoryModel
{
    Q_OBJECT
public:
    explicit HistoryModel(QObject* parent = nullptr);

    // Records a page visit and goes back to the whole history so that it shows.
    // The browser's own pages (about:, chrome:) are never recorded.
    Q_INVOKABLE void add(const QString& url, const QString& title);
    // Shows the visits whose url or title contain filter, from start on (up to
    // end); an empty filter or an invalid date drops that condition.
    Q_INVOKABLE void getHistory(
        const QString& filter, const QDateTime& start = QDateTime(), const QDateTime& end = QDateTime());
    // Keeps the period shown and changes the text.
    Q_INVOKABLE void search(const QString& filter);
    // Deletes what the page shows: the whole period, or, with a text filter,
    // exactly the rows listed.
    Q_INVOKABLE void clear();
    Q_INVOKABLE void remove(int index);
    Q_INVOKABLE void removeSelected();
    Q_INVOKABLE void updateTitle(const QString& url, const QString& title);

    QString filter() const { return m_filter; }
    QDateTime start() const { return m_start; }
    QDateTime end() const { return m_end; }

public slots:
    void historyAvailable(const QList<Link>& linkList);

private:
    void onHistoryAnswer(
        const QList<Link>& links, const QString& filter, const QDateTime& start, const QDateTime& end);

    QString m_filter;
    QDateTime m_start;
    QDateTime m_end;
};
