<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<context>
    <name></name>
    <message id="browser-ti-standalone-ap-name">
        <source>Browser</source>
        <translation>Browser</translation>
    </message>
    <message id="browser-la-nuvo">
        <source>Nuvo</source>
        <translation>Nuvo</translation>
    </message>
    <message id="browser-la-orvane_os">
        <source>Orvane OS</source>
        <translation>Orvane OS</translation>
    </message>
    <message id="browser-la-yandex">
        <source>Yandex</source>
        <translation>Yandex</translation>
    </message>
    <message id="browser-la-migrated-bookmarks">
        <source>Migrated bookmarks</source>
        <translation>Migrated bookmarks</translation>
    </message>
    <message id="browser-la-size-bytes">
        <source>%1 B</source>
        <translation>%1 B</translation>
    </message>
    <message id="browser-la-size-kb">
        <source>%1 KB</source>
        <translation>%1 KB</translation>
    </message>
    <message id="browser-la-size-mb">
        <source>%1 MB</source>
        <translation>%1 MB</translation>
    </message>
    <message id="browser-la-size-gb">
        <source>%1 GB</source>
        <translation>%1 GB</translation>
    </message>
    <message id="browser-la-size-tb">
        <source>%1 TB</source>
        <translation>%1 TB</translation>
    </message>
    <message id="browser-la-passwords-csv-too-large">
        <source>The file is larger than 8 MiB and is not a password export.</source>
        <translation>The file is larger than 8 MiB and is not a password export.</translation>
    </message>
    <message id="browser-la-passwords-csv-not-utf8">
        <source>The file is not UTF-8 text.</source>
        <translation>The file is not UTF-8 text.</translation>
    </message>
    <message id="browser-la-passwords-csv-open-quote">
        <source>A quoted field opened on line %1 is never closed.</source>
        <translation>A quoted field opened on line %1 is never closed.</translation>
    </message>
    <message id="browser-la-passwords-csv-no-header">
        <source>The file has no header line.</source>
        <translation>The file has no header line.</translation>
    </message>
    <message id="browser-la-passwords-csv-no-columns">
        <source>The header names no url or no password column.</source>
        <translation>The header names no url or no password column.</translation>
    </message>
    <message id="browser-la-passwords-csv-row-no-url">
        <source>Line %1 has no url.</source>
        <translation>Line %1 has no url.</translation>
    </message>
    <message id="browser-la-passwords-csv-row-no-password">
        <source>Line %1 has no password.</source>
        <translation>Line %1 has no password.</translation>
    </message>
    <message id="browser-la-passwords-csv-row-bad-url">
        <source>Line %1: the url is not a web address.</source>
        <translation>Line %1: the url is not a web address.</translation>
    </message>
    <message id="browser-la-passwords-import-unreadable">
        <source>The file %1 cannot be read.</source>
        <translation>The file %1 cannot be read.</translation>
    </message>
    <message id="browser-la-passwords-import-conflict">
        <source>Line %1: a different password is already saved for this user name on %2; the saved one is kept.</source>
        <translation>Line %1: a different password is already saved for this user name on %2; the saved one is kept.</translation>
    </message>
    <message id="browser-la-passwords-store-write-failed">
        <source>The saved passwords could not be written to %1.</source>
        <translation>The saved passwords could not be written to %1.</translation>
    </message>
    <message id="browser-la-passwords-export-failed">
        <source>The file %1 cannot be written.</source>
        <translation>The file %1 cannot be written.</translation>
    </message>
    <message id="webdeck-bt-add">
        <source>Add</source>
        <translation>Add</translation>
    </message>
    <message id="webdeck-bt-allow">
        <source>Allow</source>
        <translation>Allow</translation>
    </message>
    <message id="webdeck-bt-clear">
        <source>Clear</source>
        <translation>Clear</translation>
    </message>
    <message id="webdeck-bt-clear-history">
        <source>Clear the whole history</source>
        <translation>Clear the whole history</translation>
    </message>
    <message id="webdeck-bt-deny">
        <source>Deny</source>
        <translation>Deny</translation>
    </message>
    <message id="webdeck-bt-export">
        <source>Export</source>
        <translation>Export</translation>
    </message>
    <message id="webdeck-bt-go-back">
        <source>Go back</source>
        <translation>Go back</translation>
    </message>
    <message id="webdeck-bt-import">
        <source>Import</source>
        <translation>Import</translation>
    </message>
    <message id="webdeck-bt-never-for-site">
        <source>Never for this site</source>
        <translation>Never for this site</translation>
    </message>
    <message id="webdeck-bt-new-folder">
        <source>New folder</source>
        <translation>New folder</translation>
    </message>
    <message id="webdeck-bt-not-now">
        <source>Not now</source>
        <translation>Not now</translation>
    </message>
    <message id="webdeck-bt-remove-all">
        <source>Remove all</source>
        <translation>Remove all</translation>
    </message>
    <message id="webdeck-bt-remove-finished">
        <source>Remove finished</source>
        <translation>Remove finished</translation>
    </message>
    <message id="webdeck-bt-remove-selected">
        <source>Remove selected (%1)</source>
        <translation>Remove selected (%1)</translation>
    </message>
    <message id="webdeck-bt-save">
        <source>Save</source>
        <translation>Save</translation>
    </message>
    <message id="webdeck-bt-select-all">
        <source>Select all</source>
        <translation>Select all</translation>
    </message>
    <message id="webdeck-bt-to-quick-access">
        <source>Move to quick access</source>
        <translation>Move to quick access</translation>
    </message>
    <message id="webdeck-la-added-to-app-grid">
        <source>Added to the app grid</source>
        <translation>Added to the app grid</translation>
    </message>
    <message id="webdeck-la-all-kinds">
        <source>All files</source>
        <translation>All files</translation>
    </message>
    <message id="webdeck-la-all-time">
        <source>All time</source>
        <translation>All time</translation>
    </message>
    <message id="webdeck-la-allow">
        <source>allow</source>
        <translation>allow</translation>
    </message>
    <message id="webdeck-la-app-grid-failed">
        <source>Could not add to the app grid</source>
        <translation>Could not add to the app grid</translation>
    </message>
    <message id="webdeck-la-app-install-failed">
        <source>The app could not be installed (error %1)</source>
        <translation>The app could not be installed (error %1)</translation>
    </message>
    <message id="webdeck-la-app-installed">
        <source>The app is installed</source>
        <translation>The app is installed</translation>
    </message>
    <message id="webdeck-la-ask">
        <source>ask</source>
        <translation>ask</translation>
    </message>
    <message id="webdeck-la-autofill-passwords">
        <source>Fill in saved passwords</source>
        <translation>Fill in saved passwords</translation>
    </message>
    <message id="webdeck-la-bookmark-added">
        <source>Bookmark added</source>
        <translation>Bookmark added</translation>
    </message>
    <message id="webdeck-la-bookmarks-unavailable">
        <source>Bookmarks are not available in this build</source>
        <translation>Bookmarks are not available in this build</translation>
    </message>
    <message id="webdeck-la-defaults">
        <source>For all other sites</source>
        <translation>For all other sites</translation>
    </message>
    <message id="webdeck-la-deny">
        <source>deny</source>
        <translation>deny</translation>
    </message>
    <message id="webdeck-la-download-cancelled">
        <source>Cancelled</source>
        <translation>Cancelled</translation>
    </message>
    <message id="webdeck-la-download-directory">
        <source>Download directory</source>
        <translation>Download directory</translation>
    </message>
    <message id="webdeck-la-download-failed">
        <source>Failed: %1</source>
        <translation>Failed: %1</translation>
    </message>
    <message id="webdeck-la-download-finished">
        <source>Finished</source>
        <translation>Finished</translation>
    </message>
    <message id="webdeck-la-download-paused">
        <source>Paused</source>
        <translation>Paused</translation>
    </message>
    <message id="webdeck-la-download-running">
        <source>Downloading</source>
        <translation>Downloading</translation>
    </message>
    <message id="webdeck-la-download-started">
        <source>Download started</source>
        <translation>Download started</translation>
    </message>
    <message id="webdeck-la-engine-rejected">
        <source>The search engine was not accepted (%1)</source>
        <translation>The search engine was not accepted (%1)</translation>
    </message>
    <message id="webdeck-la-export-done">
        <source>Passwords exported</source>
        <translation>Passwords exported</translation>
    </message>
    <message id="webdeck-la-feature-camera">
        <source>Camera</source>
        <translation>Camera</translation>
    </message>
    <message id="webdeck-la-feature-camera-microphone">
        <source>Camera and microphone</source>
        <translation>Camera and microphone</translation>
    </message>
    <message id="webdeck-la-feature-location">
        <source>Location</source>
        <translation>Location</translation>
    </message>
    <message id="webdeck-la-feature-microphone">
        <source>Microphone</source>
        <translation>Microphone</translation>
    </message>
    <message id="webdeck-la-feature-notifications">
        <source>Notifications</source>
        <translation>Notifications</translation>
    </message>
    <message id="webdeck-la-feature-popups">
        <source>Pop-ups</source>
        <translation>Pop-ups</translation>
    </message>
    <message id="webdeck-la-feature-screen">
        <source>Screen sharing</source>
        <translation>Screen sharing</translation>
    </message>
    <message id="webdeck-la-general">
        <source>General</source>
        <translation>General</translation>
    </message>
    <message id="webdeck-la-history">
        <source>History</source>
        <translation>History</translation>
    </message>
    <message id="webdeck-la-history-empty">
        <source>No pages in the history</source>
        <translation>No pages in the history</translation>
    </message>
    <message id="webdeck-la-import-done">
        <source>Import finished: %1</source>
        <translation>Import finished: %1</translation>
    </message>
    <message id="webdeck-la-installing-app">
        <source>Installing the app…</source>
        <translation>Installing the app…</translation>
    </message>
    <message id="webdeck-la-last-month">
        <source>Last 30 days</source>
        <translation>Last 30 days</translation>
    </message>
    <message id="webdeck-la-last-week">
        <source>Last 7 days</source>
        <translation>Last 7 days</translation>
    </message>
    <message id="webdeck-la-most-visited">
        <source>Most visited</source>
        <translation>Most visited</translation>
    </message>
    <message id="webdeck-la-most-visited-count">
        <source>Tiles on the start page</source>
        <translation>Tiles on the start page</translation>
    </message>
    <message id="webdeck-la-never-saved-for">
        <source>Passwords are never saved for: %1</source>
        <translation>Passwords are never saved for: %1</translation>
    </message>
    <message id="webdeck-la-new-folder">
        <source>New folder</source>
        <translation>New folder</translation>
    </message>
    <message id="webdeck-la-new-tab">
        <source>New tab</source>
        <translation>New tab</translation>
    </message>
    <message id="webdeck-la-no-history-yet">
        <source>Pages you visit often will show here</source>
        <translation>Pages you visit often will show here</translation>
    </message>
    <message id="webdeck-la-no-manifest">
        <source>This site cannot be installed as an app</source>
        <translation>This site cannot be installed as an app</translation>
    </message>
    <message id="webdeck-la-no-site-permissions">
        <source>No site has permissions of its own</source>
        <translation>No site has permissions of its own</translation>
    </message>
    <message id="webdeck-la-offer-to-save-passwords">
        <source>Offer to save passwords</source>
        <translation>Offer to save passwords</translation>
    </message>
    <message id="webdeck-la-passwords">
        <source>Passwords</source>
        <translation>Passwords</translation>
    </message>
    <message id="webdeck-la-quick-access">
        <source>Quick access</source>
        <translation>Quick access</translation>
    </message>
    <message id="webdeck-la-remember">
        <source>Remember for this site</source>
        <translation>Remember for this site</translation>
    </message>
    <message id="webdeck-la-save-password-for">
        <source>Save the password of %1 for %2?</source>
        <translation>Save the password of %1 for %2?</translation>
    </message>
    <message id="webdeck-la-saved-into">
        <source>Files are saved into %1</source>
        <translation>Files are saved into %1</translation>
    </message>
    <message id="webdeck-la-search-engines">
        <source>Search engines</source>
        <translation>Search engines</translation>
    </message>
    <message id="webdeck-la-site-asks">
        <source>%1 asks to use: %2</source>
        <translation>%1 asks to use: %2</translation>
    </message>
    <message id="webdeck-la-site-permissions">
        <source>Site permissions</source>
        <translation>Site permissions</translation>
    </message>
    <message id="webdeck-la-site-zoom">
        <source>Site zoom</source>
        <translation>Site zoom</translation>
    </message>
    <message id="webdeck-la-start-page">
        <source>Start page</source>
        <translation>Start page</translation>
    </message>
    <message id="webdeck-la-today">
        <source>Today</source>
        <translation>Today</translation>
    </message>
    <message id="webdeck-la-url-blocked-by-admin">
        <source>The administrator does not allow %1 on this device.</source>
        <translation>The administrator does not allow %1 on this device.</translation>
    </message>
    <message id="webdeck-la-zoom-for">
        <source>Zoom for %1</source>
        <translation>Zoom for %1</translation>
    </message>
    <message id="webdeck-me-add-to-app-grid">
        <source>Add to app grid</source>
        <translation>Add to app grid</translation>
    </message>
    <message id="webdeck-me-bookmarks">
        <source>Bookmarks</source>
        <translation>Bookmarks</translation>
    </message>
    <message id="webdeck-me-close-tab">
        <source>Close tab</source>
        <translation>Close tab</translation>
    </message>
    <message id="webdeck-me-downloads">
        <source>Downloads</source>
        <translation>Downloads</translation>
    </message>
    <message id="webdeck-me-history">
        <source>History</source>
        <translation>History</translation>
    </message>
    <message id="webdeck-me-install-app">
        <source>Install as app</source>
        <translation>Install as app</translation>
    </message>
    <message id="webdeck-me-new-tab">
        <source>New tab</source>
        <translation>New tab</translation>
    </message>
    <message id="webdeck-me-passwords">
        <source>Passwords</source>
        <translation>Passwords</translation>
    </message>
    <message id="webdeck-me-private-window">
        <source>New private window</source>
        <translation>New private window</translation>
    </message>
    <message id="webdeck-me-quit">
        <source>Quit</source>
        <translation>Quit</translation>
    </message>
    <message id="webdeck-me-settings">
        <source>Settings</source>
        <translation>Settings</translation>
    </message>
    <message id="webdeck-ph-address">
        <source>Search with %1 or enter an address</source>
        <translation>Search with %1 or enter an address</translation>
    </message>
    <message id="webdeck-ph-csv-file">
        <source>CSV file</source>
        <translation>CSV file</translation>
    </message>
    <message id="webdeck-ph-engine-name">
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message id="webdeck-ph-engine-url">
        <source>Address with %s for the query</source>
        <translation>Address with %s for the query</translation>
    </message>
    <message id="webdeck-ph-filter">
        <source>Filter</source>
        <translation>Filter</translation>
    </message>
    <message id="webdeck-ti-bookmarks">
        <source>Bookmarks</source>
        <translation>Bookmarks</translation>
    </message>
    <message id="webdeck-ti-downloads">
        <source>Downloads</source>
        <translation>Downloads</translation>
    </message>
    <message id="webdeck-ti-history">
        <source>History</source>
        <translation>History</translation>
    </message>
    <message id="webdeck-ti-passwords">
        <source>Passwords</source>
        <translation>Passwords</translation>
    </message>
    <message id="webdeck-ti-permission-request">
        <source>Permission request</source>
        <translation>Permission request</translation>
    </message>
    <message id="webdeck-ti-private-window">
        <source>Private browsing</source>
        <translation>Private browsing</translation>
    </message>
    <message id="webdeck-ti-save-password">
        <source>Save password</source>
        <translation>Save password</translation>
    </message>
    <message id="webdeck-ti-settings">
        <source>Settings</source>
        <translation>Settings</translation>
    </message>
    <message id="webdeck-ti-tabs">
        <source>Tabs (%1)</source>
        <translation>Tabs (%1)</translation>
    </message>
    <message id="webdeck-ti-url-blocked">
        <source>This page is blocked</source>
        <translation>This page is blocked</translation>
    </message>
    <message id="webdeck-la-private">
        <source>Private</source>
        <translation>Private</translation>
    </message>
</context>
</TS>
