import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import BrowserInternal 1.0
import "../components"

// Downloads grouped by day, filtered by kind of file and text.
Rectangle {
    id: page
    objectName: "downloadsPage"
    property var browser
    readonly property var downloads: DownloadManager.proxyModel
    color: "white"

    function stateText(state, error) {
        switch (state) {
        case DownloadModel.Running: return qsTrId("webdeck-la-download-running")
        case DownloadModel.Paused: return qsTrId("webdeck-la-download-paused")
        case DownloadModel.Finished: return qsTrId("webdeck-la-download-finished")
        case DownloadModel.Failed: return qsTrId("webdeck-la-download-failed").arg(error)
        default: return qsTrId("webdeck-la-download-cancelled")
        }
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0
        PageHeader {
            Layout.fillWidth: true
            browser: page.browser
            title: qsTrId("webdeck-ti-downloads")
            ToolButton { text: qsTrId("webdeck-bt-remove-finished"); onClicked: DownloadManager.removeFinished() }
        }
        RowLayout {
            Layout.fillWidth: true
            Layout.margins: 8
            TextField {
                Layout.fillWidth: true
                placeholderText: qsTrId("webdeck-ph-filter")
                onTextChanged: page.downloads.searchText = text
            }
            ComboBox {
                model: ["", "document", "image", "video", "audio", "book", "archive", "application", "other"]
                displayText: currentText === "" ? qsTrId("webdeck-la-all-kinds") : currentText
                onActivated: page.downloads.kind = currentText
            }
        }
        Label {
            Layout.margins: 8
            text: qsTrId("webdeck-la-saved-into").arg(DownloadManager.downloadDirectory)
            color: "gray"
        }
        ListView {
            id: list
            objectName: "downloadList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            model: page.downloads
            section.property: "group"
            section.delegate: Label { text: section; font.bold: true; padding: 6 }
            delegate: ItemDelegate {
                width: list.width
                contentItem: RowLayout {
                    ColumnLayout {
                        Layout.fillWidth: true
                        spacing: 0
                        Label { Layout.fillWidth: true; text: model.fileName; elide: Text.ElideMiddle }
                        Label {
                            text: page.stateText(model.state, model.error) + " \u2014 "
                                  + FilePathUtils.getReadableSize(model.receivedBytes)
                                  + (model.totalBytes > 0 ? " / " + FilePathUtils.getReadableSize(model.totalBytes) : "")
                            color: "gray"
                        }
                        ProgressBar {
                            Layout.fillWidth: true
                            visible: model.state === DownloadModel.Running
                            indeterminate: model.progress < 0
                            value: Math.max(0, model.progress)
                        }
                    }
                    ToolButton {
                        visible: model.state === DownloadModel.Running || model.state === DownloadModel.Paused
                        text: model.state === DownloadModel.Running ? "\u23f8" : "\u25b6"
                        onClicked: model.state === DownloadModel.Running ? DownloadManager.pause(model.id) : DownloadManager.resume(model.id)
                    }
                    ToolButton {
                        visible: model.state === DownloadModel.Failed || model.state === DownloadModel.Cancelled
                        text: "\u21bb"
                        onClicked: DownloadManager.retry(model.id)
                    }
                    ToolButton {
                        text: "\u2715"
                        onClicked: model.state === DownloadModel.Running ? DownloadManager.cancel(model.id) : DownloadManager.remove(model.id, false)
                    }
                }
                onClicked: if (model.state === DownloadModel.Finished) DownloadManager.open(model.id)
            }
        }
    }
}
