#include "platform/MountTable.h"

#include <QFile>
#include <QHash>
#include <QRegularExpression>
#include <QSocketNotifier>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <string_view>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

bool isOctal(char character)
{
    return character >= '0' && character <= '7';
}

/// The kernel writes blanks, tabs, newlines and backslashes as a backslash and three digits.
QString unescaped(const QByteArray &field)
{
    QByteArray bytes;
    for (qsizetype i = 0; i < field.size(); ++i) {
        const bool escape = field.at(i) == '\\' && i + 3 < field.size() && isOctal(field.at(i + 1))
                            && isOctal(field.at(i + 2)) && isOctal(field.at(i + 3));
        bytes += escape ? static_cast<char>(field.mid(i + 1, 3).toUShort(nullptr, 8)) : field.at(i);
        i += escape ? 3 : 0;
    }
    return QFile::decodeName(bytes);
}

/// A line is: id, parent, device, root, mount point, options, any number of tags, "-", type,
/// source, options.
std::optional<Mount> parseLine(const QByteArray &line)
{
    const QList<QByteArray> fields = line.split(' ');
    const qsizetype dash = fields.indexOf("-", 6);
    bool isNumber = false;
    const int id = fields.first().toInt(&isNumber);
    if (!isNumber || dash < 0 || fields.size() < dash + 3 || !fields.at(4).startsWith('/'))
        return std::nullopt;
    return Mount{id,
                 fields.at(2),
                 unescaped(fields.at(3)),
                 unescaped(fields.at(4)),
                 fields.at(dash + 1),
                 unescaped(fields.at(dash + 2))};
}

template <size_t Size>
bool contains(const std::array<std::string_view, Size> &list, const QByteArray &text)
{
    const std::string_view view(text.constData(), static_cast<size_t>(text.size()));
    return std::find(list.begin(), list.end(), view) != list.end();
}

/// A dead one hangs whoever touches it.
bool isNetwork(const Mount &mount)
{
    static constexpr std::array<std::string_view, 19> types = {
        "nfs",   "nfs4",       "cifs",        "smb3",        "smbfs",    "9p",    "afs",
        "ceph",  "coda",       "davfs",       "glusterfs",   "lustre",   "ncpfs", "virtiofs",
        "sshfs", "fuse.sshfs", "fuse.davfs2", "fuse.rclone", "fuse.s3fs"};
    return contains(types, mount.type) || mount.type.startsWith("fuse.gvfsd")
           || mount.source.startsWith("//"_L1) || mount.source.contains(":/"_L1);
}

bool isPseudo(const QByteArray &type)
{
    static constexpr std::array<std::string_view, 28> types = {
        "autofs",      "bdev",     "binfmt_misc", "bpf",      "cgroup",     "cgroup2",
        "configfs",    "debugfs",  "devpts",      "devtmpfs", "efivarfs",   "fuse.lxcfs",
        "fuse.portal", "fusectl",  "hugetlbfs",   "mqueue",   "nfsd",       "nsfs",
        "overlay",     "proc",     "pstore",      "ramfs",    "rpc_pipefs", "securityfs",
        "selinuxfs",   "squashfs", "sysfs",       "tracefs"};
    return contains(types, type);
}

bool isBelow(const QString &path, QLatin1StringView folder)
{
    return path.startsWith(folder) && path.size() > folder.size() && path.at(folder.size()) == u'/';
}

bool isMediaPlace(const QString &mountPoint)
{
    static constexpr std::array places = {"/media"_L1, "/run/media"_L1, "/mnt"_L1, "/Volumes"_L1};
    return mountPoint == "/mnt"_L1
           || std::any_of(places.begin(), places.end(),
                          [&](QLatin1StringView place) { return isBelow(mountPoint, place); });
}

