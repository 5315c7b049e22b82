#include "dbfileprobe.h"

#include "storage/dbmanager.h"

#include <QSignalSpy>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QtDebug>

#include <algorithm>

QStringList sqlRows(const QSqlDatabase& db, const QString& sql, const QVariantList& values,
    const QString& separator, const QString& nullText)
{
    QSqlQuery query(db);
    query.setForwardOnly(true);
    bool ok = query.prepare(sql);
    for (const QVariant& v : values)
        query.addBindValue(v);
    if (!ok || !query.exec())
        return { QStringLiteral("error: ") + query.lastError().text() };
    QStringList result;
    while (query.next()) {
        QStringList columns;
        for (int i = 0; i < query.record().count(); ++i)
            columns << (query.isNull(i) ? nullText : query.value(i).toString());
        result << columns.join(separator);
    }
    return result;
}

DbFileProbe::DbFileProbe(const QString& path)
{
    static int probeCounter = 0;
    m_name = QStringLiteral("dbfileprobe-%1").arg(++probeCounter);
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name);
    db.setDatabaseName(path);
    if (!db.open())
        m_lastError = db.lastError().text();
}

DbFileProbe::~DbFileProbe()
{
    database().close();
    QSqlDatabase::removeDatabase(m_name);
}

bool DbFileProbe::exec(const QString& sql, const QVariantList& values)
{
    const QString result = sqlRows(database(), sql, values).value(0);
    if (!result.startsWith(QLatin1String("error: ")))
        return true;
    m_lastError = result + QStringLiteral(" in ") + sql;
    qWarning().noquote() << m_lastError;
    return false;
}

bool DbFileProbe::execAll(const QStringList& statements)
{
    return std::all_of(
        statements.begin(), statements.end(), [this](const QString& sql) { return exec(sql); });
}

bool drainStorage()
{
    QSignalSpy spy(DBManager::instance(), &DBManager::deviceModeAvailable);
    DBManager::instance()->getDeviceMode(QStringLiteral("drain.example"), false);
    return spy.wait(10000);
}
