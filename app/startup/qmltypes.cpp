#include "qmltypes.h"

#include "utils/filepathutils.h"

#include <QtQml>

void registerQmlTypes()
{
    // The one list of the module's types, in the order the front end expects
    // them to be registered. Types join it as their classes exist.
    constexpr int major = 1;
    constexpr int minor = 0;
    qmlRegisterSingletonType<FilePathUtils>(browserModuleUri, major, minor, "FilePathUtils",
                                            &FilePathUtils::qmlInstance);
}
