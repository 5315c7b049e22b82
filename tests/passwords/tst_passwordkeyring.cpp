// The store key in a real Secret Service keyring: gnome-keyring on a private
// session bus of the test's own.

#include "passwords/passwordmanager.h"
#include "support/privatebus.h"
#include "support/tempprofile.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QProcess>
#include <QStandardPaths>
#include <QtTest>
#include <memory>

class TestPasswordKeyring : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        if (QStandardPaths::findExecutable(QStringLiteral("gnome-keyring-daemon")).isEmpty())
            QSKIP("gnome-keyring-daemon is not installed (scripts/bootstrap installs it)");
        QFile::setPermissions(
            m_runtime.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime.path()));

        m_bus = std::make_unique<PrivateBus>(true);
        QVERIFY2(m_bus->isValid(), qPrintable(m_bus->errorString()));

        m_keyring.start(QStringLiteral("gnome-keyring-daemon"),
            { QStringLiteral("--foreground"), QStringLiteral("--unlock"),
                QStringLiteral("--components=secrets") });
        QVERIFY(m_keyring.waitForStarted());
        m_keyring.write("login-secret-of-the-test");
        m_keyring.closeWriteChannel();
        QDBusConnection bus
            = QDBusConnection::connectToBus(m_bus->address(), QStringLiteral("keyring-probe"));
        QTRY_VERIFY_WITH_TIMEOUT(
            bus.interface()->isServiceRegistered(QStringLiteral("org.freedesktop.secrets")), 10000);
    }

    void cleanupTestCase()
    {
        m_keyring.kill();
        m_keyring.waitForFinished();
        m_bus.reset();
    }

    void keyLivesInTheKeyring()
    {
        QTemporaryDir dir;
        QByteArray store;
        {
            PasswordManager manager(dir.path());
            QTRY_COMPARE(manager.status(), PasswordManager::Ready);
            manager.save(
                QStringLiteral("https://a.example"), QStringLiteral("ann"), QStringLiteral("keyring-pw"));
            manager.waitForIo();
            QTRY_COMPARE(manager.keyLocation(), QStringLiteral("keyring"));
            QVERIFY(!QFile::exists(manager.keyFilePath()));
            QFile file(manager.storePath());
            QVERIFY(file.open(QIODevice::ReadOnly));
            store = file.readAll();
            QVERIFY(!store.contains("keyring-pw"));
        }
        {
            PasswordManager restarted(dir.path());
            QTRY_COMPARE(restarted.status(), PasswordManager::Ready);
            QCOMPARE(restarted.password(restarted.credentials().value(0).id), QStringLiteral("keyring-pw"));
        }

        // Without the keyring the store stays closed: no second key is made for it.
        m_keyring.kill();
        m_keyring.waitForFinished();
        PasswordManager locked(dir.path());
        QTRY_COMPARE_WITH_TIMEOUT(locked.status(), PasswordManager::Locked, 10000);
        QVERIFY(locked.save(QStringLiteral("https://b.example"), QStringLiteral("bob"), QStringLiteral("x"))
                    .isEmpty());
        locked.waitForIo();
        QVERIFY(!QFile::exists(locked.keyFilePath()));
        QFile file(locked.storePath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), store);
    }

private:
    TempProfile m_profile;
    QTemporaryDir m_runtime;
    std::unique_ptr<PrivateBus> m_bus;
    QProcess m_keyring;
};

QTEST_MAIN(TestPasswordKeyring)
#include "tst_passwordkeyring.moc"
