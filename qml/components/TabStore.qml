import QtQuick 2.15

// The open tabs. The back end's TabsModel keeps them (and restores them at
// the next start); it is created by name so that this front end still runs,
// with tabs kept in memory, where a back end without it is installed.
Item {
    id: store

    property bool incognito: false
    property QtObject backend: null
    readonly property var model: backend ? backend : memoryModel
    readonly property int count: backend ? backend.count : memoryModel.count
    // Row the back end restored as the current one, -1 when none.
    readonly property int restoredSelection: backend ? backend.selectedTab : -1
    property int nextMemoryId: 0

    signal discardRequested(int tabId)

    ListModel { id: memoryModel }

    Connections {
        target: store.backend
        ignoreUnknownSignals: true
        function onDiscardTab(tabId) { store.discardRequested(tabId) }
    }

    // Called by the browser once its own settings (incognito) are in place.
    function start() {
        if (backend)
            return
        try {
            backend = Qt.createQmlObject("import BrowserInternal 1.0; TabsModel {}", store, "TabStore")
            // The model starts incognito; leaving that mode once loads the stored tabs.
            backend.isIncognito = incognito
        } catch (e) {
            console.warn("tabs are kept in memory only:", e.message || e)
        }
    }

    function insert(index, url, title) {
        if (backend) {
            backend.insert(index, [url], [title || ""], null)
            return
        }
        memoryModel.insert(index, { tabId: nextMemoryId++, url: url, title: title || "", screenshot: "" })
    }
    function remove(index) {
        if (backend)
            backend.remove(index)
        else if (index >= 0 && index < memoryModel.count)
            memoryModel.remove(index)
    }
    function tabId(index) {
        if (backend)
            return backend.getTabID(index)
        return index >= 0 && index < memoryModel.count ? memoryModel.get(index).tabId : -1
    }
    function indexOfTab(id) {
        for (var i = 0; i < count; ++i) {
            if (tabId(i) === id)
                return i
        }
        return -1
    }
    function setScreenshot(index, screenshot) {
        if (backend)
            backend.setScreenshotToDB(index, screenshot)
        else if (index >= 0 && index < memoryModel.count)
            memoryModel.setProperty(index, "screenshot", screenshot)
    }
    function addLiveTab(tabId, isProtected) { if (backend) backend.addLiveTab(tabId, isProtected) }
    function removeLiveTab(tabId) { if (backend) backend.removeLiveTab(tabId) }
    function updateActivity(tabId, isProtected) { if (backend) backend.updateTabActivity(tabId, isProtected, true) }
    function findCandidateDiscardTab(tabsWithDownloads) {
        if (backend)
            backend.findCandidateDiscardTab(tabsWithDownloads)
    }
}
