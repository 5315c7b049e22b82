// Cost of the bookmark tree reads and of a folder move as the tree grows.
//
// Trees of 1,000 and 10,000 bookmarks: chains of four nested folders below
// "Bookmarks", ten bookmarks in every folder. Each figure is the median of
// several runs of the worker's own operation (SQL, rows to records, signal),
// measured without any index on the bookmark tables, with the indexes a new
// profile gets, with the set of the previous version, and with two alternatives.
//
// Usage: bench_bookmarks [runs]

#include "storage/dbworker.h"
#include "support/tempprofile.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSqlError>
#include <QSqlQuery>
#include <QTextStream>
#include <algorithm>
#include <functional>

namespace
{

QTextStream out(stdout);

bool run(const QString& sql)
{
    QSqlQuery query(QSqlDatabase::database());
    if (query.exec(sql))
        return true;
    out << "statement failed: " << sql << " " << query.lastError().text() << Qt::endl;
    return false;
}

// The statements that made the bookmark indexes of a new profile, as SQLite kept them.
QStringList shippedIndexes()
{
    QStringList statements;
    QSqlQuery query(QSqlDatabase::database());
    query.exec(
        QStringLiteral("SELECT sql FROM sqlite_master WHERE type = 'index' AND sql NOT NULL AND tbl_name IN "
                       "('bookmark_structure', 'bookmark_node') ORDER BY name"));
    while (query.next())
        statements.append(query.value(0).toString());
    return statements;
}

void dropBookmarkIndexes()
{
    QStringList names;
    QSqlQuery query(QSqlDatabase::database());
    query.exec(
        QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'index' AND sql NOT NULL AND tbl_name IN "
                       "('bookmark_structure', 'bookmark_node')"));
    while (query.next())
        names.append(query.value(0).toString());
    for (const QString& name : names)
        run(QStringLiteral("DROP INDEX %1").arg(name));
}

// Replaces every bookmark below the permanent folders with chains of four nested
// folders, ten bookmarks each. Returns the id of the first chain's top folder.
int buildTree(int bookmarks)
{
    run(QStringLiteral("DELETE FROM bookmark_node WHERE id > 2"));
    run(QStringLiteral("DELETE FROM bookmark_structure WHERE ancestor != 0 OR depth != 1"));
    run(QStringLiteral("BEGIN"));
    QSqlQuery node(QSqlDatabase::database());
    node.prepare(QStringLiteral("INSERT INTO bookmark_node (id, title, url) VALUES (?, ?, ?)"));
    QSqlQuery link(QSqlDatabase::database());
    link.prepare(QStringLiteral("INSERT INTO bookmark_structure VALUES (?, ?, ?)"));

    int next = 100;
    int firstChain = -1;
    int made = 0;
    auto insert = [&](const QList<int>& ancestors, const QVariant& url, const QString& title) {
        const int id = next++;
        node.addBindValue(id);
        node.addBindValue(title);
        node.addBindValue(url);
        node.exec();
        // ancestors: nearest first
        for (int i = 0; i < ancestors.size(); ++i) {
            link.addBindValue(ancestors.at(i));
            link.addBindValue(id);
            link.addBindValue(i + 1);
            link.exec();
        }
        return id;
    };
    while (made < bookmarks) {
        QList<int> path { 1, 0 };
        for (int level = 0; level < 4 && made < bookmarks; ++level) {
            const int folder
                = insert(path, QVariant(QVariant::String), QStringLiteral("Folder %1").arg(next));
            if (firstChain < 0)
                firstChain = folder;
            path.prepend(folder);
            for (int i = 0; i < 10 && made < bookmarks; ++i, ++made) {
                insert(path, QStringLiteral("https://site%1.example/page").arg(made),
                    QStringLiteral("Bookmark %1").arg(made));
            }
        }
    }
    run(QStringLiteral("COMMIT"));
    return firstChain;
}

