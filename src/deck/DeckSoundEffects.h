#pragma once

#include "SMC/SoundEffect.h"

#include <QObject>
#include <array>

namespace spindrel {

class DeckPreferences;
class SoundEffectPlayer;

/// The deck's sound effects, one player each, played on the system output when the preferences
/// allow it.
class DeckSoundEffects : public QObject
{
    Q_OBJECT

public:
    /// Loads every effect for `outputDevice` (a null string: the sound server's default).
    DeckSoundEffects(DeckPreferences& preferences, const QString& outputDevice, QObject* parent = nullptr);

    void play(SoundEffect sound);
    /// Stops the effect even when effects are turned off, so a loop never outlives the setting.
    void stop(SoundEffect sound);
    SoundEffectPlayer* player(SoundEffect sound) const;

private:
    DeckPreferences& mPreferences;
    std::array<SoundEffectPlayer*, soundEffectCount> mPlayers{};
};

} // namespace spindrel
