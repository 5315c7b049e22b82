// The small lists kept beside the per-site settings: search engines, downloads,
// password exceptions and favicons.

#include "storage/dbworker.h"
#include "support/logcapture.h"
#include "support/tempprofile.h"

#include <QSignalSpy>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QtTest>
#include <memory>

namespace
{

QVariantList row(const QString& sql, const QVariantList& values = {})
{
    QSqlQuery query(QSqlDatabase::database());
    query.prepare(sql);
    for (const QVariant& value : values)
        query.addBindValue(value);
    QVariantList result;
    if (query.exec() && query.next()) {
        for (int i = 0; i < query.record().count(); ++i)
            result.append(query.value(i));
    }
    return result;
}

int count(const QString& table)
{
    return row(QStringLiteral("SELECT COUNT(*) FROM %1").arg(table)).value(0).toInt();
}

} // namespace

class TestSiteDataLists : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void searchEngines();
    void addDownloadReportsReplacedRowFirst();
    void downloadUpdatesAndRemovals_data();
    void downloadUpdatesAndRemovals();
    void passwordExceptions();
    void setSuggestionsCountIsRejectedAndLogged();
    void favicons_data();
    void favicons();

private:
    std::unique_ptr<TempProfile> m_profile;
    std::unique_ptr<DBWorker> m_worker;
};

void TestSiteDataLists::initTestCase()
{
    qRegisterMetaType<QHash<QString, int>>();
    qRegisterMetaType<QMap<QString, QString>>();
}

void TestSiteDataLists::init()
{
    m_profile = std::make_unique<TempProfile>();
    QVERIFY(m_profile->isValid());
    m_worker = std::make_unique<DBWorker>();
    m_worker->init();
}

void TestSiteDataLists::cleanup()
{
    m_worker.reset();
    m_profile.reset();
}

void TestSiteDataLists::searchEngines()
{
    QSignalSpy listed(m_worker.get(), &DBWorker::searchEnginesAvailable);
    QSignalSpy added(m_worker.get(), &DBWorker::searchEngineAdded);

    m_worker->getSearchEngines();
    const auto defaults = listed.takeFirst().at(0).value<QList<SearchEngine>>();
    QCOMPARE(defaults.size(), 3);
    for (const SearchEngine& engine : defaults)
        QVERIFY2(!engine.editable && engine.url.contains(QLatin1String("%s")), qPrintable(engine.name));

    m_worker->addSearchEngine(QStringLiteral("Mine"), QStringLiteral("https://mine.example/?q=%s"));
    QCOMPARE(added.count(), 1);
    const SearchEngine mine = added.first().at(0).value<SearchEngine>();
    QCOMPARE(
        mine.id, row(QStringLiteral("SELECT id FROM search_engines WHERE name = 'Mine'")).value(0).toInt());
    QVERIFY(mine.id > 2);
    QCOMPARE(mine.url, QStringLiteral("https://mine.example/?q=%s"));
    QVERIFY(mine.editable);

    m_worker->updateSearchEngine(
        mine.id, QStringLiteral("Renamed"), QStringLiteral("https://other.example/?s=%s"));
    m_worker->removeSearchEngine(defaults.first().id);
    m_worker->getSearchEngines();
    QMap<int, SearchEngine> byId;
    for (const SearchEngine& engine : listed.takeFirst().at(0).value<QList<SearchEngine>>())
        byId.insert(engine.id, engine);
    QCOMPARE(byId.size(), 3);
    QVERIFY(!byId.contains(defaults.first().id));
    QCOMPARE(byId.value(mine.id).name, QStringLiteral("Renamed"));
    QCOMPARE(byId.value(mine.id).url, QStringLiteral("https://other.example/?s=%s"));
    QVERIFY(byId.value(mine.id).editable);
}

