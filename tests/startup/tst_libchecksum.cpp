// The digest covers exactly the executable loadable segments, as readelf sees them.

#include "startup/libchecksum.h"

#include <QCryptographicHash>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

namespace
{
QString expectedDigest(const QString& path)
{
    QProcess readelf;
    readelf.start(QStringLiteral("readelf"), { QStringLiteral("-lW"), path });
    if (!readelf.waitForFinished(10000) || readelf.exitCode() != 0)
        return QStringLiteral("readelf failed");
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("unreadable");
    const QByteArray bytes = file.readAll();
    QCryptographicHash hash(QCryptographicHash::Sha256);
    // LOAD  Offset VirtAddr PhysAddr FileSiz MemSiz Flg Align
    const QRegularExpression load(QStringLiteral(
        R"(^\s*LOAD\s+0x([0-9a-f]+)\s+0x[0-9a-f]+\s+0x[0-9a-f]+\s+0x([0-9a-f]+)\s+0x[0-9a-f]+\s+([RWE ]+?)\s+0x)"));
    int segments = 0;
    for (const QString& line :
        QString::fromLatin1(readelf.readAllStandardOutput()).split(QLatin1Char('\n'))) {
        const auto match = load.match(line);
        if (!match.hasMatch() || !match.captured(3).contains(QLatin1Char('E')))
            continue;
        const qint64 offset = match.captured(1).toLongLong(nullptr, 16);
        const qint64 size = match.captured(2).toLongLong(nullptr, 16);
        hash.addData(bytes.mid(int(offset), int(size)));
        ++segments;
    }
    return segments ? QString::fromLatin1(hash.result().toHex()) : QStringLiteral("no segments");
}
} // namespace

class TestLibChecksum : public QObject
{
    Q_OBJECT
private slots:
    void elfFiles_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("this test") << QCoreApplication::applicationFilePath();
        QTest::newRow("crypto library") << QStringLiteral("/lib/x86_64-linux-gnu/libcrypto.so.3");
    }
    void elfFiles()
    {
        QFETCH(QString, path);
        if (!QFile::exists(path))
            QSKIP("library not present on this machine");
        QCOMPARE(libraryChecksum(path), expectedDigest(path));
    }
    void notADigestableFile()
    {
        // Headers that promise segments the file no longer holds.
        QVERIFY(m_dir.isValid());
        QFile self(QCoreApplication::applicationFilePath()),
            truncated(m_dir.filePath(QStringLiteral("truncated.so")));
        QVERIFY(self.open(QIODevice::ReadOnly) && truncated.open(QIODevice::WriteOnly));
        QCOMPARE(truncated.write(self.read(4096)), qint64(4096));
        truncated.close();
        QCOMPARE(libraryChecksum(truncated.fileName()), QString());
    }

private:
    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(TestLibChecksum)
#include "tst_libchecksum.moc"
