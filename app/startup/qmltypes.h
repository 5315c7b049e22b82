#pragma once

// URI of the module under which the native types are published to QML.
constexpr const char* browserModuleUri = "BrowserInternal";

// Registers every native type the QML front end uses, in its fixed order.
void registerQmlTypes();
