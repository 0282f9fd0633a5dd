#include "deck/DeckSoundEffects.h"

#include "deck/DeckPreferences.h"
#include "deck/SoundEffectPlayer.h"
#include "hud/SoundEffects.h"

namespace spindrel {

DeckSoundEffects::DeckSoundEffects(DeckPreferences& preferences, const QString& outputDevice, QObject* parent)
    : QObject(parent), mPreferences(preferences)
{
    for (const SoundEffect sound : SoundEffects::all()) {
        const QString file = SoundEffectPlayer::fileForResource(SoundEffects::resourcePath(sound));
        auto* player = new SoundEffectPlayer(SoundEffects::name(sound), file, outputDevice, this);
        player->setLoops(SoundEffects::loops(sound));
        mPlayers[std::size_t(sound)] = player;
    }
}

void DeckSoundEffects::play(SoundEffect sound)
{
    if (!mPreferences.playSoundEffects())
        return;
    if (SoundEffectPlayer* effect = player(sound))
        effect->play();
}

void DeckSoundEffects::stop(SoundEffect sound)
{
    if (SoundEffectPlayer* effect = player(sound))
        effect->stop();
}

SoundEffectPlayer* DeckSoundEffects::player(SoundEffect sound) const
{
    return mPlayers[std::size_t(sound)];
}

} // namespace spindrel
