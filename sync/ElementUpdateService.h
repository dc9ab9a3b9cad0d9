#pragma once

#include "download/DownloadQueue.h"
#include "library/BaseElement.h"
#include "pen/FileType.h"

#include <QStringList>
#include <QUrl>

#include <functional>
#include <optional>
#include <stop_token>

class DownloadFileService;

/// What a catalogue run came to.
struct Catalogue
{
    /// The printed form of the requested MIDs once the answers were processed, else empty.
    QString result;
    /// The records of all listed titles; absent when the answers were not processed.
    std::optional<ElementList> records;
};

/// Brings the media server's view of the pen's titles into the program. Without state.
class ElementUpdateService
{
public:
    /// Runs the whole catalogue fetch and processes the answers. `completionHandler` runs once, on
    /// the shared session's thread, or on the caller's when nothing could be asked; not at all once
    /// `stop` is requested, which also ends all writing.
    static void
    fetchAllElementsFromMediaServer(bool removePrevious, std::stop_token stop,
                                    std::function<void(const Catalogue &)> completionHandler);

    /// GET of the address as text, once: empty for no, a refused, or an undecodable answer, of
    /// which the download window is told. Runs `completion` on the shared session's thread.
    static void fetchText(const QUrl &url, std::stop_token stop,
                          std::function<void(const QString &text)> completion);

    /// The MIDs of the to-be-downloaded list, in file order.
    [[nodiscard]] static QStringList readTbdMids();
    /// The plain MIDs of the files in the book folder, each once, in ascending text order.
    [[nodiscard]] static QStringList readLocalMids();
    /// The part of the name before the first "_", without leading zeros.
    [[nodiscard]] static QString midFromFileName(const QString &fileName);

    /// For every entry of the book folder, newest first, whose title has no file of that type: the
    /// title's MID. A title stands once for each other file it has.
    [[nodiscard]] static QStringList getMissingFiles(FileType type);
    /// The MIDs of titles with a metadata file and without content file, newest first, each once.
    [[nodiscard]] static QStringList getMissingMidsByQnk();

    /// Writes a record's metadata file into the book folder; nothing without pen.
    static void writeMetadata(const BaseElement &record);

    /// Downloads one title's content onto the pen and then refreshes its metadata file. A row that
    /// cannot be asked for is given up, and the queue goes on. Main thread.
    static void downloadTitleContent(const QString &publisherId, const QString &mid,
                                     const QString &bookVersion, const QString &elementId,
                                     DownloadFileService &downloadFileService,
                                     const UpdateElement &row);
};
