import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import BrowserInternal 1.0

Dialog {
    id: prompt
    property string url
    property string username
    property string password

    anchors.centerIn: parent
    modal: true
    title: qsTrId("webdeck-ti-save-password")

    function offer(url, username, password) {
        prompt.url = url
        prompt.username = username
        prompt.password = password
        open()
    }

    ColumnLayout {
        Label { text: qsTrId("webdeck-la-save-password-for").arg(prompt.username).arg(FilePathUtils.getHost(prompt.url)) }
        RowLayout {
            Button {
                text: qsTrId("webdeck-bt-save")
                onClicked: { SettingsPasswordManager.save(prompt.url, prompt.username, prompt.password, ""); prompt.close() }
            }
            Button {
                text: qsTrId("webdeck-bt-never-for-site")
                onClicked: { SettingsPasswordManager.addException(prompt.url); prompt.close() }
            }
            Button { text: qsTrId("webdeck-bt-not-now"); onClicked: prompt.close() }
        }
    }
}
