import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import BrowserInternal 1.0

ColumnLayout {
    property var browser

    Label { text: qsTrId("webdeck-la-download-directory"); font.bold: true }
    RowLayout {
        TextField {
            id: downloadPath
            objectName: "downloadPath"
            Layout.fillWidth: true
            text: SettingsManager.defaultDownloadPath
            onEditingFinished: SettingsManager.defaultDownloadPath = text
        }
    }
    Label { text: qsTrId("webdeck-la-start-page"); font.bold: true }
    RowLayout {
        Label { text: qsTrId("webdeck-la-most-visited-count") }
        SpinBox {
            from: 0
            to: 12
            value: SettingsManager.mostVisitedCount
            onValueModified: SettingsManager.mostVisitedCount = value
        }
    }
    Label { text: qsTrId("webdeck-la-passwords"); font.bold: true }
    CheckBox {
        text: qsTrId("webdeck-la-autofill-passwords")
        checked: SettingsManager.enablePasswordsAutofill
        onToggled: SettingsManager.enablePasswordsAutofill = checked
    }
    CheckBox {
        text: qsTrId("webdeck-la-offer-to-save-passwords")
        checked: SettingsManager.suggestToSavePasswords
        onToggled: SettingsManager.suggestToSavePasswords = checked
    }
    Label { text: qsTrId("webdeck-la-history"); font.bold: true }
    Button {
        text: qsTrId("webdeck-bt-clear-history")
        onClicked: SettingsManager.clearHistory(new Date(0))
    }
    Item { Layout.fillHeight: true }
}
