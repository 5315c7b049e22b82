#pragma once

#include <QDate>
#include <QString>

namespace DownloadKind
{
// One of "document", "image", "video", "audio", "book", "archive",
// "application" or "other", from the MIME database: the content type the
// server sent when it is specific, else the file name.
QString classify(const QString& fileName, const QString& contentType);

// The heading a download's day is listed under: "Today", "Yesterday", else
// the date in the user's locale.
QString dayGroup(const QDate& date, const QDate& today = QDate::currentDate());
} // namespace DownloadKind
