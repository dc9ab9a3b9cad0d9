#include "platform/Unmounting.h"

#include "platform/Descriptor.h"
#include "platform/Dispatch.h"

#include <QFile>
#include <QPointer>

#include <cerrno>
#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

namespace {

/// The error text, empty on success. May take as long as writing out does.
QString unmountedOrWrittenOut(const QByteArray &mountPoint)
{
    if (::umount2(mountPoint.constData(), UMOUNT_NOFOLLOW) == 0)
        return {};
    QString error = qt_error_string(errno);
    const Descriptor folder(::open(mountPoint.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.isOpen())
        ::syncfs(folder.get());
    return error;
}

} // namespace

Unmounting::Unmounting(const QString &mountPoint, const QDBusConnection &bus, QObject *parent)
    : QObject(parent)
    , m_mountPoint(mountPoint)
    , m_request(mountPoint, bus)
{
    connect(&m_request, &UDisksRequest::finished, this, &Unmounting::asked);
}

void Unmounting::asked(UDisksRequest::Outcome outcome, const QString &error)
{
    if (outcome == UDisksRequest::Outcome::Unavailable)
        trySystemCall();
    else
        Q_EMIT finished(error);
}

void Unmounting::trySystemCall()
{
    const QPointer<QObject> guard = this;
    Dispatch::global([this, guard, mountPoint = QFile::encodeName(m_mountPoint)] {
        const QString error = unmountedOrWrittenOut(mountPoint);
        Dispatch::main(guard, [this, error] { Q_EMIT finished(error); });
    });
}
