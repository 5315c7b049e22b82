// The credential store on real files: what is saved comes back after a
// restart, is unreadable without the key, is refused when altered, and the
// never-save sites live in the browser's database.

#include "passwords/passwordmanager.h"
#include "support/dbfileprobe.h"
#include "support/tempprofile.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <functional>
#include <sys/stat.h>

using Corruption = std::function<void(const QString& store, const QString& key)>;
Q_DECLARE_METATYPE(Corruption)

class TestPasswordStore : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void survivesRestartWithoutPlaintext();
    void refused_data();
    void refused();
    void saveOffer_data();
    void saveOffer();
    void exceptionsAreStored();

private:
    TempProfile m_profile;
};

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

void overwrite(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
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

void TestPasswordStore::initTestCase()
{
    // Never the real keyring of whoever runs the tests: the key goes to the file.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
}

void TestPasswordStore::survivesRestartWithoutPlaintext()
{
    QTemporaryDir dir;
    const QStringList passwords = { QStringLiteral("hunter2-plain"), QString::fromUtf8("пароль-ключ"),
        QStringLiteral("gone-away-pw") };
    QStringList expected;
    {
        PasswordManager manager(dir.path());
        QVERIFY(waitUntilLoaded(manager));
        QCOMPARE(manager.status(), PasswordManager::Ready);
        QVERIFY(!QFile::exists(manager.storePath())); // nothing saved, nothing written
        manager.save(QStringLiteral("https://b.example/login?next=1"), QStringLiteral("bob"), passwords[0]);
        const QString id = manager.save(
            QStringLiteral("https://a.example"), QStringLiteral("ann"), QStringLiteral("first"));
        manager.save(QStringLiteral("https://c.example"), QStringLiteral("cy"), passwords[2]);
        // Saving the same user again changes the login instead of adding one.
        QCOMPARE(manager.save(QStringLiteral("https://a.example/x"), QStringLiteral("ann"), passwords[1],
                     QStringLiteral("note")),
            id);
        QVERIFY(manager.remove(manager.credentials().last().id));
        manager.waitForIo();
        QTRY_COMPARE(manager.keyLocation(), QStringLiteral("file"));
        expected = logins(manager);
    }
    QCOMPARE(expected,
        (QStringList { QStringLiteral("https://a.example|ann|") + passwords[1] + QStringLiteral("|note"),
            QStringLiteral("https://b.example|bob|") + passwords[0] + QLatin1Char('|') }));

    PasswordManager restarted(dir.path());
    QVERIFY(waitUntilLoaded(restarted));
    QCOMPARE(restarted.status(), PasswordManager::Ready);
    QCOMPARE(logins(restarted), expected);

    const QByteArray bytes = contents(restarted.storePath());
    QVERIFY(bytes.size() > 100);
    for (const QString& secret : passwords + QStringList { QStringLiteral("ann"), QStringLiteral("note") }) {
        QVERIFY2(!bytes.contains(secret.toUtf8()), qPrintable(secret));
        QVERIFY2(
            !bytes.contains(QByteArray(reinterpret_cast<const char*>(secret.utf16()), secret.size() * 2)),
            qPrintable(secret));
    }
    QCOMPARE(fileMode(restarted.storePath()), 0600u);
    QCOMPARE(fileMode(restarted.keyFilePath()), 0600u);
}

void TestPasswordStore::refused_data()
{
    QTest::addColumn<Corruption>("corrupt");
    QTest::addColumn<int>("status");

    QTest::newRow("another key") << Corruption([](const QString&, const QString& key) {
        overwrite(key, QByteArray(32, 'k').toBase64());
    }) << int(PasswordManager::Damaged);
    QTest::newRow("one ciphertext byte flipped") << Corruption([](const QString& store, const QString&) {
        QByteArray bytes = contents(store);
        bytes[bytes.size() - 30] = char(bytes.at(bytes.size() - 30) ^ 0x01);
        overwrite(store, bytes);
    }) << int(PasswordManager::Damaged);
    QTest::newRow("tag byte flipped") << Corruption([](const QString& store, const QString&) {
        QByteArray bytes = contents(store);
        bytes[bytes.size() - 1] = char(bytes.at(bytes.size() - 1) ^ 0x80);
        overwrite(store, bytes);
    }) << int(PasswordManager::Damaged);
    QTest::newRow("cut short") << Corruption([](const QString& store, const QString&) {
        overwrite(store, contents(store).chopped(5));
    }) << int(PasswordManager::Damaged);
    QTest::newRow("not a store") << Corruption([](const QString& store, const QString&) {
        overwrite(store, "name,url\n");
    }) << int(PasswordManager::Damaged);
    QTest::newRow("key file gone") << Corruption([](const QString&, const QString& key) {
        QFile::remove(key);
    }) << int(PasswordManager::Locked);
    QTest::newRow("header names a keyring that does not answer") << Corruption(
        [](const QString& store, const QString&) {
            QByteArray bytes = contents(store);
            bytes[8] = 1;
            overwrite(store, bytes);
        }) << int(PasswordManager::Locked);
}

void TestPasswordStore::refused()
{
    QFETCH(Corruption, corrupt);
    QFETCH(int, status);

    QTemporaryDir dir;
    {
        PasswordManager manager(dir.path());
        QVERIFY(waitUntilLoaded(manager));
        manager.save(QStringLiteral("https://a.example"), QStringLiteral("ann"), QStringLiteral("secret-a"));
        manager.save(QStringLiteral("https://b.example"), QStringLiteral("bob"), QStringLiteral("secret-b"));
        manager.waitForIo();
        corrupt(manager.storePath(), manager.keyFilePath());
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

void TestPasswordStore::saveOffer_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("username");
    QTest::addColumn<QString>("password");
    QTest::addColumn<int>("offer");

    QTest::newRow("new user on a known site") << "https://a.example/login"
                                              << "other"
                                              << "pw" << int(PasswordManager::OfferSave);
    QTest::newRow("same login") << "https://a.example/elsewhere"
                                << "ann"
                                << "old" << int(PasswordManager::NoOffer);
    QTest::newRow("changed password") << "https://a.example"
                                      << "ann"
                                      << "new" << int(PasswordManager::OfferUpdate);
    QTest::newRow("other port is another site") << "https://a.example:8443"
                                                << "ann"
                                                << "old" << int(PasswordManager::OfferSave);
    QTest::newRow("plain http is another site") << "http://a.example"
                                                << "ann"
                                                << "old" << int(PasswordManager::OfferSave);
    QTest::newRow("subdomain is another site") << "https://www.a.example"
                                               << "ann"
                                               << "old" << int(PasswordManager::OfferSave);
    QTest::newRow("never-save site") << "https://never.example/x"
                                     << "ann"
                                     << "pw" << int(PasswordManager::NoOffer);
    QTest::newRow("empty password") << "https://b.example"
                                    << "ann"
                                    << "" << int(PasswordManager::NoOffer);
    QTest::newRow("no host") << "about:blank"
                             << "ann"
                             << "pw" << int(PasswordManager::NoOffer);
}

void TestPasswordStore::saveOffer()
{
    QFETCH(QString, url);
    QFETCH(QString, username);
    QFETCH(QString, password);
    QFETCH(int, offer);

    QTemporaryDir dir;
    PasswordManager manager(dir.path());
    QVERIFY(waitUntilLoaded(manager));
    manager.save(QStringLiteral("https://a.example"), QStringLiteral("ann"), QStringLiteral("old"));
    manager.addException(QStringLiteral("https://never.example"));
    QCOMPARE(manager.saveOffer(url, username, password), offer);
    manager.removeException(QStringLiteral("https://never.example"));
}

void TestPasswordStore::exceptionsAreStored()
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
    QTRY_COMPARE(sqlRows(probe.database(), rows), QStringList { QStringLiteral("https://bank.example|-1") });
}

QTEST_MAIN(TestPasswordStore)
#include "tst_passwordstore.moc"
