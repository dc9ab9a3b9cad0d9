#include "app/NavigationViewController.h"

#include "tests/app/AppFixture.h"

#include "app/NavCollectionItem.h"
#include "app/NavCollectionView.h"
#include "library/CategoryControllers.h"
#include "library/ListController.h"
#include "library/TileView.h"
#include "pen/StorageController.h"
#include "ui/EmptyStateView.h"

#include <QAccessible>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

using Type = NavElementType;

constexpr int bookRow = 3;
constexpr int gamesRow = 4;

const QList<Type> order{
    Type::Divider,           Type::MyTitles, Type::Divider, Type::Books,  Type::Games,
    Type::LearningMaterials, Type::Archive,  Type::Divider, Type::Music,  Type::Videos,
    Type::Divider,           Type::Shop,     Type::Divider, Type::Storage};

void writeTitle(const PenFolder &pen, const QString &id, const QString &type)
{
    pen.write(u"book/"_s + id + u".txt"_s,
              (u"Name: "_s + id + u"\nType: "_s + type + u"\n"_s).toUtf8());
}

/// The main window with a pen that holds two books and a game.
class NavigationTest : public AppTest
{
protected:
    explicit NavigationTest(PenFolder::Start penStart = PenFolder::Start::PluggedIn)
        : AppTest(penStart)
    {
        writeTitle(pen, u"00001_de"_s, u"Buch"_s);
        writeTitle(pen, u"00002_de"_s, u"Buch"_s);
        writeTitle(pen, u"00003_de"_s, u"Spiel"_s);
    }

    void start()
    {
        window = std::make_unique<MainWindow>(volumes);
        window->show();
        ASSERT_TRUE(waitForLog(u"viewDidAppear Ende"_s));
    }

    ViewController &controller() { return window->viewController(); }
    NavigationViewController &navigation() { return *controller().navigationViewController; }
    NavCollectionView &sidebar() { return *navigation().navCollectionView; }
    QRect rowRect(int row) { return sidebar().visualRect(sidebar().model()->index(row, 0)); }
    void click(int row)
    {
        QTest::mouseClick(sidebar().viewport(), Qt::LeftButton, {}, rowRect(row).center());
    }
    int selectedRow() { return sidebar().selected().row(); }
    QList<QWidget *> content()
    {
        return controller().mainContentView->findChildren<QWidget *>(Qt::FindDirectChildrenOnly);
    }

    std::unique_ptr<MainWindow> window;
};

TEST_F(NavigationTest, SidebarHasItsRowsAndHeights)
{
    start();
    ASSERT_EQ(navigation().navElementArray().size(), order.size());
    for (int row = 0; row < order.size(); ++row) {
        const NavElement &element = navigation().navElementArray().at(row);
        EXPECT_EQ(element.type, order.at(row)) << row;
        EXPECT_EQ(element.name.isEmpty(), isDivider(element.type)) << row;
        EXPECT_EQ(element.image.isNull(), isDivider(element.type)) << row;
        EXPECT_EQ(rowRect(row).height(), isDivider(element.type) ? 12 : 48) << row;
        EXPECT_EQ(rowRect(row).width(), sidebar().viewport()->width()) << row;
    }
    EXPECT_EQ(navigation().navElementArray().at(gamesRow).name, u"Spiele"_s);
}

TEST_F(NavigationTest, BooksAreShownAtTheStart)
{
    start();
    EXPECT_EQ(selectedRow(), bookRow);
    EXPECT_EQ(navigation().activeSubViewController(), controller().myBooksController.data());
    EXPECT_EQ(content(), QList<QWidget *>{controller().myBooksController});
    EXPECT_EQ(controller().myBooksController->collectionView->model()->rowCount(), 2);
    EXPECT_EQ(logLines({u"showBooksView"_s, u"loadView"_s}),
              (QStringList{u"showBooksView Beginn"_s, u"loadView Beginn"_s, u"loadView Ende"_s,
                           u"showBooksView nach loadView"_s, u"showBooksView Ende"_s}));
}

