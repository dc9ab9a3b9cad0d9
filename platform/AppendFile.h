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

    /// Looks for the file at `path`, before every append; false when it cannot be seen.
    bool find(const QString &path);
    /// Appends to the file looked for. A missing one is written whole through a temporary one, so
    /// that it never stands empty.
    Result append(const QByteArray &data);

private:
    Result create(const QByteArray &data);
    void close();

    QString m_path;
    QByteArray m_name; ///< the path as the system has it
    bool m_missing = false;

    int m_descriptor = -1;
    dev_t m_device = 0;
    ino_t m_inode = 0;
};
