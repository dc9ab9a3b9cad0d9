#include "library/LibraryLists.h"

#include "library/DownloadQueue.h"
#include "library/KnownFiles.h"
#include "platform/Dispatch.h"

namespace {

struct Lists
{
    ElementList books;
    ElementList games;
    ElementList archives;
    ElementList learningMaterials;
    MusicList music;
    ElementList foundBooks;
    ElementList foundGames;
    ElementList foundLearningMaterials;
    MusicList foundMusic;
    ElementList foundArchives;
    QStringList selectedIds;
};

Lists &lists()
{
    Q_ASSERT(Dispatch::isMainThread());
    static Lists lists;
    return lists;
}

} // namespace

ElementList &bookList()
{
    return lists().books;
}

ElementList &gameList()
{
    return lists().games;
}

ElementList &archiveList()
{
    return lists().archives;
}

ElementList &learningMaterialList()
{
    return lists().learningMaterials;
}

MusicList &musicList()
{
    return lists().music;
}

ElementList &foundBookList()
{
    return lists().foundBooks;
}

ElementList &foundGameList()
{
    return lists().foundGames;
}

ElementList &foundLearningMaterialList()
{
    return lists().foundLearningMaterials;
}

MusicList &foundMusicList()
{
    return lists().foundMusic;
}

ElementList &foundArchiveList()
{
    return lists().foundArchives;
}

QStringList &selectedElementIds()
{
    return lists().selectedIds;
}

ElementList allElements()
{
    return bookList() + gameList() + archiveList() + learningMaterialList();
}

void clearLibraryLists()
{
    lists() = {};
    knownFiles().forget();
    updateElements().clear();
}
