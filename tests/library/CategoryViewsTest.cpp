#include "library/CategoryControllers.h"

#include "tests/library/ContentFixture.h"

#include "tests/support/Traces.h"

#include "base/EmptyStateView.h"
#include "library/ColoredTableView.h"
#include "library/ListController.h"
#include "library/TileView.h"

#include <QAccessible>
#include <QHeaderView>
#include <QScreen>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTextDocumentFragment>
#include <QToolTip>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize viewSize(1220, 714);

/// A category of titles as it stands in the content area.
class CategoryViewsTest : public ContentTest
{
protected:
    void show(int count, ViewMode mode = ViewMode::tiled)
    {
        bookList() = makeTitles(count, u"b"_s);
        main.mode = mode;
        books = std::make_unique<MyBooksController>(main);
        books->resize(viewSize);
        books->QWidget::show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(books.get()));
    }

    TileView &tiles() { return *books->collectionView; }
    ColoredTableView &table() { return *books->tableViewController->tableView; }
    QModelIndex title(QAbstractItemView &shown, int row)
    {
        return shown.model()->index(row, shown.model()->columnCount() == 1 ? 0 : 1);
    }
    void click(QAbstractItemView &shown, int row, Qt::KeyboardModifiers modifiers = {})
    {
        const QPoint point = shown.visualRect(title(shown, row)).center();
        QTest::mouseClick(shown.viewport(), Qt::LeftButton, modifiers, point);
    }
    void activate()
    {
        books->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(books.get()));
    }
    std::unique_ptr<MyBooksController> books;
};

class CountTest : public CategoryViewsTest, public testing::WithParamInterface<int>
{
};

TEST_P(CountTest, BothFormsShowAllTitlesOrSayThatThereAreNone)
{
    show(GetParam());
    const auto *empty = books->findChild<EmptyStateView *>();
    QAccessibleInterface *grid = QAccessible::queryAccessibleInterface(&tiles());
    EXPECT_EQ(grid->childCount(), GetParam());
    EXPECT_EQ(grid->text(QAccessible::Name), u"Bücher"_s);
    if (GetParam() > 0) {
        EXPECT_EQ(grid->child(0)->text(QAccessible::Name), u"Titel b0"_s);
        EXPECT_EQ(grid->child(0)->text(QAccessible::Description), u"ISBN: 9780000000"_s);
    }
    EXPECT_EQ(tiles().model()->rowCount(), GetParam());
    EXPECT_EQ(tiles().isVisible(), GetParam() > 0);
    EXPECT_EQ(empty->isVisible(), GetParam() == 0);
    EXPECT_EQ(empty->reason(), GetParam() == 0 ? EmptyStateView::Reason::EmptyLibrary
                                               : EmptyStateView::Reason::EmptyCategory);
    main.penAvailable = false;
    books->libraryChanged();
    EXPECT_EQ(empty->reason(), EmptyStateView::Reason::NoPen);
    books->applyViewMode(ViewMode::list);
    EXPECT_FALSE(tiles().isVisible());
    EXPECT_EQ(table().model()->rowCount(), GetParam());
    EXPECT_EQ(table().isVisible(), GetParam() > 0);
    const QRect inset = books->rect().adjusted(8, 8, -8, -8);
    EXPECT_EQ(books->tableViewController->geometry() == inset, GetParam() > 0);
    EXPECT_EQ(empty->isVisible(), GetParam() == 0);
}

INSTANTIATE_TEST_SUITE_P(Titles, CountTest, testing::Values(0, 1, 300),
                         testing::PrintToStringParamName());

template <class Category, class List>
void expectOwnList(FakeMain &main, ElementList &titles)
{
    clearLibraryLists();
    titles = makeTitles(2, u"t"_s);
    const Category category(main);
    ASSERT_NE(qobject_cast<List *>(category.tableViewController), nullptr);
    EXPECT_EQ(category.tableViewController->elements(), titles);
}

