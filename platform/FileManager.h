#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <optional>

class FilePlace;
class FolderVisit;
class VolumeSource;

/// What a file operation came to: nothing, or why it failed.
struct FileResult
{
    QString error; ///< the system's own words, empty on success

    explicit operator bool() const { return error.isEmpty(); }
};

/// Files and volumes. A path below "/Volumes/" names a file on a mounted volume and is turned into
/// its real path here and nowhere else; a path that holds "..", NUL or a link out of its volume, or
/// whose volume is not mounted, names nothing. Other paths are taken as they are.
/// All operations are synchronous and may be called from any thread.
class FileManager
{
public:
    enum class HiddenFiles { Skip, Include };
    enum class WriteMode { InPlace, Atomic };

    struct Entry
    {
        QString name;
        qint64 modified; ///< nanoseconds since the epoch; the least value when it cannot be read
    };

    /// Tells whether a file is still the one that it was.
    struct Stamp
    {
        qint64 size = 0;
        qint64 modified = 0; ///< as Entry::modified
        quint64 identity = 0;

        bool operator==(const Stamp &) const = default;
    };

    struct FileSystemAttributes
    {
        qint64 size;     ///< bytes
        qint64 freeSize; ///< bytes
    };

    struct Contents
    {
        std::optional<QByteArray> data; ///< absent when the file cannot be read
        QString error;
        Stamp stamp = {}; ///< of the whole file, however much was read, before it was
    };

    /// Chosen once at start-up, before any other call; not owned and must outlive every call.
    static void setVolumeSource(VolumeSource *source);

    /// file:///Volumes/NAME/ for every mounted volume in the system's order; absent without a
    /// source.
    [[nodiscard]] static std::optional<QList<QUrl>> mountedVolumeURLs();

    /// Where the path leads, for work on its file.
    [[nodiscard]] static FilePlace placeOf(const QString &path);

    /// The system's own path for `path`, for libraries that open files themselves; absent as above.
    [[nodiscard]] static std::optional<QString> realPath(const QString &path);

    [[nodiscard]] static bool fileExists(const QString &path);

    /// Absent for what is no regular file.
    [[nodiscard]] static std::optional<Stamp> stampOf(const QString &path);

    /// The whole file, which may be up to 1 GiB, or its first `limit` bytes. Regular files only.
    [[nodiscard]] static Contents contents(const QString &path, qint64 limit = -1);

    /// The folder's entries whose name holds `containing`, in the system's order, without "." and
    /// ".."; absent when it cannot be read, and `error` says why.
    [[nodiscard]] static std::optional<QList<Entry>>
    contentsOfDirectory(const QString &path, HiddenFiles hidden, const QString &containing = {},
                        QString *error = nullptr);

    /// Begins a visit of the folder, of nothing when there is no such folder.
    [[nodiscard]] static FolderVisit visit(const QString &folder);

    /// Replaces the file. `Atomic` goes through a hidden neighbour and a rename.
    static FileResult write(const QString &path, const QByteArray &data, WriteMode mode);

    /// Removes a file, or a folder with all it holds. Links are removed, not followed.
    static FileResult removeItem(const QString &path);

    /// Removes the hidden neighbours that interrupted placements left in this folder, but those
    /// that this process still works on.
    static void removeLeftovers(const QString &folder);

    [[nodiscard]] static std::optional<FileSystemAttributes>
    attributesOfFileSystem(const QString &path);

    /// Where the user's documents folder is, without trailing "/"; empty when there is no telling.
    [[nodiscard]] static QString documentsLocation();
    /// The same folder, made when missing; absent when impossible.
    [[nodiscard]] static std::optional<QString> documentsFolder();
};
