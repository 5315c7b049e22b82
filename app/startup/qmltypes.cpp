#include "qmltypes.h"

#include "settings/dprmodel.h"
#include "settings/permission.h"
#include "settings/permissionsmanager.h"
#include "settings/permissionsproxymodel.h"
#include "settings/settingsmanager.h"
#include "utils/filepathutils.h"

#include <QtQml>

namespace
{
template <typename T> void singleton(const char* uri, int major, int minor, const char* name)
{
    qmlRegisterSingletonType<T>(uri, major, minor, name, &T::qmlInstance);
}

template <typename T> void creatable(const char* uri, int major, int minor, const char* name)
{
    qmlRegisterType<T>(uri, major, minor, name);
}
} // namespace

const QVector<QmlTypeEntry>& qmlTypeEntries()
{
    // The one list of the module's types, in the order the front end expects
    // them to be registered. Types join it as their classes exist.
    static const QVector<QmlTypeEntry> entries = {
        { "SettingsManager", QmlTypeEntry::Singleton, &singleton<SettingsManager> },
        { "Permission", QmlTypeEntry::Creatable, &creatable<Permission> },
        { "PermissionsManager", QmlTypeEntry::Creatable, &creatable<PermissionsManager> },
        { "PermissionsProxyModel", QmlTypeEntry::Creatable, &creatable<PermissionsProxyModel> },
        { "DprModel", QmlTypeEntry::Creatable, &creatable<DprModel> },
        { "FilePathUtils", QmlTypeEntry::Singleton, &singleton<FilePathUtils> },
    };
    return entries;
}

void registerQmlTypes()
{
    for (const QmlTypeEntry& entry : qmlTypeEntries())
        entry.registerType(browserModuleUri, 1, 0, entry.name);
}
