#pragma once

#include "permission.h"
#include "storage/records.h"

#include <QAbstractListModel>
#include <QVariantList>
#include <QVector>

// One row per site with its stored answer for every permission kind; a kind
// without an answer reads as a null value.
class PermissionsModel : public QAbstractListModel
{
    Q_OBJECT
public:
    enum PermissionRoles {
        UrlRole = 0,
        CameraRole,
        MicrophoneRole,
        GeolocationRole,
        NotificationRole,
        ScreenCaptureRole,
        PopupsRole,
        CookiesRole,
    };
    Q_ENUM(PermissionRoles)

    explicit PermissionsModel(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // Every site as a map of role names to values, in row order.
    Q_INVOKABLE void getUrlPermissionsList(QVariantList* list) const;
    Q_INVOKABLE QString getUrl(int row) const;
    // The kinds (PermissionType values) the site allows.
    Q_INVOKABLE QVariantList getAllowedList(const QString& site) const;
    // The site's answer for one kind; InvalidResponse when it has none.
    Q_INVOKABLE int getPermission(const QString& site, int type) const;

    int rowOf(const QString& site) const;
    // The seven answers of a site, -1 where none; all -1 for an unknown site.
    QList<int> policiesOf(const QString& site) const;
    // Puts a site's answers in place, adding the row when the site is new.
    void setPolicies(const QString& site, const QList<int>& policies);
    void removeSite(const QString& site);
    void removeAll();

public slots:
    void onPermissionsAvailable(const QList<SitePermissions>& permissions);

signals:
    void permissionsChanged();
    void allPermissionsRemoved();

private:
    QVector<SitePermissions> m_rows;
};
