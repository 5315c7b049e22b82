#include "dbworker.h"

void DBWorker::getBookmarkTree()
{
}

void DBWorker::getBookmarks(int folderId, const QString& filter)
{
    Q_UNUSED(folderId)
    Q_UNUSED(filter)
}

void DBWorker::addBookmarkNode(int parentId, const QString& url, const QString& title)
{
    Q_UNUSED(parentId)
    Q_UNUSED(url)
    Q_UNUSED(title)
}

void DBWorker::updateBookmarkNode(int id, const QString& url, const QString& title)
{
    Q_UNUSED(id)
    Q_UNUSED(url)
    Q_UNUSED(title)
}

void DBWorker::moveBookmarkNode(int id, int newParentId, bool isFolder)
{
    Q_UNUSED(id)
    Q_UNUSED(newParentId)
    Q_UNUSED(isFolder)
}

void DBWorker::moveBookmarkNodes(const QList<int>& ids, int newParentId, bool hasFolder)
{
    Q_UNUSED(ids)
    Q_UNUSED(newParentId)
    Q_UNUSED(hasFolder)
}

void DBWorker::removeBookmarkNode(int id, bool isFolder, bool clearOnly)
{
    Q_UNUSED(id)
    Q_UNUSED(isFolder)
    Q_UNUSED(clearOnly)
}

void DBWorker::removeBookmarkNodes(const QList<int>& ids, bool hasFolder)
{
    Q_UNUSED(ids)
    Q_UNUSED(hasFolder)
}

void DBWorker::removeAllBookmarks()
{
}

void DBWorker::migrateBookmark(const QString& title, const QString& url, const QString& favicon)
{
    Q_UNUSED(title)
    Q_UNUSED(url)
    Q_UNUSED(favicon)
}

void DBWorker::isBookmarked(const QString& url)
{
    Q_UNUSED(url)
}

void DBWorker::getBookmarkData(const QString& url)
{
    Q_UNUSED(url)
}
