// Per-site screen settings and downloads, in the profile's file and in the
// private in-memory database; permissions are checked through the settings manager.

#include "storage/dbworker.h"
#include "support/dbfileprobe.h"
#include "support/tempprofile.h"

#include <QSignalSpy>
#include <QtTest>
#include <memory>

namespace
{
const QString siteA = QStringLiteral("https://a.example");
const QString siteB = QStringLiteral("https://b.example:8080");

// Values as one line of text, joined by blanks, NULL as "-".
QString line(const QVariantList& parts)
{
    QStringList texts;
    for (const QVariant& part : parts)
        texts.append(part.isNull() ? QStringLiteral("-") : part.toString());
    return texts.join(QLatin1Char(' '));
}

} // namespace

class TestSiteData : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_profile = std::make_unique<TempProfile>();
        QVERIFY(m_profile->isValid());
        m_worker = std::make_unique<DBWorker>();
        m_worker->init();
        qRegisterMetaType<QHash<QString, int>>();
        qRegisterMetaType<QMap<QString, QString>>();
    }
    void cleanup() { m_worker.reset(), m_profile.reset(); }
    void privateDataStaysApart_data()
    {
        QTest::addColumn<bool>("isPrivate");
        QTest::newRow("file") << false;
        QTest::newRow("private") << true;
    }
    void privateDataStaysApart()
    {
        QFETCH(bool, isPrivate);

        QSignalSpy added(m_worker.get(), &DBWorker::siteDprAdded);
        QSignalSpy listed(m_worker.get(), &DBWorker::siteDprsAvailable);
        QSignalSpy modes(m_worker.get(), &DBWorker::deviceModeAvailable);
        const QString domain = QStringLiteral("example.com");
        m_worker->addDpr(siteA + QStringLiteral("/page"), 1.5, isPrivate);
        m_worker->addDpr(siteB, 2, !isPrivate);
        m_worker->updateDpr(siteA, 3, isPrivate);
        m_worker->updateDpr(siteB, 4, isPrivate);
        m_worker->setDeviceMode(domain, 0, isPrivate);
        m_worker->setDeviceMode(domain, 1, isPrivate);
        // What reaches the file is what a second connection sees there.
        DbFileProbe file(m_profile->databasePath());
        QCOMPARE(sqlRows(file.database(),
                     QStringLiteral("SELECT dpr FROM site_dprs UNION ALL SELECT device_mode FROM "
                                    "device_modes UNION ALL SELECT site FROM sites"))
                     .join(QLatin1Char(' ')),
            isPrivate ? line({ 2, siteB }) : line({ 3, 1, siteA }));

        m_worker->removeDpr(siteA + QStringLiteral("/other"), isPrivate);
        for (bool inPrivate : { isPrivate, !isPrivate }) {
            m_worker->getSiteDprs(inPrivate);
            m_worker->getDeviceMode(domain, inPrivate);
        }
        QStringList answers;
        for (const QList<QVariant>& answer : added)
            answers << line(
                { answer.at(0).value<SiteDpr>().site, answer.at(0).value<SiteDpr>().dpr, answer.at(1) });
        for (const QList<QVariant>& answer : listed) {
            QVariantList parts { answer.at(1) };
            for (const SiteDpr& row : answer.at(0).value<QList<SiteDpr>>())
                parts << row.site << row.dpr;
            answers << line(parts);
        }
        for (const QList<QVariant>& answer : modes)
            answers << line(answer);
        QCOMPARE(answers,
            QStringList({ line({ siteA, 1.5, isPrivate }), line({ siteB, 2, !isPrivate }),
                line({ isPrivate }), line({ !isPrivate, siteB, 2 }), line({ domain, 1, isPrivate }),
                line({ domain, -1, !isPrivate }) }));
    }
    void downloads()
    {
        QStringList events;
        connect(m_worker.get(), &DBWorker::oldDownloadRemoved, this,
            [&](int id) { events.append(QStringLiteral("removed %1").arg(id)); });
        connect(m_worker.get(), &DBWorker::downloadAdded, this,
            [&](const Download& download, const QString& path) {
                events.append(line({ download.id, path, download.filePath, download.url, download.status,
                    download.cachedKey }));
            });
        const QString report = QStringLiteral("/d/report.pdf"), other = QStringLiteral("/d/other.zip");
        m_worker->addDownload(report, QStringLiteral("https://a.example/r"), QStringLiteral("k1"));
        m_worker->addDownload(other, QStringLiteral("https://a.example/o"), QStringLiteral("k2"));
        // The same path again: the old row goes, and the list hears of that first.
        m_worker->addDownload(report, QStringLiteral("https://mirror.example/r"), QStringLiteral("k3"));
        // Finishing sets the status; listed ids go.
        m_worker->addDownload(
            QStringLiteral("/d/x"), QStringLiteral("https://a.example/x"), QStringLiteral("k4"));
        m_worker->setDownloadSuccessful(other);
        m_worker->removeDownloads({ 3, 4 });
        QSignalSpy listed(m_worker.get(), &DBWorker::downloadsAvailable);
        m_worker->getDownloads();
        for (const Download& d : listed.value(0).value(0).value<QList<Download>>())
            events << line({ d.id, d.filePath, d.url, d.status });
        QCOMPARE(events.join(QLatin1Char(',')),
            QStringLiteral(
                "1 /d/report.pdf /d/report.pdf https://a.example/r 0 k1,2 /d/other.zip /d/other.zip "
                "https://a.example/o 0 k2,removed 1,3 /d/report.pdf /d/report.pdf "
                "https://mirror.example/r 0 k3,4 /d/x /d/x https://a.example/x 0 k4,2 /d/other.zip "
                "https://a.example/o 2"));
    }

private:
    std::unique_ptr<TempProfile> m_profile;
    std::unique_ptr<DBWorker> m_worker;
};

QTEST_GUILESS_MAIN(TestSiteData)
#include "tst_sitedata.moc"
