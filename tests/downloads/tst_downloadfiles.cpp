// How downloads are named, classified and listed by day.

#include "downloads/downloadkind.h"
#include "downloads/downloadmodel.h"
#include "downloads/downloadnaming.h"
#include "downloads/downloadproxymodel.h"

#include <QAbstractItemModelTester>
#include <QtTest>

class TestDownloadFiles : public QObject
{
    Q_OBJECT
private slots:
    void naming_data();
    void naming();
    void classification_data();
    void classification();
    void groupingAndFilters_data();
    void groupingAndFilters();
};

void TestDownloadFiles::naming_data()
{
    QTest::addColumn<QByteArray>("disposition");
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("contentType");
    QTest::addColumn<QStringList>("existing");
    QTest::addColumn<QString>("expected");

    const QString u = QStringLiteral("http://h.example/get?id=3");
    QTest::newRow("quoted") << QByteArray("attachment; filename=\"report.pdf\"") << u << QString()
                            << QStringList() << QStringLiteral("report.pdf");
    QTest::newRow("token") << QByteArray("attachment;filename=report.pdf") << u << QString() << QStringList()
                           << QStringLiteral("report.pdf");
    QTest::newRow("rfc5987 wins") << QByteArray("attachment; filename=\"fallback.txt\"; "
                                                "filename*=UTF-8''%E2%82%AC%20rates.pdf")
                                  << u << QString() << QStringList() << QStringLiteral("\u20ac rates.pdf");
    QTest::newRow("rfc5987 first, latin-1")
        << QByteArray("attachment; filename*=iso-8859-1'en'%E9t%E9.txt; "
                      "filename=\"ete.txt\"")
        << u << QString() << QStringList() << QStringLiteral("\u00e9t\u00e9.txt");
    QTest::newRow("raw utf-8") << QByteArray("attachment; filename=\"\xd0\xbf\xd1\x80.txt\"") << u
                               << QString() << QStringList() << QStringLiteral("\u043f\u0440.txt");
    QTest::newRow("escapes and semicolon") << QByteArray("inline; filename=\"a \\\"b\\\";c.txt\"") << u
                                           << QString() << QStringList() << QStringLiteral("a _b_;c.txt");
    QTest::newRow("traversal") << QByteArray("attachment; filename=\"../../etc/passwd\"") << u << QString()
                               << QStringList() << QStringLiteral("_.._etc_passwd");
    QTest::newRow("dots only, no name in url")
        << QByteArray("attachment; filename=\"..\"") << QStringLiteral("http://h.example/dir/")
        << QStringLiteral("text/plain") << QStringList() << QStringLiteral("download.txt");
    QTest::newRow("control characters") << QByteArray("attachment; filename=\"a\tb\x01\x7f.txt\"") << u
                                        << QString() << QStringList() << QStringLiteral("a_b__.txt");
    QTest::newRow("device name") << QByteArray("attachment; filename=\"CON.txt\"") << u << QString()
                                 << QStringList() << QStringLiteral("_CON.txt");
    QTest::newRow("hidden") << QByteArray("attachment; filename=\" .bashrc \"") << u << QString()
                            << QStringList() << QStringLiteral("bashrc");
    QTest::newRow("url, percent-encoded")
        << QByteArray() << QStringLiteral("http://h.example/f/my%20file%2Fx.zip?x=1") << QString()
        << QStringList() << QStringLiteral("my file_x.zip");
    QTest::newRow("suffix from type")
        << QByteArray() << QStringLiteral("http://h.example/") << QStringLiteral("application/pdf; q=1")
        << QStringList() << QStringLiteral("download.pdf");
    QTest::newRow("long, keeps extension")
        << QByteArray("attachment; filename=\"" + QByteArray(300, 'a') + ".pdf\"") << u << QString()
        << QStringList() << QString(236, QLatin1Char('a')) + QStringLiteral(".pdf");
    QTest::newRow("long multibyte, whole characters") << (QByteArray("attachment; filename*=UTF-8''")
        + QString(200, QChar(0x044f)).toUtf8().toPercentEncoding()
        + ".txt") << u << QString() << QStringList() << QString(118, QChar(0x044f)) + QStringLiteral(".txt");
    QTest::newRow("clash") << QByteArray("attachment; filename=report.pdf") << u << QString()
                           << QStringList({ QStringLiteral("report.pdf") })
                           << QStringLiteral("report (1).pdf");
    QTest::newRow("clash with a partial file")
        << QByteArray("attachment; filename=report.pdf") << u << QString()
        << QStringList({ QStringLiteral("report.pdf"), QStringLiteral("report (1).pdf.part") })
        << QStringLiteral("report (2).pdf");
    QTest::newRow("clash, compound suffix")
        << QByteArray() << QStringLiteral("http://h.example/src.tar.gz") << QString()
        << QStringList({ QStringLiteral("src.tar.gz") }) << QStringLiteral("src (1).tar.gz");
}

