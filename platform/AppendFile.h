#pragma once

#include <QByteArray>
#include <QString>

#include <sys/types.h>

/// A file that is only ever appended to. The descriptor is kept, but every append looks whether
/// the path still names the same file, so a file that was removed or replaced is made anew or
/// followed. Not thread-safe.
class AppendFile
{
public:
    enum class Outcome { Appended, CreateFailed, OpenFailed };

    struct Result
    {
        Outcome outcome;
        QString error; ///< the system's words, empty on success
    };

    AppendFile() = default;
    ~AppendFile();
    AppendFile(const AppendFile &) = delete;
    AppendFile &operator=(const AppendFile &) = delete;

    /// Appends to the file at `path`. A missing file is written whole through a temporary one, so
    /// that it never stands empty.
    Result append(const QString &path, const QByteArray &data);

private:
    [[nodiscard]] bool isOpenAt(const QByteArray &path, bool &missing) const;
    Result create(const QByteArray &path, const QByteArray &data);
    void close();

    int m_descriptor = -1;
    dev_t m_device = 0;
    ino_t m_inode = 0;
};
