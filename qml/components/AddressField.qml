import QtQuick 2.15
import QtQuick.Controls 2.15
import BrowserInternal 1.0
import "Urls.js" as Urls

// Shows the page's address; while typing, the history offers matching pages.
// Enter opens the text as an address or searches it with the engine in use.
TextField {
    id: field
    property var browser
    readonly property string pageUrl: browser.currentTab ? browser.currentTab.url : ""

    selectByMouse: true
    placeholderText: qsTrId("webdeck-ph-address").arg(SettingsManager.searchEngines.searchEngineName)
    text: Urls.isInternal(pageUrl) ? "" : pageUrl
    onPageUrlChanged: if (!activeFocus) text = Urls.isInternal(pageUrl) ? "" : pageUrl

    onTextEdited: {
        suggestions.search(text)
        if (text.length > 0)
            suggestionPopup.open()
        else
            suggestionPopup.close()
    }
    onAccepted: {
        suggestionPopup.close()
        var url = Urls.fromInput(text, SettingsManager.searchEngines.searchUrl)
        if (url !== "")
            browser.openUrl(url)
        focus = false
    }

    SearchModel { id: suggestions }

    Popup {
        id: suggestionPopup
        y: field.height
        width: field.width
        height: Math.min(list.contentHeight, 320)
        padding: 0
        visible: suggestions.count > 0 && field.activeFocus && field.text.length > 0

        ListView {
            id: list
            anchors.fill: parent
            clip: true
            model: suggestions
            delegate: ItemDelegate {
                width: list.width
                text: model.title + " \u2014 " + model.url
                onClicked: {
                    suggestionPopup.close()
                    field.browser.openUrl(model.url)
                }
            }
        }
    }
}
