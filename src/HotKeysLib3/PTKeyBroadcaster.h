#pragma once

#include "HotKeysLib3/PTKeyCombo.h"

#include <QLabel>
#include <QVariantMap>
#include <cstdint>

class QKeyEvent;

namespace spindrel {

/// The field that catches a pressed combination, shortcuts and Tab included, and announces it.
class PTKeyBroadcaster : public QLabel
{
    Q_OBJECT
public:
    /// Name of the notice; its user info holds the new PTKeyCombo under "keyCombo".
    static constexpr const char* PTKeyBroadcasterKeyEvent = "PTKeyBroadcasterKeyEvent";

    explicit PTKeyBroadcaster(QWidget* parent = nullptr);

    /// Qt's modifier flags as the stored modifier mask: Ctrl is Command, Alt is Option, Super
    /// (Meta) is Control. The keypad flag names the key, not a modifier, and is left out.
    static uint32_t cocoaModifiersAsCarbonModifiers(Qt::KeyboardModifiers modifiers);
    /// The stored key code of a key event: from its X11/XKB scan code, else from its Qt key.
    static int32_t keyCodeForEvent(const QKeyEvent& event);

Q_SIGNALS:
    void keyEvent(const QVariantMap& userInfo);

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
};

} // namespace spindrel
