#include "HotKeysLib3/PTX11HotKeyBackend.h"

#include "HotKeysLib3/PTKeyCodeTranslator.h"
#include "foundation/Log.h"

#include <QSocketNotifier>
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>
// xkb.h names a field "explicit", a C++ keyword.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit

#include <cstdlib>

namespace spindrel {

namespace {

constexpr xcb_keysym_t keysymNumLock = 0xff7f;
constexpr xcb_keysym_t keysymScrollLock = 0xff14;
constexpr xcb_keysym_t keysymAltL = 0xffe9;
constexpr xcb_keysym_t keysymAltR = 0xffea;
constexpr xcb_keysym_t keysymSuperL = 0xffeb;
constexpr xcb_keysym_t keysymSuperR = 0xffec;

constexpr uint16_t coreModifiers = XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_LOCK | XCB_MOD_MASK_CONTROL |
                                   XCB_MOD_MASK_1 | XCB_MOD_MASK_2 | XCB_MOD_MASK_3 | XCB_MOD_MASK_4 |
                                   XCB_MOD_MASK_5;

QString source()
{
    return logSourceName(__FILE__);
}

} // namespace

std::unique_ptr<PTX11HotKeyBackend> PTX11HotKeyBackend::connect(const char* displayName)
{
    int screenNumber = 0;
    xcb_connection_t* connection = xcb_connect(displayName, &screenNumber);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        return std::unique_ptr<PTX11HotKeyBackend>(new PTX11HotKeyBackend(nullptr));
    }
    auto backend = std::unique_ptr<PTX11HotKeyBackend>(new PTX11HotKeyBackend(connection));
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screenNumber && screens.rem; ++i)
        xcb_screen_next(&screens);
    backend->mRoot = screens.data->root;
    backend->readModifierMapping();

    // Holding a hot key down must not fire it again and again: ask for repeats without releases.
    const auto xkb =
        xcb_xkb_use_extension_reply(connection, xcb_xkb_use_extension(connection, 1, 0), nullptr);
    if (xkb && xkb->supported) {
        const uint32_t flag = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
        free(xcb_xkb_per_client_flags_reply(
            connection, xcb_xkb_per_client_flags(connection, XCB_XKB_ID_USE_CORE_KBD, flag, flag, 0, 0, 0),
            nullptr));
    }
    free(xkb);

    backend->mNotifier =
        new QSocketNotifier(xcb_get_file_descriptor(connection), QSocketNotifier::Read, backend.get());
    QObject::connect(backend->mNotifier, &QSocketNotifier::activated, backend.get(),
                     &PTX11HotKeyBackend::processEvents);
    return backend;
}

PTX11HotKeyBackend::PTX11HotKeyBackend(xcb_connection_t* connection) : mConnection(connection) {}

PTX11HotKeyBackend::~PTX11HotKeyBackend()
{
    if (!mConnection)
        return;
    delete mNotifier;
    for (const Grab& grab : mGrabs)
        ungrab(grab);
    xcb_flush(mConnection);
    xcb_disconnect(mConnection);
}

PTHotKeyBackend::Availability PTX11HotKeyBackend::availability() const
{
    return mConnection ? Availability::Available : Availability::Unavailable;
}

void PTX11HotKeyBackend::readModifierMapping()
{
    auto* mapping =
        xcb_get_modifier_mapping_reply(mConnection, xcb_get_modifier_mapping(mConnection), nullptr);
    xcb_key_symbols_t* symbols = xcb_key_symbols_alloc(mConnection);
    if (mapping && symbols) {
        const xcb_keycode_t* keycodes = xcb_get_modifier_mapping_keycodes(mapping);
        const int perModifier = mapping->keycodes_per_modifier;
        // Only Mod1 to Mod5 float; Shift, Lock and Control are fixed.
        for (int modifier = 3; modifier < 8; ++modifier) {
            const auto mask = static_cast<uint16_t>(1u << modifier);
            for (int k = 0; k < perModifier; ++k) {
                const xcb_keycode_t keycode = keycodes[modifier * perModifier + k];
                if (!keycode)
                    continue;
                for (int column = 0; column < 4; ++column) {
                    const xcb_keysym_t keysym = xcb_key_symbols_get_keysym(symbols, keycode, column);
                    if (keysym == keysymNumLock)
                        mNumLockMask = mask;
                    else if (keysym == keysymScrollLock)
                        mScrollLockMask = mask;
                    else if ((keysym == keysymAltL || keysym == keysymAltR) && !mAltMask)
                        mAltMask = mask;
                    else if ((keysym == keysymSuperL || keysym == keysymSuperR) && !mSuperMask)
                        mSuperMask = mask;
                }
            }
        }
    }
    if (symbols)
        xcb_key_symbols_free(symbols);
    free(mapping);
    if (!mAltMask)
        mAltMask = XCB_MOD_MASK_1;
    if (!mSuperMask)
        mSuperMask = XCB_MOD_MASK_4;
}

uint16_t PTX11HotKeyBackend::x11ModifiersForCombo(const PTKeyCombo& keyCombo) const
{
    // Command is Ctrl here, Option is Alt and Control is Super; the function key has no X modifier.
    uint16_t modifiers = 0;
    if (keyCombo.modifiers() & PTKeyCombo::cmdKey)
        modifiers |= XCB_MOD_MASK_CONTROL;
    if (keyCombo.modifiers() & PTKeyCombo::shiftKey)
        modifiers |= XCB_MOD_MASK_SHIFT;
    if (keyCombo.modifiers() & PTKeyCombo::optionKey)
        modifiers |= mAltMask;
    if (keyCombo.modifiers() & PTKeyCombo::controlKey)
        modifiers |= mSuperMask;
    return modifiers;
}

