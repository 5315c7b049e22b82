#include "downloadtransfer.h"

#include "downloadfilewriter.h"
#include "downloadlog.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>

namespace
{
// Progress reaches the model at most this often, however fast bytes arrive.
constexpr qint64 reportIntervalMs = 250;
// Handed to the writer per turn of the event loop...
constexpr qint64 sliceBytes = 512 * 1024;
// ...while no more than this waits for the disk; beyond it the network stack
// is left to stop reading the socket.
constexpr qint64 maxPendingBytes = 16 * 1024 * 1024;
constexpr qint64 readBufferBytes = 8 * 1024 * 1024;
} // namespace

DownloadTransfer::DownloadTransfer(QNetworkAccessManager* network, const QUrl& url, QObject* parent)
    : QObject(parent)
    , m_network(network)
    , m_url(url)
{
}

DownloadTransfer::~DownloadTransfer()
{
    stop();
}

void DownloadTransfer::start(const QString& partialPath, const QByteArray& validator)
{
    stop();
    m_partialPath = partialPath;
    m_offset = m_received = m_written = 0;
    m_total = -1;
    m_speed = 0;
    m_bodyStarted = m_fileOpened = m_failed = false;
    m_validator = validator;
    m_writer = new DownloadFileWriter;
    connect(m_writer, &DownloadFileWriter::written, this, &DownloadTransfer::onWritten);
    connect(m_writer, &DownloadFileWriter::failed, this, [this](const QString& error) {
        m_received = m_written;
        fail(error, true);
    });
    connect(m_writer, &DownloadFileWriter::opened, this, [this](qint64 size) {
        if (!m_awaitingOpen)
            return;
        // The range starts where the bytes of the earlier transfers end, once
        // all of them have reached the file.
        m_awaitingOpen = false;
        m_offset = m_received = m_written = size;
        sendRequest();
    });
    m_awaitingOpen = !partialPath.isEmpty();
    if (m_awaitingOpen) {
        m_fileOpened = true;
        QMetaObject::invokeMethod(m_writer, "open", Q_ARG(QString, partialPath), Q_ARG(bool, false));
    } else {
        sendRequest();
    }
}

void DownloadTransfer::sendRequest()
{
    QNetworkRequest request(m_url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setMaximumRedirectsAllowed(20);
    // A compressed stream would make the offsets of a range meaningless.
    request.setRawHeader("Accept-Encoding", "identity");
    if (m_offset > 0) {
        request.setRawHeader("Range", "bytes=" + QByteArray::number(m_offset) + '-');
        if (!m_validator.isEmpty())
            request.setRawHeader("If-Range", m_validator);
    }
    m_reply = m_network->get(request);
    m_reply->setReadBufferSize(readBufferBytes);
    connect(m_reply, &QNetworkReply::readyRead, this, &DownloadTransfer::onReadyRead);
    connect(m_reply, &QNetworkReply::finished, this, &DownloadTransfer::onReplyFinished);
    m_clock.start();
    m_lastReportMs = 0;
    m_lastReportBytes = m_received;
}

void DownloadTransfer::stop()
{
    if (m_reply) {
        m_reply->disconnect(this);
        // A reply that failed, or is about to fail with its HTTP status, must
        // not be failed a second time; dropping it closes the connection.
        if (m_reply->error() == QNetworkReply::NoError
            && m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() < 400)
            m_reply->abort();
        m_reply->deleteLater();
    }
    m_reply = nullptr;
    if (m_writer) {
        // Whatever was handed over is still written, before any later open.
        m_writer->disconnect(this);
        QMetaObject::invokeMethod(m_writer, "close");
    }
    m_writer = nullptr;
    m_awaitingOpen = false;
    m_speed = 0;
}

bool DownloadTransfer::beginBody()
{
    if (m_bodyStarted)
        return true;
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status >= 400 || (status && status < 200)) {
        const QString reason = m_reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString();
        fail(QStringLiteral("The server answered %1 %2").arg(status).arg(reason).trimmed(), false);
        return false;
    }
    if (status == 0 && m_reply->error() != QNetworkReply::NoError)
        return true; // no response at all: complete() reports the network error
    m_bodyStarted = true;

    const QByteArray etag = m_reply->rawHeader("ETag");
    m_validator = !etag.isEmpty() && !etag.startsWith("W/") ? etag : m_reply->rawHeader("Last-Modified");
    const QVariant length = m_reply->header(QNetworkRequest::ContentLengthHeader);
    const QByteArray range = m_reply->rawHeader("Content-Range");
    if (status == 206 && m_offset > 0 && range.startsWith("bytes " + QByteArray::number(m_offset) + '-')) {
        qCDebug(lcDownloads) << "resuming" << m_url << "at" << m_offset;
        m_total = length.isValid() ? m_offset + length.toLongLong() : -1;
    } else {
        if (m_offset > 0) {
            qCDebug(lcDownloads) << "server ignored the range, restarting" << m_url;
            QMetaObject::invokeMethod(m_writer, "truncate");
        }
        m_offset = m_received = m_written = m_lastReportBytes = 0;
        m_total = length.isValid() ? length.toLongLong() : -1;
    }
    emit responseStarted(m_reply->rawHeader("Content-Disposition"),
        m_reply->header(QNetworkRequest::ContentTypeHeader).toString(), m_reply->url());
    if (!m_reply)
        return false; // stopped from a slot
    if (!m_fileOpened) {
        m_fileOpened = true;
        QMetaObject::invokeMethod(m_writer, "open", Q_ARG(QString, m_partialPath), Q_ARG(bool, true));
    }
    return true;
}

