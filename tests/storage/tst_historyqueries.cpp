#include "support/historyprofile.h"

#include <QSignalSpy>
#include <QTest>
#include <memory>

// Browsing history as the worker keeps it in the profile's file: one row per url
// and local day, read back with filters and date bounds, summed for the tiles.
class TestHistoryQueries : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void addHistoryEntryMergesPerLocalDay_data();
    void addHistoryEntryMergesPerLocalDay();
    void getHistory_data();
    void getHistory();
    void clearHistory_data();
    void clearHistory();
    void updateHistoryTitleChangesEveryDay();
    void mostVisited_data();
    void mostVisited();

private:
    // Seeds five rows spread over a past day; returns nothing, urls are the fixture's.
    void seedDay();
    static QStringList urls(const QList<Link>& links);

    std::unique_ptr<HistoryProfile> m_profile;
    qint64 m_base = 0;
};

namespace
{
const QString newsUrl = QStringLiteral("https://news.example.com/a");
const QString shopUrl = QStringLiteral("https://shop.example.org/");
const QString otherUrl = QStringLiteral("https://other.example.org/");
const QString blogUrl = QStringLiteral("https://blog.example.net/");
constexpr qint64 dayMs = 24 * 60 * 60 * 1000;
constexpr qint64 noBound = -1;
} // namespace

void TestHistoryQueries::initTestCase()
{
    qRegisterMetaType<QList<Link>>("QList<Link>");
}

void TestHistoryQueries::init()
{
    m_profile = std::make_unique<HistoryProfile>();
    QVERIFY(m_profile->isValid());
    m_base = QDateTime(QDate(2023, 5, 10), QTime(8, 0)).toMSecsSinceEpoch();
}

void TestHistoryQueries::cleanup()
{
    m_profile.reset();
}

void TestHistoryQueries::seedDay()
{
    // Ids 1..5 in this order. The news url is visited twice; the blog matches
    // "news" only by its title.
    HistoryProfile::insertHistory(newsUrl, QStringLiteral("Morning news"), m_base + 1000);
    HistoryProfile::insertHistory(shopUrl, QStringLiteral("Shop"), m_base + 2000);
    HistoryProfile::insertHistory(otherUrl, QStringLiteral("Other"), m_base + 3000);
    HistoryProfile::insertHistory(newsUrl, QStringLiteral("Morning news"), m_base + 4000);
    HistoryProfile::insertHistory(blogUrl, QStringLiteral("news digest"), m_base + 5000);
}

QStringList TestHistoryQueries::urls(const QList<Link>& links)
{
    QStringList result;
    for (const Link& link : links)
        result.append(link.url);
    return result;
}

void TestHistoryQueries::addHistoryEntryMergesPerLocalDay_data()
{
    QTest::addColumn<QString>("priorUrl"); // empty: no earlier row
    QTest::addColumn<qint64>("priorOffset"); // ms from the start of the local day
    QTest::addColumn<QString>("priorTitle");
    QTest::addColumn<int>("calls");
    QTest::addColumn<QString>("title");
    QTest::addColumn<int>("rowCount");
    QTest::addColumn<int>("visitedCount"); // of the newest row
    QTest::addColumn<QString>("storedTitle"); // of the newest row

    const QString url = QStringLiteral("https://a.example.com/");
    QTest::newRow("first visit") << QString() << qint64(0) << QString() << 1 << "A" << 1 << 1 << "A";
    QTest::newRow("twice today") << QString() << qint64(0) << QString() << 2 << "A" << 1 << 2 << "A";
    QTest::newRow("first visit without title")
        << QString() << qint64(0) << QString() << 1 << "" << 1 << 1 << "";
    QTest::newRow("row at local midnight merges")
        << url << qint64(0) << "Old" << 1 << "New" << 1 << 2 << "New";
    QTest::newRow("empty title keeps stored one") << url << qint64(0) << "Old" << 1 << "" << 1 << 2 << "Old";
    QTest::newRow("row 1 ms before midnight stays")
        << url << qint64(-1) << "Old" << 1 << "New" << 2 << 1 << "New";
    QTest::newRow("yesterday, empty title not copied") << url << -dayMs << "Old" << 1 << "" << 2 << 1 << "";
    QTest::newRow("other url today is not merged") << QStringLiteral("https://a.example.com/other")
                                                   << qint64(0) << "Old" << 1 << "New" << 2 << 1 << "New";
}

