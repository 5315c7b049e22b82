#include "screenshotutils.h"

#include "logcategories.h"

#include <QBuffer>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickItemGrabResult>
#include <QThread>
#include <QThreadPool>
#include <QTimer>

ScreenshotUtils::ScreenshotUtils(QObject* parent)
    : QObject(parent)
{
}

ScreenshotUtils* ScreenshotUtils::instance()
{
    static ScreenshotUtils* utils = new ScreenshotUtils;
    return utils;
}

QObject* ScreenshotUtils::qmlInstance(QQmlEngine* engine, QJSEngine* scriptEngine)
{
    Q_UNUSED(engine)
    Q_UNUSED(scriptEngine)
    ScreenshotUtils* utils = instance();
    QQmlEngine::setObjectOwnership(utils, QQmlEngine::CppOwnership);
    return utils;
}

void ScreenshotUtils::captureScreenshot(QQuickItem* item, bool highQuality)
{
    // A missing or empty item logs the same line as a failed grab: either way
    // the front end asked for a thumbnail that will not come.
    m_grab.reset();
    if (item && item->width() > 0 && item->height() > 0)
        m_grab = item->grabToImage();
    if (!m_grab) {
        qCWarning(lcScreenshot) << Q_FUNC_INFO << "m_grab is empty";
        return;
    }
    QQuickItemGrabResult* grab = m_grab.data();
    m_pending.insert(grab, m_grab);
    connect(grab, &QQuickItemGrabResult::ready, this,
        [this, grab, highQuality]() { grabReady(grab, highQuality); });
}

void ScreenshotUtils::grabReady(QQuickItemGrabResult* grab, bool highQuality)
{
    const QImage image = grab->image();
    // Released from the event loop: the grab is still emitting its signal here.
    QTimer::singleShot(0, this, [this, grab]() { m_pending.remove(grab); });
    if (image.isNull())
        return;
    const qreal factor = highQuality ? 1.0 : 1.618;
    const QSize target(qRound(image.width() / factor), qRound(image.height() / factor));
    const QImage scaled = image.scaled(target, Qt::KeepAspectRatio, Qt::SmoothTransformation);

    QThreadPool* pool = QThreadPool::globalInstance();
    pool->setMaxThreadCount(QThread::idealThreadCount());
    pool->start([this, scaled, highQuality]() {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        scaled.save(&buffer, "JPEG", highQuality ? 97 : 70);
        emit screenshotReady(
            QStringLiteral("data:image/jpeg;base64,") + QString::fromLatin1(bytes.toBase64()));
    });
}
