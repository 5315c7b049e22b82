#pragma once

#include <QLoggingCategory>

// "browser.app.passwords". Its lines name files, sites and counts, never a
// password or a user name.
Q_DECLARE_LOGGING_CATEGORY(lcPasswords)
