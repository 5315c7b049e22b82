#pragma once

#include <QHash>
#include <QList>
#include <QSize>
#include <QString>

// Constant tables behind the exported rules. They are built on first use
// (function-local statics, so concurrent first calls are safe) and never change.
// They have external linkage but are not exported: the library keeps them to itself.
namespace Orvane
{
namespace PWA
{
    namespace Internal
    {

        // Manifest "orientation" keyword -> operating system orientation name.
        const QHash<QString, QString>& orientationTable();
        // Lower-case hexadecimal digit -> id letter.
        const QHash<QChar, QChar>& idAlphabetTable();
        // Launcher icon sizes, smallest first.
        const QList<QSize>& launcherIconSizes();

    } // namespace Internal
} // namespace PWA
} // namespace Orvane
