#pragma once

#include <QString>
#include <QVector>

// URI of the module under which the native types are published to QML.
constexpr const char* browserModuleUri = "BrowserInternal";

struct QmlTypeEntry {
    enum Kind { Creatable, Singleton, Uncreatable };
    const char* name;
    Kind kind;
    void (*registerType)(const char* uri, int major, int minor, const char* name);
};

// The module's types in the order in which they are registered.
const QVector<QmlTypeEntry>& qmlTypeEntries();

// Registers every native type the QML front end uses, in that order.
void registerQmlTypes();
