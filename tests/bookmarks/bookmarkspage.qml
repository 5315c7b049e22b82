// A bookmarks page of the front end: the bookmark types by their QML names, rows read by role name.
import QtQuick 2.15
import BrowserInternal 1.0
Item {
    property var page: BookmarkModel { folderId: BookmarkManager.BookmarkFolder }
    property var views: [pageRows, quickRows, treeRows]
    Repeater { id: pageRows; model: page
        delegate: Item { property string row: [title, url, isFolder, id > 0, selected, favicon].join(",") } }
    Repeater { id: quickRows; model: BookmarkManager.quickAccessModel
        delegate: Item { property string row: title } }
    Repeater { id: treeRows; model: BookmarkTreeModel {}
        delegate: Item { property string row: [title, depth, childCount, expanded, id > 0].join(",") } }
    function add() { BookmarkManager.addBookmark(BookmarkManager.QuickAccessFolder, "http://qml/", "qml") }
    function read() {
        var all = []
        for (var v = 0; v < views.length; ++v)
            for (var i = 0; i < views[v].count; ++i)
                all.push(views[v].itemAt(i).row)
        return all.join("|")
    }
}