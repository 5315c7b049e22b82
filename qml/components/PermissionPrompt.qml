import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import QtWebEngine 1.10
import BrowserInternal 1.0

// Asks the user about a site's request for the camera, microphone, location
// or notifications; "Remember" keeps the answer for the site.
Dialog {
    id: prompt
    property var view: null
    property url origin
    property int feature: -1

    anchors.centerIn: parent
    modal: true
    title: qsTrId("webdeck-ti-permission-request")

    function ask(view, origin, feature) {
        prompt.view = view
        prompt.origin = origin
        prompt.feature = feature
        remember.checked = false
        open()
    }
    function answer(granted) {
        if (remember.checked) {
            // Stored with the site's other permissions, which also tell the engine.
            var types = permissionTypes(feature)
            for (var i = 0; i < types.length; ++i)
                SettingsManager.permissions.updatePermission(origin.toString(), types[i],
                                                             granted ? Permission.Allow : Permission.Deny)
        }
        if (view)
            view.grantFeaturePermission(origin, feature, granted)
        close()
    }
    function permissionTypes(feature) {
        switch (feature) {
        case WebEngineView.Geolocation: return [Permission.Geolocation]
        case WebEngineView.Notifications: return [Permission.Notification]
        case WebEngineView.MediaAudioCapture: return [Permission.Microphone]
        case WebEngineView.MediaVideoCapture: return [Permission.Camera]
        case WebEngineView.MediaAudioVideoCapture: return [Permission.Camera, Permission.Microphone]
        default: return [Permission.ScreenCapture]
        }
    }
    function featureName(feature) {
        switch (feature) {
        case WebEngineView.Geolocation: return qsTrId("webdeck-la-feature-location")
        case WebEngineView.Notifications: return qsTrId("webdeck-la-feature-notifications")
        case WebEngineView.MediaAudioCapture: return qsTrId("webdeck-la-feature-microphone")
        case WebEngineView.MediaVideoCapture: return qsTrId("webdeck-la-feature-camera")
        case WebEngineView.MediaAudioVideoCapture: return qsTrId("webdeck-la-feature-camera-microphone")
        default: return qsTrId("webdeck-la-feature-screen")
        }
    }

    ColumnLayout {
        Label { text: qsTrId("webdeck-la-site-asks").arg(prompt.origin).arg(prompt.featureName(prompt.feature)) }
        CheckBox { id: remember; text: qsTrId("webdeck-la-remember") }
        RowLayout {
            Button { text: qsTrId("webdeck-bt-allow"); onClicked: prompt.answer(true) }
            Button { text: qsTrId("webdeck-bt-deny"); onClicked: prompt.answer(false) }
        }
    }
}
