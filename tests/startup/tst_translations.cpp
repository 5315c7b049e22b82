// Every text id the code asks for must be in both catalogues, and the compiled
// catalogues must really answer for it; otherwise users see raw ids.

#include <QDirIterator>
#include <QRegularExpression>
#include <QTranslator>
#include <QXmlStreamReader>
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

QHash<QString, QString> idsInCatalogue(const QString& path)
{
    QHash<QString, QString> ids;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return ids;
    QXmlStreamReader xml(&file);
    QString current;
    while (!xml.atEnd()) {
        xml.readNext();
        if (!xml.isStartElement())
            continue;
        if (xml.name() == QLatin1String("message"))
            current = xml.attributes().value(QLatin1String("id")).toString();
        else if (xml.name() == QLatin1String("translation") && !current.isEmpty())
            ids.insert(current, xml.readElementText());
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
        QTest::addColumn<QString>("ts");
        QTest::addColumn<QString>("qm");
        QTest::newRow("engineering English")
            << QStringLiteral(WEBDECK_SOURCE_DIR "/translations/ru.nuvo.webdeck_eng_en.ts")
            << QStringLiteral(WEBDECK_QM_DIR "/ru.nuvo.webdeck_eng_en.qm");
        QTest::newRow("Russian") << QStringLiteral(WEBDECK_SOURCE_DIR "/translations/ru.nuvo.webdeck-ru.ts")
                                 << QStringLiteral(WEBDECK_QM_DIR "/ru.nuvo.webdeck-ru.qm");
    }
    void everyIdTranslated()
    {
        QFETCH(QString, ts);
        QFETCH(QString, qm);
        const QSet<QString> used = idsInSources();
        QVERIFY(used.contains(QStringLiteral("browser-ti-standalone-ap-name")));
        const QHash<QString, QString> catalogue = idsInCatalogue(ts);
        QTranslator translator;
        QVERIFY(translator.load(qm));
        for (const QString& id : used) {
            QVERIFY2(catalogue.contains(id), qPrintable(id + QStringLiteral(" missing from ") + ts));
            QVERIFY2(
                !catalogue.value(id).isEmpty(), qPrintable(id + QStringLiteral(" untranslated in ") + ts));
            QCOMPARE(translator.translate(nullptr, id.toUtf8().constData()), catalogue.value(id));
        }
    }
};

QTEST_GUILESS_MAIN(TestTranslations)
#include "tst_translations.moc"
