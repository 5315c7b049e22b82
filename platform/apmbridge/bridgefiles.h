#pragma once

#include <QByteArray>
#include <QImage>
#include <QPair>
#include <QString>
#include <QVector>

// Everything the bridge writes lies under one of three roots of the user's data
// directory: the menu entries, the hicolor icon theme and the bridge's own data.
// Writers take a root and a path relative to it and refuse any path that would
// leave the root, so that a hostile id or name never writes elsewhere.
namespace ApmBridge
{
namespace Files
{

    QString applicationsDir();
    QString hicolorDir();
    QString bridgeDataDir();
    // The browser installed beside the bridge, which every entry launches.
    QString browserPath();

    // Ids become file names: letters, digits, '-' and '_' only, so no '.', no '/'.
    bool isSafeId(const QString& id);
    // One line of printable text for a menu, or the fallback when nothing is left.
    QString displayName(const QString& text, const QString& fallback);
    // One argument of an Exec line, quoted where the desktop entry rules require.
    QString execArgument(const QString& argument);

    bool writeFile(const QString& root, const QString& relativePath, const QByteArray& data);
    bool removeFile(const QString& root, const QString& relativePath);

    using EntryKeys = QVector<QPair<QString, QString>>;
    // Writes "<applications>/<fileId>.desktop" with the keys in their order.
    bool writeDesktopEntry(const QString& fileId, const EntryKeys& keys);
    bool desktopEntryExists(const QString& fileId);

    // The theme sizes a desktop menu or dock asks for.
    const QVector<int>& iconSizes();
    // Puts the image, scaled and centred on a transparent square, into every size.
    bool installIcons(const QString& iconName, const QImage& source);
    QByteArray pngData(const QImage& image);

    // Tells menus and icon caches that something changed, with whatever tools the desktop has.
    void refreshMenus();

} // namespace Files
} // namespace ApmBridge
