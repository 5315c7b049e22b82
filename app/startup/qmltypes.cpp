#include "qmltypes.h"

#include "downloads/downloadmanager.h"
#include "downloads/downloadmodel.h"
#include "utils/filepathutils.h"

#include <QtQml>

namespace
{
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
        { "DownloadManager", QmlTypeEntry::Singleton, &singleton<DownloadManager> },
        { "DownloadModel", QmlTypeEntry::Uncreatable, &uncreatable<DownloadModel> },
        { "FilePathUtils", QmlTypeEntry::Singleton, &singleton<FilePathUtils> },
    };
    return entries;
}

void registerQmlTypes()
{
    for (const QmlTypeEntry& entry : qmlTypeEntries())
        entry.registerType(browserModuleUri, 1, 0, entry.name);
}
