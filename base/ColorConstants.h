#pragma once

#include <QColor>

/// The program's colours, each made once on first use.
class ColorConstants
{
public:
    /// The accent colour, for the toolkit and as a plain colour value.
    [[nodiscard]] static const QColor &mainColor()
    {
        static const QColor color = QColor::fromRgbF(0.0F, 0.5961F, 0.6902F);
        return color;
    }
    [[nodiscard]] static const QColor &mainCGColor() { return mainColor(); }

    /// The lighter tint.
    [[nodiscard]] static const QColor &lightCGColor()
    {
        static const QColor color = QColor::fromRgbF(0.4275F, 0.7098F, 0.7843F);
        return color;
    }

    /// A darker accent that white text can be read on.
    [[nodiscard]] static const QColor &selectionColor()
    {
        static const QColor color(0, 102, 120);
        return color;
    }

    /// Behind a message to the person.
    [[nodiscard]] static const QColor &messageColor()
    {
        static const QColor color(255, 243, 205);
        return color;
    }

    /// Text on white, on the tint and on a message.
    [[nodiscard]] static const QColor &textColor()
    {
        static const QColor color(24, 34, 38);
        return color;
    }
};
