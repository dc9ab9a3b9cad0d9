#include "platform/SoundPlayer.h"

#include "platform/Bundle.h"

#include <QAudioDevice>
#include <QMediaDevices>
#include <QSoundEffect>
#include <QUrl>

SoundPlayer::SoundPlayer(QObject *parent)
    : QObject(parent)
{
}

void SoundPlayer::play(const QString &name)
{
    const std::optional<QString> path = Bundle::soundPath(name);
    if (!path || QMediaDevices::defaultAudioOutput().isNull())
        return;
    if (m_effect == nullptr)
        m_effect = new QSoundEffect(this);
    m_effect->setSource(path->startsWith(u':') ? QUrl(QStringLiteral("qrc") + *path)
                                               : QUrl::fromLocalFile(*path));
    m_effect->play();
}