void TestSiteDataLists::addDownloadReportsReplacedRowFirst()
{
    QStringList events;
    QList<Download> added;
    connect(m_worker.get(), &DBWorker::oldDownloadRemoved, this,
        [&events](int oldId) { events.append(QStringLiteral("removed %1").arg(oldId)); });
    connect(m_worker.get(), &DBWorker::downloadAdded, this,
        [&events, &added](const Download& download, const QString& path) {
            events.append(QStringLiteral("added %1 %2").arg(download.id).arg(path));
            added.append(download);
        });

    const QString path = QStringLiteral("/home/user/Downloads/report.pdf");
    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    m_worker->addDownload(path, QStringLiteral("https://files.example/report.pdf"), QStringLiteral("key-1"));
    m_worker->addDownload(QStringLiteral("/home/user/Downloads/other.zip"),
        QStringLiteral("https://o.example/o.zip"), QStringLiteral("key-2"));
    m_worker->setDownloadSuccessful(path);
    m_worker->addDownload(path, QStringLiteral("https://mirror.example/report.pdf"), QStringLiteral("key-3"));

    QCOMPARE(added.size(), 3);
    const int firstId = added.at(0).id;
    const int secondId = added.at(2).id;
    QCOMPARE(events,
        QStringList({ QStringLiteral("added %1 %2").arg(firstId).arg(path),
            QStringLiteral("added %1 /home/user/Downloads/other.zip").arg(added.at(1).id),
            QStringLiteral("removed %1").arg(firstId),
            QStringLiteral("added %1 %2").arg(secondId).arg(path) }));
    QVERIFY(secondId != firstId);

    // The new row starts over: running, the new url, the caller's key handed back.
    const Download& latest = added.at(2);
    QCOMPARE(latest.filePath, path);
    QCOMPARE(latest.url, QStringLiteral("https://mirror.example/report.pdf"));
    QCOMPARE(latest.cachedKey, QStringLiteral("key-3"));
    QCOMPARE(latest.status, 0);
    QVERIFY(latest.lastModified.toMSecsSinceEpoch() >= before);
    QCOMPARE(row(QStringLiteral("SELECT id, url, status FROM downloads WHERE path = ?"), { path }),
        QVariantList({ secondId, QStringLiteral("https://mirror.example/report.pdf"), 0 }));
    QCOMPARE(count(QStringLiteral("downloads")), 2);
}

void TestSiteDataLists::downloadUpdatesAndRemovals_data()
{
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QList<int>>("statuses"); // of a, b, c in order; -1 gone

    QTest::newRow("status of one") << "status b 1" << QList<int> { 0, 1, 0 };
    QTest::newRow("finished") << "finished c" << QList<int> { 0, 0, 2 };
    QTest::newRow("remove by path") << "remove a" << QList<int> { -1, 0, 0 };
    QTest::newRow("remove by ids") << "remove ids a c" << QList<int> { -1, 0, -1 };
    QTest::newRow("unknown path") << "remove x" << QList<int> { 0, 0, 0 };
}

