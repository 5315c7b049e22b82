#include "support/historyprofile.h"
#include "support/logcapture.h"

#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <memory>

// Per-tab back/forward lists: entries joined to shared link rows, the tab's
// current entry, navigation, clearing and reading, on either connection.
class TestTabHistoryQueries : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void addToTabHistoryUsesChosenConnection_data();
    void addToTabHistoryUsesChosenConnection();
    void navigation_data();
    void navigation();
    void newPageAfterGoingBackDropsForwardEntries();
    void getTabHistory_data();
    void getTabHistory();
    void bookmarkedFlag_data();
    void bookmarkedFlag();
    void clearTabHistory_data();
    void clearTabHistory();
    void removeTabHistoryEntries_data();
    void removeTabHistoryEntries();
    void updateTabHistoryTitle_data();
    void updateTabHistoryTitle();
    void quotedText_data();
    void quotedText();
    void failuresWarnAndSignalNothing_data();
    void failuresWarnAndSignalNothing();

private:
    DBWorker& worker() { return m_profile->worker(); }
    static QString currentUrl(int tabId, bool isPrivate = false);
    // "tab:url" of every entry, oldest first.
    static QStringList entries(bool isPrivate = false);
    static void setEntryDate(const QString& url, qint64 date, bool isPrivate = false);
    static QStringList urls(const QList<Link>& links);

    std::unique_ptr<HistoryProfile> m_profile;
};

namespace
{
const QString pageA = QStringLiteral("https://a.example/");
const QString pageB = QStringLiteral("https://b.example/");
const QString pageC = QStringLiteral("https://c.example/");
const QString pageX = QStringLiteral("https://x.example/");
const QString pageY = QStringLiteral("https://y.example/");
const qint64 base = QDateTime(QDate(2023, 5, 10), QTime(8, 0)).toMSecsSinceEpoch();
} // namespace

void TestTabHistoryQueries::initTestCase()
{
    qRegisterMetaType<QList<Link>>("QList<Link>");
}

void TestTabHistoryQueries::init()
{
    m_profile = std::make_unique<HistoryProfile>();
    QVERIFY(m_profile->isValid());
}

void TestTabHistoryQueries::cleanup()
{
    m_profile.reset();
}

QString TestTabHistoryQueries::currentUrl(int tabId, bool isPrivate)
{
    return HistoryProfile::scalar(
        QStringLiteral("SELECT link.url FROM tab JOIN tab_history ON tab_history.id = "
                       "tab.tab_history_id JOIN link ON link.link_id = tab_history.link_id "
                       "WHERE tab.tab_id = ?"),
        { tabId }, isPrivate)
        .toString();
}

QStringList TestTabHistoryQueries::entries(bool isPrivate)
{
    return HistoryProfile::rows(
        QStringLiteral("SELECT tab_history.tab_id, link.url FROM tab_history JOIN link ON "
                       "link.link_id = tab_history.link_id ORDER BY tab_history.id"),
        {}, isPrivate)
        .replaceInStrings(QStringLiteral("|"), QStringLiteral(":"));
}

void TestTabHistoryQueries::setEntryDate(const QString& url, qint64 date, bool isPrivate)
{
    QVERIFY(
        HistoryProfile::exec(QStringLiteral("UPDATE tab_history SET date = ? WHERE link_id = (SELECT link_id "
                                            "FROM link WHERE url = ?)"),
            { date, url }, isPrivate));
}

QStringList TestTabHistoryQueries::urls(const QList<Link>& links)
{
    QStringList result;
    for (const Link& link : links)
        result.append(link.url);
    return result;
}

void TestTabHistoryQueries::addToTabHistoryUsesChosenConnection_data()
{
    QTest::addColumn<bool>("isPrivate");
    QTest::newRow("file") << false;
    QTest::newRow("private") << true;
}

