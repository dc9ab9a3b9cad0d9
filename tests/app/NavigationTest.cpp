#include "app/NavigationViewController.h"

#include "tests/app/AppFixture.h"

#include "app/NavCollectionItem.h"
#include "app/NavCollectionView.h"
#include "app/NavRowModel.h"
#include "base/EmptyStateView.h"
#include "base/FocusMark.h"
#include "library/CategoryControllers.h"
#include "library/ListController.h"
#include "library/MusicView.h"
#include "library/MyQuilloTitlesController.h"
#include "library/TileView.h"
#include "pen/StorageController.h"

#include <QAccessible>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <QTableView>

using namespace Qt::StringLiterals;

namespace {

using Type = NavElementType;

constexpr int bookRow = 3;
constexpr int gamesRow = 4;

const QList<Type> order{
    Type::Divider,           Type::MyTitles, Type::Divider, Type::Books,  Type::Games,
    Type::LearningMaterials, Type::Archive,  Type::Divider, Type::Music,  Type::Videos,
    Type::Divider,           Type::Shop,     Type::Divider, Type::Storage};

/// The sidebar beside a pen that holds two books and a game.
template <class Base>
class Navigating : public Base
{
protected:
    Navigating()
    {
        writeTitle(Base::pen, u"00001_de"_s, "Eins", "Buch");
        writeTitle(Base::pen, u"00002_de"_s, "Zwei", "Buch");
        writeTitle(Base::pen, u"00003_de"_s, "Drei", "Spiel");
        Base::start();
    }

