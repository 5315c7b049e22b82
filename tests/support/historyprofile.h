#pragma once

#include "storage/dbworker.h"
#include "tempprofile.h"

#include <QSqlDatabase>
#include <QVariant>
#include <QVariantList>

// A storage worker initialised on the calling thread in a fresh temp profile,
// with direct SQL access to both of its connections so that tests can seed rows
// (dates in the past, bookmarks, sites) and look at what the worker wrote.
class HistoryProfile
{
public:
    HistoryProfile();

    DBWorker& worker() { return m_worker; }
    bool isValid() const { return m_profile.isValid() && database(false).isOpen(); }

    // The file connection (the default one) or the private in-memory one.
    static QSqlDatabase database(bool isPrivate);

    // Runs one statement with positional values; false (and a warning) on failure.
    static bool exec(const QString& sql, const QVariantList& values = {}, bool isPrivate = false);
    // First column of every row, in result order.
    static QVariantList column(const QString& sql, const QVariantList& values = {}, bool isPrivate = false);
    // First column of the first row, or an invalid QVariant without rows.
    static QVariant scalar(const QString& sql, const QVariantList& values = {}, bool isPrivate = false);
    // Every row, its columns joined by "|", in result order: compact to compare in one QCOMPARE.
    static QStringList rows(const QString& sql, const QVariantList& values = {}, bool isPrivate = false);

    // Seeds a browser_history row directly and returns its id.
    static int insertHistory(const QString& url, const QString& title, qint64 date, int visitedCount = 1);

private:
    TempProfile m_profile; // outlives the worker, which closes its connections first
    DBWorker m_worker;
};

// Start of the current local day, in ms since the epoch, as the history merge computes it.
qint64 startOfLocalToday();
