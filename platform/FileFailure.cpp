#include "platform/FileFailure.h"

#include <cerrno>

namespace {

FileFailure::Reason reasonOf(int error)
{
    using Reason = FileFailure::Reason;
    switch (error) {
    case 0:
        return Reason::None;
    case ECANCELED:
        return Reason::Cancelled;
    case ENOSPC:
    case EDQUOT:
        return Reason::Full;
    case EFBIG:
        return Reason::TooLarge;
    case EROFS:
    case EACCES:
    case EPERM:
        return Reason::ReadOnly;
    // What a medium says that was pulled or has died.
    case ENOENT:
    case EIO:
    case ENODEV:
    case ENXIO:
    case ENOTCONN:
    case ECONNABORTED:
    case ESTALE:
        return Reason::Gone;
    default:
        return Reason::Other;
    }
}

} // namespace

FileFailure FileFailure::of(int error)
{
    FileFailure failure{reasonOf(error)};
    if (error == ECANCELED)
        failure.text = QStringLiteral("Abgebrochen");
    else if (error != 0)
        failure.text = qt_error_string(error);
    return failure;
}
