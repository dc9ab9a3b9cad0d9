#pragma once

#include "platform/CentralManager.h"
#include "platform/ManagedObjects.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class QDBusMessage;
class QDBusPendingCallWatcher;

/// How long the radio is waited for.
struct RadioPatience
{
    std::chrono::milliseconds connecting{10'000}; ///< from the wish to the subscription
    std::chrono::milliseconds restart{3'000};     ///< until a daemon that went counts as gone
    std::chrono::milliseconds answer{1'000};      ///< until a daemon that is silent counts as hung
};

/// What the Bluetooth module does not tell of the radio on Linux, from the Bluetooth daemon itself:
/// no adapter, one plugged in later, no daemon, one that restarts, denies or hangs; and what
/// devices call themselves. Never waits for the daemon and never starts it. Main thread only.
class RadioWatcher : public QObject
{
    Q_OBJECT

public:
    using State = CentralManager::State;

    /// Nothing is asked before the event loop runs; until the first answer the state is unknown.
    RadioWatcher(const QDBusConnection &bus, const RadioPatience &patience,
                 QObject *parent = nullptr);
    ~RadioWatcher() override;

    [[nodiscard]] State state() const { return m_state; }
    /// The address of the adapter that is on; empty when none is.
    [[nodiscard]] QString adapter() const;
    /// What the device calls itself, whatever the person calls it: empty when it has not told,
    /// absent when the daemon has not told of the device.
    [[nodiscard]] std::optional<QString> deviceName(const QString &address) const;
    /// Whether the device is connected to this computer, by whatever program.
    [[nodiscard]] bool isConnected(const QString &address) const;

    /// Asks the daemon whether it listens. `answer` is called from the event loop, with false when
    /// there was none in time, unless the guard is gone. All that the daemon told before has been
    /// heard by then.
    void ask(QObject *guard, const std::function<void(bool)> &answer);

private Q_SLOTS:
    void interfacesAdded(const QDBusMessage &message);
    void interfacesRemoved(const QDBusMessage &message);
    void propertiesChanged(const QDBusMessage &message);

Q_SIGNALS:
    void stateChanged();
    /// Its name or its connection may be another.
    void deviceChanged(const QString &address);

private:
    void start();
    void listen();
    void ownerChanged(const QString &before, const QString &now);
    void query();
    void readObjects(const QDBusMessage &reply);
    void noAnswer();
    [[nodiscard]] bool isToldByDaemon(const QDBusMessage &message, const QString &signature) const;
    void changed(const QString &path, const QString &interface);
    void evaluate();
    void setState(State state);
    [[nodiscard]] QString adapterPath() const;
    [[nodiscard]] std::optional<QVariantMap> device(const QString &address) const;

    QDBusConnection m_bus;
    const RadioPatience m_patience;
    std::unique_ptr<QDBusServiceWatcher> m_ownerWatcher;
    std::unique_ptr<QDBusPendingCallWatcher, QScopedPointerDeleteLater> m_query; ///< unanswered
    QTimer m_restart;
    QString m_owner; ///< who answered the query; signals of others are none of the daemon
    ManagedObjects m_objects;
    State m_state = State::unknown;
};
