#include "tests/ui/DeletionFixture.h"

#include "download/DownloadWindow.h"
#include "library/CategoryControllers.h"
#include "library/ColoredTableView.h"
#include "library/MyQuilloTitlesController.h"
#include "library/TileView.h"

#include <QPointer>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace {

/// The titles marked in the view shown; they alone can be deleted.
class Choice : public Deletion
{
protected:
    void show(NavElementType type, const QStringList &marked)
    {
        controller().showView(type);
        expectMarked(marked);
    }
    void expectMarked(const QStringList &marked)
    {
        const DeletionHandling *shown = controller().shownDeletionHandling();
        EXPECT_EQ(shown ? shown->markedIds() : QStringList(), marked);
        EXPECT_EQ(button().isEnabled(), !marked.isEmpty());
    }
};

TEST_F(Choice, IsMarkedInWhateverShowsItAndDeletedOnlyThere)
{
    using Type = NavElementType;
    Alerts alerts;
    activate();
    show(Type::Games, {});
    clickRow(*controller().gamesController->collectionView, 1);
    expectMarked({zebra});
    button().setFocus();
    show(Type::Books, {});
    EXPECT_NE(QApplication::focusWidget(), controller().usbConnectionImageBtn);
    QTest::keyClick(controller().myBooksController->collectionView, Qt::Key_Delete);
    QTest::mouseClick(&button(), Qt::LeftButton);
    EXPECT_TRUE(alerts.shown.isEmpty());
    show(Type::Storage, {});
    show(Type::MyTitles, {zebra});
    show(Type::MyTitles, {zebra});
    controller().setViewMode(ViewMode::list);
    show(Type::Games, {zebra});
    controller().toggleViewMode();
    expectMarked({zebra});
    choose({drache});
    show(Type::Books, {drache});
    QTest::keyClick(window.get(), Qt::Key_F5);
    expectMarked({drache});
    QPushButton &ok = *controller().downloadWindow()->OKBtn;
    ASSERT_TRUE(QTest::qWaitFor([&] { return ok.isEnabled(); }));
    const QPointer<QWidget> before = controller().myBooksController.data();
    QTest::mouseClick(&ok, Qt::LeftButton);
    ASSERT_TRUE(QTest::qWaitFor([&] { return before.isNull(); }));
    expectMarked({drache});
}

TEST_F(Choice, LosesWhatHasGone)
{
    choose({zebra, pirat});
    pen.remove(u"book/00001_de.txt"_s);
    button().setFocus();
    controller().loadData();
    expectMarked({pirat});
    EXPECT_EQ(selectedElementIds(), QStringList(pirat));
    pen.remove(u"book/00002_de.txt"_s);
    controller().loadData();
    expectMarked({});
    EXPECT_EQ(window->focusWidget(),
              controller().myQuilloTitlesController->myQuilloBooksController->tableView);
}

TEST_F(Choice, IsScrolledToWhereItIsShownAnew)
{
    for (int i = 100; i < 400; ++i)
        writeTitle(pen, QString::number(i), "Titel " + QByteArray::number(i), "Buch");
    controller().loadData();
    choose({u"300"_s});
    const auto expectSeen = [](const QAbstractItemView &view) {
        const QModelIndex marked = view.selectionModel()->selectedIndexes().value(0);
        EXPECT_TRUE(view.viewport()->visibleRegion().contains(view.visualRect(marked).center()));
    };
    controller().showView(NavElementType::MyTitles);
    expectSeen(*controller().myQuilloTitlesController->listTable());
    controller().showView(NavElementType::Books);
    expectSeen(*controller().myBooksController->collectionView);
    for (const QString &id : {u"300"_s, u"110"_s}) {
        controller().setViewMode(ViewMode::list);
        expectSeen(*controller().myBooksController->listTable());
        choose({id});
        controller().setViewMode(ViewMode::tiled);
        expectSeen(*controller().myBooksController->collectionView);
    }
}

class PenGoneWhileAsking : public Deletion, public testing::WithParamInterface<bool>
{
};

TEST_P(PenGoneWhileAsking, LosesNothingAndIsTold)
{
    Alerts alerts;
    press({zebra, pirat});
    pullOut();
    EXPECT_FALSE(button().isEnabled());
    if (GetParam())
        plugIn();
    EXPECT_FALSE(button().isEnabled());
    choose({zebra}); // again
    alerts.answer(true);
    EXPECT_EQ(penFiles().size(), 8);
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
    press({zebra});
    alerts.answer(true);
    ASSERT_NE(controller().myQuilloTitlesController->myGamesController->tableView->slide(),
              nullptr);
    window.reset();
    EXPECT_EQ(penFiles().size(), 6);
}

} // namespace