TEST_F(NavigationTest, EveryCategoryCanBeClicked)
{
    start();
    for (int row = 0; row < order.size(); ++row) {
        if (isDivider(order.at(row)))
            continue;
        const QPointer<QWidget> before = navigation().activeSubViewController();
        click(row);
        EXPECT_EQ(selectedRow(), row);
        EXPECT_NE(navigation().activeSubViewController(), before.data()) << row;
        EXPECT_EQ(content(), QList<QWidget *>{navigation().activeSubViewController()}) << row;
        EXPECT_TRUE(navigation().activeSubViewController()->isVisible()) << row;
    }
}

TEST_F(NavigationTest, ClickingDividersOrNothingKeepsEverything)
{
    start();
    click(gamesRow);
    QWidget *shown = navigation().activeSubViewController();
    for (const int divider : {0, 2, 7, 10, 12})
        click(divider);
    const QPoint below(10, rowRect(13).bottom() + 10);
    QTest::mouseClick(sidebar().viewport(), Qt::LeftButton, {}, below);
    QTest::mouseClick(sidebar().viewport(), Qt::LeftButton, Qt::ControlModifier,
                      rowRect(0).center());
    EXPECT_EQ(selectedRow(), gamesRow);
    EXPECT_EQ(navigation().activeSubViewController(), shown);
    QTest::mouseClick(sidebar().viewport(), Qt::LeftButton, Qt::ControlModifier,
                      rowRect(gamesRow).center());
    EXPECT_EQ(selectedRow(), gamesRow);
}

TEST_F(NavigationTest, SelectingAgainMakesTheContentAnew)
{
    start();
    const QPointer<MyBooksController> first = controller().myBooksController;
    click(bookRow);
    EXPECT_NE(controller().myBooksController, first);
    EXPECT_EQ(content(), QList<QWidget *>{controller().myBooksController});
    EXPECT_TRUE(QTest::qWaitFor([&] { return first.isNull(); }));
}

TEST_F(NavigationTest, ArrowsSkipDividersAndShow)
{
    start();
    sidebar().setFocus();
    const auto press = [this](Qt::Key key) {
        QTest::keyClick(&sidebar(), key);
        return selectedRow();
    };
    EXPECT_EQ(press(Qt::Key_Home), 1);
    QList<int> rows{selectedRow()};
    for (int i = 0; i < 9; ++i)
        rows.append(press(Qt::Key_Down));
    EXPECT_EQ(rows, (QList<int>{1, 3, 4, 5, 6, 8, 9, 11, 13, 13}));
    EXPECT_EQ(navigation().activeSubViewController(), controller().storageController.data());
    EXPECT_EQ(press(Qt::Key_Up), 11);
    EXPECT_EQ(press(Qt::Key_Home), 1);
    EXPECT_EQ(press(Qt::Key_Up), 1);
    EXPECT_EQ(press(Qt::Key_End), 13);
}

TEST_F(NavigationTest, KeysChooseCategoriesAndTheViewMode)
{
    start();
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    QTest::keyClick(window.get(), Qt::Key_3, Qt::ControlModifier);
    EXPECT_EQ(selectedRow(), gamesRow);
    ASSERT_NE(controller().gamesController, nullptr);
    QTest::keyClick(window.get(), Qt::Key_T, Qt::ControlModifier);
    EXPECT_EQ(controller().viewMode(), ViewMode::list);
    EXPECT_FALSE(controller().gamesController->collectionView->isVisible());
    EXPECT_TRUE(controller().gamesController->tableViewController->isVisible());
    QTest::keyClick(window.get(), Qt::Key_2, Qt::ControlModifier);
    EXPECT_TRUE(controller().myBooksController->tableViewController->isVisible());
    QTest::keyClick(window.get(), Qt::Key_T, Qt::ControlModifier);
    EXPECT_TRUE(controller().myBooksController->collectionView->isVisible());
    EXPECT_FALSE(controller().myBooksController->tableViewController->isVisible());
}

TEST_F(NavigationTest, LanguageChangesNamesAndKeepsTheSelection)
{
    start();
    click(gamesRow);
    QWidget *shown = navigation().activeSubViewController();
    setCurrentLanguage(u"en"_s);
    navigation().reloadNavigation();
    EXPECT_EQ(navigation().navElementArray().at(gamesRow).name, u"Games"_s);
    EXPECT_EQ(selectedRow(), gamesRow);
    EXPECT_EQ(navigation().activeSubViewController(), shown);
}

