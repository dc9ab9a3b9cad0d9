#pragma once

#include <QObject>
#include <QString>

class QSoundEffect;

/// Plays shipped sounds by name. The sound system is first touched by the first sound, and only
/// where there is an output device; without one, or without that sound, nothing happens.
class SoundPlayer : public QObject
{
    Q_OBJECT

public:
    explicit SoundPlayer(QObject *parent = nullptr);

    /// Starts the sound and returns at once.
    virtual void play(const QString &name);

private:
    QSoundEffect *m_effect = nullptr;
};