void TestHistoryQueries::addHistoryEntryMergesPerLocalDay()
{
    QFETCH(QString, priorUrl);
    QFETCH(qint64, priorOffset);
    QFETCH(QString, priorTitle);
    QFETCH(int, calls);
    QFETCH(QString, title);
    QFETCH(int, rowCount);
    QFETCH(int, visitedCount);
    QFETCH(QString, storedTitle);

    const QString url = QStringLiteral("https://a.example.com/");
    if (!priorUrl.isEmpty())
        QVERIFY(HistoryProfile::insertHistory(priorUrl, priorTitle, startOfLocalToday() + priorOffset) > 0);

    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    for (int i = 0; i < calls; ++i)
        m_profile->worker().addHistoryEntry(url, title);
    const qint64 after = QDateTime::currentMSecsSinceEpoch();

    QCOMPARE(
        HistoryProfile::scalar(QStringLiteral("SELECT COUNT(*) FROM browser_history")).toInt(), rowCount);
    const QStringList newest = HistoryProfile::rows(
        QStringLiteral(
            "SELECT visited_count, title, date FROM browser_history WHERE url = ? ORDER BY date DESC"),
        { url });
    QVERIFY(!newest.isEmpty());
    const QStringList fields = newest.first().split(QLatin1Char('|'));
    QCOMPARE(fields.at(0).toInt(), visitedCount);
    QCOMPARE(fields.at(1), storedTitle);
    QVERIFY(fields.at(2).toLongLong() >= before);
    QVERIFY(fields.at(2).toLongLong() <= after);
    // A day-old row is never touched by today's visit.
    if (rowCount == 2 && priorUrl == url) {
        QCOMPARE(newest.last().split(QLatin1Char('|')).at(0).toInt(), 1);
        QCOMPARE(newest.last().split(QLatin1Char('|')).at(1), priorTitle);
    }
}

void TestHistoryQueries::getHistory_data()
{
    QTest::addColumn<QString>("filter");
    QTest::addColumn<qint64>("start"); // offset from the seeded day, or noBound
    QTest::addColumn<qint64>("end");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("everything, newest first")
        << QString() << noBound << noBound << QStringList { blogUrl, newsUrl, otherUrl, shopUrl, newsUrl };
    QTest::newRow("start only") << QString() << qint64(2000) << noBound
                                << QStringList { blogUrl, newsUrl, otherUrl, shopUrl };
    QTest::newRow("end only") << QString() << noBound << qint64(3000)
                              << QStringList { otherUrl, shopUrl, newsUrl };
    QTest::newRow("both bounds, inclusive")
        << QString() << qint64(2000) << qint64(4000) << QStringList { newsUrl, otherUrl, shopUrl };
    QTest::newRow("empty range") << QString() << qint64(4500) << qint64(4600) << QStringList {};
    // Text filters group by url: the news url comes once although visited twice.
    QTest::newRow("filter on url or title")
        << QStringLiteral("news") << noBound << noBound << QStringList { blogUrl, newsUrl };
    QTest::newRow("filter on title only")
        << QStringLiteral("digest") << noBound << noBound << QStringList { blogUrl };
    QTest::newRow("filter is case-insensitive")
        << QStringLiteral("SHOP") << noBound << noBound << QStringList { shopUrl };
    QTest::newRow("filter without match")
        << QStringLiteral("nothing") << noBound << noBound << QStringList {};
    // The bounds restrict only the title match: a url match outside them still counts.
    QTest::newRow("bounds do not restrict url matches")
        << QStringLiteral("news") << qint64(4500) << noBound << QStringList { blogUrl, newsUrl };
    QTest::newRow("bounds restrict title matches")
        << QStringLiteral("digest") << noBound << qint64(4500) << QStringList {};
    QTest::newRow("title match inside bounds")
        << QStringLiteral("digest") << qint64(4500) << qint64(6000) << QStringList { blogUrl };
}

