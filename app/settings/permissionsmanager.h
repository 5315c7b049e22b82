#pragma once

#include "permissionsmodel.h"

#include <QObject>

class DBManager;
namespace Orvane
{
namespace WebView
{
    class PermissionManager;
}
} // namespace Orvane

// The user's per-site permission answers: kept through storage, shown by the
// model, and handed to the web engine so that it asks, grants or refuses
// without a prompt.
class PermissionsManager : public QObject
{
    Q_OBJECT
    // Every site with its answers.
    Q_PROPERTY(PermissionsModel* permissionsModel READ permissionsModel NOTIFY permissionsModelChanged)
public:
    explicit PermissionsManager(QObject* parent = nullptr);
    PermissionsManager(DBManager* db, Orvane::WebView::PermissionManager* engine, QObject* parent = nullptr);

    PermissionsModel* permissionsModel() const { return m_model; }

    // policies: the seven answers in PermissionType order; null or -1 is "no answer".
    Q_INVOKABLE void addPermissions(const QString& url, const QVariantList& policies);
    // value: a bool (allowed or not), a ResponseType number, or null to ask again.
    Q_INVOKABLE void updatePermission(const QString& url, int type, const QVariant& value);
    // Forgets every answer of the site but keeps it listed.
    Q_INVOKABLE void revokePermissions(const QString& url);
    Q_INVOKABLE void removePermissionsData(const QString& url);
    Q_INVOKABLE void removeAllPermissions();

signals:
    void permissionsModelChanged();

private:
    void store(const QString& site, const QList<int>& policies);
    void forward(const QString& site, int type, int response);
    void forwardAll();

    DBManager* m_db;
    Orvane::WebView::PermissionManager* m_engine;
    PermissionsModel* m_model;
};
