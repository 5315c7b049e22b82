#include "passwordkey.h"

#include "passwordlogging.h"
#include "secretkeyring.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <openssl/rand.h>

using CredentialStore::KeySource;

namespace
{

QByteArray readKeyFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    // A key that others could read protects nothing; it is still used, so that
    // the logins stay reachable, but the owner is told.
    if (file.permissions() & (QFileDevice::ReadGroup | QFileDevice::ReadOther))
        qCWarning(lcPasswords) << "key file is readable by other users:" << path;
    return QByteArray::fromBase64(file.readAll().trimmed());
}

bool writeKeyFile(const QString& path, const QByteArray& key)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    file.write(key.toBase64() + '\n');
    return file.commit();
}

QByteArray randomKey()
{
    QByteArray key(CredentialStore::keySize, Qt::Uninitialized);
    if (RAND_bytes(reinterpret_cast<unsigned char*>(key.data()), key.size()) != 1)
        return {};
    return key;
}

} // namespace

PasswordKey::Key PasswordKey::existing(KeySource source, const QString& keyFilePath)
{
    Key key;
    if (source == KeySource::Keyring) {
        if (SecretKeyring::lookup(&key.bytes, keyringTimeoutMs) != SecretKeyring::Result::Found)
            key.bytes.clear();
    } else if (source == KeySource::KeyFile) {
        key.bytes = readKeyFile(keyFilePath);
    }
    key.source = key.isValid() ? source : KeySource::None;
    return key;
}

PasswordKey::Key PasswordKey::forNewStore(const QString& keyFilePath)
{
    Key key;
    const SecretKeyring::Result found = SecretKeyring::lookup(&key.bytes, keyringTimeoutMs);
    if (found == SecretKeyring::Result::Found && key.isValid()) {
        key.source = KeySource::Keyring;
        return key;
    }
    key.bytes = randomKey();
    if (key.bytes.isEmpty())
        return {};
    if (found == SecretKeyring::Result::Missing && SecretKeyring::store(key.bytes, keyringTimeoutMs)) {
        key.source = KeySource::Keyring;
        qCInfo(lcPasswords) << "store key kept in the Secret Service keyring";
        return key;
    }
    const QByteArray onDisk = readKeyFile(keyFilePath);
    if (onDisk.size() == CredentialStore::keySize) {
        key.bytes = onDisk;
    } else if (!writeKeyFile(keyFilePath, key.bytes)) {
        qCWarning(lcPasswords) << "cannot write key file" << keyFilePath;
        return {};
    }
    key.source = KeySource::KeyFile;
    qCInfo(lcPasswords) << "no keyring answered, store key kept in" << keyFilePath;
    return key;
}
