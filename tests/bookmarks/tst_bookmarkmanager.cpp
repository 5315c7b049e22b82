// Bookmarks as the page sees them, on real storage, and the app grid through a fake package manager.

#include "bookmarks/bookmarkmanager.h"
#include "bookmarks/bookmarkmodel.h"
#include "bookmarks/bookmarktreemodel.h"
#include "history/faviconsmap.h"
#include "startup/qmltypes.h"
#include "storage/dbmanager.h"
#include "support/dbfileprobe.h"
#include "support/fakepackagemanager.h"
#include "support/privatebus.h"
#include "support/tempprofile.h"

#include <QAbstractItemModelTester>
#include <QElapsedTimer>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QtTest>

namespace
{
// Rows sorted by title: "/" marks a folder, "*" a selected row.
QString shown(const BookmarkModel& model)
{
    QStringList rows;
    for (int row = 0; row < model.rowCount(); ++row) {
        const QModelIndex i = model.index(row);
        rows << i.data(BookmarkModel::TitleRole).toString()
                + QLatin1String(i.data(BookmarkModel::IsFolderRole).toBool() ? "/" : "")
                + QLatin1String(i.data(BookmarkModel::SelectedRole).toBool() ? "*" : "");
    }
    rows.sort();
    return rows.join(QLatin1Char(' '));
}

// Tree rows in drawing order: title, depth, bookmarks below.
QString shown(const BookmarkTreeModel& tree)
{
    QStringList rows;
    for (int row = 0; row < tree.rowCount(); ++row) {
        const QModelIndex i = tree.index(row);
        rows << QStringLiteral("%1:%2:%3")
                    .arg(i.data(BookmarkTreeModel::TitleRole).toString())
                    .arg(i.data(BookmarkTreeModel::DepthRole).toInt())
                    .arg(i.data(BookmarkTreeModel::ChildCountRole).toInt());
    }
    return rows.join(QLatin1Char(' '));
}
} // namespace

class TestBookmarkManager : public QObject
{
    Q_OBJECT
    PrivateBus m_bus; // before anything opens the system bus
    TempProfile m_profile;
    FakePackageManager* m_apm = nullptr;
    BookmarkManager* m_manager = nullptr;

    int idOf(const QString& title)
    {
        return DbFileProbe(m_profile.databasePath())
            .value(QStringLiteral("SELECT id FROM bookmark_node WHERE title = '%1'").arg(title))
            .toInt();
    }
    int parentOf(int id)
    {
        return DbFileProbe(m_profile.databasePath())
            .value(
                QStringLiteral("SELECT ancestor FROM bookmark_structure WHERE depth = 1 AND descendant = %1")
                    .arg(id))
            .toInt();
    }
    // The direct children of a folder as the file has them, in the form of shown().
    QString fileFolder(int folderId)
    {
        QStringList rows = sqlRows(DbFileProbe(m_profile.databasePath()).database(),
            QStringLiteral("SELECT title || CASE WHEN url IS NULL THEN '/' ELSE '' END FROM bookmark_node "
                           "JOIN bookmark_structure ON descendant = id WHERE ancestor = ? AND depth = 1"),
            { folderId });
        rows.sort();
        return rows.join(QLatin1Char(' '));
    }

private slots:
    void initTestCase()
    {
        QVERIFY2(m_bus.isValid(), qPrintable(m_bus.errorString()));
        m_apm = new FakePackageManager(m_bus.address(), this);
        QVERIFY2(m_apm->start(), qPrintable(m_apm->errorString()));
        registerQmlTypes();
        m_manager = BookmarkManager::instance();
        new QAbstractItemModelTester(m_manager->quickAccessModel(), this);
        new QAbstractItemModelTester(m_manager->bookmarkTreeModel(), this);
    }

    void init()
    {
        // Bookmarks A/ (A1/ (x1), a1), b1 and q1 in quick access.
        m_manager->removeAllBookmarks();
        QVERIFY(drainStorage());
        m_manager->addFolder(BookmarkManager::BookmarkFolder, QStringLiteral("A"));
        m_manager->addBookmark(
            BookmarkManager::BookmarkFolder, QStringLiteral("http://b1/"), QStringLiteral("b1"));
        m_manager->addBookmark(
            BookmarkManager::QuickAccessFolder, QStringLiteral("http://q1/"), QStringLiteral("q1"));
        QVERIFY(drainStorage());
        m_manager->addFolder(idOf(QStringLiteral("A")), QStringLiteral("A1"));
        m_manager->addBookmark(idOf(QStringLiteral("A")), QStringLiteral("http://a1/"), QStringLiteral("a1"));
        QVERIFY(drainStorage());
        m_manager->addBookmark(
            idOf(QStringLiteral("A1")), QStringLiteral("http://x1/"), QStringLiteral("x1"));
        QVERIFY(drainStorage());
    }

