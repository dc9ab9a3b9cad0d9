#include "base/ContentPalette.h"

#include "base/ColorConstants.h"

namespace {

void setTextColor(QPalette &palette, QPalette::ColorGroup group, const QColor &color)
{
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(group, role, color);
}

} // namespace

QPalette contentPalette()
{
    const QColor greyText(112, 122, 126);
    QPalette palette(QColor(238, 243, 244), Qt::white);
    setTextColor(palette, QPalette::Active, ColorConstants::textColor());
    setTextColor(palette, QPalette::Inactive, ColorConstants::textColor());
    setTextColor(palette, QPalette::Disabled, greyText);
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::AlternateBase, ColorConstants::lightCGColor());
    palette.setColor(QPalette::Highlight, ColorConstants::selectionColor());
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, ColorConstants::selectionColor());
    palette.setColor(QPalette::LinkVisited, ColorConstants::selectionColor());
    palette.setColor(QPalette::PlaceholderText, greyText);
    return palette;
}
