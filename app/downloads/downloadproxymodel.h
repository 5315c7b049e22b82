#pragma once

#include <QSortFilterProxyModel>

// The downloads page's view of the list: newest first, so that the day
// groups come in order (Today, Yesterday, then older dates), narrowed to one
// kind of file and to the downloads whose name or address contain a text.
class DownloadProxyModel : public QSortFilterProxyModel
{
    Q_OBJECT
    // "document", "image", ...; empty shows every kind.
    Q_PROPERTY(QString kind READ kind WRITE setKind NOTIFY kindChanged)
    // Matched, ignoring case, against the file name and the URL.
    Q_PROPERTY(QString searchText READ searchText WRITE setSearchText NOTIFY searchTextChanged)
public:
    explicit DownloadProxyModel(QObject* parent = nullptr);

    QString kind() const { return m_kind; }
    void setKind(const QString& kind);
    QString searchText() const { return m_searchText; }
    void setSearchText(const QString& text);

signals:
    void kindChanged();
    void searchTextChanged();

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
    QString m_kind;
    QString m_searchText;
};
