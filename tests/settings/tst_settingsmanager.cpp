// The settings file: defaults, setters, older layouts, unreadable files, crashes mid-write.

#include "settings/settingsmanager.h"
#include "storage/dbmanager.h"
#include "support/logcapture.h"
#include "support/tempprofile.h"

#include <QtTest>
#include <memory>

namespace
{
using Values = QVariantMap;

// Everything in a settings file, keys to text.
Values fileContents(const QString& path)
{
    QSettings file(path, QSettings::NativeFormat);
    Values values;
    for (const QString& key : file.allKeys())
        values.insert(key, file.value(key).toString());
    return values;
}

// "camera=1 version=1.200" -> the file's keys and values; the short names are aliases.
Values parse(const QString& text)
{
    static const QHash<QString, QString> keys = {
        { QStringLiteral("version"), QStringLiteral("internal/settings_version") },
        { QStringLiteral("camera"), QStringLiteral("permissions/default_camera_policy") },
        { QStringLiteral("mic"), QStringLiteral("permissions/default_mic_policy") },
        { QStringLiteral("screen"), QStringLiteral("permissions/default_screen_capture_policy") },
        { QStringLiteral("geo"), QStringLiteral("permissions/default_geo_policy") },
        { QStringLiteral("notif"), QStringLiteral("permissions/default_notif_policy") },
        { QStringLiteral("tabs"), QStringLiteral("tabs/last_opened_tab_id") },
    };
    Values values;
    for (const QString& pair : text.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        values.insert(keys.value(pair.section(QLatin1Char('='), 0, 0)), pair.section(QLatin1Char('='), 1));
    return values;
}

void writeFile(const QString& path, const Values& values)
{
    QSettings file(path, QSettings::NativeFormat);
    for (auto it = values.constBegin(); it != values.constEnd(); ++it)
        file.setValue(it.key(), it.value());
}

const QString writerFlag = QStringLiteral("--write-settings");
const int blobSize = 200000;

// Child process of crashNeverLeavesHalfAFile: changes two settings together,
// as fast as the event loop lets QSettings write them, until it is killed.
int runWriter(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    SettingsManager settings(QString::fromLocal8Bit(argv[2]), DBManager::instance());
    const QString blob(blobSize, QLatin1Char('x'));
    int round = 0;
    bool announced = false;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        ++round;
        settings.setHomePageUrl(QStringLiteral("https://example.com/%1#%2").arg(blob).arg(round));
        settings.setMostVisitedCount(round);
        // Killable once a whole file is on disk.
        if (!announced && QFileInfo(settings.fileName()).size() > blobSize) {
            announced = true;
            printf("writing\n");
            fflush(stdout);
        }
    });
    timer.start(0);
    return app.exec();
}
} // namespace

