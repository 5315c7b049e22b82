#pragma once

#include <QElapsedTimer>
#include <QFile>
#include <QObject>
#include <QPointer>
#include <QUrl>

class QNetworkAccessManager;
class QNetworkReply;

// One HTTP transfer of a download into its partial file, started again from
// where the file ends when the server takes byte ranges and from the start
// when it does not. Bytes are written as they arrive, so memory stays flat and
// the GUI thread never holds more than one network chunk.
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
    void setPartialPath(const QString& path) { m_file.setFileName(path); }

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
    void onReadyRead();
    void onFinished();
    bool beginBody();
    void fail(const QString& error, bool writeFailed);
    void reportProgress(bool force);

    QNetworkAccessManager* m_network;
    QUrl m_url;
    QPointer<QNetworkReply> m_reply;
    QFile m_file;
    qint64 m_offset = 0;
    qint64 m_received = 0;
    qint64 m_total = -1;
    double m_speed = 0;
    QByteArray m_validator;
    bool m_bodyStarted = false;
    QElapsedTimer m_clock;
    qint64 m_lastReportMs = 0;
    qint64 m_lastReportBytes = 0;
};
