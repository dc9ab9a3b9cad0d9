#pragma once

#include "library/BaseElement.h"

#include <QList>
#include <QString>

/// One invented title as the servers hold it.
struct DemoTitle
{
    int mid = 0;
    QString name;
    QString author;
    int publisherId = 0;
    QString publisher;
    QString isbn;
    ElementType type = ElementType::Book;
    QString areaCode;
    int version = 1;
    int volume = 1;
    qint64 contentBytes = 0;

    /// The base name of its files on the pen.
    [[nodiscard]] QString id() const;
    /// Its record with version `bookVersion`, as its metadata text tells it.
    [[nodiscard]] BaseElement record(int bookVersion) const;
};

/// The check digit behind the first twelve digits of an ISBN-13.
[[nodiscard]] QChar isbnCheckDigit(const QString &twelveDigits);

/// `count` titles in the order of their MIDs: all four kinds, German and English, no name and no
/// MID twice. The same seed and count give the same titles.
[[nodiscard]] QList<DemoTitle> inventTitles(quint32 seed, int count);
