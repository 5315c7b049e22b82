import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15

// Shown instead of a page that the administrator's policy blocks.
Rectangle {
    id: page
    objectName: "blockedPage"
    property var browser
    color: "#fff4f4"

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(parent.width - 64, 600)
        spacing: 12
        Label { text: "\u26d4"; font.pixelSize: 48; Layout.alignment: Qt.AlignHCenter }
        Label {
            Layout.fillWidth: true
            text: qsTrId("webdeck-ti-url-blocked")
            font.pixelSize: 22
            horizontalAlignment: Text.AlignHCenter
        }
        Label {
            Layout.fillWidth: true
            text: qsTrId("webdeck-la-url-blocked-by-admin").arg(page.browser && page.browser.currentTab ? page.browser.currentTab.blockedUrl : "")
            wrapMode: Text.WrapAnywhere
            horizontalAlignment: Text.AlignHCenter
        }
        Button {
            Layout.alignment: Qt.AlignHCenter
            text: qsTrId("webdeck-bt-go-back")
            onClicked: page.browser.currentTab.blockedUrl = ""
        }
    }
}
