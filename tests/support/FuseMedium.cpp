#include "tests/support/FuseMedium.h"

#include "tests/support/MediumControl.h"

#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTest>

#include <new>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int patience = 10'000;
constexpr qint64 imageSize = 64 * 1024 * 1024;

MediumControl *mappedControl(const QString &path)
{
    QFile file(path);
    if (!file.open(QFile::ReadWrite) || !file.resize(sizeof(MediumControl)))
        return nullptr;
    void *mapped = ::mmap(nullptr, sizeof(MediumControl), PROT_READ | PROT_WRITE, MAP_SHARED,
                          file.handle(), 0);
    return mapped == MAP_FAILED ? nullptr : new (mapped) MediumControl;
}

/// What the program had to say when it failed; empty on success.
QString failureOf(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(patience))
        return program + u": "_s + process.errorString();
    const QString output = QString::fromLocal8Bit(process.readAll());
    return process.exitCode() == 0 ? QString() : program + u": "_s + output.trimmed();
}

bool isMountPoint(const QString &folder)
{
    struct stat inside = {};
    struct stat outside = {};
    return ::stat(QFile::encodeName(folder).constData(), &inside) == 0
           && ::stat(QFile::encodeName(folder + u"/.."_s).constData(), &outside) == 0
           && inside.st_dev != outside.st_dev;
}

void takeAway(const QString &folder)
{
    if (::umount2(QFile::encodeName(folder).constData(), MNT_DETACH | UMOUNT_NOFOLLOW) != 0)
        QProcess::execute(u"fusermount3"_s, {u"-uz"_s, folder});
}

} // namespace

FuseMedium::FuseMedium(const QString &folder, Kind kind)
    : m_folder(QFileInfo(folder).canonicalFilePath())
    , m_kind(kind)
{
    m_control = mappedControl(m_files.filePath(u"control"_s));
    if (m_control == nullptr)
        m_reason = u"no memory to share with the medium"_s;
    else if (!QFileInfo(u"/dev/fuse"_s).isWritable())
        m_reason = u"this user may not use FUSE here (/dev/fuse)"_s;
    else if (kind == Kind::FatImage)
        mountImage();
    else
        mountFaults();
}

FuseMedium::~FuseMedium()
{
    pull();
    if (m_control != nullptr)
        ::munmap(m_control, sizeof(MediumControl));
}

void FuseMedium::mountFaults()
{
    const QString program = QStringLiteral(FAULT_MEDIUM);
    if (program.isEmpty()) {
        m_reason = u"built without libfuse3-dev"_s;
        return;
    }
    m_control->likeFat = m_kind != Kind::Plain;
    m_control->writeBack = m_kind == Kind::FatWriteBack;
    m_program.start(program, {m_folder, m_files.filePath(u"control"_s)});
    m_isMounted = m_program.waitForReadyRead(patience) && m_program.readLine() == "ready\n";
    if (!m_isMounted)
        m_reason = u"the medium cannot be mounted: "_s
                   + QString::fromLocal8Bit(m_program.readAllStandardError()).trimmed();
}

void FuseMedium::mountImage()
{
    QFile image(imageFile());
    const QString kept = m_files.filePath(u"kept"_s);
    const QString path = qEnvironmentVariable("PATH") + u":/usr/sbin:/sbin"_s;
    const QString format = QStandardPaths::findExecutable(u"mkfs.fat"_s, path.split(u':'));
    if (format.isEmpty() || QStandardPaths::findExecutable(u"fusefat"_s).isEmpty())
        m_reason = u"neither fusefat nor dosfstools may be missing"_s;
    else if (!image.open(QFile::WriteOnly) || !image.resize(imageSize))
        m_reason = image.errorString();
    else
        m_reason = failureOf(u"cp"_s, {u"-r"_s, m_folder, kept});
    if (m_reason.isEmpty())
        m_reason = failureOf(format, {image.fileName()});
    if (m_reason.isEmpty())
        m_reason =
            failureOf(u"fusefat"_s, {u"-o"_s, u"rw+,nonempty"_s, image.fileName(), m_folder});
    if (!m_reason.isEmpty())
        return;
    m_isMounted = QTest::qWaitFor([this] { return isMountPoint(m_folder); });
    if (!m_isMounted)
        m_reason = u"the image cannot be mounted"_s;
    else
        m_reason = failureOf(u"cp"_s, {u"-r"_s, kept + u"/."_s, m_folder});
}

QString FuseMedium::imageFile() const
{
    return m_files.filePath(u"image"_s);
}

void FuseMedium::failWritesAfter(qint64 bytes, int error)
{
    m_control->writeError = error;
    m_control->failWritesAt = m_control->written + bytes;
    m_control->failsWrites = true;
}

void FuseMedium::dieAfter(qint64 bytes)
{
    failWritesAfter(bytes, 0);
}

void FuseMedium::die()
{
    m_program.kill();
    m_program.waitForFinished(patience);
}

void FuseMedium::failFlushes(int error)
{
    m_control->flushError = error;
}

void FuseMedium::setCapacity(qint64 bytes)
{
    m_control->capacity = bytes;
}

void FuseMedium::tellSpace(qint64 total, qint64 free)
{
    m_control->toldTotal = total;
    m_control->toldFree = free;
    m_control->tellsSpace = true;
}

void FuseMedium::setBytesPerSecond(qint64 bytes)
{
    m_control->bytesPerSecond = bytes;
}

void FuseMedium::heal()
{
    m_control->failsWrites = false;
    m_control->flushError = 0;
    m_control->capacity = 0;
    m_control->tellsSpace = false;
    m_control->bytesPerSecond = 0;
}

qint64 FuseMedium::written() const
{
    return m_control->written;
}

qint64 FuseMedium::flushes() const
{
    return m_control->flushes;
}

void FuseMedium::pull()
{
    die();
    if (std::exchange(m_isMounted, false))
        takeAway(m_folder);
}

QString FuseMedium::faultsOfImage()
{
    const QByteArray folder = QFile::encodeName(m_folder);
    m_isMounted = ::umount2(folder.constData(), UMOUNT_NOFOLLOW) != 0
                  && !failureOf(u"fusermount3"_s, {u"-u"_s, m_folder}).isEmpty();
    if (m_isMounted)
        return u"the image is in use"_s;
    return failureOf(u"/usr/sbin/fsck.fat"_s, {u"-n"_s, imageFile()});
}
