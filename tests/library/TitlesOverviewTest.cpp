#include "library/MyQuilloTitlesController.h"
#include "library/SearchViewController.h"

#include "tests/library/ContentFixture.h"

#include "tests/support/Traces.h"

#include "base/EmptyStateView.h"
#include "library/ColoredTableView.h"

#include <QLabel>
#include <QScrollBar>
#include <QTest>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

MusicList makeMusic(int count)
{
    MusicList music;
    for (int i = 0; i < count; ++i) {
        auto file = std::make_shared<Music>();
        file->fileName = u"Lied %1.mp3"_s.arg(i);
        file->duration = u"01:0%1"_s.arg(i % 10);
        file->interpret = u"Kapelle"_s;
        file->sizeString = u"3 MB"_s;
        music.append(file);
    }
    return music;
}

class TitlesOverviewTest : public ContentTest
{
protected:
    void show(int booksCount, int gamesCount, int materialsCount, int archivesCount, int music)
    {
        bookList() = makeTitles(booksCount, u"b"_s);
        gameList() = makeTitles(gamesCount, u"g"_s);
        learningMaterialList() = makeTitles(materialsCount, u"l"_s);
        archiveList() = makeTitles(archivesCount, u"a"_s);
        musicList() = makeMusic(music);
        page = std::make_unique<MyQuilloTitlesController>(main);
        page->showLibrary();
        page->resize(1220, 714);
        page->QWidget::show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(page.get()));
    }

    /// The headers on the page from top to bottom.
    QStringList headers()
    {
        QStringList texts;
        for (int i = 0; i < page->stackview()->count(); ++i) {
            if (auto *label = qobject_cast<QLabel *>(page->stackview()->itemAt(i)->widget()))
                texts.append(label->text());
        }
        return texts;
    }

    static void click(const TableController &list, int row, Qt::KeyboardModifiers modifiers = {})
    {
        const QTableView &table = *list.tableView;
        QTest::mouseClick(table.viewport(), Qt::LeftButton, modifiers,
                          table.visualRect(table.model()->index(row, 1)).center());
    }

    std::unique_ptr<MyQuilloTitlesController> page;
};

TEST_F(TitlesOverviewTest, SectionsStandInTheirOrderInTheLanguageShown)
{
    show(3, 1, 2, 4, 5);
    const ColoredTableView &table = *page->myArchiveController->tableView;
    const QAbstractItemModel &music = *page->musicController->tableView->model();
    EXPECT_EQ(headers(),
              (QStringList{u"Bücher"_s, u"Spiele"_s, u"Lernmaterial"_s, u"Archiv"_s, u"Musik"_s}));
    EXPECT_FALSE(table.verticalScrollBar()->isVisible());
    QStringList texts;
    QStringList titles;
    for (int column = 1; column < 5; ++column) {
        texts += music.index(1, column).data().toString();
        titles += music.headerData(column, Qt::Horizontal).toString();
    }
    EXPECT_EQ(texts, (QStringList{u"Lied 1.mp3"_s, u"01:01"_s, u"Kapelle"_s, u"3 MB"_s}));
    EXPECT_EQ(titles, (QStringList{u"Titel"_s, u"Dauer"_s, u"Interpret"_s, u"Größe"_s}));
    setCurrentLanguage(u"en"_s);
    page->languageChanged();
    EXPECT_EQ(headers(), (QStringList{u"Books"_s, u"Games"_s, u"Learning materials"_s, u"Archive"_s,
                                      u"Music"_s}));
    EXPECT_EQ(table.accessibleName(), u"Archive"_s);
    EXPECT_EQ(music.headerData(2, Qt::Horizontal).toString(), u"Length"_s);
}

TEST_F(TitlesOverviewTest, EmptySectionsAreLeftOutAndNothingAtAllSaysSo)
{
    show(0, 0, 0, 0, 0);
    EXPECT_EQ(headers(), QStringList());
    const auto *empty = page->findChild<EmptyStateView *>();
    EXPECT_TRUE(empty->isVisible());
    EXPECT_EQ(empty->reason(), EmptyStateView::Reason::EmptyLibrary);
    bookList() = makeTitles(1, u"b"_s);
    learningMaterialList() = makeTitles(1, u"l"_s);
    page->libraryChanged();
    EXPECT_FALSE(empty->isVisible());
    EXPECT_EQ(headers(), (QStringList{u"Bücher"_s, u"Lernmaterial"_s}));
    EXPECT_EQ(page->gamesHeader, nullptr);
    EXPECT_FALSE(page->myGamesController->isVisible());
    EXPECT_LT(page->learningMaterialHeader->y(), 4 * 52) << "few titles stand at the top";
}

