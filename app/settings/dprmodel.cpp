#include "dprmodel.h"

BaseDprModel::BaseDprModel(QObject* parent)
    : QAbstractListModel(parent)
{
    connect(this, &QAbstractItemModel::rowsInserted, this, &BaseDprModel::countChanged);
    connect(this, &QAbstractItemModel::rowsRemoved, this, &BaseDprModel::countChanged);
    connect(this, &QAbstractItemModel::modelReset, this, &BaseDprModel::countChanged);
}

int BaseDprModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_rows.size();
}

QVariant BaseDprModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Row& row = m_rows.at(index.row());
    switch (role) {
    case IdRole:
        return row.id;
    case SiteRole:
        return row.site;
    case DprRole:
        return row.dpr;
    default:
        return {};
    }
}

QHash<int, QByteArray> BaseDprModel::roleNames() const
{
    return { { IdRole, "id" }, { SiteRole, "site" }, { DprRole, "dpr" } };
}

int BaseDprModel::rowOf(const QString& site) const
{
    for (int row = 0; row < m_rows.size(); ++row) {
        if (m_rows.at(row).site == site)
            return row;
    }
    return -1;
}

float BaseDprModel::dprOf(const QString& site) const
{
    const int row = rowOf(site);
    return row < 0 ? -1.0f : m_rows.at(row).dpr;
}

void BaseDprModel::setDpr(const QString& site, float dpr)
{
    const int row = rowOf(site);
    if (row < 0)
        return;
    m_rows[row].dpr = dpr;
    emit dataChanged(index(row), index(row), { DprRole });
}

void BaseDprModel::removeSite(const QString& site)
{
    const int row = rowOf(site);
    if (row < 0)
        return;
    beginRemoveRows(QModelIndex(), row, row);
    m_rows.removeAt(row);
    endRemoveRows();
}

QStringList BaseDprModel::sites() const
{
    QStringList result;
    for (const Row& row : m_rows)
        result.append(row.site);
    return result;
}

void BaseDprModel::onSiteDprsAvailable(const QList<SiteDpr>& dprs)
{
    beginResetModel();
    m_rows.clear();
    for (const SiteDpr& dpr : dprs)
        m_rows.append({ dpr.id, dpr.site, float(dpr.dpr) });
    endResetModel();
}

void BaseDprModel::onSiteDprAdded(const SiteDpr& dpr)
{
    const int row = rowOf(dpr.site);
    if (row >= 0) {
        m_rows[row].id = dpr.id;
        setDpr(dpr.site, float(dpr.dpr));
        return;
    }
    beginInsertRows(QModelIndex(), m_rows.size(), m_rows.size());
    m_rows.append({ dpr.id, dpr.site, float(dpr.dpr) });
    endInsertRows();
}

DprModel::DprModel(QObject* parent)
    : BaseDprModel(parent)
{
    connect(this, &QAbstractItemModel::rowsRemoved, this, &DprModel::pruneSelection);
    connect(this, &QAbstractItemModel::modelReset, this, &DprModel::pruneSelection);
}

QVariant DprModel::data(const QModelIndex& index, int role) const
{
    if (role == SelectedRole && checkIndex(index, CheckIndexOption::IndexIsValid))
        return m_selected.contains(m_rows.at(index.row()).site);
    return BaseDprModel::data(index, role);
}

QHash<int, QByteArray> DprModel::roleNames() const
{
    QHash<int, QByteArray> names = BaseDprModel::roleNames();
    names.insert(SelectedRole, "selected");
    return names;
}

void DprModel::toggleSelection(int row)
{
    if (row < 0 || row >= m_rows.size())
        return;
    const QString& site = m_rows.at(row).site;
    if (!m_selected.remove(site))
        m_selected.insert(site);
    emit dataChanged(index(row), index(row), { SelectedRole });
    emit selectedCountChanged();
}

void DprModel::selectAll()
{
    if (m_selected.size() == m_rows.size())
        return;
    for (const Row& row : qAsConst(m_rows))
        m_selected.insert(row.site);
    if (!m_rows.isEmpty())
        emit dataChanged(index(0), index(m_rows.size() - 1), { SelectedRole });
    emit selectedCountChanged();
}

void DprModel::deselectAll()
{
    if (m_selected.isEmpty())
        return;
    m_selected.clear();
    if (!m_rows.isEmpty())
        emit dataChanged(index(0), index(m_rows.size() - 1), { SelectedRole });
    emit selectedCountChanged();
}

QStringList DprModel::selectedSites() const
{
    QStringList result;
    for (const Row& row : m_rows) {
        if (m_selected.contains(row.site))
            result.append(row.site);
    }
    return result;
}

void DprModel::pruneSelection()
{
    const int before = m_selected.size();
    const QStringList current = sites();
    const QSet<QString> present(current.cbegin(), current.cend());
    m_selected.intersect(present);
    if (m_selected.size() != before)
        emit selectedCountChanged();
}