void TestDownloadFiles::naming()
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

void TestDownloadFiles::classification_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("contentType");
    QTest::addColumn<QString>("kind");
    const auto row = [](const char* name, const char* type, const char* kind) {
        QTest::newRow(QByteArray(QByteArray(name) + " " + type).constData())
            << QString::fromUtf8(name) << QString::fromUtf8(type) << QString::fromUtf8(kind);
    };
    row("report.pdf", "", "document");
    row("letter.docx", "", "document");
    row("sheet.ods", "", "document");
    row("notes.txt", "", "document");
    row("photo.JPG", "", "image");
    row("clip.mp4", "", "video");
    row("song.mp3", "", "audio");
    row("novel.epub", "", "book"); // a zip underneath
    row("scan.djvu", "", "book"); // an image type underneath
    row("bundle.zip", "", "archive");
    row("src.tar.gz", "", "archive");
    row("app.apk", "", "application"); // a zip underneath
    row("tool.deb", "", "application");
    row("setup.exe", "", "application");
    row("data.bin", "application/octet-stream", "other");
    row("noext", "", "other");
    row("get.php", "image/jpeg", "image"); // the type beats the name
    row("download", "video/webm; codecs=vp9", "video");
    row("movie.mkv", "application/octet-stream", "video"); // a generic type defers to the name
    row("file.xyz", "application/x-no-such-type", "other");
}

void TestDownloadFiles::classification()
{
    QFETCH(QString, name);
    QFETCH(QString, contentType);
    QFETCH(QString, kind);
    QCOMPARE(DownloadKind::classify(name, contentType), kind);
}

void TestDownloadFiles::groupingAndFilters_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("search");
    QTest::addColumn<QStringList>("expected"); // "group: name", in list order

    const QString older = QLocale().toString(QDate::currentDate().addDays(-3), QLocale::LongFormat);
    const QString lastYear = QLocale().toString(QDate::currentDate().addYears(-1), QLocale::LongFormat);
    QTest::newRow("all, newest first")
        << QString() << QString()
        << QStringList({ QStringLiteral("Today: b.mp3"), QStringLiteral("Today: a.pdf"),
               QStringLiteral("Yesterday: c.pdf"), older + QStringLiteral(": d.png"),
               lastYear + QStringLiteral(": e.PDF") });
    QTest::newRow("kind") << QStringLiteral("document") << QString()
                          << QStringList({ QStringLiteral("Today: a.pdf"), QStringLiteral("Yesterday: c.pdf"),
                                 lastYear + QStringLiteral(": e.PDF") });
    QTest::newRow("text in name, any case")
        << QString() << QStringLiteral("E.p") << QStringList({ lastYear + QStringLiteral(": e.PDF") });
    QTest::newRow("text in url") << QString() << QStringLiteral("mirror")
                                 << QStringList({ older + QStringLiteral(": d.png") });
    QTest::newRow("kind and text") << QStringLiteral("image") << QStringLiteral("pdf") << QStringList();
}

void TestDownloadFiles::groupingAndFilters()
{
    QFETCH(QString, kind);
    QFETCH(QString, search);
    QFETCH(QStringList, expected);
    DownloadModel model;
    DownloadProxyModel proxy;
    QAbstractItemModelTester sourceTester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QAbstractItemModelTester proxyTester(&proxy, QAbstractItemModelTester::FailureReportingMode::QtTest);
    proxy.setSourceModel(&model);
    proxy.setKind(kind);
    const QDateTime now = QDateTime::currentDateTime();
    const struct {
        const char* name;
        QDateTime date;
        const char* host;
    } rows[] = { { "c.pdf", now.addDays(-1), "a" }, { "a.pdf", now.addSecs(-60), "a" },
        { "e.PDF", now.addYears(-1), "a" }, { "d.png", now.addDays(-3), "mirror" }, { "b.mp3", now, "a" } };
    int id = 0;
    for (const auto& row : rows) {
        DownloadEntry e;
        e.id = ++id;
        e.path = QStringLiteral("/tmp/") + QLatin1String(row.name);
        e.url = QUrl(QStringLiteral("https://%1.example/x").arg(QLatin1String(row.host)));
        e.date = row.date;
        e.kind = DownloadKind::classify(e.path, QString());
        model.append(e);
    }
    proxy.setSearchText(search);
    QStringList shown;
    for (int i = 0; i < proxy.rowCount(); ++i) {
        const QModelIndex index = proxy.index(i, 0);
        shown << index.data(DownloadModel::GroupRole).toString() + QStringLiteral(": ")
                + index.data(DownloadModel::FileNameRole).toString();
    }
    QCOMPARE(shown, expected);
}

QTEST_GUILESS_MAIN(TestDownloadFiles)
#include "tst_downloadfiles.moc"
