#include "deck/DeckPreferences.h"
#include "deck/SoundEffectPlayer.h"
#include "deck/WindowController.h"

namespace spindrel {

namespace {
// By the transport's numbers.
const std::array<QString, WindowController::soundEffectCount> kSoundNames{
    QStringLiteral("TapeSpeeding"),     QStringLiteral("ButtonPress"),
    QStringLiteral("ButtonClear"),      QStringLiteral("ButtonHitExtent"),
    QStringLiteral("DrawerOpenStereo"), QStringLiteral("DrawerCloseStereo"),
    QStringLiteral("PausePress"),       QStringLiteral("PauseRelease"),
    QStringLiteral("TossTape2")};
} // namespace

void WindowController::setupSoundEffectPlayers()
{
    const QString device = systemOutputDeviceUID();
    for (int sound = 0; sound < soundEffectCount; ++sound) {
        const QString& name = kSoundNames[std::size_t(sound)];
        const QString file = SoundEffectPlayer::fileForResource(QStringLiteral(":/sounds/%1.wav").arg(name));
        mSoundEffectPlayers[std::size_t(sound)] = new SoundEffectPlayer(name, file, device, this);
    }
    mSoundEffectPlayers[0]->setLoops(true);
}

SoundEffectPlayer* WindowController::soundEffect(int sound) const
{
    return sound >= 0 && sound < soundEffectCount ? mSoundEffectPlayers[std::size_t(sound)] : nullptr;
}

void WindowController::playSoundEffect(int sound)
{
    if (!mPreferences.playSoundEffects())
        return;
    if (SoundEffectPlayer* player = soundEffect(sound))
        player->play();
}

void WindowController::stopSoundEffect(int sound)
{
    if (SoundEffectPlayer* player = soundEffect(sound))
        player->stop();
}

} // namespace spindrel
