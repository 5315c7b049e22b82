// Every text id the code asks for must be answered by both catalogues; otherwise users see raw ids.

#include <QDirIterator>
#include <QRegularExpression>
#include <QTranslator>
#include <QtTest>

namespace
{
QSet<QString> idsInSources()
{
    QSet<QString> ids;
    const QRegularExpression call(QStringLiteral(R"((?:qtTrId|qsTrId|QT_TRID_NOOP)\(\s*"([^"]+)\")"));
    for (const QString& dir : { QStringLiteral("app"), QStringLiteral("qml") }) {
        QDirIterator it(QStringLiteral(WEBDECK_SOURCE_DIR "/") + dir,
            { QStringLiteral("*.cpp"), QStringLiteral("*.h"), QStringLiteral("*.qml") }, QDir::Files,
            QDirIterator::Subdirectories);
        while (it.hasNext()) {
            QFile file(it.next());
            if (!file.open(QIODevice::ReadOnly))
                continue;
            const QString text = QString::fromUtf8(file.readAll());
            auto matches = call.globalMatch(text);
            while (matches.hasNext())
                ids.insert(matches.next().captured(1));
        }
    }
    return ids;
}

} // namespace

class TestTranslations : public QObject
{
    Q_OBJECT
private slots:
    void everyIdTranslated_data()
    {
        QTest::addColumn<QString>("qm");
        QTest::newRow("engineering English") << QStringLiteral(WEBDECK_QM_DIR "/ru.nuvo.webdeck_eng_en.qm");
        QTest::newRow("Russian") << QStringLiteral(WEBDECK_QM_DIR "/ru.nuvo.webdeck-ru.qm");
    }

    void everyIdTranslated()
    {
        // The compiled catalogue leaves out ids missing from the source or left untranslated.
        QFETCH(QString, qm);
        const QSet<QString> used = idsInSources();
        QVERIFY(used.contains(QStringLiteral("browser-ti-standalone-ap-name")));
        QTranslator translator;
        QVERIFY(translator.load(qm));
        for (const QString& id : used)
            QVERIFY2(!translator.translate(nullptr, id.toUtf8().constData()).isEmpty(),
                qPrintable(id + QStringLiteral(" missing from ") + qm));
    }
};

QTEST_GUILESS_MAIN(TestTranslations)
#include "tst_translations.moc"
