#pragma once

#include <QHash>
#include <QObject>
#include <QSharedPointer>

class QJSEngine;
class QQmlEngine;
class QQuickItem;
class QQuickItemGrabResult;

// Turns a QML item into a JPEG data URL, the form in which tab thumbnails are
// stored, without blocking the user interface: the scene graph grabs, the
// global thread pool encodes.
class ScreenshotUtils : public QObject
{
    Q_OBJECT
public:
    static ScreenshotUtils* instance();
    static QObject* qmlInstance(QQmlEngine* engine, QJSEngine* scriptEngine);

    // A thumbnail (shrunk by 1.618, JPEG quality 70) or, with highQuality, the
    // item at its own size at quality 97. Every capture of a visible item of
    // non-zero size ends in its own screenshotReady().
    Q_INVOKABLE void captureScreenshot(QQuickItem* item, bool highQuality);

signals:
    // "data:image/jpeg;base64,..."; emitted from a pool thread.
    void screenshotReady(QString base64Image);

private:
    explicit ScreenshotUtils(QObject* parent = nullptr);
    void grabReady(QQuickItemGrabResult* grab, bool highQuality);

    QSharedPointer<QQuickItemGrabResult> m_grab;
    // Earlier grabs still waiting for the scene graph; each must live until its
    // own ready signal, whatever later captures do to m_grab.
    QHash<QQuickItemGrabResult*, QSharedPointer<QQuickItemGrabResult>> m_pending;
};
