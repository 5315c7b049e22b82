#include "storage/dbmanager.h"
#include "storage/dbworker.h"
#include "support/dbfileprobe.h"
#include "support/logcapture.h"
#include "support/tempprofile.h"

#include <QCoreApplication>
#include <QProcess>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

#include <cstdio>
#include <functional>

// The storage facade as the GUI thread uses it: one process-wide manager whose
// worker thread opens the profile's file at start.
namespace
{
// Child mode: writes queued right before quitting, and more from a destructor run after the loop.
struct LateWriter : QObject {
    ~LateWriter() override
    {
        for (int i = 0; i < 50; ++i) {
            const QString site = QStringLiteral("https://late%1.example/").arg(i);
            DBManager::instance()->addHistoryEntry(site, QStringLiteral("t"));
            DBManager::instance()->addToTabHistory(8, site, QStringLiteral("t"), false);
        }
    }
};

int queueWritesAndQuit(QCoreApplication& app)
{
    LateWriter late;
    for (int i = 0; i < 1000; i += 4) {
        const QString site = QStringLiteral("https://site%1.example/").arg(i);
        DBManager::instance()->setDeviceMode(site, i % 3, false);
        DBManager::instance()->setFavicon(site, QStringLiteral("data:"), true);
        DBManager::instance()->addHistoryEntry(site, QStringLiteral("t"));
        DBManager::instance()->addToTabHistory(7, site, QStringLiteral("t"), false);
    }
    QTimer::singleShot(0, &app, &QCoreApplication::quit);
    return app.exec();
}

// Child mode: 10,000 visits in one tab at once, each answer printed as it arrives, until killed.
int burstUntilKilled(QCoreApplication& app, int tabId)
{
    int added = 0;
    QObject::connect(DBManager::instance(), &DBManager::linkAddedToTabHistory, &app, [&added] {
        std::printf("%d\n", ++added);
        std::fflush(stdout);
    });
    for (int i = 0; i < 10000; ++i) {
        const QString url = QStringLiteral("https://burst.example/%1").arg(i);
        DBManager::instance()->addHistoryEntry(url, QStringLiteral("t"));
        DBManager::instance()->addToTabHistory(tabId, url, QStringLiteral("t"), false);
    }
    return app.exec();
}
using Call = std::pair<QByteArray, std::function<void()>>;
} // namespace

class TestDbManager : public QObject
{
    Q_OBJECT

private:
    QScopedPointer<TempProfile> m_profile;

private slots:
    void initTestCase()
    {
        // A file from before the new Yandex URL and the decoding of internationalised hosts.
        m_profile.reset(new TempProfile);
        DBWorker().init();
        DbFileProbe db(m_profile->databasePath());
        QVERIFY(db.exec(QStringLiteral("UPDATE metadata SET db_version = '1.270';")));
        QVERIFY(db.exec(QStringLiteral("UPDATE search_engines SET url = CASE id WHEN 1 THEN "
                                       "'https://xn--e1afmkfd.xn--p1ai/?q=%s' ELSE "
                                       "'http://yandex.ru/yandsearch?text=%s' END WHERE id IN (1, 2);")));
    }

    void requestsRunAfterMigrationInOrder()
    {
        // The first requests are queued while the worker has not even opened the file.
        DBManager* manager = DBManager::instance();
        QStringList answers;
        QObject receiver;
        connect(manager, &DBManager::searchEnginesAvailable, &receiver,
            [&answers](const QList<SearchEngine>& list) {
                answers << list.value(1).url + QLatin1Char(' ') + list.value(2).url;
            });
        connect(
            manager, &DBManager::deviceModeAvailable, &receiver, [&answers](const QString& domain, int mode) {
                answers << QStringLiteral("%1=%2").arg(domain).arg(mode);
            });
        manager->getSearchEngines();
        QStringList expected = { QString::fromUtf8(
            "https://\xd0\xbf\xd1\x80\xd0\xb8\xd0\xbc\xd0\xb5\xd1\x80.\xd1\x80\xd1\x84/?q=%s "
            "https://yandex.ru/search/?text=%s") };
        // Each read sees every write queued before it, and nothing queued after.
        for (int i = 0; i < 20; ++i) {
            const QString domain = QStringLiteral("order%1.example").arg(i);
            manager->getDeviceMode(domain, false);
            manager->setDeviceMode(domain, i % 2, false);
            manager->getDeviceMode(domain, false);
            expected << domain + QStringLiteral("=-1") << QStringLiteral("%1=%2").arg(domain).arg(i % 2);
        }
        QTRY_COMPARE_WITH_TIMEOUT(answers.size(), expected.size(), 5000);
        QCOMPARE(answers, expected);
    }

