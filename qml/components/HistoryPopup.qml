import QtQuick 2.15
import QtQuick.Controls 2.15
import BrowserInternal 1.0

// The long-press list of the back or forward button: the tab's history
// entries on that side of the current one.
Menu {
    id: menu
    property var browser

    function openFor(forward, button) {
        if (!browser.currentTab)
            return
        entries.forwardModel = forward
        entries.sourceModel = browser.currentTab.history
        popup(button, 0, button.height)
    }

    PopupHistoryModel {
        id: entries
        maxCount: 8
    }

    Instantiator {
        model: entries
        delegate: MenuItem {
            text: model.title
            onTriggered: {
                menu.close()
                menu.browser.currentTab.goTo(model.historyId, model.url)
            }
        }
        onObjectAdded: menu.insertItem(index, object)
        onObjectRemoved: menu.removeItem(object)
    }
}
