#include "base/Localization.h"

#include "platform/Bundle.h"

#include <QRegularExpression>
#include <QSet>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

using Table = QHash<QString, QString>;

/// What they leave open.
const QHash<QString, int> formats = {{u"please_confirm"_s, 1}, {u"deletion_failed"_s, 1},
                                     {u"eject_failed"_s, 1},   {u"label_copy_failed"_s, 1},
                                     {u"label_pen_full"_s, 2}, {u"label_file_too_large"_s, 1}};

/// Pieces of the headline that carry the blank before them.
const QSet<QString> pieces = {u"label_systemsoftware"_s,
                              u"label_of"_s,
                              u"label_medias"_s,
                              u"label_media"_s,
                              u"label_is_downloading_singular"_s,
                              u"label_is_downloading_plural"_s,
                              u"label_dont_unplug_quillo"_s};

class StringTables : public testing::TestWithParam<const char *>
{
protected:
    const Table m_table = Bundle::stringTable(QString::fromLatin1(GetParam())).value_or(Table());
};

class Localization : public testing::Test
{
protected:
    void TearDown() override { setCurrentLanguage(u"de"_s); }
};

} // namespace

TEST_P(StringTables, AreWellFormed)
{
    static const QRegularExpression typewriterMarks(u"[\"']|\\.\\.\\."_s);
    for (auto entry = m_table.cbegin(); entry != m_table.cend(); ++entry) {
        SCOPED_TRACE(qPrintable(entry.key()));
        EXPECT_FALSE(entry->trimmed().isEmpty());
        EXPECT_EQ(entry->count(u'%'), formats.value(entry.key()));
        EXPECT_EQ(entry->startsWith(u' '), pieces.contains(entry.key()));
        EXPECT_EQ(entry->endsWith(u' '), entry.key() == u"label_of"_s);
        EXPECT_FALSE(entry->contains(u"  "_s));
        EXPECT_FALSE(entry->contains(typewriterMarks));
    }
}

TEST_P(StringTables, TellMenuEntriesApart)
{
    QSet<QString> texts;
    for (const QString &key : m_table.keys().filter(u"dropdown_"_s)) {
        EXPECT_FALSE(texts.contains(m_table.value(key))) << qPrintable(key);
        texts.insert(m_table.value(key));
    }
    EXPECT_EQ(texts.size(), 7);
}

INSTANTIATE_TEST_SUITE_P(Languages, StringTables, testing::Values("de", "en"),
                         [](const auto &language) { return language.param; });

TEST_F(Localization, StartsInGermanAndFollowsTheSwitch)
{
    EXPECT_EQ(localized(u"books"_s), u"Bücher"_s);
    setCurrentLanguage(u"en"_s);
    EXPECT_EQ(localized(u"books"_s), u"Books"_s);
    setCurrentLanguage(u"de"_s);
    EXPECT_EQ(localized(u"books"_s), u"Bücher"_s);
}

TEST_F(Localization, LookingUpInALanguageMakesItTheCurrentOne)
{
    EXPECT_EQ(localized(u"books"_s, u"en"_s), u"Books"_s);
    EXPECT_EQ(currentLanguage(), u"en"_s);
    EXPECT_EQ(localized(u"no_such_key"_s, u"de"_s), u"no_such_key"_s);
    EXPECT_EQ(currentLanguage(), u"de"_s);
}

TEST_F(Localization, ShowsTheKeyOfALanguageWithoutTableAndKeepsTheCurrentOne)
{
    EXPECT_EQ(localized(u"books"_s, u"fr"_s), u"books"_s);
    EXPECT_EQ(currentLanguage(), u"de"_s);
    setCurrentLanguage(u"fr"_s);
    EXPECT_EQ(localized(u"books"_s), u"books"_s);
}

TEST_F(Localization, WritesNumbersAsTheLanguageDoes)
{
    EXPECT_EQ(LanguageService::numberText(u"12.50"_s), u"12,50"_s);
    EXPECT_EQ(LanguageService::numberText(u"33.0 % x."_s), u"33,0 % x,"_s);
    setCurrentLanguage(u"en"_s);
    EXPECT_EQ(LanguageService::numberText(u"12.50"_s), u"12.50"_s);
    EXPECT_EQ(LanguageService::numberText(u"12,50"_s), u"12,50"_s);
}
