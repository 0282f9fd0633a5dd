#include "XTestKeyboard.h"

#include <cstdlib>
#include <vector>
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>
#include <xcb/xtest.h>

XTestKeyboard::XTestKeyboard() : mConnection(xcb_connect(nullptr, nullptr))
{
    if (xcb_connection_has_error(mConnection)) {
        xcb_disconnect(mConnection);
        mConnection = nullptr;
        return;
    }
    mSymbols = xcb_key_symbols_alloc(mConnection);
    mRoot = xcb_setup_roots_iterator(xcb_get_setup(mConnection)).data->root;
}

XTestKeyboard::~XTestKeyboard()
{
    if (!mConnection)
        return;
    if (mWindow)
        xcb_destroy_window(mConnection, mWindow);
    xcb_key_symbols_free(mSymbols);
    xcb_disconnect(mConnection);
}

uint8_t XTestKeyboard::keycodeForKeysym(uint32_t keysym) const
{
    xcb_keycode_t* keycodes = xcb_key_symbols_get_keycode(mSymbols, keysym);
    const uint8_t keycode = keycodes ? keycodes[0] : 0;
    free(keycodes);
    return keycode;
}

void XTestKeyboard::type(std::initializer_list<uint32_t> keysyms)
{
    std::vector<uint8_t> keycodes;
    for (uint32_t keysym : keysyms)
        keycodes.push_back(keycodeForKeysym(keysym));
    for (uint8_t keycode : keycodes)
        xcb_test_fake_input(mConnection, XCB_KEY_PRESS, keycode, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    for (auto it = keycodes.rbegin(); it != keycodes.rend(); ++it)
        xcb_test_fake_input(mConnection, XCB_KEY_RELEASE, *it, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    free(xcb_get_input_focus_reply(mConnection, xcb_get_input_focus(mConnection), nullptr));
}

uint16_t XTestKeyboard::modifierMaskOf(uint32_t keysym) const
{
    const uint8_t wanted = keycodeForKeysym(keysym);
    auto* mapping =
        xcb_get_modifier_mapping_reply(mConnection, xcb_get_modifier_mapping(mConnection), nullptr);
    uint16_t mask = 0;
    for (int i = 0; mapping && i < 8 * mapping->keycodes_per_modifier; ++i)
        if (xcb_get_modifier_mapping_keycodes(mapping)[i] == wanted)
            mask = static_cast<uint16_t>(1u << (i / mapping->keycodes_per_modifier));
    free(mapping);
    return mask;
}

bool XTestKeyboard::setLock(uint32_t lockKeysym, bool on)
{
    const auto isOn = [&] {
        auto* pointer = xcb_query_pointer_reply(mConnection, xcb_query_pointer(mConnection, mRoot), nullptr);
        const bool result = pointer && (pointer->mask & modifierMaskOf(lockKeysym));
        free(pointer);
        return result;
    };
    if (isOn() != on)
        type({lockKeysym});
    return isOn();
}

void XTestKeyboard::focusOwnWindow()
{
    if (!mWindow) {
        mWindow = xcb_generate_id(mConnection);
        xcb_create_window(mConnection, XCB_COPY_FROM_PARENT, mWindow, mRoot, 10, 10, 200, 100, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_map_window(mConnection, mWindow);
    }
    xcb_set_input_focus(mConnection, XCB_INPUT_FOCUS_POINTER_ROOT, mWindow, XCB_CURRENT_TIME);
    free(xcb_get_input_focus_reply(mConnection, xcb_get_input_focus(mConnection), nullptr));
}

bool XTestKeyboard::canGrab(uint32_t keysym, uint16_t modifiers)
{
    const uint8_t keycode = keycodeForKeysym(keysym);
    xcb_generic_error_t* error =
        xcb_request_check(mConnection, xcb_grab_key_checked(mConnection, 1, mRoot, modifiers, keycode,
                                                            XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    const bool grabbed = error == nullptr;
    free(error);
    if (grabbed)
        xcb_ungrab_key(mConnection, keycode, mRoot, modifiers);
    xcb_flush(mConnection);
    return grabbed;
}
