#pragma once

#include <QFile>
#include <QSet>
#include <QString>

/// A file in the temporary folder that a transfer writes into. Removed with the object unless it
/// is kept.
class PartialFile
{
public:
    PartialFile() = default;
    ~PartialFile();
    PartialFile(const PartialFile &) = delete;
    PartialFile &operator=(const PartialFile &) = delete;

    [[nodiscard]] bool create();
    /// Opens a kept file to append to it; false when it has not exactly that many bytes.
    [[nodiscard]] bool reopen(const QString &path, qint64 bytes);
    [[nodiscard]] bool write(const char *data, qint64 size);
    /// Drops what was written.
    [[nodiscard]] bool restart();
    void close() { m_file.close(); }
    void remove();
    /// Closes the file and leaves it where it is.
    void keep();

    [[nodiscard]] QString path() const { return m_file.fileName(); }
    /// Why the last of the above failed, in the system's words.
    [[nodiscard]] QString error() const { return m_error; }

private:
    [[nodiscard]] bool open(const QString &path);
    bool noted(bool success);

    QFile m_file; ///< without a name when there is none
    QString m_error;
};

/// The kept files of a session. Resume data is honoured for these only, so that a forged record
/// reaches no other file; what nobody came back for is removed with the session.
class PartialFiles
{
public:
    PartialFiles() = default;
    ~PartialFiles();
    PartialFiles(const PartialFiles &) = delete;
    PartialFiles &operator=(const PartialFiles &) = delete;

    void add(const QString &path) { m_paths.insert(path); }
    /// False when it is none of these, or in use already.
    [[nodiscard]] bool take(const QString &path) { return m_paths.remove(path); }

private:
    QSet<QString> m_paths;
};