TEST_F(NavigationTest, PullingThePenOutEmptiesAndPluggingInShowsBooks)
{
    start();
    click(gamesRow);
    pen.pullOut();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !controller().isQuilloAvailable(); }));
    EXPECT_EQ(navigation().activeSubViewController(), nullptr);
    EXPECT_EQ(selectedRow(), gamesRow);
    ASSERT_EQ(content().size(), 1);
    const auto *hint = qobject_cast<EmptyStateView *>(content().constFirst());
    ASSERT_NE(hint, nullptr);
    EXPECT_EQ(hint->reason(), EmptyStateView::Reason::NoPen);

    click(gamesRow);
    EXPECT_EQ(navigation().activeSubViewController(), controller().gamesController.data());

    pen.plugIn();
    ASSERT_TRUE(QTest::qWaitFor(
        [this] { return controller().myBooksController && bookList().size() == 2; }));
    EXPECT_EQ(selectedRow(), bookRow);
    EXPECT_EQ(controller().myBooksController->collectionView->model()->rowCount(), 2);
}

class NavigationWithoutPen : public NavigationTest
{
protected:
    NavigationWithoutPen()
        : NavigationTest(PenFolder::Start::PulledOut)
    {
    }
};

TEST_F(NavigationWithoutPen, StartSaysSo)
{
    start();
    const auto *empty = controller().myBooksController->findChild<EmptyStateView *>();
    EXPECT_TRUE(empty->isVisible());
    EXPECT_EQ(empty->reason(), EmptyStateView::Reason::NoPen);
    EXPECT_FALSE(controller().myBooksController->collectionView->isVisible());
}

TEST_F(NavigationTest, ShownViewFollowsTheLibrary)
{
    start();
    writeTitle(pen, u"00004_de"_s, u"Buch"_s);
    controller().loadData();
    EXPECT_EQ(controller().myBooksController->collectionView->model()->rowCount(), 3);
}

TEST_F(NavigationTest, FocusInTheContentMovesToTheNextContent)
{
    start();
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    controller().myBooksController->collectionView->setFocus();
    navigation().showView(Type::Games);
    EXPECT_EQ(QApplication::focusWidget(), controller().gamesController->collectionView);
    navigation().showView(Type::Archive);
    EXPECT_EQ(QApplication::focusWidget(), &sidebar());
}

TEST_F(NavigationTest, RowsHaveAccessibleNames)
{
    start();
    QAccessibleInterface *list = QAccessible::queryAccessibleInterface(&sidebar());
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->text(QAccessible::Name), localized(u"sidebar"_s));
    ASSERT_EQ(list->childCount(), order.size());
    EXPECT_EQ(list->child(gamesRow)->text(QAccessible::Name), u"Spiele"_s);
    EXPECT_TRUE(list->child(bookRow)->state().selected);
}

TEST_F(NavigationTest, RowsArePaintedInTheirColours)
{
    start();
    const QImage image = sidebar().viewport()->grab().toImage();
    const auto colorAt = [&](QPoint point) {
        return image.pixelColor(point);
    };
    const QPoint edge(2, 10);
    EXPECT_EQ(colorAt(rowRect(gamesRow).topLeft() + edge), QColor(109, 181, 200));
    EXPECT_EQ(colorAt(rowRect(bookRow).topLeft() + edge), QColor(0, 152, 176));
    const QRect divider = rowRect(7);
    EXPECT_EQ(colorAt({19, divider.center().y()}), QColor(0, 152, 176));
    EXPECT_GT(colorAt({20, divider.center().y()}).red(), 60);
    EXPECT_GT(colorAt({divider.right() - 20, divider.center().y()}).red(), 60);
    EXPECT_EQ(colorAt({divider.right() - 19, divider.center().y()}), QColor(0, 152, 176));
    EXPECT_EQ(colorAt({40, divider.center().y() + 1}), QColor(0, 152, 176));
}

} // namespace