void TestTabHistoryQueries::addToTabHistoryUsesChosenConnection()
{
    QFETCH(bool, isPrivate);

    QSignalSpy added(&worker(), &DBWorker::linkAddedToTabHistory);
    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    worker().addToTabHistory(1, pageA, QStringLiteral("First title"), isPrivate);
    worker().addToTabHistory(1, pageB, QStringLiteral("B"), isPrivate);
    worker().addToTabHistory(2, pageA, QStringLiteral("Second title"), isPrivate);
    QCOMPARE(added.count(), 3);

    // A url visited by two tabs shares one link row, keeping the title it was created with.
    QCOMPARE(
        HistoryProfile::rows(QStringLiteral("SELECT url, title, COALESCE(thumb_path, '') FROM link ORDER BY "
                                            "link_id"),
            {}, isPrivate),
        (QStringList { pageA + QStringLiteral("|First title|"), pageB + QStringLiteral("|B|") }));
    QCOMPARE(entries(isPrivate),
        (QStringList {
            QStringLiteral("1:") + pageA, QStringLiteral("1:") + pageB, QStringLiteral("2:") + pageA }));
    QCOMPARE(currentUrl(1, isPrivate), pageB);
    QCOMPARE(currentUrl(2, isPrivate), pageA);
    QVERIFY(HistoryProfile::scalar(QStringLiteral("SELECT MIN(date) FROM tab_history"), {}, isPrivate)
                .toLongLong()
        >= before);

    // Nothing leaks to the other database; browsing history is not the tab history's business.
    for (const QString& table :
        { QStringLiteral("tab"), QStringLiteral("tab_history"), QStringLiteral("link") })
        QCOMPARE(HistoryProfile::scalar(QStringLiteral("SELECT COUNT(*) FROM %1").arg(table), {}, !isPrivate)
                     .toInt(),
            0);
    QCOMPARE(HistoryProfile::scalar(QStringLiteral("SELECT COUNT(*) FROM browser_history")).toInt(), 0);
}

void TestTabHistoryQueries::navigation_data()
{
    QTest::addColumn<QString>("moves"); // B: back, F: forward
    QTest::addColumn<bool>("isPrivate");
    QTest::addColumn<QString>("expected");

    QTest::newRow("newest") << QString() << false << pageC;
    QTest::newRow("forward at the newest end") << QStringLiteral("F") << false << pageC;
    QTest::newRow("one back") << QStringLiteral("B") << false << pageB;
    QTest::newRow("to the oldest") << QStringLiteral("BB") << false << pageA;
    QTest::newRow("back at the oldest end") << QStringLiteral("BBBB") << false << pageA;
    QTest::newRow("back and forward") << QStringLiteral("BBF") << false << pageB;
    QTest::newRow("forward past the end") << QStringLiteral("BBFFF") << false << pageC;
    QTest::newRow("private back") << QStringLiteral("BB") << true << pageA;
    QTest::newRow("private back and forward") << QStringLiteral("BBBF") << true << pageB;
}

void TestTabHistoryQueries::navigation()
{
    QFETCH(QString, moves);
    QFETCH(bool, isPrivate);
    QFETCH(QString, expected);

    // The other tab's entries sit between ours: they must never be stepped on.
    worker().addToTabHistory(1, pageA, QString(), isPrivate);
    worker().addToTabHistory(2, pageX, QString(), isPrivate);
    worker().addToTabHistory(1, pageB, QString(), isPrivate);
    worker().addToTabHistory(2, pageY, QString(), isPrivate);
    worker().addToTabHistory(1, pageC, QString(), isPrivate);

    for (const QChar move : moves) {
        if (move == QLatin1Char('B'))
            worker().goBack(1, isPrivate);
        else
            worker().goForward(1, isPrivate);
    }
    QCOMPARE(currentUrl(1, isPrivate), expected);
    QCOMPARE(currentUrl(2, isPrivate), pageY);
    QCOMPARE(entries(isPrivate).size(), 5);
}

