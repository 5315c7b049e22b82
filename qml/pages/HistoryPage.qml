import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import BrowserInternal 1.0
import "../components"

// The browsing history: filter by text and period, select, remove.
Rectangle {
    id: page
    objectName: "historyPage"
    property var browser
    readonly property var history: browser ? browser.historyModel : null
    color: "white"

    function periodStart(period) {
        var now = new Date()
        switch (period) {
        case 1: return new Date(now.getFullYear(), now.getMonth(), now.getDate())
        case 2: return new Date(now.getTime() - 7 * 24 * 3600 * 1000)
        case 3: return new Date(now.getTime() - 30 * 24 * 3600 * 1000)
        default: return null
        }
    }
    function reload() {
        var start = periodStart(period.currentIndex)
        if (start)
            history.getHistory(filter.text, start)
        else
            history.getHistory(filter.text)
    }
    onHistoryChanged: if (history) reload()

    ColumnLayout {
        anchors.fill: parent
        spacing: 0
        PageHeader {
            Layout.fillWidth: true
            browser: page.browser
            title: qsTrId("webdeck-ti-history")
            ToolButton {
                text: qsTrId("webdeck-bt-select-all")
                onClicked: page.history.selectedCount === page.history.count ? page.history.deselectAll() : page.history.selectAll()
            }
            ToolButton {
                objectName: "removeSelected"
                text: qsTrId("webdeck-bt-remove-selected").arg(page.history ? page.history.selectedCount : 0)
                enabled: page.history && page.history.selectedCount > 0
                onClicked: page.history.removeSelected()
            }
            ToolButton { text: qsTrId("webdeck-bt-clear"); onClicked: page.history.clear() }
        }
        RowLayout {
            Layout.fillWidth: true
            Layout.margins: 8
            TextField {
                id: filter
                Layout.fillWidth: true
                placeholderText: qsTrId("webdeck-ph-filter")
                onTextChanged: page.reload()
            }
            ComboBox {
                id: period
                model: [qsTrId("webdeck-la-all-time"), qsTrId("webdeck-la-today"), qsTrId("webdeck-la-last-week"), qsTrId("webdeck-la-last-month")]
                onActivated: page.reload()
            }
        }
        ListView {
            id: list
            objectName: "historyList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            model: page.history
            delegate: ItemDelegate {
                width: list.width
                highlighted: model.selected
                contentItem: RowLayout {
                    CheckBox { checked: model.selected; onClicked: page.history.toggleSelection(index) }
                    SiteIcon { url: model.url; title: model.title }
                    ColumnLayout {
                        Layout.fillWidth: true
                        spacing: 0
                        Label { Layout.fillWidth: true; text: model.title; elide: Text.ElideRight }
                        Label { Layout.fillWidth: true; text: model.url; color: "gray"; elide: Text.ElideMiddle }
                    }
                    Label { text: Qt.formatDateTime(model.date, "dd.MM.yyyy hh:mm"); color: "gray" }
                    Label { text: model.bookmarked ? "\u2605" : "" }
                    ToolButton { text: "\u2715"; onClicked: page.history.remove(index) }
                }
                onClicked: page.browser.openUrl(model.url)
            }
            Label {
                anchors.centerIn: parent
                visible: list.count === 0
                text: qsTrId("webdeck-la-history-empty")
                color: "gray"
            }
        }
    }
}
