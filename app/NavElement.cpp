#include "app/NavElement.h"

#include "base/ImageView.h"
#include "base/Localization.h"

using namespace Qt::StringLiterals;

namespace {

struct Description
{
    NavElementType type;
    const char16_t *rawValue;
    const char16_t *nameKey;
    const char16_t *imageName;
};

constexpr std::array descriptions{
    Description{NavElementType::Books, u"Books", u"books", u"quillo_buch"},
    Description{NavElementType::MyTitles, u"MyTitles", u"my_titles", u"quilo_gesamtansicht"},
    Description{NavElementType::Games, u"Games", u"games", u"quilo_spiel"},
    Description{NavElementType::LearningMaterials, u"LearningMaterials", u"learningMaterials",
                u"quillo_lernmaterial"},
    Description{NavElementType::Music, u"Music", u"music", u"quilo_musik"},
    Description{NavElementType::Archive, u"Archive", u"archive", u"Archivicon"},
    Description{NavElementType::Videos, u"Videos", u"videos", u"quillo_video"},
    Description{NavElementType::Shop, u"Shop", u"shop", u"quillo_shop"},
    Description{NavElementType::Storage, u"Storage", u"storage", u"quillo_quillo_small"},
    Description{NavElementType::Divider, u"Divider", u"", u""}};

const Description &description(NavElementType type)
{
    return descriptions.at(static_cast<size_t>(type));
}

} // namespace

QString rawValue(NavElementType type)
{
    return QString::fromUtf16(description(type).rawValue);
}

QString nameKey(NavElementType type)
{
    return QString::fromUtf16(description(type).nameKey);
}

NavElement navElement(NavElementType type)
{
    if (isDivider(type))
        return {};
    return {localized(nameKey(type)), shippedIcon(QString::fromUtf16(description(type).imageName)),
            type};
}
