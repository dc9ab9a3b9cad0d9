#include "platform/Workspace.h"

#include "platform/Address.h"
#include "platform/VolumeSource.h"

#include <QDesktopServices>

#include <algorithm>
#include <cerrno>
#include <utility>

using namespace Qt::StringLiterals;

const QString Workspace::volumeNameKey = u"NSWorkspaceVolumeLocalizedNameKey"_s;

namespace {

std::function<bool(const QUrl &)> &opener()
{
    static std::function<bool(const QUrl &)> instance;
    return instance;
}

} // namespace

Workspace::Workspace(VolumeSource &volumes, QObject *parent)
    : QObject(parent)
    , m_volumes(volumes)
{
    connect(&volumes, &VolumeSource::mounted, this, [this](const QString &name) {
        Q_EMIT didMount({{volumeNameKey, name}});
    });
    connect(&volumes, &VolumeSource::unmounted, this, [this](const QString &name) {
        Q_EMIT didUnmount({{volumeNameKey, name}});
    });
}

void Workspace::unmountVolume(const QUrl &volume, std::function<void(const QString &error)> done)
{
    const QString path = pathOf(volume);
    const QList<Volume> mounted = m_volumes.volumes();
    const auto found = std::find_if(mounted.begin(), mounted.end(), [&path](const Volume &known) {
        const QString folder = u"/Volumes/"_s + known.name;
        return path == folder || path == folder + u'/';
    });
    if (found != mounted.end()) {
        m_volumes.unmount(*found, std::move(done));
        return;
    }
    QMetaObject::invokeMethod(
        this, [done = std::move(done)] { done(qt_error_string(ENOENT)); }, Qt::QueuedConnection);
}

bool Workspace::open(const QUrl &address)
{
    return opener() ? opener()(address) : QDesktopServices::openUrl(address);
}

void Workspace::setOpener(std::function<bool(const QUrl &address)> instead)
{
    opener() = std::move(instead);
}
