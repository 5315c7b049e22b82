// The records' debug forms are read by log scrapers; their layout is fixed.

#include "storage/records.h"

#include <QDebug>
#include <QtTest>

namespace
{
QString captured;
void capture(QtMsgType, const QMessageLogContext&, const QString& message)
{
    captured = message;
}

template <typename T> QString debugForm(const T* record)
{
    captured.clear();
    const QtMessageHandler previous = qInstallMessageHandler(capture);
    qWarning() << record; // not qDebug: the test runs with debug output switched off
    qInstallMessageHandler(previous);
    return captured;
}
} // namespace

class TestRecords : public QObject
{
    Q_OBJECT
private slots:
    void debugForms()
    {
        QCOMPARE(debugForm<Link>(nullptr), QStringLiteral("Link (this = 0x0)"));
        QCOMPARE(debugForm<Tab>(nullptr), QStringLiteral("Tab (this = 0x0)"));
        QCOMPARE(debugForm<Download>(nullptr), QStringLiteral("Download (this = 0x0)"));
        Link link;
        link.id = 7;
        link.url = QStringLiteral("https://example.com/");
        link.title = QStringLiteral("Example \"quoted\"");
        link.thumbnailPath = QStringLiteral("/tmp/t.jpg");
        for (bool isValid : { true, false }) {
            link.isValid = isValid;
            const QString text = debugForm(&link);
            QVERIFY2(text.startsWith(
                         QStringLiteral("Link(id =  7 , isValid =  %1 , url =  \"https://example.com/\" , "
                                        "title =  \"Example \\\"quoted\\\"\" , thumbnailPath =  "
                                        "\"/tmp/t.jpg\" , date =  QDateTime(Invalid) )")
                             .arg(QLatin1String(isValid ? "true" : "false"))),
                qPrintable(text));
        }
    }
};

QTEST_GUILESS_MAIN(TestRecords)
#include "tst_records.moc"
