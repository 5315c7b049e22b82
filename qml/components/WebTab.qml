import QtQuick 2.15
import QtWebChannel 1.0
import QtWebEngine 1.10
import BrowserInternal 1.0
import ru.orvaneos.WebView 1.0 as Platform
import "Urls.js" as Urls

// One tab: its page view (made only while the tab is live, freed when the
// tab is discarded), the back end's handle on the page for app installs,
// and the tab's own back/forward history.
Item {
    id: tab

    property var browser
    property int tabId: -1
    property bool incognito: false
    property bool current: false
    property bool live: false
    // Where the tab is when it has no view: the stored or requested page.
    property string pendingUrl: ""
    property string storedTitle: ""
    property string storedScreenshot: ""
    // A url whose entry the tab's history already has (the one the tab list
    // stored, or one reached with back/forward): its next load only names it.
    property string listedUrl: ""
    property string blockedUrl: ""
    // A tab on its start page has no view until it opens a page.
    property bool wantsView: false
    property bool loading: view ? view.loading : false
    property real progress: view ? view.loadProgress / 100 : 0

    readonly property var view: viewLoader.item
    readonly property string url: view && view.url.toString() !== "" ? view.url.toString() : pendingUrl
    readonly property string title: view && view.title !== "" ? view.title : storedTitle
    readonly property alias history: tabHistory
    readonly property alias pageHandle: pageHandle
    readonly property bool showsStartPage: blockedUrl === "" && Urls.isInternal(url)

    TabHistoryModel {
        id: tabHistory
        tabId: tab.tabId
        isPrivate: tab.incognito
    }

    // The page as the back end sees it: PwaManager downloads the manifest and icons through it.
    Platform.WebView {
        id: pageHandle
        url: tab.url
    }

    onCurrentChanged: {
        if (current)
            live = true
        if (live)
            browser.tabs.updateActivity(tabId, current)
    }
    onLiveChanged: {
        wantsView = live && (wantsView || !Urls.isInternal(pendingUrl))
        if (live)
            browser.tabs.addLiveTab(tabId, current)
        else
            browser.tabs.removeLiveTab(tabId)
    }

    function load(url) {
        blockedUrl = ""
        pendingUrl = url
        if (view && !Urls.isInternal(url))
            view.url = url
        wantsView = wantsView || !Urls.isInternal(url)
        live = current || live
    }
    // Frees the view; the tab keeps its place and reloads when it is shown again.
    function discard() {
        if (current || !live)
            return
        pendingUrl = url
        storedTitle = title
        wantsView = false
        live = false
    }
    function goBack() { if (tabHistory.canGoBack) loadFromHistory(tabHistory.goBack()) }
    function goForward() { if (tabHistory.canGoForward) loadFromHistory(tabHistory.goForward()) }
    function goTo(historyId, url) { tabHistory.navigateThroughTabHistory(historyId); loadFromHistory(url) }
    function loadFromHistory(url) {
        listedUrl = url
        load(url)
    }

    // The engine shows a page's icon through its image provider; the icon
    // cache keeps data URLs, so the icon is drawn once into a canvas and read
    // back. The canvas sits under the page, where it is painted but not seen.
    Canvas {
        id: faviconCanvas
        width: 32
        height: 32
        z: -1
        property url source
        property string pageUrl
        onImageLoaded: requestPaint()
        onPaint: {
            if (!isImageLoaded(source))
                return
            var context = getContext("2d")
            context.clearRect(0, 0, width, height)
            context.drawImage(source, 0, 0, width, height)
            FaviconsMap.setFavicon(pageUrl, toDataURL("image/png"), tab.incognito)
        }
        function take(pageUrl, icon) {
            if (Urls.isInternal(pageUrl) || icon.toString() === "")
                return
            faviconCanvas.pageUrl = pageUrl
            if (source.toString() !== "")
                unloadImage(source)
            source = icon
            loadImage(icon)
        }
    }

    Loader {
        id: viewLoader
        anchors.fill: parent
        active: tab.live && tab.wantsView
        sourceComponent: WebEngineView {
            id: webView
            objectName: "webView"
            visible: !tab.showsStartPage
            profile: tab.incognito ? browser.privateProfile : browser.normalProfile
            zoomFactor: browser.zoomFor(tab.url, tab.incognito)
            url: Urls.isInternal(tab.pendingUrl) ? "about:blank" : tab.pendingUrl
            webChannel: passwordChannel
            webChannelWorld: WebEngineScript.ApplicationWorld
            userScripts: [
                WebEngineScript {
                    sourceUrl: "qrc:///qtwebchannel/qwebchannel.js"
                    injectionPoint: WebEngineScript.DocumentReady
                    worldId: WebEngineScript.ApplicationWorld
                },
                WebEngineScript {
                    sourceUrl: Qt.resolvedUrl("../passwords/autofill.js")
                    injectionPoint: WebEngineScript.DocumentReady
                    worldId: WebEngineScript.ApplicationWorld
                }
            ]

            WebChannel {
                id: passwordChannel
                registeredObjects: [passwords]
            }
            QtObject {
                id: passwords
                WebChannel.id: "webdeckPasswords"
                // Always the view's own url: a page cannot ask for another site's logins.
                function logins() {
                    if (!SettingsManager.enablePasswordsAutofill)
                        return []
                    return SettingsPasswordManager.credentialsForUrl(webView.url.toString())
                }
                function submitted(username, password) {
                    if (!SettingsManager.suggestToSavePasswords)
                        return
                    if (SettingsPasswordManager.saveOffer(webView.url.toString(), username, password) !== 0)
                        browser.offerPasswordSave(webView.url.toString(), username, password)
                }
            }

            onNavigationRequested: {
                if (!request.isMainFrame)
                    return
                var target = request.url.toString()
                if (FilePathUtils.isUrlBlocked(target, ManagedConfigurationUtils.getUrlBlocklist(),
                                               ManagedConfigurationUtils.getUrlAllowlist())) {
                    request.action = WebEngineNavigationRequest.IgnoreRequest
                    tab.blockedUrl = target
                    console.log("page blocked", target)
                } else {
                    tab.blockedUrl = ""
                }
            }
            onLoadingChanged: {
                var url = loadRequest.url.toString()
                if (loadRequest.status === WebEngineView.LoadSucceededStatus) {
                    console.log("page loaded", loadRequest.url)
                    if (Urls.isInternal(url))
                        return
                    tab.pendingUrl = url
                    if (!tab.incognito)
                        browser.historyModel.add(url, title)
                    if (url === tab.listedUrl)
                        tabHistory.updateTitle(url, title)
                    else
                        tabHistory.add(url, title)
                    tab.listedUrl = ""
                    browser.pageLoaded(tab)
                } else if (loadRequest.status === WebEngineView.LoadFailedStatus) {
                    console.log("page failed", loadRequest.url, loadRequest.errorString)
                }
            }
            onTitleChanged: {
                var url = webView.url.toString()
                // While loading, the visit is not recorded yet: it is recorded with its title when done.
                if (title === "" || loading || Urls.isInternal(url))
                    return
                if (!tab.incognito)
                    browser.historyModel.updateTitle(url, title)
                tabHistory.updateTitle(url, title)
            }
            onFeaturePermissionRequested: {
                var decision = Platform.PermissionManager.decisionFor(securityOrigin.toString(), feature)
                if (decision === Platform.PermissionManager.Granted)
                    grantFeaturePermission(securityOrigin, feature, true)
                else if (decision === Platform.PermissionManager.Refused)
                    grantFeaturePermission(securityOrigin, feature, false)
                else
                    browser.askPermission(webView, securityOrigin, feature)
            }
            onIconChanged: faviconCanvas.take(url.toString(), icon)
            onNewViewRequested: browser.openTab(request.requestedUrl.toString(), true)
            onFullScreenRequested: request.accept()
            onRecentlyAudibleChanged: browser.tabs.updateActivity(tab.tabId, tab.current || recentlyAudible)
        }
    }
}
