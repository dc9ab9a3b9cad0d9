#include "app/NavigationViewController.h"

#include "tests/app/AppFixture.h"

#include "app/NavCollectionView.h"
#include "app/NavRowModel.h"
#include "base/EmptyStateView.h"
#include "base/FocusMark.h"
#include "base/ImageView.h"
#include "library/CategoryControllers.h"
#include "library/ListController.h"
#include "library/MusicView.h"
#include "library/MyQuilloTitlesController.h"
#include "library/TileView.h"
#include "pen/StorageController.h"

#include <QAccessible>
#include <QProgressBar>
#include <QScrollArea>
#include <QScrollBar>
#include <QTableView>

using namespace Qt::StringLiterals;

namespace {

using Type = NavElementType;

constexpr int bookRow = 3;
constexpr int gamesRow = 4;

struct Row
{
    Type type = Type::Divider;
    QString name;
    QString image;
};
const QList<Row> order{{},
                       {Type::MyTitles, u"Meine Titel"_s, u"quilo_gesamtansicht"_s},
                       {},
                       {Type::Books, u"Bücher"_s, u"quillo_buch"_s},
                       {Type::Games, u"Spiele"_s, u"quilo_spiel"_s},
                       {Type::LearningMaterials, u"Lernmaterial"_s, u"quillo_lernmaterial"_s},
                       {Type::Archive, u"Archiv"_s, u"Archivicon"_s},
                       {},
                       {Type::Music, u"Musik"_s, u"quilo_musik"_s},
                       {Type::Videos, u"Videos"_s, u"quillo_video"_s},
                       {},
                       {Type::Shop, u"Shop"_s, u"quillo_shop"_s},
                       {},
                       {Type::Storage, u"Speicher"_s, u"quillo_quillo_small"_s}};

/// The sidebar beside a pen that holds two books and a game.
class NavigationTest : public WindowTest
{
protected:
    NavigationTest()
    {
        writeTitle(pen, u"00001_de"_s, "Eins", "Buch");
        writeTitle(pen, u"00002_de"_s, "Zwei", "Buch");
        writeTitle(pen, u"00003_de"_s, "Drei", "Spiel");
        start();
    }

    NavigationViewController &navigation() { return *controller().navigationViewController; }
    NavCollectionView &sidebar() { return *navigation().navCollectionView; }
    QRect rowRect(int row) { return sidebar().visualRect(sidebar().model()->index(row, 0)); }
    void click(int row, Qt::KeyboardModifiers modifiers = {})
    {
        clickRow(sidebar(), row, 0, modifiers);
    }
    int selectedRow() { return sidebar().selected().row(); }
    QWidget *shown() { return navigation().activeSubViewController(); }
    QList<QWidget *> content()
    {
        return controller().mainContentView->findChildren<QWidget *>(Qt::FindDirectChildrenOnly);
    }
    void expectNoPenIn(const QWidget &page)
    {
        const auto *empty = page.findChild<EmptyStateView *>();
        EXPECT_TRUE(empty->isVisible());
        EXPECT_EQ(empty->reason(), EmptyStateView::Reason::NoPen);
    }
};

TEST_F(NavigationTest, SidebarHasItsRows)
{
    navigation().setFixedHeight(200); // not all of them are seen, the scroller takes no width
    QCoreApplication::sendPostedEvents();
    ASSERT_EQ(navigation().navElementArray().size(), order.size());
    QStringList names;
    for (int row = 0; row < order.size(); ++row) {
        SCOPED_TRACE(row);
        const NavElement &element = navigation().navElementArray().at(row);
        EXPECT_EQ(element.type, order.at(row).type);
        EXPECT_EQ(element.name, order.at(row).name);
        const QString image = order.at(row).image;
        const QIcon icon = image.isEmpty() ? QIcon() : shippedIcon(image);
        EXPECT_EQ(element.image.pixmap(32).toImage(), icon.pixmap(32).toImage());
        EXPECT_EQ(rowRect(row).size(), QSize(sidebar().width(), image.isEmpty() ? 12 : 48));
        if (!element.name.isEmpty())
            names.append(element.name);
    }
    QAccessibleInterface *list = QAccessible::queryAccessibleInterface(&sidebar());
    EXPECT_EQ(list->text(QAccessible::Name), localized(u"sidebar"_s));
    QStringList items;
    for (int i = 0; i < list->childCount(); ++i) {
        EXPECT_EQ(list->indexOfChild(list->child(i)), i);
        EXPECT_EQ(list->child(i)->role(), QAccessible::ListItem);
        items.append(list->child(i)->text(QAccessible::Name));
    }
    EXPECT_EQ(items, names) << "a divider is no item";
    QAccessibleInterface *books = list->child(1);
    EXPECT_TRUE(books->state().selected);
    EXPECT_EQ(list->childAt(books->rect().center().x(), books->rect().center().y()), books);
    list->child(2)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(selectedRow(), gamesRow);
    EXPECT_EQ(shown(), controller().gamesController.data());
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
        if (isDivider(order.at(row).type))
            continue;
        SCOPED_TRACE(row);
        const QPointer<QWidget> before = shown();
        click(row);
        EXPECT_EQ(selectedRow(), row);
        EXPECT_NE(shown(), before.data());
        EXPECT_EQ(content(), QList<QWidget *>{shown()});
        EXPECT_TRUE(shown()->isVisible());
        EXPECT_TRUE(QTest::qWaitFor([&] { return before.isNull(); }));
    }
    // The end takes the view that is shown and one that is about to go.
    controller().showView(NavElementType::Videos);
    const QPointer<QWidget> going = shown();
    controller().showView(NavElementType::Videos);
    ASSERT_FALSE(going.isNull());
    window.reset();
    EXPECT_TRUE(going.isNull());
}

