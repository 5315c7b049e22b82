#include "pwaupdatejob.h"

#include "utils/logcategories.h"

#include <QDir>
#include <QFile>

void PwaUpdateJob::sendApmPwaRequest()
{
    const QString dir = getPwaDirPath(true);
    const QList<IconFile> icons = iconFiles(dir);
    if (isUnchanged(dir, icons)) {
        qCInfo(lcPwa) << "PWA already up to date:" << m_info.id;
        emitError(PwaManager::FAILURE_ALREADY_UPDATED);
        return;
    }
    const QStringList written = updateIcons(dir, icons);
    if (written.isEmpty() || !writeFile(dir + QStringLiteral("/manifest.json"), manifestJson())
        || !writeFile(dir + QStringLiteral("/pwaconfig.json"), pwaConfigJson())) {
        emitError(PwaManager::FAILURE_CANNOT_UPDATED);
        return;
    }
    startDeploy(dir, written, false);
}

bool PwaUpdateJob::isUnchanged(const QString& dir, const QList<IconFile>& icons) const
{
    auto sameContent = [](const QString& path, const QByteArray& data) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) && file.size() == data.size() && file.readAll() == data;
    };
    if (!sameContent(dir + QStringLiteral("/manifest.json"), manifestJson())
        || !sameContent(dir + QStringLiteral("/pwaconfig.json"), pwaConfigJson()))
        return false;
    QStringList expected;
    for (const IconFile& icon : icons) {
        if (!sameContent(icon.path, icon.png))
            return false;
        expected << QFileInfo(icon.path).fileName();
    }
    QStringList present = QDir(dir).entryList({ QStringLiteral("*.png") }, QDir::Files);
    present.sort();
    expected.sort();
    return present == expected;
}

QStringList PwaUpdateJob::updateIcons(const QString& dir, const QList<IconFile>& icons) const
{
    QStringList keep;
    for (const IconFile& icon : icons)
        keep << QFileInfo(icon.path).fileName();
    const QStringList existing = QDir(dir).entryList({ QStringLiteral("*.png") }, QDir::Files);
    for (const QString& name : existing) {
        if (keep.contains(name))
            continue;
        if (QFile::remove(QDir(dir).filePath(name)))
            qCDebug(lcPwa) << "removed stale icon:" << name;
    }
    return writeIcons(dir, icons);
}
