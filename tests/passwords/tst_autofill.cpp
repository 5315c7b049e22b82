// The autofill user script in a real web engine page, wired the way the front
// end wires it: isolated world, web channel, a bridge answering for the view's
// own site from the password manager.

#include "passwords/passwordmanager.h"
#include "support/tempprofile.h"

#include <QApplication>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QWebChannel>
#include <QWebEnginePage>
#include <QWebEngineProfile>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>
#include <QtTest>

// Stands in for the front end's per-view bridge object.
class Bridge : public QObject
{
    Q_OBJECT
public:
    PasswordManager* manager = nullptr;
    QString site;
    Q_INVOKABLE QVariantList logins() const { return manager->credentialsForUrl(site); }
    Q_INVOKABLE void submitted(const QString& username, const QString& password)
    {
        emit seen(username, password);
    }
signals:
    void seen(const QString& username, const QString& password);
};

namespace
{
QVariant evaluate(QWebEnginePage& page, const QString& script)
{
    QVariant result;
    bool done = false;
    page.runJavaScript(script, [&](const QVariant& value) {
        result = value;
        done = true;
    });
    QTest::qWaitFor([&done] { return done; }, 5000);
    return result;
}
} // namespace

class TestAutofill : public QObject
{
    Q_OBJECT
private slots:
    void fillsAndReportsSubmission_data()
    {
        QTest::addColumn<QStringList>("saved"); // user:password on the page's site
        QTest::addColumn<QString>("filled"); // user and password fields after load

        QTest::newRow("one login is filled")
            << QStringList { QStringLiteral("ann:pa") } << QStringLiteral("ann/pa");
        QTest::newRow("several logins wait for the user name")
            << QStringList { QStringLiteral("ann:pa"), QStringLiteral("bob:pb") } << QStringLiteral("/");
        QTest::newRow("nothing saved") << QStringList() << QStringLiteral("/");
    }

    void fillsAndReportsSubmission()
    {
        QFETCH(QStringList, saved);
        QFETCH(QString, filled);

        QTemporaryDir dir;
        PasswordManager manager(dir.path());
        QTRY_COMPARE(manager.status(), PasswordManager::Ready);
        for (const QString& login : saved)
            manager.save(QStringLiteral("https://login.example"), login.section(QLatin1Char(':'), 0, 0),
                login.section(QLatin1Char(':'), 1));
        // A login of another site is never handed to this page.
        manager.save(QStringLiteral("https://other.example"), QStringLiteral("eve"), QStringLiteral("pe"));

        Bridge bridge;
        bridge.manager = &manager;
        bridge.site = QStringLiteral("https://login.example/signin");
        QWebEngineProfile profile;
        QWebEnginePage page(&profile);
        QWebChannel channel;
        channel.registerObject(QStringLiteral("webdeckPasswords"), &bridge);
        page.setWebChannel(&channel, QWebEngineScript::ApplicationWorld);
        QFile channelJs(QStringLiteral(":/qtwebchannel/qwebchannel.js"));
        QFile autofillJs(QStringLiteral(WEBDECK_SOURCE_DIR "/qml/passwords/autofill.js"));
        QVERIFY(channelJs.open(QIODevice::ReadOnly) && autofillJs.open(QIODevice::ReadOnly));
        QWebEngineScript script;
        script.setSourceCode(QString::fromUtf8(channelJs.readAll() + '\n' + autofillJs.readAll()));
        script.setWorldId(QWebEngineScript::ApplicationWorld);
        script.setInjectionPoint(QWebEngineScript::DocumentReady);
        page.scripts().insert(script);

        QSignalSpy loaded(&page, &QWebEnginePage::loadFinished);
        page.setHtml(
            QStringLiteral("<form onsubmit='return false'><input id=u type=text><input id=p type=password>"
                           "<button>Sign in</button></form>"),
            QUrl(QStringLiteral("https://login.example/signin")));
        QVERIFY(loaded.wait(20000));
        const QString fields
            = QStringLiteral("document.getElementById('u').value + '/' + document.getElementById('p').value");
        if (filled != QLatin1String("/"))
            QTRY_COMPARE_WITH_TIMEOUT(evaluate(page, fields).toString(), filled, 10000);
        QTest::qWait(300);
        QCOMPARE(evaluate(page, fields).toString(), filled);

        if (saved.size() > 1) {
            // Typing a saved user name fills its password.
            evaluate(page,
                QStringLiteral("var u = document.getElementById('u'); u.value = 'bob';"
                               "u.dispatchEvent(new Event('change'))"));
            QTRY_COMPARE_WITH_TIMEOUT(evaluate(page, fields).toString(), QStringLiteral("bob/pb"), 5000);
        }
        QSignalSpy seen(&bridge, &Bridge::seen);
        evaluate(page,
            QStringLiteral("document.getElementById('u').value = 'zed';"
                           "document.getElementById('p').value = 'typed-pw';"
                           "document.querySelector('button').click()"));
        QTRY_COMPARE_WITH_TIMEOUT(seen.count(), 1, 5000);
        QCOMPARE(seen.first(), (QVariantList { QStringLiteral("zed"), QStringLiteral("typed-pw") }));
    }

private:
    TempProfile m_profile;
};

int main(int argc, char** argv)
{
    // The engine's sandbox needs user namespaces that test machines may not
    // offer; nothing untrusted is loaded here.
    qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    qputenv("QTWEBENGINE_CHROMIUM_FLAGS", "--disable-gpu");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    TestAutofill test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_autofill.moc"
