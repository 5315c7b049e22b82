// A page of the front end: the history types by their QML names, rows read through role names.
import QtQuick 2.15
import BrowserInternal 1.0
Item {
    property var history: HistoryModel {}
    property var tab: TabHistoryModel { tabId: 3 }
    property var rows: [historyRows, backRows]
    Repeater {
        id: historyRows
        model: history
        delegate: Item { property string row: [url, title, historyId > 0, bookmarked, selected, icon === undefined,
                                               date.getFullYear() > 2000].join(" ") }
    }
    Repeater {
        id: backRows
        model: PopupHistoryModel { sourceModel: tab; maxCount: 3 }
        delegate: Item { property string row: url }
    }
    function visit(url, title) {
        history.add(url, title); tab.add(url, title)
        FaviconsMap.setFavicon(url, "data:,", false)
    }
    function read() {
        var all = [FaviconsMap.getFavicon("https://one.example/x"), tab.canGoBack]
        for (var r = 0; r < rows.length; ++r)
            for (var i = 0; i < rows[r].count; ++i)
                all.push(rows[r].itemAt(i).row)
        return all.join("|")
    }
}
