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
    <message id="webdeck-bt-add">
        <source>Add</source>
        <translation>Добавить</translation>
    </message>
    <message id="webdeck-bt-allow">
        <source>Allow</source>
        <translation>Разрешить</translation>
    </message>
    <message id="webdeck-bt-clear">
        <source>Clear</source>
        <translation>Очистить</translation>
    </message>
    <message id="webdeck-bt-clear-history">
        <source>Clear the whole history</source>
        <translation>Очистить всю историю</translation>
    </message>
    <message id="webdeck-bt-deny">
        <source>Deny</source>
        <translation>Запретить</translation>
    </message>
    <message id="webdeck-bt-export">
        <source>Export</source>
        <translation>Экспорт</translation>
    </message>
    <message id="webdeck-bt-go-back">
        <source>Go back</source>
        <translation>Вернуться</translation>
    </message>
    <message id="webdeck-bt-import">
        <source>Import</source>
        <translation>Импорт</translation>
    </message>
    <message id="webdeck-bt-never-for-site">
        <source>Never for this site</source>
        <translation>Никогда для этого сайта</translation>
    </message>
    <message id="webdeck-bt-new-folder">
        <source>New folder</source>
        <translation>Новая папка</translation>
    </message>
    <message id="webdeck-bt-not-now">
        <source>Not now</source>
        <translation>Не сейчас</translation>
    </message>
    <message id="webdeck-bt-remove-all">
        <source>Remove all</source>
        <translation>Удалить все</translation>
    </message>
    <message id="webdeck-bt-remove-finished">
        <source>Remove finished</source>
        <translation>Удалить завершённые</translation>
    </message>
    <message id="webdeck-bt-remove-selected">
        <source>Remove selected (%1)</source>
        <translation>Удалить выбранные (%1)</translation>
    </message>
    <message id="webdeck-bt-save">
        <source>Save</source>
        <translation>Сохранить</translation>
    </message>
    <message id="webdeck-bt-select-all">
        <source>Select all</source>
        <translation>Выбрать все</translation>
    </message>
    <message id="webdeck-bt-to-quick-access">
        <source>Move to quick access</source>
        <translation>В быстрый доступ</translation>
    </message>
    <message id="webdeck-la-added-to-app-grid">
        <source>Added to the app grid</source>
        <translation>Добавлено в меню приложений</translation>
    </message>
    <message id="webdeck-la-all-kinds">
        <source>All files</source>
        <translation>Все файлы</translation>
    </message>
    <message id="webdeck-la-all-time">
        <source>All time</source>
        <translation>За всё время</translation>
    </message>
    <message id="webdeck-la-allow">
        <source>allow</source>
        <translation>разрешено</translation>
    </message>
    <message id="webdeck-la-app-grid-failed">
        <source>Could not add to the app grid</source>
        <translation>Не удалось добавить в меню приложений</translation>
    </message>
    <message id="webdeck-la-app-install-failed">
        <source>The app could not be installed (error %1)</source>
        <translation>Не удалось установить приложение (ошибка %1)</translation>
    </message>
    <message id="webdeck-la-app-installed">
        <source>The app is installed</source>
        <translation>Приложение установлено</translation>
    </message>
    <message id="webdeck-la-ask">
        <source>ask</source>
        <translation>спрашивать</translation>
    </message>
    <message id="webdeck-la-autofill-passwords">
        <source>Fill in saved passwords</source>
        <translation>Подставлять сохранённые пароли</translation>
    </message>
    <message id="webdeck-la-bookmark-added">
        <source>Bookmark added</source>
        <translation>Закладка добавлена</translation>
    </message>
    <message id="webdeck-la-bookmarks-unavailable">
        <source>Bookmarks are not available in this build</source>
        <translation>Закладки недоступны в этой сборке</translation>
    </message>
    <message id="webdeck-la-defaults">
        <source>For all other sites</source>
        <translation>Для остальных сайтов</translation>
    </message>
    <message id="webdeck-la-deny">
        <source>deny</source>
        <translation>запрещено</translation>
    </message>
    <message id="webdeck-la-download-cancelled">
        <source>Cancelled</source>
        <translation>Отменено</translation>
    </message>
    <message id="webdeck-la-download-directory">
        <source>Download directory</source>
        <translation>Папка загрузок</translation>
    </message>
    <message id="webdeck-la-download-failed">
        <source>Failed: %1</source>
        <translation>Ошибка: %1</translation>
    </message>
    <message id="webdeck-la-download-finished">
        <source>Finished</source>
        <translation>Завершено</translation>
    </message>
    <message id="webdeck-la-download-paused">
        <source>Paused</source>
        <translation>Приостановлено</translation>
    </message>
    <message id="webdeck-la-download-running">
        <source>Downloading</source>
        <translation>Загружается</translation>
    </message>
    <message id="webdeck-la-download-started">
        <source>Download started</source>
        <translation>Загрузка началась</translation>
    </message>
    <message id="webdeck-la-engine-rejected">
        <source>The search engine was not accepted (%1)</source>
        <translation>Поисковая система не принята (%1)</translation>
    </message>
    <message id="webdeck-la-export-done">
        <source>Passwords exported</source>
        <translation>Пароли экспортированы</translation>
    </message>
    <message id="webdeck-la-feature-camera">
        <source>Camera</source>
        <translation>Камера</translation>
    </message>
    <message id="webdeck-la-feature-camera-microphone">
        <source>Camera and microphone</source>
        <translation>Камера и микрофон</translation>
    </message>
    <message id="webdeck-la-feature-location">
        <source>Location</source>
        <translation>Местоположение</translation>
    </message>
    <message id="webdeck-la-feature-microphone">
        <source>Microphone</source>
        <translation>Микрофон</translation>
    </message>
    <message id="webdeck-la-feature-notifications">
        <source>Notifications</source>
        <translation>Уведомления</translation>
    </message>
    <message id="webdeck-la-feature-popups">
        <source>Pop-ups</source>
        <translation>Всплывающие окна</translation>
    </message>
    <message id="webdeck-la-feature-screen">
        <source>Screen sharing</source>
        <translation>Демонстрация экрана</translation>
    </message>
    <message id="webdeck-la-general">
        <source>General</source>
        <translation>Общие</translation>
    </message>
    <message id="webdeck-la-history">
        <source>History</source>
        <translation>История</translation>
    </message>
    <message id="webdeck-la-history-empty">
        <source>No pages in the history</source>
        <translation>В истории нет страниц</translation>
    </message>
    <message id="webdeck-la-import-done">
        <source>Import finished: %1</source>
        <translation>Импорт завершён: %1</translation>
    </message>
    <message id="webdeck-la-installing-app">
        <source>Installing the app…</source>
        <translation>Установка приложения…</translation>
    </message>
    <message id="webdeck-la-last-month">
        <source>Last 30 days</source>
        <translation>За 30 дней</translation>
    </message>
    <message id="webdeck-la-last-week">
        <source>Last 7 days</source>
        <translation>За 7 дней</translation>
    </message>
    <message id="webdeck-la-most-visited">
        <source>Most visited</source>
        <translation>Часто посещаемые</translation>
    </message>
    <message id="webdeck-la-most-visited-count">
        <source>Tiles on the start page</source>
        <translation>Плиток на начальной странице</translation>
    </message>
    <message id="webdeck-la-never-saved-for">
        <source>Passwords are never saved for: %1</source>
        <translation>Пароли не сохраняются для: %1</translation>
    </message>
    <message id="webdeck-la-new-folder">
        <source>New folder</source>
        <translation>Новая папка</translation>
    </message>
    <message id="webdeck-la-new-tab">
        <source>New tab</source>
        <translation>Новая вкладка</translation>
    </message>
    <message id="webdeck-la-no-history-yet">
        <source>Pages you visit often will show here</source>
        <translation>Здесь появятся часто посещаемые страницы</translation>
    </message>
    <message id="webdeck-la-no-manifest">
        <source>This site cannot be installed as an app</source>
        <translation>Этот сайт нельзя установить как приложение</translation>
    </message>
    <message id="webdeck-la-no-site-permissions">
        <source>No site has permissions of its own</source>
        <translation>Ни у одного сайта нет своих разрешений</translation>
    </message>
    <message id="webdeck-la-offer-to-save-passwords">
        <source>Offer to save passwords</source>
        <translation>Предлагать сохранять пароли</translation>
    </message>
    <message id="webdeck-la-passwords">
        <source>Passwords</source>
        <translation>Пароли</translation>
    </message>
    <message id="webdeck-la-quick-access">
        <source>Quick access</source>
        <translation>Быстрый доступ</translation>
    </message>
    <message id="webdeck-la-remember">
        <source>Remember for this site</source>
        <translation>Запомнить для этого сайта</translation>
    </message>
    <message id="webdeck-la-save-password-for">
        <source>Save the password of %1 for %2?</source>
        <translation>Сохранить пароль %1 для %2?</translation>
    </message>
    <message id="webdeck-la-saved-into">
        <source>Files are saved into %1</source>
        <translation>Файлы сохраняются в %1</translation>
    </message>
    <message id="webdeck-la-search-engines">
        <source>Search engines</source>
        <translation>Поисковые системы</translation>
    </message>
    <message id="webdeck-la-site-asks">
        <source>%1 asks to use: %2</source>
        <translation>%1 запрашивает доступ: %2</translation>
    </message>
    <message id="webdeck-la-site-permissions">
        <source>Site permissions</source>
        <translation>Разрешения сайтов</translation>
    </message>
    <message id="webdeck-la-site-zoom">
        <source>Site zoom</source>
        <translation>Масштаб сайтов</translation>
    </message>
    <message id="webdeck-la-start-page">
        <source>Start page</source>
        <translation>Начальная страница</translation>
    </message>
    <message id="webdeck-la-today">
        <source>Today</source>
        <translation>Сегодня</translation>
    </message>
    <message id="webdeck-la-url-blocked-by-admin">
        <source>The administrator does not allow %1 on this device.</source>
        <translation>Администратор запретил открывать %1 на этом устройстве.</translation>
    </message>
    <message id="webdeck-la-zoom-for">
        <source>Zoom for %1</source>
        <translation>Масштаб для %1</translation>
    </message>
    <message id="webdeck-me-add-to-app-grid">
        <source>Add to app grid</source>
        <translation>Добавить в меню приложений</translation>
    </message>
    <message id="webdeck-me-bookmarks">
        <source>Bookmarks</source>
        <translation>Закладки</translation>
    </message>
    <message id="webdeck-me-close-tab">
        <source>Close tab</source>
        <translation>Закрыть вкладку</translation>
    </message>
    <message id="webdeck-me-downloads">
        <source>Downloads</source>
        <translation>Загрузки</translation>
    </message>
    <message id="webdeck-me-history">
        <source>History</source>
        <translation>История</translation>
    </message>
    <message id="webdeck-me-install-app">
        <source>Install as app</source>
        <translation>Установить как приложение</translation>
    </message>
    <message id="webdeck-me-new-tab">
        <source>New tab</source>
        <translation>Новая вкладка</translation>
    </message>
    <message id="webdeck-me-passwords">
        <source>Passwords</source>
        <translation>Пароли</translation>
    </message>
    <message id="webdeck-me-private-window">
        <source>New private window</source>
        <translation>Новое приватное окно</translation>
    </message>
    <message id="webdeck-me-quit">
        <source>Quit</source>
        <translation>Выход</translation>
    </message>
    <message id="webdeck-me-settings">
        <source>Settings</source>
        <translation>Настройки</translation>
    </message>
    <message id="webdeck-ph-address">
        <source>Search with %1 or enter an address</source>
        <translation>Поиск в %1 или адрес</translation>
    </message>
    <message id="webdeck-ph-csv-file">
        <source>CSV file</source>
        <translation>Файл CSV</translation>
    </message>
    <message id="webdeck-ph-engine-name">
        <source>Name</source>
        <translation>Название</translation>
    </message>
    <message id="webdeck-ph-engine-url">
        <source>Address with %s for the query</source>
        <translation>Адрес с %s на месте запроса</translation>
    </message>
    <message id="webdeck-ph-filter">
        <source>Filter</source>
        <translation>Фильтр</translation>
    </message>
    <message id="webdeck-ti-bookmarks">
        <source>Bookmarks</source>
        <translation>Закладки</translation>
    </message>
    <message id="webdeck-ti-downloads">
        <source>Downloads</source>
        <translation>Загрузки</translation>
    </message>
    <message id="webdeck-ti-history">
        <source>History</source>
        <translation>История</translation>
    </message>
    <message id="webdeck-ti-passwords">
        <source>Passwords</source>
        <translation>Пароли</translation>
    </message>
    <message id="webdeck-ti-permission-request">
        <source>Permission request</source>
        <translation>Запрос разрешения</translation>
    </message>
    <message id="webdeck-ti-private-window">
        <source>Private browsing</source>
        <translation>Приватный просмотр</translation>
    </message>
    <message id="webdeck-ti-save-password">
        <source>Save password</source>
        <translation>Сохранить пароль</translation>
    </message>
    <message id="webdeck-ti-settings">
        <source>Settings</source>
        <translation>Настройки</translation>
    </message>
    <message id="webdeck-ti-tabs">
        <source>Tabs (%1)</source>
        <translation>Вкладки (%1)</translation>
    </message>
    <message id="webdeck-ti-url-blocked">
        <source>This page is blocked</source>
        <translation>Страница заблокирована</translation>
    </message>
    <message id="webdeck-la-private">
        <source>Private</source>
        <translation>Приватно</translation>
    </message>
</context>
</TS>
