import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import BrowserInternal 1.0
import "../components"

// Settings: general (search engine, start page, downloads), site permissions, site zoom.
Rectangle {
    id: page
    objectName: "settingsPage"
    property var browser
    color: "white"

    ColumnLayout {
        anchors.fill: parent
        spacing: 0
        PageHeader {
            Layout.fillWidth: true
            browser: page.browser
            title: qsTrId("webdeck-ti-settings")
        }
        TabBar {
            id: sections
            objectName: "settingsSections"
            Layout.fillWidth: true
            TabButton { text: qsTrId("webdeck-la-general") }
            TabButton { text: qsTrId("webdeck-la-search-engines") }
            TabButton { text: qsTrId("webdeck-la-site-permissions") }
            TabButton { text: qsTrId("webdeck-la-site-zoom") }
        }
        StackLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.margins: 12
            currentIndex: sections.currentIndex
            GeneralSettings { browser: page.browser }
            SearchEngineSettings {}
            PermissionSettings {}
            ZoomSettings { browser: page.browser }
        }
    }
}
