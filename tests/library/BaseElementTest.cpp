#include "library/BaseElement.h"

#include "tests/support/Printers.h"
#include "tests/support/Traces.h"

using namespace Qt::StringLiterals;

namespace {

/// What single lines give.
QString values(const BaseElement &e)
{
    return QStringList({e.id, e.mid, e.name, e.type ? rawValue(*e.type) : u"none"_s}).join(u'|');
}

/// Everything a text can set, for comparing.
QString fields(const BaseElement &e)
{
    return QStringList({values(e), e.publisher, e.author, QString::number(e.bookVersion), e.url,
                        e.thumbMd5, e.fileMd5, e.bookAreaCode, e.isbn, e.volume,
                        QString::number(e.publisherId), rawValue(e.downloadType),
                        e.image ? e.image->path : u"no cover"_s})
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
                  u"00042_en|00042|Der kleine Drache|Book|Verlag|A. Autorin|3|title/42|aa|bb|en|"
                  u"978-3||0|UpToDate|no cover"_s);
    }
}

TEST(MetadataText, LinesGiveTheirValues)
{
    const std::pair<QString, QString> rows[] = {
        {u"Name:Drache"_s, u"||Drache|none"_s},
        {u"Name: Drache\nName:"_s, u"|||none"_s},
        {u"Name: Reise: Teil 2"_s, u"||Reise|none"_s},
        {u" Name: Drache"_s, u"|||none"_s},
        {u"Title: Drache\nNames: x\nName"_s, u"|||none"_s},
        {u"Name: a\nISBN: 1\nName: b"_s, u"||b|none"_s},
        {u"Name: a\0b"_s, u"||a\0b|none"_s},
        {u"Id: 7__x_en"_s, u"7__x_en|7||none"_s},
        {u"Id: _42_en"_s, u"_42_en|42||none"_s},
        {u"Id: 1_en\nId: 42"_s, u"42|1||none"_s},
        {u"Type: Kinder-Buch 2"_s, u"|||Book"_s},
        {u"Type: Spiel und Buch"_s, u"|||Book"_s},
        {u"Type: Spielbuch"_s, u"|||Game"_s},
        {u"Type: Archiv Spiel"_s, u"|||Game"_s},
        {u"Type: Spiel\nType: Heft"_s, u"|||Game"_s},
    };
    for (const auto &[text, expected] : rows)
        EXPECT_EQ(values(parse(text)), expected) << text.toStdString();
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

TEST(MetadataText, WrittenTextHasSevenLinesAndReadsBack)
{
    EXPECT_EQ(parse(wholeText).textFileContent(),
              u"Name: Der kleine Drache\nPublisher: Verlag\nAuthor: A. Autorin\n"
              u"Book Area Code: en\nISBN: 978-3\nType: Buch\nBook Version: 3\n"_s);
    BaseElement element;
    EXPECT_EQ(element.textFileContent(),
              u"Name: \nPublisher: \nAuthor: \nBook Area Code: \nISBN: \n"
              u"Type: \nBook Version: 0\n"_s);
    for (const QString &kind : {u"Book"_s, u"Game"_s, u"Archive"_s, u"LearningMaterial"_s}) {
        element.type = elementType(kind);
        EXPECT_EQ(values(parse(element.textFileContent())), u"|||"_s + kind);
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
        EXPECT_EQ(fields(copy),
                  u"00042_en||Der kleine Drache|Book|Verlag|A. Autorin|3||||en|978-3||0|"
                  u"UpToDate|/cover"_s);
}
