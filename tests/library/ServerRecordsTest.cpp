#include "library/BaseElement.h"

#include "tests/support/PenTest.h"
#include "tests/support/Traces.h"

#include <gtest/gtest.h>

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
    EXPECT_EQ(element.id, u"00042_en"_s);
    EXPECT_EQ(element.mid, u"42"_s);
    EXPECT_EQ(element.name, u"Drache"_s);
    EXPECT_EQ(element.author, u"A"_s);
    EXPECT_EQ(element.isbn, u"978"_s);
    EXPECT_EQ(element.bookAreaCode, u"en"_s);
    EXPECT_EQ(element.bookVersion, 3);
    EXPECT_EQ(element.volume, u"2"_s);
    EXPECT_EQ(element.type, ElementType::Book);
    EXPECT_EQ(element.publisherId, 7);
    EXPECT_EQ(element.publisher, u"Verlag"_s);
    EXPECT_EQ(element.url, QString());
    EXPECT_FALSE(element.image);
    EXPECT_EQ(element.downloadType, DownloadType::UpToDate);
}

TEST(ServerRecords, KeepTheOrderAndLargeNumbers)
{
    const ElementList list = records('[' + changed("42", "123456") + ',' + title + ','
                                     + changed("42", "9007199254740993") + ']');
    ASSERT_EQ(list.size(), 3);
    EXPECT_EQ(list.at(0)->id, u"123456_en"_s);
    EXPECT_EQ(list.at(1)->id, u"00042_en"_s);
    EXPECT_EQ(list.at(2)->mid, u"9007199254740993"_s);
}

struct DocumentCase
{
    const char *name;
    QByteArray media;
    QByteArray versions;
};

class BrokenDocument : public testing::TestWithParam<DocumentCase>
{
};

TEST_P(BrokenDocument, GivesNoRecordsAndNoLine)
{
    EXPECT_EQ(
        printedBy([] { EXPECT_TRUE(records(GetParam().media, GetParam().versions).isEmpty()); }),
        QStringList());
}

INSTANTIATE_TEST_SUITE_P(
    Documents, BrokenDocument,
    testing::Values(DocumentCase{"NoMedia", "", "[]"},
                    DocumentCase{"NoVersions", '[' + title + ']', ""},
                    DocumentCase{"MediaIsAnObject", title, "[]"},
                    DocumentCase{"VersionsAreAnObject", '[' + title + ']', "{\"00042\":3}"},
                    DocumentCase{"OneIsNoObject", '[' + title + ",7]", "[]"},
                    DocumentCase{"VersionsHoldNull", '[' + title + ']', "[{},null]"},
                    DocumentCase{"Nested", "[[" + title + "]]", "[]"},
                    DocumentCase{"Cut", '[' + title, "[]"},
                    DocumentCase{"MoreBehind", '[' + title + "] x", "[]"},
                    DocumentCase{"ErrorPage", "<html>500</html>", "[]"},
                    DocumentCase{"TooDeep", QByteArray(5000, '['), "[]"},
                    DocumentCase{"InvalidUtf8", "[{\"title\":\"\xff\",\"mid\":1}]", "[]"}),
    caseName);

struct VersionCase
{
    const char *name;
    QByteArray versions;
    qint64 version;
    int lines; ///< that say it was set to 1
};

class ServerVersion : public testing::TestWithParam<VersionCase>
{
};

TEST_P(ServerVersion, IsTheLastObjects)
{
    qint64 version = -1;
    const QStringList printed =
        printedBy([&] { version = record(title, GetParam().versions).bookVersion; });
    EXPECT_EQ(version, GetParam().version);
    EXPECT_EQ(printed, QStringList(GetParam().lines, noVersion));
}

