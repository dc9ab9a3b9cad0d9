#include "library/CategoryControllers.h"

#include "library/LibraryLists.h"
#include "library/ListController.h"

namespace {

template <class List>
ListController *makeList(CoverCache &covers, QWidget *parent)
{
    return new List(covers, parent);
}

constexpr TileController::Category books{u"books", bookList, makeList<MyQuillyBooksController>,
                                         true};
constexpr TileController::Category games{u"games", gameList, makeList<MyGamesController>};
constexpr TileController::Category learningMaterials{u"learningMaterials", learningMaterialList,
                                                     makeList<MyLearningMaterialsController>};
constexpr TileController::Category archives{u"archive", archiveList,
                                            makeList<MyArchivesController>};

} // namespace

MyBooksController::MyBooksController(ContentOwner &viewController, QWidget *parent)
    : TileController(viewController, books, parent)
{
}

GamesController::GamesController(ContentOwner &viewController, QWidget *parent)
    : TileController(viewController, games, parent)
{
}

LearningMaterialController::LearningMaterialController(ContentOwner &viewController,
                                                       QWidget *parent)
    : TileController(viewController, learningMaterials, parent)
{
}

ArchiveViewController::ArchiveViewController(ContentOwner &viewController, QWidget *parent)
    : TileController(viewController, archives, parent)
{
}
