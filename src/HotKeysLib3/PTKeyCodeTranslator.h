#pragma once

#include <QString>
#include <cstdint>
#include <memory>

struct xkb_context;
struct xkb_keymap;
struct xcb_connection_t;

namespace spindrel {

/// Turns stored key codes into what a keyboard layout prints on them, and into and out of the
/// key codes of the X server or compositor (XKB key codes, the X11 key codes).
class PTKeyCodeTranslator
{
public:
    /// The layout in use now: the X server's keymap and active group when a display is reachable,
    /// else the default keymap of the environment (XKB_DEFAULT_LAYOUT and friends, or "us").
    static std::shared_ptr<const PTKeyCodeTranslator> currentTranslator();
    /// A named layout ("us", "de", "fr" with an optional variant); null if XKB cannot compile it.
    static std::unique_ptr<PTKeyCodeTranslator> fromLayout(const QString& layout,
                                                           const QString& variant = {});
    /// The keymap and active group of an X connection's core keyboard; null without XKB.
    static std::unique_ptr<PTKeyCodeTranslator> fromX11(xcb_connection_t* connection);

    ~PTKeyCodeTranslator();
    PTKeyCodeTranslator(const PTKeyCodeTranslator&) = delete;
    PTKeyCodeTranslator& operator=(const PTKeyCodeTranslator&) = delete;

    /// The character the key types without modifiers (with Num Lock on for keypad keys), or empty.
    QString translateKeyCode(int32_t keyCode) const;
    /// The key's keysym name, chosen as for the character ("7", "F5", "KP_7"), or empty.
    QString keysymNameForKeyCode(int32_t keyCode) const;
    /// XKB (X11) key code of a stored key code in this keymap, 0 when the keymap has no such key.
    uint32_t xkbKeycodeForKeyCode(int32_t keyCode) const;
    /// Stored key code of an XKB (X11) key code, -1 when none stands for it.
    int32_t keyCodeForXkbKeycode(uint32_t xkbKeycode) const;
    /// Name of the active layout ("English (US)").
    QString layoutName() const;

private:
    uint32_t keysymForKeyCode(int32_t keyCode) const;
    PTKeyCodeTranslator(xkb_context* context, xkb_keymap* keymap, uint32_t layout);

    xkb_context* mContext;
    xkb_keymap* mKeymap;
    uint32_t mLayout;
};

} // namespace spindrel
