#pragma once

#include <QLocale>
#include <QString>

/// Sizes of files as people read them: 1000 bytes to a kilobyte, kilobytes whole, megabytes with
/// one digit behind the point, all above with two, no zeros at the end. A value; any thread: the
/// language is handed over.
class ByteCountFormatter
{
public:
    explicit ByteCountFormatter(const QString &language);

    [[nodiscard]] const QString &language() const { return m_language; }
    /// "3,2 MB"
    [[nodiscard]] QString string(qint64 bytes) const;

private:
    QString m_language;
    QLocale m_locale;
};