double medianMs(int runs, const std::function<void()>& operation)
{
    QVector<double> times;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        operation();
        times.append(double(timer.nsecsElapsed()) / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times.at(times.size() / 2);
}

struct Figures {
    double tree = 0;
    double filtered = 0;
    double move = 0;
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int runs = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 7;

    TempProfile profile;
    DBWorker worker;
    worker.init();
    const QStringList shipped = shippedIndexes();

    int treeRows = 0;
    int listRows = 0;
    QObject::connect(&worker, &DBWorker::bookmarksTreeAvailable,
        [&treeRows](const QList<BookmarkTreeNode>& nodes) { treeRows = nodes.size(); });
    QObject::connect(&worker, &DBWorker::bookmarksAvailable,
        [&listRows](const QList<Bookmark>& list) { listRows = list.size(); });

    const QList<QPair<QString, QStringList>> configurations {
        { QStringLiteral("no index"), {} },
        { QStringLiteral("indexes of a new profile"), shipped },
        { QStringLiteral("former set: structure (descendant, depth) + (ancestor), node (url)"),
            { QStringLiteral("CREATE INDEX bench_descendant_depth ON bookmark_structure (descendant, depth)"),
                QStringLiteral("CREATE INDEX bench_ancestor ON bookmark_structure (ancestor)"),
                QStringLiteral("CREATE INDEX bench_node_url ON bookmark_node (url)") } },
        { QStringLiteral("structure (descendant, depth) + (ancestor, depth)"),
            { QStringLiteral("CREATE INDEX bench_descendant_depth ON bookmark_structure (descendant, depth)"),
                QStringLiteral(
                    "CREATE INDEX bench_ancestor_depth ON bookmark_structure (ancestor, depth)") } },
        // Both walks answered from the index alone; the second one also sorted by depth.
        { QStringLiteral("covering: structure (descendant, depth, ancestor) + (ancestor, depth, descendant), "
                         "node (url)"),
            { QStringLiteral(
                  "CREATE INDEX bench_descendant_cover ON bookmark_structure (descendant, depth, ancestor)"),
                QStringLiteral("CREATE INDEX bench_ancestor_depth_cover ON bookmark_structure (ancestor, "
                               "depth, descendant)"),
                QStringLiteral("CREATE INDEX bench_node_url ON bookmark_node (url)") } },
    };

    out << "indexes of a new profile:" << Qt::endl;
    for (const QString& statement : shipped)
        out << "  " << statement << Qt::endl;
    out << "median of " << runs << " runs, milliseconds" << Qt::endl << Qt::endl;

    for (const auto& configuration : configurations) {
        dropBookmarkIndexes();
        for (const QString& statement : configuration.second)
            run(statement);

        QMap<int, Figures> figures;
        for (int size : { 1000, 10000 }) {
            const int chain = buildTree(size);
            Figures& f = figures[size];
            f.tree = medianMs(runs, [&worker] { worker.getBookmarkTree(); });
            const int folders = treeRows;
            // One bookmark in ten of the whole tree matches, at every depth.
            f.filtered = medianMs(runs, [&worker] { worker.getBookmarks(1, QStringLiteral("7.example")); });
            const int matches = listRows;
            if (size == 10000) {
                // The first chain (4 folders, 40 bookmarks) into the deepest folder of the
                // last chain and back; each move re-reads the tree and the folder left.
                QSqlQuery deepest(QSqlDatabase::database());
                deepest.exec(QStringLiteral("SELECT MAX(id) FROM bookmark_node WHERE url IS NULL"));
                deepest.next();
                const int to = deepest.value(0).toInt();
                bool there = false;
                f.move = medianMs(runs, [&] {
                    worker.moveBookmarkNode(chain, there ? 1 : to, true);
                    there = !there;
                });
                if (there)
                    worker.moveBookmarkNode(chain, 1, true);
            }
            out << configuration.first << ", " << size << " bookmarks (" << folders
                << " folders in the tree, " << matches << " matches)" << Qt::endl;
        }
        const Figures& small = figures.value(1000);
        const Figures& large = figures.value(10000);
        out << QStringLiteral("  getBookmarkTree       %1 ms -> %2 ms  (x%3)")
                   .arg(small.tree, 0, 'f', 2)
                   .arg(large.tree, 0, 'f', 2)
                   .arg(large.tree / small.tree, 0, 'f', 1)
            << Qt::endl;
        out << QStringLiteral("  getBookmarks(filter)  %1 ms -> %2 ms  (x%3)")
                   .arg(small.filtered, 0, 'f', 2)
                   .arg(large.filtered, 0, 'f', 2)
                   .arg(large.filtered / small.filtered, 0, 'f', 1)
            << Qt::endl;
        out << QStringLiteral("  moveBookmarkNode (folder, 10,000)  %1 ms").arg(large.move, 0, 'f', 2)
            << Qt::endl
            << Qt::endl;
    }
    return 0;
}