    NavigationViewController &navigation() { return *Base::controller().navigationViewController; }
    NavCollectionView &sidebar() { return *navigation().navCollectionView; }
    QRect rowRect(int row) { return sidebar().visualRect(sidebar().model()->index(row, 0)); }
    void click(int row, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::mouseClick(sidebar().viewport(), Qt::LeftButton, modifiers, rowRect(row).center());
    }
    int selectedRow() { return sidebar().selected().row(); }
    QWidget *shown() { return navigation().activeSubViewController(); }
    QList<QWidget *> content()
    {
        return Base::controller().mainContentView->template findChildren<QWidget *>(
            Qt::FindDirectChildrenOnly);
    }
    void expectNoPenIn(const QWidget &page)
    {
        const auto *empty = page.findChild<EmptyStateView *>();
        EXPECT_TRUE(empty->isVisible());
        EXPECT_EQ(empty->reason(), EmptyStateView::Reason::NoPen);
    }
};

using NavigationTest = Navigating<WindowTest>;
using NavigationWithoutPen = Navigating<WindowWithoutPen>;

TEST_F(NavigationTest, SidebarHasItsRows)
{
    ASSERT_EQ(navigation().navElementArray().size(), order.size());
    QAccessibleInterface *list = QAccessible::queryAccessibleInterface(&sidebar());
    EXPECT_EQ(list->text(QAccessible::Name), localized(u"sidebar"_s));
    QStringList items;
    for (int i = 0; i < list->childCount(); ++i) {
        EXPECT_EQ(list->indexOfChild(list->child(i)), i);
        EXPECT_EQ(list->child(i)->role(), QAccessible::ListItem);
        items.append(list->child(i)->text(QAccessible::Name));
    }
    QStringList names;
    for (int row = 0; row < order.size(); ++row) {
        const NavElement &element = navigation().navElementArray().at(row);
        EXPECT_EQ(element.type, order.at(row)) << row;
        EXPECT_EQ(element.name.isEmpty(), isDivider(element.type)) << row;
        EXPECT_EQ(element.image.isNull(), isDivider(element.type)) << row;
        EXPECT_EQ(rowRect(row).height(), isDivider(element.type) ? 12 : 48) << row;
        EXPECT_EQ(rowRect(row).width(), sidebar().width()) << row;
        if (!element.name.isEmpty())
            names.append(element.name);
    }
    EXPECT_EQ(items, names) << "a divider is no item";
    EXPECT_EQ(navigation().navElementArray().at(gamesRow).name, u"Spiele"_s);
    QAccessibleInterface *books = list->child(1);
    EXPECT_TRUE(books->state().selected);
    EXPECT_EQ(list->childAt(books->rect().center().x(), books->rect().center().y()), books);
    list->child(2)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(selectedRow(), gamesRow);
    EXPECT_EQ(shown(), controller().gamesController.data());
}

TEST(NavCollectionViewTest, ScrollerTakesNoWidthFromTheRows)
{
    NavRowModel rows;
    rows.setRows(NavRowModel::buildRows());
    NavCollectionView view;
    view.setModel(&rows);
    view.resize(200, 150);
    view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
    ASSERT_GT(view.verticalScrollBar()->maximum(), 0);
    EXPECT_EQ(view.viewport()->width(), 200);
    view.verticalScrollBar()->setValue(10);
    EXPECT_TRUE(view.verticalScrollBar()->isVisible());
    EXPECT_EQ(view.viewport()->width(), 200);
}

TEST_F(NavigationTest, BooksAreShownAtTheStartAndFollowTheLibrary)
{
    EXPECT_EQ(selectedRow(), bookRow);
    EXPECT_EQ(shown(), controller().myBooksController.data());
    EXPECT_EQ(content(), QList<QWidget *>{shown()});
    EXPECT_EQ(logLines({u"showBooksView"_s, u"loadView"_s}),
              (QStringList{u"showBooksView Beginn"_s, u"loadView Beginn"_s, u"loadView Ende"_s,
                           u"showBooksView nach loadView"_s, u"showBooksView Ende"_s}));
    const QAbstractItemModel &books = *controller().myBooksController->collectionView->model();
    EXPECT_EQ(books.rowCount(), 2);
    writeTitle(pen, u"00004_de"_s, "Vier", "Buch");
    controller().loadData();
    EXPECT_EQ(books.rowCount(), 3);
}

TEST_F(NavigationTest, EveryCategoryIsMadeAnewWheneverItIsClicked)
{
    for (int i = 0; i < 2 * order.size(); ++i) {
        const int row = i / 2;
        if (isDivider(order.at(row)))
            continue;
        const QPointer<QWidget> before = shown();
        click(row);
        EXPECT_EQ(selectedRow(), row);
        EXPECT_NE(shown(), before.data()) << row;
        EXPECT_EQ(content(), QList<QWidget *>{shown()}) << row;
        EXPECT_TRUE(shown()->isVisible()) << row;
        EXPECT_TRUE(QTest::qWaitFor([&] { return before.isNull(); }));
    }
}

TEST_F(NavigationTest, ClickingDividersOrNothingKeepsEverything)
{
    click(gamesRow);
    QWidget *games = shown();
    for (const int divider : {0, 2, 7, 10, 12})
        click(divider);
    QTest::mouseClick(sidebar().viewport(), Qt::LeftButton, {},
                      rowRect(13).bottomLeft() + QPoint(10, 10));
    click(0, Qt::ControlModifier);
    EXPECT_EQ(selectedRow(), gamesRow);
    EXPECT_EQ(shown(), games);
    click(gamesRow, Qt::ControlModifier);
    EXPECT_EQ(selectedRow(), gamesRow);
}

TEST_F(NavigationTest, DraggingBuildsOneView)
{
    const qsizetype built = logLines({u"loadView Ende"_s}).size();
    QTest::mousePress(sidebar().viewport(), Qt::LeftButton, {}, rowRect(gamesRow).center());
    for (const int row : {5, 6, 7, 8})
        QTest::mouseMove(sidebar().viewport(), rowRect(row).center());
    QTest::mouseRelease(sidebar().viewport(), Qt::LeftButton, {}, rowRect(8).center());
    EXPECT_EQ(logLines({u"loadView Ende"_s}).size(), built + 1);
    EXPECT_EQ(shown(), controller().musicController.data());
    EXPECT_EQ(selectedRow(), 8);
}

TEST_F(NavigationTest, ArrowsSkipDividersAndShow)
{
    activate();
    sidebar().setFocus();
    const auto press = [this](Qt::Key key) {
        QTest::keyClick(&sidebar(), key);
        return selectedRow();
    };
    QList<int> rows{press(Qt::Key_Home)};
    for (int i = 0; i < 9; ++i)
        rows.append(press(Qt::Key_Down));
    EXPECT_EQ(rows, (QList<int>{1, 3, 4, 5, 6, 8, 9, 11, 13, 13}));
    EXPECT_EQ(shown(), controller().storageController.data());
    const auto *list = QAccessible::queryAccessibleInterface(&sidebar());
    EXPECT_EQ(list->focusChild()->text(QAccessible::Name), u"Speicher"_s);
    EXPECT_EQ(press(Qt::Key_Up), 11);
    EXPECT_EQ(press(Qt::Key_Home), 1);
    EXPECT_EQ(press(Qt::Key_Up), 1);
    EXPECT_EQ(press(Qt::Key_End), 13);
}

TEST_F(NavigationTest, KeysChooseCategoriesAndTheViewMode)
{
    activate();
    const auto press = [this](Qt::Key key) {
        QTest::keyClick(window.get(), key, Qt::ControlModifier);
    };
    press(Qt::Key_3);
    EXPECT_EQ(selectedRow(), gamesRow);
    ASSERT_NE(controller().gamesController, nullptr);
    press(Qt::Key_T);
    EXPECT_EQ(controller().viewMode(), ViewMode::list);
    EXPECT_FALSE(controller().gamesController->collectionView->isVisible());
    EXPECT_TRUE(controller().gamesController->tableViewController->isVisible());
    press(Qt::Key_2);
    EXPECT_TRUE(controller().myBooksController->tableViewController->isVisible());
    press(Qt::Key_T);
    EXPECT_TRUE(controller().myBooksController->collectionView->isVisible());
    EXPECT_FALSE(controller().myBooksController->tableViewController->isVisible());
}

TEST_F(NavigationTest, LanguageChangesNamesAndKeepsTheSelection)
{
    click(gamesRow);
    QWidget *games = shown();
    setCurrentLanguage(u"en"_s);
    navigation().reloadNavigation();
    EXPECT_EQ(navigation().navElementArray().at(gamesRow).name, u"Games"_s);
    EXPECT_EQ(selectedRow(), gamesRow);
    EXPECT_EQ(shown(), games);
}

TEST_F(NavigationTest, PullingThePenOutEmptiesAndPluggingInShowsBooks)
{
    click(gamesRow);
    pullOut();
    EXPECT_EQ(shown(), nullptr);
    EXPECT_EQ(selectedRow(), gamesRow);
    ASSERT_EQ(content().size(), 1);
    activate();
    QTest::keyClick(window.get(), Qt::Key_T, Qt::ControlModifier);
    EXPECT_EQ(controller().viewMode(), ViewMode::tiled);
    expectNoPenIn(*controller().mainContentView);

    click(gamesRow);
    EXPECT_EQ(shown(), controller().gamesController.data());

    plugIn();
    ASSERT_TRUE(QTest::qWaitFor([] { return bookList().size() == 2; }));
    EXPECT_EQ(selectedRow(), bookRow);
    EXPECT_EQ(controller().myBooksController->collectionView->model()->rowCount(), 2);
}

TEST_F(NavigationWithoutPen, ViewModeKeyChangesNothing)
{
    activate();
    QTest::keyClick(window.get(), Qt::Key_T, Qt::ControlModifier);
    EXPECT_EQ(controller().viewMode(), ViewMode::tiled);
    EXPECT_EQ(shown(), controller().myBooksController.data());
    EXPECT_FALSE(controller().myBooksController->collectionView->isVisible());
    expectNoPenIn(*shown());
}

TEST_F(NavigationTest, FocusInTheContentMovesToTheNextContent)
{
    activate();
    controller().myBooksController->collectionView->setFocus();
    navigation().showView(Type::Games);
    EXPECT_EQ(QApplication::focusWidget(), controller().gamesController->collectionView);
    controller().mainContentView->setFixedHeight(200);
    for (const Type type : {Type::Archive, Type::Storage, Type::Music, Type::Shop}) {
        navigation().showView(type);
        auto *page = qobject_cast<QScrollArea *>(QApplication::focusWidget());
        ASSERT_TRUE(page && (page == shown() || shown()->isAncestorOf(page)));
        const auto marks = page->findChildren<FocusMark *>();
        EXPECT_TRUE(marks.size() == 1 && marks.first()->isVisible());
        EXPECT_FALSE(page->accessibleName().isEmpty());
        QTest::keyClick(page, Qt::Key_PageDown);
        EXPECT_GT(page->verticalScrollBar()->value(), 0);
    }
    pullOut();
    EXPECT_NE(qobject_cast<EmptyStateView *>(QApplication::focusWidget()), nullptr);
}

TEST_F(NavigationTest, KeyboardStartsInTheSidebarAndGoesRoundTheWindow)
{
    activate();
    EXPECT_EQ(QApplication::focusWidget(), &sidebar());
    controller().myBooksController->collectionView->selectAll();
    QStringList visited;
    for (int i = 0; i < 4; ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        visited += QApplication::focusWidget()->accessibleName();
    }
    const QStringList keys{u"books"_s, u"delete_button"_s, u"pen_button"_s, u"sidebar"_s};
    QStringList names;
    for (const QString &key : keys)
        names += localized(key);
    EXPECT_EQ(visited, names);
}

TEST_F(NavigationTest, FocusGoesOverToTheOtherViewMode)
{
    activate();
    controller().myBooksController->collectionView->setFocus();
    QTest::keyClick(window.get(), Qt::Key_T, Qt::ControlModifier);
    EXPECT_EQ(QApplication::focusWidget(), controller().myBooksController->listTable());
    QTest::keyClick(window.get(), Qt::Key_T, Qt::ControlModifier);
    EXPECT_EQ(QApplication::focusWidget(), controller().myBooksController->collectionView);
}

TEST_F(NavigationTest, FirstClickTakesTheTitleUnderThePointer)
{
    activate();
    for (int i = 100; i < 300; ++i)
        writeTitle(pen, QString::number(i), "Titel " + QByteArray::number(i), "Buch");
    controller().loadData();
    const auto expectClicked = [](QAbstractItemView &view, QScrollBar &bar) {
        bar.setValue(bar.maximum() / 2 + 7);
        const int position = bar.value();
        const QRect seen = view.viewport()->visibleRegion().boundingRect();
        const int row = view.indexAt(seen.center()).row();
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, seen.center());
        EXPECT_EQ(selectedElementIds(), QStringList{bookList().at(row)->id});
        EXPECT_EQ(bar.value(), position);
    };
    QAbstractItemView &tiles = *controller().myBooksController->collectionView;
    expectClicked(tiles, *tiles.verticalScrollBar());
    sidebar().setFocus();
    controller().toggleViewMode();
    navigation().showBooksView();
    QAbstractItemView &list = *controller().myBooksController->listTable();
    expectClicked(list, *list.verticalScrollBar());
    sidebar().setFocus();
    navigation().showView(Type::MyTitles);
    auto *page = shown()->findChild<QScrollArea *>();
    expectClicked(*controller().myQuilloTitlesController->listTable(), *page->verticalScrollBar());
}

