#include "dbworker.h"

void DBWorker::runMigrations(const QString& storedVersion)
{
    Q_UNUSED(storedVersion)
}

void DBWorker::insertDefaultRows()
{
}

void DBWorker::seedPrivateDatabase()
{
}

void DBWorker::trimOldData()
{
}

bool DBWorker::fixAceHosts(const QString& table, const QString& keyColumn, const QString& valueColumn)
{
    Q_UNUSED(table)
    Q_UNUSED(keyColumn)
    Q_UNUSED(valueColumn)
    return false;
}
