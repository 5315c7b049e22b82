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
</context>
</TS>
