#include "base/Localization.h"

#include "base/ViewPlacement.h"
#include "platform/Bundle.h"

#include <QLabel>
#include <QRegularExpression>
#include <QSet>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

/// What they leave open.
const QHash<QString, int> formats = {
    {u"please_confirm"_s, 1},    {u"deletion_failed"_s, 1},    {u"eject_failed"_s, 1},
    {u"label_copy_failed"_s, 1}, {u"label_pen_full"_s, 2},     {u"label_file_too_large"_s, 1},
    {u"music_not_played"_s, 1},  {u"nothing_found_hint"_s, 1}, {u"found_count"_s, 1}};

/// Pieces of the headline that carry the blank before them.
const QStringList pieces =
    u"label_systemsoftware label_of label_medias label_media label_is_downloading_singular "
    "label_is_downloading_plural label_dont_unplug_quillo"_s.split(u' ');

void expectWellFormed(const QHash<QString, QString> &table)
{
    static const QRegularExpression typewriterMarks(u"[\"']|\\.\\.\\.|  "_s);
    QSet<QString> menu;
    for (auto entry = table.cbegin(); entry != table.cend(); ++entry) {
        SCOPED_TRACE(qPrintable(entry.key()));
        EXPECT_FALSE(entry->trimmed().isEmpty());
        EXPECT_EQ(entry->count(u'%'), formats.value(entry.key()));
        EXPECT_EQ(entry->startsWith(u' '), pieces.contains(entry.key()));
        EXPECT_EQ(entry->endsWith(u' '), entry.key() == u"label_of"_s);
        EXPECT_FALSE(entry->contains(typewriterMarks));
        if (entry.key().contains(u"dropdown_"_s))
            menu += *entry;
    }
    EXPECT_EQ(menu.size(), 7) << "two entries of the menu read the same";
}

} // namespace

TEST(StringTables, AreWellFormed)
{
    for (const QString &language : {u"de"_s, u"en"_s}) {
        SCOPED_TRACE(language.toStdString());
        expectWellFormed(Bundle::stringTable(language).value_or(QHash<QString, QString>()));
    }
}

TEST(Localization, StartsInGermanAndLookingUpInALanguageMakesItTheCurrentOne)
{
    EXPECT_EQ(localized(u"books"_s), u"Bücher"_s);
    EXPECT_EQ(LanguageService::numberText(u"33.0 % x."_s), u"33,0 % x,"_s);
    EXPECT_EQ(localized(u"books"_s, u"en"_s), u"Books"_s);
    EXPECT_EQ(LanguageService::numberText(u"12.5,0"_s), u"12.5,0"_s);
    EXPECT_EQ(localized(u"no_such_key"_s), u"no_such_key"_s);
    EXPECT_EQ(localized(u"books"_s, u"fr"_s), u"books"_s);
    EXPECT_EQ(currentLanguage(), u"en"_s) << "kept for want of a table";
    setCurrentLanguage(u"fr"_s);
    EXPECT_EQ(localized(u"books"_s), u"books"_s);
    setCurrentLanguage(u"de"_s);
}

TEST(PinEdges, FillsAndFollowsTheContainerAndWarnsOfAStranger)
{
    QWidget container;
    container.resize(400, 300);
    container.setObjectName(u"container"_s);
    auto *below = new QWidget(&container);
    auto *above = new QWidget(&container);
    pinEdges(*below, container);
    pinEdges(*above, container, 8);
    container.show();
    EXPECT_EQ(above->geometry(), QRect(8, 8, 384, 284));
    container.resize(500, 200);
    EXPECT_EQ(below->geometry(), QRect(0, 0, 500, 200));

    QLabel stranger;
    stranger.setObjectName(u"stranger"_s);
    testing::internal::CaptureStdout();
    pinEdges(stranger, container);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "WARN: Won't pin edges of QLabel stranger to QWidget container because it is not in "
              "its subviews.\n");
    EXPECT_EQ(stranger.parentWidget(), nullptr);
}
