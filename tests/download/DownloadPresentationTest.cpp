#include "download/DownloadPresentation.h"

#include "download/DownloadQueue.h"
#include "tests/support/PenTest.h"
#include "ui/Localization.h"

#include <gtest/gtest.h>

#include <limits>

using namespace Qt::StringLiterals;

struct HeadlineCase
{
    const char *name;
    QueueCounts counts;
    QString keys; ///< the sentence with the keys of its texts in their places
};

class DownloadHeadline : public testing::TestWithParam<HeadlineCase>
{
protected:
    // A language without a table shows the keys.
    DownloadHeadline() { setCurrentLanguage(u"keys"_s); }
    ~DownloadHeadline() override { setCurrentLanguage(u"de"_s); }
};

TEST_P(DownloadHeadline, CountsRows)
{
    EXPECT_EQ(downloadHeadline(GetParam().counts), GetParam().keys);
}

namespace {

const QString one = u"label_is_downloading_singularlabel_dont_unplug_quillo"_s;
const QString several = u"label_is_downloading_plurallabel_dont_unplug_quillo"_s;

} // namespace

INSTANTIATE_TEST_SUITE_P(
    Queues, DownloadHeadline,
    testing::Values(HeadlineCase{"Nothing", {0, 0, 0}, u"label_all_downloaded"_s},
                    HeadlineCase{"NothingLate", {0, 0, 4}, u"label_all_downloaded"_s},
                    HeadlineCase{"OneTitle", {0, 1, 0}, u"0label_media"_s + one},
                    HeadlineCase{"OneTitleDone", {0, 1, 1}, u"1label_media"_s + one},
                    HeadlineCase{"Titles", {0, 3, 2}, u"2label_of3label_medias"_s + several},
                    HeadlineCase{"OneSoftware", {1, 0, 0}, u"0label_systemsoftware"_s + one},
                    HeadlineCase{"SoftwareDone", {2, 0, 5}, u"2label_systemsoftware"_s + several},
                    HeadlineCase{
                        "OneOfEach", {1, 1, 0}, u"0label_systemsoftware, 0label_media"_s + several},
                    HeadlineCase{"WithinTheSoftware",
                                 {2, 3, 1},
                                 u"1label_systemsoftware, 1label_of3label_medias"_s + several},
                    HeadlineCase{"FirstTitleAfterTheSoftware",
                                 {2, 3, 2},
                                 u"2label_systemsoftware, 0label_of3label_medias"_s + several},
                    HeadlineCase{"OneTitleAfterTheSoftware",
                                 {2, 1, 3},
                                 u"2label_systemsoftware, 1label_media"_s + several}),
    caseName);

TEST(DownloadProgress, IsWeightedAndNeverWhole)
{
    struct Row
    {
        double download;
        double copy;
        double shown;
    };
    for (const Row &row : {Row{0, 0, 0},
                           {100, 0, 60},
                           {0, 100, 40},
                           {50, 25, 40},
                           {99, 100, 99.4},
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
        {0, u"0"_s},   {24.9, u"0"_s},  {25, u"25"_s}, {49.99, u"25"_s},
        {50, u"50"_s}, {74.9, u"50"_s}, {75, u"75"_s}, {99.9, u"75"_s},
    };
    for (const auto &[shown, image] : rows)
        EXPECT_EQ(progressImageName(shown), u"quillo-fortschritt-laden_"_s + image) << shown;
}

TEST(DownloadTypes, NameTheirTexts)
{
    const QList<std::pair<DownloadType, QString>> rows = {
        {DownloadType::Ready, u"Ready cell_ready"_s},
        {DownloadType::UpToDate, u"UpToDate cell_unknown"_s},
        {DownloadType::Canceled, u"Canceled cell_canceled"_s},
        {DownloadType::Downloading, u"Downloading cell_in_progress"_s},
        {DownloadType::Copying, u"Copying cell_copying"_s},
        {DownloadType::Waiting, u"Waiting cell_waiting"_s},
        {DownloadType::Failed, u"Failed cell_failed"_s},
    };
    for (const auto &[type, texts] : rows)
        EXPECT_EQ(rawValue(type) + u' ' + statusTextKey(type), texts);
}

TEST(DownloadQueue, KnowsWhatIsOpenAndPending)
{
    const auto queueOf = [](const QList<DownloadType> &states) {
        updateElements().clear();
        for (const DownloadType state : states) {
            UpdateElement row;
            row.downloadType = state;
            updateElements().append(row);
        }
        return queueHasOpenRows();
    };
    EXPECT_FALSE(queueOf({}));
    EXPECT_FALSE(queueOf({DownloadType::Ready, DownloadType::Canceled, DownloadType::Failed,
                          DownloadType::UpToDate}));
    for (const DownloadType state :
         {DownloadType::Waiting, DownloadType::Downloading, DownloadType::Copying})
        EXPECT_TRUE(queueOf({DownloadType::Ready, state}));
    updateElements().clear();

    BaseElement record;
    record.mid = u"42"_s;
    pendingElements() = {std::make_shared<BaseElement>(record),
                         std::make_shared<BaseElement>(record)};
    EXPECT_EQ(pendingElement(u"42"_s), pendingElements().first());
    EXPECT_EQ(pendingElement(u"042"_s), nullptr);
    pendingElements().clear();
}
