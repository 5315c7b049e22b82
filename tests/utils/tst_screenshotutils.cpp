// Thumbnails of a real QML item, rendered offscreen, decoded back.

#include "startup/qmltypes.h"
#include "support/logcapture.h"

#include <QQuickItem>
#include <QQuickView>
#include <QtTest>

class TestScreenshotUtils : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QQuickWindow::setSceneGraphBackend(QSGRendererInterface::Software);
        registerQmlTypes();
        QVERIFY(m_qml.open() && m_qml.write(R"(
import QtQuick 2.15
import BrowserInternal 1.0
Item {
    width: 300; height: 200
    property var results: []
    Rectangle { id: page; width: 162; height: 81; color: "steelblue"; Text { text: "webdeck" } }
    Rectangle { id: collapsed; width: 0; height: 50 }
    Connections { target: ScreenshotUtils; function onScreenshotReady(image) { results = results.concat([image]) } }
    function capture(which, high) {
        ScreenshotUtils.captureScreenshot(which === "page" ? page : which === "collapsed" ? collapsed : null, high)
    }
})") > 0 && m_qml.flush());
        m_view.reset(new QQuickView(QUrl::fromLocalFile(m_qml.fileName())));
        QVERIFY(m_view->rootObject());
        m_view->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_view.data()));
    }
    void capture_data()
    {
        QTest::addColumn<QString>("item");
        QTest::addColumn<QList<bool>>("highQuality");
        // Sorted "<width>x<height> q<first luminance quantiser>": 1 at JPEG quality 97, 10 at 70.
        QTest::addColumn<QStringList>("images");
        const QString full = QStringLiteral("162x81 q1"), thumbnail = QStringLiteral("100x50 q10");
        QTest::newRow("overlapping") << QStringLiteral("page") << QList<bool> { false, true, false }
                                     << QStringList { thumbnail, thumbnail, full };
        QTest::newRow("zero width") << QStringLiteral("collapsed") << QList<bool> { true } << QStringList();
        QTest::newRow("missing item") << QStringLiteral("none") << QList<bool> { false } << QStringList();
    }
    void capture()
    {
        QFETCH(QString, item);
        QFETCH(QList<bool>, highQuality);
        QFETCH(QStringList, images);
        QQuickItem* root = m_view->rootObject();
        root->setProperty("results", QVariantList());
        LogCapture log("browser.app.screenshot");
        for (bool high : highQuality)
            QMetaObject::invokeMethod(root, "capture", Q_ARG(QVariant, item), Q_ARG(QVariant, high));
        if (!images.isEmpty())
            QTRY_COMPARE(root->property("results").toList().size(), images.size());
        QTest::qWait(300); // no late or extra signal
        QStringList seen;
        for (const QVariant& result : root->property("results").toList()) {
            const QString url = result.toString();
            QVERIFY2(url.startsWith(QLatin1String("data:image/jpeg;base64,")), qPrintable(url.left(40)));
            const QByteArray jpeg = QByteArray::fromBase64(url.mid(23).toLatin1());
            const QImage image = QImage::fromData(jpeg, "JPEG");
            const int quantiser = jpeg.at(jpeg.indexOf("\xff\xdb") + 5);
            seen << QStringLiteral("%1x%2 q%3").arg(image.width()).arg(image.height()).arg(quantiser);
        }
        seen.sort();
        QCOMPARE(seen, images);
        const QString empty
            = QStringLiteral("void ScreenshotUtils::captureScreenshot(QQuickItem*, bool) m_grab is empty");
        QCOMPARE(log.messages(QtWarningMsg), images.isEmpty() ? QStringList { empty } : QStringList());
    }

private:
    QScopedPointer<QQuickView> m_view; // made once the software scene graph is chosen
    QTemporaryFile m_qml { QDir::tempPath() + QStringLiteral("/sceneXXXXXX.qml") };
};

QTEST_MAIN(TestScreenshotUtils)
#include "tst_screenshotutils.moc"
