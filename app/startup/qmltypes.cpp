#include "qmltypes.h"

#include "passwords/credentialsmodel.h"
#include "passwords/passwordmanager.h"
#include "utils/filepathutils.h"

#include <QtQml>

namespace
{
template <typename T> void singleton(const char* uri, int major, int minor, const char* name)
{
    qmlRegisterSingletonType<T>(uri, major, minor, name, &T::qmlInstance);
}
} // namespace

const QVector<QmlTypeEntry>& qmlTypeEntries()
{
    // The one list of the module's types, in the order the front end expects
    // them to be registered. Types join it as their classes exist.
    static const QVector<QmlTypeEntry> entries = {
        { "SettingsPasswordManager", QmlTypeEntry::Singleton, &singleton<PasswordManager> },
        { "CredentialsModel", QmlTypeEntry::Creatable,
            [](const char* uri, int major, int minor, const char* name) {
                qmlRegisterType<CredentialsModel>(uri, major, minor, name);
            } },
        { "FilePathUtils", QmlTypeEntry::Singleton, &singleton<FilePathUtils> },
    };
    return entries;
}

void registerQmlTypes()
{
    for (const QmlTypeEntry& entry : qmlTypeEntries())
        entry.registerType(browserModuleUri, 1, 0, entry.name);
}
