#include "directquery.h"

#include <QCoreApplication>
#include <QSqlDatabase>
#include <QSqlDriver>
#include <QVariant>

#include <sqlite3.h>

namespace
{
QString sqliteMessage(sqlite3* db)
{
    return db ? QString::fromUtf16(static_cast<const ushort*>(sqlite3_errmsg16(db))) : QString();
}
} // namespace

DirectQuery::DirectQuery(
    DirectStatements* home, int slot, const QString& sql, quint64 generation, std::optional<QSqlError> error)
    : m_home(home)
    , m_slot(slot)
    , m_sql(sql)
    , m_generation(generation)
    , m_error(std::move(error))
{
}

DirectQuery::~DirectQuery()
{
    sqlite3_stmt* stmt = statement();
    if (!stmt)
        return;
    sqlite3_reset(stmt);
    sqlite3_clear_bindings(stmt);
    m_home->m_slots[m_slot].onLoan = false;
}

sqlite3_stmt* DirectQuery::statement() const
{
    if (m_slot < 0 || m_generation != m_home->m_generation)
        return nullptr;
    return m_home->m_slots[m_slot].statement;
}

QSqlError DirectQuery::sqliteError(
    sqlite3* db, const QString& description, QSqlError::ErrorType type, int code)
{
    return QSqlError(description, sqliteMessage(db), type, QString::number(code));
}

void DirectQuery::fail(const QString& description, QSqlError::ErrorType type, int code)
{
    m_error = sqliteError(m_home->m_handle, description, type, code);
}

void DirectQuery::bind(int position, qint64 value)
{
    if (sqlite3_stmt* stmt = statement())
        sqlite3_bind_int64(stmt, position, value);
}

void DirectQuery::bind(int position, const QString& text)
{
    sqlite3_stmt* stmt = statement();
    if (!stmt)
        return;
    if (text.isNull()) {
        sqlite3_bind_null(stmt, position);
        return;
    }
    if (position < 1 || position > int(m_text.size())) {
        sqlite3_bind_text16(stmt, position, text.utf16(), text.size() * int(sizeof(QChar)), SQLITE_TRANSIENT);
        return;
    }
    QByteArray& utf8 = m_text[position - 1];
    utf8 = text.toUtf8();
    sqlite3_bind_text(stmt, position, utf8.constData(), utf8.size(), SQLITE_STATIC);
}

bool DirectQuery::exec()
{
    m_rowPending = false;
    sqlite3_stmt* stmt = statement();
    if (!stmt) {
        if (!m_error)
            m_error = QSqlError(
                QString(), QStringLiteral("the connection was closed"), QSqlError::ConnectionError);
        return false;
    }
    const int rc = sqlite3_step(stmt);
    if (rc == SQLITE_ROW || rc == SQLITE_DONE) {
        m_rowPending = rc == SQLITE_ROW;
        return true;
    }
    // The message belongs to the failed step; reset() would not change it.
    fail(QCoreApplication::translate("QSQLiteResult", "Unable to fetch row"), QSqlError::ConnectionError,
        sqlite3_extended_errcode(sqlite3_db_handle(stmt)));
    sqlite3_reset(stmt);
    return false;
}

bool DirectQuery::next()
{
    if (m_rowPending) {
        m_rowPending = false;
        return true;
    }
    sqlite3_stmt* stmt = statement();
    return stmt && sqlite3_stmt_busy(stmt) && sqlite3_step(stmt) == SQLITE_ROW;
}

qint64 DirectQuery::value(int column) const
{
    sqlite3_stmt* stmt = statement();
    return stmt ? sqlite3_column_int64(stmt, column) : 0;
}

qint64 DirectQuery::lastInsertId() const
{
    sqlite3_stmt* stmt = statement();
    return stmt ? sqlite3_last_insert_rowid(sqlite3_db_handle(stmt)) : 0;
}

void DirectQuery::finish()
{
    m_rowPending = false;
    if (sqlite3_stmt* stmt = statement())
        sqlite3_reset(stmt);
}

DirectStatements::DirectStatements(const QString& connectionName)
    : m_connection(connectionName)
{
}

DirectStatements::~DirectStatements()
{
    clear();
}

sqlite3* DirectStatements::handle()
{
    if (m_handle)
        return m_handle;
    const QSqlDatabase db = QSqlDatabase::database(m_connection, false);
    if (!db.isOpen() || !db.driver())
        return nullptr;
    const QVariant handle = db.driver()->handle();
    if (qstrcmp(handle.typeName(), "sqlite3*") == 0)
        m_handle = *static_cast<sqlite3* const*>(handle.constData());
    return m_handle;
}

DirectQuery DirectStatements::take(int slot, const QString& sql)
{
    Q_ASSERT(slot >= 0 && slot < slotCount);
    Slot& entry = m_slots[slot];
    // No operation runs the same statement while it is still on loan.
    Q_ASSERT(!entry.onLoan);
    if (entry.onLoan) {
        return DirectQuery(this, -1, sql, m_generation,
            QSqlError(QString(), QStringLiteral("statement already in use"), QSqlError::StatementError));
    }
    if (!entry.statement) {
        sqlite3* db = handle();
        if (!db) {
            return DirectQuery(this, -1, sql, m_generation,
                QSqlError(QString(), QStringLiteral("database not open"), QSqlError::ConnectionError));
        }
        const int rc = sqlite3_prepare16_v2(
            db, sql.utf16(), sql.size() * int(sizeof(QChar)), &entry.statement, nullptr);
        if (rc != SQLITE_OK) {
            const QSqlError error = DirectQuery::sqliteError(db,
                QCoreApplication::translate("QSQLiteResult", "Unable to execute statement"),
                QSqlError::StatementError, sqlite3_extended_errcode(db));
            sqlite3_finalize(entry.statement);
            entry.statement = nullptr;
            return DirectQuery(this, -1, sql, m_generation, error);
        }
    }
    entry.onLoan = true;
    return DirectQuery(this, slot, sql, m_generation);
}

void DirectStatements::clear()
{
    for (Slot& entry : m_slots) {
        sqlite3_finalize(entry.statement);
        entry = Slot();
    }
    m_handle = nullptr;
    ++m_generation;
}
