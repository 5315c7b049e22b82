#include "support/historyprofile.h"

#include <QSignalSpy>
#include <QTest>
#include <memory>

// The tab strip: insertion and removal keep order_index a contiguous 0-based
// sequence, pages opened with new tabs are recorded, and the restore read joins
// each tab with the per-site screen settings.
class TestTabQueries : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void addTabsOrdering_data();
    void addTabsOrdering();
    void addTabsRecordsPages_data();
    void addTabsRecordsPages();
    void addTabsReportsDeviceModes_data();
    void addTabsReportsDeviceModes();
    void removeTabClosesGap_data();
    void removeTabClosesGap();
    void clearTabsOnlyTouchesChosenDatabase_data();
    void clearTabsOnlyTouchesChosenDatabase();
    void getTabs_data();
    void getTabs();

private:
    DBWorker& worker() { return m_profile->worker(); }
    // Tabs with ids 1..count at positions 0..count-1, each showing https://tN.example/.
    void openTabs(int count, bool isPrivate);
    // "id:index" ordered by index.
    static QStringList strip(bool isPrivate);

    std::unique_ptr<HistoryProfile> m_profile;
};

void TestTabQueries::initTestCase()
{
    qRegisterMetaType<QList<Tab>>("QList<Tab>");
}

void TestTabQueries::init()
{
    m_profile = std::make_unique<HistoryProfile>();
    QVERIFY(m_profile->isValid());
}

void TestTabQueries::cleanup()
{
    m_profile.reset();
}

void TestTabQueries::openTabs(int count, bool isPrivate)
{
    for (int i = 0; i < count; ++i) {
        const int id = i + 1;
        QVERIFY(HistoryProfile::exec(
            QStringLiteral("INSERT INTO tab (tab_id, order_index) VALUES (?, ?)"), { id, i }, isPrivate));
        worker().addToTabHistory(
            id, QStringLiteral("https://t%1.example/").arg(id), QStringLiteral("T%1").arg(id), isPrivate);
    }
}

QStringList TestTabQueries::strip(bool isPrivate)
{
    return HistoryProfile::rows(
        QStringLiteral("SELECT tab_id, order_index FROM tab ORDER BY order_index, tab_id"), {}, isPrivate)
        .replaceInStrings(QStringLiteral("|"), QStringLiteral(":"));
}

void TestTabQueries::addTabsOrdering_data()
{
    QTest::addColumn<int>("existing");
    QTest::addColumn<QList<int>>("ids");
    QTest::addColumn<int>("index");
    QTest::addColumn<bool>("isPrivate");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("three tabs in the middle")
        << 5 << QList<int> { 10, 11, 12 } << 2 << false
        << QStringList { QStringLiteral("1:0"), QStringLiteral("2:1"), QStringLiteral("10:2"),
               QStringLiteral("11:3"), QStringLiteral("12:4"), QStringLiteral("3:5"), QStringLiteral("4:6"),
               QStringLiteral("5:7") };
    QTest::newRow("three tabs in the middle, private")
        << 5 << QList<int> { 10, 11, 12 } << 2 << true
        << QStringList { QStringLiteral("1:0"), QStringLiteral("2:1"), QStringLiteral("10:2"),
               QStringLiteral("11:3"), QStringLiteral("12:4"), QStringLiteral("3:5"), QStringLiteral("4:6"),
               QStringLiteral("5:7") };
    QTest::newRow("at the end") << 3 << QList<int> { 10 } << 3 << false
                                << QStringList { QStringLiteral("1:0"), QStringLiteral("2:1"),
                                       QStringLiteral("3:2"), QStringLiteral("10:3") };
    QTest::newRow("at the front") << 2 << QList<int> { 10, 11 } << 0 << false
                                  << QStringList { QStringLiteral("10:0"), QStringLiteral("11:1"),
                                         QStringLiteral("1:2"), QStringLiteral("2:3") };
    QTest::newRow("into an empty strip")
        << 0 << QList<int> { 10, 11, 12 } << 0 << false
        << QStringList { QStringLiteral("10:0"), QStringLiteral("11:1"), QStringLiteral("12:2") };
    // A tab that already exists is placed, not duplicated.
    QTest::newRow("known tab moves to the front")
        << 3 << QList<int> { 3 } << 0 << false
        << QStringList { QStringLiteral("3:0"), QStringLiteral("1:1"), QStringLiteral("2:2") };
}

void TestTabQueries::addTabsOrdering()
{
    QFETCH(int, existing);
    QFETCH(QList<int>, ids);
    QFETCH(int, index);
    QFETCH(bool, isPrivate);
    QFETCH(QStringList, expected);

    openTabs(existing, isPrivate);
    worker().addTabs(ids, index, QStringList(), QStringList(), isPrivate);
    QCOMPARE(strip(isPrivate), expected);
    QCOMPARE(strip(!isPrivate), QStringList());
}

