#include "platform/AppendFile.h"

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool writeAll(int descriptor, const QByteArray &data)
{
    qsizetype written = 0;
    while (written < data.size()) {
        const ssize_t count = ::write(descriptor, data.constData() + written,
                                      static_cast<size_t>(data.size() - written));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return false;
        written += count;
    }
    return true;
}

} // namespace

AppendFile::~AppendFile()
{
    close();
}

bool AppendFile::find(const QString &path)
{
    if (path != m_path) {
        m_path = path;
        m_name = QFile::encodeName(path);
    }
    struct stat status = {};
    const bool found = ::stat(m_name.constData(), &status) == 0;
    m_missing = !found && errno == ENOENT;
    if (!found || status.st_dev != m_device || status.st_ino != m_inode)
        close();
    return found;
}

AppendFile::Result AppendFile::append(const QByteArray &data)
{
    if (m_missing)
        return create(data);
    if (m_descriptor < 0) {
        m_descriptor = ::open(m_name.constData(), O_WRONLY | O_APPEND | O_CLOEXEC);
        struct stat status = {};
        if (m_descriptor < 0 || ::fstat(m_descriptor, &status) != 0)
            return {Outcome::OpenFailed, qt_error_string(errno)};
        m_device = status.st_dev;
        m_inode = status.st_ino;
    }
    if (!writeAll(m_descriptor, data))
        return {Outcome::OpenFailed, qt_error_string(errno)};
    return {Outcome::Appended, {}};
}

AppendFile::Result AppendFile::create(const QByteArray &data)
{
    const QByteArray temporary = m_name + ".new";
    const int descriptor =
        ::open(temporary.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0644);
    if (descriptor < 0)
        return {Outcome::CreateFailed, qt_error_string(errno)};
    bool done = writeAll(descriptor, data);
    done = ::close(descriptor) == 0 && done;
    done = done && std::rename(temporary.constData(), m_name.constData()) == 0;
    if (done)
        return {Outcome::Appended, {}};
    const QString error = qt_error_string(errno);
    ::unlink(temporary.constData());
    return {Outcome::CreateFailed, error};
}

void AppendFile::close()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_descriptor = -1;
}
