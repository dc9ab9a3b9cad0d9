#include "platform/SharedSession.h"

#include "platform/URLSession.h"

#include <QCoreApplication>
#include <QMutex>

namespace {

QMutex mutex;
URLSession *session = nullptr;

} // namespace

URLSession &sharedSession()
{
    const QMutexLocker locker(&mutex);
    if (!session) {
        session = new URLSession;
        qAddPostRoutine(endSharedSession);
    }
    return *session;
}

void endSharedSession()
{
    URLSession *ended = nullptr;
    {
        const QMutexLocker locker(&mutex);
        ended = session;
    }
    delete ended; // a callback of it that is still at work asks for it, not for another one
    const QMutexLocker locker(&mutex);
    session = nullptr;
}
