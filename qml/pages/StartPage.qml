import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import QtQuick.Window 2.15
import BrowserInternal 1.0
import "../components"

// What a new tab shows: the most visited pages and the quick access folder.
Rectangle {
    id: page
    objectName: "startPage"
    property var browser
    color: "#f4f5f7"

    property bool painted: false

    MostVisitedModel { id: mostVisited }
    // The first frame on screen with this page in it (start-up time is measured to here).
    Connections {
        target: page.painted ? null : page.Window.window
        function onFrameSwapped() {
            page.painted = true
            console.log("start page painted")
        }
    }
    Component.onCompleted: {
        mostVisited.getMostVisitedLinks(SettingsManager.mostVisitedCount)
        console.log("start page shown")
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 32
        spacing: 16

        Label { text: qsTrId("webdeck-la-most-visited"); font.bold: true }
        GridLayout {
            columns: 4
            columnSpacing: 12
            rowSpacing: 12
            Repeater {
                model: mostVisited
                delegate: Tile {
                    url: model.url
                    title: model.title
                    onClicked: page.browser.openUrl(model.url)
                    onRemoveRequested: mostVisited.removeMostVisitedLink(index)
                }
            }
        }
        Label {
            visible: mostVisited.count === 0
            text: qsTrId("webdeck-la-no-history-yet")
            color: "gray"
        }

        Label {
            text: qsTrId("webdeck-la-quick-access")
            font.bold: true
            visible: page.browser && page.browser.bookmarks !== null
        }
        GridLayout {
            columns: 4
            columnSpacing: 12
            rowSpacing: 12
            Repeater {
                model: page.browser && page.browser.bookmarks ? page.browser.bookmarks.quickAccessModel : null
                delegate: Tile {
                    url: model.url
                    title: model.title
                    onClicked: page.browser.openUrl(model.url)
                    onRemoveRequested: page.browser.bookmarks.removeBookmarkNode(model.id, false, false)
                }
            }
        }
        Item { Layout.fillHeight: true }
    }

    component Tile: Button {
        id: tile
        property string url
        property string title
        signal removeRequested()
        implicitWidth: 180
        implicitHeight: 72
        contentItem: RowLayout {
            SiteIcon { url: tile.url; title: tile.title }
            Label { Layout.fillWidth: true; text: tile.title; elide: Text.ElideRight }
        }
        onPressAndHold: removeRequested()
    }
}