void TestSiteDataLists::downloadUpdatesAndRemovals()
{
    QFETCH(QString, operation);
    QFETCH(QList<int>, statuses);

    const QStringList names { QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c") };
    QMap<QString, int> ids;
    QSignalSpy added(m_worker.get(), &DBWorker::downloadAdded);
    for (const QString& name : names) {
        m_worker->addDownload(
            QStringLiteral("/d/") + name, QStringLiteral("https://d.example/") + name, QString());
        ids.insert(name, added.last().at(0).value<Download>().id);
    }
    // An old time, so that the finishing time can be seen to move.
    QSqlQuery(QSqlDatabase::database()).exec(QStringLiteral("UPDATE downloads SET last_modified = 1000"));

    const QStringList words = operation.split(QLatin1Char(' '));
    const QString path = QStringLiteral("/d/") + words.value(1);
    if (words.first() == QLatin1String("status")) {
        m_worker->setStatusDownload(path, words.value(2).toInt());
    } else if (words.first() == QLatin1String("finished")) {
        m_worker->setDownloadSuccessful(path);
    } else if (words.value(1) == QLatin1String("ids")) {
        m_worker->removeDownloads({ ids.value(words.value(2)), ids.value(words.value(3)) });
    } else {
        m_worker->removeDownload(path);
    }

    QSignalSpy listed(m_worker.get(), &DBWorker::downloadsAvailable);
    m_worker->getDownloads();
    QMap<QString, Download> byPath;
    for (const Download& download : listed.first().at(0).value<QList<Download>>())
        byPath.insert(download.filePath, download);
    for (int i = 0; i < names.size(); ++i) {
        const QString p = QStringLiteral("/d/") + names.at(i);
        QCOMPARE(byPath.contains(p), statuses.at(i) >= 0);
        if (statuses.at(i) < 0)
            continue;
        const Download download = byPath.value(p);
        QCOMPARE(download.status, statuses.at(i));
        QCOMPARE(download.id, ids.value(names.at(i)));
        QCOMPARE(download.url, QStringLiteral("https://d.example/") + names.at(i));
        // Only finishing moves the time.
        QCOMPARE(download.lastModified.toMSecsSinceEpoch() > 1000, statuses.at(i) == 2);
    }
}

void TestSiteDataLists::passwordExceptions()
{
    const QString site = QStringLiteral("https://bank.example");
    m_worker->addException(site);
    m_worker->addException(site);
    m_worker->addException(QStringLiteral("https://shop.example"));
    m_worker->removeException(QStringLiteral("https://shop.example"));

    QSignalSpy spy(m_worker.get(), &DBWorker::passwordExceptionsAvailable);
    m_worker->getPasswordExceptions();
    QCOMPARE(spy.count(), 1);
    const auto exceptions = spy.first().at(0).value<QHash<QString, int>>();
    QCOMPARE(exceptions.size(), 1);
    QCOMPARE(exceptions.value(site, 0), -1);
}

void TestSiteDataLists::setSuggestionsCountIsRejectedAndLogged()
{
    const QString site = QStringLiteral("https://bank.example");
    m_worker->addException(site);

    LogCapture log("browser.app.storage");
    m_worker->setSuggestionsCount(site, 3);
    m_worker->setSuggestionsCount(QStringLiteral("https://new.example"), 1);

    const QStringList warnings = log.messages(QtWarningMsg);
    const QStringList rejected = log.startingWith(
        QStringLiteral("QSqlQuery DBWorker::prepare(const QString&, bool) failed to prepare query"));
    QCOMPARE(rejected.size(), 2);
    QVERIFY2(rejected.first().contains(QLatin1String("INSERT INTO password_exceptions * VALUES (?, ?)")),
        qPrintable(rejected.first()));
    QVERIFY2(warnings.size() >= 2, qPrintable(warnings.join(QLatin1Char('\n'))));

    // Nothing reaches the table: the exception keeps its mark, no site is added.
    QCOMPARE(row(QStringLiteral("SELECT suggestions_count FROM password_exceptions WHERE url = ?"), { site }),
        QVariantList({ -1 }));
    QCOMPARE(count(QStringLiteral("password_exceptions")), 1);
}

void TestSiteDataLists::favicons_data()
{
    QTest::addColumn<bool>("replace");
    QTest::addColumn<QString>("expected");

    QTest::newRow("replace") << true << "data:new";
    QTest::newRow("keep existing") << false << "data:old";
}

void TestSiteDataLists::favicons()
{
    QFETCH(bool, replace);
    QFETCH(QString, expected);

    const QString base = QStringLiteral("https://news.example");
    m_worker->setFavicon(base, QStringLiteral("data:old"), false);
    m_worker->setFavicon(QStringLiteral("https://o'quote.example"), QStringLiteral("data:q"), false);
    QSqlQuery(QSqlDatabase::database()).exec(QStringLiteral("UPDATE favicons SET date = 1000"));

    m_worker->setFavicon(base, QStringLiteral("data:new"), replace);

    QSignalSpy spy(m_worker.get(), &DBWorker::faviconsAvailable);
    m_worker->getFavicons();
    const auto icons = spy.first().at(0).value<QMap<QString, QString>>();
    QCOMPARE(icons.size(), 2);
    QCOMPARE(icons.value(base), expected);
    QCOMPARE(icons.value(QStringLiteral("https://o'quote.example")), QStringLiteral("data:q"));

    // A replaced icon is new; a kept one is only touched by updateTimeFavicon.
    const QString dateSql = QStringLiteral("SELECT date FROM favicons WHERE base_url = ?");
    QCOMPARE(row(dateSql, { base }).value(0).toLongLong() > 1000, replace);
    m_worker->updateTimeFavicon(base);
    QVERIFY(row(dateSql, { base }).value(0).toLongLong() > 1000);
    QCOMPARE(row(dateSql, { QStringLiteral("https://o'quote.example") }).value(0).toLongLong(), 1000);
}

QTEST_GUILESS_MAIN(TestSiteDataLists)
#include "tst_sitedata_lists.moc"
