#include "credentialsmodel.h"

#include "passwordmanager.h"

CredentialsModel::CredentialsModel(QObject* parent)
    : QAbstractListModel(parent)
{
    setManager(PasswordManager::instance());
}

void CredentialsModel::setManager(PasswordManager* manager)
{
    if (m_manager)
        disconnect(m_manager, nullptr, this, nullptr);
    m_manager = manager;
    if (m_manager)
        connect(m_manager, &PasswordManager::credentialsChanged, this, &CredentialsModel::refill);
    refill();
}

// A reset on every change: a change is a user action and a refill of 10,000
// rows takes a few milliseconds, far less than diffing them would save.
void CredentialsModel::refill()
{
    const int before = m_rows.size();
    beginResetModel();
    m_rows.clear();
    QSet<QString> present;
    if (m_manager) {
        for (const Credential& c : m_manager->credentials()) {
            if (accepts(c)) {
                m_rows.append(c);
                present.insert(c.id);
            }
        }
    }
    m_revealed.intersect(present);
    endResetModel();
    setSelectedIds(m_selected & present);
    if (before != m_rows.size())
        emit countChanged();
}

bool CredentialsModel::accepts(const Credential& credential) const
{
    return matchesFilter(credential);
}

bool CredentialsModel::matchesFilter(const Credential& c) const
{
    if (m_filter.isEmpty())
        return true;
    return c.site.contains(m_filter, Qt::CaseInsensitive) || c.name.contains(m_filter, Qt::CaseInsensitive)
        || c.username.contains(m_filter, Qt::CaseInsensitive)
        || c.note.contains(m_filter, Qt::CaseInsensitive);
}

int CredentialsModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_rows.size();
}

QVariant CredentialsModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return QVariant();
    const Credential& c = m_rows.at(index.row());
    switch (role) {
    case IdRole:
        return c.id;
    case SiteRole:
        return c.site;
    case UrlRole:
        return c.url;
    case Qt::DisplayRole:
    case NameRole:
        return c.name;
    case UsernameRole:
        return c.username;
    case PasswordRole:
        return m_revealed.contains(c.id) ? c.password : QString();
    case RevealedRole:
        return m_revealed.contains(c.id);
    case NoteRole:
        return c.note;
    case CreatedRole:
        return c.created;
    case ModifiedRole:
        return c.modified;
    case SelectedRole:
        return m_selected.contains(c.id);
    default:
        return QVariant();
    }
}

QHash<int, QByteArray> CredentialsModel::roleNames() const
{
    return {
        { IdRole, "id" },
        { SiteRole, "site" },
        { UrlRole, "url" },
        { NameRole, "name" },
        { UsernameRole, "username" },
        { PasswordRole, "password" },
        { RevealedRole, "revealed" },
        { NoteRole, "note" },
        { CreatedRole, "created" },
        { ModifiedRole, "modified" },
        { SelectedRole, "selected" },
    };
}

void CredentialsModel::setFilter(const QString& filter)
{
    if (m_filter == filter)
        return;
    m_filter = filter;
    refill();
    emit filterChanged();
}

QString CredentialsModel::idAt(int row) const
{
    return row >= 0 && row < m_rows.size() ? m_rows.at(row).id : QString();
}

void CredentialsModel::reveal(int row, bool revealed)
{
    const QString id = idAt(row);
    if (id.isEmpty() || m_revealed.contains(id) == revealed)
        return;
    if (revealed)
        m_revealed.insert(id);
    else
        m_revealed.remove(id);
    emit dataChanged(index(row), index(row), { PasswordRole, RevealedRole });
}

void CredentialsModel::setSelectedIds(const QSet<QString>& ids)
{
    if (ids == m_selected)
        return;
    m_selected = ids;
    emit selectedCountChanged();
}

void CredentialsModel::setSelected(int row, bool selected)
{
    const QString id = idAt(row);
    if (id.isEmpty() || m_selected.contains(id) == selected)
        return;
    QSet<QString> ids = m_selected;
    if (selected)
        ids.insert(id);
    else
        ids.remove(id);
    setSelectedIds(ids);
    emit dataChanged(index(row), index(row), { SelectedRole });
}

void CredentialsModel::selectAll(bool selected)
{
    QSet<QString> ids;
    if (selected) {
        for (const Credential& c : qAsConst(m_rows))
            ids.insert(c.id);
    }
    setSelectedIds(ids);
    if (!m_rows.isEmpty())
        emit dataChanged(index(0), index(m_rows.size() - 1), { SelectedRole });
}

int CredentialsModel::removeSelected()
{
    if (!m_manager || m_selected.isEmpty())
        return 0;
    return m_manager->removeSelected(QStringList(m_selected.cbegin(), m_selected.cend()));
}

bool CredentialsModel::remove(int row)
{
    const QString id = idAt(row);
    return m_manager && !id.isEmpty() && m_manager->remove(id);
}

SiteCredentialsModel::SiteCredentialsModel(QObject* parent)
    : CredentialsModel(parent)
{
    // The base constructor filled the rows with its own test.
    refill();
}

void SiteCredentialsModel::setSite(const QString& url)
{
    const QString site = PasswordManager::siteOf(url);
    if (site == m_site)
        return;
    m_site = site;
    refill();
    emit siteChanged();
}

bool SiteCredentialsModel::accepts(const Credential& credential) const
{
    return !m_site.isEmpty() && credential.site == m_site && CredentialsModel::accepts(credential);
}
