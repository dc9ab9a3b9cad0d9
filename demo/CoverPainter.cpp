#include "demo/CoverPainter.h"

#include "demo/DemoTitles.h"
#include "demo/DemoWords.h"

#include <QBuffer>
#include <QColor>
#include <QFont>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

#include <array>
#include <cmath>
#include <numbers>

using namespace Qt::StringLiterals;

namespace {

// All drawing is in this space and scaled to the picture.
constexpr double width = 600;
constexpr double height = 800;

struct Palette
{
    QRgb skyTop;
    QRgb skyBottom;
    QRgb light;
    QRgb far;
    QRgb near;
    bool night;
};

constexpr std::array palettes = {
    Palette{0xff8fd3e8, 0xfffdf2d0, 0xffffd166, 0xff5fb49c, 0xff2f7f6f, false},
    Palette{0xffffb88a, 0xfffff0d9, 0xfffff3b0, 0xffd9776a, 0xff8f4a5a, false},
    Palette{0xff1f2a56, 0xff5a6fb0, 0xfff6f1d5, 0xff31407a, 0xff1a2148, true},
    Palette{0xffb9e0c5, 0xfff6f9e4, 0xffffc857, 0xff7fb069, 0xff41704a, false},
    Palette{0xff2b2347, 0xffa0628f, 0xffffe8c2, 0xff5d3d73, 0xff2e1f47, true},
    Palette{0xff6db5c8, 0xffe4f4f6, 0xffffffff, 0xff0098b0, 0xff05667a, false},
};

void paintSky(QPainter &painter, const Palette &palette)
{
    QLinearGradient sky(0, 0, 0, height);
    sky.setColorAt(0, QColor(palette.skyTop));
    sky.setColorAt(1, QColor(palette.skyBottom));
    painter.fillRect(QRectF(0, 0, width, height), sky);
}

void paintLights(QPainter &painter, const Palette &palette, DemoRandom &random)
{
    painter.setBrush(QColor(palette.light));
    const double radius = 50 + random.below(40);
    const QPointF centre(110 + random.below(380), 330 + random.below(80));
    QPainterPath disc;
    disc.addEllipse(centre, radius, radius);
    if (!palette.night) {
        painter.drawPath(disc);
        return;
    }
    QPainterPath shadow;
    shadow.addEllipse(centre + QPointF(radius * 0.4, -radius * 0.2), radius * 0.8, radius * 0.8);
    painter.drawPath(disc.subtracted(shadow));
    for (int i = 0; i < 40; ++i) {
        const double size = 1.5 + random.below(3);
        painter.drawEllipse(QPointF(random.below(600), 250 + random.below(300)), size, size);
    }
}

void paintClouds(QPainter &painter, DemoRandom &random)
{
    painter.setBrush(QColor(255, 255, 255, 150));
    for (int i = 0; i < 3; ++i) {
        const QPointF at(60 + random.below(480), 280 + random.below(160));
        painter.drawEllipse(at, 60, 22);
        painter.drawEllipse(at + QPointF(-28, -14), 30, 22);
        painter.drawEllipse(at + QPointF(18, -20), 36, 28);
    }
}

void paintHills(QPainter &painter, QRgb colour, double top, double swing, DemoRandom &random)
{
    const double phase = random.below(628) / 100.0;
    const double waves = 1.2 + random.below(100) / 80.0;
    QPainterPath hills(QPointF(0, height));
    for (double x = 0; x <= width; x += 10) {
        const double angle = phase + x / width * waves * 2 * std::numbers::pi;
        hills.lineTo(x, top + swing * std::sin(angle));
    }
    hills.lineTo(width, height);
    painter.setBrush(QColor(colour));
    painter.drawPath(hills);
}

void paintTree(QPainter &painter, const QPointF &foot, double size)
{
    QPolygonF crown;
    crown << foot + QPointF(0, -size * 2.4) << foot + QPointF(-size * 0.7, -size * 0.4)
          << foot + QPointF(size * 0.7, -size * 0.4);
    painter.drawRect(
        QRectF(foot.x() - size * 0.09, foot.y() - size * 0.4, size * 0.18, size * 0.5));
    painter.drawPolygon(crown);
}

void paintHouse(QPainter &painter, const QPointF &foot, double size, const QColor &window)
{
    painter.drawRect(QRectF(foot.x() - size / 2, foot.y() - size, size, size));
    QPolygonF roof;
    roof << foot + QPointF(-size * 0.65, -size) << foot + QPointF(0, -size * 1.7)
         << foot + QPointF(size * 0.65, -size);
    painter.drawPolygon(roof);
    painter.setBrush(window);
    painter.drawRect(QRectF(foot.x() - size * 0.15, foot.y() - size * 0.7, size * 0.3, size * 0.3));
}

void paintVillage(QPainter &painter, const Palette &palette, DemoRandom &random)
{
    const QColor dark = QColor(palette.near).darker(125);
    for (int i = 0; i < 6; ++i) {
        const QPointF foot(40 + i * 100 + random.below(50), 620 + random.below(90));
        painter.setBrush(dark);
        if (random.below(3) == 0)
            paintHouse(painter, foot, 46 + random.below(24), QColor(palette.light));
        else
            paintTree(painter, foot, 30 + random.below(30));
    }
}

QFont coverFont(int pixels, bool bold)
{
    QFont font(u"sans-serif"_s);
    font.setPixelSize(pixels);
    font.setBold(bold);
    return font;
}

/// The largest size at which the name fits its box.
QFont nameFont(const QPainter &painter, const QString &name, const QRectF &box)
{
    for (int pixels = 62; pixels > 26; pixels -= 4) {
        const QFont font = coverFont(pixels, true);
        const QRectF needed = QFontMetricsF(font, painter.device())
                                  .boundingRect(box, Qt::TextWordWrap | Qt::AlignCenter, name);
        if (needed.height() <= box.height() && needed.width() <= box.width())
            return font;
    }
    return coverFont(26, true);
}

void paintTexts(QPainter &painter, const DemoTitle &title, const Palette &palette)
{
    const QColor ink = palette.night ? QColor(palette.light) : QColor(palette.near).darker(150);
    const QRectF nameBox(40, 50, width - 80, 200);
    painter.setPen(ink);
    painter.setFont(nameFont(painter, title.name, nameBox));
    painter.drawText(nameBox, Qt::TextWordWrap | Qt::AlignCenter, title.name);
    painter.setPen(Qt::white);
    painter.setFont(coverFont(26, false));
    painter.drawText(QRectF(40, 730, width - 80, 36), Qt::AlignCenter, title.author);
}

} // namespace

QByteArray paintCover(const DemoTitle &title, const QSize &size)
{
    DemoRandom random(quint32(title.mid) * 2654435761U);
    const Palette &palette = palettes[size_t(random.below(int(palettes.size())))];
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size.width() / width, size.height() / height);
    painter.setPen(Qt::NoPen);
    paintSky(painter, palette);
    paintLights(painter, palette, random);
    if (!palette.night)
        paintClouds(painter, random);
    paintHills(painter, palette.far, 540, 46, random);
    paintHills(painter, palette.near, 640, 34, random);
    paintVillage(painter, palette, random);
    paintTexts(painter, title, palette);
    painter.end();

    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return png;
}
