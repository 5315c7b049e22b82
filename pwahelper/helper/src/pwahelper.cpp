#include "pwahelper.h"
#include "pwahelper_p.h"

#include <QCryptographicHash>
#include <QDebug>
#include <QJsonObject>
#include <QJsonValue>

Q_LOGGING_CATEGORY(pwaHelper, "browser.pwahelper")

namespace Orvane
{
namespace PWA
{

    namespace Internal
    {

        const QHash<QString, QString>& orientationTable()
        {
            static const QHash<QString, QString> table {
                { QStringLiteral("any"), QStringLiteral("All") },
                { QStringLiteral("natural"), QStringLiteral("All") },
                { QStringLiteral("portrait"), QStringLiteral("PortraitMask") },
                { QStringLiteral("portrait-primary"), QStringLiteral("Portrait") },
                { QStringLiteral("portrait-secondary"), QStringLiteral("PortraitInverted") },
                { QStringLiteral("landscape"), QStringLiteral("LandscapeMask") },
                { QStringLiteral("landscape-primary"), QStringLiteral("Landscape") },
                { QStringLiteral("landscape-secondary"), QStringLiteral("LandscapeInverted") },
            };
            return table;
        }

        const QHash<QChar, QChar>& idAlphabetTable()
        {
            static const QHash<QChar, QChar> table = [] {
                // Pairs of (hexadecimal digit, letter); installed apps are known by ids
                // made with exactly this mapping, so it can never change.
                const QLatin1String pairs("0a1b2c3d4e5f6g7h8i9jakblcmdneofp");
                QHash<QChar, QChar> built;
                built.reserve(pairs.size() / 2);
                for (int i = 0; i + 1 < pairs.size(); i += 2)
                    built.insert(QChar(pairs.at(i)), QChar(pairs.at(i + 1)));
                return built;
            }();
            return table;
        }

        const QList<QSize>& launcherIconSizes()
        {
            static const QList<QSize> sizes { QSize(86, 86), QSize(108, 108), QSize(128, 128),
                QSize(172, 172) };
            return sizes;
        }

    } // namespace Internal

    bool verifyManifestValidity(const QUrl& baseUrl, const PWAManifest& manifest)
    {
        // The base URL is judged first so that a broken caller is reported as such,
        // whatever the site served.
        if (!baseUrl.isValid()) {
            qCWarning(pwaHelper) << "baseUrl is invalid!";
            return false;
        }
        if (manifest.isObject())
            return true;
        qCWarning(pwaHelper) << "manifest is invalid!";
        return false;
    }

    QUrl extractScopeUrl(const PWAInfo& info)
    {
        const QString declared = info.manifest.object().value(QLatin1String("scope")).toString();
        QUrl scopeUrl(declared, QUrl::TolerantMode);
        if (scopeUrl.isValid() && !scopeUrl.isEmpty()) {
            if (scopeUrl.isRelative())
                scopeUrl = info.manifestUrl.resolved(scopeUrl);
            // A scope that does not contain the start URL would lock the app out of
            // its own first page, so it is ignored in favour of the fallback below.
            if (scopeUrl.isParentOf(info.startUrl))
                return scopeUrl;
        }

        if (!info.startUrl.isValid()) {
            qCDebug(pwaHelper) << "start_url is invalid! returning empty scope url";
            return QUrl();
        }
        QUrl directory
            = info.startUrl.adjusted(QUrl::RemoveQuery | QUrl::RemoveFragment | QUrl::RemoveFilename);
        if (directory.isRelative())
            directory = info.manifestUrl.resolved(directory);
        return directory;
    }

    QString extractOrvaneAppOrientation(const PWAManifest& manifest)
    {
        const QHash<QString, QString>& table = Internal::orientationTable();
        const QJsonObject object = manifest.object();
        const auto member = object.constFind(QLatin1String("orientation"));
        if (member == object.constEnd()) {
            qCDebug(pwaHelper) << "no orientation, using All";
            return table.value(QStringLiteral("any"));
        }
        const QString keyword = member.value().toString();
        if (!keyword.isEmpty()) {
            const auto row = table.constFind(keyword);
            if (row != table.constEnd())
                return row.value();
        }
        qCDebug(pwaHelper) << "orientation empty or invalid, using All";
        return table.value(QStringLiteral("any"));
    }

    QString convertHexadecimalToIDAlphabet(const QString& text)
    {
        const QHash<QChar, QChar>& table = Internal::idAlphabetTable();
        QString id;
        id.reserve(text.size());
        for (const QChar c : text)
            id.append(table.value(c, QLatin1Char('a')));
        return id;
    }

    QString generateAppId(const QString& text)
    {
        // Hashing the raw digest a second time is part of the id format the package
        // manager knows the apps by; it is not a strength measure.
        const QByteArray first = QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Sha256);
        const QByteArray second = QCryptographicHash::hash(first, QCryptographicHash::Sha256);
        const QString id = convertHexadecimalToIDAlphabet(QString::fromLatin1(second.left(16).toHex()));
        qDebug() << "appId:" << id;
        return id;
    }

    QList<QImage> convertIcons(const QList<QImage>& images)
    {
        QList<QImage> icons;
        const QImage* source = nullptr;
        int largestSide = 0;
        for (const QImage& image : images) {
            const int side = qMax(image.width(), image.height());
            if (side > largestSide) { // strict: the earlier image wins a tie
                largestSide = side;
                source = &image;
            }
        }
        if (!source)
            return icons;

        // All sizes come from the one source so that the icons look alike at every
        // launcher scale; stretching keeps the whole picture without a border.
        const QList<QSize>& sizes = Internal::launcherIconSizes();
        icons.reserve(sizes.size());
        for (const QSize& size : sizes)
            icons.append(source->scaled(size, Qt::IgnoreAspectRatio, Qt::FastTransformation));
        return icons;
    }

} // namespace PWA
} // namespace Orvane
