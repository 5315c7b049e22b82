#include "lettericon.h"

#include "theme.h"

#include <QBuffer>
#include <QColor>
#include <QPainter>
#include <QRadialGradient>
#include <QRandomGenerator>
#include <QVector>

#include <cmath>

namespace
{
struct GradientPair {
    QColor centre;
    QColor rim;
};

// Built before main runs: eight (centre, rim) pairs, in the order the launcher uses.
const QVector<GradientPair> gradients = {
    { QColor(0xE1, 0x54, 0x2E), QColor(0xE1, 0x2E, 0x54) },
    { QColor(0x53, 0xAF, 0x04), QColor(0x07, 0xA2, 0x33) },
    { QColor(0xAB, 0x25, 0xD0), QColor(0x8A, 0x29, 0xE4) },
    { QColor(0x54, 0x65, 0x6F), QColor(0x4A, 0x4B, 0x5A) },
    { QColor(0xE5, 0x97, 0x04), QColor(0xE5, 0x7E, 0x01) },
    { QColor(0x1B, 0xA4, 0xE5), QColor(0x3A, 0x7A, 0xE5) },
    { QColor(0x14, 0x7B, 0xE5), QColor(0x5A, 0x4D, 0xE5) },
    { QColor(0x01, 0xB5, 0xB8), QColor(0x02, 0x9A, 0xB8) },
};
} // namespace

QImage LetterIcon::image(const QString& letter)
{
    const int side = static_cast<int>(Theme::instance()->iconSizeLauncher());
    QImage icon(qMax(side, 1), qMax(side, 1), QImage::Format_ARGB32);
    icon.fill(Qt::transparent);
    QPainter painter(&icon);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);

    const GradientPair& pair = gradients.at(QRandomGenerator::global()->bounded(gradients.size()));
    // Centred on the top-left corner with a radius reaching the opposite one.
    QRadialGradient gradient(QPointF(0, 0), side * std::sqrt(2.0));
    gradient.setColorAt(0.0, pair.centre);
    gradient.setColorAt(1.0, pair.rim);
    const QRect square(QPoint(0, 0), QPoint(side - 1, side - 1));
    painter.setPen(Qt::NoPen);
    painter.setBrush(gradient);
    painter.drawRect(square);

    // Without this family installed, Qt's font matching picks the fallback.
    QFont font(QStringLiteral("ALS Hauss"));
    font.setWeight(QFont::Bold);
    font.setPixelSize(qMax(static_cast<int>(Theme::instance()->dp(45.0)), 1));
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(square, Qt::AlignCenter, letter.left(1).toUpper());
    painter.end();
    return icon;
}

QString LetterIcon::dataUrl(const QString& letter)
{
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    image(letter).save(&buffer, "PNG");
    return QStringLiteral("data:image/png;base64,") + QString::fromLatin1(png.toBase64());
}
