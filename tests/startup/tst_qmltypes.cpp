// Every native type of the module must be usable from QML under its name.

#include "startup/qmltypes.h"
#include "storage/dbmanager.h"
#include "support/tempprofile.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QtTest>

class TestQmlTypes : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { registerQmlTypes(); }
    void reachableFromQml_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("kind");
        for (const QmlTypeEntry& entry : qmlTypeEntries())
            QTest::newRow(entry.name) << QString::fromLatin1(entry.name) << int(entry.kind);
        QVERIFY(!qmlTypeEntries().isEmpty());
    }
    void reachableFromQml()
    {
        QFETCH(QString, name);
        QFETCH(int, kind);
        QQmlEngine engine;
        QQmlComponent component(&engine);
        QByteArray qml = "import QtQml 2.15\nimport BrowserInternal 1.0\n";
        switch (kind) {
        case QmlTypeEntry::Singleton:
            qml += "QtObject { property QtObject it: " + name.toLatin1() + " }";
            break;
        case QmlTypeEntry::Creatable:
            qml += "QtObject { property QtObject it: " + name.toLatin1() + " {} }";
            break;
        case QmlTypeEntry::Uncreatable:
            // Reachable for its enums and roles, refused as an object.
            qml += "QtObject { property var it: " + name.toLatin1() + " }";
            break;
        }
        component.setData(qml, QUrl());
        QScopedPointer<QObject> object(component.create());
        QVERIFY2(object, qPrintable(component.errorString()));
        if (kind != QmlTypeEntry::Uncreatable)
            QVERIFY(object->property("it").value<QObject*>());
    }
    // The storage thread finishes before the profile it writes into goes away.
    void cleanupTestCase() { DBManager::instance()->shutdown(); }

private:
    // Types that open the database or the settings file do it in here.
    TempProfile m_profile;
};

QTEST_MAIN(TestQmlTypes)
#include "tst_qmltypes.moc"
