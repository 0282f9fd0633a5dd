#pragma once

#include <cstdint>
#include <span>

namespace spindrel {

/// One key of the stored key codes: the original platform's positional virtual key code, the XKB
/// name of the key at that position (which the current keymap turns into an X11 key code) and the
/// Qt key it produces on a US layout (used when an event carries no scan code).
struct PTKeyCodeEntry
{
    int32_t keyCode;
    const char* xkbName;
    int qtKey;
    bool keypad;
};

namespace PTKeyCodeTable {

std::span<const PTKeyCodeEntry> entries();
/// The entry for a stored key code, or null for a code no key has.
const PTKeyCodeEntry* entryForKeyCode(int32_t keyCode);
/// The entry whose XKB key name is the given (four characters at most), or null.
const PTKeyCodeEntry* entryForXkbName(const char* name);
/// The entry of a Qt key on a US layout (keypad keys when keypad is set), or null.
const PTKeyCodeEntry* entryForQtKey(int qtKey, bool keypad);

} // namespace PTKeyCodeTable

} // namespace spindrel
