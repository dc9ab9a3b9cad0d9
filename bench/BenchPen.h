#pragma once

#include "tests/support/PenFolder.h"

/// A plugged in pen with as many titles as wanted, each with a cover of 600 x 800.
class BenchPen : public PenFolder
{
public:
    enum class Files {
        Whole,  ///< metadata, cover and contents; titles share what is large
        ToScan, ///< metadata, and for a cover a file of its own with nothing behind its beginning
    };

    explicit BenchPen(int titles, Files files = Files::Whole);

    /// A property list without a single address.
    [[nodiscard]] QString configuration() const
    {
        return m_folder.filePath(QStringLiteral("Url.plist"));
    }

    [[nodiscard]] static int mid(int title) { return 10'000 + title; }

private:
    void addShared() const;
    void add(int title, Files files) const;
    void addCoverHead(int title, const QString &relative) const;
    void link(const QString &existing, const QString &relative) const;

    QTemporaryDir m_folder;
};

/// The pen with that many titles and their contents, filled once for all children.
[[nodiscard]] const BenchPen &sharedPen(int titles);
