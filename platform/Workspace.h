#pragma once

#include <QObject>
#include <QUrl>
#include <QVariantMap>

#include <functional>

class VolumeSource;

/// The desktop's news about volumes, and what the program asks of the desktop. Main thread only.
class Workspace : public QObject
{
    Q_OBJECT

public:
    /// Key of the volume's name in the user info of both signals.
    static const QString volumeNameKey; // "NSWorkspaceVolumeLocalizedNameKey"

    explicit Workspace(VolumeSource &volumes, QObject *parent = nullptr);

    /// Unmounts the volume at file:///Volumes/NAME/. `done` gets the error text, empty on success.
    void unmountVolume(const QUrl &volume, std::function<void(const QString &error)> done);

    /// Opens an address with the system's default program; false when the system refuses.
    static bool open(const QUrl &address);
    /// What opens addresses in place of the system; an empty one brings the system back.
    static void setOpener(std::function<bool(const QUrl &address)> opener);

Q_SIGNALS:
    void didMount(const QVariantMap &userInfo);
    void didUnmount(const QVariantMap &userInfo);

private:
    VolumeSource &m_volumes;
};