class TestSettingsManager : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { DBManager::instance(); }
    void cleanupTestCase() { DBManager::instance()->shutdown(); }
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_path = m_dir->filePath(QStringLiteral("browser-app.conf"));
    }

    void defaultsAndSetters_data()
    {
        QTest::addColumn<QByteArray>("property");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("fresh");
        QTest::addColumn<QVariant>("changed");

        const QString downloads
            = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation) + QLatin1Char('/');
        const auto row = [](const char* property, const char* key, QVariant fresh, QVariant changed) {
            QTest::newRow(property) << QByteArray(property) << QString::fromLatin1(key) << fresh << changed;
        };
        row("defaultCameraPermission", "permissions/default_camera_policy", 2, 0);
        row("defaultDownloadPath", "download/default_path", downloads, QStringLiteral("/media/card/"));
        row("defaultDownloadRequest", "download/default_request", true, false);
        row("lastOpenedTabID", "tabs/last_opened_tab_id", -1, 17);
        row("movableToolbar", "ui/movable_toolbar", true, false);
        row("searchEngineId", "search/search_engine_id", 2, 0);
        row("mostVisitedCount", "homepage/most_visited_count", 4, 8);
        row("homePageUrl", "homepage/home_page_url", QString(), QStringLiteral("https://start.example/"));
        row("closeAllTabs", "security/close_all_tabs", false, true);
        row("enablePasswordsAutofill", "passwords/enable_autofill", true, false);
    }

    void defaultsAndSetters()
    {
        QFETCH(QByteArray, property);
        QFETCH(QString, key);
        QFETCH(QVariant, fresh);
        QFETCH(QVariant, changed);

        {
            SettingsManager settings(m_path, DBManager::instance());
            QCOMPARE(settings.property(property.constData()), fresh);

            const QMetaProperty meta = settings.metaObject()->property(
                settings.metaObject()->indexOfProperty(property.constData()));
            QSignalSpy spy(&settings, meta.notifySignal());

            QVERIFY(settings.setProperty(property.constData(), fresh));
            QCOMPARE(spy.count(), 0);
            QVERIFY(settings.setProperty(property.constData(), changed));
            QCOMPARE(spy.count(), 1);
            QCOMPARE(settings.property(property.constData()), changed);
            QVERIFY(settings.setProperty(property.constData(), changed));
            QCOMPARE(spy.count(), 1);
        }
        // Only the changed key reaches the file (beside the layout version every
        // new file is stamped with), and a new start reads it back.
        const Values file = fileContents(m_path);
        QStringList expected { key, QStringLiteral("internal/settings_version") };
        expected.sort();
        QCOMPARE(file.keys(), expected);
        QCOMPARE(file.value(key).toString(), changed.toString());
        SettingsManager reloaded(m_path, DBManager::instance());
        QCOMPARE(reloaded.property(property.constData()), changed);
    }

    void olderLayoutsMigrated_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after"); // the whole file after a start
        QTest::addColumn<int>("camera");

        const auto row = [](const char* name, const char* before, const char* after, int camera) {
            QTest::newRow(name) << QString::fromLatin1(before) << QString::fromLatin1(after) << camera;
        };
        row("1.200, camera allowed", "version=1.200 camera=1 geo=0 tabs=5",
            "version=1.284 camera=2 geo=0 tabs=5", 2);
        row("no version, every policy allowed", "camera=1 mic=1 screen=1 geo=1 notif=1",
            "version=1.284 camera=2 mic=2 screen=2 geo=2 notif=2", 2);
        row("no version, nothing set", "", "version=1.284", 2);
        row("current", "version=1.284 camera=1", "version=1.284 camera=1", 1);
        row("2.0.7", "version=2.0.7 mic=1 camera=0", "version=2.1.0.5 mic=2 camera=0", 0);
        row("unknown major", "version=3.0 camera=1", "version=3.0 camera=1", 1);
    }

    void olderLayoutsMigrated()
    {
        QFETCH(QString, before);
        QFETCH(QString, after);
        QFETCH(int, camera);

        writeFile(m_path, parse(before));
        {
            SettingsManager settings(m_path, DBManager::instance());
            QCOMPARE(settings.defaultCameraPermission(), camera);
        }
        QCOMPARE(fileContents(m_path), parse(after));
    }

    void unreadableFileMovedAside_data()
    {
        QTest::addColumn<bool>("directory");
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("broken section") << false << QByteArray("[homepage\nmost_visited_count=9\n");
        QTest::newRow("directory in its place") << true << QByteArray();
    }

    void unreadableFileMovedAside()
    {
        QFETCH(bool, directory);
        QFETCH(QByteArray, content);

        QFile file(m_path);
        QVERIFY(
            directory ? QDir().mkpath(m_path) : file.open(QIODevice::WriteOnly) && file.write(content) > 0);
        file.close();

        LogCapture log("browser.app");
        {
            SettingsManager settings(m_path, DBManager::instance());
            QCOMPARE(settings.mostVisitedCount(), 4);
            QCOMPARE(log.startingWith(QStringLiteral("settings file cannot be read")).size(), 1);
            settings.setMostVisitedCount(6);
        }
        QCOMPARE(fileContents(m_path).value(QStringLiteral("homepage/most_visited_count")).toString(),
            QStringLiteral("6"));
        const QStringList aside
            = QDir(m_dir->path())
                  .entryList({ QStringLiteral("browser-app.conf.unreadable-*") }, QDir::AllEntries);
        QCOMPARE(aside.size(), 1);
        QFile kept(m_dir->filePath(aside.value(0)));
        QCOMPARE(kept.open(QIODevice::ReadOnly) ? kept.readAll() : QByteArray(), content);
    }

    void crashNeverLeavesHalfAFile()
    {
        int killedWhileWriting = 0;
        for (int attempt = 0; attempt < 12; ++attempt) {
            TempProfile childProfile; // the child inherits it
            const QStringList leftBefore = QDir(m_dir->path()).entryList(QDir::Files);
            QProcess writer;
            writer.start(QCoreApplication::applicationFilePath(), { writerFlag, m_path });
            QVERIFY(writer.waitForReadyRead(20000));
            QTest::qWait(QRandomGenerator::global()->bounded(5, 60));
            writer.kill();
            QVERIFY(writer.waitForFinished(10000));
            // A new temporary file left beside the settings file: the kill came mid-write.
            if (QDir(m_dir->path()).entryList(QDir::Files).size() > qMax(1, leftBefore.size()))
                ++killedWhileWriting;

            const Values file = fileContents(m_path);
            QSettings check(m_path, QSettings::NativeFormat);
            QCOMPARE(check.status(), QSettings::NoError);
            const QString url = file.value(QStringLiteral("homepage/home_page_url")).toString();
            const int round = file.value(QStringLiteral("homepage/most_visited_count")).toInt();
            QVERIFY2(round > 0, "the child never wrote a complete file");
            // Both values of one round, whole.
            QCOMPARE(
                url.size(), blobSize + int(qstrlen("https://example.com/#")) + QString::number(round).size());
            QVERIFY(url.endsWith(QLatin1Char('#') + QString::number(round)));
        }
        qInfo() << "killed with a write under way in" << killedWhileWriting << "of 12 runs";
    }

private:
    TempProfile m_profile;
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_path;
};

int main(int argc, char** argv)
{
    if (argc == 3 && QString::fromLocal8Bit(argv[1]) == writerFlag)
        return runWriter(argc, argv);
    QCoreApplication app(argc, argv);
    TestSettingsManager test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_settingsmanager.moc"
