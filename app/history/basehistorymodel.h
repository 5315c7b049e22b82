#pragma once

#include "storage/records.h"

#include <QAbstractListModel>
#include <QSet>

// Rows of visited pages and a selection, shared by the history page, the search
// results, the start page tiles and a tab's back/forward list. The selection is
// kept by history id, so it survives refills that keep the ids.
class BaseHistoryModel : public QAbstractListModel
{
    Q_OBJECT
    // Number of rows.
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    // Number of rows whose entry is selected.
    Q_PROPERTY(int selectedCount READ selectedCount NOTIFY selectedCountChanged)
    // Number of selected rows that are bookmarked.
    Q_PROPERTY(int selectedBookmarksCount READ selectedBookmarksCount NOTIFY selectedBookmarksCountChanged)
public:
    // The front end addresses these by number through their names; keep the values.
    enum UrlRoles {
        UrlRole = 1,
        TitleRole = 2,
        DateRole = 3,
        IconRole = 4,
        HistoryIdRole = 5,
        BookmarkedRole = 6,
        SelectedRole = 7,
    };
    Q_ENUM(UrlRoles)

    explicit BaseHistoryModel(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return m_links.size(); }
    int selectedCount() const { return m_selectedCount; }
    int selectedBookmarksCount() const { return m_selectedBookmarksCount; }
    const QList<Link>& links() const { return m_links; }

    Q_INVOKABLE void setBookmarked(int index, bool bookmarked);
    Q_INVOKABLE void toggleSelection(int index);
    Q_INVOKABLE void selectAll();
    Q_INVOKABLE void deselectAll();
    // First selected row, or -1.
    Q_INVOKABLE int getSelectedIndex() const;
    // Selected rows in ascending order.
    Q_INVOKABLE QList<int> getSelectedIndexes() const;

public slots:
    // A page's title became known: every row of that url shows it.
    void onTitleUpdated(const QString& url, const QString& title);

signals:
    void countChanged();
    void selectedCountChanged();
    void selectedBookmarksCountChanged();

protected:
    // Replaces every row; selection ids that are no longer shown stop counting.
    void setLinks(const QList<Link>& links);
    // Takes rows out at once, without waiting for storage to answer again.
    void removeLocalRows(const QList<int>& rows);
    // History ids of the selected rows.
    QSet<int> selectedIds() const;
    bool isValidRow(int row) const { return row >= 0 && row < m_links.size(); }
    void setRowTitle(int row, const QString& title);
    void setRowUrl(int row, const QString& url);

    // Whether a url is one of the browser's own pages, which are never recorded.
    static bool isInternalUrl(const QString& url);

private:
    void updateSelectionCounts();

    QList<Link> m_links;
    QSet<int> m_selection;
    int m_selectedCount = 0;
    int m_selectedBookmarksCount = 0;
};
