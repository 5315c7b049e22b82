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
    <message id="browser-la-passwords-csv-too-large">
        <source>The file is larger than 8 MiB and is not a password export.</source>
        <translation>Файл больше 8 МиБ и не является экспортом паролей.</translation>
    </message>
    <message id="browser-la-passwords-csv-not-utf8">
        <source>The file is not UTF-8 text.</source>
        <translation>Файл не является текстом в UTF-8.</translation>
    </message>
    <message id="browser-la-passwords-csv-open-quote">
        <source>A quoted field opened on line %1 is never closed.</source>
        <translation>Поле в кавычках, начатое в строке %1, не закрыто.</translation>
    </message>
    <message id="browser-la-passwords-csv-no-header">
        <source>The file has no header line.</source>
        <translation>В файле нет строки заголовка.</translation>
    </message>
    <message id="browser-la-passwords-csv-no-columns">
        <source>The header names no url or no password column.</source>
        <translation>В заголовке нет столбца url или password.</translation>
    </message>
    <message id="browser-la-passwords-csv-row-no-url">
        <source>Line %1 has no url.</source>
        <translation>В строке %1 нет адреса.</translation>
    </message>
    <message id="browser-la-passwords-csv-row-no-password">
        <source>Line %1 has no password.</source>
        <translation>В строке %1 нет пароля.</translation>
    </message>
    <message id="browser-la-passwords-csv-row-bad-url">
        <source>Line %1: the url is not a web address.</source>
        <translation>Строка %1: адрес не является веб-адресом.</translation>
    </message>
    <message id="browser-la-passwords-import-unreadable">
        <source>The file %1 cannot be read.</source>
        <translation>Не удаётся прочитать файл %1.</translation>
    </message>
    <message id="browser-la-passwords-import-conflict">
        <source>Line %1: a different password is already saved for this user name on %2; the saved one is kept.</source>
        <translation>Строка %1: для этого имени пользователя на %2 уже сохранён другой пароль; он оставлен.</translation>
    </message>
    <message id="browser-la-passwords-store-write-failed">
        <source>The saved passwords could not be written to %1.</source>
        <translation>Не удалось записать сохранённые пароли в %1.</translation>
    </message>
    <message id="browser-la-passwords-export-failed">
        <source>The file %1 cannot be written.</source>
        <translation>Не удаётся записать файл %1.</translation>
    </message>
</context>
</TS>
