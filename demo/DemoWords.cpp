#include "demo/DemoWords.h"

#include "library/BaseElement.h"

#include <array>

using namespace Qt::StringLiterals;

namespace {

struct Hero
{
    QString article;
    QString german;
    QString english;
};

struct Place
{
    QString inGerman; ///< with its preposition
    QString english;
};

struct Quality
{
    QString german; ///< as it stands behind an article
    QString english;
};

const std::array heroes = {
    Hero{u"Der"_s, u"Dachs"_s, u"Badger"_s},           Hero{u"Die"_s, u"Eule"_s, u"Owl"_s},
    Hero{u"Das"_s, u"Luftschiff"_s, u"Airship"_s},     Hero{u"Der"_s, u"Otter"_s, u"Otter"_s},
    Hero{u"Die"_s, u"Laterne"_s, u"Lantern"_s},        Hero{u"Das"_s, u"Murmeltier"_s, u"Marmot"_s},
    Hero{u"Der"_s, u"Zaunkönig"_s, u"Wren"_s},         Hero{u"Die"_s, u"Schnecke"_s, u"Snail"_s},
    Hero{u"Das"_s, u"Papierboot"_s, u"Paper Boat"_s},  Hero{u"Der"_s, u"Teekessel"_s, u"Kettle"_s},
    Hero{u"Die"_s, u"Dampflok"_s, u"Steam Engine"_s},  Hero{u"Das"_s, u"Tandem"_s, u"Tandem"_s},
    Hero{u"Der"_s, u"Kompass"_s, u"Compass"_s},        Hero{u"Die"_s, u"Robbe"_s, u"Seal"_s},
    Hero{u"Das"_s, u"Orgelpferd"_s, u"Organ Horse"_s}, Hero{u"Der"_s, u"Biber"_s, u"Beaver"_s},
};

const std::array places = {
    Place{u"im Wolkenhafen"_s, u"Cloud Harbour"_s},
    Place{u"vom Apfelberg"_s, u"Apple Hill"_s},
    Place{u"im Nebelmoor"_s, u"Misty Moor"_s},
    Place{u"im Laternental"_s, u"Lantern Vale"_s},
    Place{u"in der Muschelbucht"_s, u"Cockle Bay"_s},
    Place{u"am Kupferbach"_s, u"Copper Brook"_s},
    Place{u"im Sternenturm"_s, u"Star Tower"_s},
    Place{u"auf der Windinsel"_s, u"Breezy Isle"_s},
    Place{u"im Birkenwinkel"_s, u"Birch Corner"_s},
    Place{u"am Mondsteg"_s, u"Moon Pier"_s},
    Place{u"in der Uhrengasse"_s, u"Clock Lane"_s},
    Place{u"hinter der Honigmühle"_s, u"Honey Mill"_s},
};

const std::array qualities = {
    Quality{u"mutige"_s, u"Brave"_s},       Quality{u"leise"_s, u"Quiet"_s},
    Quality{u"neugierige"_s, u"Curious"_s}, Quality{u"flinke"_s, u"Nimble"_s},
    Quality{u"verträumte"_s, u"Dreamy"_s},  Quality{u"windschiefe"_s, u"Crooked"_s},
    Quality{u"fröhliche"_s, u"Merry"_s},    Quality{u"gepunktete"_s, u"Spotted"_s},
    Quality{u"schläfrige"_s, u"Sleepy"_s},  Quality{u"wetterfeste"_s, u"Weatherproof"_s},
    Quality{u"ungeduldige"_s, u"Hasty"_s},  Quality{u"silbergraue"_s, u"Silver"_s},
};

const std::array germanGames = {u"Das große Quiz %1"_s, u"Suchen und Lauschen %1"_s,
                                u"Rätselstunde %1"_s, u"Wettlauf %1"_s, u"Ton um Ton %1"_s};
const std::array englishGames = {u"The Great %1 Quiz"_s, u"Seek and Hear at %1"_s,
                                 u"A Riddle Trip to %1"_s, u"The %1 Race"_s,
                                 u"Note by Note at %1"_s};
const std::array germanLessons = {u"Zählen %1"_s, u"Erste Wörter %1"_s, u"Uhr und Zeit %1"_s,
                                  u"Hören und Staunen %1"_s, u"Unser Wetter %1"_s};
const std::array englishLessons = {u"Counting at %1"_s, u"First Words from %1"_s,
                                   u"Telling the Time at %1"_s, u"Listen and Wonder at %1"_s,
                                   u"The Weather at %1"_s};
const std::array germanArchives = {u"Klangsammlung %1"_s, u"Alte Lieder %1"_s, u"Stimmen %1"_s};
const std::array englishArchives = {u"The %1 Sound Collection"_s, u"Old Songs of %1"_s,
                                    u"Voices of %1"_s};

const std::array firstNames = {u"Leonie"_s, u"Tilda"_s, u"Jonte"_s, u"Marlon"_s, u"Ottilie"_s,
                               u"Fenja"_s,  u"Ruben"_s, u"Hazel"_s, u"Edwin"_s,  u"Imke"_s};
const std::array lastNames = {u"Sandvoß"_s,   u"Thimblewick"_s, u"Haferkorn"_s,   u"Quillfeather"_s,
                              u"Brückmoor"_s, u"Pennyleaf"_s,   u"Silberzweig"_s, u"Marrowdale"_s,
                              u"Wiesentau"_s, u"Larkspindle"_s};

const std::array publishers = {
    DemoPublisher{3, u"Wolkenhafen Verlag"_s},   DemoPublisher{7, u"Papierboot & Töchter"_s},
    DemoPublisher{12, u"Lantern Lane Press"_s},  DemoPublisher{19, u"Edition Honigmühle"_s},
    DemoPublisher{28, u"Kettle & Wren Books"_s},
};

template <typename List>
const auto &oneOf(const List &list, DemoRandom &random)
{
    return list[size_t(random.below(int(list.size())))];
}

QString bookName(bool german, DemoRandom &random)
{
    const Hero &hero = oneOf(heroes, random);
    const Quality &quality = oneOf(qualities, random);
    const Place &place = oneOf(places, random);
    if (german)
        return u"%1 %2 %3 %4"_s.arg(hero.article, quality.german, hero.german, place.inGerman);
    return u"The %1 %2 of %3"_s.arg(quality.english, hero.english, place.english);
}

} // namespace

QString inventedName(ElementType type, const QString &language, DemoRandom &random)
{
    const bool german = language == u"de"_s;
    if (type == ElementType::Book)
        return bookName(german, random);
    const Place &place = oneOf(places, random);
    const QString where = german ? place.inGerman : place.english;
    switch (type) {
    case ElementType::Game:
        return (german ? oneOf(germanGames, random) : oneOf(englishGames, random)).arg(where);
    case ElementType::LearningMaterial:
        return (german ? oneOf(germanLessons, random) : oneOf(englishLessons, random)).arg(where);
    default:
        return (german ? oneOf(germanArchives, random) : oneOf(englishArchives, random)).arg(where);
    }
}

QString volumeSuffix(const QString &language, int volume)
{
    return (language == u"de"_s ? u" (Band %1)"_s : u" (Part %1)"_s).arg(volume);
}

QString inventedAuthor(DemoRandom &random)
{
    const QString &first = oneOf(firstNames, random);
    return first + u' ' + oneOf(lastNames, random);
}

DemoPublisher inventedPublisher(DemoRandom &random)
{
    return oneOf(publishers, random);
}
