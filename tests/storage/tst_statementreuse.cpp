// The worker runs its statements again and again, from a cache per connection:
// operations that call one another while they hold the same statement, long
// random sequences of visits and navigation on both connections, statements
// whose text changes every time, reads left half-done, and failures.

#include "storage/dbworker.h"
#include "support/historyprofile.h"
#include "support/logcapture.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

namespace
{

// The tab and tab-history tables of one connection, as the user would expect them.
struct ConnectionModel {
    struct TabState {
        QList<int> entries; // ascending ids
        int current = 0;
    };
    QMap<int, TabState> tabs;
    QMap<int, QString> entryUrls;
    QMap<QString, QString> linkTitles; // one link row per url; removing a tab keeps it
    int lastEntryId = 0;

    QStringList tabRows() const
    {
        QStringList rows;
        for (auto it = tabs.cbegin(); it != tabs.cend(); ++it)
            rows.append(QStringLiteral("%1|%2").arg(it.key()).arg(it->current));
        return rows;
    }
    QStringList entryRows() const
    {
        QMap<int, QString> byId; // ascending ids, as the table lists them
        for (auto it = tabs.cbegin(); it != tabs.cend(); ++it) {
            for (int id : it->entries)
                byId.insert(id, QStringLiteral("%1|%2|%3").arg(id).arg(it.key()).arg(entryUrls.value(id)));
        }
        return byId.values();
    }
    QStringList linkRows() const
    {
        QStringList rows;
        for (auto it = linkTitles.cbegin(); it != linkTitles.cend(); ++it)
            rows.append(it.key() + QLatin1Char('|') + it.value());
        return rows;
    }
};

struct HistoryRow {
    QString title;
    int visits = 0;
};

const QStringList urlPool = {
    QStringLiteral("https://a.example/"),
    QStringLiteral("https://a.example/news"),
    QStringLiteral("https://b.example/"),
    QStringLiteral("https://b.example/o'quote"),
    QStringLiteral("https://c.example/?q=1"),
    QStringLiteral("https://d.example/%2"),
    QStringLiteral("https://e.example/"),
    QStringLiteral("https://f.example/page"),
};

int compiledStatements(bool isPrivate, bool busyOnly = false)
{
    QString sql = QStringLiteral("SELECT COUNT(*) FROM sqlite_stmt WHERE sql NOT LIKE '%sqlite_stmt%'");
    if (busyOnly)
        sql += QStringLiteral(" AND busy");
    return HistoryProfile::scalar(sql, {}, isPrivate).toInt();
}

} // namespace

class TestStatementReuse : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void nestedOperations_data();
    void nestedOperations();
    void randomSequenceMatchesModel();
    void splicedStatementsStayBounded();
    void noStatementLeftMidRead_data();
    void noStatementLeftMidRead();
    void droppedTableIsLoggedEveryTimeAndRecovers();

private:
    DBWorker& worker() { return m_profile->worker(); }
    std::unique_ptr<HistoryProfile> m_profile;
};

void TestStatementReuse::initTestCase()
{
    qRegisterMetaType<QList<Link>>("QList<Link>");
}

void TestStatementReuse::init()
{
    m_profile = std::make_unique<HistoryProfile>();
    QVERIFY(m_profile->isValid());
}

void TestStatementReuse::cleanup()
{
    m_profile.reset();
}

void TestStatementReuse::nestedOperations_data()
{
    QTest::addColumn<bool>("isPrivate");
    QTest::newRow("file") << false;
    QTest::newRow("private") << true;
}

