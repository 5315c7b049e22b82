#include "theme.h"

#include <QGuiApplication>
#include <QScreen>

namespace
{
// Density at which one dp is one device pixel (the usual mdpi reference).
constexpr double referenceDpi = 160.0;
// Launcher icon side at the reference density.
constexpr double launcherIconDp = 86.0;
} // namespace

Theme::Theme(QObject* parent)
    : QObject(parent)
{
}

Theme* Theme::instance()
{
    static Theme* theme = new Theme;
    return theme;
}

double Theme::pixelRatio() const
{
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen)
        return 1.0;
    const double dpi = screen->physicalDotsPerInch() * screen->devicePixelRatio();
    // Desktop screens sit near 96 dpi; never scale below 1 there.
    return dpi > referenceDpi ? dpi / referenceDpi : 1.0;
}

double Theme::iconSizeLauncher() const
{
    return dp(launcherIconDp);
}

double Theme::dp(double value) const
{
    return value * pixelRatio();
}