void TestTabHistoryQueries::newPageAfterGoingBackDropsForwardEntries()
{
    worker().addToTabHistory(1, pageA, QString(), false);
    worker().addToTabHistory(1, pageB, QString(), false);
    worker().addToTabHistory(2, pageX, QString(), false);
    worker().addToTabHistory(1, pageC, QString(), false);
    worker().goBack(1, false);
    worker().goBack(1, false);
    const int current
        = HistoryProfile::scalar(QStringLiteral("SELECT tab_history_id FROM tab WHERE tab_id = 1")).toInt();

    worker().clearDeprecatedTabHistory(1, current, false);
    worker().addToTabHistory(1, pageY, QString(), false);
    QCOMPARE(entries(),
        (QStringList {
            QStringLiteral("1:") + pageA, QStringLiteral("2:") + pageX, QStringLiteral("1:") + pageY }));

    worker().goForward(1, false);
    QCOMPARE(currentUrl(1), pageY);
    worker().goBack(1, false);
    QCOMPARE(currentUrl(1), pageA);
}

void TestTabHistoryQueries::getTabHistory_data()
{
    QTest::addColumn<QString>("filter");
    QTest::addColumn<qint64>("start"); // offset from base, -1: none
    QTest::addColumn<qint64>("end");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<bool>("currentListed");

    QTest::newRow("all, newest first")
        << QString() << qint64(-1) << qint64(-1) << QStringList { pageC, pageB, pageA } << true;
    QTest::newRow("filter on url") << QStringLiteral("a.example") << qint64(-1) << qint64(-1)
                                   << QStringList { pageA } << false;
    QTest::newRow("filter on url or title")
        << QStringLiteral("news") << qint64(-1) << qint64(-1) << QStringList { pageB, pageA } << true;
    // Unlike the browsing history, the bounds apply to url and title matches alike.
    QTest::newRow("filter and start")
        << QStringLiteral("news") << qint64(1500) << qint64(-1) << QStringList { pageB } << true;
    QTest::newRow("start") << QString() << qint64(2000) << qint64(-1) << QStringList { pageC, pageB } << true;
    QTest::newRow("end") << QString() << qint64(-1) << qint64(2000) << QStringList { pageB, pageA } << true;
    QTest::newRow("both bounds") << QString() << qint64(2500) << qint64(3500) << QStringList { pageC }
                                 << false;
}

void TestTabHistoryQueries::getTabHistory()
{
    QFETCH(QString, filter);
    QFETCH(qint64, start);
    QFETCH(qint64, end);
    QFETCH(QStringList, expected);
    QFETCH(bool, currentListed);

    worker().addToTabHistory(1, pageA, QStringLiteral("Front page news"), false);
    worker().addToTabHistory(2, pageX, QStringLiteral("news elsewhere"), false);
    worker().addToTabHistory(1, pageB, QStringLiteral("News of the shop"), false);
    worker().addToTabHistory(1, pageC, QStringLiteral("Other"), false);
    worker().goBack(1, false);
    setEntryDate(pageA, base + 1000);
    setEntryDate(pageB, base + 2000);
    setEntryDate(pageC, base + 3000);
    setEntryDate(pageX, base + 2000);

    QSignalSpy spy(&worker(), &DBWorker::tabHistoryAvailable);
    worker().getTabHistory(1, filter, start < 0 ? QDateTime() : QDateTime::fromMSecsSinceEpoch(base + start),
        end < 0 ? QDateTime() : QDateTime::fromMSecsSinceEpoch(base + end), false);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toInt(), 1);
    const QList<Link> links = spy.at(0).at(1).value<QList<Link>>();
    QCOMPARE(urls(links), expected);

    const int currentId
        = HistoryProfile::scalar(QStringLiteral("SELECT tab_history_id FROM tab WHERE tab_id = 1")).toInt();
    QCOMPARE(spy.at(0).at(2).toInt(), currentListed ? currentId : 0);
    for (const Link& link : links) {
        QVERIFY(link.isValid);
        QVERIFY(link.thumbnailPath.isEmpty());
        QCOMPARE(link.id,
            HistoryProfile::scalar(QStringLiteral("SELECT tab_history.id FROM tab_history JOIN link ON "
                                                  "link.link_id = tab_history.link_id WHERE link.url = ?"),
                { link.url })
                .toInt());
        const qint64 offset = link.date.toMSecsSinceEpoch() - base;
        QCOMPARE(offset, qint64(link.url == pageA ? 1000 : link.url == pageB ? 2000 : 3000));
    }
}

