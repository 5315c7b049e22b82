import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import BrowserInternal 1.0

// Zoom of the current site, and the list of sites with a zoom of their own.
ColumnLayout {
    id: section
    property var browser
    readonly property var screen: SettingsManager.screenSettingsManager
    readonly property string site: browser && browser.currentTab ? FilePathUtils.getBaseUrl(browser.currentTab.url) : ""
    readonly property bool incognito: browser ? browser.privateMode : false

    RowLayout {
        visible: section.site !== "" && section.site.indexOf("about:") !== 0
        Label { text: qsTrId("webdeck-la-zoom-for").arg(section.site) }
        Slider {
            id: zoom
            from: 0.5
            to: 3.0
            stepSize: 0.1
            value: section.browser ? section.browser.zoomFor(section.site, section.incognito) : 1
            onMoved: {
                section.screen.updateDpr(section.site, section.incognito, value)
                if (section.browser.currentTab.view)
                    section.browser.currentTab.view.zoomFactor = value
            }
        }
        Label { text: Math.round(zoom.value * 100) + " %" }
    }
    RowLayout {
        Button {
            text: qsTrId("webdeck-bt-remove-selected").arg(section.screen.dprModel.selectedCount)
            enabled: section.screen.dprModel.selectedCount > 0
            onClicked: section.screen.removeSelectedDprs()
        }
        Button { text: qsTrId("webdeck-bt-remove-all"); onClicked: section.screen.removeAllDprs() }
    }
    ListView {
        id: list
        Layout.fillWidth: true
        Layout.fillHeight: true
        clip: true
        model: section.incognito ? section.screen.incognitoDprModel : section.screen.dprModel
        delegate: CheckDelegate {
            width: list.width
            text: model.site + " \u2014 " + Math.round(model.dpr * 100) + " %"
            checked: model.selected === true
            onClicked: if (!section.incognito) section.screen.dprModel.toggleSelection(index)
        }
    }
}
