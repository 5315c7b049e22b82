import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15
import BrowserInternal 1.0
import "../components"
import "../components/Lazy.js" as Lazy

// Bookmarks: the folder tree on the left, the chosen folder's bookmarks on the right.
Rectangle {
    id: page
    objectName: "bookmarksPage"
    property var browser
    readonly property var manager: browser ? browser.bookmarks : null
    property int folderId: 1
    property var folderModel: null
    color: "white"

    Component.onCompleted: folderModel = Lazy.create("BookmarkModel", page, { folderId: folderId })
    onFolderIdChanged: if (folderModel) folderModel.folderId = folderId

    ColumnLayout {
        anchors.fill: parent
        spacing: 0
        PageHeader {
            Layout.fillWidth: true
            browser: page.browser
            title: qsTrId("webdeck-ti-bookmarks")
            ToolButton {
                text: qsTrId("webdeck-bt-new-folder")
                enabled: page.manager !== null
                onClicked: page.manager.addFolder(page.folderId, qsTrId("webdeck-la-new-folder"))
            }
            ToolButton {
                text: qsTrId("webdeck-bt-remove-all")
                enabled: page.manager !== null
                onClicked: page.manager.removeAllBookmarks()
            }
        }
        TextField {
            Layout.fillWidth: true
            Layout.margins: 8
            placeholderText: qsTrId("webdeck-ph-filter")
            onTextChanged: if (page.folderModel) page.folderModel.filter = text
        }
        Label {
            Layout.margins: 16
            visible: page.manager === null || page.folderModel === null
            text: qsTrId("webdeck-la-bookmarks-unavailable")
        }
        RowLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            ListView {
                id: tree
                objectName: "bookmarkTree"
                Layout.preferredWidth: 260
                Layout.fillHeight: true
                clip: true
                model: page.manager ? page.manager.bookmarkTreeModel : null
                delegate: ItemDelegate {
                    width: tree.width
                    leftPadding: 8 + model.depth * 16
                    highlighted: model.id === page.folderId
                    text: (model.hasSubfolders ? (model.expanded ? "\u25be " : "\u25b8 ") : "   ")
                          + model.title + " (" + model.childCount + ")"
                    onClicked: {
                        page.folderId = model.id
                        if (model.hasSubfolders)
                            tree.model.toggleExpanded(index)
                    }
                }
            }
            ListView {
                id: list
                objectName: "bookmarkList"
                Layout.fillWidth: true
                Layout.fillHeight: true
                clip: true
                model: page.folderModel
                delegate: ItemDelegate {
                    width: list.width
                    contentItem: RowLayout {
                        Label { text: model.isFolder ? "\ud83d\udcc1" : "" }
                        SiteIcon { visible: !model.isFolder; url: model.url; title: model.title }
                        ColumnLayout {
                            Layout.fillWidth: true
                            spacing: 0
                            Label { Layout.fillWidth: true; text: model.title; elide: Text.ElideRight }
                            Label { Layout.fillWidth: true; text: model.url; color: "gray"; elide: Text.ElideMiddle }
                        }
                        ToolButton {
                            text: "\u2605"
                            visible: !model.isFolder
                            ToolTip.text: qsTrId("webdeck-bt-to-quick-access")
                            ToolTip.visible: hovered
                            onClicked: page.manager.moveBookmarkNode(model.id, BookmarkManager.QuickAccessFolder, false)
                        }
                        ToolButton {
                            text: "\u2715"
                            onClicked: page.manager.removeBookmarkNode(model.id, model.isFolder, false)
                        }
                    }
                    onClicked: model.isFolder ? (page.folderId = model.id) : page.browser.openUrl(model.url)
                }
            }
        }
    }
}
