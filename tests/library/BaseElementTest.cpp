#include "library/BaseElement.h"

#include "tests/support/PenTest.h"
#include "tests/support/Traces.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

/// Everything a text can set, for comparing.
QStringList fields(const BaseElement &e)
{
    return {e.id,
            e.mid,
            e.name,
            e.publisher,
            e.author,
            QString::number(e.bookVersion),
            e.url,
            e.thumbMd5,
            e.fileMd5,
            e.bookAreaCode,
            e.isbn,
            e.volume,
            QString::number(e.publisherId),
            e.type ? rawValue(*e.type) : u"none"_s,
            rawValue(e.downloadType),
            e.image ? e.image->path : u"no cover"_s};
}

BaseElement parse(const QString &content)
{
    return BaseElement::parseTextFile(content);
}

const QString wholeText = u"Id: 00042_en\nName: Der kleine Drache\nPublisher: Verlag\n"
                          u"Author: A. Autorin\nBook Version: 3\nURL: title/42\nThumbMD5: aa\n"
                          u"FileMD5: bb\nBook Area Code: en\nType: Buch\nISBN: 978-3\n"_s;

} // namespace

TEST(MetadataText, SetsEveryField)
{
    EXPECT_EQ(fields(parse(wholeText)),
              QStringList({u"00042_en"_s, u"00042"_s, u"Der kleine Drache"_s, u"Verlag"_s,
                           u"A. Autorin"_s, u"3"_s, u"title/42"_s, u"aa"_s, u"bb"_s, u"en"_s,
                           u"978-3"_s, u""_s, u"0"_s, u"Book"_s, u"UpToDate"_s, u"no cover"_s}));
}

TEST(MetadataText, LineEndsMakeNoDifference)
{
    for (const QString &end : {u"\r\n"_s, u"\r"_s, u"\n\n"_s, u"\u2028"_s, u"\u0085"_s}) {
        QString text = wholeText;
        text.replace(u"\n"_s, end);
        EXPECT_EQ(fields(parse(text)), fields(parse(wholeText)));
        text.chop(end.size());
        EXPECT_EQ(fields(parse(text)), fields(parse(wholeText)));
    }
}

struct LineCase
{
    const char *name;
    QString text;
    QString BaseElement::*field;
    QString value;
};

class MetadataLine : public testing::TestWithParam<LineCase>
{
};

