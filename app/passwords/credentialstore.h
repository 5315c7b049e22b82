#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

// One saved login. The site is the scheme and authority of the url: logins are
// filled and listed per site.
struct Credential {
    QString id;
    QString site;
    QString url;
    QString name;
    QString username;
    QString password;
    QString note;
    qint64 created = 0; // ms since the epoch
    qint64 modified = 0;
};

// The encrypted credential file. Each record is sealed on its own with
// AES-256-GCM under a fresh random 96-bit nonce; the file header (magic and key
// source) is authenticated with every record, so a record cannot be moved into
// a file that says its key lives elsewhere. The file is replaced as a whole
// through QSaveFile.
namespace CredentialStore
{
enum class KeySource : quint8 { None = 0, Keyring = 1, KeyFile = 2 };

enum class Status {
    Ok,
    Missing, // no file yet: nothing was ever saved
    NotAStore, // the file does not start like a credential store
    Unreadable, // the file could not be opened or is cut short
    Rejected, // a record failed authentication: wrong key or altered bytes
};

constexpr int keySize = 32;

// The key source named in the file's header.
Status readKeySource(const QString& path, KeySource* source);
Status read(const QString& path, const QByteArray& key, QVector<Credential>* credentials);
// Writes the file with mode 0600; false when it could not be written.
bool write(
    const QString& path, const QByteArray& key, KeySource source, const QVector<Credential>& credentials);

// AES-256-GCM of one record: nonce, ciphertext and tag in one array.
QByteArray seal(const QByteArray& key, const QByteArray& plain, const QByteArray& associated);
bool open(const QByteArray& key, const QByteArray& sealed, const QByteArray& associated, QByteArray* plain);
} // namespace CredentialStore
