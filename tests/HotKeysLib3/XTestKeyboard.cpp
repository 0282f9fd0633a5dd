#include "XTestKeyboard.h"

#include <cstdlib>
#include <vector>
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>
#include <xcb/xtest.h>

XTestKeyboard::XTestKeyboard()
{
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        return;
    }
    mConnection = connection;
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
    xcb_flush(mConnection);
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
    if (mapping) {
        const xcb_keycode_t* keycodes = xcb_get_modifier_mapping_keycodes(mapping);
        for (int modifier = 0; modifier < 8; ++modifier)
            for (int k = 0; k < mapping->keycodes_per_modifier; ++k)
                if (keycodes[modifier * mapping->keycodes_per_modifier + k] == wanted)
                    mask = static_cast<uint16_t>(1u << modifier);
    }
    free(mapping);
    return mask;
}

uint16_t XTestKeyboard::pointerModifiers()
{
    auto* pointer = xcb_query_pointer_reply(mConnection, xcb_query_pointer(mConnection, mRoot), nullptr);
    const uint16_t mask = pointer ? pointer->mask : 0;
    free(pointer);
    return mask;
}

bool XTestKeyboard::setLock(uint32_t lockKeysym, bool on)
{
    const uint16_t mask = modifierMaskOf(lockKeysym);
    if (bool(pointerModifiers() & mask) != on)
        type({lockKeysym});
    return pointerModifiers() & mask;
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
    if (error) {
        free(error);
        return false;
    }
    xcb_ungrab_key(mConnection, keycode, mRoot, modifiers);
    xcb_flush(mConnection);
    return true;
}
