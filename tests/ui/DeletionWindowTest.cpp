#include "tests/ui/DeletionFixture.h"

#include "app/NavigationViewController.h"
#include "library/CategoryControllers.h"
#include "library/ColoredTableView.h"
#include "library/MyQuilloTitlesController.h"
#include "library/TileView.h"
#include "ui/EmptyStateView.h"

#include <QTableView>

using namespace Qt::StringLiterals;

namespace {

enum class Shown { Tiles, List, Overview };

struct DeletionCase
{
    const char *name;
    Shown shown;
    int titles;
    bool all;
};

/// From a click on a title to its end, as a person sees it.
class DeletionInWindow : public WindowTest, public testing::WithParamInterface<DeletionCase>
{
protected:
    DeletionInWindow()
    {
        for (int i = 0; i < GetParam().titles; ++i)
            writeTitle(pen, QString::number(10'000 + i), "Titel", "Buch");
        start();
        if (GetParam().shown == Shown::List)
            controller().toggleViewMode();
        if (GetParam().shown == Shown::Overview)
            controller().showView(NavElementType::MyTitles);
    }

    QAbstractItemView &view()
    {
        switch (GetParam().shown) {
        case Shown::Tiles:
            return *controller().myBooksController->collectionView;
        case Shown::List:
            return *controller().myBooksController->listTable();
        default:
            return *controller().myQuilloTitlesController->myQuilloBooksController->tableView;
        }
    }
    int rows() { return view().model()->rowCount(); }

    Alerts alerts;
};

TEST_P(DeletionInWindow, ChosenTitlesAreGoneFromViewAndPen)
{
    activate();
    ASSERT_EQ(rows(), GetParam().titles);
    const QPoint first = view().visualRect(view().model()->index(0, 0)).center();
    QTest::mouseClick(view().viewport(), Qt::LeftButton, {}, first);
    if (GetParam().all)
        QTest::keyClick(&view(), Qt::Key_A, Qt::ControlModifier);
    const int chosen = GetParam().all ? GetParam().titles : 1;
    EXPECT_EQ(selectedElementIds().size(), chosen);
    QStringList left = pen.names(u"book"_s);
    left.removeIf([ids = QSet(selectedElementIds().begin(), selectedElementIds().end())](
                      const QString &name) { return ids.contains(name.section(u'.', 0, 0)); });
    QTest::mouseClick(controller().deleteViewController->deleteButton, Qt::LeftButton);
    alerts.answer(true);
    EXPECT_EQ(pen.names(u"book"_s), left);
    const int rest = GetParam().titles - chosen;
    ASSERT_TRUE(QTest::qWaitFor([&] {
        const QPointer<MyQuilloTitlesController> &overview = controller().myQuilloTitlesController;
        return rows() == rest && (!overview || (overview->booksHeader != nullptr) == (rest > 0));
    }));
    EXPECT_EQ(bookList().size(), rest);
    EXPECT_EQ(view().isVisible(), rest > 0);
    const QWidget *page = controller().navigationViewController->activeSubViewController();
    EXPECT_EQ(page->findChild<EmptyStateView *>()->isVisible(), rest == 0);
    EXPECT_EQ(alerts.shown.size(), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Views, DeletionInWindow,
    testing::Values(DeletionCase{"OnlyTile", Shown::Tiles, 1, false},
                    DeletionCase{"OneTileOf3", Shown::Tiles, 3, false},
                    DeletionCase{"AllTilesOf10000", Shown::Tiles, 10'000, true},
                    DeletionCase{"OneRowOf300", Shown::List, 300, false},
                    DeletionCase{"AllRowsOf300", Shown::List, 300, true},
                    DeletionCase{"OnlyRowOfTheOverview", Shown::Overview, 1, false},
                    DeletionCase{"OneRowOfTheOverviewOf300", Shown::Overview, 300, false},
                    DeletionCase{"AllRowsOfTheOverviewOf300", Shown::Overview, 300, true}),
    rowName<DeletionCase>);

} // namespace
