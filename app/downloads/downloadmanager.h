#pragma once

#include "downloadmodel.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QVariantList>

class DBManager;
class DownloadProxyModel;
class DownloadTransfer;
class QJSEngine;
class QNetworkAccessManager;
class QQmlEngine;
struct Download;

// The browser's downloads: starts them by URL or follows the ones the web
// engine carries out, pauses, resumes and cancels them, keeps the list in
// storage and offers it to the downloads page. Ids are the manager's own and
// hold for the session.
class DownloadManager : public QObject
{
    Q_OBJECT
    // Where new downloads are saved; the front end binds it to the settings.
    Q_PROPERTY(QString downloadDirectory READ downloadDirectory WRITE setDownloadDirectory NOTIFY
            downloadDirectoryChanged)
    // Every download, in the order they were added.
    Q_PROPERTY(DownloadModel* model READ model CONSTANT)
    // The same list grouped by day, newest first, with kind and text filters.
    Q_PROPERTY(DownloadProxyModel* proxyModel READ proxyModel CONSTANT)
    // Downloads transferring now; the tabs that started them must not be discarded.
    Q_PROPERTY(int runningCount READ runningCount NOTIFY runningCountChanged)
    // Whether the stored list has been read.
    Q_PROPERTY(bool loaded READ isLoaded NOTIFY loadedChanged)
public:
    static DownloadManager* instance();
    static QObject* qmlInstance(QQmlEngine* engine, QJSEngine* scriptEngine);
    ~DownloadManager() override;

    QString downloadDirectory() const { return m_directory; }
    void setDownloadDirectory(const QString& directory);
    DownloadModel* model() const { return m_model; }
    DownloadProxyModel* proxyModel() const { return m_proxy; }
    int runningCount() const;
    bool isLoaded() const { return m_loaded; }

    // Starts downloading a URL into the download directory; returns its id,
    // or -1 for a URL that cannot be downloaded.
    Q_INVOKABLE int download(const QString& url);
    // Follows a download of the web engine (a WebEngineDownloadItem from
    // WebEngineView's downloadRequested): names it safely in the download
    // directory, accepts it and mirrors its progress. Returns its id.
    Q_INVOKABLE int trackEngineDownload(QObject* item);

    Q_INVOKABLE void pause(int id);
    // Continues a paused or failed download where its bytes end.
    Q_INVOKABLE void resume(int id);
    Q_INVOKABLE void cancel(int id);
    // Starts a failed or cancelled download again (from its bytes, if any are left).
    Q_INVOKABLE void retry(int id);
    // Opens a finished file with the desktop's handler.
    Q_INVOKABLE bool open(int id);
    // Drops a download from the list, stopping it first; the finished file
    // stays on disk unless deleteFile.
    Q_INVOKABLE void remove(int id, bool deleteFile = false);
    Q_INVOKABLE void removeSelected(const QVariantList& ids, bool deleteFiles = false);
    Q_INVOKABLE void removeFinished();
    // Empties the list of everything that is not running.
    Q_INVOKABLE void clear();

signals:
    void downloadDirectoryChanged();
    void runningCountChanged();
    void loadedChanged();
    void downloadFinished(int id);
    void downloadFailed(int id, const QString& error);

private slots:
    void onEngineItemChanged();

private:
    explicit DownloadManager(DBManager* db, QObject* parent = nullptr);

    void onDownloadsLoaded(const QList<Download>& rows);
    void onDownloadAdded(const Download& download, const QString& path);
    void onOldDownloadRemoved(int oldId);
    void startTransfer(int id);
    void stopTransfer(int id);
    void onResponseStarted(
        int id, const QByteArray& disposition, const QString& contentType, const QUrl& finalUrl);
    void onTransferFinished(int id);
    void onTransferFailed(int id, const QString& error, bool writeFailed);
    void syncEngineItem(int id, bool force);
    void setState(int id, int state, const QString& error = QString());
    QSet<QString> takenPaths() const;
    QObject* engineItem(int id) const;

    DBManager* m_db;
    QNetworkAccessManager* m_network;
    DownloadModel* m_model;
    DownloadProxyModel* m_proxy;
    QString m_directory;
    bool m_loaded = false;
    int m_nextId = 0;
    QHash<int, DownloadTransfer*> m_transfers;
    QHash<QObject*, int> m_engineItems;
    QElapsedTimer m_clock;
    QHash<int, QPair<qint64, qint64>> m_engineLast; // id -> (ms, bytes) at the last report
};
