#pragma once

#include "credentialstore.h"

#include <QHash>
#include <QObject>
#include <QStringList>
#include <QThreadPool>
#include <QVariantList>
#include <QVariantMap>
#include <QVector>

#include <memory>

struct PasswordIoState;
class QQmlEngine;
class QJSEngine;

// The saved logins of the browser and the sites where saving is never offered.
// Published to QML as the singleton SettingsPasswordManager.
//
// Logins live in memory on the GUI thread, sorted by site and user name, and
// in an encrypted file ("passwords.store" beside the database). Loading,
// saving, CSV import and export run in order on one I/O thread of the
// manager's own, so neither the keyring nor the crypto over thousands of
// records ever holds the GUI thread; results come back as signals. The
// never-save exceptions are the database's password exceptions, reached
// through DBManager.
//
// The manager does not read the settings: the front end asks
// SettingsManager.enablePasswordsAutofill before it fills a form and
// SettingsManager.suggestToSavePasswords before it offers to save.
//
// Wiring of autofill in the reference front end (QtWebEngine):
//  1. The web view runs qrc:///qtwebchannel/qwebchannel.js and then
//     qml/passwords/autofill.js as user scripts in WebEngineScript.ApplicationWorld,
//     injected at DocumentReady, and sets webChannelWorld to ApplicationWorld,
//     so that page scripts can reach neither the channel nor the logins.
//  2. Each view registers on its WebChannel one QtObject with WebChannel.id
//     "webdeckPasswords" and two functions that call this manager with the
//     view's own url (never a url the page sends):
//       function logins() -> [{username, password}]: [] unless autofill is on,
//           else SettingsPasswordManager.credentialsForUrl(view.url)
//       function submitted(username, password): when suggestToSavePasswords is
//           on and saveOffer(view.url, username, password) is not NoOffer, show
//           the save/update prompt; "Save" calls save(view.url, username,
//           password, ""), "Never for this site" calls addException(view.url).
//  3. The script fills the form on load when the site has one login (or the
//     typed user name matches one) and calls submitted() when a form with a
//     password field is sent.
class PasswordManager : public QObject
{
    Q_OBJECT
    // Whether the store has been read; edits are refused until it has.
    Q_PROPERTY(Status status READ status NOTIFY statusChanged)
    // Number of saved logins.
    Q_PROPERTY(int count READ count NOTIFY credentialsChanged)
    // The sites where saving is never offered, sorted.
    Q_PROPERTY(QStringList exceptions READ exceptions NOTIFY exceptionsChanged)
    // Where the store key is kept: "keyring", "file", or "" before the first save.
    Q_PROPERTY(QString keyLocation READ keyLocation NOTIFY keyLocationChanged)
    // True while an import or export runs.
    Q_PROPERTY(bool busy READ busy NOTIFY busyChanged)
public:
    enum Status {
        Loading,
        Ready,
        Locked, // the key is not reachable (keyring locked or gone, key file missing)
        Damaged, // the file is not a store, or a record failed authentication
    };
    Q_ENUM(Status)

    enum SaveOffer { NoOffer, OfferSave, OfferUpdate };
    Q_ENUM(SaveOffer)

    // The store in the application's data directory; made on first use.
    static PasswordManager* instance();
    static QObject* qmlInstance(QQmlEngine* engine, QJSEngine* scriptEngine);

    // A manager on the files of a given directory (tests and benchmarks).
    explicit PasswordManager(const QString& directory, QObject* parent = nullptr);
    ~PasswordManager() override;

    Status status() const { return m_status; }
    int count() const { return m_credentials.size(); }
    QStringList exceptions() const;
    QString keyLocation() const;
    bool busy() const { return m_busy > 0; }
    const QVector<Credential>& credentials() const { return m_credentials; }
    QString storePath() const;
    QString keyFilePath() const;

    // Saves a login, or changes the password and note of the site's login with
    // that user name. Returns its id; empty when refused.
    Q_INVOKABLE QString save(const QString& url, const QString& username, const QString& password,
        const QString& note = QString());
    Q_INVOKABLE bool update(
        const QString& id, const QString& username, const QString& password, const QString& note);
    Q_INVOKABLE bool remove(const QString& id);
    Q_INVOKABLE int removeSelected(const QStringList& ids);
    Q_INVOKABLE void removeAll();
    // The password of one login, for the page's "show" button.
    Q_INVOKABLE QString password(const QString& id) const;
    // The logins of the url's site: id, username, note, created, modified (no password).
    Q_INVOKABLE QVariantList credentialsForSite(const QString& url) const;
    // The same with the passwords, for filling a form of that site.
    Q_INVOKABLE QVariantList credentialsForUrl(const QString& url) const;
    // A SiteCredentialsModel of the url's site, owned by the caller (QML's garbage collector).
    Q_INVOKABLE QObject* siteCredentials(const QString& url);
    // Whether a submitted login should be offered for saving.
    Q_INVOKABLE int saveOffer(const QString& url, const QString& username, const QString& password) const;

    Q_INVOKABLE void addException(const QString& url);
    Q_INVOKABLE void removeException(const QString& url);
    Q_INVOKABLE bool isException(const QString& url) const;

    // Reads a CSV file (a path or file: URL) and adds its new logins; answers
    // with importFinished. False when refused at once (not ready, busy).
    Q_INVOKABLE bool importCsv(const QString& file);
    // Writes every login to a CSV file readable only by the user; answers with exportFinished.
    Q_INVOKABLE bool exportCsv(const QString& file);

    // Lets every queued load, save, import and export finish.
    void waitForIo();

    // The site key of a url: scheme and authority.
    static QString siteOf(const QString& url);

signals:
    void statusChanged();
    void credentialsChanged();
    void exceptionsChanged();
    void keyLocationChanged();
    void busyChanged();
    // A save could not be written; the logins stay in memory.
    void storeError(const QString& message);
    // report: "ok", "error", "added", "identical", "conflicting", "rejected" (counts) and
    // "rows": one map per row with "line", "result" ("added", "identical",
    // "conflicting", "rejected") and "message".
    void importFinished(const QVariantMap& report);
    void exportFinished(bool ok, const QString& message);

private:
    void setStatus(Status status);
    void setBusy(bool busy);
    int indexOf(const QString& id) const;
    int insertSorted(const Credential& credential);
    void persist();
    void applyImport(const QVector<Credential>& added, QVariantMap report);
    void flushSave();
    template <typename Job, typename Done> void runIo(Job job, Done done);

    QString m_directory;
    QVector<Credential> m_credentials;
    QHash<QString, int> m_exceptions;
    Status m_status = Loading;
    int m_busy = 0;
    // Counts edits, so that an import merged off the GUI thread knows whether
    // the list it merged into is still the current one.
    quint64 m_generation = 0;
    bool m_savePending = false;
    CredentialStore::KeySource m_keySource = CredentialStore::KeySource::None;
    QThreadPool m_io;
    // Touched only on the I/O thread: the key never reaches the GUI thread.
    std::shared_ptr<PasswordIoState> m_ioState;
};
