#include "tempprofile.h"

#include <QDir>
#include <QStandardPaths>

namespace
{
const char* const variables[] = { "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "HOME" };
}

TempProfile::TempProfile()
{
    for (const char* name : variables) {
        m_saved.insert(name, qgetenv(name));
        const QString sub = QDir(m_dir.path()).absoluteFilePath(QString::fromLatin1(name).toLower());
        QDir().mkpath(sub);
        qputenv(name, QFile::encodeName(sub));
    }
}

TempProfile::~TempProfile()
{
    for (auto it = m_saved.constBegin(); it != m_saved.constEnd(); ++it) {
        if (it.value().isNull())
            qunsetenv(it.key().constData());
        else
            qputenv(it.key().constData(), it.value());
    }
}

QString TempProfile::dataLocation() const
{
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
}

QString TempProfile::databasePath() const
{
    return QDir(dataLocation()).absoluteFilePath(QStringLiteral("browser-app.sqlite"));
}
