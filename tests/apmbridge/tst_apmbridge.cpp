#include <QBuffer>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDirIterator>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include "pwahelper.h"

// The real bridge program on a private bus with a permissive policy, writing
// into a temporary data home; the test calls it as the browser does.
class BridgeBus
{
public:
    bool start(const QString& root)
    {
        const QString config = root + QStringLiteral("/bus.conf");
        QFile file(config);
        file.open(QIODevice::WriteOnly);
        file.write("<busconfig><listen>unix:path=" + QFile::encodeName(root)
            + "/bus</listen><auth>EXTERNAL</auth>"
              "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
              "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy>"
              "</busconfig>");
        file.close();
        m_daemon.start(QStringLiteral("dbus-daemon"),
            { QStringLiteral("--nofork"), QStringLiteral("--print-address=1"),
                QStringLiteral("--config-file=") + config });
        if (!m_daemon.waitForReadyRead(5000))
            return false;
        const QString address = QString::fromUtf8(m_daemon.readLine().trimmed());
        auto env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), address);
        env.insert(QStringLiteral("XDG_DATA_HOME"), root + QStringLiteral("/data"));
        m_bridge.setProcessEnvironment(env);
        m_bridge.setProcessChannelMode(QProcess::ForwardedChannels);
        m_bridge.start(QStringLiteral(APMBRIDGE_PROGRAM), QStringList());
        bus = QDBusConnection::connectToBus(address, QStringLiteral("apmbridge-test"));
        for (int i = 0; i < 100 && !bus.interface()->isServiceRegistered(QStringLiteral("ru.nuvo.APM")); ++i)
            QTest::qWait(50);
        return bus.interface()->isServiceRegistered(QStringLiteral("ru.nuvo.APM"));
    }
    ~BridgeBus()
    {
        QDBusConnection::disconnectFromBus(QStringLiteral("apmbridge-test"));
        for (QProcess* process : { &m_bridge, &m_daemon }) {
            process->terminate();
            process->waitForFinished(3000);
        }
    }
    QDBusMessage call(const QString& interface, const QString& method, const QVariantList& args)
    {
        auto message = QDBusMessage::createMethodCall(
            QStringLiteral("ru.nuvo.APM"), QStringLiteral("/ru/nuvo/APM"), interface, method);
        message.setArguments(args);
        return bus.call(message);
    }
    QDBusConnection bus { QString() };

private:
    QProcess m_daemon;
    QProcess m_bridge;
};

