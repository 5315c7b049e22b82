// Per-site settings and downloads as the worker stores and lists them.

#include "storage/dbworker.h"
#include "support/dbfileprobe.h"
#include "support/tempprofile.h"

#include <QSignalSpy>
#include <QtTest>

class TestSiteData : public QObject
{
    Q_OBJECT

private slots:
    void siteSettingsStayInTheirDatabase()
    {
        // Zoom is kept per site of the page; private settings never reach the file.
        TempProfile profile;
        DBWorker worker;
        worker.init();
        worker.addDpr(QStringLiteral("https://a.example/page"), 1.5, false);
        worker.addDpr(QStringLiteral("https://b.example"), 2, true);
        worker.setDeviceMode(QStringLiteral("a.example"), 1, false);
        worker.setDeviceMode(QStringLiteral("b.example"), 0, true);
        QCOMPARE(sqlRows(DbFileProbe(profile.databasePath()).database(),
                     QStringLiteral("SELECT site, dpr FROM site_dprs JOIN sites ON sites.id = site_id "
                                    "UNION ALL SELECT * FROM device_modes")),
            QStringList({ QStringLiteral("https://a.example|1.5"), QStringLiteral("a.example|1") }));
    }

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
};

QTEST_GUILESS_MAIN(TestSiteData)
#include "tst_sitedata.moc"