    void writesQueuedBeforeQuitAreKept()
    {
        TempProfile home; // the child inherits this profile's environment
        QProcess child;
        child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        child.start(QCoreApplication::applicationFilePath(), { QStringLiteral("--queue-and-quit") });
        QVERIFY(child.waitForFinished(60000));
        QCOMPARE(child.exitStatus(), QProcess::NormalExit);
        QCOMPARE(child.exitCode(), 0);
        // Every write is there, down to the last: the tab shows the last page it was sent to.
        DbFileProbe db(home.databasePath());
        QCOMPARE(
            sqlRows(db.database(),
                QStringLiteral(
                    "SELECT (SELECT COUNT(*) FROM device_modes), (SELECT COUNT(*) FROM favicons), (SELECT "
                    "COUNT(*) FROM browser_history), (SELECT COUNT(*) FROM tab_history WHERE tab_id = 7), "
                    "link.url FROM tab JOIN tab_history ON tab_history.id = tab.tab_history_id JOIN link ON "
                    "link.link_id = tab_history.link_id WHERE tab.tab_id = 7;")),
            QStringList({ QStringLiteral("250|250|300|250|https://site996.example/") }));
        QCOMPARE(db.value(QStringLiteral("SELECT COUNT(*) FROM tab_history WHERE tab_id = 8;")).toInt(), 50);
    }

    void killedBurstKeepsEveryAnsweredVisit()
    {
        TempProfile home;
        // Each round runs in a tab of its own on the file the kill before it left, killed at another point.
        for (int tabId = 1; tabId <= 3; ++tabId) {
            const int answersBeforeKill = 3000 * tabId - 2000;
            QProcess child;
            child.start(QCoreApplication::applicationFilePath(),
                { QStringLiteral("--burst"), QString::number(tabId) });
            int last = 0;
            auto readAnswers = [&] {
                while (child.canReadLine())
                    last = child.readLine().trimmed().toInt();
            };
            while (last < answersBeforeKill && child.waitForReadyRead(30000))
                readAnswers();
            QVERIFY2(last >= answersBeforeKill, "the child stopped answering");
            child.kill();
            QVERIFY(child.waitForFinished(10000));
            readAnswers(); // answers that reached the pipe before the kill count too
            QCOMPARE(child.exitStatus(), QProcess::CrashExit);

            DbFileProbe db(home.databasePath());
            QCOMPARE(db.value(QStringLiteral("PRAGMA integrity_check;")).toString(), QStringLiteral("ok"));
            // Visits are answered in order, so the first `last` of them must all be there.
            const QString answered
                = QStringLiteral("SELECT COUNT(*) FROM tab_history JOIN link USING (link_id) "
                                 "WHERE tab_id = %1 AND CAST(substr(url, 23) AS INTEGER) < %2;");
            QVERIFY(db.value(answered.arg(tabId).arg(last)).toInt() >= last);
        }
    }

    void failingRequestInBurstEndsOnlyItself_data()
    {
        QTest::addColumn<QString>("raise");
        QTest::addColumn<int>("tabId");
        QTest::newRow("statement undone") << QStringLiteral("ABORT") << 31;
        QTest::newRow("whole transaction undone") << QStringLiteral("ROLLBACK") << 32;
    }

