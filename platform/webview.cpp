#include "webview.h"

#include <QBuffer>
#include <QImageReader>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>

namespace Orvane
{
namespace WebView
{

    namespace
    {
        const int maxRedirects = 5;

        bool fetchable(const QUrl& url)
        {
            // Never file:, data:, qrc: or anything else that would read local data.
            const QString scheme = url.scheme();
            return url.isValid() && !url.host().isEmpty()
                && (scheme == QLatin1String("http") || scheme == QLatin1String("https"));
        }

        bool succeeded(QNetworkReply* reply)
        {
            const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
            return reply->error() == QNetworkReply::NoError && status >= 200 && status < 300
                && !reply->property("webdeckOversize").toBool();
        }
    } // namespace

    WebView::WebView(QObject* parent)
        : QObject(parent)
    {
        qRegisterMetaType<Favicon>();
    }

    WebView::~WebView() = default;

    void WebView::setUrl(const QUrl& url)
    {
        if (m_url == url)
            return;
        m_url = url;
        emit urlChanged();
    }

    void WebView::setReady(bool ready)
    {
        if (m_ready == ready)
            return;
        m_ready = ready;
        emit readyChanged();
    }

    QNetworkReply* WebView::get(const QUrl& url, qint64 maxBytes)
    {
        if (!m_network)
            m_network = new QNetworkAccessManager(this);
        QNetworkRequest request(url);
        request.setAttribute(
            QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
        request.setMaximumRedirectsAllowed(maxRedirects);
        request.setTransferTimeout(m_timeoutMs);
        QNetworkReply* reply = m_network->get(request);
        // A redirect may not leave HTTP(S) either.
        connect(reply, &QNetworkReply::redirected, reply, [reply](const QUrl& target) {
            if (!fetchable(target))
                reply->abort();
        });
        connect(reply, &QNetworkReply::metaDataChanged, reply, [reply, maxBytes] {
            const QVariant length = reply->header(QNetworkRequest::ContentLengthHeader);
            if (length.isValid() && length.toLongLong() > maxBytes) {
                reply->setProperty("webdeckOversize", true);
                reply->abort();
            }
        });
        connect(reply, &QNetworkReply::downloadProgress, reply, [reply, maxBytes](qint64 received, qint64) {
            if (received > maxBytes) {
                reply->setProperty("webdeckOversize", true);
                reply->abort();
            }
        });
        return reply;
    }

    void WebView::downloadStringResource(const QString& url)
    {
        const QUrl target(url);
        if (!fetchable(target)) {
            QTimer::singleShot(
                0, this, [this, url] { emit stringResourceDownloadFinished(false, url, QString()); });
            return;
        }
        QNetworkReply* reply = get(target, m_maxTextBytes);
        connect(reply, &QNetworkReply::finished, this, [this, reply, url] {
            reply->deleteLater();
            if (!succeeded(reply)) {
                emit stringResourceDownloadFinished(false, url, QString());
                return;
            }
            emit stringResourceDownloadFinished(true, url, QString::fromUtf8(reply->readAll()));
        });
    }

    void WebView::downloadImage(const QString& url)
    {
        const QUrl target(url);
        if (!fetchable(target)) {
            QTimer::singleShot(
                0, this, [this, target] { emit imageDownloadFinished(Favicon(target, QImage())); });
            return;
        }
        QNetworkReply* reply = get(target, m_maxImageBytes);
        connect(reply, &QNetworkReply::finished, this, [this, reply, target] {
            reply->deleteLater();
            QImage image;
            if (succeeded(reply))
                image = decodeImage(reply->readAll(), m_maxImagePixels);
            emit imageDownloadFinished(Favicon(target, image));
        });
    }

    QImage WebView::decodeImage(const QByteArray& data, qint64 maxPixels)
    {
        QBuffer buffer;
        buffer.setData(data);
        buffer.open(QIODevice::ReadOnly);
        // The format comes from the bytes, never from the URL or the server's word.
        QImageReader reader(&buffer);
        reader.setDecideFormatFromContent(true);
        const QSize size = reader.size();
        // A reader that cannot tell the size before decoding could be handed a bomb.
        if (!size.isValid() || size.isEmpty() || qint64(size.width()) * size.height() > maxPixels)
            return QImage();
        return reader.read();
    }

} // namespace WebView
} // namespace Orvane
