#include "logcategories.h"

Q_LOGGING_CATEGORY(lcApp, "browser.app")
Q_LOGGING_CATEGORY(lcLibChecksum, "browser.app.libChecksum")
Q_LOGGING_CATEGORY(lcStorage, "browser.app.storage")
Q_LOGGING_CATEGORY(lcMigration, "browser.app.migration")
Q_LOGGING_CATEGORY(lcHistory, "browser.app.history")
Q_LOGGING_CATEGORY(lcTabs, "browser.app.tabs")
Q_LOGGING_CATEGORY(lcPermissions, "browser.app.permissions")
Q_LOGGING_CATEGORY(lcManagedConfig, "browser.app.managedConfiguration")
Q_LOGGING_CATEGORY(lcScreenshot, "browser.app.screenshot")
Q_LOGGING_CATEGORY(lcPwa, "browser.app.pwa")
Q_LOGGING_CATEGORY(lcUtils, "browser.app.utils")
