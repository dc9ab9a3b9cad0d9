#include "tests/ui/DeletionFixture.h"

#include "app/NavCollectionView.h"
#include "app/NavigationViewController.h"
#include "base/EmptyStateView.h"
#include "library/CategoryControllers.h"
#include "library/ColoredTableView.h"
#include "library/MyQuilloTitlesController.h"
#include "library/TileView.h"

#include <QSignalSpy>
#include <QTableView>

using namespace Qt::StringLiterals;

namespace {

enum class Shown { Tiles, List, Overview };

struct DeletionCase
{
    const char *name;
    Shown shown;
    int titles;
    int row;           ///< that is clicked
    int neighbour = 0; ///< that the keyboard goes on from, among the rest
    bool all = false;  ///< and with the Delete key, without leaving the view
};

/// From a click on a title to its end, as a person sees it who goes on by keyboard.
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
    void choose()
    {
        clickRow(view(), GetParam().row);
        if (GetParam().all)
            QTest::keyClick(&view(), Qt::Key_A, Qt::ControlModifier);
    }

    static void press(Qt::Key key) { QTest::keyClick(QApplication::focusWidget(), key); }
    static void tabTo(const std::function<bool(const QWidget &)> &isIt)
    {
        for (int i = 0; i < 9 && !isIt(*QApplication::focusWidget()); ++i)
            press(Qt::Key_Tab);
        ASSERT_TRUE(isIt(*QApplication::focusWidget()));
    }
    static bool waitToBeActive(const QWidget *expected)
    {
        return QTest::qWaitFor([&] { return QApplication::activeWindow() == expected; });
    }
    void deleteByKeys()
    {
        const QWidget *bin = controller().deleteViewController->deleteButton;
        if (!GetParam().all)
            tabTo([bin](const QWidget &widget) { return &widget == bin; });
        press(GetParam().all ? Qt::Key_Delete : Qt::Key_Space);
        const QPointer<QWidget> box = QApplication::activeModalWidget();
        ASSERT_TRUE(box && waitToBeActive(box));
        tabTo([](const QWidget &widget) {
            const auto *choice = qobject_cast<const QAbstractButton *>(&widget);
            return choice && choice->text() == u"OK"_s;
        });
        press(Qt::Key_Space);
        ASSERT_TRUE(QTest::qWaitFor([&] { return box.isNull(); }));
        window->activateWindow(); // as the desktop does
        ASSERT_TRUE(waitToBeActive(window.get()));
    }
};

TEST_P(DeletionInWindow, ChosenTitlesAreGoneAndTheKeyboardGoesOnBesideThem)
{
    activate();
    ASSERT_EQ(rows(), GetParam().titles);
    choose();
    const int chosen = GetParam().all ? GetParam().titles : 1;
    EXPECT_EQ(selectedElementIds().size(), chosen);
    QStringList left = pen.names(u"book"_s);
    left.removeIf([ids = QSet(selectedElementIds().begin(), selectedElementIds().end())](
                      const QString &name) { return ids.contains(name.section(u'.', 0, 0)); });
    const QPointer<QWidget> before =
        controller().navigationViewController->activeSubViewController();
    const QSignalSpy fillings(view().model(), &QAbstractItemModel::modelReset);
    removeLog();
    deleteByKeys();
    EXPECT_EQ(logLines({u"getQuilloFilesInfoFromPen Ende"_s}).size(), 1);
    EXPECT_EQ(fillings.count(), GetParam().shown == Shown::Overview ? 0 : 1);
    EXPECT_EQ(pen.names(u"book"_s), left);
    const bool isMadeAnew = GetParam().shown == Shown::Overview;
    EXPECT_TRUE(QTest::qWaitFor([&] { return before.isNull() || !isMadeAnew; }));
    const int rest = GetParam().titles - chosen;
    EXPECT_EQ(rows(), rest);
    EXPECT_EQ(bookList().size(), rest);
    EXPECT_EQ(view().isVisible(), rest > 0);
    const QWidget *page = controller().navigationViewController->activeSubViewController();
    EXPECT_EQ(page->findChild<EmptyStateView *>()->isVisible(), rest == 0);

    QWidget *sidebar = controller().navigationViewController->navCollectionView;
    EXPECT_EQ(QApplication::focusWidget(), rest > 0 ? &view() : sidebar);
    press(Qt::Key_Space);
    EXPECT_EQ(selectedElementIds(),
              rest > 0 ? QStringList(bookList().at(GetParam().neighbour)->id) : QStringList());
    QCoreApplication::sendPostedEvents();
    EXPECT_FALSE(volumes.volumes().isEmpty()) << "ejected";
}

INSTANTIATE_TEST_SUITE_P(
    Views, DeletionInWindow,
    testing::Values(DeletionCase{"OnlyTile", Shown::Tiles, 1, 0},
                    DeletionCase{"MiddleTileOf3", Shown::Tiles, 3, 1, 1},
                    DeletionCase{"AllTilesOf10000", Shown::Tiles, 10'000, 0, 0, true},
                    DeletionCase{"LastRowOf3", Shown::List, 3, 2, 1},
                    DeletionCase{"OnlyRowOfTheOverview", Shown::Overview, 1, 0},
                    DeletionCase{"MiddleRowOfTheOverview", Shown::Overview, 3, 1, 1},
                    DeletionCase{"AllRowsOfTheOverviewOf300", Shown::Overview, 300, 0, 0, true}),
    rowName<DeletionCase>);

/// A book below which games stand, and an archive title below them.
TEST_F(Deletion, LastOfASectionLeavesTheKeyboardInTheOneBesideIt)
{
    Alerts alerts;
    activate();
    const auto &page = controller().myQuilloTitlesController;
    for (const auto &[last, neighbour] : {std::pair(drache, affe), {pirat, zebra}}) {
        button().setFocus();
        press({last});
        alerts.answer(true);
        EXPECT_EQ(QApplication::focusWidget(), page->myGamesController->tableView);
        const QPointer<QWidget> before = page.data();
        ASSERT_TRUE(QTest::qWaitFor([&] { return before.isNull(); }));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        EXPECT_EQ(selectedElementIds(), QStringList(neighbour));
    }
}

} // namespace
