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

AppendFile::Result AppendFile::append(const QString &path, const QByteArray &data)
{
    const QByteArray name = QFile::encodeName(path);
    bool missing = false;
    if (!isOpenAt(name, missing)) {
        close();
        if (missing)
            return create(name, data);
        m_descriptor = ::open(name.constData(), O_WRONLY | O_APPEND | O_CLOEXEC);
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

bool AppendFile::isOpenAt(const QByteArray &path, bool &missing) const
{
    struct stat status = {};
    missing = ::stat(path.constData(), &status) != 0 && errno == ENOENT;
    return m_descriptor >= 0 && !missing && status.st_dev == m_device && status.st_ino == m_inode;
}

AppendFile::Result AppendFile::create(const QByteArray &path, const QByteArray &data)
{
    const QByteArray temporary = path + ".new";
    const int descriptor =
        ::open(temporary.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0644);
    if (descriptor < 0)
        return {Outcome::CreateFailed, qt_error_string(errno)};
    bool done = writeAll(descriptor, data);
    done = ::close(descriptor) == 0 && done;
    done = done && std::rename(temporary.constData(), path.constData()) == 0;
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
