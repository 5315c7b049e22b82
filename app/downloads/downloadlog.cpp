#include "downloadlog.h"

Q_LOGGING_CATEGORY(lcDownloads, "browser.app.downloads")
