#include "platform/FilePlace.h"

#include "platform/FolderVisit.h"
#include "platform/VolumeSource.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <linux/openat2.h>
#include <memory>
#include <optional>
#include <sys/stat.h>
#include <sys/syscall.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int folderFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;

struct Free
{
    void operator()(char *text) const { std::free(text); }
};

QByteArray canonical(const QByteArray &path)
{
    const std::unique_ptr<char, Free> resolved(::realpath(path.constData(), nullptr));
    return QByteArray(resolved.get());
}

/// For kernels that cannot say it themselves, and for links with a whole path inside the volume.
Descriptor openCanonicalBeneath(const QByteArray &root, const QByteArray &folder)
{
    const QByteArray top = canonical(root);
    const QByteArray resolved = canonical(root + '/' + folder);
    if (top.isNull() || resolved.isNull())
        return Descriptor();
    if (resolved == top || resolved.startsWith(top + '/'))
        return Descriptor(::open(resolved.constData(), folderFlags | O_NOFOLLOW));
    errno = EACCES;
    return Descriptor();
}

bool mayAskDifferently(int error)
{
    return error == EXDEV || error == ENOSYS || error == EPERM || error == EAGAIN;
}

/// Opens what is below the volume's root without ever leaving it.
Descriptor openBeneath(const Descriptor &top, const QByteArray &path, int flags, mode_t mode)
{
    open_how how = {};
    how.flags = static_cast<__u64>(flags);
    how.mode = (flags & O_CREAT) != 0 ? mode : 0;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
    return Descriptor(
        static_cast<int>(::syscall(SYS_openat2, top.get(), path.constData(), &how, sizeof(how))));
}

bool goesUp(const QString &path)
{
    const QList<QStringView> parts = QStringView(path).split(u'/');
    return std::find(parts.begin(), parts.end(), ".."_L1) != parts.end();
}

} // namespace

FilePlace::FilePlace(const QString &path, const VolumeSource *volumes)
{
    if (path.isEmpty() || path.contains(QChar::Null))
        m_lookUpError = ENOENT;
    else
        lookUp(path, volumes);
}

void FilePlace::lookUp(const QString &path, const VolumeSource *volumes)
{
    constexpr auto prefix = "/Volumes/"_L1;
    if (findInVisit(path))
        return;
    if (!path.startsWith(prefix)) {
        m_realPath = path;
        split(QFile::encodeName(path));
        return;
    }
    const QString name = path.mid(prefix.size()).section(u'/', 0, 0);
    const std::optional<Volume> volume = volumes ? volumes->volume(name) : std::nullopt;
    if (!volume || goesUp(path)) {
        m_lookUpError = ENOENT;
        return;
    }
    const QString rest = path.mid(prefix.size() + name.size() + 1);
    m_realPath = rest.isEmpty() ? volume->path : volume->path + u'/' + rest;
    m_root = QFile::encodeName(volume->path);
    m_top = Descriptor(::open(m_root.constData(), folderFlags));
    m_lookUpError = m_top.isOpen() ? 0 : errno;
    split(QFile::encodeName(rest));
}

bool FilePlace::findInVisit(const QString &path)
{
    const FolderVisit *visit = FolderVisit::current();
    if (!visit)
        return false;
    m_name = visit->nameOf(path);
    if (m_name.isEmpty())
        return false;
    m_visited = visit->folder();
    return true;
}

void FilePlace::split(const QByteArray &path)
{
    qsizetype begin = 0;
    qsizetype end = path.size();
    while (end > 0 && path.at(end - 1) == '/')
        --end;
    while (isOnVolume() && begin < end && path.at(begin) == '/')
        ++begin;
    const qsizetype slash = end > 0 ? path.lastIndexOf('/', end - 1) : path.size() - 1;
    const qsizetype nameBegin = std::max(begin, slash + 1);
    m_parent = isOnVolume() && end == 0 ? QByteArray() : path.mid(begin, nameBegin - begin);
    m_name = nameBegin < end ? path.mid(nameBegin, end - nameBegin) : QByteArray(".");
}

int FilePlace::error() const
{
    if (m_lookUpError == 0 && !m_folder.isOpen() && m_folderError == 0)
        openFolder();
    return m_lookUpError != 0 ? m_lookUpError : m_folderError;
}

int FilePlace::folder() const
{
    return error() == 0 ? m_folder.get() : -1;
}

void FilePlace::openFolder() const
{
    const QByteArray path = m_parent.isEmpty() ? QByteArray(".") : m_parent;
    if (m_visited >= 0)
        m_folder = Descriptor(::openat(m_visited, ".", folderFlags));
    else if (isOnVolume())
        m_folder = openBeneath(m_top, path, folderFlags, 0);
    else
        m_folder = Descriptor(::open(path.constData(), folderFlags));
    if (!m_folder.isOpen() && isOnVolume() && mayAskDifferently(errno))
        m_folder = openCanonicalBeneath(m_root, m_parent);
    m_folderError = m_folder.isOpen() ? 0 : errno;
}

QString FilePlace::realPath() const
{
    if (m_visited >= 0)
        return FolderVisit::current()->realPath() + QFile::decodeName(m_name);
    return m_realPath;
}

int FilePlace::lookupFlags() const
{
    return isOnVolume() ? AT_SYMLINK_NOFOLLOW : 0;
}

Descriptor FilePlace::open(int flags, mode_t mode) const
{
    if (m_lookUpError != 0) {
        errno = m_lookUpError;
        return Descriptor();
    }
    if (m_visited >= 0)
        return Descriptor(
            ::openat(m_visited, m_name.constData(), flags | O_CLOEXEC | O_NOFOLLOW, mode));
    const QByteArray path = m_parent + m_name;
    if (!isOnVolume())
        return Descriptor(::open(path.constData(), flags | O_CLOEXEC, mode));
    Descriptor file = openBeneath(m_top, path, flags | O_CLOEXEC | O_NOFOLLOW, mode);
    if (!file.isOpen() && mayAskDifferently(errno)) {
        const int folder = this->folder();
        errno = m_folderError;
        if (folder >= 0)
            file = Descriptor(
                ::openat(folder, m_name.constData(), flags | O_CLOEXEC | O_NOFOLLOW, mode));
    }
    return file;
}

Descriptor FilePlace::openForReading(struct stat &status) const
{
    // Without O_NONBLOCK a pipe on the pen would hold up the program.
    Descriptor file = open(O_RDONLY | O_NONBLOCK);
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0)
        return Descriptor();
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return Descriptor();
    }
    return file;
}