void TestTabHistoryQueries::bookmarkedFlag_data()
{
    QTest::addColumn<QStringList>("bookmarks"); // urls; empty string: a folder (NULL url)
    QTest::addColumn<bool>("isPrivate");
    QTest::addColumn<QStringList>("expected"); // bookmarked urls of the tab, newest first

    const QString quoted = QStringLiteral("https://q.example/it's");
    QTest::newRow("no bookmarks at all") << QStringList {} << false << QStringList {};
    QTest::newRow("folders only") << QStringList { QString(), QString() } << false << QStringList {};
    QTest::newRow("one bookmarked") << QStringList { QString(), pageB } << false << QStringList { pageB };
    QTest::newRow("quoted url") << QStringList { quoted, pageA } << false << QStringList { quoted, pageA };
    // A bookmark crafted to widen the match must stay one plain url.
    QTest::newRow("injection attempt")
        << QStringList { QStringLiteral("x') OR 1=1 OR link.url IN ('y") } << false << QStringList {};
    // Bookmarks live in the file but mark private entries too.
    QTest::newRow("private tab") << QStringList { pageB, quoted } << true << QStringList { quoted, pageB };
}

void TestTabHistoryQueries::bookmarkedFlag()
{
    QFETCH(QStringList, bookmarks);
    QFETCH(bool, isPrivate);
    QFETCH(QStringList, expected);

    QVERIFY(HistoryProfile::exec(QStringLiteral("DELETE FROM bookmark_node")));
    for (const QString& url : bookmarks)
        QVERIFY(HistoryProfile::exec(QStringLiteral("INSERT INTO bookmark_node (title, url) VALUES ('b', ?)"),
            { url.isEmpty() ? QVariant(QVariant::String) : QVariant(url) }));
    worker().addToTabHistory(1, pageA, QString(), isPrivate);
    worker().addToTabHistory(1, pageB, QString(), isPrivate);
    worker().addToTabHistory(1, QStringLiteral("https://q.example/it's"), QString(), isPrivate);

    QSignalSpy spy(&worker(), &DBWorker::tabHistoryAvailable);
    worker().getTabHistory(1, QString(), QDateTime(), QDateTime(), isPrivate);
    QCOMPARE(spy.count(), 1);
    const QList<Link> links = spy.at(0).at(1).value<QList<Link>>();
    QCOMPARE(links.size(), 3);
    QStringList bookmarked;
    for (const Link& link : links) {
        if (link.bookmarked)
            bookmarked.append(link.url);
    }
    QCOMPARE(bookmarked, expected);
    QCOMPARE(HistoryProfile::scalar(QStringLiteral("SELECT COUNT(*) FROM link"), {}, isPrivate).toInt(), 3);
}

void TestTabHistoryQueries::clearTabHistory_data()
{
    QTest::addColumn<int>("tabId");
    QTest::addColumn<qint64>("start"); // offset from base, -1: none
    QTest::addColumn<qint64>("end");
    QTest::addColumn<bool>("isPrivate");
    QTest::addColumn<QStringList>("remaining"); // "tab:url", oldest first

    const QString a = QStringLiteral("1:") + pageA, b = QStringLiteral("1:") + pageB,
                  c = QStringLiteral("1:") + pageC;
    const QString x = QStringLiteral("2:") + pageX, y = QStringLiteral("2:") + pageY;
    // Entries in id order A, X, B, Y, C. Tab 1 shows B, tab 2 shows Y; those two always survive.
    QTest::newRow("one tab") << 1 << qint64(-1) << qint64(-1) << false << QStringList { x, b, y };
    QTest::newRow("every tab") << -1 << qint64(-1) << qint64(-1) << false << QStringList { b, y };
    QTest::newRow("one tab from a time on")
        << 1 << qint64(2500) << qint64(-1) << false << QStringList { a, x, b, y };
    QTest::newRow("every tab up to a time")
        << -1 << qint64(-1) << qint64(2000) << false << QStringList { b, y, c };
    QTest::newRow("every tab between")
        << -1 << qint64(1200) << qint64(2800) << false << QStringList { a, b, y, c };
    QTest::newRow("private, one tab") << 1 << qint64(-1) << qint64(-1) << true << QStringList { x, b, y };
    QTest::newRow("private, every tab")
        << -1 << qint64(-1) << qint64(2000) << true << QStringList { b, y, c };
}

