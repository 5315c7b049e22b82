#pragma once

#include <QLoggingCategory>

// The system's logging categories. Log lines go through these only, so that a
// device's logging rules can switch each subsystem on or off by name.
Q_DECLARE_LOGGING_CATEGORY(lcApp) // "browser.app"
Q_DECLARE_LOGGING_CATEGORY(lcLibChecksum) // "browser.app.libChecksum"
Q_DECLARE_LOGGING_CATEGORY(lcStorage) // "browser.app.storage"
Q_DECLARE_LOGGING_CATEGORY(lcMigration) // "browser.app.migration"
Q_DECLARE_LOGGING_CATEGORY(lcHistory) // "browser.app.history"
Q_DECLARE_LOGGING_CATEGORY(lcTabs) // "browser.app.tabs"
Q_DECLARE_LOGGING_CATEGORY(lcPermissions) // "browser.app.permissions"
Q_DECLARE_LOGGING_CATEGORY(lcManagedConfig) // "browser.app.managedConfiguration"
Q_DECLARE_LOGGING_CATEGORY(lcScreenshot) // "browser.app.screenshot"
Q_DECLARE_LOGGING_CATEGORY(lcPwa) // "browser.app.pwa"
Q_DECLARE_LOGGING_CATEGORY(lcUtils) // "browser.app.utils"
