#pragma once

#include <QList>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>
#include <QVariant>

// A direct look into an SQLite file from a test, on a connection of its own,
// independent of the code under test. Failures return empty results and keep
// the driver's message in lastError() so that a test can print it.
class DbFileProbe
{
public:
    explicit DbFileProbe(const QString& path);
    ~DbFileProbe();
    DbFileProbe(const DbFileProbe&) = delete;
    DbFileProbe& operator=(const DbFileProbe&) = delete;

    bool isOpen() const;
    bool exec(const QString& sql, const QVariantList& values = {});
    // Every row of a query, each as the list of its columns.
    QList<QVariantList> rows(const QString& sql, const QVariantList& values = {});
    // The first column of every row.
    QVariantList column(const QString& sql, const QVariantList& values = {});
    // The first column of the first row; invalid when there is none.
    QVariant value(const QString& sql, const QVariantList& values = {});
    // User tables and indexes (SQLite's own bookkeeping left out), sorted.
    QStringList tables();
    QStringList indexes();
    // Column names of a table, in table order.
    QStringList columns(const QString& table);
    QString lastError() const { return m_lastError; }

private:
    QString m_name;
    QString m_lastError;
};
