import QtQuick 2.15
import QtWebEngine 1.10

// The shell of an installed web app: its start page, nothing else.
Rectangle {
    width: 1024
    height: 720

    WebEngineView {
        anchors.fill: parent
        url: typeof startUrl !== "undefined" ? startUrl : "about:blank"
        onLoadingChanged: {
            if (loadRequest.status === WebEngineView.LoadSucceededStatus)
                console.log("page loaded", loadRequest.url)
        }
    }
}
