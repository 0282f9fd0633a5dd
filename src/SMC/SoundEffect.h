#pragma once

namespace spindrel {

/// The deck's mechanical sounds. The values index the deck's players and the sound resources.
enum class SoundEffect : int {
    TapeSpeeding = 0, ///< the winding noise; the only one that loops
    ButtonPress,
    ButtonClear,
    ButtonHitExtent,
    DrawerOpenStereo,
    DrawerCloseStereo,
    PausePress,
    PauseRelease,
    TossTape2,
};

inline constexpr int soundEffectCount = 9;

} // namespace spindrel
