// Downloads against a loopback HTTP server, on real files and a real database.

#include "downloads/downloadmanager.h"
#include "downloads/downloadnaming.h"
#include "downloads/downloadproxymodel.h"
#include "storage/dbmanager.h"
#include "support/dbfileprobe.h"
#include "support/httpserver.h"
#include "support/tempprofile.h"

#include <QGuiApplication>
#include <QtTest>

#include <csignal>
#include <sys/resource.h>

namespace
{
// Bytes that differ from file to file, so that a piece in the wrong place shows.
QByteArray bytes(int size, int seed)
{
    QByteArray data(size, Qt::Uninitialized); // sizes are multiples of 4
    QRandomGenerator(seed).fillRange(reinterpret_cast<quint32*>(data.data()), size / 4);
    return data;
}

QByteArray fileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

const DownloadEntry& entry(int id)
{
    static const DownloadEntry none;
    const DownloadEntry* e = DownloadManager::instance()->model()->entry(id);
    return e ? *e : none;
}

// The stored rows as "file name|status", read back through storage once
// everything queued before has run.
QStringList storedRows()
{
    QSignalSpy spy(DBManager::instance(), &DBManager::downloadsAvailable);
    DBManager::instance()->getDownloads();
    if (!spy.wait(5000))
        return { QStringLiteral("no answer") };
    QStringList rows;
    for (const Download& d : spy.first().first().value<QList<Download>>())
        rows << QFileInfo(d.filePath).fileName() + QLatin1Char('|') + QString::number(d.status);
    return rows;
}

// One browser run of runningAtQuitIsPausedAfterRestart: "--child-start <url> <dir>" quits mid-download,
// "--child-resume" prints the downloads it loaded and resumes the first.
int runChild(const QStringList& args)
{
    DownloadManager* m = DownloadManager::instance();
    QTimer poll;
    if (args.value(1) == QLatin1String("--child-start")) {
        m->setDownloadDirectory(args.value(3));
        const int id = m->download(args.value(2));
        QObject::connect(&poll, &QTimer::timeout, [id] {
            // Quit as a user closing the browser mid-download would.
            if (!entry(id).path.isEmpty()
                && QFileInfo(DownloadNaming::partialPath(entry(id).path)).size() > 0)
                QCoreApplication::quit();
        });
        poll.start(5);
    } else {
        QObject::connect(m, &DownloadManager::loadedChanged, [m] {
            for (const DownloadEntry& e : m->model()->entries())
                printf("%d|%lld|%s\n", e.state, e.receivedBytes, qPrintable(QFileInfo(e.path).fileName()));
            m->resume(m->model()->entries().value(0).id);
        });
        QObject::connect(m, &DownloadManager::downloadFinished, [] { QCoreApplication::quit(); });
    }
    QTimer::singleShot(20000, [] { QCoreApplication::exit(1); });
    return QCoreApplication::exec();
}
} // namespace

// Stands in for QtWebEngine's WebEngineDownloadItem with the members the
// manager reaches by name.
class EngineItem : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QUrl url MEMBER url CONSTANT)
    Q_PROPERTY(QString mimeType MEMBER mimeType CONSTANT)
    Q_PROPERTY(DownloadState state MEMBER state NOTIFY stateChanged)
    Q_PROPERTY(bool isPaused MEMBER paused NOTIFY isPausedChanged)
    Q_PROPERTY(qint64 receivedBytes MEMBER received NOTIFY receivedBytesChanged)
    Q_PROPERTY(qint64 totalBytes MEMBER total NOTIFY receivedBytesChanged)
    Q_PROPERTY(QString downloadDirectory MEMBER directory)
    Q_PROPERTY(QString downloadFileName MEMBER fileName)
public:
    enum DownloadState { DownloadRequested, DownloadInProgress, DownloadCompleted };
    Q_ENUM(DownloadState)
    QUrl url = QUrl(QStringLiteral("https://h.example/get?id=1"));
    QString mimeType = QStringLiteral("application/pdf");
    DownloadState state = DownloadRequested;
    bool paused = false;
    qint64 received = 0, total = 1000;
    QString directory = QStringLiteral("/elsewhere"), fileName = QStringLiteral("report.pdf");
    QStringList calls;
public slots:
    void accept() { calls << QStringLiteral("accept"), state = DownloadInProgress; }
    void pause() { calls << QStringLiteral("pause"), paused = true, emit isPausedChanged(); }
    void resume() { calls << QStringLiteral("resume"), paused = false, emit isPausedChanged(); }
