#include "searchenginesmodel.h"

#include <QHash>

SearchEnginesModel::SearchEnginesModel(QObject* parent)
    : QAbstractListModel(parent)
{
}

int SearchEnginesModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_rows.size();
}

QVariant SearchEnginesModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Row& row = m_rows.at(index.row());
    switch (role) {
    case IdRole:
        return row.engine.id;
    case NameRole:
        return row.engine.name;
    case UrlRole:
        return row.engine.url;
    case SuggestionsUrlRole:
        return row.suggestionsUrl;
    case EditableRole:
        return row.engine.editable;
    default:
        return {};
    }
}

QHash<int, QByteArray> SearchEnginesModel::roleNames() const
{
    return {
        { IdRole, "id" },
        { NameRole, "name" },
        { UrlRole, "url" },
        { SuggestionsUrlRole, "suggestionsUrl" },
        { EditableRole, "editable" },
    };
}

QString SearchEnginesModel::suggestionsUrlFor(int id)
{
    // The public suggestion endpoints of the three built-in engines; the query
    // text goes at the end.
    static const QHash<int, QString> table = {
        { 0, QStringLiteral("https://duckduckgo.com/ac/?type=list&q=") },
        { 1, QStringLiteral("https://suggestqueries.google.com/complete/search?output=firefox&q=") },
        { 2, QStringLiteral("https://suggest.yandex.ru/suggest-ff.cgi?part=") },
    };
    return table.value(id);
}

int SearchEnginesModel::rowOf(int id) const
{
    for (int row = 0; row < m_rows.size(); ++row) {
        if (m_rows.at(row).engine.id == id)
            return row;
    }
    return -1;
}

const SearchEnginesModel::Row* SearchEnginesModel::engine(int id) const
{
    const int row = rowOf(id);
    return row < 0 ? nullptr : &m_rows.at(row);
}

void SearchEnginesModel::updateEngine(int id, const QString& name, const QString& url)
{
    const int row = rowOf(id);
    if (row < 0)
        return;
    m_rows[row].engine.name = name;
    m_rows[row].engine.url = url;
    emit dataChanged(index(row), index(row), { NameRole, UrlRole });
    emit searchEnginesChanged();
}

void SearchEnginesModel::removeEngine(int id)
{
    const int row = rowOf(id);
    if (row < 0)
        return;
    beginRemoveRows(QModelIndex(), row, row);
    m_rows.removeAt(row);
    endRemoveRows();
    emit searchEnginesChanged();
}

void SearchEnginesModel::onSearchEnginesAvailable(const QList<SearchEngine>& engines)
{
    beginResetModel();
    m_rows.clear();
    for (const SearchEngine& engine : engines)
        m_rows.append({ engine, suggestionsUrlFor(engine.id) });
    endResetModel();
    emit searchEnginesChanged();
}

void SearchEnginesModel::onSearchEngineAdded(const SearchEngine& engine)
{
    if (rowOf(engine.id) >= 0)
        return;
    beginInsertRows(QModelIndex(), m_rows.size(), m_rows.size());
    m_rows.append({ engine, suggestionsUrlFor(engine.id) });
    endInsertRows();
    emit searchEnginesChanged();
}

SearchEnginesProxyModel::SearchEnginesProxyModel(QObject* parent)
    : QSortFilterProxyModel(parent)
{
    connect(this, &QAbstractItemModel::rowsInserted, this, &SearchEnginesProxyModel::countChanged);
    connect(this, &QAbstractItemModel::rowsRemoved, this, &SearchEnginesProxyModel::countChanged);
    connect(this, &QAbstractItemModel::modelReset, this, &SearchEnginesProxyModel::countChanged);
}
