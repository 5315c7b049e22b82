#pragma once

#include <QByteArray>

// The store key as one item of the Secret Service keyring, through libsecret.
// Kept apart because GLib's headers clash with Qt's keywords.
namespace SecretKeyring
{
enum class Result { Found, Missing, Unavailable };

Result lookup(QByteArray* key, int timeoutMs);
bool store(const QByteArray& key, int timeoutMs);
} // namespace SecretKeyring
