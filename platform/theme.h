#pragma once

#include <QObject>

// The UI toolkit's metrics, derived from the primary screen. The device toolkit
// scales everything from a 1x reference density; the desktop does the same from
// the screen's logical DPI so that sizes look alike on both.
class Theme : public QObject
{
    Q_OBJECT
public:
    static Theme* instance();

    // Side of an application-grid icon in device pixels.
    Q_INVOKABLE double iconSizeLauncher() const;
    // Converts a size given in density-independent pixels to device pixels.
    Q_INVOKABLE double dp(double value) const;
    // Device pixels per density-independent pixel.
    double pixelRatio() const;

private:
    explicit Theme(QObject* parent = nullptr);
};
