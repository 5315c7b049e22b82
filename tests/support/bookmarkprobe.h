#pragma once

#include <QList>
#include <QString>
#include <QVariant>
#include <tuple>

// Direct reads of the bookmark tables on the main connection, for tests that
// check what the worker left behind instead of what it reports.
namespace BookmarkProbe
{

struct Link {
    int ancestor = 0;
    int descendant = 0;
    int depth = 0;
    bool operator==(const Link& other) const
    {
        return std::tie(ancestor, descendant, depth)
            == std::tie(other.ancestor, other.descendant, other.depth);
    }
    bool operator<(const Link& other) const
    {
        return std::tie(ancestor, descendant, depth)
            < std::tie(other.ancestor, other.descendant, other.depth);
    }
};

struct Node {
    int id = 0;
    QVariant title;
    QVariant url; // null for a folder
};

// Every row of bookmark_structure, sorted.
QList<Link> links();
// Every row of bookmark_node, by id.
QList<Node> nodes();
// Runs one statement on the main connection; false (and a test warning) on failure.
bool exec(const QString& sql, const QVariantList& values = {});
// A single integer answer of a statement, -1 when there is none.
int scalar(const QString& sql, const QVariantList& values = {});

QString toString(const QList<Link>& links);

} // namespace BookmarkProbe
