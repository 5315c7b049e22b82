#include "qmltypes.h"

#include "bookmarks/bookmarkmanager.h"
#include "bookmarks/bookmarkmodel.h"
#include "bookmarks/bookmarktreemodel.h"
#include "downloads/downloadmanager.h"
#include "downloads/downloadmodel.h"
#include "history/faviconsmap.h"
#include "history/historymodel.h"
#include "history/mostvisitedmodel.h"
#include "history/popuphistorymodel.h"
#include "history/searchmodel.h"
#include "history/tabhistorymodel.h"
#include "history/tabsmodel.h"
#include "passwords/credentialsmodel.h"
#include "passwords/passwordmanager.h"

#include "pwa/pwamanager.h"
#include "settings/dprmodel.h"
#include "settings/permission.h"
#include "settings/permissionsmanager.h"
#include "settings/permissionsproxymodel.h"
#include "settings/settingsmanager.h"
#include "utils/filepathutils.h"
#include "utils/managedconfigurationutils.h"
#include "utils/screenshotutils.h"

#include <QtQml>

namespace
{
template <typename T> void creatable(const char* uri, int major, int minor, const char* name)
{
    qmlRegisterType<T>(uri, major, minor, name);
}

template <typename T> void singleton(const char* uri, int major, int minor, const char* name)
{
    qmlRegisterSingletonType<T>(uri, major, minor, name, &T::qmlInstance);
}

template <typename T> void uncreatable(const char* uri, int major, int minor, const char* name)
{
    qmlRegisterUncreatableType<T>(uri, major, minor, name, QStringLiteral("Only for roles"));
}
} // namespace

const QVector<QmlTypeEntry>& qmlTypeEntries()
{
    // The one list of the module's types, in the order the front end expects
    // them to be registered. Types join it as their classes exist.
    static const QVector<QmlTypeEntry> entries = {
        { "BaseHistoryModel", QmlTypeEntry::Creatable, &creatable<BaseHistoryModel> },
        { "HistoryModel", QmlTypeEntry::Creatable, &creatable<HistoryModel> },
        { "SearchModel", QmlTypeEntry::Creatable, &creatable<SearchModel> },
        { "TabHistoryModel", QmlTypeEntry::Creatable, &creatable<TabHistoryModel> },
        { "PopupHistoryModel", QmlTypeEntry::Creatable, &creatable<PopupHistoryModel> },
        { "MostVisitedModel", QmlTypeEntry::Creatable, &creatable<MostVisitedModel> },
        { "BookmarkManager", QmlTypeEntry::Singleton, &singleton<BookmarkManager> },
        { "BookmarkTreeModel", QmlTypeEntry::Creatable, &creatable<BookmarkTreeModel> },
        { "BookmarkModel", QmlTypeEntry::Creatable, &creatable<BookmarkModel> },
        { "SettingsManager", QmlTypeEntry::Singleton, &singleton<SettingsManager> },
        { "Permission", QmlTypeEntry::Creatable, &creatable<Permission> },
        { "PermissionsManager", QmlTypeEntry::Creatable, &creatable<PermissionsManager> },
        { "PermissionsProxyModel", QmlTypeEntry::Creatable, &creatable<PermissionsProxyModel> },
        { "SettingsPasswordManager", QmlTypeEntry::Singleton, &singleton<PasswordManager> },
        { "CredentialsModel", QmlTypeEntry::Creatable, &creatable<CredentialsModel> },
        { "DprModel", QmlTypeEntry::Creatable, &creatable<DprModel> },
        { "TabsModel", QmlTypeEntry::Creatable, &creatable<TabsModel> },
        { "DownloadManager", QmlTypeEntry::Singleton, &singleton<DownloadManager> },
        { "DownloadModel", QmlTypeEntry::Uncreatable, &uncreatable<DownloadModel> },
        { "FilePathUtils", QmlTypeEntry::Singleton, &singleton<FilePathUtils> },
        { "ManagedConfigurationUtils", QmlTypeEntry::Singleton, &singleton<ManagedConfigurationUtils> },
        { "ScreenshotUtils", QmlTypeEntry::Singleton, &singleton<ScreenshotUtils> },
        { "FaviconsMap", QmlTypeEntry::Singleton, &singleton<FaviconsMap> },
        { "PwaManager", QmlTypeEntry::Singleton, &singleton<PwaManager> },
    };
    return entries;
}

void registerQmlTypes()
{
    for (const QmlTypeEntry& entry : qmlTypeEntries())
        entry.registerType(browserModuleUri, 1, 0, entry.name);
}
