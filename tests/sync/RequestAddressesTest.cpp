#include "sync/RequestAddresses.h"

#include "pen/URLFactory.h"
#include "tests/support/Configuration.h"
#include "tests/support/Printers.h"

using namespace Qt::StringLiterals;

namespace {

TEST(MidList, QuotesAndCleansItsEntries)
{
    EXPECT_EQ(midList({u"0012"_s + QChar(u'\0'), u" 7 "_s, QString(), u"\n"_s}),
              u"\"0012\",\"7\""_s);
    EXPECT_EQ(midList({u" "_s, QString()}), QString());
    EXPECT_EQ(midList({}), std::nullopt);
}

TEST(RequestAddresses, AreTheConfiguredPrefixesEncodedOrTellThatTheValueIsNone)
{
    const Configuration configuration;
    configuration.set(propertyList({{u"LOG_POST_URL"_s, u"not an address"_s},
                                    {u"STREAMING_SERVER_FILES_URL"_s, u"http://host/"_s},
                                    {u"MEDIA_SERVER_VERSIONS_URL"_s, u"http://host/v ü"_s}})
                          .replace("</dict>", "<key>SHOP_URL</key><integer>7</integer></dict>"));
    EXPECT_EQ(coverAddress(u"7"_s, u"0"_s, u"0000"_s), u"http://host/7/0/.png"_s);
    EXPECT_EQ(contentAddress(u"7"_s, u"12"_s, u"3"_s, u"00012 ü"_s),
              u"http://host/7/12/3/00012%20%C3%BC.qnk"_s);
    EXPECT_EQ(versionsURL().value_or(QUrl()).toString(QUrl::FullyEncoded),
              u"http://host/v%20%C3%BC"_s);
    EXPECT_EQ(configuredURL(URLFactory::logPostKey), std::nullopt);
    EXPECT_EQ(configuredAddress(URLFactory::shopKey), std::nullopt);
}

} // namespace
