#pragma once

#include <QIcon>
#include <QString>

#include <array>

#pragma GCC diagnostic push
// A case and a kind of record share the name Archive.
#pragma GCC diagnostic ignored "-Wshadow"

/// The categories of the sidebar. Each case's raw value is its name.
enum class NavElementType {
    Books,
    MyTitles,
    Games,
    LearningMaterials,
    Music,
    Archive,
    Videos,
    Shop,
    Storage,
    Divider
};

#pragma GCC diagnostic pop

/// The categories from top to bottom of the sidebar.
inline constexpr std::array navCategories{
    NavElementType::MyTitles, NavElementType::Books,
    NavElementType::Games,    NavElementType::LearningMaterials,
    NavElementType::Archive,  NavElementType::Music,
    NavElementType::Videos,   NavElementType::Shop,
    NavElementType::Storage};

[[nodiscard]] QString rawValue(NavElementType type);
[[nodiscard]] constexpr bool isDivider(NavElementType type)
{
    return type == NavElementType::Divider;
}

/// One row of the sidebar. A divider has neither name nor image.
class NavElement
{
public:
    QString name;
    QIcon image;
    NavElementType type = NavElementType::Divider;
};

/// The key of a category's name; empty for the divider.
[[nodiscard]] QString nameKey(NavElementType type);
/// The row of a category with its name in the current language.
[[nodiscard]] NavElement navElement(NavElementType type);
