#pragma once

#include <QSet>
#include <QString>
#include <QUrl>

// How a download gets its file name: what the server or the URL suggests,
// made safe to create in the user's download directory, and never the name
// of a file that is already there.
namespace DownloadNaming
{
// The file name a Content-Disposition header suggests; "filename*" (RFC 5987,
// UTF-8 or ISO-8859-1) wins over "filename". Empty when it names none.
QString fromContentDisposition(const QByteArray& header);

// The name a download is saved under: the header's suggestion, else the last
// path segment of the URL, else "download"; sanitised, with the content
// type's usual suffix added when the name has none.
QString suggestedName(const QByteArray& contentDisposition, const QUrl& url, const QString& contentType);

// A name that can be created safely: no path separators, control or reserved
// characters, no leading or trailing dots and spaces, not a device name, and
// short enough for the file system together with a partial-file suffix.
QString sanitize(const QString& name);

// dir/name when neither it nor its partial file exists and it is not taken,
// else the first free "base (n).ext".
QString uniquePath(const QString& dir, const QString& name, const QSet<QString>& taken = {});

// Where the bytes are written until the download is complete.
QString partialPath(const QString& path);
} // namespace DownloadNaming
