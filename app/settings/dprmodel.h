#pragma once

#include "storage/records.h"

#include <QAbstractListModel>
#include <QSet>
#include <QVector>

// Per-site zoom, one row per site: (id, site, dpr).
class BaseDprModel : public QAbstractListModel
{
    Q_OBJECT
    // Sites with a zoom of their own.
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    enum BaseDprSettingRoles {
        IdRole = 0,
        SiteRole,
        DprRole,
    };
    Q_ENUM(BaseDprSettingRoles)

    struct Row {
        int id = 0;
        QString site;
        float dpr = -1.0f;
    };

    explicit BaseDprModel(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;
    int count() const { return m_rows.size(); }

    // The site's zoom; -1 when it has none. The first row of the site counts.
    float dprOf(const QString& site) const;
    int rowOf(const QString& site) const;
    void setDpr(const QString& site, float dpr);
    void removeSite(const QString& site);
    QStringList sites() const;

public slots:
    void onSiteDprsAvailable(const QList<SiteDpr>& dprs);
    // A site that already has a row keeps it and takes the new zoom.
    void onSiteDprAdded(const SiteDpr& dpr);

signals:
    void countChanged();

protected:
    QVector<Row> m_rows;
};

// The settings page's list of zoomed sites, with a selection to remove several.
class DprModel : public BaseDprModel
{
    Q_OBJECT
    // Rows selected.
    Q_PROPERTY(int selectedCount READ selectedCount NOTIFY selectedCountChanged)
public:
    enum DprSettingRoles {
        SelectedRole = DprRole + 1,
    };
    Q_ENUM(DprSettingRoles)

    explicit DprModel(QObject* parent = nullptr);

    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;
    int selectedCount() const { return m_selected.size(); }

    Q_INVOKABLE void toggleSelection(int row);
    Q_INVOKABLE void selectAll();
    Q_INVOKABLE void deselectAll();
    QStringList selectedSites() const;

signals:
    void selectedCountChanged();

private:
    void pruneSelection();

    QSet<QString> m_selected; // sites, so a refill keeps what is still there
};
