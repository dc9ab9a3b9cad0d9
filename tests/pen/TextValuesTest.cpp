#include "pen/TextValues.h"

#include "pen/ConfigureService.h"
#include "tests/support/PenTest.h"

#include <gtest/gtest.h>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 greatest = std::numeric_limits<qint64>::max();
constexpr qint64 least = std::numeric_limits<qint64>::min();

} // namespace

struct NewlineCase
{
    const char *name;
    QString text;
    QStringList pieces;
};

class SplitAtNewlines : public testing::TestWithParam<NewlineCase>
{
};

TEST_P(SplitAtNewlines, GivesPieces)
{
    EXPECT_EQ(splitAtNewlines(GetParam().text), GetParam().pieces);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, SplitAtNewlines,
    testing::Values(NewlineCase{"Empty", u""_s, {u""_s}},
                    NewlineCase{"OnlyALineFeed", u"\n"_s, {u""_s, u""_s}},
                    NewlineCase{"NoneAtTheEnd", u"a\nb"_s, {u"a"_s, u"b"_s}},
                    NewlineCase{"CarriageReturnAndLineFeed", u"a\r\nb"_s, {u"a"_s, u""_s, u"b"_s}},
                    NewlineCase{"EveryNewline",
                                u"a\nb\vc\fd\re\u0085f\u2028g\u2029h"_s,
                                {u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s, u"f"_s, u"g"_s, u"h"_s}},
                    NewlineCase{"OtherBlanks",
                                u"a\tb\u001fc\u00a0d\u2027e"_s,
                                {u"a\tb\u001fc\u00a0d\u2027e"_s}}),
    caseName);

struct ValueCase
{
    const char *name;
    QString text;
    std::optional<QString> value;
};

class ValueAfter : public testing::TestWithParam<ValueCase>
{
};

TEST_P(ValueAfter, IsTheTrimmedSecondPiece)
{
    EXPECT_EQ(valueAfter(GetParam().text, u':'), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, ValueAfter,
    testing::Values(ValueCase{"NoSeparator", u"Name"_s, std::nullopt},
                    ValueCase{"Nothing", u""_s, std::nullopt},
                    ValueCase{"EndsWithItsOnlyOne", u"Name:"_s, u""_s},
                    ValueCase{"OnlyBlanks", u"Name: \t "_s, u""_s},
                    ValueCase{"BlanksAround", u"Name: \u00a0\u2003Der kleine Drache\t\r"_s,
                              u"Der kleine Drache"_s},
                    ValueCase{"BetweenTwo", u"Name: Reise: Teil 2"_s, u"Reise"_s},
                    ValueCase{"TwoTogether", u"Name::x"_s, u""_s},
                    ValueCase{"OnlySeparator", u":"_s, u""_s}),
    caseName);

struct IntegerCase
{
    const char *name;
    QString text;
    std::optional<qint64> value;
};

class DecimalInteger : public testing::TestWithParam<IntegerCase>
{
};

TEST_P(DecimalInteger, IsDigitsWithAnOptionalSign)
{
    EXPECT_EQ(decimalInteger(GetParam().text), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, DecimalInteger,
    testing::Values(IntegerCase{"Zero", u"0"_s, 0}, IntegerCase{"LeadingZeros", u"0042"_s, 42},
                    IntegerCase{"Negative", u"-7"_s, -7}, IntegerCase{"Signed", u"+7"_s, 7},
                    IntegerCase{"Greatest", u"9223372036854775807"_s, greatest},
                    IntegerCase{"Least", u"-9223372036854775808"_s, least},
                    IntegerCase{"TooGreat", u"9223372036854775808"_s, std::nullopt},
                    IntegerCase{"Empty", u""_s, std::nullopt},
                    IntegerCase{"OnlyASign", u"-"_s, std::nullopt},
                    IntegerCase{"TwoSigns", u"+-1"_s, std::nullopt},
                    IntegerCase{"Blank", u" 1"_s, std::nullopt},
                    IntegerCase{"Fraction", u"1.0"_s, std::nullopt},
                    IntegerCase{"Hexadecimal", u"0x10"_s, std::nullopt},
                    IntegerCase{"DigitsOfAnotherScript", u"٤٢"_s, std::nullopt},
                    IntegerCase{"ThousandsSeparator", u"1,000"_s, std::nullopt}),
    caseName);

struct NameCase
{
    const char *name;
    QString fileName;
    bool safe;
};

class SafeFileName : public testing::TestWithParam<NameCase>
{
};

TEST_P(SafeFileName, StaysInItsFolder)
{
    EXPECT_EQ(isSafeFileName(GetParam().fileName), GetParam().safe);
}

INSTANTIATE_TEST_SUITE_P(
    Names, SafeFileName,
    testing::Values(NameCase{"Identifier", u"00042_en"_s, true},
                    NameCase{"Umlauts", u"Bär 1"_s, true}, NameCase{"ThreeDots", u"..."_s, true},
                    NameCase{"Empty", u""_s, false}, NameCase{"Dot", u"."_s, false},
                    NameCase{"TwoDots", u".."_s, false}, NameCase{"Up", u"../settings"_s, false},
                    NameCase{"Rooted", u"/etc/x"_s, false}, NameCase{"Backslash", u"a\\b"_s, false},
                    NameCase{"Nul", u"a"_s + QChar(u'\0') + u"b"_s, false},
                    NameCase{"Newline", u"a\nb"_s, false},
                    NameCase{"HighControl", u"a\u0085b"_s, false}),
    caseName);

struct SettingsCase
{
    const char *name;
    QStringList lines;
    std::optional<qint64> firmware;
    std::optional<qint64> image;
};

class SettingsVersions : public testing::TestWithParam<SettingsCase>
{
};

TEST_P(SettingsVersions, AreRead)
{
    const PenVersions versions = ConfigureService::versions(GetParam().lines);
    EXPECT_EQ(versions.firmware, GetParam().firmware);
    EXPECT_EQ(versions.image, GetParam().image);
}

INSTANTIATE_TEST_SUITE_P(
    Settings, SettingsVersions,
    testing::Values(
        SettingsCase{"Both", {u"firmwareVersion=12"_s, u"ImageVersion=3"_s}, 12, 3},
        SettingsCase{"BlanksAround", {u"ImageVersion = 5 "_s}, std::nullopt, 5},
        SettingsCase{"None", {u"volume=7"_s, u""_s, u"="_s}, std::nullopt, std::nullopt},
        SettingsCase{"LastWins", {u"ImageVersion=5"_s, u"ImageVersion=4"_s}, std::nullopt, 4},
        SettingsCase{
            "BrokenLaterLine", {u"ImageVersion=5"_s, u"ImageVersion=x"_s}, std::nullopt, 5},
        SettingsCase{
            "NoValue", {u"firmwareVersion"_s, u"ImageVersion="_s}, std::nullopt, std::nullopt},
        SettingsCase{"SecondEqualsSign", {u"firmwareVersion=1=2"_s}, 1, std::nullopt},
        SettingsCase{
            "Nuls", {u"ImageVersion=1"_s + QChar(u'\0') + u"7"_s + QChar(u'\0')}, std::nullopt, 17},
        SettingsCase{
            "OtherCase", {u"FirmwareVersion=1"_s, u"imageVersion=1"_s}, std::nullopt, std::nullopt},
        SettingsCase{"NotAtTheStart", {u" firmwareVersion=1"_s}, std::nullopt, std::nullopt},
        SettingsCase{
            "TooGreat", {u"firmwareVersion=99999999999999999999"_s}, std::nullopt, std::nullopt}),
    caseName);
