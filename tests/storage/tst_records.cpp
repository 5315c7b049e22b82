// Downloads as the worker stores and lists them, and the records' debug forms,
// which log scrapers read: their layout is fixed.

#include "storage/dbworker.h"
#include "support/logcapture.h"
#include "support/tempprofile.h"

#include <QDebug>
#include <QSignalSpy>
#include <QtTest>

namespace
{
template <typename T> QString debugForm(const T* record)
{
    LogCapture log("default");
    qWarning() << record; // not qDebug: the test runs with debug output switched off
    return log.messages().value(0);
}
} // namespace

class TestRecords : public QObject
{
    Q_OBJECT
private slots:
    void downloads()
    {
        TempProfile profile;
        DBWorker worker;
        worker.init();
        QStringList events;
        connect(&worker, &DBWorker::oldDownloadRemoved, this,
            [&](int id) { events.append(QStringLiteral("removed %1").arg(id)); });
        connect(&worker, &DBWorker::downloadAdded, this, [&](const Download& d, const QString& path) {
            events << QStringLiteral("%1 %2 %3 %4 %5 %6")
                          .arg(d.id)
                          .arg(path, d.filePath, d.url)
                          .arg(d.status)
                          .arg(d.cachedKey);
        });
        const QString report = QStringLiteral("/d/report.pdf"), other = QStringLiteral("/d/other.zip");
        worker.addDownload(report, QStringLiteral("https://a.example/r"), QStringLiteral("k1"));
        worker.addDownload(other, QStringLiteral("https://a.example/o"), QStringLiteral("k2"));
        // The same path again: the old row goes, and the list hears of that first.
        worker.addDownload(report, QStringLiteral("https://mirror.example/r"), QStringLiteral("k3"));
        // Finishing sets the status; listed ids go.
        worker.addDownload(
            QStringLiteral("/d/x"), QStringLiteral("https://a.example/x"), QStringLiteral("k4"));
        worker.setDownloadSuccessful(other);
        worker.removeDownloads({ 3, 4 });
        QSignalSpy listed(&worker, &DBWorker::downloadsAvailable);
        worker.getDownloads();
        for (const Download& d : listed.value(0).value(0).value<QList<Download>>())
            events << QStringLiteral("%1 %2 %3 %4").arg(d.id).arg(d.filePath, d.url).arg(d.status);
        QCOMPARE(events.join(QLatin1Char(',')),
            QStringLiteral(
                "1 /d/report.pdf /d/report.pdf https://a.example/r 0 k1,2 /d/other.zip /d/other.zip "
                "https://a.example/o 0 k2,removed 1,3 /d/report.pdf /d/report.pdf "
                "https://mirror.example/r 0 k3,4 /d/x /d/x https://a.example/x 0 k4,2 /d/other.zip "
                "https://a.example/o 2"));
    }

    void debugForms()
    {
        QCOMPARE(debugForm<Link>(nullptr), QStringLiteral("Link (this = 0x0)"));
        QCOMPARE(debugForm<Tab>(nullptr), QStringLiteral("Tab (this = 0x0)"));
        QCOMPARE(debugForm<Download>(nullptr), QStringLiteral("Download (this = 0x0)"));
        Link link;
        link.id = 7;
        link.url = QStringLiteral("https://example.com/");
        link.title = QStringLiteral("Example \"quoted\"");
        link.thumbnailPath = QStringLiteral("/tmp/t.jpg");
        link.isValid = true;
        QCOMPARE(debugForm(&link),
            QStringLiteral("Link(id =  7 , isValid =  true , url =  \"https://example.com/\" , title =  "
                           "\"Example \\\"quoted\\\"\" , thumbnailPath =  \"/tmp/t.jpg\" , date =  "
                           "QDateTime(Invalid) )"));
    }
};

QTEST_GUILESS_MAIN(TestRecords)
#include "tst_records.moc"
