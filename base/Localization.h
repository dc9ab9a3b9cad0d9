#pragma once

#include <QString>

/// The program's one current language, the code of a string table: "de" or "en". Main thread only.
[[nodiscard]] const QString &currentLanguage();
void setCurrentLanguage(const QString &language);

/// The text of `key` in the table of `language`, which becomes the current language. A key that the
/// table lacks comes back as itself; so does any key of a language without a table, which does not
/// become current. Main thread only.
[[nodiscard]] QString localized(const QString &key, const QString &language);

/// The text of `key` in the current language.
[[nodiscard]] QString localized(const QString &key);

class LanguageService
{
public:
    /// A number already formatted as text, with "," for every "." when the language is "de".
    [[nodiscard]] static QString numberText(const QString &number);
    /// A number already formatted as text with its percent sign: "42 %" in German, "42%" otherwise.
    [[nodiscard]] static QString percentText(const QString &number);
};

/// Adopted by content controllers with texts of their own to re-apply when the language changes.
class LanguageHandling
{
public:
    virtual ~LanguageHandling() = default;
    virtual void languageChanged() = 0;
};
