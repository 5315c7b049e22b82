// Thumbnails of a real QML item, rendered offscreen, decoded back.

#include "startup/qmltypes.h"
#include "support/logcapture.h"

#include <QBuffer>
#include <QQmlError>
#include <QQuickItem>
#include <QQuickView>
#include <QtTest>

class TestScreenshotUtils : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void capture_data();
    void capture();

private:
    QScopedPointer<QQuickView> m_view; // made once the software scene graph is chosen
};

namespace
{
const char* const scene = R"(
import QtQuick 2.15
import BrowserInternal 1.0
Item {
    width: 300; height: 200
    property var results: []
    Rectangle { id: page; width: 162; height: 81; color: "steelblue"; Text { text: "webdeck" } }
    Rectangle { id: collapsed; width: 0; height: 50 }
    Connections {
        target: ScreenshotUtils
        function onScreenshotReady(base64Image) { results = results.concat([base64Image]) }
    }
    function capture(which, highQuality) {
        ScreenshotUtils.captureScreenshot(which === "page" ? page : which === "collapsed" ? collapsed : null,
                                          highQuality)
    }
}
)";

// The first quantisation table of a JPEG: it is what the quality setting changes.
QByteArray quantisation(const QByteArray& jpeg)
{
    const int at = jpeg.indexOf("\xff\xdb");
    return at < 0 ? QByteArray() : jpeg.mid(at + 5, 64);
}

int qualityOf(const QByteArray& jpeg)
{
    for (int quality : { 97, 70 }) {
        QImage probe(16, 16, QImage::Format_RGB32);
        probe.fill(Qt::gray);
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        probe.save(&buffer, "JPEG", quality);
        if (quantisation(buffer.data()) == quantisation(jpeg))
            return quality;
    }
    return -1;
}
} // namespace

void TestScreenshotUtils::initTestCase()
{
    QQuickWindow::setSceneGraphBackend(QSGRendererInterface::Software);
    registerQmlTypes();
    m_view.reset(new QQuickView);
    QTemporaryFile qml(QDir::tempPath() + QStringLiteral("/sceneXXXXXX.qml"));
    QVERIFY(qml.open() && qml.write(scene) > 0 && qml.flush());
    m_view->setSource(QUrl::fromLocalFile(qml.fileName()));
    QVERIFY2(m_view->rootObject(),
        qPrintable(m_view->errors().isEmpty() ? QString() : m_view->errors().first().toString()));
    m_view->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_view.data()));
}

void TestScreenshotUtils::capture_data()
{
    QTest::addColumn<QString>("item");
    QTest::addColumn<QList<bool>>("highQuality");
    QTest::addColumn<QStringList>("images"); // "<width>x<height> q<quality>", sorted
    const QString full = QStringLiteral("162x81 q97"), thumbnail = QStringLiteral("100x50 q70");
    QTest::newRow("high quality") << QStringLiteral("page") << QList<bool> { true } << QStringList { full };
    QTest::newRow("thumbnail") << QStringLiteral("page") << QList<bool> { false }
                               << QStringList { thumbnail };
    QTest::newRow("overlapping") << QStringLiteral("page") << QList<bool> { false, true, false }
                                 << QStringList { thumbnail, thumbnail, full };
    QTest::newRow("zero width") << QStringLiteral("collapsed") << QList<bool> { true } << QStringList();
    QTest::newRow("missing item") << QStringLiteral("none") << QList<bool> { false } << QStringList();
}

void TestScreenshotUtils::capture()
{
    QFETCH(QString, item);
    QFETCH(QList<bool>, highQuality);
    QFETCH(QStringList, images);
    QObject* root = m_view->rootObject();
    root->setProperty("results", QVariantList());
    LogCapture log("browser.app.screenshot");
    for (bool high : highQuality)
        QMetaObject::invokeMethod(root, "capture", Q_ARG(QVariant, item), Q_ARG(QVariant, high));
    if (!images.isEmpty())
        QTRY_COMPARE(root->property("results").toList().size(), images.size());
    QTest::qWait(300); // no late or extra signal
    const QVariantList results = root->property("results").toList();
    QStringList seen;
    for (const QVariant& result : results) {
        const QString url = result.toString();
        QVERIFY2(url.startsWith(QLatin1String("data:image/jpeg;base64,")), qPrintable(url.left(40)));
        const QByteArray jpeg = QByteArray::fromBase64(url.mid(23).toLatin1());
        const QImage image = QImage::fromData(jpeg, "JPEG");
        seen << QStringLiteral("%1x%2 q%3").arg(image.width()).arg(image.height()).arg(qualityOf(jpeg));
    }
    seen.sort();
    QCOMPARE(seen, images);
    const QString empty
        = QStringLiteral("void ScreenshotUtils::captureScreenshot(QQuickItem*, bool) m_grab is empty");
    QCOMPARE(log.messages(QtWarningMsg), images.isEmpty() ? QStringList { empty } : QStringList());
}

QTEST_MAIN(TestScreenshotUtils)
#include "tst_screenshotutils.moc"
