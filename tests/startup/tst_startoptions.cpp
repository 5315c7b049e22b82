#include "startup/startoptions.h"

#include <QTemporaryDir>
#include <QtTest>

class TestStartOptions : public QObject
{
    Q_OBJECT
private slots:
    void resolveStartUrl_data();
    void resolveStartUrl();

private:
    QTemporaryDir m_dir;
};

void TestStartOptions::resolveStartUrl_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<bool>("webdriver");
    QTest::addColumn<QString>("positional");
    QTest::addColumn<QString>("startUrl");
    QTest::addColumn<bool>("pwa");

    QVERIFY(m_dir.isValid());
    const QString page = m_dir.filePath(QStringLiteral("page.html"));
    QFile file(page);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("<html></html>");
    file.close();
    const QString missing = m_dir.filePath(QStringLiteral("missing.html"));

    const QString prog = QStringLiteral("ru.nuvo.webdeck");
    QTest::newRow("no arguments") << QStringList { prog } << false << QString() << QString() << false;
    QTest::newRow("desktop placeholder %U")
        << QStringList { prog, QStringLiteral("%U") } << false << QString() << QString() << false;
    QTest::newRow("option first, url option wins") << QStringList { prog, QStringLiteral("--url=x") } << false
                                                   << QString() << QStringLiteral("x") << false;
    QTest::newRow("url option after positional")
        << QStringList { prog, QStringLiteral("https://a.example/"), QStringLiteral("--url"),
               QStringLiteral("https://b.example/") }
        << false << QStringLiteral("https://a.example/") << QStringLiteral("https://b.example/") << false;
    QTest::newRow("existing file becomes file url")
        << QStringList { prog, page } << false << QUrl::fromLocalFile(page).toString()
        << QUrl::fromLocalFile(page).toString() << false;
    QTest::newRow("missing file kept as typed")
        << QStringList { prog, missing } << false << missing << missing << false;
    QTest::newRow("webdriver forces about:blank")
        << QStringList { prog, QStringLiteral("https://example.com/"), QStringLiteral("--url=y") } << true
        << QStringLiteral("https://example.com/") << QStringLiteral("about:blank") << false;
    QTest::newRow("pwa flag") << QStringList { prog, QStringLiteral("--pwa") } << false << QString()
                              << QString() << true;
    QTest::newRow("socket option has no effect")
        << QStringList { prog, QStringLiteral("https://example.com/"), QStringLiteral("--socket"),
               QStringLiteral("/run/user/1/bus") }
        << false << QStringLiteral("https://example.com/") << QStringLiteral("https://example.com/") << false;
}

void TestStartOptions::resolveStartUrl()
{
    QFETCH(QStringList, args);
    QFETCH(bool, webdriver);
    QFETCH(QString, positional);
    QFETCH(QString, startUrl);
    QFETCH(bool, pwa);

    const StartOptions options = parseStartOptions(args, webdriver);
    QCOMPARE(options.positionalUrl, positional);
    QCOMPARE(options.startUrl, startUrl);
    QCOMPARE(options.pwa, pwa);
}

QTEST_GUILESS_MAIN(TestStartOptions)
#include "tst_startoptions.moc"
