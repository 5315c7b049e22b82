// Password CSV files: the reader on the formats people bring, the writer's
// round trip, and imports and exports through the manager.

#include "passwords/passwordcsv.h"
#include "passwords/passwordmanager.h"
#include "support/tempprofile.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTranslator>
#include <QtTest>

#include <sys/stat.h>

namespace
{

// Each login as one comparable line.
QStringList lines(const QVector<CsvLogin>& logins)
{
    QStringList out;
    for (const CsvLogin& l : logins)
        out.append(QStringList { l.name, l.url, l.username, l.password, l.note }.join(QLatin1Char('|')));
    return out;
}

} // namespace

class TestPasswordCsv : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        // Never the real keyring of whoever runs the tests.
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
        // The messages are read in the engineering-English texts of their ids.
        QVERIFY(m_texts.load(QStringLiteral(WEBDECK_QM_DIR "/ru.nuvo.webdeck_eng_en.qm")));
        QCoreApplication::installTranslator(&m_texts);
    }

    void read_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QStringList>("logins"); // name|url|username|password|note
        QTest::addColumn<QList<int>>("rejectedLines");
        QTest::addColumn<QString>("error"); // part of the message when the file is refused

        const auto row = [](const char* tag, const QByteArray& data, const QStringList& logins,
                             const QList<int>& rejected = {}, const char* error = "") {
            QTest::newRow(tag) << data << logins << rejected << QString::fromLatin1(error);
        };
        const QByteArray header = "name,url,username,password,note\n";
        row("own format", header + "Ex,https://ex.com/login,ann,pw1,\n",
            { QStringLiteral("Ex|https://ex.com/login|ann|pw1|") });
        row("quoting", header + "\"a,b\",https://ex.com,\"say \"\"hi\"\"\",\"p,w\"\"\",\"l1\r\nl2\"\r\n",
            { QStringLiteral("a,b|https://ex.com|say \"hi\"|p,w\"|l1\r\nl2") });
        row("bom, CRLF, no final newline, utf-8",
            "\xEF\xBB\xBFname,url,username,password,note\r\n,https://ex.com,j\xC3\xBCrgen,\xD0\xBF\xD0\xB0,x",
            { QString::fromUtf8("|https://ex.com|jürgen|па|x") });
        row("origin, extra and unknown columns",
            "origin,username,password,httpRealm,extra\nhttps://a.org,u,p,,z\n",
            { QStringLiteral("|https://a.org|u|p|z") });
        row("login_ aliases, Title and Notes case",
            "folder,favorite,type,Title,Notes,login_uri,login_username,login_password\n,,login,Mail,n,https:/"
            "/"
            "m.org,me,secret\n",
            { QStringLiteral("Mail|https://m.org|me|secret|n") });
        row("rows without url, password or host are refused, the others kept",
            header
                + ",,u,p,\nA,https://a.org,u,,\nB,https://b.org,u,p,\nC,not a "
                  "url,u,p,\n\nD,https://d.org,u,p\n",
            { QStringLiteral("B|https://b.org|u|p|"), QStringLiteral("D|https://d.org|u|p|") }, { 2, 3, 5 });
        row("line numbers count breaks inside quotes", header + "A,https://a.org,u,p,\"1\n2\n3\"\nB,,u,p,\n",
            { QStringLiteral("A|https://a.org|u|p|1\n2\n3") }, { 5 });
        row("no password column", "url,username\nhttps://a.org,u\n", {}, {}, "no url or no password column");
        row("quote never closed", header + "A,https://a.org,u,\"p,\n", {}, {}, "line 2 is never closed");
        row("not utf-8", header + "A,https://a.org,u,\xFF\xFE,\n", {}, {}, "not UTF-8");
        row("empty", QByteArray(), {}, {}, "no header");
        row("over the size limit", QByteArray(PasswordCsv::maxFileSize + 1, 'a'), {}, {},
            "larger than 8 MiB");
    }

    void read()
    {
        QFETCH(QByteArray, data);
        QFETCH(QStringList, logins);
        QFETCH(QList<int>, rejectedLines);
        QFETCH(QString, error);

        const CsvReadResult result = PasswordCsv::read(data);
        QCOMPARE(result.ok, error.isEmpty());
        QVERIFY2(result.error.contains(error, Qt::CaseInsensitive), qPrintable(result.error));
        QCOMPARE(lines(result.logins), logins);
        QList<int> rejected;
        for (const CsvRejectedRow& row : result.rejected) {
            rejected.append(row.line);
            QVERIFY(row.message.contains(QString::number(row.line)));
        }
        QCOMPARE(rejected, rejectedLines);
    }

    void import_data()
    {
        QTest::addColumn<QByteArray>("csv");
        QTest::addColumn<QStringList>("rowResults"); // empty: the file is refused
        QTest::addColumn<int>("countAfter");

        // The store already holds ann/old on https://a.org.
        const QByteArray header = "name,url,username,password,note\n";
        QTest::newRow("new, identical, conflicting, rejected")
            << header
                + ",https://b.org/login,bob,pw,\n,https://a.org/other,ann,old,\n,https://"
                  "a.org,ann,new,\n,https:/"
                  "/c.org,c,,\n"
            << QStringList { QStringLiteral("added"), QStringLiteral("identical"),
                   QStringLiteral("conflicting"), QStringLiteral("rejected") }
            << 2;
        QTest::newRow("the same login twice in the file")
            << header + ",https://d.org,d,1,\n,https://d.org,d,1,\n,https://d.org,d,2,\n"
            << QStringList { QStringLiteral("added"), QStringLiteral("identical"),
                   QStringLiteral("conflicting") }
            << 2;
        QTest::newRow("file over 10 MB refused")
            << QByteArray(10 * 1000 * 1000 + 1, '\n') << QStringList() << 1;
    }

    void import()
    {
        QFETCH(QByteArray, csv);
        QFETCH(QStringList, rowResults);
        QFETCH(int, countAfter);

        QTemporaryDir dir;
        PasswordManager manager(dir.path());
        QTRY_COMPARE(manager.status(), PasswordManager::Ready);
        manager.save(QStringLiteral("https://a.org/login"), QStringLiteral("ann"), QStringLiteral("old"));
        QFile out(dir.filePath(QStringLiteral("in.csv")));
        QVERIFY(out.open(QIODevice::WriteOnly));
        out.write(csv);
        out.close();

        QSignalSpy finished(&manager, &PasswordManager::importFinished);
        QVERIFY(manager.importCsv(QUrl::fromLocalFile(out.fileName()).toString()));
        QVERIFY(finished.wait());
        const QVariantMap report = finished.first().first().toMap();
        QCOMPARE(report.value(QStringLiteral("ok")).toBool(), !rowResults.isEmpty());
        QCOMPARE(report.value(QStringLiteral("error")).toString().isEmpty(), !rowResults.isEmpty());
        QStringList results;
        for (const QVariant& row : report.value(QStringLiteral("rows")).toList())
            results.append(row.toMap().value(QStringLiteral("result")).toString());
        QCOMPARE(results, rowResults);
        for (const char* kind : { "added", "identical", "conflicting", "rejected" })
            QCOMPARE(report.value(QLatin1String(kind)).toInt(), int(rowResults.count(QLatin1String(kind))));
        QCOMPARE(manager.count(), countAfter);
        // A conflict keeps what the user had.
        QCOMPARE(manager.password(manager.credentials().first().id), QStringLiteral("old"));
    }

    void exportIsPrivateAndReadable()
    {
        QTemporaryDir dir;
        PasswordManager manager(dir.path());
        QTRY_COMPARE(manager.status(), PasswordManager::Ready);
        // Every character the writer has to quote, and text beyond ASCII.
        manager.save(QStringLiteral("https://z.org"), QStringLiteral(" a\"b"), QStringLiteral("p,\"w\r\n"),
            QStringLiteral("multi\nline"));
        manager.save(QStringLiteral("https://a.org"), QStringLiteral("ann"), QString::fromUtf8("ключ ✓"));
        const QString file = dir.filePath(QStringLiteral("out.csv"));
        QSignalSpy finished(&manager, &PasswordManager::exportFinished);
        QVERIFY(manager.exportCsv(file));
        QVERIFY(finished.wait());
        QCOMPARE(finished.first().first().toBool(), true);
        struct stat st = {};
        QCOMPARE(::stat(QFile::encodeName(file).constData(), &st), 0);
        QCOMPARE(st.st_mode & 0777, 0600u);
        QFile in(file);
        QVERIFY(in.open(QIODevice::ReadOnly));
        QCOMPARE(lines(PasswordCsv::read(in.readAll()).logins),
            (QStringList { QString::fromUtf8("a.org|https://a.org|ann|ключ ✓|"),
                QStringLiteral("z.org|https://z.org| a\"b|p,\"w\r\n|multi\nline") }));

        QVERIFY(manager.exportCsv(QStringLiteral("/nonexistent/dir/out.csv")));
        QVERIFY(finished.wait());
        QCOMPARE(finished.last().first().toBool(), false);
    }

private:
    TempProfile m_profile;
    QTranslator m_texts;
};

QTEST_MAIN(TestPasswordCsv)
#include "tst_passwordcsv.moc"
