/*
 * A page visit written straight through the sqlite3 API: the statements the
 * browser runs for one committed navigation (per-day history merge, link reuse,
 * tab history append, moving the tab's current entry), one autocommit
 * statement at a time, with no threads and no Qt. The baseline for the
 * end-to-end figure of bench_pagevisit.
 *
 *   bench_pagevisit_raw <database file> <wal|delete> [visits] [reuse|prepare] [burst]
 *
 * wal:    journal_mode=WAL, synchronous=NORMAL (the browser's settings)
 * delete: journal_mode=DELETE, synchronous=FULL (SQLite's defaults)
 * reuse:  statements prepared once and reset between visits (default)
 * prepare: every statement prepared for each use, as Qt's driver does
 * burst:  all visits inside one transaction (the floor for a burst of visits)
 */
#include <sqlite3.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

static sqlite3* db;
static int reuse = 1;

static const char* const schema[] = {
    "CREATE TABLE IF NOT EXISTS tab (tab_id INTEGER PRIMARY KEY AUTOINCREMENT, tab_history_id INTEGER, "
    "screenshot "
    "TEXT, order_index INTEGER);",
    "CREATE TABLE IF NOT EXISTS link (link_id INTEGER PRIMARY KEY AUTOINCREMENT, url TEXT, title TEXT, "
    "thumb_path "
    "TEXT);",
    "CREATE TABLE IF NOT EXISTS browser_history (id INTEGER PRIMARY KEY AUTOINCREMENT, url TEXT, title TEXT, "
    "favorite_icon TEXT, visited_count INTEGER DEFAULT 1, date INTEGER);",
    "CREATE TABLE IF NOT EXISTS tab_history (id INTEGER PRIMARY KEY AUTOINCREMENT, tab_id INTEGER, link_id "
    "INTEGER, "
    "date INTEGER);",
    "CREATE INDEX IF NOT EXISTS browser_history_url_date_title_visited_count ON browser_history (url, date, "
    "title, "
    "visited_count);",
    "CREATE INDEX IF NOT EXISTS browser_history_date ON browser_history (date);",
    "CREATE INDEX IF NOT EXISTS tab_history_tab_id ON tab_history (tab_id);",
    "CREATE INDEX IF NOT EXISTS link_url ON link (url);",
};

enum {
    SelHistory,
    UpdHistory,
    InsHistory,
    SelLink,
    InsLink,
    InsTabHistory,
    SelTab,
    UpdTab,
    InsTab,
    StatementCount
};

static const char* const sql[StatementCount] = {
    "SELECT id FROM browser_history WHERE url = ? AND date >= ? ORDER BY date DESC LIMIT 1;",
    "UPDATE browser_history SET date = ?, title = ?, visited_count = visited_count + 1  WHERE id = ?;",
    "INSERT INTO browser_history (url, title, date) VALUES (?, ?, ?);",
    "SELECT link_id FROM link WHERE url = ?;",
    "INSERT INTO link (url, title, thumb_path) VALUES (?, ?, ?);",
    "INSERT INTO tab_history (tab_id, link_id, date) VALUES (?, ?, ?);",
    "SELECT 1 FROM tab WHERE tab_id = ?;",
    "UPDATE tab SET tab_history_id = ? WHERE tab_id = ?;",
    "INSERT INTO tab (tab_id, tab_history_id) VALUES (?, ?);",
};

static sqlite3_stmt* cached[StatementCount];

static sqlite3_stmt* statement(int which)
{
    if (reuse && cached[which])
        return cached[which];
    sqlite3_stmt* stmt = NULL;
    if (sqlite3_prepare_v2(db, sql[which], -1, &stmt, NULL) != SQLITE_OK) {
        fprintf(stderr, "prepare failed: %s\n", sqlite3_errmsg(db));
        exit(1);
    }
    if (reuse)
        cached[which] = stmt;
    return stmt;
}

static void done(sqlite3_stmt* stmt)
{
    if (reuse) {
        sqlite3_reset(stmt);
        sqlite3_clear_bindings(stmt);
    } else {
        sqlite3_finalize(stmt);
    }
}

static void run(sqlite3_stmt* stmt)
{
    int rc = sqlite3_step(stmt);
    if (rc != SQLITE_DONE && rc != SQLITE_ROW) {
        fprintf(stderr, "step failed: %s\n", sqlite3_errmsg(db));
        exit(1);
    }
}

static long long nowMs(void)
{
    struct timespec ts;
    clock_gettime(CLOCK_REALTIME, &ts);
    return (long long)ts.tv_sec * 1000 + ts.tv_nsec / 1000000;
}

static double monotonicUs(void)
{
    struct timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return ts.tv_sec * 1e6 + ts.tv_nsec / 1e3;
}

