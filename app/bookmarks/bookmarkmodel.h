#pragma once

#include "storage/records.h"

#include <QAbstractListModel>
#include <QPointer>
#include <QSet>

class BookmarkManager;

// The contents of one bookmark folder for the bookmarks page: its direct
// children, folders first, or with a filter text every bookmark at any depth
// below it whose url or title contains the text. Rows can be selected (kept
// by node id, so a selection survives refills) and the selection removed or
// moved in one step. The model asks the bookmark manager for its rows and is
// kept in step by it after every change made through the manager.
class BookmarkModel : public QAbstractListModel
{
    Q_OBJECT
    // The folder shown; -1 shows nothing.
    Q_PROPERTY(int folderId READ folderId WRITE setFolderId NOTIFY folderIdChanged)
    // Search text; empty lists the folder's own children.
    Q_PROPERTY(QString filter READ filter WRITE setFilter NOTIFY filterChanged)
    // Number of rows.
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    // Number of selected rows.
    Q_PROPERTY(int selectedCount READ selectedCount NOTIFY selectedCountChanged)
    // Whether a folder is among the selected rows (its contents go with it).
    Q_PROPERTY(bool selectionHasFolder READ selectionHasFolder NOTIFY selectedCountChanged)
public:
    enum Roles {
        IdRole = Qt::UserRole + 1,
        TitleRole,
        UrlRole,
        IsFolderRole,
        FaviconRole,
        SelectedRole,
    };
    Q_ENUM(Roles)

    explicit BookmarkModel(QObject* parent = nullptr);
    // The manager's own models are made before its instance is published.
    BookmarkModel(BookmarkManager* manager, int folderId, QObject* parent = nullptr);
    ~BookmarkModel() override;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    int folderId() const { return m_folderId; }
    void setFolderId(int folderId);
    QString filter() const { return m_filter; }
    void setFilter(const QString& filter);
    int count() const { return m_rows.size(); }
    int selectedCount() const;
    bool selectionHasFolder() const;

    Q_INVOKABLE void toggleSelection(int row);
    Q_INVOKABLE void selectAll();
    Q_INVOKABLE void deselectAll();
    // Node ids of the selected rows, in row order.
    Q_INVOKABLE QList<int> selectedIds() const;
    Q_INVOKABLE void removeSelected();
    Q_INVOKABLE void moveSelected(int newParentId);
    // Row of node id, or -1.
    Q_INVOKABLE int indexOf(int id) const;
    Q_INVOKABLE void refresh();

    // Called by the manager.
    const QList<Bookmark>& rows() const { return m_rows; }
    void setRows(const QList<Bookmark>& rows);
    void removeIds(const QSet<int>& ids);
    void updateRow(int id, const QString& title, const QString& url);

signals:
    void folderIdChanged();
    void filterChanged();
    void countChanged();
    void selectedCountChanged();

private:
    BookmarkManager* manager();
    void onFaviconChanged(const QString& baseUrl);
    void onFaviconsLoaded();

    QPointer<BookmarkManager> m_manager;
    int m_folderId = -1;
    QString m_filter;
    QList<Bookmark> m_rows;
    QSet<int> m_selection;
};
