#pragma once

#include <cstdint>
#include <initializer_list>

struct xcb_connection_t;
struct _XCBKeySymbols;

/// Another X client for hot-key tests: types through XTest, holds a focused window of its own and
/// tries to grab keys, which the X server refuses while someone else holds the grab.
class XTestKeyboard
{
public:
    XTestKeyboard();
    ~XTestKeyboard();

    bool isConnected() const { return mConnection != nullptr; }
    uint8_t keycodeForKeysym(uint32_t keysym) const;
    /// Presses the keys in order, then releases them in reverse order.
    void type(std::initializer_list<uint32_t> keysyms);
    /// Sets Caps Lock or Num Lock (by keysym) on or off; returns whether it is on afterwards.
    bool setLock(uint32_t lockKeysym, bool on);
    uint16_t modifierMaskOf(uint32_t keysym) const;
    /// Maps a window of this client and gives it the input focus.
    void focusOwnWindow();
    /// Whether this client could grab the key with exactly these X modifiers (released at once).
    bool canGrab(uint32_t keysym, uint16_t modifiers);

private:
    xcb_connection_t* mConnection = nullptr;
    _XCBKeySymbols* mSymbols = nullptr;
    uint32_t mRoot = 0;
    uint32_t mWindow = 0;
};
