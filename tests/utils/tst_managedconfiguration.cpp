// The administrator's policy file through every way it changes, as the front end sees it.

#include "startup/qmltypes.h"
#include "support/logcapture.h"
#include "utils/managedconfigurationutils.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QtTest>

class TestManagedConfiguration : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void policyFollowed_data();
    void policyFollowed();

private:
    QTemporaryDir m_dir;
    QString m_path;
    QQmlEngine m_engine;
    QScopedPointer<QObject> m_front;
    QScopedPointer<LogCapture> m_log;
    QFile m_reader;
};

namespace
{
// What the front end keeps of each delivery, and its answer for one URL.
const char* const frontEnd = R"(
import QtQml 2.15
import BrowserInternal 1.0
QtObject {
    property int deliveries: 0
    property var lists: []
    property bool blocked: false
    property Connections policy: Connections {
        target: ManagedConfigurationUtils
        function onUrlAccessPolicyAvailable() {
            deliveries++
            lists = [ManagedConfigurationUtils.getUrlBlocklist(), ManagedConfigurationUtils.getUrlAllowlist()]
            blocked = FilePathUtils.isUrlBlocked("https://www.example.com/", lists[0], lists[1])
        }
    }
    Component.onCompleted: ManagedConfigurationUtils.requestUrlAccessPolicy()
})";

bool write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(content) == content.size();
}
} // namespace

void TestManagedConfiguration::initTestCase()
{
    // A policy the administrator got wrong before the browser started.
    m_path = m_dir.filePath(QStringLiteral("policy.json"));
    QVERIFY(write(m_path, "{ \"UrlBlocklistParameter\": "));
    qputenv("WEBDECK_POLICY_FILE", QFile::encodeName(m_path));
    registerQmlTypes();
    m_log.reset(new LogCapture("browser.app.managedConfiguration"));
    QQmlComponent component(&m_engine);
    component.setData(frontEnd, QUrl());
    m_front.reset(component.create());
    QVERIFY2(m_front, qPrintable(component.errorString()));
    QTRY_COMPARE(m_log->messages(QtWarningMsg),
        QStringList { QStringLiteral("Failed to get initial configuration for application, error: true") });
    QCOMPARE(m_front->property("deliveries").toInt(), 0);
    QVERIFY(ManagedConfigurationUtils::instance()->getUrlBlocklist().isEmpty());
}

// Rows run in order, each on the file the row before left. Policies are written
// with ' for " and BLOCK / ALLOW for the two keys.
void TestManagedConfiguration::policyFollowed_data()
{
    QTest::addColumn<QString>("how");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("deliveries");
    QTest::addColumn<QStringList>("blocklist");
    QTest::addColumn<QStringList>("allowlist");
    QTest::addColumn<bool>("blocked"); // https://www.example.com/ by the lists delivered
    const auto row = [](const char* name, const char* how, const char* policy, int deliveries,
                         const char* block, const char* allow, bool blocked) {
        const auto list = [](const char* text) {
            return QString::fromLatin1(text).split(QLatin1Char('|'), Qt::SkipEmptyParts);
        };
        QTest::newRow(name) << QString::fromLatin1(how)
                            << QByteArray(policy)
                                   .replace('\'', '"')
                                   .replace("BLOCK", "\"UrlBlocklistParameter\"")
                                   .replace("ALLOW", "\"UrlAllowlistParameter\"")
                            << deliveries << list(block) << list(allow) << blocked;
    };
    // clang-format off
    row("written", "write", "{BLOCK: ['example.com'], ALLOW: ['mail.example.com']}", 1, "example.com", "mail.example.com", true);
    row("replaced by rename", "rename", "{BLOCK: ['www.example.com'], 'Other': 1}", 1, "www.example.com", "", true);
    row("changed after the rename", "write", "{BLOCK: ['a.test']}", 1, "a.test", "", false);
    row("made malformed", "write", "{BLOCK: [", 0, "a.test", "", false);
    row("not an object", "rename", "['example.com']", 0, "a.test", "", false);
    row("repaired", "write", "{BLOCK: ['example.com'], ALLOW: ['example.com']}", 1, "example.com", "example.com", false);
    row("same values again", "rename", "{ALLOW: ['example.com'], BLOCK: ['example.com']}", 0, "example.com", "example.com", false);
    row("removed", "remove", "", 1, "", "", false);
    row("created again", "rename", "{BLOCK: ['example.com']}", 1, "example.com", "", true);
    // clang-format on
}

void TestManagedConfiguration::policyFollowed()
{
    QFETCH(QString, how);
    QFETCH(QByteArray, content);
    QFETCH(int, deliveries);
    QFETCH(QStringList, blocklist);
    QFETCH(QStringList, allowlist);
    QFETCH(bool, blocked);
    m_front->setProperty("deliveries", 0);
    const int updates = m_log->startingWith(QStringLiteral("Updated MDM configuration")).size();

    if (how == QLatin1String("rename")) {
        // A new file renamed over the old one, which a reader still holds open.
        m_reader.close();
        m_reader.setFileName(m_path);
        m_reader.open(QIODevice::ReadOnly);
        QSaveFile file(m_path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.commit());
    } else if (how == QLatin1String("write")) {
        QVERIFY(write(m_path, content));
    } else {
        QVERIFY(QFile::remove(m_path));
    }
    if (deliveries)
        QTRY_COMPARE(m_front->property("deliveries").toInt(), deliveries);
    QTest::qWait(300); // long enough for a change that should not be seen
    QCOMPARE(m_front->property("deliveries").toInt(), deliveries);
    QCOMPARE(m_log->startingWith(QStringLiteral("Updated MDM configuration")).size(), updates + deliveries);
    const QVariantList lists = m_front->property("lists").toList();
    QCOMPARE(lists.value(0).toStringList(), blocklist);
    QCOMPARE(lists.value(1).toStringList(), allowlist);
    QCOMPARE(ManagedConfigurationUtils::instance()->getUrlBlocklist(), blocklist); // kept when nothing came
    QCOMPARE(m_front->property("blocked").toBool(), blocked);
}

QTEST_MAIN(TestManagedConfiguration)
#include "tst_managedconfiguration.moc"
