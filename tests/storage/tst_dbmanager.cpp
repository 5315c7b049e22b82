#include "storage/dbmanager.h"
#include "storage/dbworker.h"
#include "support/dbfileprobe.h"
#include "support/logcapture.h"
#include "support/tempprofile.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include <functional>

// The storage facade as the GUI thread uses it: one process-wide manager whose
// worker thread opens the profile's file at start.
namespace
{

const QString idnAce = QStringLiteral("xn--e1afmkfd.xn--p1ai");
const QString idnUnicode
    = QString::fromUtf8("\xd0\xbf\xd1\x80\xd0\xb8\xd0\xbc\xd0\xb5\xd1\x80.\xd1\x80\xd1\x84");
const char quitModeFlag[] = "--queue-and-quit";
constexpr int writesBeforeQuit = 1000;

void setApplicationNames()
{
    QCoreApplication::setOrganizationName(QStringLiteral("ru.nuvo"));
    QCoreApplication::setApplicationName(QStringLiteral("webdeck"));
}

// Child process mode: queue a burst of writes and quit the application in the
// same turn of the event loop, as a user closing the browser right after a
// flurry of activity would.
int queueWritesAndQuit(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    setApplicationNames();
    DBManager* manager = DBManager::instance();
    QTimer::singleShot(0, &app, [manager] {
        for (int i = 0; i < writesBeforeQuit; ++i) {
            switch (i % 4) {
            case 0:
                manager->setDeviceMode(QStringLiteral("site%1.example").arg(i), i % 3, false);
                break;
            case 1:
                manager->setFavicon(
                    QStringLiteral("https://site%1.example").arg(i), QStringLiteral("data:"), true);
                break;
            case 2:
                manager->addHistoryEntry(
                    QStringLiteral("https://site%1.example/").arg(i), QStringLiteral("t"));
                break;
            default:
                manager->addToTabHistory(
                    7, QStringLiteral("https://site%1.example/").arg(i), QStringLiteral("t"), false);
            }
        }
        QCoreApplication::quit();
    });
    return app.exec();
}

} // namespace

class TestDbManager : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void firstRequestSeesMigratedFile();
    void answersComeInRequestOrder();
    void quoteInSiteNeitherBreaksNorInjects();
    void quoteInUrlNeitherBreaksNorInjects();
    void writesQueuedBeforeQuitAreKept();
    void everyOperationAndAnswerCrossesTheThread();
    void cleanupTestCase();

private:
    QScopedPointer<TempProfile> m_profile;
    QList<SearchEngine> m_firstEngines;
};

void TestDbManager::initTestCase()
{
    m_profile.reset(new TempProfile);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_profile->path());

    // A file left by a 1.x release that predates the Yandex URL change and the
    // decoding of internationalised hosts.
    {
        DBWorker worker;
        worker.init();
    }
    {
        DbFileProbe db(m_profile->databasePath());
        QVERIFY(db.exec(QStringLiteral("UPDATE metadata SET db_version = '1.270';")));
        QVERIFY(
            db.exec(QStringLiteral("UPDATE search_engines SET url = 'http://yandex.ru/yandsearch?text=%s' "
                                   "WHERE id = 2;")));
        QVERIFY(
            db.exec(QStringLiteral("INSERT INTO search_engines (id, name, url, editable) VALUES (3, 'Mine', "
                                   "'https://%1/?q=%s', 1);")
                        .arg(idnAce)));
    }

    // The very first requests, made while the worker may still be opening the file.
    DBManager* manager = DBManager::instance();
    QSignalSpy engines(manager, &DBManager::searchEnginesAvailable);
    manager->getSearchEngines();
    QVERIFY(engines.wait(5000));
    QCOMPARE(engines.size(), 1);
    m_firstEngines = engines.first().first().value<QList<SearchEngine>>();
}

void TestDbManager::firstRequestSeesMigratedFile()
{
    QCOMPARE(m_firstEngines.size(), 4);
    QMap<int, QString> urls;
    for (const SearchEngine& engine : qAsConst(m_firstEngines))
        urls.insert(engine.id, engine.url);
    QCOMPARE(urls.value(2), QStringLiteral("https://yandex.ru/search/?text=%s"));
    QCOMPARE(urls.value(3), QStringLiteral("https://%1/?q=%s").arg(idnUnicode));
}

