#include "deck/DeckPreferences.h"
#include "deck/SoundEffectPlayer.h"
#include "deck/WindowController.h"
#include "hud/SoundEffects.h"

namespace spindrel {

void WindowController::setupSoundEffectPlayers()
{
    const QString device = systemOutputDeviceUID();
    for (const SoundEffect sound : SoundEffects::all()) {
        const QString file = SoundEffectPlayer::fileForResource(SoundEffects::resourcePath(sound));
        auto* player = new SoundEffectPlayer(SoundEffects::name(sound), file, device, this);
        player->setLoops(SoundEffects::loops(sound));
        mSoundEffectPlayers[std::size_t(sound)] = player;
    }
}

SoundEffectPlayer* WindowController::soundEffect(SoundEffect sound) const
{
    return mSoundEffectPlayers[std::size_t(sound)];
}

void WindowController::playSoundEffect(SoundEffect sound)
{
    if (!mPreferences.playSoundEffects())
        return;
    if (SoundEffectPlayer* player = soundEffect(sound))
        player->play();
}

void WindowController::stopSoundEffect(SoundEffect sound)
{
    if (SoundEffectPlayer* player = soundEffect(sound))
        player->stop();
}

} // namespace spindrel
