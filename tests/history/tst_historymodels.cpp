#include "history/faviconsmap.h"
#include "history/historymodel.h"
#include "history/lettericon.h"
#include "history/popuphistorymodel.h"
#include "history/searchmodel.h"
#include "history/tabhistorymodel.h"
#include "startup/qmltypes.h"
#include "storage/dbmanager.h"
#include "support/dbfileprobe.h"
#include "support/logcapture.h"
#include "support/tempprofile.h"
#include "theme.h"

#include <QAbstractItemModelTester>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

namespace
{
const qint64 dayMs = 24 * 60 * 60 * 1000;

// The rows as the front end reads them: url without "http://", "+" when
// bookmarked, "*" when selected; tab lists mark the current entry with "<".
QString shown(const QAbstractItemModel& model, int current = -1)
{
    QStringList rows;
    for (int row = 0; row < model.rowCount(); ++row) {
        const QModelIndex i = model.index(row, 0);
        rows << i.data(BaseHistoryModel::UrlRole).toString().remove(QStringLiteral("http://"))
                + QLatin1String(i.data(BaseHistoryModel::BookmarkedRole).toBool() ? "+" : "")
                + QLatin1String(i.data(BaseHistoryModel::SelectedRole).toBool() ? "*" : "")
                + QLatin1String(row == current ? "<" : "");
    }
    return rows.join(QLatin1Char(' '));
}

// The steps the history page and a tab's list share.
template <typename Model> void commonStep(Model& model, const QString& op, const QString& arg)
{
    if (op == QLatin1String("add"))
        model.add(arg, QStringLiteral("t"));
    else if (op == QLatin1String("remove"))
        model.remove(arg.toInt());
    else if (op == QLatin1String("select"))
        model.toggleSelection(arg.toInt());
    else if (op == QLatin1String("removeSelected"))
        model.removeSelected();
    else if (op == QLatin1String("clear"))
        model.clear();
}

// The icon cache asked the storage of its time; each case restarts storage, so
// it is wired up again before it loads the stored icons.
bool loadFavicons()
{
    QObject::connect(DBManager::instance(), &DBManager::faviconsAvailable, FaviconsMap::instance(),
        &FaviconsMap::faviconsAvailable, Qt::UniqueConnection);
    QSignalSpy loaded(FaviconsMap::instance(), &FaviconsMap::faviconsLoaded);
    DBManager::instance()->getFavicons();
    return loaded.wait(5000) && drainStorage();
}

QList<Link> fakeLinks(int count)
{
    QList<Link> links;
    for (int i = 0; i < count; ++i)
        links.append(Link { 100 + i, true, QStringLiteral("u%1").arg(count - 1 - i), {}, {}, {}, false });
    return links;
}
} // namespace

// The history page, a tab's back/forward list and the icon cache on real storage.
class TestHistoryModels : public QObject
{
    Q_OBJECT
    std::unique_ptr<TempProfile> m_profile;

    QString fileRows(const QString& sql)
    {
        return sqlRows(DbFileProbe(m_profile->databasePath()).database(), sql).join(QLatin1Char(' '));
    }

private slots:
    void init()
    {
        delete DBManager::instance(); // lets the worker close the last profile's file
        m_profile.reset(); // restores the environment before the next one replaces it
        m_profile = std::make_unique<TempProfile>();
        QVERIFY(drainStorage());
    }