void TestDbManager::answersComeInRequestOrder()
{
    DBManager* manager = DBManager::instance();
    QStringList answers;
    QList<QMetaObject::Connection> connections;
    connections << connect(
        manager, &DBManager::deviceModeAvailable, this, [&answers](const QString& domain, int mode, bool) {
            answers << QStringLiteral("mode %1=%2").arg(domain).arg(mode);
        });
    connections << connect(
        manager, &DBManager::searchEnginesAvailable, this, [&answers](const QList<SearchEngine>& list) {
            answers << QStringLiteral("engines %1").arg(list.size());
        });
    connections << connect(
        manager, &DBManager::faviconsAvailable, this, [&answers](const QMap<QString, QString>& map) {
            answers << QStringLiteral("favicons %1").arg(map.size());
        });

    // Each read must see every write queued before it, and nothing queued after.
    QStringList expected;
    for (int i = 0; i < 20; ++i) {
        const QString domain = QStringLiteral("order%1.example").arg(i);
        manager->getDeviceMode(domain, false);
        expected << QStringLiteral("mode %1=-1").arg(domain);
        manager->setDeviceMode(domain, i % 2, false);
        manager->getDeviceMode(domain, false);
        expected << QStringLiteral("mode %1=%2").arg(domain).arg(i % 2);
        manager->setFavicon(QStringLiteral("https://order%1.example").arg(i), QStringLiteral("data:"), false);
        manager->getFavicons();
        expected << QStringLiteral("favicons %1").arg(i + 1);
        if (i % 5 == 0) {
            manager->getSearchEngines();
            expected << QStringLiteral("engines 4");
        }
    }
    QTRY_COMPARE_WITH_TIMEOUT(answers.size(), expected.size(), 5000);
    QCOMPARE(answers, expected);
    for (const QMetaObject::Connection& c : qAsConst(connections))
        disconnect(c);
}

void TestDbManager::quoteInSiteNeitherBreaksNorInjects()
{
    DBManager* manager = DBManager::instance();
    const QString quoted = QStringLiteral("https://o'brien.example");
    const QString injection = QStringLiteral("https://x.example')) OR 1=1 --");
    manager->setFavicon(quoted, QStringLiteral("data:quote"), true);
    manager->addDpr(QStringLiteral("https://keep.example"), 1.25, false);
    manager->addDpr(quoted, 1.5, false);
    // Site lists are spliced into the statement text; an unescaped quote here
    // would turn the condition into "OR 1=1" and drop every zoom setting.
    manager->removeDprs({ injection });

    QSignalSpy favicons(manager, &DBManager::faviconsAvailable);
    QSignalSpy dprs(manager, &DBManager::siteDprsAvailable);
    manager->getFavicons();
    manager->getSiteDprs(false);
    QVERIFY(dprs.wait(5000));
    QCOMPARE(favicons.size(), 1);
    using FaviconMap = QMap<QString, QString>;
    const FaviconMap faviconMap = favicons.first().first().value<FaviconMap>();
    QCOMPARE(faviconMap.value(quoted), QStringLiteral("data:quote"));
    QStringList sites;
    for (const SiteDpr& dpr : dprs.first().first().value<QList<SiteDpr>>())
        sites << dpr.site;
    sites.sort();
    QCOMPARE(sites, QStringList({ QStringLiteral("https://keep.example"), quoted }));
}

