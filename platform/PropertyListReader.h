#pragma once

#include <QVariantMap>
#include <QXmlStreamReader>

#include <optional>

/// Reads one XML property list. Anything unexpected ends the reading: an unknown or misplaced
/// element, a value that does not parse, a document type with declarations of its own (which could
/// expand entities), nesting deeper than 64. One reader per document.
class PropertyListReader
{
public:
    explicit PropertyListReader(const QByteArray &xml);

    /// The top-level dictionary; absent when the document is no property list or its top level is
    /// something else.
    [[nodiscard]] std::optional<QVariantMap> read();

private:
    bool readDocumentStart();
    bool readNextElement();
    void fail(const QString &reason);

    [[nodiscard]] QVariant readValue(int depth);
    [[nodiscard]] QVariantMap readDictionary(int depth);
    [[nodiscard]] QVariantList readArray(int depth);
    [[nodiscard]] QVariant readBoolean(bool value);
    [[nodiscard]] QVariant readSimpleValue(const QString &type);
    [[nodiscard]] QString readText();

    QXmlStreamReader m_xml;
};
