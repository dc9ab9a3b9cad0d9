#include "platform/Unmounting.h"

#include "platform/Dispatch.h"

#include <QFile>
#include <QPointer>
#include <QProcess>
#include <QStandardPaths>
#include <QTimer>

#include <cerrno>
#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

void writeOut(const QByteArray &mountPoint)
{
    const int folder = ::open(mountPoint.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return;
    ::syncfs(folder);
    ::close(folder);
}

/// The error text, empty on success. May take as long as writing out does.
QString unmountedOrWrittenOut(const QByteArray &mountPoint, const QString &refusal)
{
    if (::umount2(mountPoint.constData(), UMOUNT_NOFOLLOW) == 0)
        return {};
    const QString error = refusal.isEmpty() || ::geteuid() == 0 ? qt_error_string(errno) : refusal;
    writeOut(mountPoint);
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

void Unmounting::start()
{
    m_request.start();
}

void Unmounting::asked(UDisksRequest::Outcome outcome, const QString &error)
{
    if (outcome == UDisksRequest::Outcome::Unavailable)
        tryDesktop();
    else
        Q_EMIT finished(error);
}

void Unmounting::tryDesktop()
{
    const QString gio = QStandardPaths::findExecutable(u"gio"_s);
    if (gio.isEmpty()) {
        trySystemCall({});
        return;
    }
    auto *process = new QProcess(this);
    const auto ended = [this, process](int code, QProcess::ExitStatus status) {
        if (status == QProcess::NormalExit && code == 0)
            Q_EMIT finished({});
        else
            trySystemCall(QString::fromLocal8Bit(process->readAllStandardError()).trimmed());
    };
    const auto failed = [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            trySystemCall({});
    };
    connect(process, &QProcess::finished, this, ended);
    connect(process, &QProcess::errorOccurred, this, failed);
    process->setStandardInputFile(QProcess::nullDevice());
    QTimer::singleShot(patience, process, &QProcess::kill);
    process->start(gio, {u"mount"_s, u"-u"_s, m_mountPoint});
}

void Unmounting::trySystemCall(const QString &refusal)
{
    const QPointer<QObject> guard = this;
    Dispatch::global([this, guard, refusal, mountPoint = QFile::encodeName(m_mountPoint)] {
        const QString error = unmountedOrWrittenOut(mountPoint, refusal);
        Dispatch::main(guard, [this, error] { Q_EMIT finished(error); });
    });
}
