// The credential store on real files: what is saved comes back after a
// restart, is unreadable without the key, is refused when altered, and the
// never-save sites live in the browser's database.

#include "passwords/passwordmanager.h"
#include "support/dbfileprobe.h"
#include "support/tempprofile.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

namespace
{

uint fileMode(const QString& path)
{
    struct stat st = {};
    return ::stat(QFile::encodeName(path).constData(), &st) == 0 ? st.st_mode & 0777 : 0;
}

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList logins(const PasswordManager& manager)
{
    QStringList out;
    for (const Credential& c : manager.credentials())
        out.append(QStringList { c.site, c.username, c.password, c.note }.join(QLatin1Char('|')));
    return out;
}

bool waitUntilLoaded(PasswordManager& manager)
{
    return QTest::qWaitFor([&manager] { return manager.status() != PasswordManager::Loading; });
}

} // namespace

class TestPasswordStore : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        // Never the real keyring of whoever runs the tests: the key goes to the file.
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    }

    void survivesRestartWithoutPlaintext()
    {
        QTemporaryDir dir;
        const QStringList secrets = { QStringLiteral("hunter2-plain"), QString::fromUtf8("пароль-ключ"),
            QStringLiteral("ann-the-user"), QStringLiteral("a-note") };
        QStringList expected;
        {
            PasswordManager manager(dir.path());
            QVERIFY(waitUntilLoaded(manager));
            QVERIFY(!QFile::exists(manager.storePath())); // nothing saved, nothing written
            manager.save(QStringLiteral("https://b.example/login?next=1"), QStringLiteral("bob"), secrets[0]);
            const QString id
                = manager.save(QStringLiteral("https://a.example"), secrets[2], QStringLiteral("old"));
            manager.save(
                QStringLiteral("https://c.example"), QStringLiteral("cy"), QStringLiteral("removed"));
            // Saving the same user again changes the login instead of adding one.
            QCOMPARE(
                manager.save(QStringLiteral("https://a.example/x"), secrets[2], secrets[1], secrets[3]), id);
            QVERIFY(manager.remove(manager.credentials().last().id));
            manager.waitForIo();
            QTRY_COMPARE(manager.keyLocation(), QStringLiteral("file"));
            expected = logins(manager);
        }
        QCOMPARE(expected.join(QLatin1Char(';')),
            QStringLiteral("https://a.example|%1|%2|%3;https://b.example|bob|%4|")
                .arg(secrets[2], secrets[1], secrets[3], secrets[0]));

        PasswordManager restarted(dir.path());
        QVERIFY(waitUntilLoaded(restarted));
        QCOMPARE(restarted.status(), PasswordManager::Ready);
        QCOMPARE(logins(restarted), expected);
        const QByteArray bytes = contents(restarted.storePath());
        for (const QString& secret : secrets) {
            QVERIFY2(!bytes.contains(secret.toUtf8()), qPrintable(secret));
            QVERIFY2(
                !bytes.contains(QByteArray(reinterpret_cast<const char*>(secret.utf16()), secret.size() * 2)),
                qPrintable(secret));
        }
        QCOMPARE(fileMode(restarted.storePath()), 0600u);
        QCOMPARE(fileMode(restarted.keyFilePath()), 0600u);
    }

    void refused_data()
    {
        QTest::addColumn<bool>("keyFile"); // the file changed: the key file, else the store
        QTest::addColumn<int>("position"); // byte to flip (negative: from the end)
        QTest::addColumn<int>("mask");
        QTest::addColumn<QByteArray>("replacement"); // new contents instead; null with mask 0: file removed
        QTest::addColumn<int>("status");

        QTest::newRow("another key") << true << 0 << 0 << QByteArray(32, 'k').toBase64()
                                     << int(PasswordManager::Damaged);
        QTest::newRow("ciphertext byte flipped")
            << false << -30 << 0x01 << QByteArray() << int(PasswordManager::Damaged);
        QTest::newRow("tag byte flipped")
            << false << -1 << 0x80 << QByteArray() << int(PasswordManager::Damaged);
        QTest::newRow("not a store") << false << 0 << 0 << QByteArray("name,url\n")
                                     << int(PasswordManager::Damaged);
        QTest::newRow("key file gone") << true << 0 << 0 << QByteArray() << int(PasswordManager::Locked);
        // Key source byte 2 (file) becomes 1 (keyring), which does not answer here.
        QTest::newRow("header names the keyring")
            << false << 8 << 0x03 << QByteArray() << int(PasswordManager::Locked);
    }

    void refused()
    {
        QFETCH(bool, keyFile);
        QFETCH(int, position);
        QFETCH(int, mask);
        QFETCH(QByteArray, replacement);
        QFETCH(int, status);

        QTemporaryDir dir;
        {
            PasswordManager manager(dir.path());
            QVERIFY(waitUntilLoaded(manager));
            manager.save(
                QStringLiteral("https://a.example"), QStringLiteral("ann"), QStringLiteral("secret-a"));
            manager.save(
                QStringLiteral("https://b.example"), QStringLiteral("bob"), QStringLiteral("secret-b"));
            manager.waitForIo();
            const QString path = keyFile ? manager.keyFilePath() : manager.storePath();
            QByteArray bytes = contents(path);
            if (mask) {
                const int at = position < 0 ? bytes.size() + position : position;
                bytes[at] = char(bytes.at(at) ^ mask);
            }
            QFile file(path);
            if (!mask && replacement.isNull())
                QVERIFY(file.remove());
            else
                QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate)
                    && file.write(mask ? bytes : replacement) > 0);
        }
        PasswordManager manager(dir.path());
        const QByteArray before = contents(manager.storePath());
        QVERIFY(waitUntilLoaded(manager));
        QCOMPARE(int(manager.status()), status);
        QCOMPARE(manager.count(), 0);
        // The file is kept for the user to recover, never overwritten.
        QVERIFY(manager.save(QStringLiteral("https://c.example"), QStringLiteral("cy"), QStringLiteral("x"))
                    .isEmpty());
        QVERIFY(!manager.importCsv(QStringLiteral("/dev/null")));
        manager.waitForIo();
        QCOMPARE(contents(manager.storePath()), before);
    }

    void saveOffer_data()
    {
        QTest::addColumn<QString>("submitted"); // url, user name and password of a sent form
        QTest::addColumn<int>("offer");

        // The store holds ann/old on https://a.example; https://never.example is a never-save site.
        const struct {
            const char *name, *submitted;
            PasswordManager::SaveOffer offer;
        } rows[] = {
            { "new user on a known site", "https://a.example/login other pw", PasswordManager::OfferSave },
            { "same login", "https://a.example/elsewhere ann old", PasswordManager::NoOffer },
            { "changed password", "https://a.example ann new", PasswordManager::OfferUpdate },
            { "other port is another site", "https://a.example:8443 ann old", PasswordManager::OfferSave },
            { "subdomain is another site", "https://www.a.example ann old", PasswordManager::OfferSave },
            { "never-save site", "https://never.example/x ann pw", PasswordManager::NoOffer },
            { "no host", "about:blank ann pw", PasswordManager::NoOffer },
        };
        for (const auto& row : rows)
            QTest::newRow(row.name) << QString::fromLatin1(row.submitted) << int(row.offer);
    }

    void saveOffer()
    {
        QFETCH(QString, submitted);
        QFETCH(int, offer);

        QTemporaryDir dir;
        PasswordManager manager(dir.path());
        QVERIFY(waitUntilLoaded(manager));
        manager.save(QStringLiteral("https://a.example"), QStringLiteral("ann"), QStringLiteral("old"));
        manager.addException(QStringLiteral("https://never.example"));
        const QStringList form = submitted.split(QLatin1Char(' '));
        QCOMPARE(manager.saveOffer(form[0], form[1], form[2]), offer);
        manager.removeException(QStringLiteral("https://never.example"));
    }

    void exceptionsAreStored()
    {
        QTemporaryDir dir;
        PasswordManager manager(dir.path());
        QSignalSpy changed(&manager, &PasswordManager::exceptionsChanged);
        manager.addException(QStringLiteral("https://user:pw@bank.example/login?x=1"));
        manager.addException(QStringLiteral("https://shop.example"));
        QCOMPARE(manager.exceptions(),
            (QStringList { QStringLiteral("https://bank.example"), QStringLiteral("https://shop.example") }));

        DbFileProbe probe(m_profile.databasePath());
        const QString rows
            = QStringLiteral("SELECT url, suggestions_count FROM password_exceptions ORDER BY url");
        QTRY_COMPARE(sqlRows(probe.database(), rows),
            (QStringList {
                QStringLiteral("https://bank.example|-1"), QStringLiteral("https://shop.example|-1") }));

        // Another manager reads them back from the database.
        PasswordManager other(dir.path());
        QTRY_VERIFY(other.isException(QStringLiteral("https://bank.example/other")));

        manager.removeException(QStringLiteral("https://shop.example/any"));
        QCOMPARE(manager.exceptions(), QStringList { QStringLiteral("https://bank.example") });
        QTRY_COMPARE(
            sqlRows(probe.database(), rows), QStringList { QStringLiteral("https://bank.example|-1") });
    }

private:
    TempProfile m_profile;
};

QTEST_MAIN(TestPasswordStore)
#include "tst_passwordstore.moc"