void TestHistoryQueries::getHistory()
{
    QFETCH(QString, filter);
    QFETCH(qint64, start);
    QFETCH(qint64, end);
    QFETCH(QStringList, expected);

    seedDay();
    QVERIFY(HistoryProfile::exec(
        QStringLiteral("INSERT INTO bookmark_node (title, url) VALUES ('Shop', ?)"), { shopUrl }));
    const QDateTime startTime
        = start == noBound ? QDateTime() : QDateTime::fromMSecsSinceEpoch(m_base + start);
    const QDateTime endTime = end == noBound ? QDateTime() : QDateTime::fromMSecsSinceEpoch(m_base + end);

    QSignalSpy spy(&m_profile->worker(), &DBWorker::historyAvailable);
    m_profile->worker().getHistory(filter, startTime, endTime);
    QCOMPARE(spy.count(), 1);
    const QList<Link> links = spy.at(0).at(0).value<QList<Link>>();
    QCOMPARE(urls(links), expected);
    // The answer names the request it belongs to.
    QCOMPARE(spy.at(0).at(1).toString(), filter);
    QCOMPARE(spy.at(0).at(2).toDateTime(), startTime);
    QCOMPARE(spy.at(0).at(3).toDateTime(), endTime);
    for (const Link& link : links) {
        QVERIFY(link.isValid);
        QVERIFY(link.id > 0);
        QCOMPARE(link.bookmarked, link.url == shopUrl);
        const qint64 date = link.date.toMSecsSinceEpoch();
        QVERIFY2(date > m_base && date <= m_base + 5000, qPrintable(link.date.toString()));
    }
}

void TestHistoryQueries::clearHistory_data()
{
    QTest::addColumn<QDateTime>("start");
    QTest::addColumn<QDateTime>("end");
    QTest::addColumn<QList<int>>("remaining"); // ids, ascending

    const qint64 base = QDateTime(QDate(2023, 5, 10), QTime(8, 0)).toMSecsSinceEpoch();
    auto at = [base](qint64 offset) { return QDateTime::fromMSecsSinceEpoch(base + offset); };
    QTest::newRow("no bounds clears all") << QDateTime() << QDateTime() << QList<int> {};
    QTest::newRow("from a time on") << at(3000) << QDateTime() << QList<int> { 1, 2 };
    QTest::newRow("up to a time") << QDateTime() << at(3000) << QList<int> { 4, 5 };
    QTest::newRow("between, inclusive") << at(2000) << at(4000) << QList<int> { 1, 5 };
    // A start before 1970 is no bound at all, not a bound at 0.
    QTest::newRow("start before the epoch is ignored")
        << QDateTime(QDate(1960, 1, 1), QTime(0, 0), Qt::UTC) << at(2000) << QList<int> { 3, 4, 5 };
}

void TestHistoryQueries::clearHistory()
{
    QFETCH(QDateTime, start);
    QFETCH(QDateTime, end);
    QFETCH(QList<int>, remaining);

    seedDay();
    m_profile->worker().clearHistory(start, end);
    QList<int> ids;
    for (const QVariant& id :
        HistoryProfile::column(QStringLiteral("SELECT id FROM browser_history ORDER BY id")))
        ids.append(id.toInt());
    QCOMPARE(ids, remaining);
}