TEST_F(TitlesOverviewTest, SelectionIsExclusiveBetweenSections)
{
    show(3, 2, 0, 0, 2);
    click(*page->myQuilloBooksController, 0);
    click(*page->myQuilloBooksController, 2, Qt::ControlModifier);
    EXPECT_EQ(selectedElementIds(), (QStringList{u"b0"_s, u"b2"_s}));
    CapturedOutput output;
    click(*page->myGamesController, 1);
    EXPECT_EQ(output.lines(), (QStringList{u"Deselect all for MyQuillyBooksController"_s,
                                           u"Deselect all for MyLearningMaterialsController"_s,
                                           u"Deselect all for MyArchivesController"_s,
                                           u"Deselect all for MusicController"_s}));
    EXPECT_EQ(selectedElementIds(), QStringList{u"g1"_s});
    EXPECT_TRUE(page->myQuilloBooksController->selectedRows().isEmpty());
    EXPECT_EQ(page->listTable(), page->myGamesController->tableView);
    click(*page->musicController, 0);
    EXPECT_TRUE(selectedElementIds().isEmpty());
    EXPECT_TRUE(page->myGamesController->selectedRows().isEmpty());
    EXPECT_EQ(page->musicController->selectedRows(), QList<int>{0});
}

TEST_F(TitlesOverviewTest, FoundTitlesStayButCannotBeChosenOnceTheyAreGone)
{
    show(3, 0, 0, 0, 0);
    const ElementList found = bookList().mid(1, 1);
    page->show(found, {}, {}, {}, {});
    bookList().removeAt(1);
    page->libraryChanged();
    EXPECT_EQ(page->myQuilloBooksController->elements(), found);
    click(*page->myQuilloBooksController, 0);
    EXPECT_TRUE(selectedElementIds().isEmpty());
}

TEST_F(TitlesOverviewTest, FoundPageSearchesAgainAfterReloadAndDeletion)
{
    show(3, 0, 0, 0, 0);
    SearchViewController::filter(u"b1"_s);
    page->showFound(u"b1"_s);
    EXPECT_EQ(page->myQuilloBooksController->elements(), bookList().mid(1, 1));
    bookList() = makeTitles(20, u"b"_s);
    page->libraryChanged();
    EXPECT_EQ(page->myQuilloBooksController->elements().size(), 11);
    bookList().removeAt(1);
    page->didDelete();
    EXPECT_EQ(main.foundTitlesShown, QStringList{u"b1"_s});
    EXPECT_EQ(foundBookList().size(), 10);
    EXPECT_EQ(main.titlesViewsShown, 0);
}

TEST_F(TitlesOverviewTest, ReloadKeepsPlaceAndSelection)
{
    show(100, 100, 0, 0, 10);
    page->setStanding({.scrollPosition = 130 * 52});
    click(*page->myGamesController, 40);
    const int position = page->standing().scrollPosition;
    gameList() = makeTitles(100, u"g"_s);
    page->libraryChanged();
    EXPECT_EQ(page->standing().scrollPosition, position);
    EXPECT_EQ(page->myGamesController->selectedIds(), QStringList{u"g40"_s});
    bookList().remove(0, 10);
    page->libraryChanged();
    EXPECT_EQ(page->standing().scrollPosition, position - 10 * 52);
}

TEST_F(TitlesOverviewTest, KeyboardBringsItsRowIntoView)
{
    show(100, 3, 0, 0, 0);
    page->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(page.get()));
    ColoredTableView &table = *page->myQuilloBooksController->tableView;
    table.setFocus();
    QTest::keyClick(&table, Qt::Key_End);
    EXPECT_EQ(page->myQuilloBooksController->selectedIds(), QStringList{u"b99"_s});
    EXPECT_FALSE(table.viewport()->visibleRegion().intersected(table.rowRect(99)).isEmpty());
    QTest::keyClick(&table, Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), page->myGamesController->tableView);
    QTest::keyClick(&table, Qt::Key_Home);
    EXPECT_LT(page->standing().scrollPosition, 100);
}

TEST_F(TitlesOverviewTest, NewPageStandsWhereTheOldOneStood)
{
    show(4'000, 2'000, 0, 0, 0);
    EXPECT_LT(page->findChildren<QWidget *>().size(), 130) << "titles cost no views of their own";
    page->setStanding({.scrollPosition = 4'030 * 52, .section = 1, .row = 32});
    MyQuilloTitlesController next(main);
    next.showLibrary();
    next.setStanding(page->standing());
    next.resize(page->size());
    next.QWidget::show();
    EXPECT_EQ(next.standing().scrollPosition, 4'030 * 52);
    next.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&next));
    next.setFocus();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
    EXPECT_EQ(next.myGamesController->selectedIds(), QStringList{u"g33"_s});
}

} // namespace
