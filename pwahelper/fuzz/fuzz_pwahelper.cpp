// Feeds arbitrary bytes through every manifest helper: as the manifest text,
// as the base, manifest and start URLs, as id text and as icon dimensions.
// Besides crashes and sanitizer reports it stops on any broken promise of the
// helpers' results.

#include "pwahelper.h"

#include <QJsonObject>
#include <QSet>

#include <algorithm>
#include <cstdlib>
#include <fuzzer/FuzzedDataProvider.h>

using namespace Orvane::PWA;

namespace
{

void discardMessage(QtMsgType, const QMessageLogContext&, const QString&) { }

void require(bool condition)
{
    if (!condition)
        abort();
}

QString consumeText(FuzzedDataProvider& input, size_t maxLength)
{
    return QString::fromStdString(input.ConsumeRandomLengthString(maxLength));
}

bool isIdLetter(QChar c)
{
    return c >= QLatin1Char('a') && c <= QLatin1Char('p');
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // Debug lines stay enabled so their formatting runs too, but nothing is printed.
    static const bool quiet = (qInstallMessageHandler(discardMessage), true);
    Q_UNUSED(quiet);
    static const QSet<QString> orientations {
        QStringLiteral("All"),
        QStringLiteral("PortraitMask"),
        QStringLiteral("Portrait"),
        QStringLiteral("PortraitInverted"),
        QStringLiteral("LandscapeMask"),
        QStringLiteral("Landscape"),
        QStringLiteral("LandscapeInverted"),
    };

    FuzzedDataProvider input(data, size);
    PWAInfo info;
    info.baseUrl = QUrl(consumeText(input, 256), QUrl::TolerantMode);
    info.manifestUrl = QUrl(consumeText(input, 256), QUrl::TolerantMode);
    const QString rawStart = consumeText(input, 256);

    QList<QImage> images;
    const int imageCount = input.ConsumeIntegralInRange(0, 4);
    for (int i = 0; i < imageCount; ++i) {
        const int width = input.ConsumeIntegralInRange(0, 96);
        const int height = input.ConsumeIntegralInRange(0, 96);
        QImage image;
        if (width > 0 && height > 0) {
            image = QImage(width, height, QImage::Format_ARGB32);
            image.fill(input.ConsumeIntegral<uint32_t>());
        }
        images << image;
    }

    const std::string rest = input.ConsumeRemainingBytesAsString();
    const QByteArray manifestText(rest.data(), int(rest.size()));
    info.manifest = QJsonDocument::fromJson(manifestText);

    // The installer takes the start URL from the manifest when it has one.
    const QString declaredStart = info.manifest.object().value(QLatin1String("start_url")).toString();
    info.startUrl = info.manifestUrl.resolved(QUrl(declaredStart.isEmpty() ? rawStart : declaredStart));

    const bool valid = verifyManifestValidity(info.baseUrl, info.manifest);
    require(!valid || info.manifest.isObject());

    info.orientation = extractOrvaneAppOrientation(info.manifest);
    require(orientations.contains(info.orientation));

    info.scopeUrl = extractScopeUrl(info);
    require(info.startUrl.isValid() || info.scopeUrl.isEmpty() || info.scopeUrl.isParentOf(info.startUrl));

    for (const QString& text : { info.startUrl.toString(), rawStart, QString::fromUtf8(manifestText) }) {
        const QString id = generateAppId(text);
        require(id.size() == 32 && std::all_of(id.cbegin(), id.cend(), isIdLetter));
        require(id == generateAppId(text));
        const QString mapped = convertHexadecimalToIDAlphabet(text);
        require(mapped.size() == text.size() && std::all_of(mapped.cbegin(), mapped.cend(), isIdLetter));
    }

    const QList<QImage> icons = convertIcons(images);
    const bool usable
        = std::any_of(images.cbegin(), images.cend(), [](const QImage& i) { return !i.isNull(); });
    require(icons.size() == (usable ? 4 : 0));
    const int sides[] = { 86, 108, 128, 172 };
    for (int i = 0; i < icons.size(); ++i)
        require(icons.at(i).size() == QSize(sides[i], sides[i]));
    return 0;
}
