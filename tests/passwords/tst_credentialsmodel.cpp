// The password page's models over a real manager, checked by the model tester
// while they change, and once from QML by their module names.

#include "passwords/credentialsmodel.h"
#include "passwords/passwordmanager.h"
#include "startup/qmltypes.h"
#include "support/tempprofile.h"

#include <QAbstractItemModelTester>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>
#include <memory>

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

class TestCredentialsModel : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
        registerQmlTypes();
    }

    void init()
    {
        m_manager.reset(); // before the directory it writes into
        m_dir = std::make_unique<QTemporaryDir>();
        m_manager = std::make_unique<PasswordManager>(m_dir->path());
        QTRY_COMPARE(m_manager->status(), PasswordManager::Ready);
        m_manager->save(
            QStringLiteral("https://mail.example/login"), QStringLiteral("ann"), QStringLiteral("pa"));
        m_manager->save(QStringLiteral("https://bank.example"), QStringLiteral("Bob"), QStringLiteral("pb"),
            QStringLiteral("pin in drawer"));
        m_manager->save(QStringLiteral("https://mail.example"), QStringLiteral("zoe"), QStringLiteral("pz"));
        m_manager->save(QStringLiteral("https://shop.example"), QStringLiteral("ann"), QStringLiteral("ps"));
    }

    void filter_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("sites");
        QTest::addColumn<QString>("usernames");

        const char* rows[][4]
            = { { "everything, by site then user", "", "bank,mail,mail,shop", "Bob,ann,zoe,ann" },
                  { "user name, any case", "ANN", "mail,shop", "ann,ann" },
                  { "site", "mail.", "mail,mail", "ann,zoe" }, { "note", "drawer", "bank", "Bob" },
                  { "password is not searched", "pz", "", "" } };
        for (const auto& row : rows)
            QTest::newRow(row[0]) << QString::fromLatin1(row[1]) << QString::fromLatin1(row[2])
                                  << QString::fromLatin1(row[3]);
    }

    void filter()
    {
        QFETCH(QString, filter);
        QFETCH(QString, sites);
        QFETCH(QString, usernames);

        CredentialsModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setManager(m_manager.get());
        model.setFilter(filter);
        QCOMPARE(column(model, CredentialsModel::SiteRole)
                     .remove(QStringLiteral("https://"))
                     .remove(QStringLiteral(".example")),
            sites);
        QCOMPARE(column(model, CredentialsModel::UsernameRole), usernames);
    }

    void siteModelFollowsItsSite()
    {
        SiteCredentialsModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setManager(m_manager.get());
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

    void revealAndRemoveSelected()
    {
        CredentialsModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setManager(m_manager.get());
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
        QCOMPARE(
            column(model, CredentialsModel::SelectedRole), QStringLiteral("true,false,false,false,true"));
        QCOMPARE(model.removeSelected(), 2);
        QCOMPARE(model.selectedCount(), 0);
        QCOMPARE(column(model, CredentialsModel::UsernameRole), QStringLiteral("Bob,ann,zoe"));
    }

    void fromQml()
    {
        PasswordManager* shared = PasswordManager::instance();
        QTRY_COMPARE(shared->status(), PasswordManager::Ready);

        QQmlEngine engine;
        QQmlComponent component(&engine);
        component.setData(R"(
            import QtQuick 2.15
            import BrowserInternal 1.0
            Item {
                property string saved: SettingsPasswordManager.save('https://q.example/a', 'quinn', 'pq', 'n')
                property string line: rows.count === 1 ? rows.itemAt(0).line : ""
                property var site: SettingsPasswordManager.siteCredentials('https://q.example/other')
                Repeater {
                    id: rows
                    model: CredentialsModel { filter: 'quinn' }
                    delegate: Item {
                        property string line: [model.site, model.username, model.note, '[' + model.password + ']'].join(' ')
                    }
                }
            })",
            QUrl());
        QScopedPointer<QObject> root(component.create());
        QVERIFY2(root, qPrintable(component.errorString()));
        QVERIFY(!root->property("saved").toString().isEmpty());
        QCOMPARE(root->property("line").toString(), QStringLiteral("https://q.example quinn n []"));
        auto* site = qobject_cast<SiteCredentialsModel*>(root->property("site").value<QObject*>());
        QVERIFY(site);
        QCOMPARE(site->rowCount(), 1);
    }

private:
    TempProfile m_profile;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<PasswordManager> m_manager;
};

QTEST_MAIN(TestCredentialsModel)
#include "tst_credentialsmodel.moc"