void TestStatementReuse::nestedOperations()
{
    QFETCH(bool, isPrivate);

    // addTabs holds "SELECT 1 FROM tab ..." while each recorded page runs it again
    // in updateTab; the second batch finds the statements of the first one idle.
    const QStringList first = { urlPool.at(0), urlPool.at(1), urlPool.at(2) };
    const QStringList second = { urlPool.at(3), urlPool.at(0) };
    worker().addTabs(
        { 1, 2, 3 }, 0, first, { QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("C") }, isPrivate);
    worker().addTabs({ 4, 5 }, 1, second, { QStringLiteral("D"), QString() }, isPrivate);

    const QString shown = QStringLiteral(
        "SELECT tab.tab_id, tab.order_index, link.url FROM tab JOIN tab_history ON tab.tab_history_id = "
        "tab_history.id JOIN link ON link.link_id = tab_history.link_id ORDER BY tab.order_index");
    QCOMPARE(HistoryProfile::rows(shown, {}, isPrivate),
        QStringList({ QStringLiteral("1|0|") + urlPool.at(0), QStringLiteral("4|1|") + urlPool.at(3),
            QStringLiteral("5|2|") + urlPool.at(0), QStringLiteral("2|3|") + urlPool.at(1),
            QStringLiteral("3|4|") + urlPool.at(2) }));
    QCOMPARE(HistoryProfile::scalar(QStringLiteral("SELECT COUNT(*) FROM link"), {}, isPrivate).toInt(), 4);
}

void TestStatementReuse::randomSequenceMatchesModel()
{
    QRandomGenerator random(77031u);
    ConnectionModel models[2];
    QMap<QString, HistoryRow> history;
    QSignalSpy added(&worker(), &DBWorker::linkAddedToTabHistory);
    QSignalSpy tabHistory(&worker(), &DBWorker::tabHistoryAvailable);
    int expectedAdded = 0;

    for (int step = 0; step < 600; ++step) {
        const bool isPrivate = random.bounded(3) == 0;
        ConnectionModel& model = models[isPrivate ? 1 : 0];
        const int tab = 1 + int(random.bounded(4));
        // Only a visit makes a tab; everything else works on one that exists.
        const int op = model.tabs.contains(tab) ? int(random.bounded(10)) : 0;
        ConnectionModel::TabState& state = model.tabs[tab];
        QString what;

        if (op < 4) {
            const QString url = urlPool.at(int(random.bounded(urlPool.size())));
            const QString title = random.bounded(4) == 0 ? QString() : QStringLiteral("T%1").arg(step);
            what = QStringLiteral("visit %1").arg(url);
            worker().addToTabHistory(tab, url, title, isPrivate);
            if (!model.linkTitles.contains(url))
                model.linkTitles.insert(url, title);
            state.entries.append(++model.lastEntryId);
            state.current = model.lastEntryId;
            model.entryUrls.insert(model.lastEntryId, url);
            ++expectedAdded;
            if (!isPrivate) {
                worker().addHistoryEntry(url, title);
                HistoryRow& row = history[url];
                if (row.visits == 0 || !title.isEmpty())
                    row.title = title;
                ++row.visits;
            }
        } else if (op == 4) {
            what = QStringLiteral("back");
            worker().goBack(tab, isPrivate);
            const auto it = std::lower_bound(state.entries.cbegin(), state.entries.cend(), state.current);
            if (it != state.entries.cbegin())
                state.current = *(it - 1);
        } else if (op == 5) {
            what = QStringLiteral("forward");
            worker().goForward(tab, isPrivate);
            const auto it = std::upper_bound(state.entries.cbegin(), state.entries.cend(), state.current);
            if (it != state.entries.cend())
                state.current = *it;
        } else if (op == 6) {
            what = QStringLiteral("drop forward entries");
            worker().clearDeprecatedTabHistory(tab, state.current, isPrivate);
            while (!state.entries.isEmpty() && state.entries.last() > state.current)
                model.entryUrls.remove(state.entries.takeLast());
        } else if (op == 7) {
            what = QStringLiteral("close tab");
            worker().removeTab(tab, 0, isPrivate);
            for (int id : qAsConst(state.entries))
                model.entryUrls.remove(id);
            model.tabs.remove(tab);
        } else if (op == 8) {
            what = QStringLiteral("retitle");
            const QString title = QStringLiteral("R%1").arg(step);
            worker().updateTabHistoryTitle(tab, model.entryUrls.value(state.current), title, isPrivate);
            model.linkTitles[model.entryUrls.value(state.current)] = title;
        } else {
            what = QStringLiteral("read tab history");
            tabHistory.clear();
            worker().getTabHistory(tab, QString(), QDateTime(), QDateTime(), isPrivate);
            QCOMPARE(tabHistory.count(), 1);
            QStringList read;
            for (const Link& link : tabHistory.first().at(1).value<QList<Link>>())
                read.append(QStringLiteral("%1|%2").arg(link.id).arg(link.url));
            QStringList expected;
            for (auto it = state.entries.crbegin(); it != state.entries.crend(); ++it)
                expected.append(QStringLiteral("%1|%2").arg(*it).arg(model.entryUrls.value(*it)));
            QCOMPARE(read, expected);
            QCOMPARE(tabHistory.first().at(2).toInt(), state.current);
        }

        const QByteArray context
            = QStringLiteral("step %1 (%2, %3, tab %4)")
                  .arg(step)
                  .arg(what, isPrivate ? QStringLiteral("private") : QStringLiteral("file"))
                  .arg(tab)
                  .toUtf8();
        const auto matches = [&](const QString& sql, const QStringList& expected) {
            const QStringList actual = HistoryProfile::rows(sql, {}, isPrivate);
            if (actual == expected)
                return true;
            qWarning().noquote() << context << sql << "\n  stored:  " << actual
                                 << "\n  expected:" << expected;
            return false;
        };
        QVERIFY(matches(
            QStringLiteral("SELECT tab_id, tab_history_id FROM tab ORDER BY tab_id"), model.tabRows()));
        QVERIFY(matches(
            QStringLiteral("SELECT tab_history.id, tab_history.tab_id, link.url FROM tab_history JOIN "
                           "link ON link.link_id = tab_history.link_id ORDER BY tab_history.id"),
            model.entryRows()));
        QVERIFY(matches(QStringLiteral("SELECT url, title FROM link ORDER BY url"), model.linkRows()));
        QVERIFY2(added.count() == expectedAdded, context.constData());
    }

    QStringList expectedHistory;
    for (auto it = history.cbegin(); it != history.cend(); ++it)
        expectedHistory.append(
            QStringLiteral("%1|%2|%3").arg(it.key(), it->title, QString::number(it->visits)));
    QCOMPARE(HistoryProfile::rows(
                 QStringLiteral("SELECT url, title, visited_count FROM browser_history ORDER BY url")),
        expectedHistory);
}

