#include "downloadkind.h"

#include <QCoreApplication>
#include <QLocale>
#include <QMimeDatabase>

namespace
{
bool isA(const QMimeType& type, const char* name)
{
    return type.inherits(QLatin1String(name));
}

bool startsWith(const QMimeType& type, const char* prefix)
{
    if (type.name().startsWith(QLatin1String(prefix)))
        return true;
    const QStringList parents = type.allAncestors();
    return std::any_of(parents.cbegin(), parents.cend(),
        [prefix](const QString& parent) { return parent.startsWith(QLatin1String(prefix)); });
}

QString kindOf(const QMimeType& type)
{
    // Order matters: e-books, office files and installers are zip archives
    // underneath, and some e-books are images.
    if (isA(type, "application/epub+zip") || isA(type, "application/x-mobipocket-ebook")
        || isA(type, "application/x-fictionbook+xml") || isA(type, "image/vnd.djvu")
        || isA(type, "application/vnd.amazon.ebook") || isA(type, "application/vnd.comicbook+zip")
        || isA(type, "application/vnd.comicbook-rar"))
        return QStringLiteral("book");
    if (isA(type, "application/x-executable") || isA(type, "application/x-sharedlib")
        || isA(type, "application/x-msdownload") || isA(type, "application/vnd.android.package-archive")
        || isA(type, "application/vnd.debian.binary-package") || isA(type, "application/x-rpm")
        || isA(type, "application/x-appimage") || isA(type, "application/x-msi")
        || isA(type, "application/vnd.flatpak") || isA(type, "application/x-shellscript")
        || isA(type, "application/x-ms-dos-executable"))
        return QStringLiteral("application");
    if (startsWith(type, "image/"))
        return QStringLiteral("image");
    if (startsWith(type, "video/"))
        return QStringLiteral("video");
    if (startsWith(type, "audio/"))
        return QStringLiteral("audio");
    const QString icon = type.genericIconName();
    if (isA(type, "application/pdf") || isA(type, "text/plain") || isA(type, "application/rtf")
        || icon == QLatin1String("x-office-document") || icon == QLatin1String("x-office-spreadsheet")
        || icon == QLatin1String("x-office-presentation") || icon == QLatin1String("text-x-generic"))
        return QStringLiteral("document");
    if (icon == QLatin1String("package-x-generic") || isA(type, "application/zip")
        || isA(type, "application/x-tar") || isA(type, "application/gzip")
        || isA(type, "application/x-7z-compressed") || isA(type, "application/vnd.rar")
        || isA(type, "application/x-rar") || isA(type, "application/x-xz") || isA(type, "application/x-bzip")
        || isA(type, "application/zstd"))
        return QStringLiteral("archive");
    return QStringLiteral("other");
}
} // namespace

namespace DownloadKind
{
QString classify(const QString& fileName, const QString& contentType)
{
    static const QMimeDatabase db;
    const QString name = contentType.section(QLatin1Char(';'), 0, 0).trimmed().toLower();
    QMimeType type = db.mimeTypeForName(name);
    // Servers label nearly anything they do not know as a byte stream or as
    // plain text; then the name tells more.
    if (!type.isValid() || type.isDefault() || name == QLatin1String("application/x-download")
        || name == QLatin1String("binary/octet-stream")) {
        type = db.mimeTypeForFile(fileName, QMimeDatabase::MatchExtension);
    }
    return type.isValid() && !type.isDefault() ? kindOf(type) : QStringLiteral("other");
}

QString dayGroup(const QDate& date, const QDate& today)
{
    if (date == today)
        return QCoreApplication::translate("DownloadModel", "Today");
    if (date == today.addDays(-1))
        return QCoreApplication::translate("DownloadModel", "Yesterday");
    return QLocale().toString(date, QLocale::LongFormat);
}
} // namespace DownloadKind
