#include "download/DownloadPresentation.h"

#include "base/Localization.h"
#include "library/DownloadQueue.h"
#include "platform/FileFailure.h"
#include "tests/support/Printers.h"
#include "tests/support/Rows.h"

#include <limits>

using namespace Qt::StringLiterals;

TEST(DownloadHeadline, CountsRows)
{
    struct Row
    {
        const char *name;
        QueueCounts counts;
        QString keys; ///< the sentence with the keys of its texts in their places
    };
    const QString one = u"label_is_downloading_singularlabel_dont_unplug_quillo"_s;
    const QString several = u"label_is_downloading_plurallabel_dont_unplug_quillo"_s;
    setCurrentLanguage(u"keys"_s); // a language without a table shows the keys
    forEachRow<Row>({{"NothingLate", {0, 0, 4}, u"label_all_downloaded"_s},
                     {"OneTitleDone", {0, 1, 1}, u"1label_media"_s + one},
                     {"Titles", {0, 3, 2}, u"2label_of3label_medias"_s + several},
                     {"SoftwareDone", {2, 0, 5}, u"2label_systemsoftware"_s + several},
                     {"WithinTheSoftware",
                      {2, 3, 1},
                      u"1label_systemsoftware, 1label_of3label_medias"_s + several},
                     {"FirstTitleAfterTheSoftware",
                      {2, 3, 2},
                      u"2label_systemsoftware, 0label_of3label_medias"_s + several}},
                    [](const Row &row) { EXPECT_EQ(downloadHeadline(row.counts), row.keys); });
    setCurrentLanguage(u"de"_s);
}

TEST(DownloadProgress, IsWeightedAndNeverWhole)
{
    struct Row
    {
        double download;
        double copy;
        double shown;
    };
    for (const Row &row : {Row{100, 0, 60},
                           {0, 100, 40},
                           {100, 100, 99.9},
                           {250, 100, 99.9},
                           {-300, 0, 0},
                           {0, std::numeric_limits<double>::infinity(), 99.9}})
        EXPECT_DOUBLE_EQ(shownProgress(row.download, row.copy), row.shown)
            << row.download << ' ' << row.copy;
}

TEST(DownloadProgress, HasAPictureForEveryQuarter)
{
    const QList<std::pair<double, QString>> rows = {
        {24.9, u"0"_s}, {25, u"25"_s}, {49.99, u"25"_s},
        {50, u"50"_s},  {75, u"75"_s}, {99.9, u"75"_s},
    };
    for (const auto &[shown, image] : rows)
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
    QList<DownloadType> open;
    for (const DownloadType state :
         {Ready, Canceled, Failed, UpToDate, Waiting, Downloading, Copying}) {
        updateElements().resize(2);
        updateElements().last().downloadType = state;
        updateElements().first().downloadType = Ready;
        if (queueHasOpenRows())
            open += state;
    }
    EXPECT_EQ(open, QList({Waiting, Downloading, Copying}));
    updateElements().clear();
}
