// A 200 MB download from a loopback server running on its own thread: our
// transfer against curl on the same URL in the same run, and the longest time
// the GUI thread is kept from a 1 ms timer meanwhile.
//
//   bench_downloads [runs] [megabytes]      (defaults 5 and 200)

#include "downloads/downloadmanager.h"
#include "support/httpserver.h"
#include "support/tempprofile.h"

#include "benchsupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QLoggingCategory>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>

#include <algorithm>
#include <vector>

namespace
{
// The longest lateness of a 1 ms timer on this thread while `run` goes on.
struct StallProbe {
    QTimer timer;
    QElapsedTimer tick;
    qint64 worstNs = 0;
    StallProbe()
    {
        timer.setTimerType(Qt::PreciseTimer);
        timer.setInterval(1);
        QObject::connect(&timer, &QTimer::timeout, [this] {
            worstNs = std::max(worstNs, tick.nsecsElapsed() - 1000000);
            tick.restart();
        });
        tick.start();
        timer.start();
    }
    double worstMs() const { return worstNs / 1e6; }
};

// Seconds for curl to fetch the URL into a file, and the same timer's longest
// lateness meanwhile: what the loaded machine alone does to this thread.
std::pair<double, double> curlSeconds(const QUrl& url, const QString& file)
{
    QEventLoop loop;
    QProcess curl;
    QObject::connect(
        &curl, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), &loop, &QEventLoop::quit);
    QElapsedTimer clock;
    clock.start();
    StallProbe probe;
    curl.start(QStringLiteral("curl"), { QStringLiteral("-s"), QStringLiteral("-o"), file, url.toString() });
    loop.exec();
    const double seconds = clock.nsecsElapsed() / 1e9;
    return { curl.exitCode() == 0 ? seconds : -1, probe.worstMs() };
}

// Seconds for the download manager, and the GUI thread's longest stall in ms.
std::pair<double, double> oursSeconds(DownloadManager* manager, const QUrl& url, qint64 size)
{
    QEventLoop loop;
    QElapsedTimer clock;
    int id = -1;
    bool ok = false;
    const auto finished = QObject::connect(manager, &DownloadManager::downloadFinished, [&](int done) {
        if (done == id) {
            ok = manager->model()->entry(id)->receivedBytes == size;
            loop.quit();
        }
    });
    const auto failed = QObject::connect(manager, &DownloadManager::downloadFailed, &loop, &QEventLoop::quit);
    clock.start();
    StallProbe probe;
    id = manager->download(url.toString());
    loop.exec();
    const double seconds = clock.nsecsElapsed() / 1e9;
    QObject::disconnect(finished);
    QObject::disconnect(failed);
    QFile::remove(manager->model()->entry(id)->path);
    manager->remove(id);
    return { ok ? seconds : -1, probe.worstMs() };
}
} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("ru.nuvo"));
    QCoreApplication::setApplicationName(QStringLiteral("webdeck"));
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\nbrowser.app.*.info=false"));
    const int runs = argc > 1 ? QByteArray(argv[1]).toInt() : 5;
    const qint64 megabytes = argc > 2 ? QByteArray(argv[2]).toInt() : 200;
    const qint64 size = megabytes * 1000 * 1000;

    TempProfile profile;
    QTemporaryDir dir;
    HttpServer server;
    HttpServer::Response response;
    response.body = QByteArray(int(size), 'x');
    for (qint64 i = 0; i < size; i += 4096)
        response.body[int(i)] = char(i / 4096);
    response.contentType = "application/octet-stream";
    response.chunkBytes = 256 * 1024;
    server.route("/big.bin", response);
    if (!server.start(true))
        return 1;
    DownloadManager* manager = DownloadManager::instance();
    manager->setDownloadDirectory(dir.path());
    const QUrl url = server.url(QStringLiteral("/big.bin"));

    std::vector<double> curl, ours, stalls, baseline;
    QTextStream out(stdout);
    for (int i = 0; i < runs; ++i) {
        const auto [curlTime, noise] = curlSeconds(url, dir.filePath(QStringLiteral("curl.bin")));
        curl.push_back(curlTime);
        baseline.push_back(noise);
        QFile::remove(dir.filePath(QStringLiteral("curl.bin")));
        const auto [seconds, stall] = oursSeconds(manager, url, size);
        ours.push_back(seconds);
        stalls.push_back(stall);
        out << "run " << i + 1 << ": curl " << curl.back() << " s, ours " << seconds
            << " s, longest GUI stall " << stall << " ms (idle thread during curl: " << noise << " ms)"
            << Qt::endl;
    }
    const double mb = size / 1e6;
    out << "median: curl " << mb / median(curl) << " MB/s, ours " << mb / median(ours) << " MB/s, ratio "
        << median(curl) / median(ours) << " (goal >= 0.8); longest GUI stall " << median(stalls)
        << " ms (goal < 4 ms), worst run " << *std::max_element(stalls.begin(), stalls.end())
        << " ms; idle thread during curl " << median(baseline) << " ms" << Qt::endl;
    return 0;
}
