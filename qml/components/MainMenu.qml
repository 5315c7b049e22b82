import QtQuick 2.15
import QtQuick.Controls 2.15
import BrowserInternal 1.0

Menu {
    id: menu
    property var browser

    MenuItem { text: qsTrId("webdeck-me-new-tab"); onTriggered: menu.browser.openTab("", false) }
    MenuItem { text: qsTrId("webdeck-me-close-tab"); onTriggered: menu.browser.closeTab(menu.browser.currentIndex) }
    MenuSeparator {}
    MenuItem { text: qsTrId("webdeck-me-history"); onTriggered: menu.browser.showPage("HistoryPage") }
    MenuItem { text: qsTrId("webdeck-me-bookmarks"); onTriggered: menu.browser.showPage("BookmarksPage") }
    MenuItem { text: qsTrId("webdeck-me-downloads"); onTriggered: menu.browser.showPage("DownloadsPage") }
    MenuItem { text: qsTrId("webdeck-me-passwords"); onTriggered: menu.browser.showPage("PasswordsPage") }
    MenuItem { text: qsTrId("webdeck-me-settings"); onTriggered: menu.browser.showPage("SettingsPage") }
    MenuSeparator {}
    MenuItem { text: qsTrId("webdeck-me-install-app"); onTriggered: menu.browser.installCurrentAsApp() }
    MenuItem { text: qsTrId("webdeck-me-add-to-app-grid"); onTriggered: menu.browser.addCurrentToAppGrid() }
    MenuItem { text: qsTrId("webdeck-me-private-window"); onTriggered: menu.browser.openPrivateWindow() }
    MenuSeparator {}
    MenuItem { text: qsTrId("webdeck-me-quit"); onTriggered: Qt.quit() }
}