void TestDbManager::quoteInUrlNeitherBreaksNorInjects()
{
    DBManager* manager = DBManager::instance();
    // Bookmarked URLs are spliced into the tab history read as a list of literals.
    const QString bookmarked = QStringLiteral("https://example.com/it's'); DROP TABLE link; --");
    const QString plain = QStringLiteral("https://example.com/?q=o'brien");
    manager->addBookmarkNode(1, bookmarked, QStringLiteral("quoted"));
    manager->addHistoryEntry(plain, QStringLiteral("O'Brien's page"));
    manager->addToTabHistory(11, plain, QStringLiteral("O'Brien's page"), false);
    manager->addToTabHistory(11, bookmarked, QStringLiteral("quoted"), false);

    QSignalSpy tabHistory(manager, &DBManager::tabHistoryAvailable);
    QSignalSpy history(manager, &DBManager::historyAvailable);
    manager->getTabHistory(11, QString(), QDateTime(), QDateTime(), false);
    manager->getHistory(QStringLiteral("o'brien"), QDateTime(), QDateTime());
    QVERIFY(history.wait(5000));
    QCOMPARE(tabHistory.size(), 1);
    const QList<Link> links = tabHistory.first().at(1).value<QList<Link>>();
    QCOMPARE(links.size(), 2);
    QCOMPARE(links.at(0).url, bookmarked);
    QVERIFY(links.at(0).bookmarked);
    QCOMPARE(links.at(1).url, plain);
    QVERIFY(!links.at(1).bookmarked);
    QCOMPARE(tabHistory.first().at(2).toInt(), links.at(0).id);

    const QList<Link> found = history.first().first().value<QList<Link>>();
    QCOMPARE(found.size(), 1);
    QCOMPARE(found.first().title, QStringLiteral("O'Brien's page"));
    QCOMPARE(history.first().at(1).toString(), QStringLiteral("o'brien"));
}

void TestDbManager::writesQueuedBeforeQuitAreKept()
{
    QTemporaryDir home;
    QVERIFY(home.isValid());
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const char* name : { "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "HOME" }) {
        const QString dir = QDir(home.path()).absoluteFilePath(QString::fromLatin1(name).toLower());
        QVERIFY(QDir().mkpath(dir));
        env.insert(QString::fromLatin1(name), dir);
    }
    env.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("*.debug=false;browser.app.*.info=false"));

    QProcess child;
    child.setProcessEnvironment(env);
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(), { QString::fromLatin1(quitModeFlag) });
    QVERIFY(child.waitForFinished(60000));
    QCOMPARE(child.exitStatus(), QProcess::NormalExit);
    QCOMPARE(child.exitCode(), 0);

    const QString file = QDir(home.path())
                             .absoluteFilePath(QStringLiteral("xdg_data_home/%1/%2/browser-app.sqlite")
                                                   .arg(QCoreApplication::organizationName(),
                                                       QCoreApplication::applicationName()));
    QVERIFY2(QFile::exists(file), qPrintable(file));
    DbFileProbe db(file);
    const int each = writesBeforeQuit / 4;
    QCOMPARE(db.value(QStringLiteral("SELECT COUNT(*) FROM device_modes;")).toInt(), each);
    QCOMPARE(db.value(QStringLiteral("SELECT COUNT(*) FROM favicons;")).toInt(), each);
    QCOMPARE(db.value(QStringLiteral("SELECT COUNT(*) FROM browser_history;")).toInt(), each);
    QCOMPARE(db.value(QStringLiteral("SELECT COUNT(*) FROM tab_history WHERE tab_id = 7;")).toInt(), each);
    // The last write of the burst is there too: the tab shows the last page it was sent to.
    QCOMPARE(db.value(QStringLiteral("SELECT link.url FROM tab JOIN tab_history ON tab_history.id = "
                                     "tab.tab_history_id JOIN link ON link.link_id = tab_history.link_id "
                                     "WHERE tab.tab_id = 7;"))
                 .toString(),
        QStringLiteral("https://site%1.example/").arg(writesBeforeQuit - 1));
}

