#include "platform/NotificationCenter.h"

#include "platform/Dispatch.h"

NotificationCenter &NotificationCenter::defaultCenter()
{
    static NotificationCenter center;
    return center;
}

void NotificationCenter::addObserver(const QString &name, QObject *observer, Handler handler)
{
    Q_ASSERT(Dispatch::isMainThread());
    QList<Observation> &observations = m_observations[name];
    observations.removeIf([](const Observation &observation) { return !observation.observer; });
    observations.append({observer, std::move(handler)});
}

void NotificationCenter::post(const QString &name, const QVariantMap &userInfo)
{
    Q_ASSERT(Dispatch::isMainThread());
    // A copy, since a handler may add observers or destroy one.
    const QList<Observation> observations = m_observations.value(name);
    for (const Observation &observation : observations) {
        if (observation.observer)
            observation.handler(userInfo);
    }
}
