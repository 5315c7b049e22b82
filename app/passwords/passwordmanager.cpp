#include "passwordmanager.h"

#include "credentialsmodel.h"
#include "passwordiostate.h"
#include "passwordlogging.h"
#include "storage/dbmanager.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QQmlEngine>
#include <QStandardPaths>
#include <QUrl>
#include <QUuid>

#include <algorithm>

Q_LOGGING_CATEGORY(lcPasswords, "browser.app.passwords")

using CredentialStore::KeySource;

PasswordManager* PasswordManager::instance()
{
    static PasswordManager* manager
        = new PasswordManager(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation));
    return manager;
}

QObject* PasswordManager::qmlInstance(QQmlEngine*, QJSEngine*)
{
    QObject* manager = instance();
    QQmlEngine::setObjectOwnership(manager, QQmlEngine::CppOwnership);
    return manager;
}

PasswordManager::PasswordManager(const QString& directory, QObject* parent)
    : QObject(parent)
    , m_directory(directory)
    , m_ioState(std::make_shared<PasswordIoState>())
{
    m_io.setMaxThreadCount(1);
    m_io.setExpiryTimeout(-1);
    m_ioState->storePath = storePath();
    m_ioState->keyFilePath = keyFilePath();
    if (QCoreApplication::instance())
        connect(
            QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, &PasswordManager::waitForIo);

    DBManager* db = DBManager::instance();
    connect(db, &DBManager::passwordExceptionsAvailable, this, [this](const QHash<QString, int>& exceptions) {
        if (exceptions == m_exceptions)
            return;
        m_exceptions = exceptions;
        emit exceptionsChanged();
    });
    db->getPasswordExceptions();

    runIo([state = m_ioState] { return loadStore(state.get()); },
        [this](const LoadResult& result) {
            switch (result.status) {
            case CredentialStore::Status::Missing:
                setStatus(Ready);
                break;
            case CredentialStore::Status::Ok:
                m_credentials = result.credentials;
                m_keySource = result.source;
                ++m_generation;
                emit keyLocationChanged();
                emit credentialsChanged();
                setStatus(Ready);
                break;
            default:
                setStatus(result.locked ? Locked : Damaged);
                qCWarning(lcPasswords) << (result.locked ? "store key not available, logins not loaded:"
                                                         : "credential store refused:")
                                       << storePath();
                break;
            }
        });
}

PasswordManager::~PasswordManager()
{
    waitForIo();
}

QString PasswordManager::storePath() const
{
    return QDir(m_directory).absoluteFilePath(QStringLiteral("passwords.store"));
}

QString PasswordManager::keyFilePath() const
{
    return QDir(m_directory).absoluteFilePath(QStringLiteral("passwords.key"));
}

QString PasswordManager::siteOf(const QString& url)
{
    const QUrl parsed(url.trimmed());
    if (!parsed.isValid() || parsed.host().isEmpty())
        return QString();
    return parsed
        .adjusted(QUrl::RemoveUserInfo | QUrl::RemovePath | QUrl::RemoveQuery | QUrl::RemoveFragment
            | QUrl::StripTrailingSlash)
        .toString();
}

QStringList PasswordManager::exceptions() const
{
    QStringList sites;
    for (auto it = m_exceptions.constBegin(); it != m_exceptions.constEnd(); ++it) {
        if (it.value() < 0)
            sites.append(it.key());
    }
    sites.sort();
    return sites;
}

QString PasswordManager::keyLocation() const
{
    switch (m_keySource) {
    case KeySource::Keyring:
        return QStringLiteral("keyring");
    case KeySource::KeyFile:
        return QStringLiteral("file");
    default:
        return QString();
    }
}

void PasswordManager::setStatus(Status status)
{
    if (m_status == status)
        return;
    m_status = status;
    emit statusChanged();
}

void PasswordManager::setBusy(bool busy)
{
    m_busy += busy ? 1 : -1;
    if (m_busy == (busy ? 1 : 0))
        emit busyChanged();
}

int PasswordManager::indexOf(const QString& id) const
{
    for (int i = 0; i < m_credentials.size(); ++i) {
        if (m_credentials.at(i).id == id)
            return i;
    }
    return -1;
}

int PasswordManager::insertSorted(const Credential& credential)
{
    const auto it = std::lower_bound(m_credentials.begin(), m_credentials.end(), credential, credentialLess);
    const int index = int(it - m_credentials.begin());
    m_credentials.insert(index, credential);
    return index;
}

