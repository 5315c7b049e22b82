// The records' debug forms are read by log scrapers; their layout is fixed.

#include "storage/records.h"
#include "support/logcapture.h"

#include <QDebug>
#include <QtTest>

namespace
{
template <typename T> QString debugForm(const T* record)
{
    LogCapture log("default");
    qWarning() << record; // not qDebug: the test runs with debug output switched off
    return log.messages().value(0);
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
        link.isValid = true;
        QCOMPARE(debugForm(&link),
            QStringLiteral("Link(id =  7 , isValid =  true , url =  \"https://example.com/\" , title =  "
                           "\"Example \\\"quoted\\\"\" , thumbnailPath =  \"/tmp/t.jpg\" , date =  "
                           "QDateTime(Invalid) )"));
    }
};

QTEST_GUILESS_MAIN(TestRecords)
#include "tst_records.moc"