namespace
{
const QString kPwa = QStringLiteral("ru.nuvo.APM.PWA");
const QString kBookmarks = QStringLiteral("ru.nuvo.APM.Bookmarks");

QVariant boolString()
{
    QDBusArgument argument;
    argument.beginStructure();
    argument << false << QString();
    argument.endStructure();
    return QVariant::fromValue(argument);
}

// Keys of a desktop entry; a key written twice shows up twice.
QMultiMap<QString, QString> readEntry(const QString& path)
{
    QFile file(path);
    QMultiMap<QString, QString> keys;
    if (!file.open(QIODevice::ReadOnly))
        return keys;
    const QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString& line : lines.mid(1))
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
        else if (quoted && c == QLatin1Char('\\'))
            args.last().append(exec.at(++i));
        else if (!quoted && c == QLatin1Char(' '))
            args.append(QString());
        else if (c == QLatin1Char('%'))
            args.last().append(exec.at(++i));
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
        QVERIFY(m_root.isValid());
        QVERIFY(m_bus.start(m_root.path()));
    }

    void pwaInstall_data()
    {
        QTest::addColumn<QString>("appId");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("expectedName"); // empty: the install is refused

        const QString id = QStringLiteral("kfgnpoabcdeflkjhgfedcbaponmlkjih");
        QTest::newRow("plain") << id << QStringLiteral("Notes") << QStringLiteral("Notes");
        QTest::newRow("name injecting keys")
            << QStringLiteral("abc") << QStringLiteral("Evil\n[X]\nExec=rm -rf ~")
            << QStringLiteral("Evil [X] Exec=rm -rf ~");
        QTest::newRow("no name") << QStringLiteral("abd") << QString() << QStringLiteral("app.test");
        for (const char* hostile : { "../x", "/", "", "a/b", "..", "x/../../y" })
            QTest::newRow(hostile) << QString::fromLatin1(hostile) << QStringLiteral("Hostile") << QString();
    }

    void pwaInstall()
    {
        QFETCH(QString, appId);
        QFETCH(QString, name);
        QFETCH(QString, expectedName);
        const QString source = prepareApp(QStringLiteral("https://app.test/%1/").arg(appId.size()),
            { { 86, Qt::blue }, { 172, Qt::red }, { 128, Qt::blue } });
        const QStringList before = filesUnder(m_root.path());
        QCOMPARE(checkInstalled(appId), false);

        const QDBusMessage reply = install(appId, name, source);
        if (expectedName.isEmpty()) {
            QCOMPARE(reply.errorName(), QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs"));
            QCOMPARE(filesUnder(m_root.path()), before);
            return;
        }
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QCOMPARE(checkInstalled(appId), true);

        const auto entry = readEntry(entryPath(QStringLiteral("pwa.") + appId));
        QCOMPARE(entry.values(QStringLiteral("Name")), QStringList { expectedName });
        QCOMPARE(entry.values(QStringLiteral("Icon")),
            QStringList { QStringLiteral("ru.nuvo.webdeck.pwa.") + appId });
        const QStringList exec = execArguments(entry.value(QStringLiteral("Exec")));
        QCOMPARE(exec.size(), 4);
        QCOMPARE(exec.at(0), QStringLiteral("env"));
        QVERIFY2(exec.at(2).endsWith(QLatin1String("/ru.nuvo.webdeck")), qPrintable(exec.at(2)));
        QCOMPARE(exec.at(3), QStringLiteral("--pwa"));
        // The PWA shell, run with that data home, finds the app's launch configuration.
        QVERIFY(exec.at(1).startsWith(QLatin1String("XDG_DATA_HOME=")));
        QFile config(exec.at(1).mid(14) + QStringLiteral("/webdeck/pwa/pwaconfig.json"));
        QVERIFY(config.open(QIODevice::ReadOnly));
        QCOMPARE(QJsonDocument::fromJson(config.readAll())[QLatin1String("start_url")].toString(),
            QStringLiteral("https://app.test/%1/").arg(appId.size()));
        verifyThemeIcons(QStringLiteral("ru.nuvo.webdeck.pwa.") + appId, Qt::red);
    }

    void pwaUpgrade()
    {
        const QString startUrl = QStringLiteral("https://up.test/");
        // The browser installs under the id of the start URL, and an upgrade finds the app by it.
        const QString appId = Orvane::PWA::generateAppId(startUrl);
        const QString source = prepareApp(startUrl, { { 86, Qt::blue }, { 172, Qt::blue } });
        QCOMPARE(install(appId, QStringLiteral("Old"), source).type(), QDBusMessage::ReplyMessage);

        // The browser rewrites its app directory, with a new icon set, and asks for an upgrade.
        QFile::remove(source + QStringLiteral("/86x86.png"));
        QFile::remove(source + QStringLiteral("/172x172.png"));
        const QString icon = writePng(source, 192, Qt::green);
        QCOMPARE(upgrade(QStringLiteral("New"), source, { icon }).type(), QDBusMessage::ReplyMessage);

        QCOMPARE(readEntry(entryPath(QStringLiteral("pwa.") + appId)).value(QStringLiteral("Name")),
            QStringLiteral("New"));
        verifyThemeIcons(QStringLiteral("ru.nuvo.webdeck.pwa.") + appId, Qt::green);
        const QString appData = m_root.path() + QStringLiteral("/data/ru.nuvo.webdeck-apmbridge/pwa/") + appId
            + QStringLiteral("/webdeck/pwa");
        QCOMPARE(QDir(appData).entryList({ QStringLiteral("*.png") }),
            QStringList { QStringLiteral("192x192.png") });

        // An upgrade of an app never installed is refused.
        const QString other = prepareApp(QStringLiteral("https://never.test/"), { { 64, Qt::blue } });
        QCOMPARE(upgrade(QStringLiteral("Never"), other, { other + QStringLiteral("/64x64.png") }).type(),
            QDBusMessage::ErrorMessage);
    }

    void bookmark_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("icon");
        QTest::addColumn<QString>("expectedName"); // empty: refused
        QTest::addColumn<bool>("ownIcon");

        QImage image(32, 32, QImage::Format_ARGB32);
        image.fill(Qt::red);
        QByteArray png;
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, "PNG");
        const QString dataUrl
            = QStringLiteral("data:image/png;base64,") + QString::fromLatin1(png.toBase64());

        QTest::newRow("page with icon") << "https://example.com/page"
                                        << "Example" << dataUrl << "Example" << true;
        QTest::newRow("shell characters") << "https://example.com/a b?x=1&y=$HOME;`id`#f\""
                                          << "" << dataUrl << "example.com" << true;
        QTest::newRow("broken icon") << "http://example.org/"
                                     << "Org"
                                     << "data:image/png;base64,AAAA"
                                     << "Org" << false;
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
        QCOMPARE(checkExists(url), false);

        const QDBusMessage reply = m_bus.call(kBookmarks, QStringLiteral("Create"), { url, title, icon });
        if (expectedName.isEmpty()) {
            QCOMPARE(reply.type(), QDBusMessage::ErrorMessage);
            QCOMPARE(checkExists(url), false);
            QCOMPARE(filesUnder(m_root.path()), before);
            return;
        }
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QCOMPARE(checkExists(url), true);
        const QStringList added = filesUnder(m_root.path() + QStringLiteral("/data/applications"));
        const QString entryFile = *std::find_if(
            added.cbegin(), added.cend(), [&](const QString& f) { return !before.contains(f); });
        const auto entry = readEntry(entryFile);
        QCOMPARE(entry.value(QStringLiteral("Name")), expectedName);
        const QStringList exec = execArguments(entry.value(QStringLiteral("Exec")));
        QCOMPARE(exec.size(), 2);
        QCOMPARE(QUrl(exec.at(1)), QUrl(url, QUrl::TolerantMode));
        const QString iconName = QFileInfo(entryFile).completeBaseName();
        QCOMPARE(entry.value(QStringLiteral("Icon")), ownIcon ? iconName : QStringLiteral("web-browser"));
        if (ownIcon)
            verifyThemeIcons(iconName, Qt::red);
    }