TEST_F(CategoryViewsTest, EachCategoryShowsItsOwnList)
{
    main.mode = ViewMode::list;
    expectOwnList<MyBooksController, MyQuillyBooksController>(main, bookList());
    expectOwnList<GamesController, MyGamesController>(main, gameList());
    expectOwnList<LearningMaterialController, MyLearningMaterialsController>(
        main, learningMaterialList());
    expectOwnList<ArchiveViewController, MyArchivesController>(main, archiveList());
}

TEST_F(CategoryViewsTest, ListHasTheColumnsInTheLanguageShown)
{
    show(3, ViewMode::list);
    const auto header = [this](int column) {
        return table().model()->headerData(column, Qt::Horizontal).toString();
    };
    EXPECT_EQ(header(1) + header(2) + header(3), u"TitelVerlagAutor"_s);
    EXPECT_EQ(table().model()->index(2, 2).data().toString(), u"Verlag"_s);
    EXPECT_EQ(table().model()->index(2, 3).data().toString(), u"Autorin 2"_s);
    const QModelIndex name = table().model()->index(2, 1);
    EXPECT_EQ(name.data(Qt::ToolTipRole).toString(), u"Titel b2"_s);
    bookList().at(2)->name = u"<b>x</b>"_s;
    QToolTip::showText({}, name.data(Qt::ToolTipRole).toString());
    EXPECT_EQ(QTextDocumentFragment::fromHtml(QToolTip::text()).toPlainText(), u"<b>x</b>"_s);
    QToolTip::hideText();
    EXPECT_EQ(table().accessibleName(), u"Bücher"_s);
    const QSignalSpy told(table().model(), &QAbstractItemModel::headerDataChanged);
    setCurrentLanguage(u"en"_s);
    books->languageChanged();
    EXPECT_EQ(told.count(), 1);
    EXPECT_EQ(header(1), u"Title"_s);
    EXPECT_EQ(table().accessibleName(), u"Books"_s);
    EXPECT_EQ(tiles().accessibleName(), u"Books"_s);
}

TEST_F(CategoryViewsTest, ListPaintsRowsAndSelection)
{
    show(4, ViewMode::list);
    click(table(), 3);
    table().clearFocus();
    books->setFocusProxy(nullptr);
    const QImage image = table().viewport()->grab().toImage();
    const auto color = [&](int row, int x, int y) {
        return image.pixelColor(x, 52 * row + y);
    };
    const QColor odd(170, 181, 200);
    EXPECT_EQ(table().rowHeight(0), 52);
    for (int row = 0; row < 4; ++row)
        EXPECT_EQ(color(row, 2, 26), row % 2 == 1 ? odd : QColor(Qt::white)) << row;
    EXPECT_EQ(color(3, 6, 26), QColor(196, 216, 155));
    EXPECT_EQ(color(3, 100, 2), odd);
}

/// What stands on the screen, without being asked to paint.
TEST_F(CategoryViewsTest, CoverIsPaintedWhenItIsReady)
{
    const QTemporaryDir folder;
    QImage red(44, 44, QImage::Format_RGB32);
    red.fill(Qt::red);
    for (const ViewMode mode : {ViewMode::tiled, ViewMode::list}) {
        show(1, mode);
        const CoverImage cover{folder.filePath(QString::number(int(mode)) + u".png"_s), red.size(),
                               1, 1};
        ASSERT_TRUE(red.save(cover.path));
        bookList().first()->image = cover;
        books->libraryChanged();
        const auto isRedSeen = [this] {
            const QImage seen = books->screen()->grabWindow(books->winId()).toImage();
            for (int i = 0; i < 250; ++i) {
                if (seen.pixelColor(i, i) == QColor(Qt::red))
                    return true;
            }
            return false;
        };
        EXPECT_TRUE(QTest::qWaitFor(isRedSeen));
    }
}

