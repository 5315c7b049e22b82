#include "downloadtransfer.h"

#include "downloadlog.h"

#include <QDir>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QNetworkReply>

namespace
{
// Progress reaches the model at most this often, however fast bytes arrive.
constexpr qint64 reportIntervalMs = 250;
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
    m_file.setFileName(partialPath);
    m_offset = partialPath.isEmpty() ? 0 : qMax<qint64>(0, QFileInfo(partialPath).size());
    m_received = m_offset;
    m_total = -1;
    m_speed = 0;
    m_bodyStarted = false;
    m_validator = validator;

    QNetworkRequest request(m_url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setMaximumRedirectsAllowed(20);
    // Bytes are written as they come; a compressed stream would make the
    // offsets of a range meaningless.
    request.setRawHeader("Accept-Encoding", "identity");
    if (m_offset > 0) {
        request.setRawHeader("Range", "bytes=" + QByteArray::number(m_offset) + '-');
        if (!validator.isEmpty())
            request.setRawHeader("If-Range", validator);
    }
    m_reply = m_network->get(request);
    connect(m_reply, &QNetworkReply::readyRead, this, &DownloadTransfer::onReadyRead);
    connect(m_reply, &QNetworkReply::finished, this, &DownloadTransfer::onFinished);
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
    m_file.close();
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
        return true; // no response at all: onFinished reports the network error
    m_bodyStarted = true;

    const QByteArray etag = m_reply->rawHeader("ETag");
    m_validator = !etag.isEmpty() && !etag.startsWith("W/") ? etag : m_reply->rawHeader("Last-Modified");
    const qint64 length = m_reply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
    const bool hasLength = m_reply->header(QNetworkRequest::ContentLengthHeader).isValid();
    const QByteArray range = m_reply->rawHeader("Content-Range");
    if (status == 206 && m_offset > 0 && range.startsWith("bytes " + QByteArray::number(m_offset) + '-')) {
        qCDebug(lcDownloads) << "resuming" << m_url << "at" << m_offset;
        m_total = hasLength ? m_offset + length : -1;
    } else {
        // The server sends the whole file: a clean restart.
        if (m_offset > 0)
            qCDebug(lcDownloads) << "server ignored the range, restarting" << m_url;
        m_offset = 0;
        m_received = 0;
        m_lastReportBytes = 0;
        m_total = hasLength ? length : -1;
    }
    emit responseStarted(m_reply->rawHeader("Content-Disposition"),
        m_reply->header(QNetworkRequest::ContentTypeHeader).toString(), m_reply->url());
    if (!m_reply)
        return false; // stopped from a slot

    QDir().mkpath(QFileInfo(m_file.fileName()).absolutePath());
    const QIODevice::OpenMode mode = m_offset > 0 ? QIODevice::Append : QIODevice::Truncate;
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Unbuffered | mode)) {
        fail(QStringLiteral("Cannot write to %1: %2")
                 .arg(QDir::toNativeSeparators(QFileInfo(m_file.fileName()).absolutePath()),
                     m_file.errorString()),
            true);
        return false;
    }
    return true;
}

void DownloadTransfer::onReadyRead()
{
    if (!beginBody())
        return;
    const QByteArray chunk = m_reply->readAll();
    if (chunk.isEmpty())
        return;
    const qint64 written = m_file.write(chunk);
    if (written > 0)
        m_received += written;
    if (written != chunk.size()) {
        // A short write without an error is a full disk (or a file size limit).
        const QString reason = m_file.error() == QFileDevice::NoError || written > 0
            ? QStringLiteral("no space left on the device")
            : m_file.errorString();
        fail(QStringLiteral("Could not save the file: %1").arg(reason), true);
        return;
    }
    reportProgress(false);
}

void DownloadTransfer::onFinished()
{
    if (!m_reply)
        return;
    if (!beginBody())
        return;
    if (m_reply->bytesAvailable() > 0)
        onReadyRead();
    if (!m_reply)
        return;
    if (m_reply->error() != QNetworkReply::NoError) {
        fail(m_reply->errorString(), false);
        return;
    }
    if (m_total >= 0 && m_received < m_total) {
        fail(QStringLiteral("The connection closed before the whole file arrived"), false);
        return;
    }
    if (!m_file.isOpen() && !m_file.open(QIODevice::WriteOnly | QIODevice::Append)) {
        fail(QStringLiteral("Could not save the file: %1").arg(m_file.errorString()), true);
        return;
    }
    m_total = m_received;
    m_file.close();
    m_reply->deleteLater();
    m_reply = nullptr;
    m_speed = 0;
    emit finished();
}

void DownloadTransfer::fail(const QString& error, bool writeFailed)
{
    qCWarning(lcDownloads) << "download failed" << m_url << error;
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
