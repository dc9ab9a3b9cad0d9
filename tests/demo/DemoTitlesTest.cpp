#include "demo/DemoTitles.h"
#include "demo/CoverPainter.h"
#include "demo/DemoCatalogue.h"

#include <QImage>
#include <QSet>

#include <algorithm>
#include <array>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

bool isSame(const DemoTitle &a, const DemoTitle &b)
{
    return a.mid == b.mid && a.name == b.name && a.author == b.author && a.isbn == b.isbn
           && a.publisherId == b.publisherId && a.type == b.type && a.areaCode == b.areaCode
           && a.version == b.version && a.contentBytes == b.contentBytes;
}

bool areSame(const QList<DemoTitle> &a, const QList<DemoTitle> &b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), isSame);
}

int weightedSum(const QString &isbn)
{
    int sum = 0;
    for (qsizetype i = 0; i < isbn.size(); ++i)
        sum += isbn.at(i).digitValue() * (i % 2 == 0 ? 1 : 3);
    return sum;
}

struct CheckDigit
{
    const char *twelveDigits;
    char digit;
};

} // namespace

class IsbnCheckDigit : public testing::TestWithParam<CheckDigit>
{
};

TEST_P(IsbnCheckDigit, completesTheNumber)
{
    EXPECT_EQ(isbnCheckDigit(QString::fromLatin1(GetParam().twelveDigits)),
              QLatin1Char(GetParam().digit));
}

INSTANTIATE_TEST_SUITE_P(Known, IsbnCheckDigit,
                         testing::Values(CheckDigit{"978030640615", '7'},
                                         CheckDigit{"978316148410", '0'},
                                         CheckDigit{"000000000000", '0'},
                                         CheckDigit{"979999999990", '7'}),
                         [](const auto &row) { return std::string(row.param.twelveDigits); });

TEST(DemoTitles, followFromTheSeed)
{
    EXPECT_TRUE(areSame(inventTitles(1, 50), inventTitles(1, 50)));
    EXPECT_FALSE(areSame(inventTitles(1, 50), inventTitles(2, 50)));
}

TEST(DemoTitles, everyIsbnIsValid)
{
    for (const DemoTitle &title : inventTitles(3, 500)) {
        ASSERT_EQ(title.isbn.size(), 13);
        EXPECT_EQ(weightedSum(title.isbn) % 10, 0) << title.isbn.toStdString();
    }
}

class DemoTitlesOfCount : public testing::TestWithParam<int>
{
};

TEST_P(DemoTitlesOfCount, haveNamesAndMidsOfTheirOwn)
{
    QSet<QString> names;
    QSet<int> mids;
    const QList<DemoTitle> titles = inventTitles(7, GetParam());
    for (const DemoTitle &title : titles) {
        names.insert(title.name);
        mids.insert(title.mid);
    }
    EXPECT_EQ(titles.size(), GetParam());
    EXPECT_EQ(names.size(), GetParam());
    EXPECT_EQ(mids.size(), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Sizes, DemoTitlesOfCount, testing::Values(0, 1, 24, 1000, 10000),
                         testing::PrintToStringParamName());

TEST(DemoTitles, twentyFourHoldAllKindsAndBothLanguages)
{
    QSet<int> kinds;
    QSet<QString> languages;
    for (const DemoTitle &title : inventTitles(1, 24)) {
        kinds.insert(int(title.type));
        languages.insert(title.areaCode);
    }
    EXPECT_EQ(kinds.size(), 4);
    EXPECT_EQ(languages, (QSet<QString>{u"de"_s, u"en"_s}));
}

/// A metadata line keeps what stands between its first and second colon.
TEST(DemoTitles, surviveTheirMetadataText)
{
    for (const DemoTitle &title : inventTitles(5, 200)) {
        const QString text = title.record(4).textFileContent();
        const BaseElement read = BaseElement::parseTextFile(u"Id: "_s + title.id() + u'\n' + text);
        EXPECT_EQ(read.name, title.name);
        EXPECT_EQ(read.author, title.author);
        EXPECT_EQ(read.publisher, title.publisher);
        EXPECT_EQ(read.type, title.type);
        EXPECT_EQ(read.mid.toInt(), title.mid);
        EXPECT_EQ(read.bookVersion, 4);
    }
}

TEST(DemoCatalogue, hasOneTitleInEachSpecialState)
{
    using PenState = DemoCatalogue::PenState;
    const DemoCatalogue catalogue(1, 24);
    for (const PenState state : {PenState::OutOfDate, PenState::WithoutContent,
                                 PenState::WithoutCover, PenState::Requested}) {
        const auto count = std::count_if(
            catalogue.titles().begin(), catalogue.titles().end(),
            [&](const DemoTitle &title) { return catalogue.penState(title) == state; });
        EXPECT_EQ(count, 1) << int(state);
    }
}

TEST(DemoContent, isTheSameFromEveryOffset)
{
    const DemoContent content(u"00042_en 3"_s, 100003);
    const QByteArray whole = content.bytes(0, content.size());
    ASSERT_EQ(whole.size(), 100003);
    EXPECT_EQ(content.bytes(5, 20), whole.mid(5, 20));
    EXPECT_EQ(content.bytes(65531, 9), whole.mid(65531, 9));
    EXPECT_EQ(content.bytes(100000, 50), whole.mid(100000));
    EXPECT_EQ(content.bytes(100003, 1), QByteArray());
}

TEST(DemoContent, differsFromVersionToVersion)
{
    EXPECT_NE(DemoContent(u"00042_en 3"_s, 64).bytes(0, 64),
              DemoContent(u"00042_en 4"_s, 64).bytes(0, 64));
}

TEST(CoverPainter, paintsAPictureOfTheSize)
{
    const QList<DemoTitle> titles = inventTitles(1, 12);
    for (const DemoTitle &title : titles) {
        const QImage cover = QImage::fromData(paintCover(title, QSize(300, 400)), "PNG");
        ASSERT_EQ(cover.size(), QSize(300, 400));
        QSet<QRgb> colours;
        for (int y = 0; y < cover.height(); y += 5)
            colours.insert(cover.pixel(150, y));
        EXPECT_GT(colours.size(), 10) << title.name.toStdString();
    }
}

TEST(CoverPainter, paintsTheSameAgain)
{
    const DemoTitle title = inventTitles(1, 1).first();
    EXPECT_EQ(paintCover(title, QSize(300, 400)), paintCover(title, QSize(300, 400)));
}
