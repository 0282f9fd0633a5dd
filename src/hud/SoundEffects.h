#pragma once

#include <QString>
#include <QUrl>
#include <array>

namespace spindrel {

/// The deck's mechanical sounds, by the index the transport uses, and where each one lives
/// among the application's resources (":/sounds/<name>.wav").
class SoundEffects
{
public:
    enum Effect {
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
    static constexpr int count = 9;

    /// The names in index order.
    static const std::array<QString, count>& names();
    /// The name at an index; a null string outside 0..8.
    static QString nameForIndex(int index);
    /// The index of a name, or -1.
    static int indexForName(const QString& name);
    /// The resource path of a sound: ":/sounds/ButtonPress.wav"; a null string for a bad index.
    static QString resourcePath(int index);
    /// The same as a URL ("qrc:/sounds/ButtonPress.wav"), as sound players take it.
    static QUrl resourceUrl(int index);
    static bool loops(int index) { return index == TapeSpeeding; }
};

} // namespace spindrel
