#include "bookmarkprobe.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>
#include <QtTest>
#include <algorithm>

namespace BookmarkProbe
{

namespace
{
    bool run(QSqlQuery& query, const QString& sql, const QVariantList& values)
    {
        if (!query.prepare(sql)) {
            qWarning() << "probe failed to prepare" << sql << query.lastError();
            return false;
        }
        for (const QVariant& value : values)
            query.addBindValue(value);
        if (!query.exec()) {
            qWarning() << "probe failed to run" << sql << query.lastError();
            return false;
        }
        return true;
    }
} // namespace

QList<Link> links()
{
    QList<Link> rows;
    QSqlQuery query(QSqlDatabase::database());
    if (!run(query, QStringLiteral("SELECT ancestor, descendant, depth FROM bookmark_structure"), {}))
        return rows;
    while (query.next())
        rows.append({ query.value(0).toInt(), query.value(1).toInt(), query.value(2).toInt() });
    std::sort(rows.begin(), rows.end());
    return rows;
}

QList<Node> nodes()
{
    QList<Node> rows;
    QSqlQuery query(QSqlDatabase::database());
    if (!run(query, QStringLiteral("SELECT id, title, url FROM bookmark_node ORDER BY id"), {}))
        return rows;
    while (query.next())
        rows.append({ query.value(0).toInt(), query.value(1), query.value(2) });
    return rows;
}

bool exec(const QString& sql, const QVariantList& values)
{
    QSqlQuery query(QSqlDatabase::database());
    return run(query, sql, values);
}

int scalar(const QString& sql, const QVariantList& values)
{
    QSqlQuery query(QSqlDatabase::database());
    if (!run(query, sql, values) || !query.next() || query.value(0).isNull())
        return -1;
    return query.value(0).toInt();
}

QString toString(const QList<Link>& links)
{
    QStringList parts;
    for (const Link& link : links)
        parts.append(QStringLiteral("(%1,%2,%3)").arg(link.ancestor).arg(link.descendant).arg(link.depth));
    return parts.join(QLatin1Char(' '));
}

} // namespace BookmarkProbe
