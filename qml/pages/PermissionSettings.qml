import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import BrowserInternal 1.0

// What each site may do; each permission cycles through ask, allow and deny.
ColumnLayout {
    id: section
    readonly property var manager: SettingsManager.permissions
    readonly property var kinds: [
        { type: Permission.Camera, role: "camera", label: qsTrId("webdeck-la-feature-camera") },
        { type: Permission.Microphone, role: "microphone", label: qsTrId("webdeck-la-feature-microphone") },
        { type: Permission.Geolocation, role: "geolocation", label: qsTrId("webdeck-la-feature-location") },
        { type: Permission.Notification, role: "notification", label: qsTrId("webdeck-la-feature-notifications") },
        { type: Permission.Popups, role: "popups", label: qsTrId("webdeck-la-feature-popups") }
    ]
    function responseName(value) {
        return value === Permission.Allow ? qsTrId("webdeck-la-allow")
             : value === Permission.Deny ? qsTrId("webdeck-la-deny") : qsTrId("webdeck-la-ask")
    }
    function next(value) {
        return value === Permission.Allow ? Permission.Deny : value === Permission.Deny ? Permission.AlwaysAsk : Permission.Allow
    }

    PermissionsProxyModel {
        id: sites
        sourceModel: section.manager.permissionsModel
        filter: filterField.text
    }

    RowLayout {
        TextField { id: filterField; Layout.fillWidth: true; placeholderText: qsTrId("webdeck-ph-filter") }
        Button { text: qsTrId("webdeck-bt-remove-all"); onClicked: section.manager.removeAllPermissions() }
    }
    ListView {
        id: list
        Layout.fillWidth: true
        Layout.fillHeight: true
        clip: true
        model: sites
        delegate: ColumnLayout {
            id: site
            width: list.width
            readonly property var row: model
            RowLayout {
                Label { text: model.url; font.bold: true; Layout.fillWidth: true }
                ToolButton { text: "\u2715"; onClicked: section.manager.removePermissionsData(model.url) }
            }
            Flow {
                Layout.fillWidth: true
                spacing: 6
                Repeater {
                    model: section.kinds
                    delegate: Button {
                        // Undefined while the site has no answer of its own for this kind.
                        readonly property var value: site.row[modelData.role]
                        text: modelData.label + ": " + section.responseName(value)
                        onClicked: section.manager.updatePermission(site.row.url, modelData.type, section.next(value))
                    }
                }
            }
        }
    }
    Label {
        visible: list.count === 0
        text: qsTrId("webdeck-la-no-site-permissions")
        color: "gray"
    }
    Label { text: qsTrId("webdeck-la-defaults"); font.bold: true }
    Flow {
        Layout.fillWidth: true
        spacing: 6
        Button {
            text: qsTrId("webdeck-la-feature-camera") + ": " + section.responseName(SettingsManager.defaultCameraPermission)
            onClicked: SettingsManager.defaultCameraPermission = section.next(SettingsManager.defaultCameraPermission)
        }
        Button {
            text: qsTrId("webdeck-la-feature-microphone") + ": " + section.responseName(SettingsManager.defaultMicPermission)
            onClicked: SettingsManager.defaultMicPermission = section.next(SettingsManager.defaultMicPermission)
        }
        Button {
            text: qsTrId("webdeck-la-feature-location") + ": " + section.responseName(SettingsManager.defaultGeoPermission)
            onClicked: SettingsManager.defaultGeoPermission = section.next(SettingsManager.defaultGeoPermission)
        }
        Button {
            text: qsTrId("webdeck-la-feature-notifications") + ": " + section.responseName(SettingsManager.defaultNotifPermission)
            onClicked: SettingsManager.defaultNotifPermission = section.next(SettingsManager.defaultNotifPermission)
        }
    }
}
