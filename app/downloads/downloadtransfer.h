#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QUrl>

class DownloadFileWriter;
class QNetworkAccessManager;
class QNetworkReply;

// One HTTP transfer of a download into its partial file, started again from
// where the file ends when the server takes byte ranges and from the start
// when it does not. The GUI thread only hands chunks, as they arrive, to a
// DownloadFileWriter on the downloads' thread; memory stays bounded because
// reading stops while too much waits for the disk.
class DownloadTransfer : public QObject
{
    Q_OBJECT
public:
    DownloadTransfer(QNetworkAccessManager* network, const QUrl& url, QObject* parent = nullptr);
    ~DownloadTransfer() override;

    // Asks for the bytes the partial file lacks; validator (an ETag or a
    // Last-Modified date from an earlier response) guards the range.
    void start(const QString& partialPath, const QByteArray& validator = QByteArray());
    // Drops the connection without a signal; the partial file stays.
    void stop();
    // The file to write to may change until the first byte is written.
    void setPartialPath(const QString& path) { m_partialPath = path; }

    qint64 received() const { return m_received; }
    qint64 total() const { return m_total; }
    double speed() const { return m_speed; }
    QByteArray validator() const { return m_validator; }

signals:
    // The final response's headers, before any byte is written.
    void responseStarted(
        const QByteArray& contentDisposition, const QString& contentType, const QUrl& finalUrl);
    // A few times a second at most.
    void progress();
    void finished();
    // writeFailed: the disk, not the network, is at fault; the bytes written
    // so far are kept and the transfer can go on once there is room again.
    void failed(const QString& error, bool writeFailed);

private:
    void sendRequest();
    void onReadyRead();
    void drain();
    void queueDrain();
    void onReplyFinished();
    bool beginBody();
    void complete();
    void onWritten(qint64 bytes);
    void fail(const QString& error, bool writeFailed);
    void reportProgress(bool force);

    QNetworkAccessManager* m_network;
    QUrl m_url;
    QPointer<QNetworkReply> m_reply;
    DownloadFileWriter* m_writer = nullptr;
    QString m_partialPath;
    qint64 m_offset = 0;
    qint64 m_received = 0; // handed to the writer
    qint64 m_written = 0; // confirmed by the writer
    qint64 m_total = -1;
    double m_speed = 0;
    QByteArray m_validator;
    bool m_awaitingOpen = false;
    bool m_failed = false;
    bool m_fileOpened = false;
    bool m_bodyStarted = false;
    bool m_drainQueued = false;
    QElapsedTimer m_clock;
    qint64 m_lastReportMs = 0;
    qint64 m_lastReportBytes = 0;
};