void TestHistoryQueries::updateHistoryTitleChangesEveryDay()
{
    seedDay();
    QSignalSpy spy(&m_profile->worker(), &DBWorker::historyTitleChanged);
    m_profile->worker().updateHistoryTitle(newsUrl, QStringLiteral("Evening news"));
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toString(), newsUrl);
    QCOMPARE(spy.at(0).at(1).toString(), QStringLiteral("Evening news"));
    QCOMPARE(HistoryProfile::rows(QStringLiteral("SELECT id, title FROM browser_history ORDER BY id")),
        (QStringList { QStringLiteral("1|Evening news"), QStringLiteral("2|Shop"), QStringLiteral("3|Other"),
            QStringLiteral("4|Evening news"), QStringLiteral("5|news digest") }));
}

void TestHistoryQueries::mostVisited_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("removed");
    QTest::addColumn<QStringList>("expected"); // titles

    QTest::newRow("all") << 10 << QString()
                         << QStringList { QStringLiteral("Beta"), QStringLiteral("Alpha"),
                                QStringLiteral("Epsilon"), QStringLiteral("Gamma") };
    QTest::newRow("limited") << 2 << QString()
                             << QStringList { QStringLiteral("Beta"), QStringLiteral("Alpha") };
    QTest::newRow("removed url leaves the tiles")
        << 10 << QStringLiteral("https://b.example/")
        << QStringList { QStringLiteral("Alpha"), QStringLiteral("Epsilon"), QStringLiteral("Gamma") };
    QTest::newRow("removing a summed url clears all its days")
        << 10 << QStringLiteral("https://a.example/")
        << QStringList { QStringLiteral("Beta"), QStringLiteral("Epsilon"), QStringLiteral("Gamma") };
}

void TestHistoryQueries::mostVisited()
{
    QFETCH(int, count);
    QFETCH(QString, removed);
    QFETCH(QStringList, expected);

    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    // Alpha: 2 + 1 over two days ties with Epsilon's 3; the tie goes by title.
    HistoryProfile::insertHistory(
        QStringLiteral("https://a.example/"), QStringLiteral("Alpha"), now - dayMs, 2);
    HistoryProfile::insertHistory(
        QStringLiteral("https://a.example/"), QStringLiteral("Alpha"), now - 1000, 1);
    HistoryProfile::insertHistory(
        QStringLiteral("https://b.example/"), QStringLiteral("Beta"), now - 3 * dayMs, 5);
    // Only the visits of the last 30 days count.
    HistoryProfile::insertHistory(
        QStringLiteral("https://c.example/"), QStringLiteral("Gamma"), now - 40 * dayMs, 100);
    HistoryProfile::insertHistory(
        QStringLiteral("https://c.example/"), QStringLiteral("Gamma"), now - dayMs, 1);
    HistoryProfile::insertHistory(
        QStringLiteral("https://d.example/"), QStringLiteral("Delta"), now - 1000, 0);
    HistoryProfile::insertHistory(
        QStringLiteral("https://e.example/"), QStringLiteral("Epsilon"), now - 2000, 3);
    QVERIFY(HistoryProfile::exec(QStringLiteral("INSERT INTO bookmark_node (title, url) VALUES ('E', ?)"),
        { QStringLiteral("https://e.example/") }));

    if (!removed.isEmpty())
        m_profile->worker().removeMostVisitedLink(removed);

    QSignalSpy spy(&m_profile->worker(), &DBWorker::mostVisitedLinksAvailable);
    m_profile->worker().getMostVisitedLinks(count);
    QCOMPARE(spy.count(), 1);
    const QList<Link> links = spy.at(0).at(0).value<QList<Link>>();
    QStringList titles;
    for (const Link& link : links) {
        titles.append(link.title);
        QCOMPARE(link.bookmarked, link.title == QStringLiteral("Epsilon"));
    }
    QCOMPARE(titles, expected);

    // Leaving the tiles is not leaving the history.
    QSignalSpy historySpy(&m_profile->worker(), &DBWorker::historyAvailable);
    m_profile->worker().getHistory(QString(), QDateTime(), QDateTime());
    QCOMPARE(historySpy.at(0).at(0).value<QList<Link>>().size(), 7);
}

QTEST_GUILESS_MAIN(TestHistoryQueries)
#include "tst_historyqueries.moc"