void TestTabQueries::addTabsRecordsPages_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<bool>("isPrivate");
    QTest::addColumn<bool>("recorded");

    QTest::newRow("web page") << QStringLiteral("https://a.example/") << false << true;
    QTest::newRow("web page, private") << QStringLiteral("https://a.example/") << true << true;
    QTest::newRow("about page") << QStringLiteral("about:blank") << false << false;
    QTest::newRow("chrome page") << QStringLiteral("chrome://settings") << false << false;
    QTest::newRow("chrome page, private") << QStringLiteral("chrome://settings") << true << false;
    QTest::newRow("no url") << QString() << false << false;
    // The internal prefixes are matched exactly as written.
    QTest::newRow("upper-case about") << QStringLiteral("About:blank") << false << true;
    QTest::newRow("chrome-like scheme") << QStringLiteral("chrome-extension://abc/") << false << true;
}

void TestTabQueries::addTabsRecordsPages()
{
    QFETCH(QString, url);
    QFETCH(bool, isPrivate);
    QFETCH(bool, recorded);

    QSignalSpy added(&worker(), &DBWorker::linkAddedToTabHistory);
    worker().addTabs({ 5, 6 }, 0, { url, QStringLiteral("https://b.example/") },
        { QStringLiteral("Title"), QString() }, isPrivate);
    QCOMPARE(added.count(), recorded ? 2 : 1);
    QCOMPARE(HistoryProfile::rows(
                 QStringLiteral("SELECT tab.tab_id, link.url, link.title FROM tab LEFT JOIN "
                                "tab_history ON tab_history.id = tab.tab_history_id LEFT JOIN link ON "
                                "link.link_id = tab_history.link_id ORDER BY tab.order_index"),
                 {}, isPrivate),
        (QStringList {
            recorded ? QStringLiteral("5|") + url + QStringLiteral("|Title") : QStringLiteral("5||"),
            QStringLiteral("6|https://b.example/|") }));
    QCOMPARE(
        HistoryProfile::scalar(QStringLiteral("SELECT COUNT(*) FROM tab_history"), {}, !isPrivate).toInt(),
        0);
}

void TestTabQueries::addTabsReportsDeviceModes_data()
{
    QTest::addColumn<bool>("isPrivate");
    QTest::newRow("file") << false;
    QTest::newRow("private") << true;
}

void TestTabQueries::addTabsReportsDeviceModes()
{
    QFETCH(bool, isPrivate);

    // Stored after start-up, so only the file knows them.
    QVERIFY(HistoryProfile::exec(
        QStringLiteral("INSERT INTO device_modes VALUES ('example.com', 2), ('other.org', "
                       "1)")));
    openTabs(2, isPrivate);
    QSignalSpy spy(&worker(), &DBWorker::tabDeviceModeChanged);
    worker().addTabs({ 10, 11, 12, 13 }, 1,
        { QStringLiteral("https://www.example.com/a"), QStringLiteral("about:blank"),
            QStringLiteral("https://other.org/x"), QStringLiteral("https://nomode.net/") },
        {}, isPrivate);
    // Every tab of the batch reports the batch's index, not its own position.
    QCOMPARE(spy.count(), 2);
    QCOMPARE(spy.at(0), (QVariantList { 1, 2, isPrivate }));
    QCOMPARE(spy.at(1), (QVariantList { 1, 1, isPrivate }));
}

void TestTabQueries::removeTabClosesGap_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<bool>("isPrivate");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("first") << 0 << false
                           << QStringList { QStringLiteral("2:0"), QStringLiteral("3:1"),
                                  QStringLiteral("4:2") };
    QTest::newRow("middle") << 2 << false
                            << QStringList { QStringLiteral("1:0"), QStringLiteral("2:1"),
                                   QStringLiteral("4:2") };
    QTest::newRow("last") << 3 << false
                          << QStringList { QStringLiteral("1:0"), QStringLiteral("2:1"),
                                 QStringLiteral("3:2") };
    QTest::newRow("middle, private") << 1 << true
                                     << QStringList { QStringLiteral("1:0"), QStringLiteral("3:1"),
                                            QStringLiteral("4:2") };
}

void TestTabQueries::removeTabClosesGap()
{
    QFETCH(int, index);
    QFETCH(bool, isPrivate);
    QFETCH(QStringList, expected);

    openTabs(4, isPrivate);
    const int tabId = index + 1;
    worker().addToTabHistory(tabId, QStringLiteral("https://second.example/"), QString(), isPrivate);
    worker().removeTab(tabId, index, isPrivate);
    QCOMPARE(strip(isPrivate), expected);
    QCOMPARE(HistoryProfile::scalar(
                 QStringLiteral("SELECT COUNT(*) FROM tab_history WHERE tab_id = ?"), { tabId }, isPrivate)
                 .toInt(),
        0);
    QCOMPARE(
        HistoryProfile::scalar(QStringLiteral("SELECT COUNT(*) FROM tab_history"), {}, isPrivate).toInt(), 3);
}

