#include "library/BaseElement.h"

#include "tests/support/Printers.h"
#include "tests/support/Rows.h"
#include "tests/support/Traces.h"

using namespace Qt::StringLiterals;

namespace {

/// Everything a text can set, for comparing.
QString fields(const BaseElement &e)
{
    return QStringList({e.id, e.mid, e.name, e.publisher, e.author, QString::number(e.bookVersion),
                        e.url, e.thumbMd5, e.fileMd5, e.bookAreaCode, e.isbn, e.volume,
                        QString::number(e.publisherId), e.type ? rawValue(*e.type) : u"none"_s,
                        rawValue(e.downloadType), e.image ? e.image->path : u"no cover"_s})
        .join(u'|');
}

BaseElement parse(const QString &content)
{
    return BaseElement::parseTextFile(content);
}

const QString wholeText = u"Id: 00042_en\nName: Der kleine Drache\nPublisher: Verlag\n"
                          u"Author: A. Autorin\nBook Version: 3\nURL: title/42\nThumbMD5: aa\n"
                          u"FileMD5: bb\nBook Area Code: en\nType: Buch\nISBN: 978-3\n"_s;

} // namespace

TEST(MetadataText, SetsEveryFieldWhateverEndsItsLines)
{
    for (const QString &end : {u"\n"_s, u"\r\n"_s, u"\r"_s, u"\u2028"_s}) {
        QString text = wholeText;
        text.replace(u"\n"_s, end).chop(end.size());
        EXPECT_EQ(fields(parse(text)),
                  u"00042_en|00042|Der kleine Drache|Verlag|A. Autorin|3|title/42|aa|bb|en|978-3||"
                  u"0|Book|UpToDate|no cover"_s);
    }
}

TEST(MetadataText, LinesGiveTheirValues)
{
    struct Row
    {
        const char *name;
        QString text;
        QString BaseElement::*field;
        QString value;
    };
    const QString nul(QChar(u'\0'));
    forEachRow<Row>(
        {{"NoBlank", u"Name:Drache"_s, &BaseElement::name, u"Drache"_s},
         {"NoValue", u"Name: Drache\nName:"_s, &BaseElement::name, u""_s},
         {"SecondColon", u"Name: Reise: Teil 2"_s, &BaseElement::name, u"Reise"_s},
         {"BlankBefore", u" Name: Drache"_s, &BaseElement::name, u""_s},
         {"UnknownKey", u"Title: Drache\nNames: x\nName"_s, &BaseElement::name, u""_s},
         {"LaterLineWins", u"Name: a\nISBN: 1\nName: b"_s, &BaseElement::name, u"b"_s},
         {"NulInside", u"Name: a"_s + nul + u"b"_s, &BaseElement::name, u"a"_s + nul + u"b"_s},
         {"IdWithSeveral", u"Id: 7__x_en"_s, &BaseElement::mid, u"7"_s},
         {"IdThatBeginsWithIt", u"Id: _42_en"_s, &BaseElement::mid, u"42"_s},
         {"IdWithout", u"Id: 1_en\nId: 42"_s, &BaseElement::mid, u"1"_s},
         {"LaterIdWins", u"Id: 1_en\nId: 42"_s, &BaseElement::id, u"42"_s}},
        [](const Row &row) { EXPECT_EQ(parse(row.text).*row.field, row.value); });
}

TEST(MetadataText, TypeIsFoundAnywhereInTheValue)
{
    const QList<std::pair<QString, std::optional<ElementType>>> rows = {
        {u"Type: buch"_s, std::nullopt},
        {u"Type: Kinder-Buch 2"_s, ElementType::Book},
        {u"Type: Spiel und Buch"_s, ElementType::Book},
        {u"Type: Spielbuch"_s, ElementType::Game},
        {u"Type: Archiv Spiel"_s, ElementType::Game},
        {u"Type: x: Buch"_s, std::nullopt},
        {u"Type: Spiel\nType: Heft"_s, ElementType::Game},
    };
    for (const auto &[line, type] : rows)
        EXPECT_EQ(parse(line).type, type) << line.toStdString();
}

TEST(MetadataText, BookVersionIsADecimalIntegerOrTold)
{
    EXPECT_EQ(parse(u"Book Version: 5\nBook Version: -3"_s).bookVersion, -3);
    for (const QString &value : {u"x"_s, u""_s, u"9223372036854775808"_s})
        EXPECT_EQ(printedBy([&value] {
                      EXPECT_EQ(parse(u"Book Version: 5\nBook Version: "_s + value).bookVersion, 5);
                  }),
                  QStringList(u"\"Not a book version: "_s + value + u'"'));
}

TEST(MetadataText, WrittenTextHasSevenLines)
{
    EXPECT_EQ(parse(wholeText).textFileContent(),
              u"Name: Der kleine Drache\nPublisher: Verlag\nAuthor: A. Autorin\n"
              u"Book Area Code: en\nISBN: 978-3\nType: Buch\nBook Version: 3\n"_s);
    EXPECT_EQ(BaseElement().textFileContent(),
              u"Name: \nPublisher: \nAuthor: \nBook Area Code: \nISBN: \nType: \n"
              u"Book Version: 0\n"_s);
}

TEST(MetadataText, WrittenTypesReadBack)
{
    for (const auto type : {ElementType::Book, ElementType::Game, ElementType::Archive,
                            ElementType::LearningMaterial}) {
        BaseElement element;
        element.type = type;
        EXPECT_EQ(parse(element.textFileContent()).type, type);
        EXPECT_EQ(elementType(rawValue(type)), type);
    }
    EXPECT_EQ(elementType(u"book"_s), std::nullopt);
}

TEST(Kinds, CopyWhatTheViewsNeed)
{
    BaseElement element = parse(wholeText);
    element.volume = u"7"_s;
    element.publisherId = 8;
    element.image = CoverImage{u"/cover"_s, {1, 2}, 3, 4};
    element.downloadType = DownloadType::Failed;
    for (const BaseElement &copy :
         {BaseElement(Book(element)), BaseElement(Game(element)), BaseElement(Archive(element)),
          BaseElement(LearningMaterial(element))})
        EXPECT_EQ(fields(copy), u"00042_en||Der kleine Drache|Verlag|A. Autorin|3||||en|978-3||0|"
                                u"Book|UpToDate|/cover"_s);
}