void TestTabHistoryQueries::clearTabHistory()
{
    QFETCH(int, tabId);
    QFETCH(qint64, start);
    QFETCH(qint64, end);
    QFETCH(bool, isPrivate);
    QFETCH(QStringList, remaining);

    worker().addToTabHistory(1, pageA, QString(), isPrivate);
    worker().addToTabHistory(2, pageX, QString(), isPrivate);
    worker().addToTabHistory(1, pageB, QString(), isPrivate);
    worker().addToTabHistory(2, pageY, QString(), isPrivate);
    worker().addToTabHistory(1, pageC, QString(), isPrivate);
    worker().goBack(1, isPrivate);
    setEntryDate(pageA, base + 1000, isPrivate);
    setEntryDate(pageX, base + 1500, isPrivate);
    setEntryDate(pageB, base + 2000, isPrivate);
    setEntryDate(pageY, base + 2500, isPrivate);
    setEntryDate(pageC, base + 3000, isPrivate);

    QSignalSpy spy(&worker(), &DBWorker::tabHistoryAvailable);
    worker().clearTabHistory(tabId, 2, start < 0 ? QDateTime() : QDateTime::fromMSecsSinceEpoch(base + start),
        end < 0 ? QDateTime() : QDateTime::fromMSecsSinceEpoch(base + end), isPrivate);
    QCOMPARE(entries(isPrivate), remaining);
    QCOMPARE(currentUrl(1, isPrivate), pageB);
    QCOMPARE(currentUrl(2, isPrivate), pageY);

    // The open tab's list is read again, unfiltered.
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toInt(), 2);
    QStringList tabTwo;
    for (const QString& entry : remaining) {
        if (entry.startsWith(QLatin1String("2:")))
            tabTwo.prepend(entry.mid(2));
    }
    QCOMPARE(urls(spy.at(0).at(1).value<QList<Link>>()), tabTwo);
}

void TestTabHistoryQueries::removeTabHistoryEntries_data()
{
    QTest::addColumn<QList<int>>("ids"); // tab_history ids: 1 A, 2 X, 3 B
    QTest::addColumn<int>("tabId");
    QTest::addColumn<bool>("asSet");
    QTest::addColumn<bool>("isPrivate");
    QTest::addColumn<QStringList>("remaining");

    const QString a = QStringLiteral("1:") + pageA, b = QStringLiteral("1:") + pageB;
    const QString x = QStringLiteral("2:") + pageX;
    QTest::newRow("one entry") << QList<int> { 1 } << 1 << false << false << QStringList { x, b };
    QTest::newRow("entry of another tab stays")
        << QList<int> { 2 } << 1 << false << false << QStringList { a, x, b };
    QTest::newRow("several entries") << QList<int> { 1, 2, 3 } << 1 << true << false << QStringList { x };
    QTest::newRow("private entries") << QList<int> { 1, 3 } << 1 << true << true << QStringList { x };
    QTest::newRow("empty set") << QList<int> {} << 1 << true << false << QStringList { a, x, b };
}

void TestTabHistoryQueries::removeTabHistoryEntries()
{
    QFETCH(QList<int>, ids);
    QFETCH(int, tabId);
    QFETCH(bool, asSet);
    QFETCH(bool, isPrivate);
    QFETCH(QStringList, remaining);

    worker().addToTabHistory(1, pageA, QString(), isPrivate);
    worker().addToTabHistory(2, pageX, QString(), isPrivate);
    worker().addToTabHistory(1, pageB, QString(), isPrivate);
    if (asSet)
        worker().removeTabHistoryEntries(tabId, QSet<int>(ids.cbegin(), ids.cend()), isPrivate);
    else
        worker().removeTabHistoryEntry(ids.first(), tabId, isPrivate);
    QCOMPARE(entries(isPrivate), remaining);
}

