// The administrator's policy file, followed through every way it is changed,
// as the front end sees it.

#include "startup/qmltypes.h"
#include "support/logcapture.h"
#include "utils/managedconfigurationutils.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QSaveFile>
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
const char* const frontEnd = R"(
import QtQml 2.15
import BrowserInternal 1.0
QtObject {
    property int deliveries: 0
    property var blocklist: []
    property var allowlist: []
    property bool blocked: false
    property Connections policy: Connections {
        target: ManagedConfigurationUtils
        function onUrlAccessPolicyAvailable() {
            deliveries++
            blocklist = ManagedConfigurationUtils.getUrlBlocklist()
            allowlist = ManagedConfigurationUtils.getUrlAllowlist()
            blocked = FilePathUtils.isUrlBlocked("https://www.example.com/", blocklist, allowlist)
        }
    }
    Component.onCompleted: ManagedConfigurationUtils.requestUrlAccessPolicy()
}
)";
}

void TestManagedConfiguration::initTestCase()
{
    // A policy the administrator got wrong before the browser started.
    m_path = m_dir.filePath(QStringLiteral("policy.json"));
    QFile file(m_path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("{ \"UrlBlocklistParameter\": ") > 0);
    file.close();
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

// Rows run in order, each on the file the row before left.
void TestManagedConfiguration::policyFollowed_data()
{
    QTest::addColumn<QString>("how");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("deliveries");
    QTest::addColumn<QStringList>("blocklist");
    QTest::addColumn<QStringList>("allowlist");
    QTest::addColumn<bool>("blocked");
    const QString ex = QStringLiteral("example.com"), www = QStringLiteral("www.example.com");
    // clang-format off
    QTest::newRow("written") << QStringLiteral("write") << QByteArray(R"({"UrlBlocklistParameter": ["example.com"], "UrlAllowlistParameter": ["mail.example.com"]})")
        << 1 << QStringList { ex } << QStringList { QStringLiteral("mail.example.com") } << true;
    QTest::newRow("changed") << QStringLiteral("write") << QByteArray(R"({"UrlBlocklistParameter": ["*"], "UrlAllowlistParameter": ["www.example.com"]})")
        << 1 << QStringList { QStringLiteral("*") } << QStringList { www } << false;
    QTest::newRow("replaced by rename") << QStringLiteral("rename") << QByteArray(R"({"UrlBlocklistParameter": ["www.example.com"], "Other": 1})")
        << 1 << QStringList { www } << QStringList() << true;
    QTest::newRow("changed after the rename") << QStringLiteral("write") << QByteArray(R"({"UrlBlocklistParameter": ["a.test"]})")
        << 1 << QStringList { QStringLiteral("a.test") } << QStringList() << false;
    QTest::newRow("made malformed") << QStringLiteral("write") << QByteArray(R"({"UrlBlocklistParameter": [)")
        << 0 << QStringList { QStringLiteral("a.test") } << QStringList() << false;
    QTest::newRow("not an object") << QStringLiteral("rename") << QByteArray("[\"example.com\"]")
        << 0 << QStringList { QStringLiteral("a.test") } << QStringList() << false;
    QTest::newRow("repaired") << QStringLiteral("write") << QByteArray(R"({"UrlBlocklistParameter": ["example.com"], "UrlAllowlistParameter": ["example.com"]})")
        << 1 << QStringList { ex } << QStringList { ex } << false;
    QTest::newRow("same values again") << QStringLiteral("rename") << QByteArray(R"({"UrlAllowlistParameter": ["example.com"], "UrlBlocklistParameter": ["example.com"]})")
        << 0 << QStringList { ex } << QStringList { ex } << false;
    QTest::newRow("removed") << QStringLiteral("remove") << QByteArray() << 1 << QStringList() << QStringList() << false;
    QTest::newRow("created again") << QStringLiteral("rename") << QByteArray(R"({"UrlBlocklistParameter": ["example.com"]})")
        << 1 << QStringList { ex } << QStringList() << true;
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

    if (how == QLatin1String("remove")) {
        QVERIFY(QFile::remove(m_path));
    } else if (how == QLatin1String("rename")) {
        // A new file renamed over the old one, which a reader still holds open.
        m_reader.close();
        m_reader.setFileName(m_path);
        m_reader.open(QIODevice::ReadOnly);
        QSaveFile file(m_path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.commit());
    } else {
        QFile file(m_path);
        QVERIFY(
            file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(content) == content.size());
    }
    if (deliveries)
        QTRY_COMPARE(m_front->property("deliveries").toInt(), deliveries);
    QTest::qWait(300); // long enough for a change that should not be seen
    QCOMPARE(m_front->property("deliveries").toInt(), deliveries);
    QCOMPARE(m_log->startingWith(QStringLiteral("Updated MDM configuration")).size(), updates + deliveries);
    QCOMPARE(m_front->property("blocklist").toStringList(), blocklist);
    QCOMPARE(m_front->property("allowlist").toStringList(), allowlist);
    QCOMPARE(ManagedConfigurationUtils::instance()->getUrlBlocklist(), blocklist);
    QCOMPARE(m_front->property("blocked").toBool(), blocked);
}

QTEST_MAIN(TestManagedConfiguration)
#include "tst_managedconfiguration.moc"
