#include "base/Localization.h"

#include "platform/Bundle.h"

#include <QRegularExpression>
#include <QSet>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

using Table = QHash<QString, QString>;

/// Every key that the program looks up.
const QStringList &usedKeys()
{
    static const QStringList keys = QStringLiteral(R"(
window_title usb_eject_warning header_title search splash_subtitle eject_failed eject_no_answer
my_titles books games learningMaterials archive music videos shop storage
titles publisher author duration interpret size
confirm_delete please_confirm delete_element cancel ok deletion_failed_title deletion_failed
gb occupied of storage_headline instruction firmware_version software_version
dropdown_change_view dropdown_bluetooth dropdown_change_lang dropdown_legal_information
dropdown_privacy dropdown_lang_german dropdown_lang_english
label_downloading label_status download_window_error label_no_response_from_server
label_is_downloading_singular label_is_downloading_plural label_dont_unplug_quillo
label_all_downloaded label_of label_medias label_media label_systemsoftware
label_download_complete label_pen_removed label_copy_failed label_some_failed label_stopped
copy_failed_read_only copy_failed_gone copy_failed_other label_pen_full label_file_too_large
cell_unknown cell_failed cell_waiting cell_copying cell_in_progress cell_canceled cell_ready
video_explanation_title please_choose bluetooth_connected bluetooth_disconnected
bluetooth_scanning bluetooth_power_on bluetooth_power_off bluetooth_unknown bluetooth_resetting
bluetooth_unauthorized bluetooth_unsupported bluetooth_connection_failed
bluetooth_no_quillo_found
no_pen_title no_pen_hint empty_library_title empty_library_hint empty_category_title
empty_category_hint shop_unavailable
pen_button delete_button menu_button bluetooth_button download_queue drop_row sidebar storage_gauge
)")
                                        .simplified()
                                        .split(u' ');
    return keys;
}

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

TEST_P(StringTables, HoldExactlyTheKeysInUse)
{
    const QStringList held = m_table.keys();
    const QSet<QString> keys(held.cbegin(), held.cend());
    const QSet<QString> used(usedKeys().cbegin(), usedKeys().cend());
    EXPECT_EQ((used - keys).values().join(u' '), QString()) << "missing";
    EXPECT_EQ((keys - used).values().join(u' '), QString()) << "unused";
}

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
    for (const QString &key : usedKeys().filter(u"dropdown_"_s)) {
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