TEST(NavCollectionItemTest, SelectedRowIsSeenThrough)
{
    QImage image(220, 40, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    QStyleOptionViewItem option;
    option.rect = image.rect();
    option.state = QStyle::State_Selected;
    NavCollectionItem::paint(painter, option);
    painter.end();
    EXPECT_NEAR(image.pixelColor(1, 1).red(), 255 * (1 - 0.7), 1);
    EXPECT_NEAR(image.pixelColor(1, 1).green(), 255 - 0.7 * (255 - 152), 1);
}

TEST_F(NavigationTest, RowsArePaintedInTheirColours)
{
    sidebar().clearFocus();
    const QImage image = sidebar().viewport()->grab().toImage();
    const QColor accent(0, 152, 176);
    const QPoint edge(2, 10);
    EXPECT_EQ(image.pixelColor(rowRect(gamesRow).topLeft() + edge), QColor(109, 181, 200));
    EXPECT_EQ(image.pixelColor(rowRect(bookRow).topLeft() + edge), accent);
    const QRect divider = rowRect(7);
    const int line = divider.center().y();
    EXPECT_EQ(image.pixelColor(19, line), accent);
    EXPECT_GT(image.pixelColor(20, line).red(), 60);
    EXPECT_GT(image.pixelColor(divider.right() - 20, line).red(), 60);
    EXPECT_EQ(image.pixelColor(divider.right() - 19, line), accent);
    EXPECT_EQ(image.pixelColor(40, line + 1), accent);
}

} // namespace
