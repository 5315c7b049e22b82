#pragma once

#include "storage/records.h"

#include <QAbstractListModel>
#include <QSortFilterProxyModel>
#include <QVector>

// The search engines of the address bar, each with the url that fetches
// typing suggestions from it (known for the built-in engines only).
class SearchEnginesModel : public QAbstractListModel
{
    Q_OBJECT
public:
    enum SearchEngineRoles {
        IdRole = 0,
        NameRole,
        UrlRole,
        SuggestionsUrlRole,
        EditableRole,
    };
    Q_ENUM(SearchEngineRoles)

    struct Row {
        SearchEngine engine;
        QString suggestionsUrl;
    };

    explicit SearchEnginesModel(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // The suggestions url of a built-in engine; empty for any other id.
    static QString suggestionsUrlFor(int id);

    int rowOf(int id) const;
    const Row* engine(int id) const;
    void updateEngine(int id, const QString& name, const QString& url);
    void removeEngine(int id);

public slots:
    void onSearchEnginesAvailable(const QList<SearchEngine>& engines);
    void onSearchEngineAdded(const SearchEngine& engine);

signals:
    void searchEnginesChanged();

private:
    QVector<Row> m_rows;
};

// The engines as QML lists them: in stored order.
class SearchEnginesProxyModel : public QSortFilterProxyModel
{
    Q_OBJECT
    // Engines listed.
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    explicit SearchEnginesProxyModel(QObject* parent = nullptr);
    int count() const { return rowCount(); }

signals:
    void countChanged();
};