    void failingRequestInBurstEndsOnlyItself()
    {
        // One visit of a burst is refused half-way: only it goes unanswered, and no
        // answer claims a row the file lacks, even when the whole transaction is undone.
        QFETCH(QString, raise);
        QFETCH(int, tabId);
        DBManager* manager = DBManager::instance();
        const QString refused = QStringLiteral("https://refused%1.example/").arg(tabId);
        DbFileProbe(DBWorker::databaseFilePath())
            .exec(QStringLiteral(
                "CREATE TRIGGER refuse%1 BEFORE INSERT ON tab_history WHEN (SELECT url FROM link "
                "WHERE link_id = NEW.link_id) = '%2' BEGIN SELECT RAISE(%3, 'refused'); END;")
                      .arg(tabId)
                      .arg(refused, raise));
        QSignalSpy added(manager, &DBManager::linkAddedToTabHistory);
        QSignalSpy history(manager, &DBManager::tabHistoryAvailable);
        for (int i = 0; i < 201; ++i) {
            manager->addToTabHistory(tabId,
                i == 100 ? refused : QStringLiteral("https://burst%1.example/%2").arg(tabId).arg(i),
                QStringLiteral("t"), false);
        }
        manager->getTabHistory(tabId, QString(), QDateTime(), QDateTime(), false);
        QVERIFY(history.wait(10000));
        const auto links = history.first().at(1).value<QList<Link>>();
        QCOMPARE(added.size(), links.size());
        QCOMPARE(links.first().url, QStringLiteral("https://burst%1.example/200").arg(tabId));
        DbFileProbe db(DBWorker::databaseFilePath());
        QCOMPARE(db.value(QStringLiteral("SELECT COUNT(*) FROM tab_history WHERE tab_id = %1;").arg(tabId))
                     .toInt(),
            links.size());
        if (raise == QLatin1String("ABORT")) {
            QCOMPARE(links.size(), 200);
            QCOMPARE(db.value(QStringLiteral("SELECT COUNT(*) FROM link WHERE url = '%1';").arg(refused)),
                QVariant(QStringLiteral("1")));
        }
    }

// One row of the operation table: the slot's name and a call of it.
#define OP(name, ...) Call(#name, [=] { m->name(__VA_ARGS__); })

    void everyOperationAndAnswerCrossesTheThread()
    {
        // A mismatched request is dropped with a warning; an unregistered answer never arrives.
        DBManager* m = DBManager::instance();
        const QMetaObject* meta = m->metaObject();
        QList<QSharedPointer<QSignalSpy>> spies;
        QSet<QByteArray> slotNames;
        for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
            if (meta->method(i).methodType() == QMetaMethod::Signal)
                spies << QSharedPointer<QSignalSpy>::create(m, meta->method(i));
            else if (meta->method(i).methodType() == QMetaMethod::Slot)
                slotNames.insert(meta->method(i).name());
        }
        QCOMPARE(spies.size(), 24);

