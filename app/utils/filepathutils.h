#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

class QQmlEngine;
class QJSEngine;

// URL, host, domain and file helpers shared by storage, models and QML.
// One process-wide instance, also published to QML as a singleton.
class FilePathUtils : public QObject
{
    Q_OBJECT
public:
    static FilePathUtils* instance();
    static QObject* qmlInstance(QQmlEngine* engine, QJSEngine* scriptEngine);

    // Whether a local file (or directory) exists; accepts a path or a file: URL.
    Q_INVOKABLE bool fileExists(const QString& path) const;
    // Scheme and authority of a URL, without a trailing slash: "https://a.example.com:8080".
    Q_INVOKABLE QString getBaseUrl(const QString& url) const;
    // The registrable domain of a URL's host ("news.bbc.co.uk" -> "bbc.co.uk"); IP
    // literals, single-label hosts and bare public suffixes are returned as they are.
    Q_INVOKABLE QString getDomain(const QString& url) const;
    // The URL as people write it: without "http://www.", "https://www.", "http://",
    // "https://" or "file:///" in front.
    Q_INVOKABLE QString getCommonUrl(const QString& url) const;
    // Host of a URL, in Unicode for internationalised names.
    Q_INVOKABLE QString getHost(const QString& url) const;
    // A byte count for people: "512 B", "1.5 KB", "20.3 MB", "4.2 GB" (1 KB = 1024 B).
    Q_INVOKABLE QString getReadableSize(qint64 bytes) const;
    // The last path component of a file path or URL.
    Q_INVOKABLE QString getFileName(const QString& path) const;
    // Whether the administrator's lists block a URL (rules in docs/decisions.md, "URL filter").
    Q_INVOKABLE bool isUrlBlocked(
        const QString& url, const QStringList& blocklist, const QStringList& allowlist) const;

private:
    explicit FilePathUtils(QObject* parent = nullptr);
};