INSTANTIATE_TEST_SUITE_P(
    Documents, ServerVersion,
    testing::Values(VersionCase{"None", "[]", 0, 0}, VersionCase{"One", R"([{"00042":3}])", 3, 0},
                    VersionCase{"KeyWithoutPadding", R"([{"42":3}])", 1, 1},
                    VersionCase{"LastDecides", R"([{"00042":3},{"00042":2}])", 2, 0},
                    VersionCase{"MissingInTheLast", R"([{"00042":3},{}])", 1, 1},
                    VersionCase{"MissingInTheFirst", R"([{},{"00042":3}])", 3, 1},
                    VersionCase{"Text", R"([{"00042":"3"}])", 1, 1},
                    VersionCase{"Fraction", R"([{"00042":3.5}])", 1, 1},
                    VersionCase{"Null", R"([{"00042":null}])", 1, 1},
                    VersionCase{"Zero", R"([{"00042":0}])", 0, 0},
                    VersionCase{"Negative", R"([{"00042":-1}])", -1, 0}),
    caseName);

struct SkippedCase
{
    const char *name;
    QByteArray before;
    QByteArray after;
};

class UnusableTitle : public testing::TestWithParam<SkippedCase>
{
};

TEST_P(UnusableTitle, IsSkippedAlone)
{
    const QByteArray broken = changed(GetParam().before, GetParam().after);
    ElementList list;
    const QStringList printed = printedBy([&] {
        list = records('[' + changed("42", "1") + ',' + broken + ',' + changed("42", "2") + ']');
    });
    ASSERT_EQ(list.size(), 2);
    EXPECT_EQ(list.first()->mid + list.last()->mid, u"12"_s);
    EXPECT_EQ(printed, QStringList(u"\"Skipping a title from the server without usable mid or "
                                   u"bookAreaCode.\""_s));
}

INSTANTIATE_TEST_SUITE_P(Objects, UnusableTitle,
                         testing::Values(SkippedCase{"NoMid", R"("mid")", R"("MID")"},
                                         SkippedCase{"MidIsText", "42", R"("42")"},
                                         SkippedCase{"MidIsAFraction", "42", "42.5"},
                                         SkippedCase{"MidIsTooLarge", "42", "1e300"},
                                         SkippedCase{"MidIsNegative", "42", "-42"},
                                         SkippedCase{"NoAreaCode", "bookAreaCode", "areaCode"},
                                         SkippedCase{"AreaCodeIsEmpty", R"("en")", R"("")"},
                                         SkippedCase{"AreaCodeIsANumber", R"("en")", "7"},
                                         SkippedCase{"AreaCodeGoesUp", R"("en")", R"("/../../en")"},
                                         SkippedCase{"AreaCodeEndsTheLine", R"("en")", R"("en\n")"},
                                         SkippedCase{"AreaCodeHasANul", R"("en")", R"("en\u0000")"},
                                         SkippedCase{"AreaCodeIsTooLong", R"("en")",
                                                     R"("abcdefghijklmnopq")"},
                                         SkippedCase{"AreaCodeHasAnUmlaut", R"("en")", R"("ä")"}),
                         caseName);

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
}

TEST(ServerRecords, MediaTypeMustBeExact)
{
    const QList<std::pair<QByteArray, std::optional<ElementType>>> rows = {
        {"Buch", ElementType::Book},      {"Spiel", ElementType::Game},
        {"Archiv", ElementType::Archive}, {"Lernmaterial", ElementType::LearningMaterial},
        {"Buch ", std::nullopt},          {"Kinderbuch", std::nullopt},
        {"Buch und Spiel", std::nullopt}, {"Book", std::nullopt},
    };
    for (const auto &[word, type] : rows)
        EXPECT_EQ(record(changed("Buch", word)).type, type) << word.constData();
}

TEST(ServerRecords, DifferFromThePensInLeadingZerosOnly)
{
    const BaseElement remote = record(title);
    const BaseElement local =
        BaseElement::parseTextFile(u"Id: 00042_en\n"_s + remote.textFileContent());
    EXPECT_EQ(local.mid, u"00042"_s);
    EXPECT_EQ(remote.mid, u"42"_s);
    EXPECT_EQ(local.id, remote.id);
}