void TestTabHistoryQueries::updateTabHistoryTitle_data()
{
    QTest::addColumn<int>("tabId");
    QTest::addColumn<QString>("url");
    QTest::addColumn<bool>("isPrivate");
    QTest::addColumn<bool>("changed");

    QTest::newRow("current entry") << 1 << pageB << false << true;
    QTest::newRow("current entry, private") << 1 << pageB << true << true;
    QTest::newRow("earlier entry of the tab") << 1 << pageA << false << false;
    QTest::newRow("current entry of another tab") << 1 << pageX << false << false;
    QTest::newRow("unknown tab") << 7 << pageB << false << false;
}

void TestTabHistoryQueries::updateTabHistoryTitle()
{
    QFETCH(int, tabId);
    QFETCH(QString, url);
    QFETCH(bool, isPrivate);
    QFETCH(bool, changed);

    worker().addToTabHistory(1, pageA, QStringLiteral("old"), isPrivate);
    worker().addToTabHistory(2, pageX, QStringLiteral("old"), isPrivate);
    worker().addToTabHistory(1, pageB, QStringLiteral("old"), isPrivate);

    if (!changed)
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("No link found for tabId")));
    QSignalSpy spy(&worker(), &DBWorker::tabHistoryTitleChanged);
    worker().updateTabHistoryTitle(tabId, url, QStringLiteral("new"), isPrivate);
    QCOMPARE(spy.count(), changed ? 1 : 0);
    if (changed)
        QCOMPARE(spy.at(0), (QVariantList { tabId, url, QStringLiteral("new") }));
    QCOMPARE(
        HistoryProfile::column(QStringLiteral("SELECT title FROM link WHERE url = ?"), { url }, isPrivate),
        QVariantList { changed ? QStringLiteral("new") : QStringLiteral("old") });
    QCOMPARE(
        HistoryProfile::scalar(QStringLiteral("SELECT COUNT(*) FROM link WHERE title = 'new'"), {}, isPrivate)
            .toInt(),
        changed ? 1 : 0);
}

void TestTabHistoryQueries::quotedText_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("title");

    QTest::newRow("apostrophe") << QStringLiteral("https://example.com/it's") << QStringLiteral("Bob's page");
    QTest::newRow("injection attempt")
        << QStringLiteral("https://example.com/'); DELETE FROM link; --") << QStringLiteral("x' OR '1'='1");
    QTest::newRow("placeholders") << QStringLiteral("https://example.com/%1%2%3?:search")
                                  << QStringLiteral("%2 :search ?");
}

void TestTabHistoryQueries::quotedText()
{
    QFETCH(QString, url);
    QFETCH(QString, title);

    QVERIFY(HistoryProfile::exec(
        QStringLiteral("INSERT INTO bookmark_node (title, url) VALUES (?, ?)"), { title, url }));
    worker().addToTabHistory(1, pageA, QStringLiteral("A"), false);
    worker().addToTabHistory(1, url, title, false);
    QCOMPARE(currentUrl(1), url);

    QSignalSpy spy(&worker(), &DBWorker::tabHistoryAvailable);
    worker().getTabHistory(1, url, QDateTime(), QDateTime(), false);
    worker().getTabHistory(1, title, QDateTime(), QDateTime(), false);
    worker().getTabHistory(1, QString(), QDateTime(), QDateTime(), false);
    QCOMPARE(spy.count(), 3);
    QCOMPARE(urls(spy.at(0).at(1).value<QList<Link>>()), QStringList { url });
    QCOMPARE(urls(spy.at(1).at(1).value<QList<Link>>()), QStringList { url });
    const QList<Link> all = spy.at(2).at(1).value<QList<Link>>();
    QCOMPARE(urls(all), (QStringList { url, pageA }));
    QVERIFY(all.at(0).bookmarked);
    QVERIFY(!all.at(1).bookmarked);
    QCOMPARE(all.at(0).title, title);

    QSignalSpy titleSpy(&worker(), &DBWorker::tabHistoryTitleChanged);
    worker().updateTabHistoryTitle(1, url, title + QStringLiteral("'"), false);
    QCOMPARE(titleSpy.count(), 1);
    QSignalSpy entrySpy(&worker(), &DBWorker::tabHistoryEntryChanged);
    worker().updateTabHistoryEntry(all.at(0).id, url + QStringLiteral("'"), title, false);
    QCOMPARE(entrySpy.count(), 1);
    QCOMPARE(HistoryProfile::rows(QStringLiteral("SELECT url, title FROM link ORDER BY link_id")),
        (QStringList { pageA + QStringLiteral("|A"), url + QStringLiteral("'|") + title }));
}

