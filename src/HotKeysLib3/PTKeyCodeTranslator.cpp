#include "HotKeysLib3/PTKeyCodeTranslator.h"

#include "HotKeysLib3/PTKeyCodeTable.h"
#include "foundation/Log.h"

#include <QByteArray>
#include <xcb/xcb.h>
#include <xkbcommon/xkbcommon-names.h>
#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

namespace spindrel {

namespace {

// The translator's own display connection, opened once: the keymap must be read again on every
// request because the user may switch layouts at any time.
xcb_connection_t* sharedDisplayConnection()
{
    static xcb_connection_t* connection = [] {
        if (qEnvironmentVariableIsEmpty("DISPLAY"))
            return static_cast<xcb_connection_t*>(nullptr);
        xcb_connection_t* c = xcb_connect(nullptr, nullptr);
        if (xcb_connection_has_error(c)) {
            xcb_disconnect(c);
            return static_cast<xcb_connection_t*>(nullptr);
        }
        return c;
    }();
    return connection;
}

QString utf8ForKeysym(xkb_keysym_t keysym)
{
    char buffer[16] = {};
    if (xkb_keysym_to_utf8(keysym, buffer, sizeof buffer) <= 0)
        return {};
    QString text = QString::fromUtf8(buffer);
    if (text.isEmpty() || !text.at(0).isPrint())
        return {};
    return text;
}

} // namespace

PTKeyCodeTranslator::PTKeyCodeTranslator(xkb_context* context, xkb_keymap* keymap, uint32_t layout)
    : mContext(context), mKeymap(keymap), mLayout(layout)
{
}

PTKeyCodeTranslator::~PTKeyCodeTranslator()
{
    xkb_keymap_unref(mKeymap);
    xkb_context_unref(mContext);
}

std::shared_ptr<const PTKeyCodeTranslator> PTKeyCodeTranslator::currentTranslator()
{
    if (xcb_connection_t* connection = sharedDisplayConnection())
        if (auto translator = fromX11(connection))
            return translator;
    if (auto translator = fromLayout({}))
        return translator;
    // Without XKB data nothing can be translated; the key texts then fall back to their fixed names.
    logError(logSourceName(__FILE__), QStringLiteral("no keyboard layout can be compiled"));
    return std::shared_ptr<const PTKeyCodeTranslator>(
        new PTKeyCodeTranslator(xkb_context_new(XKB_CONTEXT_NO_FLAGS), nullptr, 0));
}

std::unique_ptr<PTKeyCodeTranslator> PTKeyCodeTranslator::fromLayout(const QString& layout,
                                                                     const QString& variant)
{
    xkb_context* context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    if (!context)
        return nullptr;
    const QByteArray layoutName = layout.toUtf8();
    const QByteArray variantName = variant.toUtf8();
    xkb_rule_names names = {};
    names.layout = layout.isEmpty() ? nullptr : layoutName.constData();
    names.variant = variant.isEmpty() ? nullptr : variantName.constData();
    xkb_keymap* keymap = xkb_keymap_new_from_names(context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS);
    if (!keymap) {
        xkb_context_unref(context);
        return nullptr;
    }
    return std::unique_ptr<PTKeyCodeTranslator>(new PTKeyCodeTranslator(context, keymap, 0));
}

std::unique_ptr<PTKeyCodeTranslator> PTKeyCodeTranslator::fromX11(xcb_connection_t* connection)
{
    if (!xkb_x11_setup_xkb_extension(connection, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                                     XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, nullptr,
                                     nullptr))
        return nullptr;
    const int32_t device = xkb_x11_get_core_keyboard_device_id(connection);
    if (device < 0)
        return nullptr;
    xkb_context* context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    if (!context)
        return nullptr;
    xkb_keymap* keymap =
        xkb_x11_keymap_new_from_device(context, connection, device, XKB_KEYMAP_COMPILE_NO_FLAGS);
    if (!keymap) {
        xkb_context_unref(context);
        return nullptr;
    }
    xkb_layout_index_t layout = 0;
    if (xkb_state* state = xkb_x11_state_new_from_device(keymap, connection, device)) {
        for (xkb_layout_index_t i = 0; i < xkb_keymap_num_layouts(keymap); ++i)
            if (xkb_state_layout_index_is_active(state, i, XKB_STATE_LAYOUT_EFFECTIVE) > 0)
                layout = i;
        xkb_state_unref(state);
    }
    return std::unique_ptr<PTKeyCodeTranslator>(new PTKeyCodeTranslator(context, keymap, layout));
}

uint32_t PTKeyCodeTranslator::xkbKeycodeForKeyCode(int32_t keyCode) const
{
    const PTKeyCodeEntry* entry = PTKeyCodeTable::entryForKeyCode(keyCode);
    if (!entry || !mKeymap)
        return 0;
    const xkb_keycode_t xkbKeycode = xkb_keymap_key_by_name(mKeymap, entry->xkbName);
    return xkbKeycode == XKB_KEYCODE_INVALID ? 0 : xkbKeycode;
}

int32_t PTKeyCodeTranslator::keyCodeForXkbKeycode(uint32_t xkbKeycode) const
{
    if (!mKeymap)
        return -1;
    const PTKeyCodeEntry* entry =
        PTKeyCodeTable::entryForXkbName(xkb_keymap_key_get_name(mKeymap, xkbKeycode));
    return entry ? entry->keyCode : -1;
}

uint32_t PTKeyCodeTranslator::keysymForKeyCode(int32_t keyCode) const
{
    const uint32_t xkbKeycode = xkbKeycodeForKeyCode(keyCode);
    if (!xkbKeycode)
        return XKB_KEY_NoSymbol;
    xkb_state* state = xkb_state_new(mKeymap);
    if (!state)
        return XKB_KEY_NoSymbol;
    xkb_state_update_mask(state, 0, 0, 0, 0, 0, mLayout);
    xkb_keysym_t keysym = xkb_state_key_get_one_sym(state, xkbKeycode);
    if (utf8ForKeysym(keysym).isEmpty()) {
        // Keypad keys type their character only with Num Lock on.
        const xkb_mod_index_t numLock = xkb_keymap_mod_get_index(mKeymap, XKB_MOD_NAME_NUM);
        if (numLock != XKB_MOD_INVALID) {
            xkb_state_update_mask(state, 0, 0, 1u << numLock, 0, 0, mLayout);
            const xkb_keysym_t withNumLock = xkb_state_key_get_one_sym(state, xkbKeycode);
            if (!utf8ForKeysym(withNumLock).isEmpty())
                keysym = withNumLock;
        }
    }
    xkb_state_unref(state);
    return keysym;
}

QString PTKeyCodeTranslator::translateKeyCode(int32_t keyCode) const
{
    return utf8ForKeysym(keysymForKeyCode(keyCode));
}

QString PTKeyCodeTranslator::keysymNameForKeyCode(int32_t keyCode) const
{
    const xkb_keysym_t keysym = keysymForKeyCode(keyCode);
    if (keysym == XKB_KEY_NoSymbol)
        return {};
    char name[64] = {};
    if (xkb_keysym_get_name(keysym, name, sizeof name) <= 0)
        return {};
    return QString::fromUtf8(name);
}

QString PTKeyCodeTranslator::layoutName() const
{
    if (!mKeymap)
        return {};
    return QString::fromUtf8(xkb_keymap_layout_get_name(mKeymap, mLayout));
}

} // namespace spindrel
