#pragma once

#include "library/BaseElement.h"
#include "pen/PenPlaces.h"

/// The four lists of a full scan, each in name order.
struct PenLibrary
{
    ElementList books;
    ElementList games;
    ElementList learningMaterials;
    ElementList archives;
};

/// Reads the pen's library; of what stays as it is, once (KnownFiles). Synchronous; the two
/// readings on the main thread.
class ElementService
{
public:
    /// The full scan for the views: sorted, with covers, by kind. Empty lists without pen.
    [[nodiscard]] static PenLibrary getQuilloFilesInfoFromPen();

    /// The plain reading for planning: one record per readable metadata file, newest file first.
    [[nodiscard]] static ElementList getTextFileContentFromPen();

    /// "Id: ", the file's identifier and a line feed.
    [[nodiscard]] static QString idPrefix(const QString &fileName);

    /// The cover of an identifier: the dummy when the file cannot be read or is too large to be
    /// shown, absent when it is no picture.
    [[nodiscard]] static std::optional<CoverImage> loadCoverImage(const PenPlaces &pen,
                                                                  const QString &id);

    /// Removes the title's metadata, cover and content file; what is missing is skipped. False when
    /// something of the title may still be on the pen, or the pen has gone. Main thread, since it
    /// names the title from the library lists.
    static bool deleteElement(const QString &id);
    /// The same for many; those that may still be there, in their order.
    static QStringList deleteElements(const QStringList &ids);

    /// Whether the title's content file is in the book folder.
    [[nodiscard]] static bool qnkFileExists(const PenPlaces &pen, const QString &id);
};
