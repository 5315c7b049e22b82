#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

struct TableSchema {
    QString name;
    QStringList columns; // column definitions, in order
};

// Every table of the browser database, in creation order.
const QVector<TableSchema>& schemaTables();
// The column definitions of one table joined for a CREATE TABLE; empty for an unknown table.
QString schemaColumns(const QString& table);

// Statements that bring the indexes up to date, in order: CREATE INDEX IF NOT
// EXISTS for every index that keeps the per-visit, per-tab, bookmark and trim
// statements fast as the data grows, and DROP INDEX IF EXISTS for each index a
// wider one has replaced. Indexes are not part of the table list above.
const QStringList& schemaIndexes();

// Version written to the metadata table of a current database.
QString databaseVersion();
