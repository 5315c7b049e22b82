// Cost of installing a web app: from PwaManager::install to installationFinished,
// against a loopback site whose manifest lists 20 icons (48 to 1024 pixels),
// with the fake package manager on a private D-Bus daemon answering at once.
// Memory is the peak resident set during the installs above the idle process.
//
// Usage: bench_pwainstall [runs]

#include "support/fakepackagemanager.h"
#include "support/httpserver.h"
#include "support/privatebus.h"
#include "support/tempprofile.h"

#include "pwa/pwamanager.h"

#include <application.h>
#include <webview.h>

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QSignalSpy>
#include <QTextStream>
#include <algorithm>

namespace
{
QTextStream out(stdout);

qint64 statusKb(const char* field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    status.open(QIODevice::ReadOnly);
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(field))
            return line.mid(int(qstrlen(field))).trimmed().split(' ').value(0).toLongLong();
    }
    return -1;
}

QByteArray png(int size, int seed)
{
    QImage image(size, size, QImage::Format_ARGB32);
    // Not a flat colour, so that decoding and scaling do real work.
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x)
            image.setPixel(x, y, qRgba((x * 7 + seed) & 255, (y * 3) & 255, (x ^ y) & 255, 255));
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return data;
}
} // namespace

int main(int argc, char** argv)
{
    TempProfile profile;
    PrivateBus bus;
    QCoreApplication app(argc, argv);
    // As on a device: debug lines off, so that the terminal is not what is measured.
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false"));
    const int runs = argc > 1 ? QByteArray(argv[1]).toInt() : 15;
    if (!bus.isValid()) {
        out << "no private bus: " << bus.errorString() << Qt::endl;
        return 1;
    }
    FakePackageManager apm(bus.address());
    if (!apm.start()) {
        out << "fake package manager: " << apm.errorString() << Qt::endl;
        return 1;
    }
    HttpServer server;
    if (!server.start(true))
        return 1;

    const int sizes[]
        = { 48, 72, 96, 128, 144, 152, 167, 180, 192, 256, 384, 512, 1024, 64, 120, 160, 200, 310, 440, 600 };
    QJsonArray icons;
    int index = 0;
    for (int size : sizes) {
        const QByteArray path = "/app/icons/icon-" + QByteArray::number(index++) + ".png";
        server.route(path, png(size, index), "image/png");
        icons.append(QJsonObject { { QStringLiteral("src"), QString::fromLatin1(path) },
            { QStringLiteral("sizes"), QStringLiteral("%1x%1").arg(size) } });
    }
    const QJsonObject manifest { { QStringLiteral("name"), QStringLiteral("Bench") },
        { QStringLiteral("start_url"), QStringLiteral("/app/") },
        { QStringLiteral("display"), QStringLiteral("standalone") }, { QStringLiteral("icons"), icons } };
    server.route("/app/manifest.json", QJsonDocument(manifest).toJson(), "application/manifest+json");

    Orvane::WebView::WebView view;
    PwaManager* manager = PwaManager::instance();
    const QString base = server.url(QStringLiteral("/app/index.html")).toString();
    const QString manifestUrl = server.url(QStringLiteral("/app/manifest.json")).toString();
    const QString pwas
        = Orvane::Application::getPath(Orvane::Application::AppDataPath) + QStringLiteral("/PWAs");

    // One install to warm up the connections, plugins and the D-Bus meta-objects.
    auto install = [&]() -> qint64 {
        QDir(pwas).removeRecursively();
        QSignalSpy finished(manager, &PwaManager::installationFinished);
        QElapsedTimer timer;
        timer.start();
        manager->install(&view, base, manifestUrl);
        if (!finished.wait(30000) || finished.at(0).at(2).toInt() != PwaManager::SUCCESS)
            return -1;
        return timer.nsecsElapsed();
    };
    // Idle: everything set up, nothing installed yet. The peak is reset here,
    // so it covers the first install's one-time costs too.
    const qint64 idleKb = statusKb("VmRSS:");
    QFile clearRefs(QStringLiteral("/proc/self/clear_refs"));
    if (clearRefs.open(QIODevice::WriteOnly))
        clearRefs.write("5");
    clearRefs.close();
    if (install() < 0) {
        out << "install failed" << Qt::endl;
        return 1;
    }

    QVector<qint64> times;
    for (int i = 0; i < runs; ++i) {
        const qint64 ns = install();
        if (ns < 0) {
            out << "install failed" << Qt::endl;
            return 1;
        }
        times << ns;
    }
    std::sort(times.begin(), times.end());
    const qint64 peakKb = statusKb("VmHWM:");
    out << "icons: 20, runs: " << runs << ", Install calls: " << apm.calls(QStringLiteral("Install")).size()
        << Qt::endl;
    out << "install to installationFinished, median: "
        << QString::number(times[times.size() / 2] / 1e6, 'f', 1) << " ms (min "
        << QString::number(times.first() / 1e6, 'f', 1) << ", max "
        << QString::number(times.last() / 1e6, 'f', 1) << "; goal < 300 ms)" << Qt::endl;
    out << "peak memory above idle: " << QString::number((peakKb - idleKb) / 1024.0, 'f', 1) << " MB (idle "
        << QString::number(idleKb / 1024.0, 'f', 1) << " MB; goal < 50 MB)" << Qt::endl;
    return 0;
}
