#include "pwahelper.h"
#include "support/fakepackagemanager.h"
#include "support/privatebus.h"

#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QImage>
#include <QtTest>
#include <memory>

namespace
{
const QString kPwa = QLatin1String(FakePackageManager::pwaInterface);
const QString kBookmarks = QLatin1String(FakePackageManager::bookmarksInterface);

// Keys of a desktop entry; a key written twice shows up twice.
QMultiMap<QString, QString> readEntry(const QString& path)
{
    QFile file(path);
    QMultiMap<QString, QString> keys;
    file.open(QIODevice::ReadOnly);
    for (const QString& line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n')).mid(1))
        keys.insert(line.section(QLatin1Char('='), 0, 0), line.section(QLatin1Char('='), 1));
    return keys;
}

// The arguments a desktop launches from an Exec value, undoing both escape levels.
QStringList execArguments(const QString& value)
{
    QString exec;
    for (int i = 0; i < value.size(); ++i)
        exec.append(value.at(i) == QLatin1Char('\\') && i + 1 < value.size() ? value.at(++i) : value.at(i));
    QStringList args { QString() };
    bool quoted = false;
    for (int i = 0; i < exec.size(); ++i) {
        const QChar c = exec.at(i);
        if (c == QLatin1Char('"'))
            quoted = !quoted;
        else if (quoted && (c == QLatin1Char('$') || c == QLatin1Char('`')))
            return {}; // a launcher's shell would expand these
        else if ((quoted && c == QLatin1Char('\\')) || c == QLatin1Char('%'))
            args.last().append(exec.at(++i));
        else if (!quoted && c == QLatin1Char(' '))
            args.append(QString());
        else
            args.last().append(c);
    }
    return args;
}

QStringList filesUnder(const QString& root)
{
    QStringList files;
    for (QDirIterator it(root, QDir::Files, QDirIterator::Subdirectories); it.hasNext();)
        files.append(it.next());
    files.sort();
    return files;
}

QString writePng(const QString& dir, int size, Qt::GlobalColor color)
{
    QImage image(size, size, QImage::Format_ARGB32);
    image.fill(color);
    const QString path = QStringLiteral("%1/%2x%2.png").arg(dir).arg(size);
    image.save(path);
    return path;
}
} // namespace

class TestApmBridge : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_daemon = std::make_unique<PrivateBus>();
        QVERIFY2(m_daemon->isValid(), qPrintable(m_daemon->errorString()));
        auto env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_DATA_HOME"), m_root.filePath(QStringLiteral("data")));
        m_bridge.setProcessEnvironment(env);
        m_bridge.start(QStringLiteral(APMBRIDGE_PROGRAM), QStringList());
        QTRY_VERIFY(QDBusConnection::systemBus().interface()->isServiceRegistered(
            QLatin1String(FakePackageManager::serviceName)));
    }

    void cleanupTestCase()
    {
        m_bridge.terminate();
        m_bridge.waitForFinished();
    }

    void pwaInstall_data()
    {
        QTest::addColumn<QString>("appId");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("expectedName"); // empty: the install is refused

        const char* rows[][4] = { { "plain", "kfgnpoabcdeflkjhgfedcbaponmlkjih", "Notes", "Notes" },
            { "name injecting keys", "abc", "Evil\n[X]\nExec=rm -rf ~", "Evil [X] Exec=rm -rf ~" },
            { "no name", "abd", "", "app.test" } };
        for (const auto& row : rows)
            QTest::newRow(row[0]) << row[1] << row[2] << row[3];
        for (const char* hostile : { "../x", "/", "", "a/b", "..", "x/../../y" })
            QTest::newRow(hostile) << hostile << "Hostile" << QString();
    }

    void pwaInstall()
    {
        QFETCH(QString, appId);
        QFETCH(QString, name);
        QFETCH(QString, expectedName);
        const QString startUrl = QStringLiteral("https://app.test/%1/").arg(appId.size());
        const QString source
            = prepareApp(startUrl, { { 86, Qt::blue }, { 172, Qt::red }, { 128, Qt::blue } });
        const QStringList before = filesUnder(m_root.path());
        const QDBusMessage reply = deploy(appId, name, source);
        if (expectedName.isEmpty()) {
            QCOMPARE(reply.errorName(), QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs"));
            QCOMPARE(checkInstalled(appId), false);
            QCOMPARE(filesUnder(m_root.path()), before);
            return;
        }
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QCOMPARE(checkInstalled(appId), true);
        const QString iconName = QStringLiteral("ru.nuvo.webdeck.pwa.") + appId;
        const auto entry = readEntry(entryPath(iconName));
        QCOMPARE(entry.values(QStringLiteral("Name")), QStringList { expectedName });
        QCOMPARE(entry.values(QStringLiteral("Icon")), QStringList { iconName });
        const QStringList exec = execArguments(entry.value(QStringLiteral("Exec")));
        QCOMPARE(exec.size(), 4);
        QVERIFY2(exec.at(0) == QLatin1String("env") && exec.at(2).endsWith(QLatin1String("/ru.nuvo.webdeck"))
                && exec.at(3) == QLatin1String("--pwa"),
            qPrintable(exec.join(QLatin1Char(' '))));
        // The PWA shell, run with that data home, finds the app's launch configuration.
        QVERIFY(exec.at(1).startsWith(QLatin1String("XDG_DATA_HOME=")));
        QFile config(exec.at(1).mid(14) + QStringLiteral("/webdeck/pwa/pwaconfig.json"));
        QVERIFY(config.open(QIODevice::ReadOnly));
        QCOMPARE(QJsonDocument::fromJson(config.readAll())[QLatin1String("start_url")].toString(), startUrl);
        verifyThemeIcons(iconName, Qt::red); // from the largest icon given
    }

    void pwaUpgrade()
    {
        // The browser installs under the id of the start URL, and an upgrade finds the app by it.
        const QString startUrl = QStringLiteral("https://up.test/");
        const QString appId = Orvane::PWA::generateAppId(startUrl);
        const QString source = prepareApp(startUrl, { { 86, Qt::blue }, { 172, Qt::blue } });
        QCOMPARE(deploy(appId, QStringLiteral("Old"), source).type(), QDBusMessage::ReplyMessage);

        const QString other = prepareApp(QStringLiteral("https://never.test/"), { { 64, Qt::blue } });
        QCOMPARE(deploy(QString(), QStringLiteral("Never"), other).type(), QDBusMessage::ErrorMessage);

        // The browser rewrites its app directory with a new icon set.
        QFile::remove(source + QStringLiteral("/86x86.png"));
        QFile::remove(source + QStringLiteral("/172x172.png"));
        m_icons = QStringList { writePng(source, 192, Qt::green) };
        QCOMPARE(deploy(QString(), QStringLiteral("New"), source).type(), QDBusMessage::ReplyMessage);

        const QString iconName = QStringLiteral("ru.nuvo.webdeck.pwa.") + appId;
        QCOMPARE(readEntry(entryPath(iconName)).value(QStringLiteral("Name")), QStringLiteral("New"));
        verifyThemeIcons(iconName, Qt::green);
        const QDir appData(m_root.path() + QStringLiteral("/data/ru.nuvo.webdeck-apmbridge/pwa/") + appId
            + QStringLiteral("/webdeck/pwa"));
        QCOMPARE(
            appData.entryList({ QStringLiteral("*.png") }), QStringList { QStringLiteral("192x192.png") });
    }

    void bookmark_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("icon");
        QTest::addColumn<QString>("expectedName"); // empty: refused
        QTest::addColumn<bool>("ownIcon");

        QFile png(writePng(m_root.path(), 32, Qt::red));
        png.open(QIODevice::ReadOnly);
        const QString dataUrl
            = QStringLiteral("data:image/png;base64,") + QString::fromLatin1(png.readAll().toBase64());
        png.remove();

        const char* rows[][4] = { { "page with icon", "https://example.com/page", "Example", "Example" },
            { "shell characters", "https://example.com/a b?x=1&y=$HOME;`id`#f\"", "", "example.com" },
            { "broken icon", "http://example.org/", "Org", "Org" } };
        for (const auto& row : rows)
            QTest::newRow(row[0]) << row[1] << row[2]
                                  << (row[3][0] == 'O' ? QStringLiteral("data:image/png;base64,AAAA")
                                                       : dataUrl)
                                  << row[3] << (row[3][0] != 'O');
        for (const char* hostile :
            { "javascript:alert(1)", "--help", "relative/page", "", "data:text/html,x" })
            QTest::newRow(hostile) << hostile << "Hostile" << dataUrl << "" << false;
    }

    void bookmark()
    {
        QFETCH(QString, url);
        QFETCH(QString, title);
        QFETCH(QString, icon);
        QFETCH(QString, expectedName);
        QFETCH(bool, ownIcon);
        const QStringList before = filesUnder(m_root.path());
        const QDBusMessage reply = call(kBookmarks, QStringLiteral("Create"), { url, title, icon });
        if (expectedName.isEmpty()) {
            QCOMPARE(reply.type(), QDBusMessage::ErrorMessage);
            QCOMPARE(checkExists(url), false);
            QCOMPARE(filesUnder(m_root.path()), before);
            return;
        }
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QCOMPARE(checkExists(url), true);
        // One entry per page, named after it.
        const QString iconName = QStringLiteral("ru.nuvo.webdeck.bookmark.")
            + Orvane::PWA::generateAppId(QUrl(url, QUrl::TolerantMode).toString(QUrl::FullyEncoded));
        const auto entry = readEntry(entryPath(iconName));
        QCOMPARE(entry.value(QStringLiteral("Name")), expectedName);
        const QStringList exec = execArguments(entry.value(QStringLiteral("Exec")));
        QCOMPARE(exec.size(), 2);
        QCOMPARE(QUrl(exec.at(1)), QUrl(url, QUrl::TolerantMode));
        QCOMPARE(entry.value(QStringLiteral("Icon")), ownIcon ? iconName : QStringLiteral("web-browser"));
        if (ownIcon)
            verifyThemeIcons(iconName, Qt::red);
    }

