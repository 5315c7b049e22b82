#include "dbworker.h"

#include "utils/logcategories.h"

#include <QEvent>
#include <QSqlDriver>
#include <QSqlError>
#include <sqlite3.h>

// Group commit. A request that finds others queued behind it opens one
// transaction that the following requests share, and the last of them (or a
// group grown too large or too old) commits it. Each request still runs its
// own statements in its own order: a failing statement is undone by SQLite on
// its own (statement-level rollback) and ends only its own request, exactly
// as when every statement commits by itself. Answers produced inside a group
// are held until the commit, so a model never hears of a row that a crash
// could still take back.

namespace
{
// A burst of visits commits at least this often, so that answers keep coming
// and a crash in a long burst costs at most this much of it.
constexpr int maxGroupSize = 4000;
constexpr qint64 maxGroupAgeMs = 500;

sqlite3* sqliteHandle(const QSqlDatabase& db)
{
    const QVariant handle = db.driver() ? db.driver()->handle() : QVariant();
    if (!handle.isValid() || qstrcmp(handle.typeName(), "sqlite3*") != 0)
        return nullptr;
    return *static_cast<sqlite3* const*>(handle.constData());
}
} // namespace

bool DBWorker::event(QEvent* event)
{
    if (event->type() != QEvent::MetaCall || !m_queued)
        return QObject::event(event);
    const bool handled = runRequest(event);
    if (m_requestDone)
        m_requestDone();
    return handled;
}

bool DBWorker::runRequest(QEvent* event)
{
    const int behind = m_queued->fetchAndSubOrdered(1) - 1;
    if (!m_inGroup && behind > 0 && m_opened)
        beginGroup();
    m_statementFailed = false;
    const bool handled = QObject::event(event);
    if (!m_inGroup)
        return handled;

    // Only I/O errors, a full disk or a lost lock make SQLite roll back the
    // whole transaction instead of the failing statement; the answers held
    // for it would then claim rows that are not there.
    sqlite3* handle = m_statementFailed ? sqliteHandle(database(false)) : nullptr;
    if (handle && sqlite3_get_autocommit(handle)) {
        qCWarning(lcStorage) << "a group of storage requests was rolled back by SQLite;" << m_held.size()
                             << "answers withheld";
        m_inGroup = false;
        m_held.clear();
        return handled;
    }
    if (++m_groupSize >= maxGroupSize || m_queued->loadAcquire() <= 0
        || m_groupAge.elapsed() >= maxGroupAgeMs)
        commitPending();
    return handled;
}

void DBWorker::beginGroup()
{
    auto begin = prepare(QStringLiteral("BEGIN;"), false);
    if (!execute(begin))
        return;
    m_inGroup = true;
    m_groupSize = 0;
    m_groupAge.start();
}

void DBWorker::commitPending()
{
    if (m_inGroup) {
        m_inGroup = false;
        auto commit = prepare(QStringLiteral("COMMIT;"), false);
        if (!execute(commit)) {
            auto rollback = prepare(QStringLiteral("ROLLBACK;"), false);
            execute(rollback);
            qCWarning(lcStorage) << "a group of storage requests could not be committed;" << m_held.size()
                                 << "answers withheld";
            m_held.clear();
            return;
        }
    }
    std::vector<std::function<void()>> held;
    held.swap(m_held);
    for (const auto& emission : held)
        emission();
}

void DBWorker::deliver(std::function<void()> emission)
{
    if (m_inGroup)
        m_held.push_back(std::move(emission));
    else
        emission();
}
