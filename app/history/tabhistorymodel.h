#pragma once

#include "basehistorymodel.h"

#include <QDateTime>
#include <QQueue>

// One tab's back/forward list. Row 0 is the newest entry, so "back" is a higher
// row and "forward" a lower one.
class TabHistoryModel : public BaseHistoryModel
{
    Q_OBJECT
    // The tab shown; setting it loads that tab's list.
    Q_PROPERTY(int tabId READ tabId WRITE setTabId NOTIFY tabIdChanged)
    // Whether the tab is private; only decides which database is asked.
    Q_PROPERTY(bool isPrivate READ isPrivate WRITE setIsPrivate)
    // Row of the entry the tab shows.
    Q_PROPERTY(int currentIndex READ currentIndex NOTIFY currentIndexChanged)
    // Whether an older entry exists.
    Q_PROPERTY(bool canGoBack READ canGoBack NOTIFY canGoBackChanged)
    // Whether a newer entry exists.
    Q_PROPERTY(bool canGoForward READ canGoForward NOTIFY canGoForwardChanged)
public:
    explicit TabHistoryModel(QObject* parent = nullptr);

    int tabId() const { return m_tabId; }
    void setTabId(int tabId);
    bool isPrivate() const { return m_isPrivate; }
    void setIsPrivate(bool isPrivate) { m_isPrivate = isPrivate; }
    int currentIndex() const { return m_currentIndex; }
    bool canGoBack() const { return m_currentIndex < count() - 1; }
    bool canGoForward() const { return m_currentIndex > 0; }

    // Records a page load in this tab. Entries ahead of the current one are
    // dropped first, as a new page opened after going back replaces them.
    Q_INVOKABLE void add(const QString& url, const QString& title);
    // Both return the url of the entry moved to. Callers check canGoBack or
    // canGoForward first, as the buttons do.
    Q_INVOKABLE QString goBack();
    Q_INVOKABLE QString goForward();
    Q_INVOKABLE void navigateThroughTabHistory(int historyId);
    // The page shown changed in place (a redirect or a script): the current
    // entry takes the new url and title.
    Q_INVOKABLE void updateCurrentEntry(const QString& url, const QString& title);
    Q_INVOKABLE void search(const QString& filter);
    // Deletes what the list shows, except the entry the tab is on.
    Q_INVOKABLE void clear();
    // The current entry cannot be removed: the tab still shows it.
    Q_INVOKABLE void remove(int index);
    Q_INVOKABLE void removeSelected();
    Q_INVOKABLE void updateTitle(const QString& url, const QString& title);

public slots:
    // Taken only when it answers this model's latest request.
    void tabHistoryAvailable(int tabId, const QList<Link>& linkList, int currentHistoryId,
        const QString& filter, const QDateTime& start, const QDateTime& end);
    void onEntryChanged(const QString& url, const QString& title);
    void onTitleChanged(const QString& title);

signals:
    void tabIdChanged();
    void currentIndexChanged();
    void canGoBackChanged();
    void canGoForwardChanged();
    // The list holds a page just added to the tab.
    void linkAddedToTabHistory();

private:
    struct Request {
        QString filter;
        QDateTime start;
        QDateTime end;
        bool afterAdd = false;
    };

    void request(const QString& filter, const QDateTime& start, const QDateTime& end, bool afterAdd = false);
    void onStorageAnswer(int tabId, const QList<Link>& links, int currentHistoryId);
    void setCurrentIndex(int index);
    void removeRowsKeepingCurrent(const QList<int>& rows);
    // Emits the navigation notifiers whose value changed since the last call.
    void announceNavigation();

    int m_tabId = -1;
    bool m_isPrivate = false;
    int m_currentIndex = 0;
    bool m_couldGoBack = false;
    bool m_couldGoForward = false;
    Request m_last;
    // Storage answers a tab's requests in the order they were made, without
    // repeating what was asked: this queue tells which request an answer is for.
    QQueue<Request> m_pending;
    bool m_addAnswered = false;
};
