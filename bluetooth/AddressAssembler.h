#pragma once

#include <QString>
#include <QUrl>

#include <optional>

/// Puts an address together from the pieces that the pen sends, in the order they come.
class AddressAssembler
{
public:
    /// What is longer is no address.
    static constexpr qsizetype mostCharacters = 8192;

    void append(const QString &piece);
    void clear();

    /// The pieces so far.
    [[nodiscard]] const QString &urlString() const { return m_urlString; }

    /// Makes an address of the pieces and forgets them. Absent when they form none; `text` is what
    /// was tried then.
    [[nodiscard]] std::optional<QUrl> finish(QString &text);

private:
    QString m_urlString;
    bool m_tooLong = false;
};
