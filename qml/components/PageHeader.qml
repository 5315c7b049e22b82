import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15

// Title row of the browser's own pages; "back" returns to the tab.
ToolBar {
    id: header
    property var browser
    property alias title: label.text
    default property alias actions: actionRow.data

    RowLayout {
        anchors.fill: parent
        ToolButton {
            objectName: "pageBackButton"
            text: "\u2190"
            onClicked: header.browser.showPage("")
        }
        Label {
            id: label
            Layout.fillWidth: true
            font.bold: true
            elide: Text.ElideRight
        }
        RowLayout { id: actionRow }
    }
}