void TestTabQueries::clearTabsOnlyTouchesChosenDatabase_data()
{
    QTest::addColumn<bool>("isPrivate");
    QTest::newRow("file") << false;
    QTest::newRow("private") << true;
}

void TestTabQueries::clearTabsOnlyTouchesChosenDatabase()
{
    QFETCH(bool, isPrivate);

    openTabs(3, false);
    openTabs(2, true);
    worker().clearTabs(isPrivate);
    for (const QString& table :
        { QStringLiteral("tab"), QStringLiteral("link"), QStringLiteral("tab_history") }) {
        const QString sql = QStringLiteral("SELECT COUNT(*) FROM %1").arg(table);
        QCOMPARE(HistoryProfile::scalar(sql, {}, isPrivate).toInt(), 0);
        QCOMPARE(HistoryProfile::scalar(sql, {}, !isPrivate).toInt(), isPrivate ? 3 : 2);
    }
}

void TestTabQueries::getTabs_data()
{
    QTest::addColumn<int>("position");
    QTest::addColumn<int>("tabId");
    QTest::addColumn<QString>("url");
    QTest::addColumn<int>("deviceMode");
    QTest::addColumn<double>("dpr");
    QTest::addColumn<QString>("screenshot");

    QTest::newRow("site with mode and zoom") << 0 << 3 << QStringLiteral("https://news.example.com/page") << 2
                                             << 1.5 << QStringLiteral("/shots/3.jpg");
    QTest::newRow("nothing stored") << 1 << 1 << QStringLiteral("https://other.org/") << -1 << -1.0
                                    << QString();
    // Device modes and sites match anywhere in the url, not by host.
    QTest::newRow("substring match") << 2 << 2 << QStringLiteral("https://myexample.com/?s=news.example.com")
                                     << 2 << 1.5 << QString();
    QTest::newRow("current entry after going back")
        << 3 << 4 << QStringLiteral("https://zoom.example.net/") << -1 << 0.75 << QString();
}

void TestTabQueries::getTabs()
{
    QFETCH(int, position);
    QFETCH(int, tabId);
    QFETCH(QString, url);
    QFETCH(int, deviceMode);
    QFETCH(double, dpr);
    QFETCH(QString, screenshot);

    worker().addTabs({ 3, 1, 2, 4, 5 }, 0,
        { QStringLiteral("https://news.example.com/page"), QStringLiteral("https://other.org/"),
            QStringLiteral("https://myexample.com/?s=news.example.com"),
            QStringLiteral("https://zoom.example.net/"), QStringLiteral("about:blank") },
        { QStringLiteral("News"), QStringLiteral("Other"), QStringLiteral("Mine"), QStringLiteral("Zoom"),
            QString() },
        false);
    worker().addToTabHistory(4, QStringLiteral("https://later.example.org/"), QString(), false);
    worker().goBack(4, false);
    worker().setScreenshotTab(3, QStringLiteral("/shots/3.jpg"));
    worker().addTabs({ 9 }, 0, { QStringLiteral("https://private.example/") }, { QString() }, true);
    QVERIFY(HistoryProfile::exec(
        QStringLiteral("INSERT INTO sites (id, site) VALUES (1, 'news.example.com'), (2, "
                       "'zoom.example.net'), (3, 'unused.example')")));
    QVERIFY(HistoryProfile::exec(
        QStringLiteral("INSERT INTO site_dprs (site_id, dpr) VALUES (1, 1.5), (2, 0.75), "
                       "(3, 3.0)")));
    QVERIFY(HistoryProfile::exec(QStringLiteral("INSERT INTO device_modes VALUES ('example.com', 2)")));

    QSignalSpy spy(&worker(), &DBWorker::tabsAvailable);
    worker().getTabs();
    QCOMPARE(spy.count(), 1);
    const QList<Tab> tabs = spy.at(0).at(0).value<QList<Tab>>();
    // The internal page has no entry and the private tab lives elsewhere: neither is restored.
    QCOMPARE(tabs.size(), 4);
    const Tab& tab = tabs.at(position);
    QCOMPARE(tab.id, tabId);
    QCOMPARE(tab.orderIndex, position);
    QCOMPARE(tab.url, url);
    QCOMPARE(tab.deviceMode, deviceMode);
    QCOMPARE(tab.dpr, dpr);
    QCOMPARE(tab.screenshotPath, screenshot);
    QVERIFY(!tab.title.isEmpty());
}

QTEST_GUILESS_MAIN(TestTabQueries)
#include "tst_tabqueries.moc"
