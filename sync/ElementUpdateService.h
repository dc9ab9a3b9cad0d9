#pragma once

#include "library/BaseElement.h"
#include "library/DownloadQueue.h"
#include "pen/PenPlaces.h"

#include <QSet>
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
    /// The records of all listed and requested titles; absent when the answers were not processed.
    std::optional<ElementList> records;
    /// The pen's identifiers of titles that it asked for although it has their content.
    QStringList askedAnew;
};

/// Brings the media server's view of the pen's titles into the program. Without state.
class ElementUpdateService
{
public:
    /// Runs the whole catalogue fetch and processes the answers. `completionHandler` runs once, on
    /// the shared session's thread, or on the caller's when nothing could be asked; not at all once
    /// `stop` is requested, which also ends all writing.
    static void
    fetchAllElementsFromMediaServer(const PenPlaces &pen, bool removePrevious, std::stop_token stop,
                                    std::function<void(const Catalogue &)> completionHandler);

    /// GET of the address as text, once: empty for no, a refused, or an undecodable answer, of
    /// which the download window is told. Runs `completion` on the shared session's thread.
    static void fetchText(const QUrl &url, std::stop_token stop,
                          std::function<void(const QString &text)> completion);

    /// Takes the requests for these plain MIDs off the pen's list.
    static void forgetRequests(const std::optional<PenPlaces> &pen, const QSet<QString> &mids);

    /// The MIDs of the to-be-downloaded list, in file order.
    [[nodiscard]] static QStringList readTbdMids();
    /// The plain MIDs of the files in the book folder, each once, in ascending text order.
    [[nodiscard]] static QStringList readLocalMids();
    /// The part of the name before the first "_", without leading zeros.
    [[nodiscard]] static QString midFromFileName(const QString &fileName);

    /// Whether the book folder has a metadata file of that identifier.
    [[nodiscard]] static bool hasMetadata(const PenPlaces &pen, const QString &id);
    /// Writes a record's text into the identifier's metadata file in the book folder, unless it
    /// holds just that; false when the pen does not take it.
    static bool writeMetadata(const PenPlaces &pen, const BaseElement &record, const QString &id);

    /// Downloads one title's content onto the pen and then refreshes its metadata file. A row that
    /// cannot be asked for, since there is no such address, is given up with a line, and the queue
    /// goes on. Main thread.
    static void downloadTitleContent(const QString &publisherId, const QString &mid,
                                     const QString &bookVersion, const QString &elementId,
                                     DownloadFileService &downloadFileService,
                                     const UpdateElement &row, const PenPlaces &pen);
};
