import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import BrowserInternal 1.0

// Back and forward (a long press lists the tab's history on that side),
// reload, the address field, the tab count and the menu.
ToolBar {
    id: toolbar
    objectName: "toolbar"
    property var browser
    property alias historyPopup: historyPopup
    readonly property var tab: browser.currentTab

    RowLayout {
        anchors.fill: parent

        ToolButton {
            objectName: "backButton"
            text: "\u2190"
            enabled: toolbar.tab !== null && toolbar.tab.history.canGoBack
            onClicked: toolbar.tab.goBack()
            onPressAndHold: historyPopup.openFor(false, this)
        }
        ToolButton {
            objectName: "forwardButton"
            text: "\u2192"
            enabled: toolbar.tab !== null && toolbar.tab.history.canGoForward
            onClicked: toolbar.tab.goForward()
            onPressAndHold: historyPopup.openFor(true, this)
        }
        ToolButton {
            text: toolbar.tab && toolbar.tab.loading ? "\u2715" : "\u21bb"
            enabled: toolbar.tab !== null && toolbar.tab.view !== null
            onClicked: toolbar.tab.loading ? toolbar.tab.view.stop() : toolbar.tab.view.reload()
        }
        Label {
            visible: toolbar.browser.privateMode
            text: qsTrId("webdeck-la-private")
            color: "white"
            padding: 6
            background: Rectangle { color: "#5A4DE5"; radius: 4 }
        }
        AddressField {
            id: addressField
            objectName: "addressField"
            Layout.fillWidth: true
            browser: toolbar.browser
        }
        ToolButton {
            objectName: "bookmarkButton"
            text: browser.bookmarks && browser.bookmarks.currentUrlBookmarked ? "\u2605" : "\u2606"
            enabled: browser.bookmarks !== null
            onClicked: browser.bookmarkCurrent()
        }
        ToolButton {
            objectName: "tabsButton"
            text: browser.tabs.count
            onClicked: browser.openTabSwitcher()
        }
        ToolButton {
            objectName: "menuButton"
            text: "\u2261"
            onClicked: mainMenu.open()
            MainMenu {
                id: mainMenu
                y: parent.height
                browser: toolbar.browser
            }
        }
    }

    HistoryPopup {
        id: historyPopup
        browser: toolbar.browser
    }
}
