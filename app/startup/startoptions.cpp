#include "startoptions.h"

#include "utils/filepathutils.h"

#include <QCommandLineParser>
#include <QUrl>

StartOptions parseStartOptions(const QStringList& arguments, bool webdriverSet)
{
    QCommandLineParser parser;
    const QCommandLineOption urlOption(
        QStringLiteral("url"), QStringLiteral("url for opening browser"), QStringLiteral("url"));
    const QCommandLineOption pwaOption(QStringLiteral("pwa"));
    // Accepted so that the launcher's socket argument is not taken for a URL; never read.
    const QCommandLineOption socketOption(
        QStringLiteral("socket"), QStringLiteral("Socket path for D-Bus connection"), QStringLiteral("path"));
    parser.addOption(urlOption);
    parser.addOption(pwaOption);
    parser.addOption(socketOption);
    parser.parse(arguments);

    StartOptions options;
    if (arguments.size() >= 2)
        options.positionalUrl = arguments.at(1);
    // "%u"/"%U" is a desktop-file placeholder the launcher left unexpanded.
    if (options.positionalUrl == QLatin1String("%u") || options.positionalUrl == QLatin1String("%U")
        || options.positionalUrl.startsWith(QLatin1String("--")))
        options.positionalUrl.clear();

    if (!options.positionalUrl.isEmpty()) {
        QUrl url(options.positionalUrl, QUrl::TolerantMode);
        if (url.scheme().isEmpty() && FilePathUtils::instance()->fileExists(options.positionalUrl)) {
            url.setScheme(QStringLiteral("file"));
            options.positionalUrl = url.toString();
        }
    }

    options.pwa = parser.isSet(pwaOption);
    if (webdriverSet)
        options.startUrl = QStringLiteral("about:blank");
    else if (parser.isSet(urlOption))
        options.startUrl = parser.value(urlOption);
    else
        options.startUrl = options.positionalUrl;
    return options;
}
