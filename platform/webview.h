#pragma once

#include "favicon.h"

#include <QObject>
#include <QUrl>

class QNetworkAccessManager;
class QNetworkReply;

namespace Orvane
{
namespace WebView
{

    // The back end's handle on one page view. The front end shows pages with
    // its own view (a WebEngineView on the desktop) and creates one of these
    // beside it, keeping `url` bound to the page; the back end downloads a
    // page's resources (the web app manifest, icons) through it.
    //
    // Downloads run over HTTP(S) only, follow redirects, time out, and are
    // capped in size; images are decoded only when their declared dimensions
    // stay under a pixel limit, so a small file cannot expand into gigabytes.
    class WebView : public QObject
    {
        Q_OBJECT
        // The page shown in the view beside this object.
        Q_PROPERTY(QUrl url READ url WRITE setUrl NOTIFY urlChanged)
        // False while the view cannot serve downloads.
        Q_PROPERTY(bool ready READ isReady WRITE setReady NOTIFY readyChanged)
    public:
        static constexpr qint64 defaultMaxTextBytes = 512 * 1024;
        static constexpr qint64 defaultMaxImageBytes = 4 * 1024 * 1024;
        static constexpr qint64 defaultMaxImagePixels = 4096 * 4096;
        static constexpr int defaultTimeoutMs = 15000;

        explicit WebView(QObject* parent = nullptr);
        ~WebView() override;

        QUrl url() const { return m_url; }
        void setUrl(const QUrl& url);
        bool isReady() const { return m_ready; }
        void setReady(bool ready);

        void setMaxTextBytes(qint64 bytes) { m_maxTextBytes = bytes; }
        void setMaxImageBytes(qint64 bytes) { m_maxImageBytes = bytes; }
        void setMaxImagePixels(qint64 pixels) { m_maxImagePixels = pixels; }
        void setTimeout(int ms) { m_timeoutMs = ms; }

        // Answers with stringResourceDownloadFinished, always later, never from within the call.
        Q_INVOKABLE void downloadStringResource(const QString& url);
        // Answers with imageDownloadFinished, always later; an invalid Favicon on failure.
        Q_INVOKABLE void downloadImage(const QString& url);

    signals:
        void urlChanged();
        void readyChanged();
        void stringResourceDownloadFinished(
            bool success, const QString& resourceUrl, const QString& resourceContent);
        void imageDownloadFinished(const Orvane::WebView::Favicon& image);

    private:
        QNetworkReply* get(const QUrl& url, qint64 maxBytes);
        static QImage decodeImage(const QByteArray& data, qint64 maxPixels);

        QNetworkAccessManager* m_network = nullptr;
        QUrl m_url;
        bool m_ready = true;
        qint64 m_maxTextBytes = defaultMaxTextBytes;
        qint64 m_maxImageBytes = defaultMaxImageBytes;
        qint64 m_maxImagePixels = defaultMaxImagePixels;
        int m_timeoutMs = defaultTimeoutMs;
    };

} // namespace WebView
} // namespace Orvane
