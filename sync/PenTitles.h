#pragma once

#include "library/BaseElement.h"
#include "pen/PenPlaces.h"

#include <QHash>
#include <QSet>
#include <QStringList>

/// The titles of the pen's book folder as their files name them, and under which of these names the
/// pen keeps a title of the server. Holds what the folder held when it was made.
class PenTitles
{
public:
    /// `records` are the server's: the identifier of one of them belongs to no other.
    PenTitles(const PenPlaces &pen, const ElementList &records);

    [[nodiscard]] bool has(const QString &id, FileType type) const;

    /// The identifiers of which there is a file, but none of that type, newest first, each once.
    [[nodiscard]] QStringList getMissingFiles(FileType type) const;
    /// Those with a metadata file and without content file, in the same order.
    [[nodiscard]] QStringList getMissingIdsByQnk() const;

    /// The server's own identifier where the pen has text or content of it, else the one that the
    /// pen has text, or only content, of for the same MID; the server's own when there is none.
    [[nodiscard]] QString identifierOf(const BaseElement &record) const;

    /// The part of the identifier before the first "_", without leading zeros.
    [[nodiscard]] static QString midOf(const QString &id);

private:
    QSet<QString> m_names; ///< of the files
    QStringList m_ids;     ///< newest first
    QHash<QString, QStringList> m_idsOfMid;
    QSet<QString> m_serverIds;
};
