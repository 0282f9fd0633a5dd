#pragma once

#include "SMC/SoundEffect.h"

#include <QString>
#include <QUrl>
#include <array>
#include <optional>

namespace spindrel {

/// Where each of the deck's sounds lives among the application's resources
/// (":/sounds/<name>.wav").
class SoundEffects
{
public:
    static constexpr int count = soundEffectCount;

    /// Every sound, in the order of their values.
    static const std::array<SoundEffect, count>& all();
    static QString name(SoundEffect effect);
    /// The sound of a name, or nothing.
    static std::optional<SoundEffect> effectForName(const QString& name);
    /// The resource path of a sound: ":/sounds/ButtonPress.wav".
    static QString resourcePath(SoundEffect effect);
    /// The same as a URL ("qrc:/sounds/ButtonPress.wav"), as sound players take it.
    static QUrl resourceUrl(SoundEffect effect);
    static bool loops(SoundEffect effect) { return effect == SoundEffect::TapeSpeeding; }
};

} // namespace spindrel
