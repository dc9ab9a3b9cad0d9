#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantMap>

#include <functional>

/// Named notifications, delivered on the posting thread in the order of registration. Main thread
/// only: every poster of this program hops there first.
class NotificationCenter
{
public:
    using Handler = std::function<void(const QVariantMap &userInfo)>;

    /// The one centre of the program.
    static NotificationCenter &defaultCenter();

    /// `handler` runs for every notification of that name for as long as `observer` lives.
    void addObserver(const QString &name, QObject *observer, Handler handler);
    void post(const QString &name, const QVariantMap &userInfo = {});

private:
    struct Observation
    {
        QPointer<QObject> observer;
        Handler handler;
    };
    QHash<QString, QList<Observation>> m_observations;
};