TEST_F(CategoryViewsTest, KeysInAListActOnItsRows)
{
    show(30, ViewMode::list);
    activate();
    const auto selected = [this] {
        return books->tableViewController->selectedIds();
    };
    const QRect author = table().visualRect(table().model()->index(3, 3));
    QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, author.center());
    QTest::keyClicks(&table(), u"Titel b2"_s);
    EXPECT_EQ(selected(), QStringList{u"b20"_s});
    QTest::keyClick(&table(), Qt::Key_Home);
    EXPECT_EQ(selected(), QStringList{u"b0"_s});
    QTest::keyClick(&table(), Qt::Key_End, Qt::ShiftModifier);
    EXPECT_EQ(selected().size(), 30);
}

TEST_F(CategoryViewsTest, OnlyBooksTraceTheMakingOfTiles)
{
    show(1);
    ASSERT_TRUE(QTest::qWaitFor([] { return logEntries().contains(u"collectionView Ende"_s); }));
    EXPECT_EQ(books->itemForRow(7).nameLabel, QString());
    EXPECT_EQ(logEntries().last(), u"collectionView return"_s);
    gameList() = makeTitles(1, u"g"_s);
    GamesController games(main);
    CollectionViewItem tile = games.itemForRow(0);
    EXPECT_EQ(tile.nameLabel, u"Titel g0"_s);
    EXPECT_EQ(tile.isbnLabel, u"ISBN: 9780000000"_s);
    tile.configure(dummyCover(), u"Pirat"_s, u"\"\""_s);
    EXPECT_EQ(tile.isbnLabel, u"ISBN: 9780000000"_s) << "stays as it was";
    EXPECT_EQ(logEntries().last(), u"collectionView return"_s);
}