    void steps_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("atOnce"); // the page before storage answers
        QTest::addColumn<QString>("page"); // "Bookmarks" as a page shows it
        QTest::addColumn<QString>("quick");
        QTest::addColumn<QString>("tree");
        const QString tree = QStringLiteral("Bookmarks:0:3 A:1:2 A1:2:1 Quick access:0:1");
        // clang-format off
        QTest::newRow("seeded") << "" << "A/ b1" << "A/ b1" << "q1" << tree;
        QTest::newRow("add bookmark and folder") << "bookmark Bookmarks n;folder Bookmarks F;bookmark Quick m" << "A/ b1" << "A/ F/ b1 n" << "m q1" << "Bookmarks:0:4 A:1:2 A1:2:1 F:1:0 Quick access:0:2";
        QTest::newRow("url cleared, still a bookmark") << "unurl b1" << "A/ b1" << "A/ b1" << "q1" << tree;
        QTest::newRow("rename folder") << "edit A1 Z" << "A/ b1" << "A/ b1" << "q1" << "Bookmarks:0:3 A:1:2 Z:2:1 Quick access:0:1";
        QTest::newRow("move bookmark") << "move b1 A" << "A/" << "A/" << "q1" << "Bookmarks:0:3 A:1:3 A1:2:1 Quick access:0:1";
        QTest::newRow("move folder") << "move A Quick" << "b1" << "b1" << "A/ q1" << "Bookmarks:0:1 Quick access:0:3 A:1:2 A1:2:1";
        QTest::newRow("move into itself refused") << "move A A1" << "A/ b1" << "A/ b1" << "q1" << tree;
        QTest::newRow("remove folder") << "remove A" << "b1" << "b1" << "q1" << "Bookmarks:0:1 Quick access:0:1";
        QTest::newRow("clear folder only") << "clear A" << "A/ b1" << "A/ b1" << "q1" << "Bookmarks:0:1 A:1:0 Quick access:0:1";
        QTest::newRow("remove selected") << "select b1;select A;removeSelected" << "" << "" << "q1" << "Bookmarks:0:0 Quick access:0:1";
        QTest::newRow("move selected") << "select b1;moveSelected" << "A/" << "A/" << "b1 q1" << "Bookmarks:0:2 A:1:2 A1:2:1 Quick access:0:2";
        QTest::newRow("remove all") << "removeAll" << "" << "" << "" << "Bookmarks:0:0 Quick access:0:0";
        QTest::newRow("search below folder") << "filter 1" << "a1 b1 x1" << "a1 b1 x1" << "q1" << tree;
        // clang-format on
    }

    void steps()
    {
        QFETCH(QString, steps);
        BookmarkModel page;
        QAbstractItemModelTester tester(&page);
        page.setFolderId(BookmarkManager::BookmarkFolder);
        QVERIFY(drainStorage());
        for (const QString& step : steps.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
            const QString op = step.section(QLatin1Char(' '), 0, 0);
            const QString a = step.section(QLatin1Char(' '), 1, 1);
            const QString rest = step.section(QLatin1Char(' '), 2);
            const int folder = a == QLatin1String("Bookmarks") ? 1
                : a == QLatin1String("Quick")                  ? 2
                                                               : idOf(a);
            const int target = rest == QLatin1String("Quick") ? 2 : idOf(rest);
            const bool isFolder = a.startsWith(QLatin1Char('A'));
            if (op == QLatin1String("bookmark"))
                m_manager->addBookmark(folder, QStringLiteral("http://%1/").arg(rest), rest);
            else if (op == QLatin1String("folder"))
                m_manager->addFolder(folder, rest);
            else if (op == QLatin1String("edit"))
                m_manager->updateBookmarkNode(idOf(a), parentOf(idOf(a)), rest,
                    isFolder ? QString() : QStringLiteral("http://%1/").arg(a));
            else if (op == QLatin1String("unurl"))
                m_manager->updateBookmarkNode(idOf(a), parentOf(idOf(a)), a, QString());
            else if (op == QLatin1String("move"))
                m_manager->moveBookmarkNode(idOf(a), target, isFolder);
            else if (op == QLatin1String("remove") || op == QLatin1String("clear"))
                m_manager->removeBookmarkNode(idOf(a), isFolder, op == QLatin1String("clear"));
            else if (op == QLatin1String("select"))
                page.toggleSelection(page.indexOf(idOf(a)));
            else if (op == QLatin1String("removeSelected"))
                page.removeSelected();
            else if (op == QLatin1String("moveSelected"))
                page.moveSelected(BookmarkManager::QuickAccessFolder);
            else if (op == QLatin1String("removeAll"))
                m_manager->removeAllBookmarks();
            else if (op == QLatin1String("filter")) {
                page.setFilter(a);
                QVERIFY(drainStorage());
            }
        }
        QTEST(shown(page), "atOnce");
        QVERIFY(drainStorage());
        QTEST(shown(page), "page");
        QTEST(shown(*m_manager->quickAccessModel()), "quick");
        QTEST(shown(*m_manager->bookmarkTreeModel()), "tree");
        // The file says the same as the models.
        QCOMPARE(shown(*m_manager->quickAccessModel()), fileFolder(BookmarkManager::QuickAccessFolder));
        if (page.filter().isEmpty())
            QCOMPARE(shown(page), fileFolder(BookmarkManager::BookmarkFolder));
    }

    void treeKeepsExpandedState()
    {
        BookmarkTreeModel dialog; // a second tree, as a "move to folder" dialog has
        QAbstractItemModelTester tester(&dialog);
        QCOMPARE(shown(dialog), shown(*m_manager->bookmarkTreeModel()));
        dialog.toggleExpanded(dialog.indexOf(idOf(QStringLiteral("A"))));
        QCOMPARE(shown(dialog), QStringLiteral("Bookmarks:0:3 A:1:2 Quick access:0:1"));
        m_manager->addFolder(idOf(QStringLiteral("A")), QStringLiteral("A2"));
        QVERIFY(drainStorage());
        QCOMPARE(shown(dialog), QStringLiteral("Bookmarks:0:3 A:1:2 Quick access:0:1"));
        QVERIFY(!dialog.canMoveInto(idOf(QStringLiteral("A")), idOf(QStringLiteral("A2"))));
        QVERIFY(dialog.canMoveInto(idOf(QStringLiteral("A2")), BookmarkManager::QuickAccessFolder));
        dialog.setExpanded(idOf(QStringLiteral("A")), true);
        QCOMPARE(dialog.rowCount(), 5);
        QCOMPARE(m_manager->bookmarkTreeModel()->rowCount(), 5); // its own state untouched
    }

    void pageQuestions_data()
    {
        QTest::addColumn<QString>("asked"); // getBookmarked in order
        QTest::addColumn<bool>("bookmarked");
        QTest::addColumn<QString>("dataOf"); // getBookmarkData
        QTest::addColumn<QString>("active"); // id > 0, title, parent title
        // clang-format off
        QTest::newRow("bookmark") << "http://a1/" << true << "http://a1/" << "1 a1 A";
        QTest::newRow("no bookmark") << "http://a1/ http://none/" << false << "http://none/" << "0  ";
        QTest::newRow("internal page, stale answer dropped") << "http://a1/ about:blank" << false << "http://q1/" << "1 q1 Quick access";
        // clang-format on
    }

    void pageQuestions()
    {
        QFETCH(QString, asked);
        QFETCH(QString, dataOf);
        m_manager->getBookmarkData(QStringLiteral("http://x1/"));
        QVERIFY(drainStorage());
        QCOMPARE(m_manager->activeBookmarkTitle(), QStringLiteral("x1"));
        for (const QString& url : asked.split(QLatin1Char(' ')))
            m_manager->getBookmarked(url);
        m_manager->getBookmarkData(dataOf);
        QCOMPARE(m_manager->activeBookmarkId(), -1); // reset before storage answers
        QVERIFY(drainStorage());
        QTEST(m_manager->currentUrlBookmarked(), "bookmarked");
        const int parent = m_manager->activeBookmarkParent();
        const QString parentTitle
            = parent < 0 ? QString() : m_manager->bookmarkTreeModel()->folderTitle(parent);
        QTEST(QStringLiteral("%1 %2 %3")
                  .arg(int(m_manager->activeBookmarkId() > 0))
                  .arg(m_manager->activeBookmarkTitle(), parentTitle),
            "active");
    }

    void appGrid_data()
    {
        QTest::addColumn<QString>("answer"); // of CheckExists: true, false, error, never
        QTest::addColumn<QString>("favicon"); // "-": only check; else save, with this icon cached
        QTest::addColumn<bool>("onGrid");
        // clang-format off
        QTest::newRow("on the grid") << "true" << "-" << true;
        QTest::newRow("not on the grid") << "false" << "-" << false;
        QTest::newRow("error") << "error" << "-" << false;
        QTest::newRow("no answer") << "never" << "-" << false;
        QTest::newRow("create with cached favicon") << "true" << "data:image/png;base64,iVBORw0KGgo=" << true;
        QTest::newRow("create with letter icon, refused") << "false" << "" << false;
        // clang-format on
    }

    void appGrid()
    {
        QFETCH(QString, answer);
        QFETCH(QString, favicon);
        const QString url
            = QStringLiteral("http://row%1.example/page").arg(qHash(QByteArray(QTest::currentDataTag())));
        using Answer = FakePackageManager::Answer;
        m_apm->script(QStringLiteral("CheckExists"),
            answer == QLatin1String("never") ? Answer::never()
                : answer == QLatin1String("error")
                ? Answer::error(QStringLiteral("ru.nuvo.APM.Error.Failed"), {})
                : Answer::reply({ answer == QLatin1String("true") }));
        m_apm->clearCalls();
        QSignalSpy changed(m_manager, &BookmarkManager::isInAppGridChanged);
        QElapsedTimer clock;
        clock.start();
        if (favicon == QLatin1String("-")) {
            m_manager->checkInAppGrid(url);
        } else {
            if (!favicon.isEmpty())
                FaviconsMap::instance()->setFavicon(url, favicon, true);
            m_manager->saveToAppGrid(url, QStringLiteral("example"));
            const auto create = m_apm->calls(QStringLiteral("Create"));
            QCOMPARE(create.size(), 1);
            const QString icon = create.value(0).arguments.value(2).toString();
            QCOMPARE(create.value(0).arguments,
                (QVariantList { url, QStringLiteral("example"), favicon.isEmpty() ? icon : favicon }));
            QVERIFY(!favicon.isEmpty()
                || (icon.startsWith(QLatin1String("data:image/png;base64,"))
                    && !QImage::fromData(QByteArray::fromBase64(icon.mid(22).toLatin1()), "PNG").isNull()));
        }
        QVERIFY2(clock.elapsed() < 3 * BookmarkManager::appGridTimeoutMs,
            qPrintable(QString::number(clock.elapsed())));
        QTEST(m_manager->isInAppGrid(), "onGrid");
        QCOMPARE(changed.count(), 1);
        const auto calls = m_apm->calls(QStringLiteral("CheckExists"));
        QCOMPARE(calls.size(), 1);
        QCOMPARE(calls.first().interface, QStringLiteral("ru.nuvo.APM.Bookmarks"));
        QCOMPARE(calls.first().arguments, QVariantList { url });
    }

    void fromQml()
    {
        QQmlEngine engine;
        QQmlComponent component(&engine);
        component.loadUrl(QUrl::fromLocalFile(QFINDTESTDATA("bookmarkspage.qml")));
        QScopedPointer<QObject> page(component.create());
        QVERIFY2(page, qPrintable(component.errorString()));
        QMetaObject::invokeMethod(page.data(), "add");
        QVERIFY(drainStorage());
        QVariant rows;
        QMetaObject::invokeMethod(page.data(), "read", Q_RETURN_ARG(QVariant, rows));
        QCOMPARE(rows.toString(),
            QStringLiteral(
                "A,,true,true,false,|b1,http://b1/,false,true,false,|q1|qml|Bookmarks,0,3,true,true|"
                "A,1,2,true,true|A1,2,1,true,true|Quick access,0,2,true,true"));
    }
};

QTEST_MAIN(TestBookmarkManager)
#include "tst_bookmarkmanager.moc"
