#include "download/DownloadPresentation.h"

#include "base/Localization.h"
#include "library/DownloadQueue.h"
#include "platform/FileFailure.h"
#include "tests/support/Printers.h"

#include <array>
#include <limits>

using namespace Qt::StringLiterals;

TEST(DownloadHeadline, CountsRows)
{
    const QString one = u"label_is_downloading_singularlabel_dont_unplug_quillo"_s;
    const QString several = u"label_is_downloading_plurallabel_dont_unplug_quillo"_s;
    setCurrentLanguage(u"keys"_s); // a language without a table shows the keys
    for (const auto &[counts, keys] : QList<std::pair<QueueCounts, QString>>{
             {{0, 0, 4}, u"label_all_downloaded"_s},
             {{0, 1, 1}, u"1label_media"_s + one},
             {{0, 3, 2}, u"2label_of3label_medias"_s + several},
             {{2, 0, 5}, u"2label_systemsoftware"_s + several},
             {{2, 3, 1}, u"1label_systemsoftware, 1label_of3label_medias"_s + several},
             {{2, 3, 2}, u"2label_systemsoftware, 0label_of3label_medias"_s + several}})
        EXPECT_EQ(downloadHeadline(counts), keys);
    setCurrentLanguage(u"de"_s);
}

TEST(DownloadProgress, IsWeightedAndNeverWhole)
{
    for (const auto &[download, copy, shown] :
         QList<std::array<double, 3>>{{100, 0, 60},
                                      {0, 100, 40},
                                      {100, 100, 99.9},
                                      {250, 100, 99.9},
                                      {-300, 0, 0},
                                      {0, std::numeric_limits<double>::infinity(), 99.9}})
        EXPECT_DOUBLE_EQ(shownProgress(download, copy), shown) << download << ' ' << copy;
}

TEST(DownloadProgress, HasAPictureForEveryQuarter)
{
    for (const auto &[shown, image] : QList<std::pair<double, QString>>{{24.9, u"0"_s},
                                                                        {25, u"25"_s},
                                                                        {49.99, u"25"_s},
                                                                        {50, u"50"_s},
                                                                        {75, u"75"_s},
                                                                        {99.9, u"75"_s}})
        EXPECT_EQ(progressImageName(shown), u"quillo-fortschritt-laden_"_s + image) << shown;
}

TEST(StoringHeadline, SaysWhyAndHowMuch)
{
    setCurrentLanguage(u"de"_s);
    using Reason = FileFailure::Reason;
    const auto headline = [](Reason reason) {
        return storingHeadline({.reason = reason, .needed = 2'000'000, .free = 1'000'000});
    };
    const QString space = QChar(QChar::Nbsp) + u"MB"_s;
    EXPECT_EQ(headline(Reason::Full),
              localized(u"label_pen_full"_s).arg(u"2"_s + space, u"1"_s + space));
    EXPECT_EQ(headline(Reason::TooLarge), localized(u"label_file_too_large"_s).arg(u"2"_s + space));
    for (const auto &[reason, key] : {std::pair(Reason::ReadOnly, u"copy_failed_read_only"_s),
                                      {Reason::Gone, u"copy_failed_gone"_s},
                                      {Reason::Other, u"copy_failed_other"_s}})
        EXPECT_TRUE(headline(reason).contains(localized(key))) << qPrintable(key);
}

TEST(DownloadQueue, KnowsWhatIsOpen)
{
    using enum DownloadType;
    for (const DownloadType state :
         {Ready, Canceled, Failed, UpToDate, Waiting, Downloading, Copying}) {
        updateElements().resize(2);
        updateElements().first().downloadType = Ready;
        updateElements().last().downloadType = state;
        EXPECT_EQ(queueHasOpenRows(), QList({Waiting, Downloading, Copying}).contains(state));
    }
    updateElements().clear();
}
