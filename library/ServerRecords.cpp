#include "library/BaseElement.h"

#include "pen/TextValues.h"
#include "platform/StandardOutput.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// The document as an array of objects; absent when it is anything else.
std::optional<QJsonArray> arrayOfObjects(const QByteArray &json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isArray())
        return std::nullopt;
    QJsonArray array = document.array();
    const bool objectsOnly = std::all_of(array.constBegin(), array.constEnd(),
                                         [](const QJsonValue &value) { return value.isObject(); });
    return objectsOnly ? std::optional(array) : std::nullopt;
}

std::optional<qint64> integer(const QJsonValue &value)
{
    // Two fall-backs that cannot both be the value itself tell integers from all else.
    const qint64 number = value.toInteger(0);
    if (!value.isDouble() || number != value.toInteger(1))
        return std::nullopt;
    return number;
}

/// The text of a key on one line: with a line end in it, it would bring lines of its own into the
/// title's metadata.
QString text(const QJsonObject &object, const QString &key)
{
    return splitAtNewlines(object.value(key).toString()).join(u' ');
}

bool isAreaCode(const QString &text)
{
    static const QRegularExpression expression(u"\\A[A-Za-z0-9_-]{1,16}\\z"_s);
    return expression.match(text).hasMatch();
}

/// The last object of the version array decides.
void readVersion(BaseElement &element, const QJsonArray &versions)
{
    const QString key = paddedMid(element.mid);
    for (const QJsonValue &object : versions) {
        const std::optional<qint64> value = integer(object[key]);
        element.bookVersion = value.value_or(1);
        element.isVersionTold = value && *value >= 0;
        if (!value) {
            print(u"The Book: "_s + element.name + u"MID: "_s + element.mid
                  + u" is not provided with current version from the Server, therfore its version "
                    u"was set to 1!"_s);
        }
    }
}

/// Absent, after a debug line, when the object names no title.
ElementPtr recordFromServer(const QJsonObject &object, const QJsonArray &versions)
{
    const std::optional<qint64> mid = integer(object.value(u"mid"_s));
    const QString areaCode = object.value(u"bookAreaCode"_s).toString();
    if (!mid || *mid < 0 || !isAreaCode(areaCode)) {
        debugPrint(u"Skipping a title from the server without usable mid or bookAreaCode."_s);
        return nullptr;
    }
    auto element = std::make_shared<BaseElement>();
    element->name = text(object, u"title"_s);
    element->author = text(object, u"author"_s);
    element->isbn = text(object, u"isbn"_s);
    element->mid = QString::number(*mid);
    element->bookAreaCode = areaCode;
    readVersion(*element, versions);
    if (const std::optional<qint64> volume = integer(object.value(u"volume"_s)))
        element->volume = QString::number(*volume);
    element->type = elementTypeOfWord(object.value(u"mediaType"_s).toString());
    const QJsonObject publisher = object.value(u"publisher"_s).toObject();
    element->publisherId = integer(publisher.value(u"publisherId"_s)).value_or(0);
    element->publisher = text(publisher, u"name"_s);
    element->id = makeElementId(element->mid, element->bookAreaCode);
    return element;
}

} // namespace

ElementList BaseElement::elementsFromServer(const QByteArray &mediaData,
                                            const QByteArray &versionData)
{
    const std::optional<QJsonArray> medias = arrayOfObjects(mediaData);
    const std::optional<QJsonArray> versions = arrayOfObjects(versionData);
    ElementList elements;
    if (!medias || !versions)
        return elements;
    for (const QJsonValue &media : *medias) {
        if (ElementPtr element = recordFromServer(media.toObject(), *versions))
            elements += element;
    }
    return elements;
}