QString PasswordManager::save(
    const QString& url, const QString& username, const QString& password, const QString& note)
{
    const QString site = siteOf(url);
    if (m_status != Ready || site.isEmpty() || password.isEmpty())
        return QString();
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    for (Credential& existing : m_credentials) {
        if (existing.site == site && existing.username == username) {
            if (existing.password == password && existing.note == note)
                return existing.id;
            existing.password = password;
            if (!note.isEmpty())
                existing.note = note;
            existing.modified = now;
            ++m_generation;
            persist();
            emit credentialsChanged();
            return existing.id;
        }
    }
    Credential credential;
    credential.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
    credential.site = site;
    credential.url = url.trimmed();
    credential.name = QUrl(site).host();
    credential.username = username;
    credential.password = password;
    credential.note = note;
    credential.created = credential.modified = now;
    insertSorted(credential);
    ++m_generation;
    persist();
    emit credentialsChanged();
    return credential.id;
}

bool PasswordManager::update(
    const QString& id, const QString& username, const QString& password, const QString& note)
{
    const int index = indexOf(id);
    if (m_status != Ready || index < 0 || password.isEmpty())
        return false;
    Credential credential = m_credentials.at(index);
    if (username != credential.username) {
        // Two logins of one site with the same user name could never both be filled.
        for (const Credential& other : qAsConst(m_credentials)) {
            if (other.site == credential.site && other.username == username)
                return false;
        }
    }
    credential.username = username;
    credential.password = password;
    credential.note = note;
    credential.modified = QDateTime::currentMSecsSinceEpoch();
    m_credentials.remove(index);
    insertSorted(credential);
    ++m_generation;
    persist();
    emit credentialsChanged();
    return true;
}

bool PasswordManager::remove(const QString& id)
{
    return removeSelected({ id }) == 1;
}

int PasswordManager::removeSelected(const QStringList& ids)
{
    if (m_status != Ready)
        return 0;
    const QSet<QString> wanted(ids.cbegin(), ids.cend());
    const int before = m_credentials.size();
    m_credentials.erase(std::remove_if(m_credentials.begin(), m_credentials.end(),
                            [&wanted](const Credential& c) { return wanted.contains(c.id); }),
        m_credentials.end());
    const int removed = before - m_credentials.size();
    if (removed > 0) {
        ++m_generation;
        persist();
        emit credentialsChanged();
    }
    return removed;
}

void PasswordManager::removeAll()
{
    if (m_status != Ready || m_credentials.isEmpty())
        return;
    m_credentials.clear();
    ++m_generation;
    persist();
    emit credentialsChanged();
}

QString PasswordManager::password(const QString& id) const
{
    const int index = indexOf(id);
    return index < 0 ? QString() : m_credentials.at(index).password;
}

namespace
{
QVariantList siteLogins(const QVector<Credential>& credentials, const QString& site, bool withPasswords)
{
    QVariantList logins;
    if (site.isEmpty())
        return logins;
    for (const Credential& c : credentials) {
        if (c.site != site)
            continue;
        QVariantMap login { { QStringLiteral("id"), c.id }, { QStringLiteral("username"), c.username },
            { QStringLiteral("note"), c.note }, { QStringLiteral("created"), c.created },
            { QStringLiteral("modified"), c.modified } };
        if (withPasswords)
            login.insert(QStringLiteral("password"), c.password);
        logins.append(login);
    }
    return logins;
}
} // namespace

QVariantList PasswordManager::credentialsForSite(const QString& url) const
{
    return siteLogins(m_credentials, siteOf(url), false);
}

QVariantList PasswordManager::credentialsForUrl(const QString& url) const
{
    return siteLogins(m_credentials, siteOf(url), true);
}

QObject* PasswordManager::siteCredentials(const QString& url)
{
    auto* model = new SiteCredentialsModel();
    model->setManager(this);
    model->setSite(url);
    QQmlEngine::setObjectOwnership(model, QQmlEngine::JavaScriptOwnership);
    return model;
}

int PasswordManager::saveOffer(const QString& url, const QString& username, const QString& password) const
{
    const QString site = siteOf(url);
    if (m_status != Ready || site.isEmpty() || password.isEmpty() || isException(url))
        return NoOffer;
    for (const Credential& c : m_credentials) {
        if (c.site == site && c.username == username)
            return c.password == password ? NoOffer : OfferUpdate;
    }
    return OfferSave;
}

void PasswordManager::addException(const QString& url)
{
    const QString site = siteOf(url);
    if (site.isEmpty() || m_exceptions.value(site) == -1)
        return;
    m_exceptions.insert(site, -1);
    DBManager::instance()->addException(site);
    // An answer to an earlier read may still be on its way and would drop this
    // site again; the answer to this read comes after it.
    DBManager::instance()->getPasswordExceptions();
    emit exceptionsChanged();
}

void PasswordManager::removeException(const QString& url)
{
    const QString site = siteOf(url);
    if (!m_exceptions.remove(site))
        return;
    DBManager::instance()->removeException(site);
    DBManager::instance()->getPasswordExceptions();
    emit exceptionsChanged();
}

bool PasswordManager::isException(const QString& url) const
{
    return m_exceptions.value(siteOf(url)) == -1;
}
