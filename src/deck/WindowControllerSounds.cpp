#include "deck/DeckPreferences.h"
#include "deck/SoundEffectPlayer.h"
#include "deck/WindowController.h"
#include "hud/SoundEffects.h"

namespace spindrel {

static_assert(SoundEffects::count == WindowController::soundEffectCount);

void WindowController::setupSoundEffectPlayers()
{
    const QString device = systemOutputDeviceUID();
    for (int sound = 0; sound < soundEffectCount; ++sound) {
        const QString file = SoundEffectPlayer::fileForResource(SoundEffects::resourcePath(sound));
        auto* player = new SoundEffectPlayer(SoundEffects::nameForIndex(sound), file, device, this);
        player->setLoops(SoundEffects::loops(sound));
        mSoundEffectPlayers[std::size_t(sound)] = player;
    }
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
