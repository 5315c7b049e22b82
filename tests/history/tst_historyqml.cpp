#include "startup/qmltypes.h"
#include "storage/dbmanager.h"
#include "support/tempprofile.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QtTest>

// The history types as the front end uses them: made by their QML names, rows
// read through the role names by delegates.
class TestHistoryQml : public QObject
{
    Q_OBJECT
    TempProfile m_profile;

private slots:
    void rowsThroughRoleNames();
};

void TestHistoryQml::rowsThroughRoleNames()
{
    registerQmlTypes();
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData(R"(
import QtQuick 2.15
import BrowserInternal 1.0
Item {
    property var base: BaseHistoryModel {}
    property var history: HistoryModel {}
    property var found: SearchModel {}
    property var tiles: MostVisitedModel {}
    property var tab: TabHistoryModel { tabId: 3 }
    property var back: PopupHistoryModel { sourceModel: tab; maxCount: 3 }
    property alias historyRows: historyRows
    property alias backRows: backRows
    Repeater {
        id: historyRows
        model: history
        delegate: Item {
            property string row: [url, title, historyId > 0, bookmarked, selected, icon === undefined,
                                  date.getFullYear() > 2000].join(" ")
        }
    }
    Repeater { id: backRows; model: back; delegate: Item { property string row: url } }
    function visit(url, title) {
        history.add(url, title); tab.add(url, title)
        FaviconsMap.setFavicon(url, "data:image/png;base64,AA==", false)
    }
    function counts() {
        return [base.count, history.count, found.count, tiles.count, tab.count, back.count,
                tab.canGoBack, FaviconsMap.getFavicon("https://one.example/other")].join(" ")
    }
}
)",
        QUrl());
    QScopedPointer<QObject> root(component.create());
    QVERIFY2(root, qPrintable(component.errorString()));
    QMetaObject::invokeMethod(root.data(), "visit", Q_ARG(QVariant, QStringLiteral("https://one.example/")),
        Q_ARG(QVariant, QStringLiteral("One")));
    QMetaObject::invokeMethod(root.data(), "visit", Q_ARG(QVariant, QStringLiteral("https://two.example/")),
        Q_ARG(QVariant, QString()));
    QObject* history = root->property("history").value<QObject*>();
    QTRY_COMPARE(history->property("count").toInt(), 2);
    QMetaObject::invokeMethod(history, "toggleSelection", Q_ARG(int, 1));
    QMetaObject::invokeMethod(
        root->property("found").value<QObject*>(), "search", Q_ARG(QString, QStringLiteral("one")));
    QMetaObject::invokeMethod(
        root->property("tiles").value<QObject*>(), "getMostVisitedLinks", Q_ARG(int, 4));
    QVariant counts;
    QTRY_VERIFY((QMetaObject::invokeMethod(root.data(), "counts", Q_RETURN_ARG(QVariant, counts)),
        counts.toString() == QLatin1String("0 2 1 2 2 1 true data:image/png;base64,AA==")));

    QStringList rows;
    QObject* repeater = root->property("historyRows").value<QObject*>();
    for (int i = 0; i < 2; ++i) {
        QQuickItem* item = nullptr;
        QMetaObject::invokeMethod(repeater, "itemAt", Q_RETURN_ARG(QQuickItem*, item), Q_ARG(int, i));
        rows << item->property("row").toString();
    }
    // An untitled page shows its url as title.
    QCOMPARE(rows,
        QStringList({ QStringLiteral("https://two.example/ https://two.example/ true false false true true"),
            QStringLiteral("https://one.example/ One true false true true true") }));
    QObject* backRows = root->property("backRows").value<QObject*>();
    QQuickItem* back = nullptr;
    QMetaObject::invokeMethod(backRows, "itemAt", Q_RETURN_ARG(QQuickItem*, back), Q_ARG(int, 0));
    QCOMPARE(back->property("row").toString(), QStringLiteral("https://one.example/"));
}

QTEST_MAIN(TestHistoryQml)
#include "tst_historyqml.moc"
