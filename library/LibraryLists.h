#pragma once

#include "library/BaseElement.h"
#include "library/Music.h"

#include <QStringList>

// The library of the pen, once for the whole run. Main thread only; debug builds assert it.

[[nodiscard]] ElementList &bookList();
[[nodiscard]] ElementList &gameList();
[[nodiscard]] ElementList &archiveList();
[[nodiscard]] ElementList &learningMaterialList();
[[nodiscard]] MusicList &musicList();

[[nodiscard]] ElementList &foundBookList();
[[nodiscard]] ElementList &foundGameList();
[[nodiscard]] ElementList &foundLearningMaterialList();
[[nodiscard]] MusicList &foundMusicList();
[[nodiscard]] ElementList &foundArchiveList();

/// The ids of the titles chosen for deletion.
[[nodiscard]] QStringList &selectedElementIds();

/// Books, games, archive, learning materials, each in its own order.
[[nodiscard]] ElementList allElements();

/// Empties all of the above and the download queue and forgets what was read, for when the pen has
/// gone.
void clearLibraryLists();