void TestDbManager::everyOperationAndAnswerCrossesTheThread()
{
    // A request whose argument type is not registered, or whose name or
    // arguments do not match the worker's slot, is dropped with a warning at
    // run time; an answer of an unregistered type never arrives.
    DBManager* manager = DBManager::instance();
    const QMetaObject* meta = manager->metaObject();
    QList<QSharedPointer<QSignalSpy>> spies;
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        if (meta->method(i).methodType() == QMetaMethod::Signal)
            spies << QSharedPointer<QSignalSpy>::create(manager, meta->method(i));
    }
    QCOMPARE(spies.size(), 24);

    const QString url = QStringLiteral("https://www.nuvo.ru/");
    const QDateTime none;
    const QVector<std::pair<QByteArray, std::function<void()>>> calls = {
        { "setDeviceMode", [=] { manager->setDeviceMode(QStringLiteral("nuvo.ru"), 1, false); } },
        { "getDeviceMode", [=] { manager->getDeviceMode(QStringLiteral("nuvo.ru"), false); } },
        { "addHistoryEntry", [=] { manager->addHistoryEntry(url, QStringLiteral("t")); } },
        { "getHistory", [=] { manager->getHistory(QString(), none, none); } },
        { "updateHistoryTitle", [=] { manager->updateHistoryTitle(url, QStringLiteral("t2")); } },
        { "getMostVisitedLinks", [=] { manager->getMostVisitedLinks(5); } },
        { "addTabs", [=] { manager->addTabs({ 21 }, 0, { url }, { QStringLiteral("t") }, false); } },
        { "addToTabHistory", [=] { manager->addToTabHistory(21, url, QStringLiteral("t"), false); } },
        { "getTabs", [=] { manager->getTabs(); } },
        { "getTabHistory", [=] { manager->getTabHistory(21, QString(), none, none, false); } },
        { "updateTabHistoryTitle",
            [=] { manager->updateTabHistoryTitle(21, url, QStringLiteral("t3"), false); } },
        { "updateTabHistoryEntry",
            [=] { manager->updateTabHistoryEntry(1, url, QStringLiteral("t4"), false); } },
        { "goBack", [=] { manager->goBack(21, false); } },
        { "goForward", [=] { manager->goForward(21, false); } },
        { "removeTabHistoryEntry", [=] { manager->removeTabHistoryEntry(999, 21, false); } },
        { "removeTabHistoryEntries",
            [=] {
                manager->removeTabHistoryEntries(21, { 998, 999 }, false);
            } },
        { "clearTabHistory", [=] { manager->clearTabHistory(21, 21, none, none, false); } },
        { "clearDeprecatedTabHistory", [=] { manager->clearDeprecatedTabHistory(21, 1000000, false); } },
        { "updateTab", [=] { manager->updateTab(22, 1, true); } },
        { "setScreenshotTab", [=] { manager->setScreenshotTab(21, QStringLiteral("/tmp/shot.jpg")); } },
        { "removeTab", [=] { manager->removeTab(22, 5, true); } },
        { "clearTabs", [=] { manager->clearTabs(true); } },
        { "removeHistoryEntry", [=] { manager->removeHistoryEntry(999999); } },
        { "removeHistoryEntries",
            [=] {
                manager->removeHistoryEntries({ 999998, 999999 });
            } },
        { "clearHistory",
            [=] {
                manager->clearHistory(QDateTime::fromMSecsSinceEpoch(0), QDateTime::fromMSecsSinceEpoch(1));
            } },
        { "removeMostVisitedLink",
            [=] { manager->removeMostVisitedLink(QStringLiteral("https://nowhere.example/")); } },
        { "addBookmarkNode", [=] { manager->addBookmarkNode(1, url, QStringLiteral("b")); } },
        { "updateBookmarkNode", [=] { manager->updateBookmarkNode(999, url, QStringLiteral("b")); } },
        { "getBookmarkTree", [=] { manager->getBookmarkTree(); } },
        { "getBookmarks", [=] { manager->getBookmarks(1, QString()); } },
        { "isBookmarked", [=] { manager->isBookmarked(url); } },
        { "getBookmarkData", [=] { manager->getBookmarkData(url); } },
        { "moveBookmarkNode", [=] { manager->moveBookmarkNode(999, 1, false); } },
        { "moveBookmarkNodes",
            [=] {
                manager->moveBookmarkNodes({ 998, 999 }, 1, false);
            } },
        { "removeBookmarkNode", [=] { manager->removeBookmarkNode(999, false, false); } },
        { "removeBookmarkNodes",
            [=] {
                manager->removeBookmarkNodes({ 998, 999 }, false);
            } },
        { "migrateBookmark",
            [=] {
                manager->migrateBookmark(
                    QStringLiteral("m"), QStringLiteral("https://m.example/"), QString());
            } },
        { "removeAllBookmarks", [=] { manager->removeAllBookmarks(); } },
        { "setFavicon", [=] { manager->setFavicon(url, QStringLiteral("data:"), true); } },
        { "updateTimeFavicon", [=] { manager->updateTimeFavicon(url); } },
        { "getFavicons", [=] { manager->getFavicons(); } },
        { "addPermissions",
            [=] {
                manager->addPermissions(url, { 1, 0, -1, -1, -1, 1, 1 });
            } },
        { "updatePermission", [=] { manager->updatePermission(url, 0, 0); } },
        { "getPermissions", [=] { manager->getPermissions(); } },
        { "revokePermissions", [=] { manager->revokePermissions(url); } },
        { "removePermissionsData", [=] { manager->removePermissionsData(url); } },
        { "removeAllPermissions", [=] { manager->removeAllPermissions(); } },
        { "addSearchEngine",
            [=] {
                manager->addSearchEngine(QStringLiteral("s"), QStringLiteral("https://s.example/?q=%s"));
            } },
        { "updateSearchEngine", [=] { manager->updateSearchEngine(999, QStringLiteral("s"), QString()); } },
        { "removeSearchEngine", [=] { manager->removeSearchEngine(999); } },
        { "getSearchEngines", [=] { manager->getSearchEngines(); } },
        { "addDownload",
            [=] {
                // The second download at the same path replaces the first.
                manager->addDownload(QStringLiteral("/tmp/f.pdf"), url, QStringLiteral("k"));
                manager->addDownload(QStringLiteral("/tmp/f.pdf"), url, QStringLiteral("k"));
            } },
        { "setStatusDownload", [=] { manager->setStatusDownload(QStringLiteral("/tmp/f.pdf"), 1); } },
        { "setDownloadSuccessful", [=] { manager->setDownloadSuccessful(QStringLiteral("/tmp/f.pdf")); } },
        { "getDownloads", [=] { manager->getDownloads(); } },
        { "removeDownload", [=] { manager->removeDownload(QStringLiteral("/tmp/f.pdf")); } },
        { "removeDownloads",
            [=] {
                manager->removeDownloads({ 998, 999 });
            } },
        { "addException", [=] { manager->addException(url); } },
        { "setSuggestionsCount", [=] { manager->setSuggestionsCount(url, 2); } },
        { "getPasswordExceptions", [=] { manager->getPasswordExceptions(); } },
        { "removeException", [=] { manager->removeException(url); } },
        { "addDpr", [=] { manager->addDpr(url, 1.5, false); } },
        { "updateDpr", [=] { manager->updateDpr(url, 2.0, false); } },
        { "getSiteDprs", [=] { manager->getSiteDprs(false); } },
        { "removeDpr", [=] { manager->removeDpr(url, false); } },
        { "removeDprs", [=] { manager->removeDprs({ url }); } },
        { "removeAllDprs", [=] { manager->removeAllDprs(); } },
    };

    // The table above names every operation the manager has.
    QSet<QByteArray> called, slotNames;
    for (const auto& call : calls)
        called.insert(call.first);
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        if (meta->method(i).methodType() == QMetaMethod::Slot)
            slotNames.insert(meta->method(i).name());
    }
    QCOMPARE(called, slotNames);

    LogCapture log("default");
    for (const auto& call : calls)
        call.second();
    QSignalSpy done(manager, &DBManager::siteDprsAvailable);
    manager->getSiteDprs(true);
    QVERIFY(done.wait(10000));

    QCOMPARE(log.messages(), QStringList());
    for (const auto& spy : qAsConst(spies))
        QVERIFY2(!spy->isEmpty(), spy->signal().constData());
}

void TestDbManager::cleanupTestCase()
{
    DBManager* manager = DBManager::instance();
    manager->shutdown();
    manager->shutdown();
    // After the thread has stopped, a request is dropped, not crashed on.
    manager->getFavicons();
}

int main(int argc, char** argv)
{
    if (argc > 1 && qstrcmp(argv[1], quitModeFlag) == 0)
        return queueWritesAndQuit(argc, argv);
    QCoreApplication app(argc, argv);
    setApplicationNames();
    TestDbManager test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_dbmanager.moc"
