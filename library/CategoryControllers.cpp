#include "library/CategoryControllers.h"

#include "library/LibraryLists.h"
#include "library/ListController.h"

namespace {

template <class List>
ListController *makeList(CoverCache &covers, QWidget *parent)
{
    return new List(covers, parent);
}

constexpr TileController::Category books{NavElementType::Books, bookList,
                                         makeList<MyQuillyBooksController>, true};
constexpr TileController::Category games{NavElementType::Games, gameList,
                                         makeList<MyGamesController>};
constexpr TileController::Category learningMaterials{NavElementType::LearningMaterials,
                                                     learningMaterialList,
                                                     makeList<MyLearningMaterialsController>};
constexpr TileController::Category archives{NavElementType::Archive, archiveList,
                                            makeList<MyArchivesController>};

} // namespace

MyBooksController::MyBooksController(MainControlling &viewController, QWidget *parent)
    : TileController(viewController, books, parent)
{
}

GamesController::GamesController(MainControlling &viewController, QWidget *parent)
    : TileController(viewController, games, parent)
{
}

LearningMaterialController::LearningMaterialController(MainControlling &viewController,
                                                       QWidget *parent)
    : TileController(viewController, learningMaterials, parent)
{
}

ArchiveViewController::ArchiveViewController(MainControlling &viewController, QWidget *parent)
    : TileController(viewController, archives, parent)
{
}
