#pragma once

#include <QString>
#include <QVariantMap>

class QKeyEvent;

namespace spindrel {

/// The transport's keyboard map as kept in the user defaults: action name to hardware key code.
/// Codes are key positions in the original numbering (6 is the key where a US layout has Z), so
/// stored maps stay valid; key events are translated into that numbering here.
class KeyboardTransportMap
{
public:
    static QString defaultsKey() { return QStringLiteral("KeyboardTransportMap"); }

    static QString recordName() { return QStringLiteral("record"); }
    static QString playName() { return QStringLiteral("play"); }
    static QString rewindName() { return QStringLiteral("rewind"); }
    static QString fastForwardName() { return QStringLiteral("fastForward"); }
    static QString stopName() { return QStringLiteral("stop"); }
    static QString pauseName() { return QStringLiteral("pause"); }

    /// Z, X, C, V, B, N for record, play, rewind, fast-forward, stop, pause.
    static QVariantMap defaultMap();

    /// The space bar, which toggles play and stop whatever the map says.
    static constexpr int spaceKeyCode = 49;

    /// The hardware key code of a key event, or -1 for a key outside the table. Events from the
    /// window system carry the key's position (an xkb keycode); synthesised ones carry only the
    /// Qt key, which is read as the key at that place on a US layout.
    static int hardwareKeyCode(const QKeyEvent& event);
    static int hardwareKeyCodeForScanCode(quint32 xkbKeycode);
    static int hardwareKeyCodeForQtKey(int qtKey);
    /// The Qt key that a US layout has at a hardware code, or 0: for showing the map to the user.
    static int qtKeyForHardwareKeyCode(int code);
};

} // namespace spindrel
