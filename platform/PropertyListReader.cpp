#include "platform/PropertyListReader.h"

#include <QByteArray>
#include <QDateTime>

using namespace Qt::StringLiterals;

namespace {

constexpr int maximumDepth = 64;

QVariant integerValue(const QString &text)
{
    bool valid = false;
    const qlonglong value = text.toLongLong(&valid, 10);
    return valid ? QVariant(value) : QVariant();
}

QVariant realValue(const QString &text)
{
    bool valid = false;
    const double value = text.toDouble(&valid);
    return valid ? QVariant(value) : QVariant();
}

QVariant dataValue(const QString &text)
{
    const auto decoded = QByteArray::fromBase64Encoding(text.simplified().remove(u' ').toUtf8(),
                                                        QByteArray::AbortOnBase64DecodingErrors);
    return decoded ? QVariant(*decoded) : QVariant();
}

QVariant dateValue(const QString &text)
{
    const QDateTime value = QDateTime::fromString(text, Qt::ISODate);
    return value.isValid() ? QVariant(value) : QVariant();
}

} // namespace

PropertyListReader::PropertyListReader(const QByteArray &xml)
    : m_xml(xml)
{
}

std::optional<QVariantMap> PropertyListReader::read()
{
    QVariant top;
    if (readDocumentStart() && readNextElement())
        top = readValue(0);
    if (readNextElement())
        fail(u"more than one value at the top level"_s);
    while (!m_xml.atEnd())
        m_xml.readNext();
    if (m_xml.hasError() || top.typeId() != QMetaType::QVariantMap)
        return std::nullopt;
    return top.toMap();
}

bool PropertyListReader::readDocumentStart()
{
    while (!m_xml.atEnd() && m_xml.readNext() != QXmlStreamReader::StartElement) {
        if (m_xml.isDTD() && m_xml.text().contains(u'['))
            fail(u"a document type with declarations of its own"_s);
    }
    if (!m_xml.hasError() && m_xml.name() != "plist"_L1)
        fail(u"no property list"_s);
    return !m_xml.hasError();
}

/// Moves to the next child element; false at the end of the parent or after an error. Unlike
/// readNextStartElement() this does not pass over text between the elements.
bool PropertyListReader::readNextElement()
{
    while (!m_xml.hasError() && !m_xml.atEnd()) {
        switch (m_xml.readNext()) {
        case QXmlStreamReader::StartElement:
            return true;
        case QXmlStreamReader::EndElement:
            return false;
        case QXmlStreamReader::Characters:
            if (!m_xml.isWhitespace())
                fail(u"text between elements"_s);
            break;
        case QXmlStreamReader::EntityReference:
            fail(u"an unknown entity"_s);
            break;
        default:
            break;
        }
    }
    return false;
}

void PropertyListReader::fail(const QString &reason)
{
    if (!m_xml.hasError())
        m_xml.raiseError(reason);
}

QVariant PropertyListReader::readValue(int depth)
{
    const QString type = m_xml.name().toString();
    if (depth >= maximumDepth)
        fail(u"nested too deeply"_s);
    else if (type == "dict"_L1)
        return readDictionary(depth);
    else if (type == "array"_L1)
        return readArray(depth);
    else if (type == "true"_L1 || type == "false"_L1)
        return readBoolean(type == "true"_L1);
    else
        return readSimpleValue(type);
    return {};
}

QVariantMap PropertyListReader::readDictionary(int depth)
{
    QVariantMap dictionary;
    while (readNextElement()) {
        if (m_xml.name() != "key"_L1) {
            fail(u"a value without key"_s);
            break;
        }
        const QString key = readText();
        if (!readNextElement()) {
            fail(u"a key without value"_s);
            break;
        }
        dictionary.insert(key, readValue(depth + 1));
    }
    return dictionary;
}

QVariantList PropertyListReader::readArray(int depth)
{
    QVariantList array;
    while (readNextElement())
        array.append(readValue(depth + 1));
    return array;
}

QVariant PropertyListReader::readBoolean(bool value)
{
    if (!readText().isEmpty())
        fail(u"a boolean with content"_s);
    return value;
}

QVariant PropertyListReader::readSimpleValue(const QString &type)
{
    const QString text = readText();
    QVariant value;
    if (type == "string"_L1)
        return text;
    if (type == "integer"_L1)
        value = integerValue(text.trimmed());
    else if (type == "real"_L1)
        value = realValue(text.trimmed());
    else if (type == "data"_L1)
        value = dataValue(text);
    else if (type == "date"_L1)
        value = dateValue(text.trimmed());
    if (!value.isValid())
        fail(u"an unknown element or a value that does not parse"_s);
    return value;
}

QString PropertyListReader::readText()
{
    return m_xml.readElementText(QXmlStreamReader::ErrorOnUnexpectedElement);
}
