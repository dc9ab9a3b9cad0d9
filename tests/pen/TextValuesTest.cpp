#include "pen/TextValues.h"

#include "pen/ConfigureService.h"
#include "tests/support/Printers.h"
#include "tests/support/Rows.h"

#include <limits>

using namespace Qt::StringLiterals;

TEST(SplitAtNewlines, GivesPiecesAndKeepsOtherBlanks)
{
    EXPECT_EQ(splitAtNewlines(u"a\r\nb\vc\fd\re\u0085f\u2028g\u2029h\n"_s).join(u'|'),
              u"a||b|c|d|e|f|g|h|"_s);
    EXPECT_EQ(splitAtNewlines(u"a\tb\u001fc\u00a0d\u2027e"_s).size(), 1);
}

TEST(Utf8, IsDecodedAsAWholeOrNotAtAll)
{
    const QList<std::pair<QByteArray, std::optional<QString>>> rows = {
        {"", u""_s},
        {"\xf0\x9f\x90\xbb", u"🐻"_s},
        {QByteArray("a\0b", 3), u"a\0b"_s},
        {"a\xe2\x82", std::nullopt},
        {"\xc0\xaf", std::nullopt},
        {"\xed\xa0\x80", std::nullopt},
    };
    for (const auto &[bytes, text] : rows)
        EXPECT_EQ(decodeUtf8(bytes), text) << bytes.toHex().constData();
}

TEST(DecimalInteger, IsDigitsWithAnOptionalSign)
{
    EXPECT_EQ(decimalInteger(u"+0042"_s), 42);
    EXPECT_EQ(decimalInteger(u"-9223372036854775808"_s), std::numeric_limits<qint64>::min());
    for (const QString &text : {u"9223372036854775808"_s, u""_s, u"-"_s, u"+-1"_s, u" 1"_s,
                                u"1.0"_s, u"0x10"_s, u"٤٢"_s, u"1,000"_s})
        EXPECT_EQ(decimalInteger(text), std::nullopt) << text.toStdString();
}

TEST(SafeFileName, StaysInItsFolder)
{
    for (const QString &name : {u"00042_en"_s, u"Bär 1"_s, u"..."_s})
        EXPECT_TRUE(isSafeFileName(name)) << name.toStdString();
    for (const QString &name : {u""_s, u"."_s, u".."_s, u"../settings"_s, u"/etc/x"_s, u"a\\b"_s,
                                u"a"_s + QChar(u'\0') + u"b"_s, u"a\nb"_s, u"a\u0085b"_s})
        EXPECT_FALSE(isSafeFileName(name)) << name.toStdString();
}

TEST(SettingsVersions, AreRead)
{
    struct Row
    {
        const char *name;
        QString lines; ///< with "|" between them
        std::optional<qint64> firmware;
        std::optional<qint64> image;
    };
    forEachRow<Row>({{"Both", u"firmwareVersion=12|ImageVersion = 3 "_s, 12, 3},
                     {"LastNumberWins", u"ImageVersion=5|ImageVersion=4|ImageVersion=x"_s, {}, 4},
                     {"NoValue", u"volume=7|=|firmwareVersion|ImageVersion="_s, {}, {}},
                     {"SecondEqualsSign", u"firmwareVersion=1=2"_s, 1, {}},
                     {"Nuls", u"ImageVersion=1\0007\0"_s, {}, 17},
                     {"OtherNames", u"FirmwareVersion=1|imageVersion=1| ImageVersion=1"_s, {}, {}}},
                    [](const Row &row) {
                        const PenVersions versions =
                            ConfigureService::versions(row.lines.split(u'|'));
                        EXPECT_EQ(versions.firmware, row.firmware);
                        EXPECT_EQ(versions.image, row.image);
                    });
}
