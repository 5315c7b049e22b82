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
</context>
</TS>
