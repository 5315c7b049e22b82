#include "dbworker.h"

#include "dbschema.h"
#include "utils/logcategories.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QSqlError>
#include <QStandardPaths>

namespace
{
const QString databaseFileName = QStringLiteral("browser-app.sqlite");

// The signatures under which these two warnings have always been logged; log
// filters and readers key on them, whatever type carries the statement.
const char prepareSignature[] = "QSqlQuery DBWorker::prepare(const QString&, bool)";
const char executeSignature[] = "bool DBWorker::execute(QSqlQuery&)";
} // namespace

DBWorker::DBWorker(QObject* parent)
    : QObject(parent)
    , m_mainConnection(QLatin1String(QSqlDatabase::defaultConnection))
    , m_fileStatements(m_mainConnection)
    , m_privateStatements(privateConnectionName())
    , m_fileDirect(m_mainConnection)
    , m_privateDirect(privateConnectionName())
{
}

DBWorker::~DBWorker()
{
    // Connections are per thread and per name; release both so that a later
    // worker in the same process starts from a clean slate. Their cached
    // statements go first: a statement must not outlive its connection.
    m_fileStatements.clear();
    m_privateStatements.clear();
    m_fileDirect.clear();
    m_privateDirect.clear();
    for (const QString& name : { m_mainConnection, privateConnectionName() }) {
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

// Every failed statement is logged the same way, ends its operation, and may
// mean the file itself is damaged.
void DBWorker::statementFailed(
    const char* signature, const char* what, const QString& sql, const QSqlError& error)
{
    qCWarning(lcStorage) << signature << what << sql << error;
    m_statementFailed = true;
    checkDamage(error);
}

QSqlDatabase DBWorker::database(bool isPrivate) const
{
    return QSqlDatabase::database(isPrivate ? privateConnectionName() : m_mainConnection, false);
}

CachedQuery DBWorker::prepare(const QString& sql, bool isPrivate)
{
    // Compiling a statement costs about as much as running one of the small
    // per-visit statements, so each connection keeps the ones it ran.
    bool prepared = false;
    CachedQuery query = (isPrivate ? m_privateStatements : m_fileStatements).take(sql, &prepared);
    if (!prepared)
        statementFailed(prepareSignature, "failed to prepare query", sql, query.lastError());
    return query;
}

bool DBWorker::execute(CachedQuery& query)
{
    if (query.exec())
        return true;
    statementFailed(executeSignature, "failed execute query", query.lastQuery(), query.lastError());
    return false;
}

DirectQuery DBWorker::prepare(DirectSlot slot, const QString& sql, bool isPrivate)
{
    return (isPrivate ? m_privateDirect : m_fileDirect).take(slot, sql);
}

bool DBWorker::execute(DirectQuery& query)
{
    if (!query.isValid() && query.lastError().isValid()) {
        statementFailed(prepareSignature, "failed to prepare query", query.lastQuery(), query.lastError());
        return false;
    }
    if (query.exec())
        return true;
    statementFailed(executeSignature, "failed execute query", query.lastQuery(), query.lastError());
    return false;
}

bool DBWorker::openConnections()
{
    const QString dirPath = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    QDir dir(dirPath);
    if (!dir.exists() && !dir.mkpath(QStringLiteral(".")))
        qCWarning(lcStorage) << "Can't create directory " << dirPath;

    // Adding a connection under a name in use closes the old one: no
    // statement compiled on its handle may survive that.
    m_fileDirect.clear();
    m_privateDirect.clear();
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_mainConnection);
    db.setDatabaseName(dir.absoluteFilePath(databaseFileName));
    QSqlDatabase privateDb = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), privateConnectionName());
    privateDb.setDatabaseName(QStringLiteral(":memory:"));

    if (!db.open()) {
        qCWarning(lcStorage) << "Failed to open database " << db.lastError();
        return false;
    }
    if (!probeFile())
        return false;
    if (!privateDb.open())
        qCWarning(lcStorage) << "Failed to open private database " << privateDb.lastError();
    return true;
}

void DBWorker::configureFileConnection()
{
    // Write-ahead logging with NORMAL sync keeps a page visit to a single
    // append without an fsync, while a crash of the browser still loses no
    // committed row; only a power loss may roll back the last few.
    auto journal = prepare(QStringLiteral("PRAGMA journal_mode=WAL;"), false);
    if (!execute(journal) || !journal.next()
        || journal.value(0).toString().compare(QLatin1String("wal"), Qt::CaseInsensitive) != 0) {
        qCWarning(lcStorage) << "Write-ahead logging is not available for" << databaseFilePath();
    }
    auto sync = prepare(QStringLiteral("PRAGMA synchronous=NORMAL;"), false);
    execute(sync);
}

void DBWorker::createTables(const QSqlDatabase& db)
{
    const bool isPrivate = db.connectionName() == privateConnectionName();
    for (const TableSchema& table : schemaTables()) {
        auto query = prepare(QStringLiteral("CREATE TABLE IF NOT EXISTS %1 (%2);")
                                 .arg(table.name, table.columns.join(QStringLiteral(", "))),
            isPrivate);
        execute(query);
    }
}

void DBWorker::createIndexes(bool isPrivate)
{
    for (const QString& statement : schemaIndexes()) {
        auto query = prepare(statement, isPrivate);
        execute(query);
    }
}

void DBWorker::storeVersion(const QString& version, bool isNew)
{
    auto query
        = prepare(isNew ? QStringLiteral("INSERT INTO metadata (db_version) VALUES ('%1')").arg(version)
                        : QStringLiteral("UPDATE metadata SET db_version = '%1'").arg(version),
            false);
    if (execute(query))
        qCInfo(lcMigration) << "Set version of browser's DB to" << version;
    else
        qCWarning(lcMigration) << "Failed to set version of browser's DB to" << version;
}

void DBWorker::init()
{
    m_opened = openConnections();
    if (!m_opened)
        return;
    configureFileConnection();

    createTables(database(false));
    qCInfo(lcStorage) << QStringLiteral(WEBDECK_APP_ID) << "version is" << databaseVersion();

    const QString currentVersion = databaseVersion();
    QString storedVersion;
    auto versionQuery = prepare(QStringLiteral("SELECT db_version FROM metadata;"), false);
    if (execute(versionQuery) && versionQuery.next()) {
        storedVersion = versionQuery.value(0).toString();
        versionQuery.finish();
        qCInfo(lcMigration) << "Current version of browser's DB is" << storedVersion;
        runMigrations(storedVersion);
        if (storedVersion != currentVersion)
            storeVersion(currentVersion, false);
    } else {
        versionQuery.finish();
        qCInfo(lcMigration) << "Create browser's DB";
        storeVersion(currentVersion, true);
    }

    // After the ladder, so that no index refers to a column an old layout lacks.
    createIndexes(false);
    insertDefaultRows();

    if (database(true).isOpen()) {
        // Private tabs run every tab and tab-history statement, and site data
        // ones, against this database: it gets the whole schema, then the
        // per-site screen settings of the file.
        createTables(database(true));
        createIndexes(true);
        seedPrivateDatabase();
    }
    trimOldData();
}
