// GUI-thread cost of the bookmark models as the tree grows: the folder tree
// model refilled from storage's answer, and a folder list filtered by text.
//
// Trees of 1,000 and 10,000 bookmarks in 100 and 1,000 folders (ten top-level
// folders below "Bookmarks" per 100, each with nine subfolders, ten bookmarks
// in every folder). For each, the median of several runs of:
//  - the manager's handling of the tree answer on the GUI thread (every tree
//    model refilled), and the time from request to filled model;
//  - the same for a BookmarkModel of "Bookmarks" filtered by "7".
//
// Usage: bench_bookmarkmodels bookmarks [runs]   (bookmarks: 1000 or 10000)

#include "bookmarks/bookmarkmanager.h"
#include "bookmarks/bookmarkmodel.h"
#include "bookmarks/bookmarktreemodel.h"
#include "storage/dbmanager.h"
#include "support/dbfileprobe.h"
#include "support/tempprofile.h"

#include "benchsupport.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QSignalSpy>
#include <QTextStream>
#include <algorithm>

namespace
{
QTextStream out(stdout);

bool drain()
{
    QSignalSpy spy(DBManager::instance(), &DBManager::deviceModeAvailable);
    DBManager::instance()->getDeviceMode(QStringLiteral("drain.example"), false);
    return spy.wait(60000);
}

// Folders and bookmarks written straight into the file, closure rows included.
bool seed(DbFileProbe& db, int folders)
{
    QStringList sql { QStringLiteral("BEGIN") };
    int next = 100;
    auto node = [&](int parent, const QList<int>& above, bool folder, const QString& title) {
        const int id = next++;
        sql << QStringLiteral("INSERT INTO bookmark_node (id, url, title) VALUES (%1, %2, '%3')")
                   .arg(id)
                   .arg(folder ? QStringLiteral("NULL")
                               : QStringLiteral("'http://site%1.example/page'").arg(id))
                   .arg(title);
        sql << QStringLiteral("INSERT INTO bookmark_structure VALUES (%1, %2, 1)").arg(parent).arg(id);
        for (int i = 0; i < above.size(); ++i)
            sql << QStringLiteral("INSERT INTO bookmark_structure VALUES (%1, %2, %3)")
                       .arg(above.at(i))
                       .arg(id)
                       .arg(above.size() - i + 1);
        return id;
    };
    auto fill = [&](int folder, const QList<int>& above) {
        for (int b = 0; b < 10; ++b)
            node(folder, above, false, QStringLiteral("page %1").arg(b));
    };
    for (int top = 0; top < folders / 10; ++top) {
        const int f = node(1, { 0 }, true, QStringLiteral("folder %1").arg(top));
        fill(f, { 0, 1 });
        for (int sub = 0; sub < 9; ++sub) {
            const int s = node(f, { 0, 1 }, true, QStringLiteral("sub %1").arg(sub));
            fill(s, { 0, 1, f });
        }
    }
    sql << QStringLiteral("COMMIT");
    return db.execAll(sql);
}

void measure(int folders, int runs)
{
    TempProfile profile;
    DBManager* storage = DBManager::instance();
    if (!drain())
        return;
    DbFileProbe db(profile.databasePath());
    if (!seed(db, folders)) {
        out << "seeding failed: " << db.lastError() << "\n";
        return;
    }

    // Slots run in the order they were connected: these two bracket the manager's own.
    QElapsedTimer gui;
    double guiMs = 0;
    auto start = [&] { gui.start(); };
    auto stop = [&] { guiMs = gui.nsecsElapsed() / 1e6; };
    QObject guard;
    QObject::connect(storage, &DBManager::bookmarksTreeAvailable, &guard, start);
    QObject::connect(storage, &DBManager::bookmarksAvailable, &guard, start);
    BookmarkManager& manager = *BookmarkManager::instance();
    QObject::connect(storage, &DBManager::bookmarksTreeAvailable, &guard, stop);
    QObject::connect(storage, &DBManager::bookmarksAvailable, &guard, stop);
    drain();

    QList<double> treeGui, treeAll, listGui, listAll;
    for (int run = 0; run < runs; ++run) {
        QSignalSpy tree(storage, &DBManager::bookmarksTreeAvailable);
        QElapsedTimer all;
        all.start();
        storage->getBookmarkTree();
        tree.wait(60000);
        treeAll << all.nsecsElapsed() / 1e6;
        treeGui << guiMs;
        drain();

        BookmarkModel page;
        page.setFolderId(BookmarkManager::BookmarkFolder);
        drain();
        QSignalSpy filled(&page, &QAbstractItemModel::modelReset);
        all.start();
        page.setFilter(QStringLiteral("7"));
        filled.wait(60000);
        listAll << all.nsecsElapsed() / 1e6;
        listGui << guiMs;
        if (run == 0)
            out << "  rows: tree " << manager.bookmarkTreeModel()->rowCount() << ", filtered "
                << page.rowCount() << "\n";
    }
    out << folders * 10 << " bookmarks, " << folders << " folders (median of " << runs << " runs, ms):\n"
        << "  tree:     GUI thread " << median(treeGui) << ", request to model " << median(treeAll) << "\n"
        << "  filtered: GUI thread " << median(listGui) << ", request to model " << median(listAll) << "\n";
    out.flush();
}
} // namespace

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    const int bookmarks = argc > 1 ? QByteArray(argv[1]).toInt() : 10000;
    const int runs = argc > 2 ? QByteArray(argv[2]).toInt() : 9;
    measure(bookmarks / 10, runs);
    return 0;
}
