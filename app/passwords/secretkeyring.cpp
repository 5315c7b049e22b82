// GLib names a struct member "signals": libsecret comes before any Qt header.
#undef signals
#include <libsecret/secret.h>

#include "secretkeyring.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace
{

const SecretSchema* schema()
{
    static const SecretSchema s = [] {
        SecretSchema value = {};
        value.name = "ru.nuvo.webdeck.CredentialStoreKey";
        value.flags = SECRET_SCHEMA_NONE;
        value.attributes[0] = { "application", SECRET_SCHEMA_ATTRIBUTE_STRING };
        return value;
    }();
    return &s;
}

constexpr const char* application = "ru.nuvo.webdeck";

// Runs a blocking libsecret call and cancels it when it outlasts the timeout:
// a keyring daemon that is being activated, or hangs, must not hold the store.
template <typename Call> void withTimeout(int timeoutMs, Call call)
{
    GCancellable* cancellable = g_cancellable_new();
    std::mutex mutex;
    std::condition_variable done;
    bool finished = false;
    std::thread watchdog([&] {
        std::unique_lock<std::mutex> lock(mutex);
        if (!done.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] { return finished; }))
            g_cancellable_cancel(cancellable);
    });
    call(cancellable);
    {
        std::lock_guard<std::mutex> lock(mutex);
        finished = true;
    }
    done.notify_one();
    watchdog.join();
    g_object_unref(cancellable);
}

bool sessionBusConfigured()
{
    // Without a session bus address GLib would try to autolaunch one.
    if (g_getenv("DBUS_SESSION_BUS_ADDRESS"))
        return true;
    const char* runtime = g_getenv("XDG_RUNTIME_DIR");
    if (!runtime)
        return false;
    gchar* path = g_build_filename(runtime, "bus", nullptr);
    const bool exists = g_file_test(path, G_FILE_TEST_EXISTS);
    g_free(path);
    return exists;
}

} // namespace

SecretKeyring::Result SecretKeyring::lookup(QByteArray* key, int timeoutMs)
{
    if (!sessionBusConfigured())
        return Result::Unavailable;
    Result result = Result::Unavailable;
    withTimeout(timeoutMs, [&](GCancellable* cancellable) {
        GError* error = nullptr;
        gchar* secret
            = secret_password_lookup_sync(schema(), cancellable, &error, "application", application, nullptr);
        if (error) {
            g_error_free(error);
            return;
        }
        if (!secret) {
            result = Result::Missing;
            return;
        }
        *key = QByteArray::fromBase64(QByteArray(secret));
        secret_password_free(secret);
        result = Result::Found;
    });
    return result;
}

bool SecretKeyring::store(const QByteArray& key, int timeoutMs)
{
    if (!sessionBusConfigured())
        return false;
    bool stored = false;
    const QByteArray text = key.toBase64();
    withTimeout(timeoutMs, [&](GCancellable* cancellable) {
        GError* error = nullptr;
        stored = secret_password_store_sync(schema(), SECRET_COLLECTION_DEFAULT, "webdeck saved passwords",
            text.constData(), cancellable, &error, "application", application, nullptr);
        if (error) {
            g_error_free(error);
            stored = false;
        }
    });
    return stored;
}