void DownloadTransfer::onReadyRead()
{
    if (m_reply && beginBody())
        drain();
}

void DownloadTransfer::onReplyFinished()
{
    if (m_reply && beginBody())
        drain();
}

void DownloadTransfer::drain()
{
    m_drainQueued = false;
    if (!m_reply || !m_bodyStarted)
        return;
    if (m_received - m_written > maxPendingBytes)
        return; // onWritten picks up again
    const QByteArray chunk = m_reply->read(sliceBytes);
    if (!chunk.isEmpty()) {
        QMetaObject::invokeMethod(m_writer, "write", Q_ARG(QByteArray, chunk));
        m_received += chunk.size();
        reportProgress(false);
    }
    if (m_reply->bytesAvailable() > 0)
        queueDrain();
    else if (m_reply->isFinished())
        complete();
}

void DownloadTransfer::queueDrain()
{
    if (m_drainQueued)
        return;
    m_drainQueued = true;
    QMetaObject::invokeMethod(this, &DownloadTransfer::drain, Qt::QueuedConnection);
}

void DownloadTransfer::onWritten(qint64 bytes)
{
    m_written += bytes;
    if (m_reply && !m_reply->isFinished() && m_received - m_written <= maxPendingBytes / 2)
        queueDrain();
    else if (m_reply && m_reply->isFinished())
        queueDrain();
}

void DownloadTransfer::complete()
{
    if (m_reply->error() != QNetworkReply::NoError) {
        fail(m_reply->errorString(), false);
        return;
    }
    if (m_total >= 0 && m_received < m_total) {
        fail(QStringLiteral("The connection closed before the whole file arrived"), false);
        return;
    }
    m_total = m_received;
    m_reply->disconnect(this);
    m_reply->deleteLater();
    m_reply = nullptr;
    m_speed = 0;
    // Finished once the last byte is on disk and the file closed.
    connect(m_writer, &DownloadFileWriter::closed, this, [this] {
        if (!m_failed) // a write may still have failed before the close
            emit finished();
    });
    QMetaObject::invokeMethod(m_writer, "close");
    m_writer = nullptr;
}

void DownloadTransfer::fail(const QString& error, bool writeFailed)
{
    qCWarning(lcDownloads) << "download failed" << m_url << error;
    m_failed = true;
    stop();
    emit failed(error, writeFailed);
}

void DownloadTransfer::reportProgress(bool force)
{
    const qint64 now = m_clock.elapsed();
    if (!force && now - m_lastReportMs < reportIntervalMs)
        return;
    const qint64 span = now - m_lastReportMs;
    if (span > 0) {
        const double current = (m_received - m_lastReportBytes) * 1000.0 / span;
        m_speed = m_speed > 0 ? 0.7 * m_speed + 0.3 * current : current;
    }
    m_lastReportMs = now;
    m_lastReportBytes = m_received;
    emit progress();
}
