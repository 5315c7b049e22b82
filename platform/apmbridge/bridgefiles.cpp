#include "bridgefiles.h"

#include "bridgebus.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPainter>
#include <QProcess>
#include <QRegularExpression>
#include <QSaveFile>
#include <QStandardPaths>

#include <utime.h>

namespace ApmBridge
{
namespace Files
{

    namespace
    {
        QString dataHome()
        {
            return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
        }

        // The resolved path when it lies strictly inside root, else empty.
        QString pathInside(const QString& root, const QString& relativePath)
        {
            const QString cleanRoot = QDir::cleanPath(root);
            const QString path = QDir::cleanPath(cleanRoot + QLatin1Char('/') + relativePath);
            if (relativePath.isEmpty() || !path.startsWith(cleanRoot + QLatin1Char('/'))) {
                qCWarning(lcApmBridge) << "refused path" << relativePath << "outside" << cleanRoot;
                return QString();
            }
            return path;
        }

        // String values of a desktop entry escape the backslash and line breaks.
        QString entryValue(QString value)
        {
            value.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
            value.replace(QLatin1Char('\n'), QLatin1String("\\n"));
            value.replace(QLatin1Char('\r'), QLatin1String("\\r"));
            value.replace(QLatin1Char('\t'), QLatin1String("\\t"));
            return value;
        }

        void startTool(const QString& name, const QStringList& arguments)
        {
            const QString tool = QStandardPaths::findExecutable(name);
            if (!tool.isEmpty())
                QProcess::startDetached(tool, arguments);
        }
    } // namespace

    QString applicationsDir()
    {
        return dataHome() + QLatin1String("/applications");
    }
    QString hicolorDir()
    {
        return dataHome() + QLatin1String("/icons/hicolor");
    }
    QString bridgeDataDir()
    {
        return dataHome() + QLatin1String("/ru.nuvo.webdeck-apmbridge");
    }
    QString browserPath()
    {
        return QStringLiteral(WEBDECK_BROWSER_PATH);
    }

    bool isSafeId(const QString& id)
    {
        static const QRegularExpression pattern(QStringLiteral("^[A-Za-z0-9_-]{1,64}$"));
        return pattern.match(id).hasMatch();
    }

    QString displayName(const QString& text, const QString& fallback)
    {
        QString name;
        name.reserve(text.size());
        for (const QChar c : text)
            name.append(c.isPrint() ? c : QLatin1Char(' '));
        name = name.simplified().left(128);
        return name.isEmpty() ? fallback : name;
    }

    QString execArgument(const QString& argument)
    {
        QString arg = argument;
        arg.replace(QLatin1Char('%'), QLatin1String("%%"));
        static const QRegularExpression reserved(QStringLiteral("[\\s\"'\\\\<>~|&;$*?#`()]"));
        if (!arg.isEmpty() && !arg.contains(reserved))
            return arg;
        QString quoted;
        for (const QChar c : qAsConst(arg)) {
            if (c == QLatin1Char('"') || c == QLatin1Char('`') || c == QLatin1Char('$')
                || c == QLatin1Char('\\'))
                quoted.append(QLatin1Char('\\'));
            quoted.append(c);
        }
        return QLatin1Char('"') + quoted + QLatin1Char('"');
    }

    bool writeFile(const QString& root, const QString& relativePath, const QByteArray& data)
    {
        const QString path = pathInside(root, relativePath);
        if (path.isEmpty() || !QDir().mkpath(QFileInfo(path).absolutePath()))
            return false;
        QSaveFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit()) {
            qCWarning(lcApmBridge) << "cannot write" << path << file.errorString();
            return false;
        }
        return true;
    }

    bool removeFile(const QString& root, const QString& relativePath)
    {
        const QString path = pathInside(root, relativePath);
        return !path.isEmpty() && QFile::remove(path);
    }

    bool writeDesktopEntry(const QString& fileId, const EntryKeys& keys)
    {
        QString text = QStringLiteral("[Desktop Entry]\n");
        for (const auto& key : keys)
            text += key.first + QLatin1Char('=') + entryValue(key.second) + QLatin1Char('\n');
        return writeFile(applicationsDir(), fileId + QLatin1String(".desktop"), text.toUtf8());
    }

    bool desktopEntryExists(const QString& fileId)
    {
        return QFileInfo(applicationsDir() + QLatin1Char('/') + fileId + QLatin1String(".desktop")).isFile();
    }

    const QVector<int>& iconSizes()
    {
        static const QVector<int> sizes { 48, 64, 128, 256 };
        return sizes;
    }

    QByteArray pngData(const QImage& image)
    {
        QByteArray data;
        QBuffer buffer(&data);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, "PNG");
        return data;
    }

    bool installIcons(const QString& iconName, const QImage& source)
    {
        bool ok = !source.isNull();
        for (const int size : iconSizes()) {
            if (!ok)
                break;
            QImage icon(size, size, QImage::Format_ARGB32_Premultiplied);
            icon.fill(Qt::transparent);
            const QImage scaled = source.scaled(size, size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
            QPainter(&icon).drawImage((size - scaled.width()) / 2, (size - scaled.height()) / 2, scaled);
            const QString name = QStringLiteral("%1x%1/apps/%2.png").arg(size).arg(iconName);
            ok = writeFile(hicolorDir(), name, pngData(icon));
        }
        return ok;
    }

    void refreshMenus()
    {
        startTool(QStringLiteral("update-desktop-database"), { QStringLiteral("-q"), applicationsDir() });
        // Icon themes are rescanned when the theme directory changes; an icon
        // cache is trusted only while it is newer than that directory, so an
        // existing cache is rebuilt rather than left to hide the new icons.
        ::utime(QFile::encodeName(hicolorDir()).constData(), nullptr);
        if (QFileInfo::exists(hicolorDir() + QLatin1String("/icon-theme.cache")))
            startTool(QStringLiteral("gtk-update-icon-cache"),
                { QStringLiteral("-f"), QStringLiteral("-t"), QStringLiteral("-q"), hicolorDir() });
    }

} // namespace Files
} // namespace ApmBridge
