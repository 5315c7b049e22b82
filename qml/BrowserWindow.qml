import QtQuick 2.15
import QtQuick.Window 2.15
import BrowserInternal 1.0
import "components"

// The reference front end for the desktop. End-to-end tests reach the
// browser's functions through `browser` (see TestHooks in the back end).
Item {
    id: window
    width: 1024
    height: 720

    property alias browser: browser
    property var privateWindow: null
    // Back-end singletons for whoever drives the window from outside its QML.
    readonly property QtObject settings: SettingsManager
    readonly property QtObject downloads: DownloadManager
    readonly property QtObject favicons: FaviconsMap

    Browser {
        id: browser
        anchors.fill: parent
        onPrivateWindowRequested: window.openPrivateWindow()
    }

    // The texts on screen under the item named objectName, for end-to-end tests
    // that check what a person would read.
    function textsOf(objectName) {
        var item = findItem(window, objectName)
        var texts = []
        if (item)
            collectTexts(item, texts)
        return texts
    }
    function findItem(item, objectName) {
        if (item.objectName === objectName)
            return item
        for (var i = 0; i < item.children.length; ++i) {
            var found = findItem(item.children[i], objectName)
            if (found)
                return found
        }
        return null
    }
    function collectTexts(item, texts) {
        if (!item.visible)
            return
        if (typeof item.text === "string" && item.text !== "")
            texts.push(item.text)
        for (var i = 0; i < item.children.length; ++i)
            collectTexts(item.children[i], texts)
    }

    // Private browsing gets a window of its own: its tabs, history and
    // site data stay in memory and go with it.
    function openPrivateWindow() {
        if (privateWindow) {
            privateWindow.raise()
            return privateWindow
        }
        var component = Qt.createComponent("components/PrivateWindow.qml")
        privateWindow = component.createObject(null)
        privateWindow.closing.connect(function() { privateWindow.destroy(); privateWindow = null })
        privateWindow.show()
        return privateWindow
    }
}