signals:
    void stateChanged();
    void isPausedChanged();
    void receivedBytesChanged();
};

class TestDownloadManager : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        m_profile.reset(new TempProfile);
        QVERIFY(m_server.start(true));
        m_manager = DownloadManager::instance();
        m_modelTester.reset(new QAbstractItemModelTester(
            m_manager->model(), QAbstractItemModelTester::FailureReportingMode::QtTest));
        m_proxyTester.reset(new QAbstractItemModelTester(
            m_manager->proxyModel(), QAbstractItemModelTester::FailureReportingMode::QtTest));
        QTRY_VERIFY(m_manager->isLoaded());
    }

    void init()
    {
        m_dir.reset(new QTemporaryDir);
        m_manager->setDownloadDirectory(m_dir->path());
    }

    void transfers_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("acceptRanges");
        QTest::addColumn<int>("dropAfter"); // the first connection breaks after this many bytes
        QTest::addColumn<bool>("pauseMidway");
        QTest::addColumn<bool>("redirect");
        QTest::addColumn<QByteArray>("lastRange"); // "=" + offset when the last request asks for the rest

        QTest::newRow("complete") << 200 << true << -1 << false << false << QByteArray();
        QTest::newRow("pause, resume by range") << 200 << true << -1 << true << false << QByteArray("=");
        QTest::newRow("pause, server without ranges")
            << 200 << false << -1 << true << false << QByteArray("=");
        QTest::newRow("connection lost, retry by range")
            << 200 << true << 400000 << false << false << QByteArray("=");
        QTest::newRow("redirect") << 200 << false << -1 << false << true << QByteArray();
        QTest::newRow("server error") << 500 << false << -1 << false << false << QByteArray();
    }

    void transfers()
    {
        QFETCH(int, status);
        QFETCH(bool, acceptRanges);
        QFETCH(int, dropAfter);
        QFETCH(bool, pauseMidway);
        QFETCH(bool, redirect);
        QFETCH(QByteArray, lastRange);

        const QByteArray data = bytes(768 * 1024, QTest::currentDataTag()[0]);
        const QByteArray path
            = "/files/" + QByteArray(QTest::currentDataTag()).replace(' ', '-').replace(",", "") + ".zip";
        HttpServer::Response response;
        response.status = status;
        response.body = data;
        response.contentType = "application/zip";
        response.acceptRanges = acceptRanges;
        response.dropAfterBytes = dropAfter;
        response.chunkBytes = 16 * 1024;
        response.chunkDelayMs = pauseMidway ? 20 : 0;
        m_server.route(path, response);
        if (redirect)
            m_server.redirect("/old-address", path);
        const int before = m_server.requests().size();

        const int id = m_manager->download(
            m_server.url(QString::fromLatin1(redirect ? "/old-address" : path)).toString());
        if (status >= 400) {
            QTRY_COMPARE(entry(id).state, int(DownloadModel::Failed));
            QVERIFY(entry(id).error.contains(QLatin1String("500")));
            QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files), QStringList()); // nothing half-written
            return;
        }
        if (pauseMidway) {
            QTRY_VERIFY(entry(id).receivedBytes > 0);
            m_manager->pause(id);
            QCOMPARE(entry(id).state, int(DownloadModel::Paused));
            const QString partial = DownloadNaming::partialPath(entry(id).path);
            // Every byte received before the pause reaches the file, and no more.
            const qint64 kept = entry(id).receivedBytes;
            QVERIFY(kept > 0 && kept < data.size());
            QTRY_COMPARE(QFileInfo(partial).size(), kept);
            QTest::qWait(100);
            QCOMPARE(QFileInfo(partial).size(), kept); // nothing arrives while paused
            QCOMPARE(data.left(kept), fileBytes(partial));
            m_manager->resume(id);
        }
        if (dropAfter >= 0) {
            QTRY_COMPARE(entry(id).state, int(DownloadModel::Failed));
            QCOMPARE(storedRows()
                         .filter(QFileInfo(entry(id).path).fileName())
                         .value(0)
                         .section(QLatin1Char('|'), 1),
                QStringLiteral("3"));
            m_manager->retry(id);
        }
        QTRY_COMPARE_WITH_TIMEOUT(entry(id).state, int(DownloadModel::Finished), 20000);

        const QString file = entry(id).path;
        QCOMPARE(QFileInfo(file).fileName(), QString::fromLatin1(path.mid(7)));
        QVERIFY(fileBytes(file) == data);
        QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files), QStringList({ QFileInfo(file).fileName() }));
        QCOMPARE(storedRows().filter(QFileInfo(file).fileName()),
            QStringList(QFileInfo(file).fileName() + QStringLiteral("|2")));
        // The network stack may send a broken-off request again by itself; what
        // counts is whether the rest was asked for by range.
        const QList<HttpServer::Request> requests = m_server.requests().mid(before);
        const auto ranged = std::count_if(requests.cbegin(), requests.cend(),
            [](const HttpServer::Request& r) { return r.headers.contains("range"); });
        QCOMPARE(int(ranged), lastRange.isEmpty() ? 0 : 1);
        QCOMPARE(requests.last().headers.value("range").left(6),
            lastRange.isEmpty() ? QByteArray() : QByteArray("bytes="));
        QCOMPARE(requests.last().path, path);
    }

    void writeFailuresPauseAndResume_data()
    {
        QTest::addColumn<bool>("diskFull");
        QTest::addColumn<QString>("error");
        QTest::newRow("directory cannot be made") << false << QStringLiteral("Cannot write to ");
        QTest::newRow("disk full") << true << QStringLiteral("Could not save the file: ");
    }

    void writeFailuresPauseAndResume()
    {
        QFETCH(bool, diskFull);
        QFETCH(QString, error);
        const QByteArray data = bytes(4 * 1024 * 1024, diskFull);
        HttpServer::Response response;
        response.body = data;
        response.acceptRanges = true;
        const QString name = diskFull ? QStringLiteral("full.bin") : QStringLiteral("nodir.bin");
        m_server.route('/' + name.toLatin1(), response);
        // A plain file where the directory should be; tests run as root, so
        // permissions alone would not stop the write.
        const QString blocker = m_dir->filePath(QStringLiteral("blocker"));
        QVERIFY(QFile(blocker).open(QIODevice::WriteOnly));
        if (!diskFull)
            m_manager->setDownloadDirectory(blocker + QStringLiteral("/sub"));
        rlimit saved {};
        getrlimit(RLIMIT_FSIZE, &saved);
        struct Restore {
            rlimit* r;
            ~Restore() { setrlimit(RLIMIT_FSIZE, r); }
        } restore { &saved }; // also when a check fails, or children would inherit the limit
        if (diskFull) {
            // Files of this process may grow to 1 MiB: a disk that fills up mid-way.
            std::signal(SIGXFSZ, SIG_IGN);
            rlimit limit = saved;
            limit.rlim_cur = 1024 * 1024;
            QVERIFY(setrlimit(RLIMIT_FSIZE, &limit) == 0);
        }
        const int id = m_manager->download(m_server.url(QLatin1Char('/') + name).toString());
        QTRY_COMPARE(entry(id).state, int(DownloadModel::Paused));
        setrlimit(RLIMIT_FSIZE, &saved);
        QVERIFY2(entry(id).error.startsWith(error), qPrintable(entry(id).error));
        const QModelIndex row = m_manager->model()->index(m_manager->model()->rowOf(id));
        QCOMPARE(row.data(DownloadModel::ErrorRole).toString(), entry(id).error);
        const qint64 kept = QFileInfo(DownloadNaming::partialPath(entry(id).path)).size();
        QCOMPARE(entry(id).receivedBytes, kept);
        QCOMPARE(kept, diskFull ? 1024 * 1024 : 0);

        QFile::remove(blocker); // the user makes room
        m_manager->resume(id);
        QTRY_COMPARE_WITH_TIMEOUT(entry(id).state, int(DownloadModel::Finished), 20000);
        QVERIFY(entry(id).error.isEmpty());
        QVERIFY(fileBytes(entry(id).path) == data);
        QCOMPARE(m_server.requests().last().headers.value("range"),
            diskFull ? QByteArray("bytes=1048576-") : QByteArray());
        QCOMPARE(storedRows().filter(name), QStringList(name + QStringLiteral("|2")));
    }

    void cancelAndRemove()
    {
        HttpServer::Response slow;
        slow.body = bytes(512 * 1024, 7);
        slow.chunkBytes = 8 * 1024;
        slow.chunkDelayMs = 20;
        m_server.route("/slow.pdf", slow);
        m_server.route("/quick.pdf", "%PDF-1.4", "application/pdf");
        const int cancelled = m_manager->download(m_server.url(QStringLiteral("/slow.pdf")).toString());
        const int finished = m_manager->download(m_server.url(QStringLiteral("/quick.pdf")).toString());
        QTRY_COMPARE(entry(finished).state, int(DownloadModel::Finished));
        QTRY_VERIFY(entry(cancelled).receivedBytes > 0);
        m_manager->cancel(cancelled);
        QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files), QStringList(QStringLiteral("quick.pdf")));
        QCOMPARE(storedRows().filter(QStringLiteral("slow")), QStringList(QStringLiteral("slow.pdf|4")));

        m_manager->removeFinished(); // leaves the file, drops the row
        QVERIFY(!m_manager->model()->entry(finished));
        QVERIFY(QFile::exists(m_dir->filePath(QStringLiteral("quick.pdf"))));
        m_manager->clear();
        QVERIFY(!m_manager->model()->entry(cancelled));
        QCOMPARE(storedRows().filter(QStringLiteral("slow")) + storedRows().filter(QStringLiteral("quick")),
            QStringList());
    }

    void engineDownloadIsNamedAndMirrored()
    {
        QVERIFY(QFile(m_dir->filePath(QStringLiteral("report.pdf"))).open(QIODevice::WriteOnly));
        EngineItem item;
        const int id = m_manager->trackEngineDownload(&item);
        QCOMPARE(
            QDir(item.directory).filePath(item.fileName), m_dir->filePath(QStringLiteral("report (1).pdf")));
        QCOMPARE(entry(id).kind, QStringLiteral("document"));
        m_manager->pause(id);
        QCOMPARE(entry(id).state, int(DownloadModel::Paused));
        m_manager->resume(id);
        QCOMPARE(item.calls,
            QStringList({ QStringLiteral("accept"), QStringLiteral("pause"), QStringLiteral("resume") }));
        item.received = 1000, item.state = EngineItem::DownloadCompleted;
        emit item.stateChanged();
        QCOMPARE(entry(id).state, int(DownloadModel::Finished));
        QCOMPARE(entry(id).receivedBytes, 1000);
        QCOMPARE(
            storedRows().filter(QStringLiteral("report")), QStringList(QStringLiteral("report (1).pdf|2")));
    }

    void runningAtQuitIsPausedAfterRestart()
    {
        TempProfile profile; // both browser runs share this one
        const QByteArray data = bytes(2 * 1024 * 1024, 3);
        HttpServer::Response response;
        response.body = data;
        response.acceptRanges = true;
        response.chunkBytes = 16 * 1024;
        response.chunkDelayMs = 5;
        m_server.route("/restart.iso", response);
        const QString dir = m_dir->path();
        const auto run = [](const QStringList& args, QByteArray* out) {
            QProcess child;
            child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
            child.start(QCoreApplication::applicationFilePath(), args);
            const bool ok = child.waitForFinished(30000) && child.exitStatus() == QProcess::NormalExit
                && child.exitCode() == 0;
            *out = child.readAllStandardOutput();
            return ok;
        };
        QByteArray out;
        QVERIFY(run(
            { QStringLiteral("--child-start"), m_server.url(QStringLiteral("/restart.iso")).toString(), dir },
            &out));
        const QString partial = QDir(dir).filePath(QStringLiteral("restart.iso.part"));
        const qint64 kept = QFileInfo(partial).size();
        QVERIFY(kept > 0 && kept < data.size());

        QVERIFY(run({ QStringLiteral("--child-resume") }, &out));
        QCOMPARE(out, QStringLiteral("1|%1|restart.iso\n").arg(kept).toUtf8()); // Paused, with its bytes
        QVERIFY(fileBytes(QDir(dir).filePath(QStringLiteral("restart.iso"))) == data);
        QVERIFY(!QFile::exists(partial));
        QCOMPARE(
            m_server.requests().last().headers.value("range"), "bytes=" + QByteArray::number(kept) + '-');
        DbFileProbe db(profile.databasePath());
        QCOMPARE(sqlRows(db.database(), QStringLiteral("SELECT status FROM downloads;")),
            QStringList(QStringLiteral("2")));
    }

private:
    QScopedPointer<TempProfile> m_profile;
    HttpServer m_server;
    QScopedPointer<QTemporaryDir> m_dir;
    DownloadManager* m_manager = nullptr;
    QScopedPointer<QAbstractItemModelTester> m_modelTester;
    QScopedPointer<QAbstractItemModelTester> m_proxyTester;
};

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("ru.nuvo"));
    QCoreApplication::setApplicationName(QStringLiteral("webdeck"));
    const QStringList args = app.arguments();
    if (args.value(1).startsWith(QLatin1String("--child-")))
        return runChild(args);
    TestDownloadManager test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_downloadmanager.moc"
