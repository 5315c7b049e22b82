import QtQuick 2.15
import BrowserInternal 1.0

// A site's favicon, or its letter while none is known.
Rectangle {
    objectName: "siteIcon"
    property string url
    property string title
    property string icon: FaviconsMap.getFavicon(url)

    Connections {
        target: FaviconsMap
        function onValueChanged(baseUrl) { icon = FaviconsMap.getFavicon(url) }
        function onFaviconsLoaded() { icon = FaviconsMap.getFavicon(url) }
    }

    width: 24
    height: 24
    radius: 4
    color: icon === "" ? "#54656F" : "transparent"

    Image {
        anchors.fill: parent
        source: parent.icon
        visible: parent.icon !== ""
    }
    Text {
        anchors.centerIn: parent
        visible: parent.icon === ""
        color: "white"
        font.bold: true
        text: (parent.title || FilePathUtils.getHost(parent.url) || "?").charAt(0).toUpperCase()
    }
}