TEST_F(NavigationTest, ClickingDividersOrNothingKeepsEverythingAndDraggingBuildsOneView)
{
    click(gamesRow);
    QWidget *games = shown();
    for (const int divider : {0, 2, 7, 10, 12})
        click(divider);
    QTest::mouseClick(sidebar().viewport(), Qt::LeftButton, {},
                      rowRect(13).bottomLeft() + QPoint(10, 10));
    click(0, Qt::ControlModifier);
    EXPECT_EQ(shown(), games);
    click(gamesRow, Qt::ControlModifier);
    EXPECT_EQ(selectedRow(), gamesRow);

    removeLog();
    QTest::mousePress(sidebar().viewport(), Qt::LeftButton, {}, rowRect(gamesRow).center());
    for (const int row : {5, 6, 7, 8})
        QTest::mouseMove(sidebar().viewport(), rowRect(row).center());
    QTest::mouseRelease(sidebar().viewport(), Qt::LeftButton, {}, rowRect(8).center());
    EXPECT_EQ(logLines({u"loadView Ende"_s}).size(), 1);
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
    const int used = controller().storageController->storageProgressBar->value();
    EXPECT_NEAR(used, StorageService::updateStorageValues().percent, 1);
    EXPECT_GT(used, 0);
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
    const TileController &games = *controller().gamesController;
    games.collectionView->setFocus();
    press(Qt::Key_T);
    EXPECT_EQ(controller().viewMode(), ViewMode::list);
    EXPECT_FALSE(games.collectionView->isVisible());
    EXPECT_EQ(QApplication::focusWidget(), controller().gamesController->listTable());
    press(Qt::Key_2);
    const TileController &books = *controller().myBooksController;
    EXPECT_TRUE(books.tableViewController->isVisible());
    press(Qt::Key_T);
    EXPECT_EQ(QApplication::focusWidget(), books.collectionView);
    EXPECT_FALSE(books.tableViewController->isVisible());
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
    expectNoPenIn(*shown());

    plugIn();
    ASSERT_TRUE(QTest::qWaitFor([] { return bookList().size() == 2; }));
    EXPECT_EQ(selectedRow(), bookRow);
    EXPECT_EQ(controller().myBooksController->collectionView->model()->rowCount(), 2);
}

TEST_F(NavigationTest, FocusInTheContentMovesToTheNextContent)
{
    activate();
    controller().myBooksController->collectionView->setFocus();
    navigation().showView(Type::Games);
    EXPECT_EQ(QApplication::focusWidget(), controller().gamesController->collectionView);
    controller().mainContentView->setFixedHeight(200);
    for (const Type type : {Type::Archive, Type::Storage, Type::Music}) {
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
    for (int i = 0; i < 8; ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        visited += QApplication::focusWidget()->accessibleName();
    }
    const QStringList keys{
        u"books"_s,         u"search"_s,      u"dropdown_lang_german"_s, u"dropdown_lang_english"_s,
        u"delete_button"_s, u"menu_button"_s, u"pen_button"_s,           u"sidebar"_s};
    QStringList names;
    for (const QString &key : keys)
        names += localized(key);
    EXPECT_EQ(visited, names);
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

TEST_F(NavigationTest, RowsArePaintedInTheirColours)
{
    sidebar().clearFocus();
    const QImage image = sidebar().viewport()->grab().toImage();
    const QColor accent(0, 152, 176);
    const auto color = [&](int row, int x) {
        return image.pixelColor(x, rowRect(row).center().y());
    };
    EXPECT_EQ(color(gamesRow, 2), QColor(109, 181, 200));
    EXPECT_EQ(color(bookRow, 2), accent);
    EXPECT_EQ(color(7, 2), accent);
    EXPECT_GT(color(7, sidebar().width() / 2).red(), 60) << "the divider's line";
}

} // namespace
