import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import "../components"

// The tab switcher: a screenshot of each tab as it was last seen.
Rectangle {
    id: page
    objectName: "tabsPage"
    property var browser
    color: "#e8eaed"

    ColumnLayout {
        anchors.fill: parent
        spacing: 0
        PageHeader {
            Layout.fillWidth: true
            browser: page.browser
            title: qsTrId("webdeck-ti-tabs").arg(page.browser ? page.browser.tabs.count : 0)
            ToolButton { text: "+"; onClicked: page.browser.openTab("", false) }
        }
        GridView {
            id: grid
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            cellWidth: 240
            cellHeight: 200
            model: page.browser ? page.browser.tabs.count : 0
            delegate: Item {
                readonly property var tab: page.browser.tabAt(index)
                width: grid.cellWidth
                height: grid.cellHeight
                Rectangle {
                    anchors.fill: parent
                    anchors.margins: 8
                    border.width: index === page.browser.currentIndex ? 3 : 1
                    border.color: index === page.browser.currentIndex ? "#1BA4E5" : "#aaa"
                    color: "white"
                    ColumnLayout {
                        anchors.fill: parent
                        anchors.margins: 4
                        RowLayout {
                            Label {
                                Layout.fillWidth: true
                                text: tab ? (tab.title || tab.url || qsTrId("webdeck-la-new-tab")) : ""
                                elide: Text.ElideRight
                                font.italic: tab !== null && !tab.live
                            }
                            ToolButton { text: "\u2715"; onClicked: page.browser.closeTab(index) }
                        }
                        Image {
                            Layout.fillWidth: true
                            Layout.fillHeight: true
                            fillMode: Image.PreserveAspectCrop
                            source: tab ? tab.storedScreenshot : ""
                        }
                    }
                    MouseArea {
                        anchors.fill: parent
                        z: -1
                        onClicked: page.browser.selectTab(index)
                    }
                }
            }
        }
    }
}
