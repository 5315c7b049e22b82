#include "dbworker.h"

#include "dbschema.h"
#include "utils/logcategories.h"

#include <QDir>
#include <QSqlError>
#include <QStandardPaths>

namespace {
const QString databaseFileName = QStringLiteral("browser-app.sqlite");
} // namespace

DBWorker::DBWorker(QObject* parent)
    : QObject(parent)
    , m_mainConnection(QLatin1String(QSqlDatabase::defaultConnection))
{
}

DBWorker::~DBWorker()
{
    // Connections are per thread and per name; release both so that a later
    // worker in the same process starts from a clean slate.
    for (const QString& name : {m_mainConnection, privateConnectionName()}) {
        if (!QSqlDatabase::contains(name))
            continue;
        {
            QSqlDatabase db = QSqlDatabase::database(name, false);
            db.close();
        }
        QSqlDatabase::removeDatabase(name);
    }
}

QString DBWorker::privateConnectionName()
{
    return QStringLiteral("inMemoryConnection");
}

QString DBWorker::databaseFilePath()
{
    const QString dir = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    return QDir(dir).absoluteFilePath(databaseFileName);
}

QString DBWorker::sqlLiteral(const QString& text)
{
    QString escaped = text;
    escaped.replace(QLatin1Char('\''), QLatin1String("''"));
    return QLatin1Char('\'') + escaped + QLatin1Char('\'');
}

QSqlDatabase DBWorker::database(bool isPrivate) const
{
    return QSqlDatabase::database(isPrivate ? privateConnectionName() : m_mainConnection, false);
}

QSqlQuery DBWorker::prepare(const QString& sql, bool isPrivate)
{
    QSqlQuery query(database(isPrivate));
    query.setForwardOnly(true);
    if (!query.prepare(sql))
        qCWarning(lcStorage) << Q_FUNC_INFO << "failed to prepare query" << sql << query.lastError();
    return query;
}

bool DBWorker::execute(QSqlQuery& query)
{
    if (query.exec())
        return true;
    qCWarning(lcStorage) << Q_FUNC_INFO << "failed execute query" << query.lastQuery() << query.lastError();
    return false;
}

bool DBWorker::openConnections()
{
    const QString dirPath = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    QDir dir(dirPath);
    if (!dir.exists() && !dir.mkpath(QStringLiteral(".")))
        qCWarning(lcStorage) << "Can't create directory " << dirPath;

    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_mainConnection);
    db.setDatabaseName(dir.absoluteFilePath(databaseFileName));
    QSqlDatabase privateDb = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), privateConnectionName());
    privateDb.setDatabaseName(QStringLiteral(":memory:"));

    if (!db.open()) {
        qCWarning(lcStorage) << "Failed to open database " << db.lastError();
        return false;
    }
    if (!privateDb.open())
        qCWarning(lcStorage) << "Failed to open private database " << privateDb.lastError();
    return true;
}

void DBWorker::createTables(const QSqlDatabase& db)
{
    const bool isPrivate = db.connectionName() == privateConnectionName();
    for (const TableSchema& table : schemaTables()) {
        QSqlQuery query = prepare(QStringLiteral("CREATE TABLE IF NOT EXISTS %1 (%2);")
                                      .arg(table.name, table.columns.join(QStringLiteral(", "))),
                                  isPrivate);
        execute(query);
    }
}

void DBWorker::init()
{
    m_opened = openConnections();
    if (!m_opened)
        return;
    createTables(database(false));
    createTables(database(true));
}