void TestStatementReuse::splicedStatementsStayBounded()
{
    // Ids, dates and the bookmarked urls are written into these statements, so
    // each call compiles a statement never seen before.
    for (int i = 0; i < 150; ++i) {
        worker().removeHistoryEntries({ i, i + 1000 });
        worker().getTabHistory(i, QString(), QDateTime(), QDateTime(), i % 2 == 0);
        worker().clearHistory(QDateTime::fromMSecsSinceEpoch(1000 + i), QDateTime());
    }
    const int limit = StatementCache::defaultCapacity;
    QVERIFY2(compiledStatements(false) <= limit, qPrintable(QString::number(compiledStatements(false))));
    QVERIFY2(compiledStatements(true) <= limit, qPrintable(QString::number(compiledStatements(true))));

    // The cache is still of use after the churn.
    QSignalSpy added(&worker(), &DBWorker::linkAddedToTabHistory);
    worker().addToTabHistory(1, urlPool.at(0), QStringLiteral("A"), false);
    worker().addToTabHistory(1, urlPool.at(1), QStringLiteral("B"), false);
    QCOMPARE(added.count(), 2);
    QCOMPARE(HistoryProfile::scalar(QStringLiteral("SELECT COUNT(*) FROM tab_history")).toInt(), 2);
}

