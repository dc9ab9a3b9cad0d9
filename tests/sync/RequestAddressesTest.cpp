#include "sync/RequestAddresses.h"

#include "pen/URLFactory.h"
#include "platform/Address.h"
#include "tests/support/Printers.h"
#include "tests/support/Traces.h"
#include "tests/support/UpdateRig.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

struct MidListRow
{
    const char *name;
    QStringList mids;
    std::optional<QString> list;
};

class MidList : public testing::TestWithParam<MidListRow>
{
};

TEST_P(MidList, QuotesAndCleansItsEntries)
{
    EXPECT_EQ(midList(GetParam().mids), GetParam().list);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, MidList,
    testing::Values(MidListRow{"Two", {u"12"_s, u"345"_s}, u"\"12\",\"345\""_s},
                    MidListRow{"NulBlankEmptyNewline",
                               {u"0012"_s + QChar(u'\0'), u" 7 "_s, QString(), u"\n"_s},
                               u"\"0012\",\"7\""_s},
                    MidListRow{"NoEntries", {}, std::nullopt},
                    MidListRow{"OnlyBlankEntries", {u" "_s, QString()}, QString()}),
    rowName<MidListRow>);

struct EncodingRow
{
    const char *name;
    QString text;
    QString encoded;
};

class Encoding : public testing::TestWithParam<EncodingRow>
{
};

TEST_P(Encoding, KeepsWhatAQueryMayHold)
{
    EXPECT_EQ(percentEncodedForQuery(GetParam().text), GetParam().encoded);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, Encoding,
    testing::Values(EncodingRow{"Allowed", u"http://a:1/b_c~d-e.f?g=h&i=$!'()*+,;@"_s,
                                u"http://a:1/b_c~d-e.f?g=h&i=$!'()*+,;@"_s},
                    EncodingRow{"Quote", u"?mids=\"12\""_s, u"?mids=%2212%22"_s},
                    EncodingRow{"PercentAndHash", u"%20#"_s, u"%2520%23"_s},
                    EncodingRow{"BlankAndNewline", u"a b\n"_s, u"a%20b%0A"_s},
                    EncodingRow{"Umlaut", u"ü"_s, u"%C3%BC"_s},
                    EncodingRow{"Brackets", u"[\\]^`{|}<>"_s, u"%5B%5C%5D%5E%60%7B%7C%7D%3C%3E"_s}),
    rowName<EncodingRow>);

TEST(Address, HalfASurrogatePairCannotBeEncoded)
{
    EXPECT_EQ(percentEncodedForQuery(QString(QChar(0xd800))), std::nullopt);
}

struct UrlRow
{
    const char *name;
    QString text;
    bool usable;
};

class MakeUrl : public testing::TestWithParam<UrlRow>
{
};

TEST_P(MakeUrl, IsStrict)
{
    EXPECT_EQ(makeURL(GetParam().text).has_value(), GetParam().usable);
}

INSTANTIATE_TEST_SUITE_P(Rows, MakeUrl,
                         testing::Values(UrlRow{"Plain", u"http://a/b.iso"_s, true},
                                         UrlRow{"Empty", QString(), false},
                                         UrlRow{"Newline", u"http://a/imageisoV7\n.iso"_s, false},
                                         UrlRow{"Blank", u"http://a/b c"_s, false},
                                         UrlRow{"Quote", u"http://a/?m=\"1\""_s, false}),
                         rowName<UrlRow>);

TEST(RequestAddresses, AreTheConfiguredPrefixesWithTheirSegments)
{
    const UpdateRig rig;
    EXPECT_EQ(coverAddress(u"7"_s, u"12"_s, u"00012_en"_s),
              rig.server.address("/files/") + u"7/12/12_en.png"_s);
    EXPECT_EQ(coverAddress(u"7"_s, u"0"_s, u"0000"_s),
              rig.server.address("/files/") + u"7/0/.png"_s);
    EXPECT_EQ(contentAddress(u"7"_s, u"12"_s, u"3"_s, u"00012 ü"_s),
              rig.server.address("/files/") + u"7/12/3/00012%20%C3%BC.qnk"_s);
    EXPECT_EQ(softwareAddress(u"imageisoV4.iso"_s),
              rig.server.address("/software/") + u"imageisoV4.iso"_s);
    ASSERT_TRUE(titleDataURL(u"\"1\",\"2\""_s));
    EXPECT_EQ(titleDataURL(u"\"1\",\"2\""_s)->toString(QUrl::FullyEncoded),
              rig.server.address("/medias?mids=%221%22,%222%22"));
}

TEST(RequestAddresses, AMissingKeyFormsNone)
{
    UpdateRig rig;
    rig.configureWith("<plist version=\"1.0\"><dict><key>MEDIA_SERVER_VERSIONS_URL</key>"
                      "<integer>7</integer></dict></plist>");
    EXPECT_EQ(versionsURL(), std::nullopt); // there, but no text
    EXPECT_EQ(titleDataURL(u"\"1\""_s), std::nullopt);
    EXPECT_EQ(coverAddress({}, {}, {}), std::nullopt);
    EXPECT_EQ(contentAddress({}, {}, {}, {}), std::nullopt);
    EXPECT_EQ(softwareAddress({}), std::nullopt);
}

TEST(RequestAddresses, AValueThatIsNoAddressIsTold)
{
    UpdateRig rig;
    rig.configureWith("<plist version=\"1.0\"><dict><key>LOG_POST_URL</key>"
                      "<string>not an address</string></dict></plist>");
    EXPECT_EQ(printedBy([] { EXPECT_EQ(configuredURL(URLFactory::logPostKey), std::nullopt); }),
              QStringList(u"\"The value of LOG_POST_URL is no address: not an address\""_s));
}

} // namespace
