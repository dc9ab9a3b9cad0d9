#include "tests/ui/DeletionFixture.h"

#include "app/NavCollectionView.h"
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

/// A pen of books in one of the views that show them.
class BooksInWindow : public WindowTest
{
protected:
    BooksInWindow(Shown shown, int titles)
        : m_shown(shown)
    {
        for (int i = 0; i < titles; ++i)
            writeTitle(pen, QString::number(10'000 + i), "Titel", "Buch");
        start();
        if (m_shown == Shown::List)
            controller().toggleViewMode();
        if (m_shown == Shown::Overview)
            controller().showView(NavElementType::MyTitles);
    }

    QAbstractItemView &view()
    {
        switch (m_shown) {
        case Shown::Tiles:
            return *controller().myBooksController->collectionView;
        case Shown::List:
            return *controller().myBooksController->listTable();
        default:
            return *controller().myQuilloTitlesController->myQuilloBooksController->tableView;
        }
    }
    int rows() { return view().model()->rowCount(); }
    void click(int row)
    {
        QTest::mouseClick(view().viewport(), Qt::LeftButton, {},
                          view().visualRect(view().model()->index(row, 0)).center());
    }

private:
    const Shown m_shown;
};

/// From a click on a title to its end, as a person sees it.
class DeletionInWindow : public BooksInWindow, public testing::WithParamInterface<DeletionCase>
{
protected:
    DeletionInWindow()
        : BooksInWindow(GetParam().shown, GetParam().titles)
    {
    }

    Alerts alerts;
};

TEST_P(DeletionInWindow, ChosenTitlesAreGoneFromViewAndPen)
{
    activate();
    ASSERT_EQ(rows(), GetParam().titles);
    click(0);
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

struct KeyCase
{
    const char *name;
    Shown shown;
    int titles;
    int row;       ///< that is deleted
    int neighbour; ///< that the keyboard goes on from, among the rest; -1: the sidebar
};

class DeletionByKeys : public BooksInWindow, public testing::WithParamInterface<KeyCase>
{
protected:
    DeletionByKeys()
        : BooksInWindow(GetParam().shown, GetParam().titles)
    {
    }

    static bool waitToBeActive(const QWidget *expected)
    {
        return QTest::qWaitFor([&] { return QApplication::activeWindow() == expected; });
    }
    static void press(Qt::Key key) { QTest::keyClick(QApplication::focusWidget(), key); }
    /// Goes there with the tabulator.
    static void tabTo(const std::function<bool(const QWidget &)> &isIt)
    {
        for (int i = 0; i < 9 && !isIt(*QApplication::focusWidget()); ++i)
            press(Qt::Key_Tab);
        ASSERT_TRUE(isIt(*QApplication::focusWidget()));
    }
    void deleteByKeys()
    {
        const QWidget *bin = controller().deleteViewController->deleteButton;
        tabTo([bin](const QWidget &widget) { return &widget == bin; });
        press(Qt::Key_Space);
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

TEST_P(DeletionByKeys, SpaceChoosesTheNeighbourAndDoesNotEject)
{
    activate();
    click(GetParam().row);
    const QPointer<QWidget> page = controller().navigationViewController->activeSubViewController();
    deleteByKeys();
    const bool isMadeAnew = GetParam().shown == Shown::Overview;
    EXPECT_TRUE(QTest::qWaitFor([&] { return page.isNull() || !isMadeAnew; }));
    EXPECT_EQ(bookList().size(), GetParam().titles - 1);
    QWidget *sidebar = controller().navigationViewController->navCollectionView;
    const bool hasNeighbour = GetParam().neighbour >= 0;
    EXPECT_EQ(QApplication::focusWidget(), hasNeighbour ? &view() : sidebar);
    press(Qt::Key_Space);
    EXPECT_EQ(selectedElementIds(),
              hasNeighbour ? QStringList(bookList().at(GetParam().neighbour)->id) : QStringList());
    QCoreApplication::sendPostedEvents();
    EXPECT_FALSE(volumes.volumes().isEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Views, DeletionByKeys,
    testing::Values(KeyCase{"Tile", Shown::Tiles, 3, 1, 1},
                    KeyCase{"LastTile", Shown::Tiles, 3, 2, 1},
                    KeyCase{"OnlyTile", Shown::Tiles, 1, 0, -1},
                    KeyCase{"Row", Shown::List, 3, 0, 0}, KeyCase{"LastRow", Shown::List, 3, 2, 1},
                    KeyCase{"OnlyRow", Shown::List, 1, 0, -1},
                    KeyCase{"RowOfTheOverview", Shown::Overview, 3, 1, 1},
                    KeyCase{"LastOfTheOverview", Shown::Overview, 3, 2, 1},
                    KeyCase{"OnlyOneOfTheOverview", Shown::Overview, 1, 0, -1}),
    rowName<KeyCase>);

/// Books below which games stand.
TEST_F(Deletion, LastOfASectionLeavesTheKeyboardInTheNextOne)
{
    Alerts alerts;
    activate();
    button().setFocus();
    press({drache});
    alerts.answer(true);
    const auto &page = controller().myQuilloTitlesController;
    EXPECT_EQ(QApplication::focusWidget(), page->myGamesController->tableView);
    const QPointer<QWidget> before = page.data();
    ASSERT_TRUE(QTest::qWaitFor([&] { return before.isNull(); }));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
    EXPECT_EQ(selectedElementIds(), QStringList(affe));
}

} // namespace
