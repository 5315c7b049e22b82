#include "historyprofile.h"

#include <QDate>
#include <QDateTime>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTime>
#include <QtDebug>

namespace
{
bool run(QSqlQuery& query, const QString& sql, const QVariantList& values)
{
    if (!query.prepare(sql)) {
        qWarning() << "test statement does not prepare" << sql << query.lastError();
        return false;
    }
    for (const QVariant& value : values)
        query.addBindValue(value);
    if (!query.exec()) {
        qWarning() << "test statement failed" << sql << query.lastError();
        return false;
    }
    return true;
}
} // namespace

HistoryProfile::HistoryProfile()
{
    m_worker.init();
}

QSqlDatabase HistoryProfile::database(bool isPrivate)
{
    return isPrivate ? QSqlDatabase::database(DBWorker::privateConnectionName(), false)
                     : QSqlDatabase::database();
}

bool HistoryProfile::exec(const QString& sql, const QVariantList& values, bool isPrivate)
{
    QSqlQuery query(database(isPrivate));
    return run(query, sql, values);
}

QVariantList HistoryProfile::column(const QString& sql, const QVariantList& values, bool isPrivate)
{
    QSqlQuery query(database(isPrivate));
    QVariantList result;
    if (!run(query, sql, values))
        return result;
    while (query.next())
        result.append(query.value(0));
    return result;
}

QVariant HistoryProfile::scalar(const QString& sql, const QVariantList& values, bool isPrivate)
{
    const QVariantList all = column(sql, values, isPrivate);
    return all.isEmpty() ? QVariant() : all.first();
}

QStringList HistoryProfile::rows(const QString& sql, const QVariantList& values, bool isPrivate)
{
    QSqlQuery query(database(isPrivate));
    QStringList result;
    if (!run(query, sql, values))
        return result;
    while (query.next()) {
        QStringList fields;
        for (int i = 0; i < query.record().count(); ++i)
            fields.append(query.value(i).toString());
        result.append(fields.join(QLatin1Char('|')));
    }
    return result;
}

int HistoryProfile::insertHistory(const QString& url, const QString& title, qint64 date, int visitedCount)
{
    QSqlQuery query(database(false));
    if (!run(query,
            QStringLiteral(
                "INSERT INTO browser_history (url, title, date, visited_count) VALUES (?, ?, ?, ?)"),
            { url, title, date, visitedCount }))
        return -1;
    return query.lastInsertId().toInt();
}

qint64 startOfLocalToday()
{
    return QDateTime(QDate::currentDate(), QTime(0, 0)).toMSecsSinceEpoch();
}
