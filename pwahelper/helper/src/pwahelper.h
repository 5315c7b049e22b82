#pragma once

#include <QImage>
#include <QJsonDocument>
#include <QList>
#include <QLoggingCategory>
#include <QString>
#include <QUrl>

// Other programs of the platform (the package manager among them) link this
// library to apply exactly the same manifest rules, so only the functions
// below are visible from outside; everything else stays hidden.
#if defined(WEBDECK_PWAHELPER_BUILDING)
#define PWAHELPER_EXPORT Q_DECL_EXPORT
#else
#define PWAHELPER_EXPORT Q_DECL_IMPORT
#endif

// The "browser.pwahelper" logging category.
PWAHELPER_EXPORT const QLoggingCategory& pwaHelper();

namespace Orvane
{
namespace PWA
{

    // A parsed web app manifest; only a document whose top level is an object is usable.
    using PWAManifest = QJsonDocument;

    // Everything known about one app while it is installed or updated.
    struct PWAInfo {
        QString id; // from generateAppId()
        QString name; // display name
        QUrl baseUrl; // page the installation was started from
        QUrl scopeUrl; // from extractScopeUrl()
        QUrl startUrl; // the manifest's "start_url", absolute
        QString orientation; // from extractOrvaneAppOrientation()
        PWAManifest manifest;
        QUrl manifestUrl; // where the manifest came from; relative manifest URLs resolve against it
    };

    // False, with a warning, when the base URL is invalid or the manifest is not a JSON object.
    PWAHELPER_EXPORT bool verifyManifestValidity(const QUrl& baseUrl, const PWAManifest& manifest);

    // The declared scope when it contains the start URL, otherwise the start URL's directory;
    // empty when the start URL is invalid.
    PWAHELPER_EXPORT QUrl extractScopeUrl(const PWAInfo& info);

    // The operating system's orientation name for the manifest's "orientation"; "All" by default.
    PWAHELPER_EXPORT QString extractOrvaneAppOrientation(const PWAManifest& manifest);

    // Maps each lower-case hexadecimal digit to 'a'..'p'; any other character becomes 'a'.
    PWAHELPER_EXPORT QString convertHexadecimalToIDAlphabet(const QString& text);

    // The 32-letter application id of a start URL; the same text always gives the same id.
    PWAHELPER_EXPORT QString generateAppId(const QString& text);

    // The launcher icons (86, 108, 128 and 172 pixels square) made from the largest image.
    PWAHELPER_EXPORT QList<QImage> convertIcons(const QList<QImage>& images);

} // namespace PWA
} // namespace Orvane
