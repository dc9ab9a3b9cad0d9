#pragma once

#include "library/CoverImage.h"
#include "library/DownloadType.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <memory>
#include <optional>

enum class ElementType { Book, Game, Archive, LearningMaterial };

/// The case's name: "Book", "Game", "Archive", "LearningMaterial".
[[nodiscard]] QString rawValue(ElementType type);
[[nodiscard]] std::optional<ElementType> elementType(const QString &rawValue);

/// The German word for the kind in metadata texts and server answers: "Buch", "Spiel", "Archiv",
/// "Lernmaterial".
[[nodiscard]] QString typeWord(ElementType type);
/// The kind whose word is exactly `word`.
[[nodiscard]] std::optional<ElementType> elementTypeOfWord(const QString &word);

class BaseElement;
using ElementPtr = std::shared_ptr<BaseElement>;
using ElementList = QList<ElementPtr>;

/// One title. Shared, not copied: a change made through one holder is seen by all.
class BaseElement
{
public:
    QString id; ///< base name of the title's files in the book folder
    QString name;
    QString publisher;
    QString author;
    qint64 bookVersion = 0;
    bool isVersionTold = false; ///< by the server's versions document, with this value
    QString url;
    QString thumbMd5;
    QString fileMd5;
    QString bookAreaCode;
    QString isbn;
    std::optional<CoverImage> image;
    QString mid;
    QString volume;
    qint64 publisherId = 0;
    std::optional<ElementType> type;
    DownloadType downloadType = DownloadType::UpToDate;

    /// Reads a metadata text. Never fails; unknown and missing lines leave initial values.
    [[nodiscard]] static BaseElement parseTextFile(const QString &content);

    /// The metadata text to store on the pen: seven lines, each ended by a line feed.
    [[nodiscard]] QString textFileContent() const;

    /// Records from the media server's title data and versions document (an array of objects), in
    /// the order of the title data, each text on one line. Empty when either is empty or no JSON
    /// array of objects; an object without usable "mid" or "bookAreaCode" is skipped with a debug
    /// line.
    [[nodiscard]] static ElementList elementsFromServer(const QByteArray &mediaData,
                                                        const QByteArray &versionData);
};

/// One of the four kinds: a copy of a record's fields that the views need, the others at their
/// initial values.
template <ElementType Kind>
class ElementOfKind : public BaseElement
{
public:
    explicit ElementOfKind(const BaseElement &element)
    {
        id = element.id;
        name = element.name;
        publisher = element.publisher;
        author = element.author;
        bookVersion = element.bookVersion;
        bookAreaCode = element.bookAreaCode;
        isbn = element.isbn;
        image = element.image;
        type = element.type;
    }
};

using Book = ElementOfKind<ElementType::Book>;
using Game = ElementOfKind<ElementType::Game>;
using Archive = ElementOfKind<ElementType::Archive>;
using LearningMaterial = ElementOfKind<ElementType::LearningMaterial>;

/// The MID left-padded with "0" to five characters.
[[nodiscard]] QString paddedMid(const QString &mid);

/// The padded MID, "_" and the book area code.
[[nodiscard]] QString makeElementId(const QString &mid, const QString &bookAreaCode);