private:
    // An app directory as the browser prepares it; its icons become m_icons.
    QString prepareApp(const QString& startUrl, const QVector<QPair<int, Qt::GlobalColor>>& icons)
    {
        const QString dir = m_root.path() + QStringLiteral("/browser/PWAs/") + QString::number(++m_apps);
        QDir().mkpath(dir);
        m_icons.clear();
        for (const auto& icon : icons)
            m_icons.append(writePng(dir, icon.first, icon.second));
        QFile config(dir + QStringLiteral("/pwaconfig.json"));
        config.open(QIODevice::WriteOnly);
        const QString json = QStringLiteral(R"({"start_url": "%1", "scope": "%1", "display": "standalone"})");
        config.write(json.arg(startUrl).toUtf8());
        return dir;
    }

    // Install carries the id after the scope; Upgrade has none.
    QDBusMessage deploy(const QString& appId, const QString& name, const QString& source)
    {
        const QVariant noPrompt = FakePackageManager::structure({ false, QString() });
        QVariantList args { QStringLiteral("https://app.test/"), name,
            QStringList { QStringLiteral("Internet") }, noPrompt, noPrompt, noPrompt, source, m_icons };
        if (!appId.isNull())
            args.insert(1, appId);
        return call(kPwa, appId.isNull() ? QStringLiteral("Upgrade") : QStringLiteral("Install"), args);
    }

    bool checkInstalled(const QString& appId)
    {
        const QDBusMessage reply = call(kPwa, QStringLiteral("CheckInstalled"), { appId });
        return reply.signature() == QLatin1String("(bs)")
            && FakePackageManager::plain(reply.arguments().value(0)).toList().value(0).toBool();
    }

    bool checkExists(const QString& url)
    {
        return call(kBookmarks, QStringLiteral("CheckExists"), { url }).arguments().value(0).toBool();
    }

    QString entryPath(const QString& id) const
    {
        return m_root.filePath(QStringLiteral("data/applications/%1.desktop").arg(id));
    }

    void verifyThemeIcons(const QString& iconName, Qt::GlobalColor color)
    {
        for (const int size : { 48, 64, 128, 256 }) {
            const QImage icon(m_root.filePath(
                QStringLiteral("data/icons/hicolor/%1x%1/apps/%2.png").arg(size).arg(iconName)));
            QCOMPARE(icon.size(), QSize(size, size));
            QCOMPARE(icon.pixelColor(size / 2, size / 2), QColor(color));
        }
    }

    // Introspected as the browser calls, so a mismatch of the published interfaces fails too.
    QDBusMessage call(const QString& interface, const QString& method, const QVariantList& args)
    {
        QDBusInterface service(QLatin1String(FakePackageManager::serviceName),
            QLatin1String(FakePackageManager::objectPath), interface, QDBusConnection::systemBus());
        return service.isValid() ? service.callWithArgumentList(QDBus::Block, method, args)
                                 : QDBusMessage::createError(service.lastError());
    }

    QTemporaryDir m_root;
    std::unique_ptr<PrivateBus> m_daemon;
    QProcess m_bridge;
    QStringList m_icons;
    int m_apps = 0;
};

QTEST_GUILESS_MAIN(TestApmBridge)
#include "tst_apmbridge.moc"