private:
    QString prepareApp(const QString& startUrl, const QVector<QPair<int, Qt::GlobalColor>>& icons)
    {
        const QString dir = m_root.path() + QStringLiteral("/browser/PWAs/") + QString::number(++m_apps);
        QDir().mkpath(dir);
        m_icons.clear();
        for (const auto& icon : icons)
            m_icons.append(writePng(dir, icon.first, icon.second));
        QFile manifest(dir + QStringLiteral("/manifest.json"));
        manifest.open(QIODevice::WriteOnly);
        manifest.write(R"({"name": "App", "display": "standalone"})");
        QFile config(dir + QStringLiteral("/pwaconfig.json"));
        config.open(QIODevice::WriteOnly);
        config.write(QJsonDocument(
            QJsonObject { { QStringLiteral("start_url"), startUrl }, { QStringLiteral("scope"), startUrl },
                { QStringLiteral("display"), QStringLiteral("standalone") } })
                         .toJson());
        return dir;
    }

    QDBusMessage install(const QString& appId, const QString& name, const QString& source)
    {
        return m_bus.call(kPwa, QStringLiteral("Install"),
            { QStringLiteral("https://app.test/"), appId, name, QStringList { QStringLiteral("Internet") },
                boolString(), boolString(), boolString(), source, m_icons });
    }

    QDBusMessage upgrade(const QString& name, const QString& source, const QStringList& icons)
    {
        return m_bus.call(kPwa, QStringLiteral("Upgrade"),
            { QStringLiteral("https://up.test/"), name, QStringList(), boolString(), boolString(),
                boolString(), source, icons });
    }

    bool checkInstalled(const QString& appId)
    {
        const QDBusMessage reply = m_bus.call(kPwa, QStringLiteral("CheckInstalled"), { appId });
        if (reply.signature() != QLatin1String("(bs)"))
            return false;
        bool installed = false;
        const QDBusArgument argument = reply.arguments().value(0).value<QDBusArgument>();
        argument.beginStructure();
        argument >> installed;
        return installed;
    }

    bool checkExists(const QString& url)
    {
        return m_bus.call(kBookmarks, QStringLiteral("CheckExists"), { url }).arguments().value(0).toBool();
    }

    QString entryPath(const QString& suffix) const
    {
        return m_root.path() + QStringLiteral("/data/applications/ru.nuvo.webdeck.") + suffix
            + QStringLiteral(".desktop");
    }

    void verifyThemeIcons(const QString& iconName, Qt::GlobalColor color)
    {
        for (const int size : { 48, 64, 128, 256 }) {
            const QImage icon(QStringLiteral("%1/data/icons/hicolor/%2x%2/apps/%3.png")
                                  .arg(m_root.path())
                                  .arg(size)
                                  .arg(iconName));
            QCOMPARE(icon.size(), QSize(size, size));
            QCOMPARE(icon.pixelColor(size / 2, size / 2), QColor(color));
        }
    }

    QTemporaryDir m_root;
    BridgeBus m_bus;
    QStringList m_icons;
    int m_apps = 0;
};

QTEST_GUILESS_MAIN(TestApmBridge)
#include "tst_apmbridge.moc"
