import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import BrowserInternal 1.0
import "../components"

// Saved logins: filter, reveal, remove; import from and export to a CSV file.
Rectangle {
    id: page
    objectName: "passwordsPage"
    property var browser
    color: "white"

    CredentialsModel { id: credentials; filter: filterField.text }

    Connections {
        target: SettingsPasswordManager
        function onImportFinished(report) { message.text = qsTrId("webdeck-la-import-done").arg(JSON.stringify(report)) }
        function onExportFinished(ok, text) { message.text = ok ? qsTrId("webdeck-la-export-done") : text }
        function onStoreError(text) { message.text = text }
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0
        PageHeader {
            Layout.fillWidth: true
            browser: page.browser
            title: qsTrId("webdeck-ti-passwords")
            ToolButton {
                text: qsTrId("webdeck-bt-remove-selected").arg(credentials.selectedCount)
                enabled: credentials.selectedCount > 0
                onClicked: credentials.removeSelected()
            }
        }
        RowLayout {
            Layout.fillWidth: true
            Layout.margins: 8
            TextField { id: filterField; Layout.fillWidth: true; placeholderText: qsTrId("webdeck-ph-filter") }
        }
        RowLayout {
            Layout.fillWidth: true
            Layout.margins: 8
            TextField {
                id: csvPath
                Layout.fillWidth: true
                placeholderText: qsTrId("webdeck-ph-csv-file")
                text: DownloadManager.downloadDirectory + "/passwords.csv"
            }
            Button {
                text: qsTrId("webdeck-bt-import")
                enabled: !SettingsPasswordManager.busy
                onClicked: SettingsPasswordManager.importCsv(csvPath.text)
            }
            Button {
                text: qsTrId("webdeck-bt-export")
                enabled: !SettingsPasswordManager.busy
                onClicked: SettingsPasswordManager.exportCsv(csvPath.text)
            }
        }
        Label { id: message; Layout.margins: 8; visible: text !== ""; wrapMode: Text.Wrap; Layout.fillWidth: true }
        ListView {
            id: list
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            model: credentials
            delegate: ItemDelegate {
                width: list.width
                contentItem: RowLayout {
                    CheckBox { checked: model.selected; onClicked: credentials.setSelected(index, checked) }
                    SiteIcon { url: model.url; title: model.site }
                    Label { text: model.site; Layout.preferredWidth: 220; elide: Text.ElideRight }
                    Label { text: model.username; Layout.fillWidth: true; elide: Text.ElideRight }
                    Label { text: model.revealed ? model.password : "\u2022\u2022\u2022\u2022\u2022\u2022" }
                    ToolButton { text: "\ud83d\udc41"; onClicked: credentials.reveal(index, !model.revealed) }
                    ToolButton { text: "\u2715"; onClicked: credentials.remove(index) }
                }
            }
        }
        Label {
            Layout.margins: 8
            text: qsTrId("webdeck-la-never-saved-for").arg(SettingsPasswordManager.exceptions.join(", "))
            visible: SettingsPasswordManager.exceptions.length > 0
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
    }
}
