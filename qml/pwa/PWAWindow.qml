import QtQuick 2.15
import QtQuick.Window 2.15
import QtWebEngine 1.10
import BrowserInternal 1.0

// The shell of an installed web app: its start page, and only pages within
// the app's scope; anything else opens outside the app.
Rectangle {
    width: 1024
    height: 720

    // What the window manager's close button does; the app quits with its last window.
    function closeWindow() { Window.window.close() }

    WebEngineView {
        anchors.fill: parent
        url: typeof startUrl !== "undefined" ? startUrl : "about:blank"
        onNavigationRequested: {
            const scope = PwaManager.pwaConfig.scope
            if (request.isMainFrame && scope !== "" && !PwaManager.isInScope(request.url.toString(), scope)) {
                request.action = WebEngineNavigationRequest.IgnoreRequest
                Qt.openUrlExternally(request.url)
            }
        }
        onLoadingChanged: {
            if (loadRequest.status === WebEngineView.LoadSucceededStatus)
                console.log("page loaded", loadRequest.url)
        }
    }
}
