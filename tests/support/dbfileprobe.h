#pragma once

#include <QSqlDatabase>
#include <QStringList>
#include <QVariant>

// Every row of a query, its columns joined by "|" and NULL written "NULL", so that
// a whole result compares in one QCOMPARE. A failure is a single "error: ..." row.
// The separator and the text for NULL can be chosen.
QStringList sqlRows(const QSqlDatabase& db, const QString& sql, const QVariantList& values = {},
    const QString& separator = QStringLiteral("|"), const QString& nullText = QStringLiteral("NULL"));

// True once the storage worker has answered everything asked of it before this call
// (it answers in order); false after ten seconds.
bool drainStorage();

// A direct look into an SQLite file from a test, on a connection of its own,
// independent of the code under test.
class DbFileProbe
{
public:
    explicit DbFileProbe(const QString& path);
    ~DbFileProbe();

    QSqlDatabase database() const { return QSqlDatabase::database(m_name, false); }
    // The first row as text; invalid when there is none.
    QVariant value(const QString& sql)
    {
        const QStringList r = sqlRows(database(), sql);
        return r.isEmpty() ? QVariant() : r.first();
    }
    // Runs one statement; false, with a warning naming it and lastError() set, on failure.
    bool exec(const QString& sql, const QVariantList& values = {});
    QString lastError() const { return m_lastError; }
    // Runs statements in order up to the first failure.
    bool execAll(const QStringList& statements);

private:
    QString m_name;
    QString m_lastError;
};
