#pragma once

#include "platform/Workspace.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>
#include <optional>

/// The pen's coming, going and ejecting. Main thread only.
class PenPresence : public QObject
{
    Q_OBJECT

public:
    explicit PenPresence(VolumeSource &volumes, QObject *parent = nullptr);

    /// Begins to hear of volumes that come and go.
    void addMountDetector();

    [[nodiscard]] bool isAvailable() const { return m_isAvailable; }
    /// Also looks up what the pen is called, when it is there.
    void setAvailable(bool available);
    /// The volume as its address spells it; keeps the last value when the pen goes.
    [[nodiscard]] const std::optional<QString> &name() const { return m_name; }
    /// Another one after every going of the pen: what belongs to a pen that has gone is told by it,
    /// also when the same one is back.
    [[nodiscard]] int number() const { return m_number; }

    /// Makes the volume free and calls back, perhaps later, perhaps never.
    using Release = std::function<void(std::function<void()> released)>;
    /// Unmounts the pen once `release` has called back; without pen, or while an eject is under
    /// way, nothing. An answer that has not come after `ejectPatience` is a failure; one that comes
    /// after the pen has gone is none.
    void eject(const Release &release);
    [[nodiscard]] bool isEjecting() const { return m_ejecting.isActive(); }
    std::chrono::milliseconds ejectPatience = std::chrono::minutes(5); // it may have to write much

Q_SIGNALS:
    /// A volume that may be the pen has come; nobody has looked at it yet.
    void mounted();
    /// The pen, or what passed for it, has gone. An eject under way is over.
    void unmounted();
    /// The desktop's answer; `error` is empty on success.
    void ejectEnded(const QString &error);

private:
    void didMount(const QVariantMap &userInfo);
    void didUnMount(const QVariantMap &userInfo);
    [[nodiscard]] bool isStillThere(const QString &unmounted) const;
    void forgetEject();
    void endEject(const QString &error);

    Workspace m_workspace;
    std::optional<QString> m_name;
    bool m_isAvailable = false;
    int m_number = 0;
    QTimer m_ejecting; ///< runs while an eject is under way
    int m_eject = 0;   ///< the one whose answer counts
};
