#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVector>

class QUrl;

// The administrator's URL block and allow lists, compiled once so that each
// navigation costs a few hash look-ups. Entries have the form
// [scheme://][.]host[:port][/path] known from the major browsers' policies;
// the rules and examples are in docs/decisions.md ("URL filter").
class UrlFilter
{
public:
    // Lists longer than this are cut; the entries after it are ignored and logged.
    static constexpr int maxEntries = 1000;

    UrlFilter() = default;
    UrlFilter(const QStringList& blocklist, const QStringList& allowlist);

    bool isBlocked(const QString& url) const;
    bool isBlocked(const QUrl& url) const;

private:
    struct Entry {
        QString scheme; // empty: any scheme
        QString path; // prefix of path and query; empty: any
        int port = 0; // 0: any port
        bool anyHost = false;
        bool exactHost = false; // a leading "." in the entry: no subdomains
        bool allow = false;
        int hostLength = 0;
    };
    struct Match {
        const Entry* entry = nullptr;
        bool beats(const Entry& other) const;
    };

    void add(const QStringList& list, bool allow);
    void consider(const QVector<Entry>& entries, bool atFullHost, const QString& scheme, int port,
        const QString& path, Match& block, Match& allow) const;

    // Entries by host (ASCII form, lower case, no trailing dot); entries for
    // every host live under a null key of their own.
    QHash<QString, QVector<Entry>> m_byHost;
    QVector<Entry> m_anyHost;
};

// Whether `url` is blocked by the two lists. Keeps the last lists compiled, so
// that calls with the same lists (the usual case) do not compile them again.
// Main thread only.
bool isUrlBlocked(const QString& url, const QStringList& blocklist, const QStringList& allowlist);