    void history_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("seen"); // rows the page shows after the steps
        QTest::addColumn<QString>("all"); // the whole history after a restart of storage
        // Seeded: a1 "Alpha" 1 h ago, b "Beta" (bookmarked) 2 days, a2 (no title) 3 days, c "Gamma" 10 days.
        const QString all = QStringLiteral("a1 b+ a2 c");
        // clang-format off
    QTest::newRow("internal pages never recorded") << "add about:blank;add chrome://version;add About:x" << QStringLiteral("About:x ") + all << QStringLiteral("About:x ") + all;
    QTest::newRow("text matches title") << "get alpha 0" << "a1" << all;
    QTest::newRow("period") << "get - 5" << "a1 b+ a2" << all;
    QTest::newRow("search keeps the period") << "get - 5;search a" << "a1 b+ a2" << all;
    QTest::newRow("a visit shows the whole history") << "get Beta 0;add http://n" << QStringLiteral("n ") + all << QStringLiteral("n ") + all;
    QTest::newRow("remove selected") << "select 0;select 1;select 3;select 3;removeSelected" << "a2 c" << "a2 c";
    QTest::newRow("selection follows ids") << "select 1;get Beta 0" << "b+*" << all;
    QTest::newRow("clear all") << "clear" << "" << "";
    QTest::newRow("clear the period only") << "get - 5;clear" << "" << "c";
    QTest::newRow("clear a search only") << "search Gamma;clear" << "" << "a1 b+ a2";
    QTest::newRow("search model") << "find a;dropfound 0" << "b+ a2 c" << "b+ a2 c";
    QTest::newRow("empty search finds nothing") << "find ;get - 5" << "" << all;
        // clang-format on
    }

    void history()
    {
        QFETCH(QString, steps);
        QFETCH(QString, seen);
        QFETCH(QString, all);
        const qint64 now = QDateTime::currentMSecsSinceEpoch();
        const qint64 hour = 3600 * 1000;
        QVERIFY(DbFileProbe(m_profile->databasePath())
                    .exec(QStringLiteral(
                              "INSERT INTO browser_history (url, title, date) VALUES ('http://a1', 'Alpha', "
                              "?), ('http://b', 'Beta', ?), ('http://a2', '', ?), ('http://c', 'Gamma', ?)"),
                        { now - hour, now - 48 * hour, now - 72 * hour, now - 240 * hour }));
        DBManager::instance()->addBookmarkNode(1, QStringLiteral("http://b"), QStringLiteral("Beta"));

        HistoryModel model;
        SearchModel found;
        QAbstractItemModelTester tester(&model);
        QAbstractItemModelTester foundTester(&found);
        model.getHistory(QString());
        QVERIFY(drainStorage());
        for (const QString& step : steps.split(QLatin1Char(';'))) {
            const QString op = step.section(QLatin1Char(' '), 0, 0),
                          arg = step.section(QLatin1Char(' '), 1, 1);
            const qint64 days = step.section(QLatin1Char(' '), 2).toInt();
            if (op == QLatin1String("get"))
                model.getHistory(arg == QLatin1String("-") ? QString() : arg,
                    days ? QDateTime::fromMSecsSinceEpoch(now - days * dayMs) : QDateTime());
            else if (op == QLatin1String("search"))
                model.search(arg);
            else if (op == QLatin1String("find"))
                found.search(arg);
            else if (op == QLatin1String("dropfound"))
                found.removeSearchEntry(arg.toInt());
            else
                commonStep(model, op, arg);
            QVERIFY(drainStorage());
        }
        const bool searching = steps.startsWith(QLatin1String("find"));
        QCOMPARE(shown(searching ? static_cast<BaseHistoryModel&>(found) : model), seen);
        QCOMPARE(model.selectedCount(), seen.count(QLatin1Char('*')));
        QCOMPARE(model.selectedBookmarksCount(), seen.count(QStringLiteral("+*")));

        // What the page showed is what storage keeps.
        delete DBManager::instance();
        HistoryModel again, whole;
        QAbstractItemModelTester againTester(&again);
        again.getHistory(model.filter(), model.start(), model.end());
        whole.getHistory(QString());
        QVERIFY(drainStorage());
        if (!searching)
            QCOMPARE(shown(again).remove(QLatin1Char('*')), shown(model).remove(QLatin1Char('*')));
        QCOMPARE(shown(whole), all);
    }

    void tabHistory_data()
    {
        QTest::addColumn<QString>("steps");
        // Rows newest first, the file's entries of tab 5 oldest first; "<" on the current one.
        QTest::addColumn<QString>("seen");
        QTest::addColumn<QString>("file");
        QTest::addColumn<bool>("canGoBack");
        QTest::addColumn<bool>("canGoForward");
        // clang-format off
    QTest::newRow("internal pages are no entries") << "add u1;add about:blank;add chrome://gpu" << "u1<" << "u1<" << false << false;
    QTest::newRow("back") << "add u1;add u2;add u3;back" << "u3 u2< u1" << "u1 u2< u3" << true << true;
    QTest::newRow("back to the oldest") << "add u1;add u2;back" << "u2 u1<" << "u1< u2" << false << true;
    QTest::newRow("visit after going back drops forward entries") << "add u1;add u2;add u3;back;back;add u4" << "u4< u1" << "u1 u4<" << true << false;
    QTest::newRow("unknown id sends nothing") << "add u1;add u2;goid 99999" << "u2< u1" << "u1 u2<" << true << false;
    QTest::newRow("remove an older entry") << "add u1;add u2;add u3;back;remove 2" << "u3 u2<" << "u2< u3" << false << true;
    QTest::newRow("the current entry stays") << "add u1;add u2;remove 0;select 0;select 1;removeSelected" << "u2*<" << "u2<" << false << false;
    QTest::newRow("clear keeps the current entry") << "add u1;add u2;add u3;back;clear" << "u2<" << "u2<" << false << false;
    QTest::newRow("private entries stay in memory") << "private;add u1;add u2" << "u2< u1" << "" << true << false;
        // clang-format on
    }

    void tabHistory()
    {
        QFETCH(QString, steps);
        QFETCH(QString, seen);
        QFETCH(QString, file);
        QFETCH(bool, canGoBack);
        QFETCH(bool, canGoForward);
        TabHistoryModel model;
        QAbstractItemModelTester tester(&model);
        model.setIsPrivate(steps.startsWith(QLatin1String("private")));
        model.setTabId(5);
        QSignalSpy added(&model, &TabHistoryModel::linkAddedToTabHistory);
        QStringList moves; // the url each move returned, then the url of the row it made current
        for (const QString& step : steps.split(QLatin1Char(';'))) {
            const QString op = step.section(QLatin1Char(' '), 0, 0), arg = step.section(QLatin1Char(' '), 1);
            if (op == QLatin1String("back") || op == QLatin1String("forward"))
                moves << (op == QLatin1String("back") ? model.goBack() : model.goForward())
                      << model.index(model.currentIndex()).data(BaseHistoryModel::UrlRole).toString();
            else if (op == QLatin1String("go"))
                model.navigateThroughTabHistory(
                    model.index(arg.toInt()).data(BaseHistoryModel::HistoryIdRole).toInt());
            else if (op == QLatin1String("goid"))
                model.navigateThroughTabHistory(arg.toInt());
            else
                commonStep(model, op, arg);
            QVERIFY(drainStorage());
        }
        for (int i = 0; i < moves.size(); i += 2)
            QCOMPARE(moves.at(i), moves.at(i + 1));
        QCOMPARE(added.size(), steps.count(QStringLiteral("add u")));
        QCOMPARE(shown(model, model.currentIndex()), seen);
        QCOMPARE(model.canGoBack(), canGoBack);
        QCOMPARE(model.canGoForward(), canGoForward);
        QCOMPARE(
            fileRows(QStringLiteral("SELECT url || IIF(id IN (SELECT tab_history_id FROM tab), '<', '') FROM "
                                    "tab_history JOIN link USING (link_id) WHERE tab_id = 5 ORDER BY id")),
            file);
    }

    void popupAndAnswers_data()
    {
        QTest::addColumn<int>("current");
        QTest::addColumn<bool>("forward");
        QTest::addColumn<int>("maxCount");
        QTest::addColumn<QString>("answer"); // how the second answer differs from the last request
        QTest::addColumn<QString>("menu"); // rows of the menu, by url
        // Five entries u4 (row 0, newest) .. u0 (row 4).
        // clang-format off
    QTest::newRow("newest, back 3") << 0 << false << 3 << "" << "u3 u2 u1";
    QTest::newRow("oldest, forward 2") << 4 << true << 2 << "" << "u2 u1";
    QTest::newRow("middle, back window ends with the list") << 2 << false << 3 << "" << "u1 u0";
    QTest::newRow("answer for another tab dropped") << 1 << false << 1 << "tab" << "u2";
    QTest::newRow("answer for an older filter dropped") << 1 << false << 1 << "filter" << "u2";
    QTest::newRow("matching answer taken") << 1 << false << 1 << "same" << "u3";
        // clang-format on
    }

    void popupAndAnswers()
    {
        QFETCH(int, current);
        QFETCH(bool, forward);
        QFETCH(int, maxCount);
        QFETCH(QString, answer);
        QFETCH(QString, menu);
        TabHistoryModel history;
        PopupHistoryModel popup;
        QAbstractItemModelTester tester(&popup);
        popup.setForwardModel(forward);
        popup.setMaxCount(maxCount);
        popup.setSourceModel(&history);
        history.setTabId(9);
        const QList<Link> links = fakeLinks(5);
        history.tabHistoryAvailable(9, links, links.at(0).id, QString(), QDateTime(), QDateTime());
        history.navigateThroughTabHistory(links.at(current).id);
        if (!answer.isEmpty()) {
            // The later answer would make row 0 current; only one for this request may.
            const QDateTime period
                = answer == QLatin1String("period") ? QDateTime::currentDateTime() : QDateTime();
            history.tabHistoryAvailable(answer == QLatin1String("tab") ? 10 : 9, fakeLinks(5), 100,
                answer == QLatin1String("filter") ? QStringLiteral("x") : QString(), period, QDateTime());
        }
        QCOMPARE(shown(popup), menu);
        QCOMPARE(popup.count(), popup.rowCount());
    }

    void favicons_data()
    {
        // Steps "url icon [private]", one set each; "age" dates the stored rows 1970.
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("icon"); // what a page of the site gets
        QTest::addColumn<int>("changes"); // valueChanged signals
        QTest::addColumn<QString>("file"); // the site's row: icon|whether the date is from this run
        // clang-format off
    QTest::newRow("same site shares one entry") << "https://s.example/a d1;https://s.example/b?q d2" << "d2" << 2 << "d2|1";
    QTest::newRow("private never reaches the file") << "https://s.example/a d1 private" << "d1" << 1 << "";
    QTest::newRow("unchanged icon only touches the date") << "https://s.example/a d1;age;https://s.example/ d1" << "d1" << 1 << "d1|1";
    QTest::newRow("oversized icon refused") << "https://s.example/a big" << "" << 0 << "";
    QTest::newRow("1 MiB icon kept") << "https://s.example/a max" << "max" << 1 << "max|1";
        // clang-format on
    }

    void favicons()
    {
        QFETCH(QString, steps);
        // The cache lives as long as the process: each row has a site of its own.
        static int row = 0;
        const QString site = QStringLiteral("s%1.example").arg(++row);
        steps.replace(QLatin1String("s.example"), site);
        QFETCH(QString, icon);
        QFETCH(int, changes);
        QFETCH(QString, file);
        // Every stored icon is there once the cache has loaded.
        DbFileProbe db(m_profile->databasePath());
        QVERIFY(db.exec(QStringLiteral("INSERT INTO favicons VALUES ('https://stored.example', 'old', 1)")));
        FaviconsMap* map = FaviconsMap::instance();
        QVERIFY(loadFavicons());
        QCOMPARE(map->getFavicon(QStringLiteral("https://stored.example/x")), QStringLiteral("old"));

        const auto expand = [](const QString& text) {
            if (text == QLatin1String("big") || text == QLatin1String("max"))
                return QString(
                    FaviconsMap::maxFaviconLength + (text == QLatin1String("big")), QLatin1Char('x'));
            return text;
        };
        LogCapture log("browser.app.history");
        QSignalSpy changed(map, &FaviconsMap::valueChanged);
        for (const QString& step : steps.split(QLatin1Char(';'))) {
            if (step == QLatin1String("age")) {
                QVERIFY(drainStorage());
                QVERIFY(db.exec(QStringLiteral("UPDATE favicons SET date = 1")));
                continue;
            }
            const QStringList parts = step.split(QLatin1Char(' '));
            map->setFavicon(parts.at(0), expand(parts.at(1)), parts.size() > 2);
        }
        QVERIFY(drainStorage());
        QCOMPARE(map->getFavicon(QStringLiteral("https://%1/other/page").arg(site)), expand(icon));
        QCOMPARE(changed.size(), changes);
        for (const QList<QVariant>& args : qAsConst(changed))
            QCOMPARE(args.at(0).toString(), QStringLiteral("https://") + site);
        QCOMPARE(fileRows(QStringLiteral(
                     "SELECT IIF(length(favicon) > 9, 'max', favicon) || '|' || (date > 1) FROM "
                     "favicons WHERE base_url <> 'https://stored.example'")),
            file);
        QCOMPARE(log.messages(QtWarningMsg).size(), steps.contains(QLatin1String("big")) ? 1 : 0);
    }

    void letterIcon()
    {
        // The white of the letter, whatever gradient was picked.
        const auto glyph = [](const QImage& image) {
            QVector<bool> mask;
            for (int y = 0; y < image.height(); ++y)
                for (int x = 0; x < image.width(); ++x)
                    mask << (qGray(image.pixel(x, y)) > 245);
            return mask;
        };
        const auto shape
            = [&glyph](const char* letter) { return glyph(LetterIcon::image(QLatin1String(letter))); };
        // Edge pixels blend into a random background: shapes match up to a few of them.
        const auto alike = [](const QVector<bool>& a, const QVector<bool>& b) {
            int differ = 0;
            for (int i = 0; i < a.size(); ++i)
                differ += a.at(i) != b.at(i);
            return differ <= qMax(3, int(a.count(true)) / 20);
        };
        QVERIFY(alike(shape("a"), shape("A")) && alike(shape("Wx"), shape("W"))
            && !alike(shape("A"), shape("O")));
        QVERIFY(!shape("").contains(true));
        // A site without an icon gets the letter icon of its title, as a launcher-sized PNG.
        const QString url
            = FaviconsMap::instance()->iconFor(QStringLiteral("https://none.example/"), QStringLiteral("q"));
        QVERIFY(url.startsWith(QLatin1String("data:image/png;base64,")));
        QImage image;
        QVERIFY(image.loadFromData(QByteArray::fromBase64(url.mid(22).toLatin1()), "PNG"));
        const int side = int(Theme::instance()->iconSizeLauncher());
        QCOMPARE(image.size(), QSize(side, side));
        QVERIFY(alike(glyph(image), shape("Q")));
    }

    void fromQml()
    {
        // As the front end does it: types by their QML names, rows through the role names.
        registerQmlTypes();
        QVERIFY(loadFavicons()); // start-up does it before the first page can set an icon
        QQmlEngine engine;
        QQmlComponent component(&engine);
        component.loadUrl(QUrl::fromLocalFile(QFINDTESTDATA("historypage.qml")));
        QScopedPointer<QObject> root(component.create());
        QVERIFY2(root, qPrintable(component.errorString()));
        for (const QString& url :
            { QStringLiteral("https://one.example/"), QStringLiteral("https://two.example/") })
            QMetaObject::invokeMethod(root.data(), "visit", Q_ARG(QVariant, url),
                Q_ARG(QVariant, url.contains(QLatin1String("one")) ? QStringLiteral("One") : QString()));
        QObject* history = root->property("history").value<QObject*>();
        QTRY_COMPARE(history->property("count").toInt(), 2);
        QMetaObject::invokeMethod(history, "toggleSelection", Q_ARG(int, 1));
        QVariant read;
        // An untitled page shows its url as title; the back menu offers the first page.
        QTRY_COMPARE(
            (QMetaObject::invokeMethod(root.data(), "read", Q_RETURN_ARG(QVariant, read)), read.toString()),
            QStringLiteral("data:,|true|https://two.example/ https://two.example/ true false false true true|"
                           "https://one.example/ One true false true true true|https://one.example/"));
    }
};

QTEST_MAIN(TestHistoryModels)
#include "tst_historymodels.moc"