bool isSystemPlace(const QString &mountPoint)
{
    static constexpr std::array places = {
        "/bin"_L1, "/boot"_L1,  "/dev"_L1,  "/efi"_L1,     "/etc"_L1,  "/home"_L1,
        "/lib"_L1, "/lib64"_L1, "/nix"_L1,  "/opt"_L1,     "/proc"_L1, "/root"_L1,
        "/run"_L1, "/sbin"_L1,  "/snap"_L1, "/srv"_L1,     "/sys"_L1,  "/sysroot"_L1,
        "/tmp"_L1, "/usr"_L1,   "/var"_L1,  "/recovery"_L1};
    return mountPoint == "/"_L1
           || std::any_of(places.begin(), places.end(), [&](QLatin1StringView place) {
                  return mountPoint == place || isBelow(mountPoint, place);
              });
}

bool isVolume(const Mount &mount, const QByteArray &rootDevice)
{
    if (mount.device == rootDevice || isNetwork(mount) || isPseudo(mount.type))
        return false;
    if (isMediaPlace(mount.mountPoint))
        return true;
    return mount.source.startsWith("/dev/"_L1) && mount.root == "/"_L1
           && !isSystemPlace(mount.mountPoint);
}

/// "fuseblk" is what a FAT or another foreign file system is that a program reads for the kernel.
bool mayBeFat(const QByteArray &type)
{
    static constexpr std::array<std::string_view, 3> types = {"vfat", "msdos", "fuseblk"};
    return contains(types, type);
}

/// Where the place is taken, desktops put a digit behind.
bool isSerialNumber(const QString &name)
{
    static const QRegularExpression expression(u"^[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}[0-9]*$"_s);
    return expression.match(name).hasMatch();
}

int openTable()
{
    return ::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC);
}

} // namespace

QList<Mount> parseMountTable(const QByteArray &text)
{
    QList<Mount> mounts;
    for (const QByteArray &line : text.split('\n')) {
        if (const std::optional<Mount> mount = parseLine(line))
            mounts.append(*mount);
    }
    return mounts;
}

QList<Mount> volumeMounts(const QList<Mount> &mounts)
{
    QHash<QString, qsizetype> topmost;
    for (qsizetype i = 0; i < mounts.size(); ++i)
        topmost.insert(mounts.at(i).mountPoint, i);
    const QByteArray rootDevice =
        topmost.contains(u"/"_s) ? mounts.at(topmost.value(u"/"_s)).device : QByteArray();
    QList<Mount> volumes;
    for (qsizetype i = 0; i < mounts.size(); ++i) {
        const Mount &mount = mounts.at(i);
        if (topmost.value(mount.mountPoint) == i && isVolume(mount, rootDevice))
            volumes.append(mount);
    }
    return volumes;
}

QString volumeName(const Mount &mount)
{
    const QString last = mount.mountPoint.section(u'/', -1, -1, QString::SectionSkipEmpty);
    return mayBeFat(mount.type) && isSerialNumber(last) ? u"NO NAME"_s : last;
}

KernelMountTable::KernelMountTable(QObject *parent)
    : MountTable(parent)
    , m_announcing(openTable())
    , m_asking(openTable())
{
    if (m_announcing < 0)
        return;
    // The table is always readable: only the exceptional condition tells of a change.
    auto *notifier = new QSocketNotifier(m_announcing, QSocketNotifier::Exception, this);
    connect(notifier, &QSocketNotifier::activated, this, &MountTable::changed);
}

KernelMountTable::~KernelMountTable()
{
    for (const int descriptor : {m_announcing, m_asking}) {
        if (descriptor >= 0)
            ::close(descriptor);
    }
}

QByteArray KernelMountTable::text()
{
    QFile table(u"/proc/self/mountinfo"_s);
    return table.open(QFile::ReadOnly | QFile::Unbuffered) ? table.readAll() : QByteArray();
}

bool KernelMountTable::hasChanged()
{
    pollfd asked = {m_asking, POLLPRI, 0};
    return ::poll(&asked, 1, 0) > 0 && (asked.revents & (POLLPRI | POLLERR)) != 0;
}