static void visit(int tabId, const char* url, const char* title, long long startOfDay)
{
    const long long now = nowMs();
    sqlite3_stmt* s = statement(SelHistory);
    sqlite3_bind_text(s, 1, url, -1, SQLITE_STATIC);
    sqlite3_bind_int64(s, 2, startOfDay);
    long long historyId = -1;
    if (sqlite3_step(s) == SQLITE_ROW)
        historyId = sqlite3_column_int64(s, 0);
    done(s);
    if (historyId >= 0) {
        s = statement(UpdHistory);
        sqlite3_bind_int64(s, 1, now);
        sqlite3_bind_text(s, 2, title, -1, SQLITE_STATIC);
        sqlite3_bind_int64(s, 3, historyId);
    } else {
        s = statement(InsHistory);
        sqlite3_bind_text(s, 1, url, -1, SQLITE_STATIC);
        sqlite3_bind_text(s, 2, title, -1, SQLITE_STATIC);
        sqlite3_bind_int64(s, 3, now);
    }
    run(s);
    done(s);

    s = statement(SelLink);
    sqlite3_bind_text(s, 1, url, -1, SQLITE_STATIC);
    long long linkId = -1;
    if (sqlite3_step(s) == SQLITE_ROW)
        linkId = sqlite3_column_int64(s, 0);
    done(s);
    if (linkId < 0) {
        s = statement(InsLink);
        sqlite3_bind_text(s, 1, url, -1, SQLITE_STATIC);
        sqlite3_bind_text(s, 2, title, -1, SQLITE_STATIC);
        sqlite3_bind_text(s, 3, "", -1, SQLITE_STATIC);
        run(s);
        done(s);
        linkId = sqlite3_last_insert_rowid(db);
    }

    s = statement(InsTabHistory);
    sqlite3_bind_int(s, 1, tabId);
    sqlite3_bind_int64(s, 2, linkId);
    sqlite3_bind_int64(s, 3, now);
    run(s);
    done(s);
    const long long entryId = sqlite3_last_insert_rowid(db);

    s = statement(SelTab);
    sqlite3_bind_int(s, 1, tabId);
    const int exists = sqlite3_step(s) == SQLITE_ROW;
    done(s);
    if (exists) {
        s = statement(UpdTab);
        sqlite3_bind_int64(s, 1, entryId);
        sqlite3_bind_int(s, 2, tabId);
    } else {
        s = statement(InsTab);
        sqlite3_bind_int(s, 1, tabId);
        sqlite3_bind_int64(s, 2, entryId);
    }
    run(s);
    done(s);
}

static int compare(const void* a, const void* b)
{
    const double x = *(const double*)a, y = *(const double*)b;
    return x < y ? -1 : x > y;
}

int main(int argc, char** argv)
{
    if (argc < 3) {
        fprintf(stderr, "usage: %s <database file> <wal|delete> [visits] [reuse|prepare] [burst]\n", argv[0]);
        return 2;
    }
    const int wal = strcmp(argv[2], "wal") == 0;
    const int visits = argc > 3 ? atoi(argv[3]) : 2000;
    reuse = !(argc > 4 && strcmp(argv[4], "prepare") == 0);
    const int burst = argc > 5 && strcmp(argv[5], "burst") == 0;

    remove(argv[1]);
    if (sqlite3_open(argv[1], &db) != SQLITE_OK) {
        fprintf(stderr, "open failed\n");
        return 1;
    }
    sqlite3_exec(db, wal ? "PRAGMA journal_mode=WAL;" : "PRAGMA journal_mode=DELETE;", NULL, NULL, NULL);
    sqlite3_exec(db, wal ? "PRAGMA synchronous=NORMAL;" : "PRAGMA synchronous=FULL;", NULL, NULL, NULL);
    for (size_t i = 0; i < sizeof schema / sizeof *schema; ++i)
        sqlite3_exec(db, schema[i], NULL, NULL, NULL);

    time_t t = time(NULL);
    struct tm local;
    localtime_r(&t, &local);
    local.tm_hour = local.tm_min = local.tm_sec = 0;
    const long long startOfDay = (long long)mktime(&local) * 1000;

    double* us = malloc(sizeof(double) * visits);
    char url[128], title[64];
    const double begin = monotonicUs();
    if (burst)
        sqlite3_exec(db, "BEGIN;", NULL, NULL, NULL);
    for (int i = 0; i < visits; ++i) {
        /* Fifty sites, ten tabs; every fifth visit goes back to a page seen before. */
        snprintf(url, sizeof url, "https://site%d.example.com/page/%d", i % 50, i % 5 == 4 ? i - 4 : i);
        snprintf(title, sizeof title, "Page %d", i);
        const double start = monotonicUs();
        visit(1 + i % 10, url, title, startOfDay);
        us[i] = monotonicUs() - start;
    }
    if (burst && sqlite3_exec(db, "COMMIT;", NULL, NULL, NULL) != SQLITE_OK) {
        fprintf(stderr, "commit failed: %s\n", sqlite3_errmsg(db));
        return 1;
    }
    const double total = monotonicUs() - begin;
    qsort(us, visits, sizeof *us, compare);
    printf("raw sqlite3, %s, %s statements%s: %d visits, median %.1f us, mean %.1f us, p90 %.1f us\n",
        wal ? "WAL + synchronous=NORMAL" : "DELETE journal + synchronous=FULL",
        reuse ? "reused" : "re-prepared", burst ? ", one transaction" : "", visits, us[visits / 2],
        total / visits, us[visits * 9 / 10]);
    for (int i = 0; i < StatementCount; ++i)
        sqlite3_finalize(cached[i]);
    sqlite3_close(db);
    free(us);
    return 0;
}