void TestTabHistoryQueries::failuresWarnAndSignalNothing_data()
{
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QString>("table"); // dropped before the operation
    QTest::addColumn<bool>("isPrivate");
    QTest::addColumn<QString>("warning");

    QTest::newRow("visit without link table")
        << QStringLiteral("addToTabHistory") << QStringLiteral("link") << true
        << QStringLiteral(
               "void DBWorker::addToTabHistory(int, const QString&, const QString&, bool) failed to add "
               "url to tab history");
    QTest::newRow("entry rewrite without link table")
        << QStringLiteral("updateTabHistoryEntry") << QStringLiteral("link") << true
        << QStringLiteral(
               "void DBWorker::updateTabHistoryEntry(int, const QString&, const QString&, bool) Failed to "
               "update tab history entry");
    QTest::newRow("history title without history table")
        << QStringLiteral("updateHistoryTitle") << QStringLiteral("browser_history") << false
        << QStringLiteral(
               "void DBWorker::updateHistoryTitle(const QString&, const QString&) Failed to add title to "
               "browser history");
}

void TestTabHistoryQueries::failuresWarnAndSignalNothing()
{
    QFETCH(QString, operation);
    QFETCH(QString, table);
    QFETCH(bool, isPrivate);
    QFETCH(QString, warning);

    worker().addToTabHistory(1, pageA, QString(), isPrivate);
    const int entryId = HistoryProfile::scalar(
        QStringLiteral("SELECT tab_history_id FROM tab WHERE tab_id = 1"), {}, isPrivate)
                            .toInt();
    QVERIFY(HistoryProfile::exec(QStringLiteral("DROP TABLE %1").arg(table), {}, isPrivate));

    QSignalSpy added(&worker(), &DBWorker::linkAddedToTabHistory);
    QSignalSpy entryChanged(&worker(), &DBWorker::tabHistoryEntryChanged);
    QSignalSpy titleChanged(&worker(), &DBWorker::historyTitleChanged);
    LogCapture log("browser.app.storage");
    if (operation == QLatin1String("addToTabHistory"))
        worker().addToTabHistory(1, pageB, QString(), isPrivate);
    else if (operation == QLatin1String("updateTabHistoryEntry"))
        worker().updateTabHistoryEntry(entryId, pageB, QStringLiteral("B"), isPrivate);
    else
        worker().updateHistoryTitle(pageA, QStringLiteral("A"));

    QVERIFY2(!log.startingWith(warning).isEmpty(), qPrintable(log.messages().join(QLatin1Char('\n'))));
    QCOMPARE(added.count() + entryChanged.count() + titleChanged.count(), 0);
    // The tab still shows the entry it showed, and no entry was added.
    QCOMPARE(HistoryProfile::scalar(
                 QStringLiteral("SELECT tab_history_id FROM tab WHERE tab_id = 1"), {}, isPrivate)
                 .toInt(),
        entryId);
    QCOMPARE(
        HistoryProfile::scalar(QStringLiteral("SELECT COUNT(*) FROM tab_history"), {}, isPrivate).toInt(), 1);
}

QTEST_GUILESS_MAIN(TestTabHistoryQueries)
#include "tst_tabhistoryqueries.moc"
