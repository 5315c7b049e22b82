#pragma once

#include <QImage>
#include <QString>

// Generated icons for sites that have none: a square in one of eight colour
// gradients with a single white capital letter, sized like an application-grid
// icon of the platform theme. Paint on the GUI thread only (fonts and theme).
namespace LetterIcon
{
// The icon for the first character of letter, upper-cased; an empty text gives
// a plain square. The colours are picked at random on every call.
QImage image(const QString& letter);
// The same icon as "data:image/png;base64,..." for places that take an icon URL.
QString dataUrl(const QString& letter);
} // namespace LetterIcon