std::vector<uint16_t> PTX11HotKeyBackend::lockVariants() const
{
    std::vector<uint16_t> locks{XCB_MOD_MASK_LOCK};
    for (uint16_t lock : {mNumLockMask, mScrollLockMask})
        if (lock && lock != XCB_MOD_MASK_LOCK)
            locks.push_back(lock);
    std::vector<uint16_t> variants;
    for (unsigned subset = 0; subset < (1u << locks.size()); ++subset) {
        uint16_t variant = 0;
        for (size_t i = 0; i < locks.size(); ++i)
            if (subset & (1u << i))
                variant |= locks[i];
        variants.push_back(variant);
    }
    return variants;
}

bool PTX11HotKeyBackend::registerHotKey(uint32_t id, const QString& identifier, const QString&,
                                        const PTKeyCombo& keyCombo)
{
    if (!mConnection)
        return false;
    const auto translator = PTKeyCodeTranslator::fromX11(mConnection);
    const uint32_t keycode = translator ? translator->xkbKeycodeForKeyCode(keyCombo.keyCode()) : 0;
    if (keycode == 0 || keycode > 255) {
        logError(source(), QStringLiteral("no key for the hot key ") + identifier);
        return false;
    }
    const Grab grab{id, static_cast<uint8_t>(keycode), x11ModifiersForCombo(keyCombo), false};
    // A second grab of our own would silently share the key: refuse it as the X server refuses others.
    for (const Grab& other : mGrabs)
        if (other.keycode == grab.keycode && other.modifiers == grab.modifiers)
            return false;

    std::vector<xcb_void_cookie_t> cookies;
    for (uint16_t variant : lockVariants())
        cookies.push_back(xcb_grab_key_checked(mConnection, 1, mRoot, grab.modifiers | variant, grab.keycode,
                                               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    bool refused = false;
    for (const auto& cookie : cookies) {
        if (xcb_generic_error_t* error = xcb_request_check(mConnection, cookie)) {
            refused = true;
            free(error);
        }
    }
    // Waiting for the replies may have queued key events without waking the socket notifier.
    scheduleProcessEvents();
    if (refused) {
        ungrab(grab);
        xcb_flush(mConnection);
        return false;
    }
    mGrabs.push_back(grab);
    return true;
}

void PTX11HotKeyBackend::unregisterHotKey(uint32_t id)
{
    for (auto it = mGrabs.begin(); it != mGrabs.end(); ++it) {
        if (it->hotKeyID == id) {
            ungrab(*it);
            mGrabs.erase(it);
            // Wait until the server has done it: another program may grab the key right after.
            free(xcb_get_input_focus_reply(mConnection, xcb_get_input_focus(mConnection), nullptr));
            scheduleProcessEvents();
            return;
        }
    }
}

void PTX11HotKeyBackend::ungrab(const Grab& grab)
{
    for (uint16_t variant : lockVariants())
        xcb_ungrab_key(mConnection, grab.keycode, mRoot, grab.modifiers | variant);
}

void PTX11HotKeyBackend::scheduleProcessEvents()
{
    QMetaObject::invokeMethod(this, &PTX11HotKeyBackend::processEvents, Qt::QueuedConnection);
}

void PTX11HotKeyBackend::processEvents()
{
    if (!mConnection)
        return;
    if (xcb_connection_has_error(mConnection)) {
        logError(source(), QStringLiteral("lost the connection to the X server"));
        mNotifier->setEnabled(false);
        return;
    }
    const uint16_t locks = XCB_MOD_MASK_LOCK | mNumLockMask | mScrollLockMask;
    while (xcb_generic_event_t* event = xcb_poll_for_event(mConnection)) {
        const uint8_t type = event->response_type & 0x7f;
        uint32_t pressed = 0;
        uint32_t released = 0;
        if (type == XCB_KEY_PRESS) {
            const auto* key = reinterpret_cast<xcb_key_press_event_t*>(event);
            const uint16_t modifiers = key->state & coreModifiers & ~locks;
            for (Grab& grab : mGrabs) {
                if (grab.keycode == key->detail && grab.modifiers == modifiers) {
                    if (!grab.down)
                        pressed = grab.hotKeyID;
                    grab.down = true;
                    break;
                }
            }
        } else if (type == XCB_KEY_RELEASE) {
            // The modifiers may already be up: the key alone identifies the grab that is down.
            const auto* key = reinterpret_cast<xcb_key_release_event_t*>(event);
            for (Grab& grab : mGrabs) {
                if (grab.keycode == key->detail && grab.down) {
                    grab.down = false;
                    released = grab.hotKeyID;
                    break;
                }
            }
        } else if (type == 0) {
            const auto* error = reinterpret_cast<xcb_generic_error_t*>(event);
            logError(source(), QStringLiteral("X error %1").arg(error->error_code));
        }
        free(event);
        // Sent after the loop over the grabs: the action may register or unregister hot keys.
        if (pressed)
            Q_EMIT activated(pressed, true);
        if (released)
            Q_EMIT activated(released, false);
    }
}

} // namespace spindrel