void TestStatementReuse::noStatementLeftMidRead_data()
{
    QTest::addColumn<QString>("operation");
    QTest::addColumn<bool>("isPrivate");

    // Each of these reads one row of a result that has more, or stops after the first.
    QTest::newRow("link reused") << "visit twice" << false;
    QTest::newRow("link reused, private") << "visit twice" << true;
    QTest::newRow("is bookmarked") << "isBookmarked" << false;
    QTest::newRow("bookmark data") << "getBookmarkData" << false;
    QTest::newRow("bookmark moved") << "moveBookmarkNode" << false;
    QTest::newRow("going back") << "goBack" << true;
    QTest::newRow("device mode") << "getDeviceMode" << true;
}

void TestStatementReuse::noStatementLeftMidRead()
{
    QFETCH(QString, operation);
    QFETCH(bool, isPrivate);

    const QString url = urlPool.at(0);
    worker().addToTabHistory(1, url, QStringLiteral("A"), isPrivate);
    worker().addToTabHistory(1, urlPool.at(1), QStringLiteral("B"), isPrivate);
    worker().addBookmarkNode(1, url, QStringLiteral("A"));
    worker().addBookmarkNode(1, url, QStringLiteral("A again"));
    worker().setDeviceMode(QStringLiteral("a.example"), 1, isPrivate);

    if (operation == QLatin1String("visit twice"))
        worker().addToTabHistory(2, url, QStringLiteral("A"), isPrivate);
    else if (operation == QLatin1String("isBookmarked"))
        worker().isBookmarked(url);
    else if (operation == QLatin1String("getBookmarkData"))
        worker().getBookmarkData(url);
    else if (operation == QLatin1String("moveBookmarkNode"))
        worker().moveBookmarkNode(3, 1, false);
    else if (operation == QLatin1String("goBack"))
        worker().goBack(1, isPrivate);
    else
        worker().getDeviceMode(QStringLiteral("a.example"), isPrivate);

    QVERIFY(compiledStatements(isPrivate) > 0);
    QCOMPARE(compiledStatements(false, true), 0);
    QCOMPARE(compiledStatements(true, true), 0);
}

void TestStatementReuse::droppedTableIsLoggedEveryTimeAndRecovers()
{
    // The visit's statements are compiled and cached before their table goes.
    worker().addHistoryEntry(urlPool.at(0), QStringLiteral("T0"));
    const QString schema = HistoryProfile::scalar(
        QStringLiteral("SELECT sql FROM sqlite_master WHERE name = 'browser_history'"))
                               .toString();
    QVERIFY(HistoryProfile::exec(QStringLiteral("DROP TABLE browser_history")));

    for (int i = 1; i <= 3; ++i) {
        LogCapture log("browser.app.storage");
        worker().addHistoryEntry(urlPool.at(0), QStringLiteral("T%1").arg(i));
        const QStringList warnings = log.messages(QtWarningMsg);
        QVERIFY2(std::any_of(warnings.cbegin(), warnings.cend(),
                     [](const QString& line) {
                         return line.contains(QLatin1String("SELECT id FROM browser_history WHERE url = ?"));
                     }),
            qPrintable(QStringLiteral("call %1: ").arg(i) + warnings.join(QLatin1Char('\n'))));
    }

    // Once the table is back the visit is recorded again: no broken statement was kept.
    QVERIFY(HistoryProfile::exec(schema));
    worker().addHistoryEntry(urlPool.at(0), QStringLiteral("T4"));
    QCOMPARE(HistoryProfile::rows(QStringLiteral("SELECT url, title FROM browser_history")),
        QStringList(urlPool.at(0) + QStringLiteral("|T4")));
}

QTEST_GUILESS_MAIN(TestStatementReuse)
#include "tst_statementreuse.moc"
