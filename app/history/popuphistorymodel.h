#pragma once

#include <QPointer>
#include <QSortFilterProxyModel>

class TabHistoryModel;

// The entries offered by a long press on the back or forward button: up to
// maxCount entries next to the current one on that side, never the current one.
class PopupHistoryModel : public QSortFilterProxyModel
{
    Q_OBJECT
    // True for the forward menu (newer entries), false for the back menu.
    Q_PROPERTY(bool forwardModel READ forwardModel WRITE setForwardModel NOTIFY forwardModelChanged)
    // How many entries the menu shows at most.
    Q_PROPERTY(int maxCount READ maxCount WRITE setMaxCount NOTIFY maxCountChanged)
    // Number of entries shown.
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    explicit PopupHistoryModel(QObject* parent = nullptr);

    void setSourceModel(QAbstractItemModel* model) override;

    bool forwardModel() const { return m_forward; }
    void setForwardModel(bool forward);
    int maxCount() const { return m_maxCount; }
    void setMaxCount(int maxCount);
    int count() const { return rowCount(); }

signals:
    void forwardModelChanged();
    void maxCountChanged();
    void countChanged();

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;

private:
    void refilter();

    QPointer<TabHistoryModel> m_history;
    QMetaObject::Connection m_currentConnection;
    QMetaObject::Connection m_removalConnection;
    bool m_forward = false;
    int m_maxCount = 0;
    int m_lastCount = 0;
};
