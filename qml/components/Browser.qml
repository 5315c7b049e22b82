import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import QtQuick.Window 2.15
import QtWebEngine 1.10
import BrowserInternal 1.0
import "Urls.js" as Urls

// One browser: tabs of web pages under a toolbar, and the
// browser's own pages (start page, tabs, history, bookmarks, downloads,
// passwords, settings) over them. Functions here are what the toolbar and the
// pages call; end-to-end tests call the same ones.
Rectangle {
    id: root
    width: 1024
    height: 720
    color: "white"

    property bool privateMode: false
    signal privateWindowRequested()
    property alias tabs: tabStore
    property alias historyModel: historyModel
    property alias normalProfile: normalProfile
    property alias privateProfile: privateProfile
    property int currentIndex: -1
    // Depends on the repeater's items too: they may come after the index.
    property int tabItemsRevision: 0
    readonly property var currentTab: tabItemsRevision >= 0 && currentIndex >= 0
                                      ? tabRepeater.itemAt(currentIndex) : null
    // "" shows the current tab; otherwise the name of a page in pages/.
    property string page: ""
    property string statusText: ""
    // Late-bound: null where the installed back end has no bookmarks.
    readonly property var bookmarks: typeof BookmarkManager !== "undefined" ? BookmarkManager : null

    function openUrl(url) {
        if (!currentTab)
            return openTab(url, false)
        page = ""
        currentTab.load(url)
    }
    function openTab(url, background) {
        var index = tabStore.count
        tabStore.insert(index, url, "")
        if (!background)
            selectTab(index)
        return index
    }
    function selectTab(index) {
        if (index < 0 || index >= tabStore.count)
            return
        currentIndex = index
        page = ""
        // The tab the next start shows; private tabs are never restored.
        if (!privateMode)
            SettingsManager.lastOpenedTabID = tabStore.tabId(index)
    }
    // Closing the current tab shows its right-hand neighbour; closing another keeps the current one.
    function closeTab(index) {
        if (index < 0 || index >= tabStore.count)
            return
        var shown = currentIndex
        tabStore.remove(index)
        if (tabStore.count === 0)
            openTab("", false)
        else if (index === shown)
            selectTab(Math.min(index, tabStore.count - 1))
        else if (index < shown)
            currentIndex = shown - 1
    }
    function tabAt(index) { return tabRepeater.itemAt(index) }
    function findTab(tabId) {
        for (var i = 0; i < tabRepeater.count; ++i) {
            var item = tabRepeater.itemAt(i)
            if (item && item.tabId === tabId)
                return item
        }
        return null
    }
    function liveTabCount() {
        var n = 0
        for (var i = 0; i < tabRepeater.count; ++i)
            n += tabRepeater.itemAt(i) && tabRepeater.itemAt(i).live ? 1 : 0
        return n
    }
    // Downloads run in the engine without their tab, so no tab needs keeping for one.
    function discardIdleTabs() { tabStore.findCandidateDiscardTab([]) }
    function zoomFor(url, incognito) {
        var dpr = SettingsManager.screenSettingsManager.getDpr(url, incognito)
        return dpr > 0 ? dpr : 1.0
    }
    function showPage(name) { page = name }
    function pageLoaded(tab) {
        if (tab !== currentTab)
            return
        if (bookmarks)
            bookmarks.getBookmarked(tab.url)
        screenshotDelay.restart()
    }
    // The switcher shows what the current tab looks like now: taken first, shown after.
    function openTabSwitcher() {
        if (page === "TabsPage")
            return showPage("")
        if (!captureScreenshot(currentTab, "TabsPage"))
            showPage("TabsPage")
    }
    function bookmarkCurrent() {
        if (!currentTab || Urls.isInternal(currentTab.url) || !bookmarks)
            return false
        bookmarks.addBookmark(BookmarkManager.BookmarkFolder, currentTab.url, currentTab.title)
        bookmarks.getBookmarked(currentTab.url)
        statusText = qsTrId("webdeck-la-bookmark-added")
        return true
    }
    function addCurrentToAppGrid() {
        if (!currentTab || Urls.isInternal(currentTab.url) || !bookmarks)
            return false
        bookmarks.saveToAppGrid(currentTab.url, currentTab.title)
        statusText = bookmarks.isInAppGrid ? qsTrId("webdeck-la-added-to-app-grid")
                                           : qsTrId("webdeck-la-app-grid-failed")
        return bookmarks.isInAppGrid
    }
    // The page names its manifest in <link rel="manifest">; the back end does the rest.
    function installCurrentAsApp() {
        var tab = currentTab
        if (!tab || !tab.view || Urls.isInternal(tab.url))
            return
        tab.view.runJavaScript("(function(){var l=document.querySelector('link[rel=manifest]');return l?l.href:'';})()",
            function(manifestUrl) {
                if (!manifestUrl) {
                    statusText = qsTrId("webdeck-la-no-manifest")
                    return
                }
                statusText = qsTrId("webdeck-la-installing-app")
                PwaManager.install(tab.pageHandle, FilePathUtils.getBaseUrl(tab.url), manifestUrl)
            })
    }
    // The content area is taken, not the tab alone: a tab on its start page shows that page.
    function captureScreenshot(tab, nextPage) {
        if (!tab || screenshotTaker.pending || page !== "")
            return false
        screenshotTaker.pending = tab
        screenshotTaker.nextPage = nextPage || ""
        ScreenshotUtils.captureScreenshot(contentArea, false)
        return true
    }
    function openPrivateWindow() { privateWindowRequested() }
    function askPermission(view, origin, feature) { permissionPrompt.ask(view, origin, feature) }
    function offerPasswordSave(url, username, password) { passwordPrompt.offer(url, username, password) }

    HistoryModel { id: historyModel }

    WebEngineProfile {
        id: normalProfile
        storageName: "webdeck"
        offTheRecord: false
        onDownloadRequested: root.trackDownload(download)
    }
    WebEngineProfile {
        id: privateProfile
        offTheRecord: true
        onDownloadRequested: root.trackDownload(download)
    }
    function trackDownload(download) {
        DownloadManager.trackEngineDownload(download)
        statusText = qsTrId("webdeck-la-download-started")
    }

    TabStore {
        id: tabStore
        incognito: root.privateMode
        onDiscardRequested: {
            var tab = root.findTab(tabId)
            if (tab)
                tab.discard()
        }
    }

    Connections {
        target: tabStore.backend
        ignoreUnknownSignals: true
        // Restored tabs arrive after the window is up (the model is reset with
        // them, even when there are none): show the one that was current. Called
        // after the reset, since the model announces its count and selection then.
        function onModelReset() { Qt.callLater(root.restoreSelection) }
    }
    property bool restored: false
    function restoreSelection() {
        if (restored)
            return
        restored = true
        var requested = typeof startUrl !== "undefined" && !privateMode ? startUrl : ""
        if (tabStore.count > 0)
            selectTab(Math.max(0, Math.min(tabStore.restoredSelection, tabStore.count - 1)))
        if (tabStore.count === 0 || requested !== "")
            openTab(requested, false)
    }

    QtObject {
        id: screenshotTaker
        property var pending: null
        property string nextPage: ""
    }
    // A page that has just finished loading may still be painting.
    Timer {
        id: screenshotDelay
        interval: 800
        onTriggered: root.captureScreenshot(root.currentTab)
    }
    Connections {
        target: ScreenshotUtils
        function onScreenshotReady(base64Image) {
            var tab = screenshotTaker.pending
            screenshotTaker.pending = null
            if (!tab)
                return
            if (screenshotTaker.nextPage !== "")
                root.showPage(screenshotTaker.nextPage)
            tab.storedScreenshot = base64Image
            tabStore.setScreenshot(tabStore.indexOfTab(tab.tabId), base64Image)
        }
    }

    Connections {
        target: PwaManager
        function onInstallationFinished(webView, manifestUrl, result) {
            statusText = result === 0 ? qsTrId("webdeck-la-app-installed") : qsTrId("webdeck-la-app-install-failed").arg(result)
            console.log("app install finished", manifestUrl, result)
        }
    }

    // Background tabs idle for a while give their views back.
    Timer {
        interval: 60000
        repeat: true
        running: true
        onTriggered: root.discardIdleTabs()
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        Toolbar {
            id: toolbar
            Layout.fillWidth: true
            browser: root
        }
        ProgressBar {
            Layout.fillWidth: true
            visible: root.currentTab && root.currentTab.loading
            value: root.currentTab ? root.currentTab.progress : 0
        }

        Item {
            id: contentArea
            Layout.fillWidth: true
            Layout.fillHeight: true

            Repeater {
                id: tabRepeater
                model: tabStore.model
                onItemAdded: root.tabItemsRevision++
                onItemRemoved: root.tabItemsRevision++
                delegate: WebTab {
                    anchors.fill: parent
                    browser: root
                    tabId: model.tabId
                    incognito: root.privateMode
                    pendingUrl: model.url
                    listedUrl: tabStore.backend && !root.privateMode ? model.url : ""
                    storedTitle: model.title
                    storedScreenshot: model.screenshot || ""
                    current: index === root.currentIndex
                    visible: current
                }
            }

            Loader {
                anchors.fill: parent
                active: root.page === "" && root.currentTab !== null && root.currentTab.showsStartPage
                source: "../pages/StartPage.qml"
                onLoaded: item.browser = root
            }
            Loader {
                anchors.fill: parent
                active: root.page === "" && root.currentTab !== null && root.currentTab.blockedUrl !== ""
                source: "../pages/BlockedPage.qml"
                onLoaded: item.browser = root
            }
            Loader {
                id: pageLoader
                anchors.fill: parent
                active: root.page !== ""
                source: active ? "../pages/" + root.page + ".qml" : ""
                onLoaded: item.browser = root
            }
        }

        Label {
            Layout.fillWidth: true
            visible: text !== ""
            text: root.statusText
            padding: 4
            elide: Text.ElideRight
        }
    }

    PermissionPrompt { id: permissionPrompt }
    PasswordPrompt { id: passwordPrompt }

    Component.onCompleted: {
        // The administrator's lists arrive later and follow every change of the policy.
        if (!privateMode)
            ManagedConfigurationUtils.requestUrlAccessPolicy()
        tabStore.start()
        // Without the back end's tab list nothing will be restored: start at once.
        if (!tabStore.backend || privateMode)
            restoreSelection()
        else
            restoreTimer.start()
    }
    // Outside incognito mode the stored tabs arrive from the storage thread.
    // A tab opened before they arrive would be replaced by them, so only a
    // storage that never answers makes the window go on without them.
    Timer {
        id: restoreTimer
        interval: 10000
        onTriggered: root.restoreSelection()
    }
}
