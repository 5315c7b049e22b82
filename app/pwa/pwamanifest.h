#pragma once

#include <QJsonObject>
#include <QString>
#include <QUrl>

// Manifest rules that the PWA manager and the installation jobs share.
namespace PwaManifest
{
// Trimmed text; when it starts with a "//" comment, everything before the first "{" is dropped.
QString stripComments(const QString& text);
// The manifest's "name", or the fallback when it has none.
QString displayName(const QJsonObject& manifest, const QString& fallback);
// The URL without query, fragment and last path segment.
QUrl directoryOf(const QUrl& url);
// The app's start URL: the manifest's "start_url" when it stays on the base URL's origin,
// otherwise the base URL's directory.
QUrl startUrl(const QString& startUrlText, const QUrl& baseUrl, const QUrl& manifestUrl);
// The manifest's "display", trimmed and lower-cased; "standalone" when missing.
QString displayMode(const QJsonObject& manifest);
// Whether the display mode makes the site an app at all.
bool isAppDisplayMode(const QString& mode);
} // namespace PwaManifest
