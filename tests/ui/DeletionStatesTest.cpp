#include "tests/ui/DeletionFixture.h"

#include "library/CategoryControllers.h"
#include "library/ColoredTableView.h"
#include "library/MyQuilloTitlesController.h"
#include "pen/NavStorageItem.h"

#include <QLabel>
#include <QPointer>

using namespace Qt::StringLiterals;

namespace {

TEST_F(Deletion, ButtonIsEnabledWhileTitlesAreChosenAndThePenIsThere)
{
    EXPECT_FALSE(button().isEnabled());
    choose({zebra});
    EXPECT_TRUE(button().isEnabled());
    controller().setIsQuilloAvailable(false);
    EXPECT_FALSE(button().isEnabled());
    controller().setIsQuilloAvailable(true);
    EXPECT_TRUE(button().isEnabled());
    deletion().clearSelectedElementIds();
    EXPECT_FALSE(button().isEnabled());
    EXPECT_EQ(selectedElementIds(), QStringList());
}

TEST_F(Deletion, PullingOutThePenDropsTheChoice)
{
    choose({zebra});
    pullOut();
    EXPECT_FALSE(button().isEnabled());
    plugIn();
    EXPECT_FALSE(button().isEnabled());
}

TEST_F(Deletion, CancellingLeavesEverythingAsItWas)
{
    Alerts alerts;
    const QStringList before = penFiles();
    press({zebra});
    alerts.answer(false);
    EXPECT_EQ(penFiles(), before);
    EXPECT_EQ(selectedElementIds(), QStringList(zebra));
    EXPECT_TRUE(button().isEnabled());
    EXPECT_EQ(alerts.shown.size(), 1);
}

TEST_F(Deletion, GaugeIsRefreshed)
{
    Alerts alerts;
    press({zebra});
    ASSERT_EQ(NavStorageItem::current, controller().storageMiniView);
    NavStorageItem::current->storageLabel->setText(u"old"_s);
    alerts.answer(true);
    EXPECT_EQ(NavStorageItem::current->storageLabel->text(), u"Speicher"_s);
}

class PenGoneWhileAsking : public Deletion, public testing::WithParamInterface<bool>
{
};

TEST_P(PenGoneWhileAsking, LosesNothingAndIsTold)
{
    Alerts alerts;
    press({zebra, pirat});
    pullOut();
    if (GetParam())
        plugIn();
    const QStringList before = penFiles();
    alerts.answer(true);
    EXPECT_EQ(penFiles(), before);
    ASSERT_EQ(alerts.shown.size(), 2);
    EXPECT_EQ(alerts.shown.last().messageText, u"Nicht alles konnte gelöscht werden"_s);
    EXPECT_TRUE(alerts.shown.last().informativeText.contains(uR"("Zebra", "Pirat")"_s));
    EXPECT_EQ(alerts.shown.last().buttons, QStringList(u"OK"_s));
}

INSTANTIATE_TEST_SUITE_P(Pens, PenGoneWhileAsking, testing::Bool(),
                         [](const auto &row) { return row.param ? "another" : "none"; });

/// The page's rows are on their way up when the person leaves the page.
class LeftWhileRowsSlide : public Deletion, public testing::WithParamInterface<NavElementType>
{
};

TEST_P(LeftWhileRowsSlide, TitleIsGoneAndThePageStaysLeft)
{
    Alerts alerts;
    controller().setViewMode(ViewMode::list);
    controller().showView(GetParam());
    auto *page = dynamic_cast<QWidget *>(controller().shownDeletionHandling());
    const auto tables = page->findChildren<ColoredTableView *>();
    const QPointer<const QWidget> left(page);
    press({zebra});
    alerts.answer(true);
    QPointer<QWidget> slide;
    for (const ColoredTableView *table : tables) {
        if (table->slide())
            slide = table->slide();
    }
    ASSERT_NE(slide, nullptr);
    controller().showBooksView();
    EXPECT_EQ(listedIds(), (QStringList{drache, affe, pirat}));
    EXPECT_EQ(penFiles().size(), 6);
    EXPECT_TRUE(QTest::qWaitFor([&] { return left.isNull() && slide.isNull(); }));
    EXPECT_EQ(dynamic_cast<QWidget *>(controller().shownDeletionHandling()),
              controller().myBooksController.data());
}

INSTANTIATE_TEST_SUITE_P(Pages, LeftWhileRowsSlide,
                         testing::Values(NavElementType::MyTitles, NavElementType::Games),
                         [](const auto &row) { return rawValue(row.param).toStdString(); });

TEST_F(Deletion, WindowMayCloseWhileRowsSlide)
{
    Alerts alerts;
    controller().showView(NavElementType::MyTitles);
    press({zebra});
    alerts.answer(true);
    ASSERT_NE(controller().myQuilloTitlesController->myGamesController->tableView->slide(),
              nullptr);
    window.reset();
    EXPECT_EQ(penFiles().size(), 6);
}

} // namespace