TEST_P(MetadataLine, GivesItsValue)
{
    const BaseElement element = parse(GetParam().text);
    EXPECT_EQ(element.*GetParam().field, GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, MetadataLine,
    testing::Values(
        LineCase{"Blanks", u"Name: \t Der kleine Drache  "_s, &BaseElement::name,
                 u"Der kleine Drache"_s},
        LineCase{"NoBlank", u"Name:Drache"_s, &BaseElement::name, u"Drache"_s},
        LineCase{"NoValue", u"Name: Drache\nName:"_s, &BaseElement::name, u""_s},
        LineCase{"SecondColon", u"Name: Reise: Teil 2"_s, &BaseElement::name, u"Reise"_s},
        LineCase{"AddressKeepsItsScheme", u"URL: https://a/b"_s, &BaseElement::url, u"https"_s},
        LineCase{"BlankBefore", u" Name: Drache"_s, &BaseElement::name, u""_s},
        LineCase{"SmallLetters", u"name: Drache"_s, &BaseElement::name, u""_s},
        LineCase{"BlankBeforeTheColon", u"Name : Drache"_s, &BaseElement::name, u""_s},
        LineCase{"NoColon", u"Name Drache"_s, &BaseElement::name, u""_s},
        LineCase{"UnknownKey", u"Title: Drache\nNames: x"_s, &BaseElement::name, u""_s},
        LineCase{"LaterLineWins", u"Name: a\nISBN: 1\nName: b"_s, &BaseElement::name, u"b"_s},
        LineCase{"OneBlankInTheKey", u"Book  Area Code: de"_s, &BaseElement::bookAreaCode, u""_s},
        LineCase{"NulInside", u"Name: a"_s + QChar(u'\0') + u"b"_s, &BaseElement::name,
                 u"a"_s + QChar(u'\0') + u"b"_s},
        LineCase{"Id", u"Id: 00042_en"_s, &BaseElement::mid, u"00042"_s},
        LineCase{"IdWithSeveral", u"Id: 7__x_en"_s, &BaseElement::mid, u"7"_s},
        LineCase{"IdThatBeginsWithIt", u"Id: _42_en"_s, &BaseElement::mid, u"42"_s},
        LineCase{"IdOfNothingElse", u"Id: 1_en\nId: __"_s, &BaseElement::mid, u"1"_s},
        LineCase{"IdWithout", u"Id: 1_en\nId: 42"_s, &BaseElement::mid, u"1"_s},
        LineCase{"LaterIdWins", u"Id: 1_en\nId: 42"_s, &BaseElement::id, u"42"_s},
        LineCase{"SmallId", u"id: 1_en"_s, &BaseElement::id, u""_s}),
    caseName);

struct TypeCase
{
    const char *name;
    QString text;
    std::optional<ElementType> type;
};

class MetadataType : public testing::TestWithParam<TypeCase>
{
};

TEST_P(MetadataType, IsFoundAnywhereInTheValue)
{
    EXPECT_EQ(parse(GetParam().text).type, GetParam().type);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, MetadataType,
    testing::Values(TypeCase{"Book", u"Type: Buch"_s, ElementType::Book},
                    TypeCase{"Game", u"Type: Spiel"_s, ElementType::Game},
                    TypeCase{"Archive", u"Type: Archiv"_s, ElementType::Archive},
                    TypeCase{"Material", u"Type: Lernmaterial"_s, ElementType::LearningMaterial},
                    TypeCase{"SmallLetters", u"Type: buch"_s, std::nullopt},
                    TypeCase{"WordWithin", u"Type: Kinder-Buch 2"_s, ElementType::Book},
                    TypeCase{"BookBeforeGame", u"Type: Spiel und Buch"_s, ElementType::Book},
                    TypeCase{"GameBook", u"Type: Spielbuch"_s, ElementType::Game},
                    TypeCase{"GameBeforeArchive", u"Type: Archiv Spiel"_s, ElementType::Game},
                    TypeCase{"AfterASecondColon", u"Type: x: Buch"_s, std::nullopt},
                    TypeCase{"UnknownKeepsTheEarlier", u"Type: Spiel\nType: Heft"_s,
                             ElementType::Game},
                    TypeCase{"EnglishName", u"Type: Book"_s, std::nullopt}),
    caseName);

TEST(MetadataText, BookVersionIsADecimalInteger)
{
    const QList<std::pair<QString, qint64>> rows = {
        {u"Book Version: 12"_s, 12},
        {u"Book Version: -3"_s, -3},
        {u"Book Version: +004"_s, 4},
        {u"Book Version: 5\nBook Version: 1"_s, 1},
        {u"Book Version: 9223372036854775807"_s, 9223372036854775807},
    };
    for (const auto &[text, version] : rows)
        EXPECT_EQ(parse(text).bookVersion, version) << qPrintable(text);
    for (const QString &value : {u"x"_s, u""_s, u"1.5"_s, u"1 2"_s, u"9223372036854775808"_s}) {
        const QStringList printed = printedBy([&value] {
            const BaseElement element = parse(u"Book Version: 5\nBook Version: "_s + value);
            EXPECT_EQ(element.bookVersion, 5) << qPrintable(value);
        });
        EXPECT_EQ(printed, QStringList(u"\"Not a book version: "_s + value + u'"'));
    }
}

TEST(MetadataText, NothingRecognisedLeavesInitialValues)
{
    for (const QString &text : {u""_s, u"no colon"_s, u":\n::\n:Name: x"_s, QString(QChar(u'\0'))})
        EXPECT_EQ(fields(parse(text)), fields(BaseElement()));
}

TEST(MetadataText, WrittenTextHasSevenLines)
{
    BaseElement element = parse(wholeText);
    EXPECT_EQ(element.textFileContent(),
              u"Name: Der kleine Drache\nPublisher: Verlag\nAuthor: A. Autorin\n"
              u"Book Area Code: en\nISBN: 978-3\nType: Buch\nBook Version: 3\n"_s);
    EXPECT_EQ(BaseElement().textFileContent(),
              u"Name: \nPublisher: \nAuthor: \nBook Area Code: \nISBN: \nType: \n"
              u"Book Version: 0\n"_s);
}

TEST(MetadataText, WrittenTextReadsBack)
{
    for (const auto type : {std::optional<ElementType>(), std::optional(ElementType::Book),
                            std::optional(ElementType::Game), std::optional(ElementType::Archive),
                            std::optional(ElementType::LearningMaterial)}) {
        BaseElement element = parse(wholeText);
        element.type = type;
        element.bookVersion = -2;
        element.volume = u"7"_s;
        element.publisherId = 8;
        BaseElement expected = element;
        expected.url = expected.thumbMd5 = expected.fileMd5 = expected.volume = QString();
        expected.publisherId = 0;
        const BaseElement back = parse(u"Id: 00042_en\n"_s + element.textFileContent());
        EXPECT_EQ(fields(back), fields(expected));
    }
}

TEST(Kinds, CopyWhatTheViewsNeed)
{
    BaseElement element = parse(wholeText);
    element.volume = u"7"_s;
    element.publisherId = 8;
    element.image = CoverImage{u"/cover"_s, {1, 2}, 3, 4};
    element.downloadType = DownloadType::Failed;
    const QStringList expected = {u"00042_en"_s, u""_s,           u"Der kleine Drache"_s,
                                  u"Verlag"_s,   u"A. Autorin"_s, u"3"_s,
                                  u""_s,         u""_s,           u""_s,
                                  u"en"_s,       u"978-3"_s,      u""_s,
                                  u"0"_s,        u"Book"_s,       u"UpToDate"_s,
                                  u"/cover"_s};
    EXPECT_EQ(fields(Book(element)), expected);
    EXPECT_EQ(fields(Game(element)), expected);
    EXPECT_EQ(fields(Archive(element)), expected);
    EXPECT_EQ(fields(LearningMaterial(element)), expected);
}

TEST(ElementTypes, AreNamedAfterTheirCases)
{
    const QStringList names = {u"Book"_s, u"Game"_s, u"Archive"_s, u"LearningMaterial"_s};
    for (const QString &name : names)
        EXPECT_EQ(rawValue(elementType(name).value()), name);
    for (const QString &text : {u"book"_s, u"Buch"_s, u""_s, u"Book "_s})
        EXPECT_EQ(elementType(text), std::nullopt);
}

TEST(ElementId, PadsTheMid)
{
    EXPECT_EQ(makeElementId(u"42"_s, u"en"_s), u"00042_en"_s);
    EXPECT_EQ(makeElementId(u"12345"_s, u"de"_s), u"12345_de"_s);
    EXPECT_EQ(makeElementId(u"123456"_s, u"de"_s), u"123456_de"_s);
    EXPECT_EQ(makeElementId(u""_s, u""_s), u"00000_"_s);
}
