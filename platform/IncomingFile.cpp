#include "platform/IncomingFile.h"

#include "platform/FileManager.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

FileFailure full(qint64 needed, const Room &room)
{
    FileFailure failure = FileFailure::of(ENOSPC);
    failure.needed = needed;
    failure.free = room.free;
    return failure;
}

/// A file in the temporary folder that is gone once nobody has it open.
Descriptor openNameless()
{
    QByteArray name = QFile::encodeName(QDir::tempPath()) + "/quillo-XXXXXX";
    Descriptor file(::mkostemp(name.data(), O_CLOEXEC));
    if (file.isOpen())
        ::unlink(name.constData());
    return file;
}

bool hasRoom(const Descriptor &file, qint64 size)
{
    struct statvfs system = {};
    return ::fstatvfs(file.get(), &system) != 0 || system.f_blocks == 0
           || static_cast<qint64>(system.f_bavail * system.f_frsize) >= size;
}

} // namespace

LoadingPlace loadingPlace(qint64 size, const Room &room)
{
    if (size < 0 || room.fits(size, room.free))
        return LoadingPlace::Medium;
    const bool fitsWithoutOld = room.fits(size, room.free + room.old);
    return fitsWithoutOld ? LoadingPlace::Computer : LoadingPlace::Nowhere;
}

IncomingFile::IncomingFile(QString target, const FileCalls &calls)
    : m_target(std::move(target))
    , m_calls(calls)
{
}

FilePlace IncomingFile::target() const
{
    return FileManager::placeOf(m_target);
}

FileFailure IncomingFile::begin(qint64 size)
{
    discard();
    m_announced = size;
    m_onMedium = std::make_unique<FilePlacement>(target(), m_calls);
    Room room;
    int error = m_onMedium->room(room);
    if (error == 0)
        error = m_onMedium->checkSize(size);
    if (error != 0)
        return failed(error);
    switch (loadingPlace(size, room)) {
    case LoadingPlace::Medium:
        return beginOnMedium(size);
    case LoadingPlace::Computer:
        return beginOnComputer(size, room);
    case LoadingPlace::Nowhere:
        return full(size, room);
    }
    Q_UNREACHABLE();
}

void IncomingFile::discard()
{
    m_onMedium.reset();
    m_onComputer = Descriptor();
    m_size = 0;
}

FileFailure IncomingFile::beginOnMedium(qint64 size)
{
    int error = m_onMedium->open();
    if (error == 0)
        error = m_onMedium->checkSize(size);
    return failed(error);
}

FileFailure IncomingFile::beginOnComputer(qint64 size, const Room &medium)
{
    m_onMedium.reset();
    m_onComputer = openNameless();
    if (!m_onComputer.isOpen())
        return FileFailure::of(errno);
    return hasRoom(m_onComputer, size) ? FileFailure() : full(size, medium);
}

FileFailure IncomingFile::append(const char *data, qint64 size)
{
    int error = 0;
    if (m_onMedium)
        error = m_onMedium->append(data, static_cast<size_t>(size));
    else
        error = writeAll(m_calls, m_onComputer.get(), data, static_cast<size_t>(size));
    if (error == 0)
        m_size += size;
    return failed(error);
}

FileFailure IncomingFile::place(const std::stop_token &stop)
{
    if (!m_onMedium)
        return placeFromComputer(stop);
    const int error = m_onMedium->finish(target(), stop);
    const FileFailure failure = failed(error);
    if (!failure)
        discard(); // would hold the medium busy
    return failure;
}

FileFailure IncomingFile::placeFromComputer(const std::stop_token &stop)
{
    FilePlacement placement(target(), m_calls);
    Room room;
    if (const int error = placement.room(room); error != 0)
        return FileFailure::of(error);
    const LoadingPlace place = loadingPlace(m_size, room);
    if (place == LoadingPlace::Nowhere)
        return full(m_size, room);
    int error = stop.stop_requested() ? ECANCELED : placement.open();
    if (error == 0)
        error = placement.checkSize(m_size);
    const bool oldMakesRoom = error == 0 && place == LoadingPlace::Computer;
    if (oldMakesRoom)
        error = placement.removeTarget();
    // Once the old file has gone, giving up would leave nothing.
    const std::stop_token heeded = oldMakesRoom ? std::stop_token() : stop;
    if (error == 0)
        error = placement.appendFile(m_onComputer.get(), m_size, heeded);
    if (error == 0)
        error = placement.finish(target(), heeded);
    placement.discard();
    const FileFailure failure = failed(error);
    if (!failure)
        discard();
    return failure;
}

/// With figures where the medium was full after all; without the neighbour, which takes room.
FileFailure IncomingFile::failed(int error)
{
    if (error == 0)
        return {};
    m_onMedium.reset();
    FileFailure failure = FileFailure::of(error);
    failure.needed = std::max(m_announced, m_size);
    if (Room room; error == ENOSPC && FilePlacement(target(), m_calls).room(room) == 0)
        failure.free = room.free;
    return failure;
}
