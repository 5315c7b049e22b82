#include "popuphistorymodel.h"

#include "tabhistorymodel.h"

PopupHistoryModel::PopupHistoryModel(QObject* parent)
    : QSortFilterProxyModel(parent)
{
    // Which rows pass depends on the source's current entry, so every change
    // of the source is filtered again.
    setDynamicSortFilter(true);
    const auto recount = [this] {
        if (rowCount() != m_lastCount) {
            m_lastCount = rowCount();
            emit countChanged();
        }
    };
    connect(this, &QAbstractItemModel::rowsInserted, this, recount);
    connect(this, &QAbstractItemModel::rowsRemoved, this, recount);
    connect(this, &QAbstractItemModel::modelReset, this, recount);
    connect(this, &QAbstractItemModel::layoutChanged, this, recount);
}

void PopupHistoryModel::setSourceModel(QAbstractItemModel* model)
{
    disconnect(m_currentConnection);
    disconnect(m_removalConnection);
    m_history = qobject_cast<TabHistoryModel*>(model);
    QSortFilterProxyModel::setSourceModel(model);
    if (m_history) {
        m_currentConnection
            = connect(m_history, &TabHistoryModel::currentIndexChanged, this, &PopupHistoryModel::refilter);
        // Rows behind a removed one move up and may enter the window.
        m_removalConnection
            = connect(m_history, &QAbstractItemModel::rowsRemoved, this, &PopupHistoryModel::refilter);
    }
}

void PopupHistoryModel::setForwardModel(bool forward)
{
    if (forward == m_forward)
        return;
    m_forward = forward;
    emit forwardModelChanged();
    refilter();
}

void PopupHistoryModel::setMaxCount(int maxCount)
{
    if (maxCount == m_maxCount)
        return;
    m_maxCount = maxCount;
    emit maxCountChanged();
    refilter();
}

bool PopupHistoryModel::filterAcceptsRow(int sourceRow, const QModelIndex&) const
{
    if (!m_history)
        return false;
    const int current = m_history->currentIndex();
    if (m_forward)
        return sourceRow < current && sourceRow >= current - m_maxCount;
    return sourceRow > current && sourceRow <= current + m_maxCount;
}

void PopupHistoryModel::refilter()
{
    invalidateFilter();
}
