#pragma once

#include <QByteArray>
#include <QSqlError>
#include <QString>

#include <array>
#include <optional>

struct sqlite3;
struct sqlite3_stmt;

class DirectStatements;

// One of the few statements of a page visit, run straight on its connection's
// SQLite handle. Through Qt SQL every bound value goes through a QVariant and a
// name table and every row through a cache of QVariants, which costs more than
// the statement itself; a burst of visits runs these statements thousands of
// times. Same SQL text, same connection, same transaction as the rest.
//
// Hold it as `auto query = ...`: it is reset (so it holds no read transaction)
// and goes back to its slot when it goes out of scope. Text is bound without a
// own copy, so the caller's string need not outlive the call.
class DirectQuery
{
public:
    DirectQuery(const DirectQuery&) = delete;
    DirectQuery& operator=(const DirectQuery&) = delete;
    ~DirectQuery();

    bool isValid() const { return statement() != nullptr; }
    void bind(int position, qint64 value);
    // A null string binds NULL, as a null QString does through Qt SQL.
    void bind(int position, const QString& text);

    // Runs up to the first row; false when the statement failed.
    bool exec();
    // True while a row is there: first the one exec() reached, then the following ones.
    bool next();
    qint64 value(int column) const;
    qint64 lastInsertId() const;
    // Resets the statement, ending a read before the writes that follow it.
    void finish();

    const QString& lastQuery() const { return m_sql; }
    QSqlError lastError() const { return m_error ? *m_error : QSqlError(); }

private:
    friend class DirectStatements;
    DirectQuery(DirectStatements* home, int slot, const QString& sql, quint64 generation,
        std::optional<QSqlError> error = std::nullopt);
    sqlite3_stmt* statement() const;
    void fail(const QString& description, QSqlError::ErrorType type, int code);
    static QSqlError sqliteError(
        sqlite3* db, const QString& description, QSqlError::ErrorType type, int code);

    DirectStatements* m_home;
    int m_slot;
    QString m_sql;
    quint64 m_generation;
    // Set only on failure: a QSqlError allocates even when empty.
    std::optional<QSqlError> m_error;
    bool m_rowPending = false;
    // Text bound in UTF-8, the file's encoding, so that SQLite need not
    // convert it on every comparison; kept until the statement is reset.
    std::array<QByteArray, 3> m_text;
};

// The compiled direct statements of one connection, one slot each, prepared on
// first use. clear() finalizes every one, on loan or not, before the
// connection closes; a query on loan from before it then fails on its own.
//
// Not thread-safe: the slots, their connection and every loan stay on one thread.
class DirectStatements
{
public:
    static constexpr int slotCount = 16;

    explicit DirectStatements(const QString& connectionName);
    ~DirectStatements();
    DirectStatements(const DirectStatements&) = delete;
    DirectStatements& operator=(const DirectStatements&) = delete;

    // The statement of slot, compiled from sql on first use; every use of a
    // slot passes the same text. Check isValid(): when it could not be
    // compiled, lastError() says why.
    DirectQuery take(int slot, const QString& sql);
    void clear();

private:
    friend class DirectQuery;
    sqlite3* handle();

    struct Slot {
        sqlite3_stmt* statement = nullptr;
        bool onLoan = false;
    };
    QString m_connection;
    sqlite3* m_handle = nullptr;
    quint64 m_generation = 0;
    std::array<Slot, slotCount> m_slots;
};