        const QString url = QStringLiteral("https://nuvo.ru/"), t = QStringLiteral("t"),
                      path = QStringLiteral("/f");
        const QVector<Call> calls = { OP(setDeviceMode, QStringLiteral("nuvo.ru"), 1, false),
            OP(getDeviceMode, QStringLiteral("nuvo.ru"), false), OP(addHistoryEntry, url, t),
            OP(getHistory, QString(), QDateTime(), QDateTime()), OP(updateHistoryTitle, url, t),
            OP(getMostVisitedLinks, 5), OP(addTabs, { 21 }, 0, { url }, { t }, false),
            OP(addToTabHistory, 21, url, t, false), OP(getTabs),
            OP(getTabHistory, 21, QString(), QDateTime(), QDateTime(), false),
            OP(updateTabHistoryTitle, 21, url, t, false), OP(updateTabHistoryEntry, 1, url, t, false),
            OP(goBack, 21, false), OP(goForward, 21, false), OP(removeTabHistoryEntry, 999, 21, false),
            OP(removeTabHistoryEntries, 21, { 998, 999 }, false),
            OP(clearTabHistory, 21, 21, QDateTime(), QDateTime(), false),
            OP(clearDeprecatedTabHistory, 21, 1000000, false), OP(updateTab, 22, 1, true),
            OP(setScreenshotTab, 21, QStringLiteral("/tmp/shot.jpg")), OP(removeTab, 22, 5, true),
            OP(clearTabs, true), OP(removeHistoryEntry, 999999), OP(removeHistoryEntries, { 998, 999 }),
            OP(clearHistory, QDateTime::fromMSecsSinceEpoch(0), QDateTime::fromMSecsSinceEpoch(1)),
            OP(removeMostVisitedLink, QStringLiteral("https://nowhere.example/")),
            OP(addBookmarkNode, 1, url, t), OP(updateBookmarkNode, 999, url, t), OP(getBookmarkTree),
            OP(getBookmarks, 1, QString()), OP(isBookmarked, url), OP(getBookmarkData, url),
            OP(moveBookmarkNode, 999, 1, false), OP(moveBookmarkNodes, { 998, 999 }, 1, false),
            OP(removeBookmarkNode, 999, false, false), OP(removeBookmarkNodes, { 998, 999 }, false),
            OP(migrateBookmark, t, QStringLiteral("https://m.example/"), QString()), OP(removeAllBookmarks),
            OP(setFavicon, url, QStringLiteral("data:"), true), OP(updateTimeFavicon, url), OP(getFavicons),
            OP(addPermissions, url, { 1, 0, -1, -1, -1, 1, 1 }), OP(updatePermission, url, 0, 0),
            OP(getPermissions), OP(revokePermissions, url), OP(removePermissionsData, url),
            OP(removeAllPermissions), OP(addSearchEngine, t, QStringLiteral("https://s.example/?q=%s")),
            OP(updateSearchEngine, 999, t, QString()), OP(removeSearchEngine, 999), OP(getSearchEngines),
            OP(addDownload, path, url, t), OP(addDownload, path, url, t), OP(setStatusDownload, path, 1),
            OP(setDownloadSuccessful, path), OP(getDownloads), OP(removeDownload, path),
            OP(removeDownloads, { 998, 999 }), OP(addException, url), OP(setSuggestionsCount, url, 2),
            OP(getPasswordExceptions), OP(removeException, url), OP(addDpr, url, 1.5, false),
            OP(updateDpr, url, 2.0, false), OP(getSiteDprs, false), OP(removeDpr, url, false),
            OP(removeDprs, { url }), OP(removeAllDprs) };
#undef OP
        QSet<QByteArray> called;
        for (const auto& call : calls)
            called.insert(call.first);
        QCOMPARE(called, slotNames); // the table names every operation

        LogCapture log("default");
        for (const auto& call : calls)
            call.second();
        QSignalSpy done(m, &DBManager::siteDprsAvailable);
        m->getSiteDprs(true);
        QVERIFY(done.wait(10000));
        QCOMPARE(log.messages(), QStringList());
        for (const auto& spy : qAsConst(spies))
            QVERIFY2(!spy->isEmpty(), spy->signal().constData());
    }

    void cleanupTestCase()
    {
        DBManager* manager = DBManager::instance();
        manager->shutdown();
        manager->shutdown();
        // After the thread has stopped, a request is dropped, not crashed on.
        manager->getFavicons();
    }
};

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("ru.nuvo"));
    QCoreApplication::setApplicationName(QStringLiteral("webdeck"));
    if (app.arguments().contains(QStringLiteral("--queue-and-quit")))
        return queueWritesAndQuit(app);
    if (app.arguments().contains(QStringLiteral("--burst")))
        return burstUntilKilled(app, app.arguments().constLast().toInt());
    TestDbManager test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_dbmanager.moc"
