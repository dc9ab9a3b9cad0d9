#include "tests/support/FuseMedium.h"

#include <QFile>
#include <QFileInfo>

#include <new>
#include <sys/mman.h>
#include <sys/mount.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int patience = 10'000;

MediumControl *mappedControl(const QString &path)
{
    QFile file(path);
    if (!file.open(QFile::ReadWrite) || !file.resize(sizeof(MediumControl)))
        return nullptr;
    void *mapped = ::mmap(nullptr, sizeof(MediumControl), PROT_READ | PROT_WRITE, MAP_SHARED,
                          file.handle(), 0);
    return mapped == MAP_FAILED ? nullptr : new (mapped) MediumControl;
}

} // namespace

FuseMedium::FuseMedium(const QString &folder, Kind kind)
    : m_folder(QFileInfo(folder).canonicalFilePath())
    , m_control(mappedControl(m_files.filePath(u"control"_s)))
{
    if (m_control == nullptr)
        m_reason = u"no memory to share with the medium"_s;
    else if (QStringLiteral(FAULT_MEDIUM).isEmpty())
        m_reason = u"built without libfuse3-dev"_s;
    else if (!QFileInfo(u"/dev/fuse"_s).isWritable())
        m_reason = u"this user may not use FUSE here (/dev/fuse)"_s;
    else
        mount(kind);
}

FuseMedium::~FuseMedium()
{
    pull();
    if (m_control != nullptr)
        ::munmap(m_control, sizeof(MediumControl));
}

void FuseMedium::mount(Kind kind)
{
    m_control->writeBack = kind == Kind::FatWriteBack;
    m_program.start(QStringLiteral(FAULT_MEDIUM), {m_folder, m_files.filePath(u"control"_s)});
    m_isMounted = m_program.waitForReadyRead(patience) && m_program.readLine() == "ready\n";
    if (!m_isMounted)
        m_reason = u"the medium cannot be mounted: "_s
                   + QString::fromLocal8Bit(m_program.readAllStandardError()).trimmed();
}

void FuseMedium::failWritesAfter(qint64 bytes, int error)
{
    m_control->writeError = error;
    m_control->failWritesAt = m_control->written + bytes;
    m_control->failsWrites = true;
}

void FuseMedium::tellSpace(qint64 total, qint64 free)
{
    m_control->toldTotal = total;
    m_control->toldFree = free;
    m_control->tellsSpace = true;
}

void FuseMedium::heal()
{
    m_control->failsWrites = false;
    m_control->flushError = 0;
    m_control->capacity = 0;
    m_control->tellsSpace = false;
    m_control->bytesPerSecond = 0;
}

void FuseMedium::pull()
{
    m_program.kill();
    m_program.waitForFinished(patience);
    if (!std::exchange(m_isMounted, false))
        return;
    const QByteArray folder = QFile::encodeName(m_folder);
    if (::umount2(folder.constData(), MNT_DETACH | UMOUNT_NOFOLLOW) != 0)
        QProcess::execute(u"fusermount3"_s, {u"-uz"_s, m_folder});
}
