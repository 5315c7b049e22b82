import QtQuick 2.15
import QtQuick.Window 2.15

Window {
    width: 1024
    height: 720
    title: qsTrId("webdeck-ti-private-window")

    property alias browser: privateBrowser

    Browser {
        id: privateBrowser
        anchors.fill: parent
        privateMode: true
        color: "#2b2b3a"
    }
}
