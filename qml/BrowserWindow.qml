import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import QtQuick.Window 2.15
import QtWebEngine 1.10
import BrowserInternal 1.0

// A minimal front end: an address field over one web view.
Rectangle {
    id: root
    width: 1024
    height: 720
    color: "white"

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        TextField {
            id: addressField
            Layout.fillWidth: true
            selectByMouse: true
            text: FilePathUtils.getCommonUrl(webView.url.toString())
            onAccepted: webView.url = text.indexOf(":") < 0 ? "https://" + text : text
        }

        WebEngineView {
            id: webView
            Layout.fillWidth: true
            Layout.fillHeight: true
            url: typeof startUrl !== "undefined" ? startUrl : "about:blank"
            onLoadingChanged: {
                if (loadRequest.status === WebEngineView.LoadSucceededStatus) {
                    if (root.Window.window)
                        root.Window.window.title = title
                    console.log("page loaded", loadRequest.url)
                } else if (loadRequest.status === WebEngineView.LoadFailedStatus) {
                    console.log("page failed", loadRequest.url, loadRequest.errorString)
                }
            }
        }
    }
}
