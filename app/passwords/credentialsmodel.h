#pragma once

#include "credentialstore.h"

#include <QAbstractListModel>
#include <QPointer>
#include <QSet>

class PasswordManager;

// The saved logins of every site, sorted by site and user name, for the
// password page. `filter` keeps the logins whose site, name, user name or note
// contain the text. A password is handed out only for rows the user asked to
// reveal; other rows answer an empty string.
class CredentialsModel : public QAbstractListModel
{
    Q_OBJECT
    // Search text; empty shows everything.
    Q_PROPERTY(QString filter READ filter WRITE setFilter NOTIFY filterChanged)
    // Rows shown.
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)
    // Rows selected for removal.
    Q_PROPERTY(int selectedCount READ selectedCount NOTIFY selectedCountChanged)
public:
    enum Roles {
        IdRole = Qt::UserRole + 1,
        SiteRole,
        UrlRole,
        NameRole,
        UsernameRole,
        PasswordRole,
        RevealedRole,
        NoteRole,
        CreatedRole,
        ModifiedRole,
        SelectedRole,
    };
    Q_ENUM(Roles)

    explicit CredentialsModel(QObject* parent = nullptr);

    // The manager whose logins are shown; PasswordManager::instance() unless set.
    void setManager(PasswordManager* manager);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    QString filter() const { return m_filter; }
    void setFilter(const QString& filter);
    int selectedCount() const { return m_selected.size(); }

    Q_INVOKABLE void reveal(int row, bool revealed);
    Q_INVOKABLE void setSelected(int row, bool selected);
    Q_INVOKABLE void selectAll(bool selected);
    // Removes the selected logins from the store.
    Q_INVOKABLE int removeSelected();
    Q_INVOKABLE bool remove(int row);
    Q_INVOKABLE QString idAt(int row) const;

signals:
    void filterChanged();
    void countChanged();
    void selectedCountChanged();

protected:
    virtual bool accepts(const Credential& credential) const;
    void refill();

private:
    bool matchesFilter(const Credential& credential) const;
    void setSelectedIds(const QSet<QString>& ids);

    QPointer<PasswordManager> m_manager;
    QVector<Credential> m_rows;
    QString m_filter;
    QSet<QString> m_revealed;
    QSet<QString> m_selected;
};

// The logins of one site, for the site's page and the fill prompt.
class SiteCredentialsModel : public CredentialsModel
{
    Q_OBJECT
    // Any url of the site; only its scheme and authority count.
    Q_PROPERTY(QString site READ site WRITE setSite NOTIFY siteChanged)
public:
    explicit SiteCredentialsModel(QObject* parent = nullptr);

    QString site() const { return m_site; }
    void setSite(const QString& url);

signals:
    void siteChanged();

protected:
    bool accepts(const Credential& credential) const override;

private:
    QString m_site;
};
