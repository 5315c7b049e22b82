#include "statementcache.h"

#include <QSqlDatabase>
#include <QSqlError>

namespace
{
// A query bound to no connection and no statement, for handles that hold nothing.
QSqlQuery emptyQuery()
{
    return QSqlQuery(static_cast<QSqlResult*>(nullptr));
}
} // namespace

CachedQuery::CachedQuery(const QSqlQuery& query, StatementCache* home, const QString& sql, quint64 generation)
    : QSqlQuery(query)
    , m_home(home)
    , m_sql(sql)
    , m_generation(generation)
{
}

CachedQuery::CachedQuery(CachedQuery&& other) noexcept
    : QSqlQuery(other.statement())
    , m_home(other.m_home)
    , m_sql(std::move(other.m_sql))
    , m_generation(other.m_generation)
    , m_pendingBindings(other.m_pendingBindings)
{
    other.release();
}

bool CachedQuery::exec()
{
    m_pendingBindings = false;
    return QSqlQuery::exec();
}

void CachedQuery::addBindValue(const QVariant& value)
{
    m_pendingBindings = true;
    QSqlQuery::addBindValue(value);
}

void CachedQuery::bindValue(const QString& placeholder, const QVariant& value)
{
    m_pendingBindings = true;
    QSqlQuery::bindValue(placeholder, value);
}

CachedQuery::~CachedQuery()
{
    if (m_home)
        m_home->giveBack(*this);
}

void CachedQuery::release()
{
    QSqlQuery::operator=(emptyQuery());
    m_home = nullptr;
}

StatementCache::StatementCache(const QString& connectionName, int capacity)
    : m_connection(connectionName)
    , m_capacity(qMax(0, capacity))
{
}

StatementCache::~StatementCache()
{
    clear();
}

CachedQuery StatementCache::take(const QString& sql, bool* prepared)
{
    const auto found = m_index.find(sql);
    if (found != m_index.end()) {
        const QSqlQuery query = found.value()->second;
        m_idle.erase(found.value());
        m_index.erase(found);
        *prepared = true;
        return CachedQuery(query, this, sql, m_generation);
    }

    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.setForwardOnly(true);
    *prepared = query.prepare(sql);
    return CachedQuery(query, this, sql, m_generation);
}

void StatementCache::clear()
{
    m_index.clear();
    m_idle.clear();
    ++m_generation;
}

void StatementCache::giveBack(CachedQuery& query)
{
    // A statement that failed is not trusted to run again as if nothing had
    // happened; compiling a new one costs little next to the failure itself.
    const bool keep = query.m_generation == m_generation && !query.lastError().isValid()
        && !query.m_pendingBindings && !m_index.contains(query.m_sql) && m_capacity > 0;
    if (keep) {
        // Ends a read left half-done, which would otherwise keep the implicit
        // transaction, and with it an old snapshot of the file, open.
        query.finish();
        m_idle.emplace_front(query.m_sql, query.statement());
        m_index.insert(query.m_sql, m_idle.begin());
        while (int(m_idle.size()) > m_capacity) {
            m_index.remove(m_idle.back().first);
            m_idle.pop_back();
        }
    }
    query.release();
}
