// The password page's models over a real manager, checked by the model tester
// while they change, and once from QML by their module names.

#include "passwords/credentialsmodel.h"
#include "passwords/passwordmanager.h"
#include "startup/qmltypes.h"
#include "support/tempprofile.h"

#include <QAbstractItemModelTester>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

class TestCredentialsModel : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void filter_data();
    void filter();
    void siteModelFollowsItsSite();
    void revealAndRemoveSelected();
    void fromQml();

private:
    TempProfile m_profile;
    QTemporaryDir* m_dir = nullptr;
    PasswordManager* m_manager = nullptr;
};

namespace
{
QString column(const QAbstractItemModel& model, int role)
{
    QStringList values;
    for (int row = 0; row < model.rowCount(); ++row)
        values.append(model.index(row, 0).data(role).toString());
    return values.join(QLatin1Char(','));
}
} // namespace

void TestCredentialsModel::initTestCase()
{
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    registerQmlTypes();
}

void TestCredentialsModel::init()
{
    m_dir = new QTemporaryDir;
    m_manager = new PasswordManager(m_dir->path());
    QTRY_COMPARE(m_manager->status(), PasswordManager::Ready);
    m_manager->save(
        QStringLiteral("https://mail.example/login"), QStringLiteral("ann"), QStringLiteral("pa"));
    m_manager->save(QStringLiteral("https://bank.example"), QStringLiteral("Bob"), QStringLiteral("pb"),
        QStringLiteral("pin in drawer"));
    m_manager->save(QStringLiteral("https://mail.example"), QStringLiteral("zoe"), QStringLiteral("pz"));
    m_manager->save(QStringLiteral("https://shop.example"), QStringLiteral("ann"), QStringLiteral("ps"));
}

void TestCredentialsModel::cleanup()
{
    delete m_manager;
    delete m_dir;
}

void TestCredentialsModel::filter_data()
{
    QTest::addColumn<QString>("filter");
    QTest::addColumn<QString>("sites");
    QTest::addColumn<QString>("usernames");

    QTest::newRow("everything, by site then user")
        << QString() << QStringLiteral("bank,mail,mail,shop") << QStringLiteral("Bob,ann,zoe,ann");
    QTest::newRow("user name, any case")
        << QStringLiteral("ANN") << QStringLiteral("mail,shop") << QStringLiteral("ann,ann");
    QTest::newRow("site") << QStringLiteral("mail.") << QStringLiteral("mail,mail")
                          << QStringLiteral("ann,zoe");
    QTest::newRow("note") << QStringLiteral("drawer") << QStringLiteral("bank") << QStringLiteral("Bob");
    QTest::newRow("password is not searched") << QStringLiteral("pz") << QString() << QString();
}

void TestCredentialsModel::filter()
{
    QFETCH(QString, filter);
    QFETCH(QString, sites);
    QFETCH(QString, usernames);

    CredentialsModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.setManager(m_manager);
    model.setFilter(filter);
    QCOMPARE(column(model, CredentialsModel::SiteRole)
                 .remove(QStringLiteral("https://"))
                 .remove(QStringLiteral(".example")),
        sites);
    QCOMPARE(column(model, CredentialsModel::UsernameRole), usernames);
}

void TestCredentialsModel::siteModelFollowsItsSite()
{
    SiteCredentialsModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.setManager(m_manager);
    QCOMPARE(model.rowCount(), 0);
    model.setSite(QStringLiteral("https://mail.example/inbox?x=1"));
    QCOMPARE(column(model, CredentialsModel::UsernameRole), QStringLiteral("ann,zoe"));

    QSignalSpy count(&model, &CredentialsModel::countChanged);
    m_manager->save(QStringLiteral("https://mail.example"), QStringLiteral("max"), QStringLiteral("pm"));
    m_manager->save(QStringLiteral("https://other.example"), QStringLiteral("max"), QStringLiteral("pm"));
    QCOMPARE(column(model, CredentialsModel::UsernameRole), QStringLiteral("ann,max,zoe"));
    QCOMPARE(count.count(), 1);
    model.setSite(QStringLiteral("https://shop.example"));
    QCOMPARE(column(model, CredentialsModel::UsernameRole), QStringLiteral("ann"));
}

void TestCredentialsModel::revealAndRemoveSelected()
{
    CredentialsModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.setManager(m_manager);
    QCOMPARE(column(model, CredentialsModel::PasswordRole), QStringLiteral(",,,"));
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    model.reveal(1, true);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(column(model, CredentialsModel::PasswordRole), QStringLiteral(",pa,,"));
    // A revealed login stays revealed across a refill, and hides on request.
    m_manager->save(QStringLiteral("https://aaa.example"), QStringLiteral("new"), QStringLiteral("pn"));
    QCOMPARE(column(model, CredentialsModel::PasswordRole), QStringLiteral(",,pa,,"));
    model.reveal(2, false);
    QCOMPARE(column(model, CredentialsModel::PasswordRole), QStringLiteral(",,,,"));

    // Selection is kept by login, across filters.
    model.setFilter(QStringLiteral("ann"));
    model.selectAll(true);
    model.setFilter(QString());
    model.setSelected(2, false); // mail.example/ann
    model.setSelected(0, true);
    QCOMPARE(model.selectedCount(), 2);
    QCOMPARE(column(model, CredentialsModel::SelectedRole), QStringLiteral("true,false,false,false,true"));
    QCOMPARE(model.removeSelected(), 2);
    QCOMPARE(model.selectedCount(), 0);
    QCOMPARE(column(model, CredentialsModel::UsernameRole), QStringLiteral("Bob,ann,zoe"));
}

void TestCredentialsModel::fromQml()
{
    PasswordManager* shared = PasswordManager::instance();
    QTRY_COMPARE(shared->status(), PasswordManager::Ready);

    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData(
        "import QtQuick 2.15\n"
        "import BrowserInternal 1.0\n"
        "Item {\n"
        "    property string saved: SettingsPasswordManager.save('https://q.example/a', 'quinn', 'pq', 'n')\n"
        "    property CredentialsModel logins: CredentialsModel { filter: 'quinn' }\n"
        "    property Item rows: repeater\n"
        "    Repeater {\n"
        "        id: repeater\n"
        "        model: logins\n"
        "        delegate: Item { property string line: model.site + ' ' + model.username + ' ' + "
        "model.note + ' [' + model.password + ']' }\n"
        "    }\n"
        "    property var site: SettingsPasswordManager.siteCredentials('https://q.example/other')\n"
        "}\n",
        QUrl());
    QScopedPointer<QObject> root(component.create());
    QVERIFY2(root, qPrintable(component.errorString()));
    QVERIFY(!root->property("saved").toString().isEmpty());
    auto* rows = root->property("rows").value<QObject*>();
    QCOMPARE(rows->property("count").toInt(), 1);
    QQuickItem* row = nullptr;
    QMetaObject::invokeMethod(rows, "itemAt", Q_RETURN_ARG(QQuickItem*, row), Q_ARG(int, 0));
    QVERIFY(row);
    QCOMPARE(row->property("line").toString(), QStringLiteral("https://q.example quinn n []"));
    auto* site = qobject_cast<SiteCredentialsModel*>(root->property("site").value<QObject*>());
    QVERIFY(site);
    QCOMPARE(site->rowCount(), 1);
}

QTEST_MAIN(TestCredentialsModel)
#include "tst_credentialsmodel.moc"
