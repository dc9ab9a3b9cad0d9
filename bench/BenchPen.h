#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

/// A folder of volumes with a pen in it that has as many titles as wanted, each with a cover of
/// 600 x 800.
class BenchPen
{
public:
    enum class Files {
        Whole,  ///< metadata, cover and contents; titles share what is large
        ToScan, ///< metadata, and for a cover a file of its own with nothing behind its beginning
    };

    explicit BenchPen(int titles, Files files = Files::Whole);

    /// The folder for FolderVolumes.
    [[nodiscard]] QString volumes() const { return m_folder.filePath(QStringLiteral("volumes")); }
    /// Of a file of the pen that is plugged in.
    [[nodiscard]] QString path(const QString &relative) const;

    /// Moves the pen out of the folder of volumes in one step, and back.
    void pullOut() const;
    void plugIn() const;

    /// A property list without a single address.
    [[nodiscard]] QString configuration() const
    {
        return m_folder.filePath(QStringLiteral("Url.plist"));
    }

    [[nodiscard]] static int mid(int title) { return 10'000 + title; }

private:
    void write(const QString &relative, const QByteArray &data) const;
    void addShared() const;
    void add(int title, Files files) const;
    void addCoverHead(int title, const QString &relative) const;
    void link(const QString &existing, const QString &relative) const;

    QTemporaryDir m_folder;
};

/// The pen with that many titles and their contents, filled once for all children.
[[nodiscard]] const BenchPen &sharedPen(int titles);
