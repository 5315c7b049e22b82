import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import BrowserInternal 1.0

// The engines to search with; the user's own can be added, edited and removed.
ColumnLayout {
    id: section
    readonly property var engines: SettingsManager.searchEngines

    ListView {
        id: list
        Layout.fillWidth: true
        Layout.fillHeight: true
        clip: true
        model: section.engines.searchEnginesModel
        delegate: ItemDelegate {
            width: list.width
            contentItem: RowLayout {
                RadioButton {
                    checked: model.id === SettingsManager.searchEngineId
                    onClicked: SettingsManager.searchEngineId = model.id
                }
                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 0
                    Label { text: model.name }
                    Label { text: model.url; color: "gray"; elide: Text.ElideMiddle; Layout.fillWidth: true }
                }
                ToolButton {
                    text: "\u2715"
                    visible: model.editable
                    onClicked: section.engines.removeSearchEngine(model.id)
                }
            }
        }
    }
    RowLayout {
        TextField { id: name; placeholderText: qsTrId("webdeck-ph-engine-name") }
        TextField { id: url; Layout.fillWidth: true; placeholderText: qsTrId("webdeck-ph-engine-url") }
        Button {
            text: qsTrId("webdeck-bt-add")
            onClicked: {
                var result = section.engines.addSearchEngine(name.text, url.text)
                error.text = result === 0 ? "" : qsTrId("webdeck-la-engine-rejected").arg(result)
                if (result === 0) {
                    name.text = ""
                    url.text = ""
                }
            }
        }
    }
    Label { id: error; color: "red"; visible: text !== "" }
}
