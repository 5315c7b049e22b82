#pragma once

#include <QImage>
#include <QMetaType>
#include <QUrl>

namespace Orvane
{
namespace WebView
{

    // An image the web view fetched for a URL; a failed or refused download
    // gives an invalid one (null image) that still names its URL.
    class Favicon
    {
    public:
        Favicon() = default;
        Favicon(const QUrl& url, const QImage& image)
            : m_url(url)
            , m_image(image)
        {
        }

        QUrl url() const { return m_url; }
        QImage image() const { return m_image; }
        bool isValid() const { return !m_image.isNull(); }

    private:
        QUrl m_url;
        QImage m_image;
    };

} // namespace WebView
} // namespace Orvane

Q_DECLARE_METATYPE(Orvane::WebView::Favicon)
