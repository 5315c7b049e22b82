#include "dbworker.h"

#include "dbschema.h"
#include "utils/logcategories.h"

#include <QDateTime>
#include <QFile>
#include <QSqlQuery>

// A file SQLite calls damaged or foreign is of no more use to the browser, but
// it is the user's data: it is moved aside under a dated name for whoever
// wants to rescue it, never deleted, and a new file takes its place so that
// the browser keeps working for the rest of the run and the next start.

namespace
{
// Primary result codes of SQLite for a file that is not (or no longer) a database.
constexpr int sqliteCorrupt = 11;
constexpr int sqliteNotADatabase = 26;

bool isDamage(const QSqlError& error)
{
    const int code = error.nativeErrorCode().toInt() & 0xff;
    return code == sqliteCorrupt || code == sqliteNotADatabase;
}
} // namespace

bool DBWorker::probeFile()
{
    // SQLite opens any file lazily; the first read of the schema is what tells
    // a damaged or foreign file apart. Only those two answers mean the file
    // itself is at fault: anything else (a full disk, a lock) must not cost the
    // user their history.
    QSqlError error;
    {
        QSqlQuery probe(database(false));
        if (probe.exec(QStringLiteral("SELECT COUNT(*) FROM sqlite_master;")))
            return true;
        error = probe.lastError();
    }
    if (!isDamage(error))
        return true;
    qCWarning(lcStorage) << "Database file is unusable:" << error;
    return replaceDamagedFile();
}

void DBWorker::checkDamage(const QSqlError& error)
{
    if (m_recovering || !m_opened || !isDamage(error))
        return;
    qCWarning(lcStorage) << "Database file is damaged:" << error;
    m_recovering = true;
    // Whatever the open group wrote went into the damaged file.
    m_inGroup = false;
    m_held.clear();
    m_opened = replaceDamagedFile();
    if (m_opened) {
        configureFileConnection();
        createTables(database(false));
        qCInfo(lcMigration) << "Create browser's DB";
        storeVersion(databaseVersion(), true);
        createIndexes(false);
        insertDefaultRows();
    }
    m_recovering = false;
}

bool DBWorker::replaceDamagedFile()
{
    m_fileStatements.clear();
    m_fileDirect.clear();
    QSqlDatabase db = database(false);
    db.close();

    const QString path = db.databaseName();
    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString aside = path + QStringLiteral(".corrupt-") + stamp;
    for (int n = 1; QFile::exists(aside); ++n)
        aside = path + QStringLiteral(".corrupt-") + stamp + QLatin1Char('-') + QString::number(n);
    if (!QFile::rename(path, aside)) {
        // Reopening would find the same damage again; without a file the
        // browser runs on, every request failing on its own, as when the
        // file cannot be opened at all.
        qCWarning(lcStorage) << "Failed to move unusable database aside" << path
                             << "(is its directory read-only?); storage stays unavailable for this run";
        return false;
    }
    // The journal files belong to the damaged file; a fresh database must not replay them.
    for (const QString& suffix : { QStringLiteral("-wal"), QStringLiteral("-shm") }) {
        if (QFile::exists(path + suffix))
            QFile::rename(path + suffix, aside + suffix);
    }
    qCWarning(lcStorage) << "Moved unusable database aside to" << aside << "and started a fresh one";

    if (!db.open()) {
        qCWarning(lcStorage) << "Failed to open database " << db.lastError();
        return false;
    }
    return true;
}
