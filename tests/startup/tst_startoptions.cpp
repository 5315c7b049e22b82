#include "startup/startoptions.h"

#include <QTemporaryDir>
#include <QtTest>

class TestStartOptions : public QObject
{
    Q_OBJECT
private slots:
    void resolveStartUrl_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<bool>("webdriver");
        QTest::addColumn<QString>("positional");
        QTest::addColumn<QString>("startUrl");
        QTest::addColumn<bool>("pwa");

        QVERIFY(m_dir.isValid());
        const QString page = m_dir.filePath(QStringLiteral("page.html"));
        QFile file(page);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("<html></html>") > 0);
        const QString missing = m_dir.filePath(QStringLiteral("missing.html"));

        // Arguments after the program name, separated by blanks.
        const auto row = [](const char* name, const QString& args, bool webdriver, const QString& positional,
                             const QString& startUrl, bool pwa = false) {
            QTest::newRow(name) << (QStringList { QStringLiteral("ru.nuvo.webdeck") }
                + args.split(QLatin1Char(' '), Qt::SkipEmptyParts))
                                << webdriver << positional << startUrl << pwa;
        };
        const QString a = QStringLiteral("https://a.example/"), b = QStringLiteral("https://b.example/"),
                      fileUrl = QUrl::fromLocalFile(page).toString();
        row("no arguments", QString(), false, QString(), QString());
        row("desktop placeholder %U", QStringLiteral("%U"), false, QString(), QString());
        row("option first, url option wins", QStringLiteral("--url=x"), false, QString(),
            QStringLiteral("x"));
        row("url option after positional", a + QStringLiteral(" --url ") + b, false, a, b);
        row("existing file becomes file url", page, false, fileUrl, fileUrl);
        row("missing file kept as typed", missing, false, missing, missing);
        row("webdriver forces about:blank", a + QStringLiteral(" --url=y"), true, a,
            QStringLiteral("about:blank"));
        row("pwa flag", QStringLiteral("--pwa"), false, QString(), QString(), true);
        row("socket option has no effect", a + QStringLiteral(" --socket /run/user/1/bus"), false, a, a);
    }
    void resolveStartUrl()
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

private:
    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(TestStartOptions)
#include "tst_startoptions.moc"
