#include "library/BaseElement.h"

#include "pen/TextValues.h"
#include "platform/StandardOutput.h"

#include <array>

using namespace Qt::StringLiterals;

namespace {

struct KindWord
{
    ElementType type;
    QString name;
    QString word; ///< in metadata texts and server answers
};

/// In the order of the cases, which is also the order in which a text is searched for the words.
const std::array<KindWord, 4> kindWords = {
    KindWord{ElementType::Book, u"Book"_s, u"Buch"_s},
    KindWord{ElementType::Game, u"Game"_s, u"Spiel"_s},
    KindWord{ElementType::Archive, u"Archive"_s, u"Archiv"_s},
    KindWord{ElementType::LearningMaterial, u"LearningMaterial"_s, u"Lernmaterial"_s},
};

struct TextKey
{
    QString key;
    QString BaseElement::*field;
};

const std::array<TextKey, 8> textKeys = {
    TextKey{u"Name:"_s, &BaseElement::name},
    TextKey{u"Publisher:"_s, &BaseElement::publisher},
    TextKey{u"Author:"_s, &BaseElement::author},
    TextKey{u"URL:"_s, &BaseElement::url},
    TextKey{u"ThumbMD5:"_s, &BaseElement::thumbMd5},
    TextKey{u"FileMD5:"_s, &BaseElement::fileMd5},
    TextKey{u"Book Area Code:"_s, &BaseElement::bookAreaCode},
    TextKey{u"ISBN:"_s, &BaseElement::isbn},
};

void readId(BaseElement &element, const QString &value)
{
    element.id = value;
    if (!value.contains(u'_'))
        return;
    const QStringList pieces = value.split(u'_', Qt::SkipEmptyParts);
    if (!pieces.isEmpty())
        element.mid = pieces.first();
}

void readVersion(BaseElement &element, const QString &value)
{
    if (const std::optional<qint64> version = decimalInteger(value))
        element.bookVersion = *version;
    else
        debugPrint(u"Not a book version: "_s + value);
}

void readType(BaseElement &element, const QString &value)
{
    for (const KindWord &kind : kindWords) {
        if (value.contains(kind.word)) {
            element.type = kind.type;
            return;
        }
    }
}

void readLine(BaseElement &element, QStringView line, const QString &value)
{
    if (line.startsWith(u"Id:"_s))
        return readId(element, value);
    if (line.startsWith(u"Book Version:"_s))
        return readVersion(element, value);
    if (line.startsWith(u"Type:"_s))
        return readType(element, value);
    for (const TextKey &text : textKeys) {
        if (line.startsWith(text.key)) {
            element.*text.field = value;
            return;
        }
    }
}

} // namespace

QString rawValue(ElementType type)
{
    return kindWords.at(static_cast<size_t>(type)).name;
}

std::optional<ElementType> elementType(const QString &rawValue)
{
    for (const KindWord &kind : kindWords) {
        if (kind.name == rawValue)
            return kind.type;
    }
    return std::nullopt;
}

QString typeWord(ElementType type)
{
    return kindWords.at(static_cast<size_t>(type)).word;
}

std::optional<ElementType> elementTypeOfWord(const QString &word)
{
    for (const KindWord &kind : kindWords) {
        if (kind.word == word)
            return kind.type;
    }
    return std::nullopt;
}

BaseElement BaseElement::parseTextFile(const QString &content)
{
    BaseElement element;
    for (const QStringView line : linesOf(content)) {
        if (const std::optional<QString> value = valueAfter(line, u':'))
            readLine(element, line, *value);
    }
    return element;
}

QString BaseElement::textFileContent() const
{
    return u"Name: "_s + name + u"\nPublisher: "_s + publisher + u"\nAuthor: "_s + author
           + u"\nBook Area Code: "_s + bookAreaCode + u"\nISBN: "_s + isbn + u"\nType: "_s
           + (type ? typeWord(*type) : QString()) + u"\nBook Version: "_s
           + QString::number(bookVersion) + u'\n';
}

QString paddedMid(const QString &mid)
{
    return mid.rightJustified(5, u'0');
}

QString makeElementId(const QString &mid, const QString &bookAreaCode)
{
    return paddedMid(mid) + u'_' + bookAreaCode;
}