TEST_F(CategoryViewsTest, SelectionIsTheDeletionSelectionInBothForms)
{
    show(30);
    click(tiles(), 2);
    click(tiles(), 0, Qt::ControlModifier);
    EXPECT_EQ(selectedElementIds(), (QStringList{u"b0"_s, u"b2"_s}));
    tiles().setFocus();
    QTest::keyClick(&tiles(), Qt::Key_Right);
    EXPECT_EQ(selectedElementIds(), QStringList{u"b1"_s});
    QTest::keyClick(&tiles(), Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(selectedElementIds().size(), 30);
    click(tiles(), 4);
    books->applyViewMode(ViewMode::list);
    EXPECT_EQ(books->tableViewController->selectedIds(), QStringList{u"b4"_s});
    EXPECT_EQ(selectedElementIds(), QStringList{u"b4"_s});
    click(table(), 3);
    click(table(), 1, Qt::ControlModifier);
    EXPECT_EQ(selectedElementIds(), (QStringList{u"b1"_s, u"b3"_s})) << "in ascending order";
    bookList().removeLast();
    books->libraryChanged();
    books->applyViewMode(ViewMode::tiled);
    EXPECT_EQ(tiles().model()->rowCount(), 29);
    EXPECT_EQ(books->markedIds(), (QStringList{u"b1"_s, u"b3"_s}));
}

TEST_F(CategoryViewsTest, SelectedTileIsSetOffAndOthersStayDimmed)
{
    show(30);
    activate();
    const QRect first = tiles().visualRect(title(tiles(), 0));
    const QRect second = tiles().visualRect(title(tiles(), 1));
    const auto shot = [this] {
        return tiles().viewport()->grab().toImage();
    };
    const QColor plain = shot().pixelColor(second.center());
    const auto expectDimmed = [&](const QImage &image) {
        const QColor dimmed = image.pixelColor(second.center());
        EXPECT_NEAR(dimmed.red(), 255 - 0.7 * (255 - plain.red()), 2);
    };
    tiles().setFocus();
    click(tiles(), 0);
    const QImage selected = shot();
    EXPECT_EQ(selected.pixelColor(first.center().x(), first.top() + 12), QColor(109, 181, 200));
    expectDimmed(selected);
    click(tiles(), 0, Qt::ControlModifier);
    expectDimmed(shot());
    books->libraryChanged();
    EXPECT_EQ(shot().pixelColor(second.center()), plain);
}

TEST_F(CategoryViewsTest, PointerIsToldOnEnteringAndLeavingATileAlsoOneThatGoes)
{
    show(3);
    const auto move = [this] {
        for (const int row : {0, 1})
            QTest::mouseMove(tiles().viewport(), tiles().visualRect(title(tiles(), row)).center());
    };
    const auto leave = [this] {
        QEvent event(QEvent::Leave);
        QCoreApplication::sendEvent(tiles().viewport(), &event);
    };
    const QString exited = u"mouse exited"_s;
    EXPECT_EQ(printedBy(move), (QStringList{u"mouse entered"_s, exited, u"mouse entered"_s}));
    EXPECT_EQ(printedBy(leave), QStringList(exited));
    move();
    EXPECT_EQ(printedBy([&] { books->libraryChanged(); }), QStringList(exited));
    move();
    books->willDelete({u"b1"_s});
    EXPECT_EQ(printedBy(leave), QStringList(exited));
}

class ReloadTest : public CategoryViewsTest, public testing::WithParamInterface<ViewMode>
{
protected:
    /// The middle is seen, while the third title is selected and the keyboard stands at the first.
    void start()
    {
        show(300, GetParam());
        activate();
        click(shown(), 2);
        QTest::keyClick(&shown(), Qt::Key_Home, Qt::ControlModifier);
        shown().verticalScrollBar()->setValue(shown().verticalScrollBar()->maximum() / 2 + 5);
        top = topIndex().data().toString();
        position = shown().visualRect(topIndex()).top();
    }

    QAbstractItemView &shown()
    {
        return GetParam() == ViewMode::tiled ? static_cast<QAbstractItemView &>(tiles()) : table();
    }
    QModelIndex topIndex()
    {
        return title(shown(), shown().indexAt({shown().viewport()->width() / 2, 1}).row());
    }

    QString top;
    int position = 0;
};

TEST_P(ReloadTest, KeepsPlaceSelectionAndKeyboardAlsoInAnotherLanguage)
{
    start();
    setCurrentLanguage(u"en"_s);
    books->languageChanged();
    bookList() = makeTitles(300, u"b"_s);
    books->libraryChanged();
    EXPECT_EQ(topIndex().data().toString(), top);
    EXPECT_EQ(shown().visualRect(topIndex()).top(), position);
    EXPECT_EQ(selectedElementIds(), QStringList{u"b2"_s});
    EXPECT_EQ(books->markedIds(), QStringList{u"b2"_s});
    EXPECT_EQ(shown().currentIndex(), title(shown(), 0));
    EXPECT_EQ(QApplication::focusWidget(), &shown());
}

TEST_P(ReloadTest, FollowsTheTopTitleWhenOthersComeOrGo)
{
    start();
    ElementList titles = makeTitles(300, u"b"_s);
    titles.remove(0, 24); // whole rows of tiles, too
    bookList() = makeTitles(36, u"new"_s) + titles;
    books->libraryChanged();
    const QModelIndexList followed =
        shown().model()->match(title(shown(), 0), Qt::DisplayRole, top, 1, Qt::MatchExactly);
    ASSERT_EQ(followed.size(), 1);
    EXPECT_EQ(shown().visualRect(followed.first()).top(), position);
    bookList() = makeTitles(2, u"other"_s);
    books->libraryChanged();
    EXPECT_EQ(shown().verticalScrollBar()->value(), 0);
}

INSTANTIATE_TEST_SUITE_P(Forms, ReloadTest, testing::Values(ViewMode::tiled, ViewMode::list),
                         [](const auto &row) {
                             return row.param == ViewMode::tiled ? "tiles" : "list";
                         });

} // namespace
