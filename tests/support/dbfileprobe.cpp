#include "dbfileprobe.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>

namespace
{
int probeCounter = 0;
}

DbFileProbe::DbFileProbe(const QString& path)
    : m_name(QStringLiteral("dbfileprobe-%1").arg(++probeCounter))
{
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name);
    db.setDatabaseName(path);
    if (!db.open())
        m_lastError = db.lastError().text();
}

DbFileProbe::~DbFileProbe()
{
    {
        QSqlDatabase db = QSqlDatabase::database(m_name, false);
        db.close();
    }
    QSqlDatabase::removeDatabase(m_name);
}

bool DbFileProbe::isOpen() const
{
    return QSqlDatabase::database(m_name, false).isOpen();
}

bool DbFileProbe::exec(const QString& sql, const QVariantList& values)
{
    QSqlQuery query(QSqlDatabase::database(m_name, false));
    if (!query.prepare(sql)) {
        m_lastError = query.lastError().text() + QStringLiteral(" in ") + sql;
        return false;
    }
    for (const QVariant& v : values)
        query.addBindValue(v);
    if (!query.exec()) {
        m_lastError = query.lastError().text() + QStringLiteral(" in ") + sql;
        return false;
    }
    return true;
}

QList<QVariantList> DbFileProbe::rows(const QString& sql, const QVariantList& values)
{
    QList<QVariantList> result;
    QSqlQuery query(QSqlDatabase::database(m_name, false));
    query.setForwardOnly(true);
    if (!query.prepare(sql)) {
        m_lastError = query.lastError().text() + QStringLiteral(" in ") + sql;
        return result;
    }
    for (const QVariant& v : values)
        query.addBindValue(v);
    if (!query.exec()) {
        m_lastError = query.lastError().text() + QStringLiteral(" in ") + sql;
        return result;
    }
    while (query.next()) {
        QVariantList row;
        for (int i = 0; i < query.record().count(); ++i)
            row.append(query.value(i));
        result.append(row);
    }
    return result;
}

QVariantList DbFileProbe::column(const QString& sql, const QVariantList& values)
{
    QVariantList result;
    for (const QVariantList& row : rows(sql, values))
        result.append(row.value(0));
    return result;
}

QVariant DbFileProbe::value(const QString& sql, const QVariantList& values)
{
    const QList<QVariantList> all = rows(sql, values);
    return all.isEmpty() ? QVariant() : all.first().value(0);
}

QStringList DbFileProbe::tables()
{
    QStringList names;
    for (const QVariant& v : column(QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table' "
                                                   "AND name NOT LIKE 'sqlite_%' ORDER BY name;")))
        names.append(v.toString());
    return names;
}

QStringList DbFileProbe::indexes()
{
    QStringList names;
    for (const QVariant& v : column(QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'index' "
                                                   "AND name NOT LIKE 'sqlite_%' ORDER BY name;")))
        names.append(v.toString());
    return names;
}

QStringList DbFileProbe::columns(const QString& table)
{
    QStringList names;
    for (const QVariantList& row : rows(QStringLiteral("PRAGMA table_info(%1);").arg(table)))
        names.append(row.value(1).toString());
    return names;
}
