#pragma once

#include <QHash>
#include <QSqlQuery>
#include <QString>
#include <QVariant>

#include <list>
#include <utility>

class StatementCache;

// A prepared statement on loan from a StatementCache. It goes back to the cache
// when it goes out of scope, so it can be moved but never copied: QSqlQuery
// copies share one result, and a copy outliving the loan would let the cache
// lend the same statement to a second user. For the same reason QSqlQuery is a
// private base: no code can take a sharing copy of it, and exec() cannot
// re-prepare the statement with other text behind the cache's back.
class CachedQuery : private QSqlQuery
{
public:
    CachedQuery(CachedQuery&& other) noexcept;
    CachedQuery(const CachedQuery&) = delete;
    CachedQuery& operator=(const CachedQuery&) = delete;
    CachedQuery& operator=(CachedQuery&&) = delete;
    ~CachedQuery();

    bool exec();
    void addBindValue(const QVariant& value);
    void bindValue(const QString& placeholder, const QVariant& value);
    using QSqlQuery::finish;
    using QSqlQuery::isActive;
    using QSqlQuery::lastError;
    using QSqlQuery::lastInsertId;
    using QSqlQuery::lastQuery;
    using QSqlQuery::next;
    using QSqlQuery::numRowsAffected;
    using QSqlQuery::value;

private:
    friend class StatementCache;
    CachedQuery(const QSqlQuery& query, StatementCache* home, const QString& sql, quint64 generation);
    const QSqlQuery& statement() const { return *this; }
    // Leaves this handle empty and without a home.
    void release();

    StatementCache* m_home; // null once moved from: nothing to give back
    QString m_sql;
    quint64 m_generation;
    // Values bound and not run yet. Qt counts positional bindings from the last
    // exec(), so the next user's first value would land behind these.
    bool m_pendingBindings = false;
};

// Prepared statements of one connection, kept by SQL text so that a statement
// run again is not compiled again. Only idle statements live in the cache: a
// statement on loan is not in it, so asking for the same text while it is in
// use (an operation that calls another one running the same statement) gets a
// freshly prepared statement instead of the busy one. A statement comes back
// finished, so no cached statement holds a read transaction open. Statements
// that failed to prepare or to run, or that come back with values bound but
// never run, are never kept. The cache holds at most
// `capacity` statements and forgets the one returned longest ago first, so
// statements with ids or dates spliced into their text cannot make it grow.
//
// Not thread-safe: the cache, its connection and every loan stay on one thread.
class StatementCache
{
public:
    static constexpr int defaultCapacity = 64;

    explicit StatementCache(const QString& connectionName, int capacity = defaultCapacity);
    ~StatementCache();
    StatementCache(const StatementCache&) = delete;
    StatementCache& operator=(const StatementCache&) = delete;

    // The idle statement for sql, or a new forward-only one prepared on the
    // connection. *prepared tells whether the statement is usable; when it is
    // not, lastError() of the handle says why.
    CachedQuery take(const QString& sql, bool* prepared);

    // Forgets every idle statement, and every one on loan as it comes back.
    // Called before the connection closes, so that no statement outlives it.
    void clear();

    int size() const { return int(m_idle.size()); }
    int capacity() const { return m_capacity; }

private:
    friend class CachedQuery;
    void giveBack(CachedQuery& query);

    using Entry = std::pair<QString, QSqlQuery>;
    QString m_connection;
    int m_capacity;
    quint64 m_generation = 0;
    std::list<Entry> m_idle; // the most recently returned first
    QHash<QString, std::list<Entry>::iterator> m_index;
};
