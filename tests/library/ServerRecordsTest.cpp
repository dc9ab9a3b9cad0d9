#include "library/BaseElement.h"

#include "tests/support/Printers.h"
#include "tests/support/Rows.h"
#include "tests/support/Traces.h"

using namespace Qt::StringLiterals;

namespace {

const QByteArray title = R"({"title":"Drache","author":"A","isbn":"978","mid":42,
    "bookAreaCode":"en","volume":2,"mediaType":"Buch",
    "publisher":{"publisherId":7,"name":"Verlag"}})";

ElementList records(const QByteArray &media, const QByteArray &versions = "[]")
{
    return BaseElement::elementsFromServer(media, versions);
}

/// The one record of a media document with one object.
BaseElement record(const QByteArray &object, const QByteArray &versions = "[]")
{
    const ElementList list = records('[' + object + ']', versions);
    EXPECT_EQ(list.size(), 1) << object.constData();
    return list.isEmpty() ? BaseElement() : *list.first();
}

/// `title` with one piece of it replaced.
QByteArray changed(const QByteArray &before, const QByteArray &after)
{
    QByteArray object = title;
    EXPECT_TRUE(object.contains(before));
    return object.replace(before, after);
}

const QString noVersion = u"The Book: DracheMID: 42 is not provided with current version from the "
                          u"Server, therfore its version was set to 1!"_s;

} // namespace

TEST(ServerRecords, TakeEveryField)
{
    const BaseElement element = record(title, R"([{"00042":3}])");
    EXPECT_EQ(QStringList({element.id, element.mid, element.name, element.author, element.isbn,
                           element.bookAreaCode, element.volume, element.publisher}),
              QStringList({u"00042_en"_s, u"42"_s, u"Drache"_s, u"A"_s, u"978"_s, u"en"_s, u"2"_s,
                           u"Verlag"_s}));
    EXPECT_EQ(element.bookVersion, 3);
    EXPECT_EQ(element.type, ElementType::Book);
    EXPECT_EQ(element.publisherId, 7);
    EXPECT_EQ(element.downloadType, DownloadType::UpToDate);
    EXPECT_EQ(record(changed("42", "9007199254740993")).mid, u"9007199254740993"_s);
}

TEST(ServerRecords, BrokenDocumentsGiveNoneAndNoLine)
{
    const QByteArray one = '[' + title + ']';
    const std::pair<QByteArray, QByteArray> rows[] = {{"", "[]"},
                                                      {one, ""},
                                                      {one, "{\"00042\":3}"}, // no array
                                                      {'[' + title + ",7]", "[]"},
                                                      {'[' + title, "[]"},
                                                      {QByteArray(5000, '['), "[]"}, // too deep
                                                      {"[{\"title\":\"\xff\",\"mid\":1}]", "[]"}};
    const auto read = [&rows] {
        for (const auto &[media, versions] : rows)
            EXPECT_TRUE(records(media, versions).isEmpty()) << media.constData();
    };
    EXPECT_EQ(printedBy(read), QStringList());
}

TEST(ServerRecords, VersionIsTheLastObjects)
{
    struct Row
    {
        const char *name;
        qint64 version;
        int lines; ///< that say it was set to 1
        bool told = false;
    };
    forEachRow<Row>({{"[]", 0, 0},
                     {R"([{"42":3}])", 1, 1},
                     {R"([{"00042":3},{"00042":2}])", 2, 0, true},
                     {R"([{"00042":3},{}])", 1, 1},
                     {R"([{},{"00042":3}])", 3, 1, true},
                     {R"([{"00042":"3"}])", 1, 1},
                     {R"([{"00042":null}])", 1, 1},
                     {R"([{"00042":0}])", 0, 0, true},
                     {R"([{"00042":-1}])", -1, 0}},
                    [](const Row &row) {
                        EXPECT_EQ(printedBy([&row] {
                                      const BaseElement element = record(title, row.name);
                                      EXPECT_EQ(element.bookVersion, row.version);
                                      EXPECT_EQ(element.isVersionTold, row.told);
                                  }),
                                  QStringList(row.lines, noVersion));
                    });
}

TEST(ServerRecords, UnusableTitlesAreSkippedAlone)
{
    const std::pair<QByteArray, QByteArray> rows[] = {{R"("mid")", R"("MID")"},
                                                      {"42", R"("42")"},
                                                      {"42", "42.5"},
                                                      {"42", "-42"},
                                                      {R"("en")", R"("/../../en")"},
                                                      {R"("en")", R"("en\n")"},
                                                      {R"("en")", R"("abcdefghijklmnopq")"},
                                                      {R"("en")", R"("ä")"}};
    for (const auto &[before, after] : rows) {
        const QByteArray array =
            changed("42", "1") + ',' + changed(before, after) + ',' + changed("42", "2");
        ElementList list;
        EXPECT_EQ(
            printedBy([&] { list = records('[' + array + ']'); }),
            QStringList(
                u"\"Skipping a title from the server without usable mid or bookAreaCode.\""_s));
        ASSERT_EQ(list.size(), 2) << after.constData();
        EXPECT_EQ(list.first()->mid + list.last()->mid, u"12"_s);
    }
}

TEST(ServerRecords, OtherKeysFallBackToInitialValues)
{
    const BaseElement bare = record(R"({"mid":42,"bookAreaCode":"en"})");
    EXPECT_EQ(bare.id, u"00042_en"_s);
    EXPECT_EQ(bare.name + bare.author + bare.isbn + bare.volume + bare.publisher, QString());
    EXPECT_EQ(bare.publisherId, 0);
    EXPECT_FALSE(bare.type);

    const BaseElement wrong = record(R"({"title":1,"author":null,"isbn":[],"mid":42,
        "bookAreaCode":"en","volume":"2","mediaType":7,"publisher":"Verlag"})");
    EXPECT_EQ(wrong.name + wrong.author + wrong.isbn + wrong.volume + wrong.publisher, QString());
    EXPECT_EQ(record(changed(R"("publisherId":7)", R"("publisherId":"7")")).publisherId, 0);
    EXPECT_EQ(record(changed(R"("Verlag")", "1")).publisherId, 7);
    for (const char *word : {"Buch ", "Kinderbuch"})
        EXPECT_EQ(record(changed("Buch", word)).type, std::nullopt) << word;
}

TEST(ServerRecords, TextsStayOnOneLine)
{
    for (const char *text : {"Drache", "978", "Verlag", R"("A")"}) {
        for (const char *end :
             {R"(\n)", R"(\r)", R"(\u000b)", R"(\f)", R"(\u0085)", R"(\u2028)", R"(\u2029)"}) {
            const QByteArray broken = QByteArray(text).insert(2, QByteArray(end) + "Id: 00099_en");
            const QString metadata = record(changed(text, broken)).textFileContent();
            EXPECT_EQ(metadata.count(u" Id: 00099_en"_s), 1) << text << end;
            EXPECT_EQ(BaseElement::parseTextFile(metadata).id, QString()) << text << end;
        }
    }
}
