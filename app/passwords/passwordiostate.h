#pragma once

// Shared by the manager's GUI-thread and I/O-thread halves; not for other users.

#include "credentialstore.h"
#include "passwordkey.h"
#include "passwordmanager.h"

#include <QMetaObject>

struct PasswordIoState {
    QString storePath;
    QString keyFilePath;
    PasswordKey::Key key;
};

struct LoadResult {
    CredentialStore::Status status = CredentialStore::Status::Missing;
    CredentialStore::KeySource source = CredentialStore::KeySource::None;
    bool locked = false;
    QVector<Credential> credentials;
};

// The order of the lists: by site, then user name.
inline bool credentialLess(const Credential& a, const Credential& b)
{
    const int site = QString::compare(a.site, b.site);
    return site != 0 ? site < 0 : a.username < b.username;
}

LoadResult loadStore(PasswordIoState* state);

// Runs job on the I/O thread, then done with its result on the GUI thread.
// The destructor waits for the I/O thread, so `this` outlives every job; a
// result posted after that is dropped with the object's pending events.
template <typename Job, typename Done> void PasswordManager::runIo(Job job, Done done)
{
    m_io.start([this, job, done]() {
        auto result = job();
        QMetaObject::invokeMethod(
            this, [done, result]() { done(result); }, Qt::QueuedConnection);
    });
}
