#pragma once

#include "credentialstore.h"

#include <QByteArray>
#include <QString>

// Where the credential store's key lives. The desktop's Secret Service keyring
// (org.freedesktop.secrets) is preferred: its items are encrypted under the
// user's login secret, so a copy of the home directory alone reveals nothing.
// When no keyring answers within a short time, the key goes into a file that
// only the user can read. Called only from the store's I/O thread: the GUI
// thread never waits for the keyring.
namespace PasswordKey
{
struct Key {
    QByteArray bytes;
    CredentialStore::KeySource source = CredentialStore::KeySource::None;
    bool isValid() const { return bytes.size() == CredentialStore::keySize; }
};

// The key of an existing store, from the place its header names. Invalid when
// that place does not answer or holds no key: the store is then left alone.
Key existing(CredentialStore::KeySource source, const QString& keyFilePath);

// The key for a new store: one already in the keyring, else a new one put into
// the keyring, else the key file's (made when missing).
Key forNewStore(const QString& keyFilePath);

// How long one keyring request may take before the keyring counts as absent.
constexpr int keyringTimeoutMs = 3000;
} // namespace PasswordKey
