#include "app/PenPresence.h"

#include "base/ApplicationLog.h"
#include "base/Localization.h"
#include "pen/URLFactory.h"
#include "pen/UsbService.h"
#include "platform/Dispatch.h"

#include <QPointer>

using namespace Qt::StringLiterals;

namespace {

/// Traces what the desktop says under `name`, and hands on the volume when it may be the pen's.
void hear(const QString &name, const QVariantMap &userInfo,
          const std::function<void(const QString &volume)> &accept)
{
    writeLog(name + u" Beginn"_s);
    const QVariant volume = userInfo.value(Workspace::volumeNameKey);
    if (volume.typeId() != QMetaType::QString) {
        writeLog(name + u" return"_s);
        return;
    }
    if (UsbService::canDeviceNameBeQuillo(volume.toString())) {
        writeLog(name + u" if canDeviceNameBeQuillo"_s);
        accept(volume.toString());
    }
    writeLog(name + u" Ende"_s);
}

} // namespace

PenPresence::PenPresence(VolumeSource &volumes, QObject *parent)
    : QObject(parent)
    , m_workspace(volumes)
{
    m_ejecting.setSingleShot(true);
    connect(&m_ejecting, &QTimer::timeout, this,
            [this] { endEject(localized(u"eject_no_answer"_s)); });
}

void PenPresence::addMountDetector()
{
    writeLog(u"addMountDetector Beginn"_s);
    connect(&m_workspace, &Workspace::didMount, this, &PenPresence::didMount);
    connect(&m_workspace, &Workspace::didUnmount, this, &PenPresence::didUnMount);
    writeLog(u"addMountDetector Ende"_s);
}

void PenPresence::didMount(const QVariantMap &userInfo)
{
    hear(u"didMount"_s, userInfo,
         [this](const QString &) { Dispatch::main(this, [this] { Q_EMIT mounted(); }); });
}

void PenPresence::didUnMount(const QVariantMap &userInfo)
{
    hear(u"didUnMount"_s, userInfo, [this](const QString &volume) {
        Dispatch::main(this, [this, volume] {
            if (isStillThere(volume))
                return;
            ++m_number;
            forgetEject();
            Q_EMIT unmounted();
        });
    });
}

/// The name of another volume may pass for the pen's. Under the pen's own name nothing tells the
/// volume that went from one that has taken its place.
bool PenPresence::isStillThere(const QString &unmounted) const
{
    return m_isAvailable && m_name && unmounted != QUrl::fromPercentEncoding(m_name->toUtf8())
           && UsbService::isMounted(*m_name);
}

void PenPresence::setAvailable(bool available)
{
    m_isAvailable = available;
    if (available)
        m_name = UsbService::getQuilloName();
}

void PenPresence::eject(const Release &release)
{
    const std::optional<QUrl> volume = URLFactory::getQuilloURL();
    if (!volume || isEjecting())
        return;
    m_ejecting.start(ejectPatience);
    const QPointer<PenPresence> guard = this;
    const auto answered = [guard, eject = ++m_eject](const QString &error) {
        if (guard && eject == guard->m_eject)
            guard->endEject(error);
    };
    release([guard, url = *volume, answered, eject = m_eject] {
        if (guard && eject == guard->m_eject)
            guard->m_workspace.unmountVolume(url, answered);
    });
}

void PenPresence::endEject(const QString &error)
{
    forgetEject();
    Q_EMIT ejectEnded(error);
}

void PenPresence::forgetEject()
{
    m_ejecting.stop();
    ++m_eject;
}
