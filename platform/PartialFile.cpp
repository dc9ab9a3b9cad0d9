#include "platform/PartialFile.h"

#include <QDir>
#include <QTemporaryFile>

PartialFile::~PartialFile()
{
    remove();
}

bool PartialFile::create()
{
    // Made by QTemporaryFile for its unique name and private permissions; written to by a plain
    // file, which can do without a buffer.
    QTemporaryFile unique(QDir::tempPath() + QStringLiteral("/quillo-XXXXXX.part"));
    if (!unique.open()) {
        m_error = unique.errorString();
        return false;
    }
    unique.setAutoRemove(false);
    return open(unique.fileName());
}

bool PartialFile::reopen(const QString &path, qint64 bytes)
{
    if (open(path) && m_file.size() == bytes && m_file.seek(bytes))
        return true;
    remove();
    return false;
}

bool PartialFile::open(const QString &path)
{
    m_file.setFileName(path);
    return noted(
        m_file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly | QIODevice::Unbuffered));
}

bool PartialFile::write(const char *data, qint64 size)
{
    // A disk that runs full takes a part first and says why with the next one.
    while (size > 0) {
        const qint64 written = m_file.write(data, size);
        if (!noted(written > 0))
            return false;
        data += written;
        size -= written;
    }
    return true;
}

bool PartialFile::restart()
{
    return noted(m_file.resize(0) && m_file.seek(0));
}

bool PartialFile::noted(bool success)
{
    if (!success)
        m_error = m_file.errorString();
    return success;
}

void PartialFile::remove()
{
    m_file.close();
    if (!path().isEmpty())
        QFile::remove(path());
    m_file.setFileName(QString());
}

void PartialFile::keep()
{
    m_file.close();
    m_file.setFileName(QString());
}

PartialFiles::~PartialFiles()
{
    for (const QString &path : std::as_const(m_paths))
        QFile::remove(path);
}
