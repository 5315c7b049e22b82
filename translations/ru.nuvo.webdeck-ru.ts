<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ru">
<context>
    <name></name>
    <message id="browser-ti-standalone-ap-name">
        <source>Browser</source>
        <translation>Браузер</translation>
    </message>
    <message id="browser-la-nuvo">
        <source>Nuvo</source>
        <translation>Нуво</translation>
    </message>
    <message id="browser-la-orvane_os">
        <source>Orvane OS</source>
        <translation>ОС Орване</translation>
    </message>
    <message id="browser-la-yandex">
        <source>Yandex</source>
        <translation>Яндекс</translation>
    </message>
    <message id="browser-la-migrated-bookmarks">
        <source>Migrated bookmarks</source>
        <translation>Перенесённые закладки</translation>
    </message>
    <message id="browser-la-size-bytes">
        <source>%1 B</source>
        <translation>%1 Б</translation>
    </message>
    <message id="browser-la-size-kb">
        <source>%1 KB</source>
        <translation>%1 КБ</translation>
    </message>
    <message id="browser-la-size-mb">
        <source>%1 MB</source>
        <translation>%1 МБ</translation>
    </message>
    <message id="browser-la-size-gb">
        <source>%1 GB</source>
        <translation>%1 ГБ</translation>
    </message>
    <message id="browser-la-size-tb">
        <source>%1 TB</source>
        <translation>%1 ТБ</translation>
    </message>
</context>
</TS>
