// How downloads are named, classified and listed by day.

#include "downloads/downloadkind.h"
#include "downloads/downloadmodel.h"
#include "downloads/downloadnaming.h"
#include "downloads/downloadproxymodel.h"

#include <QtTest>

class TestDownloadFiles : public QObject
{
    Q_OBJECT
private slots:
    void naming_data()
    {
        QTest::addColumn<QByteArray>("disposition");
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("contentType");
        QTest::addColumn<QStringList>("existing"); // files already in the directory
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* tag, const QByteArray& disposition, const QString& expected,
                             const char* url = "http://h.example/get?id=3", const char* type = "",
                             const QStringList& existing = {}) {
            QTest::newRow(tag) << disposition << QString::fromUtf8(url) << QString::fromUtf8(type) << existing
                               << expected;
        };
        const QByteArray cd = "attachment; filename";
        row("quoted", cd + "=\"report.pdf\"", QStringLiteral("report.pdf"));
        row("rfc5987 wins", cd + "=\"fallback.txt\"; filename*=UTF-8''%E2%82%AC%20rates.pdf",
            QStringLiteral("\u20ac rates.pdf"));
        row("raw utf-8", cd + "=\"\xd0\xbf\xd1\x80.txt\"", QStringLiteral("\u043f\u0440.txt"));
        row("escapes and semicolon", "inline; filename=\"a \\\"b\\\";c.txt\"", QStringLiteral("a _b_;c.txt"));
        row("traversal", cd + "=\"../../etc/passwd\"", QStringLiteral("_.._etc_passwd"));
        row("dots only, no name in url", cd + "=\"..\"", QStringLiteral("download.txt"),
            "http://h.example/dir/", "text/plain");
        row("control characters", cd + "=\"a\tb\x01\x7f.txt\"", QStringLiteral("a_b__.txt"));
        row("device name", cd + "=\"CON.txt\"", QStringLiteral("_CON.txt"));
        row("hidden", cd + "=\" .bashrc \"", QStringLiteral("bashrc"));
        row("url, percent-encoded", {}, QStringLiteral("my file_x.zip"),
            "http://h.example/f/my%20file%2Fx.zip?x=1");
        row("suffix from type", {}, QStringLiteral("download.pdf"), "http://h.example/",
            "application/pdf; q=1");
        row("long, keeps extension", cd + "=\"" + QByteArray(300, 'a') + ".pdf\"",
            QString(236, QLatin1Char('a')) + QStringLiteral(".pdf"));
        row("long multibyte, whole characters",
            cd + "*=UTF-8''" + QString(200, QChar(0x044f)).toUtf8().toPercentEncoding() + ".txt",
            QString(118, QChar(0x044f)) + QStringLiteral(".txt"));
        row("clash with a file and a partial file", cd + "=report.pdf", QStringLiteral("report (2).pdf"),
            "http://h.example/", "", { QStringLiteral("report.pdf"), QStringLiteral("report (1).pdf.part") });
        row("clash, compound suffix", {}, QStringLiteral("src (1).tar.gz"), "http://h.example/src.tar.gz", "",
            { QStringLiteral("src.tar.gz") });
    }

    void naming()
    {
        QFETCH(QByteArray, disposition);
        QFETCH(QString, url);
        QFETCH(QString, contentType);
        QFETCH(QStringList, existing);
        QFETCH(QString, expected);
        QTemporaryDir dir;
        for (const QString& name : existing) {
            QFile file(dir.filePath(name));
            QVERIFY(file.open(QIODevice::WriteOnly));
        }
        const QString path = DownloadNaming::uniquePath(
            dir.path(), DownloadNaming::suggestedName(disposition, QUrl(url), contentType));
        QCOMPARE(QFileInfo(path).fileName(), expected);
        QCOMPARE(QFileInfo(path).absolutePath(), QFileInfo(dir.path()).absoluteFilePath());
        QVERIFY(QFile(path).open(QIODevice::WriteOnly)); // the file system takes it
    }

    void classification_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("contentType");
        QTest::addColumn<QString>("kind");
        const auto row = [](const char* name, const char* type, const char* kind) {
            QTest::newRow(QByteArray(QByteArray(name) + " " + type).constData())
                << QString::fromUtf8(name) << QString::fromUtf8(type) << QString::fromUtf8(kind);
        };
        row("report.pdf", "", "document");
        row("photo.JPG", "", "image");
        row("clip.mp4", "", "video");
        row("song.mp3", "", "audio");
        row("novel.epub", "", "book"); // a zip underneath
        row("bundle.zip", "", "archive");
        row("src.tar.gz", "", "archive");
        row("app.apk", "", "application"); // a zip underneath
        row("data.bin", "application/octet-stream", "other");
        row("get.php", "image/jpeg", "image"); // the type beats the name
        row("movie.mkv", "application/octet-stream", "video"); // a generic type defers to the name
        row("file.xyz", "application/x-no-such-type", "other");
    }

    void classification()
    {
        QFETCH(QString, name);
        QFETCH(QString, contentType);
        QFETCH(QString, kind);
        QCOMPARE(DownloadKind::classify(name, contentType), kind);
    }

    void groupingAndFilters_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("search");
        QTest::addColumn<QString>("expected"); // "group: name" in list order; {N}: the date N days ago
        QTest::newRow("all, newest first")
            << QString() << QString()
            << QStringLiteral("Today: b.mp3;Today: a.pdf;Yesterday: c.pdf;{3}: d.png;{365}: e.PDF");
        QTest::newRow("kind") << QStringLiteral("document") << QString()
                              << QStringLiteral("Today: a.pdf;Yesterday: c.pdf;{365}: e.PDF");
        QTest::newRow("text in name, any case")
            << QString() << QStringLiteral("E.p") << QStringLiteral("{365}: e.PDF");
        QTest::newRow("text in url") << QString() << QStringLiteral("mirror") << QStringLiteral("{3}: d.png");
        QTest::newRow("kind and text") << QStringLiteral("image") << QStringLiteral("pdf") << QString();
    }

    void groupingAndFilters()
    {
        QFETCH(QString, kind);
        QFETCH(QString, search);
        QFETCH(QString, expected);
        DownloadModel model;
        DownloadProxyModel proxy;
        QAbstractItemModelTester sourceTester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QAbstractItemModelTester proxyTester(&proxy, QAbstractItemModelTester::FailureReportingMode::QtTest);
        proxy.setSourceModel(&model);
        proxy.setKind(kind);
        const QDateTime now = QDateTime::currentDateTime();
        const QVector<QPair<QString, QDateTime>> rows = { { QStringLiteral("c.pdf"), now.addDays(-1) },
            { QStringLiteral("a.pdf"), now }, { QStringLiteral("e.PDF"), now.addDays(-365) },
            { QStringLiteral("d.png"), now.addDays(-3) }, { QStringLiteral("b.mp3"), now } };
        for (const auto& row : rows) {
            DownloadEntry e;
            e.id = model.rowCount() + 1;
            e.path = QStringLiteral("/tmp/") + row.first;
            e.url = QUrl(QStringLiteral("https://%1.example/x")
                             .arg(row.first.startsWith(QLatin1Char('d')) ? QStringLiteral("mirror")
                                                                         : QStringLiteral("a")));
            e.date = row.second;
            e.kind = DownloadKind::classify(e.path, QString());
            model.append(e);
        }
        proxy.setSearchText(search);
        QStringList shown;
        for (int i = 0; i < proxy.rowCount(); ++i)
            shown << proxy.index(i, 0).data(DownloadModel::GroupRole).toString() + QStringLiteral(": ")
                    + proxy.index(i, 0).data(DownloadModel::FileNameRole).toString();
        for (int days : { 3, 365 })
            expected.replace(QStringLiteral("{%1}").arg(days),
                QLocale().toString(QDate::currentDate().addDays(-days), QLocale::LongFormat));
        QCOMPARE(shown.join(QLatin1Char(';')), expected);
    }
};

QTEST_GUILESS_MAIN(TestDownloadFiles)
#include "tst_downloadfiles.moc"
