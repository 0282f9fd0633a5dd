#pragma once

#include "HotKeysLib3/PTHotKeyBackend.h"

#include <cstdint>
#include <memory>
#include <vector>

class QSocketNotifier;
struct xcb_connection_t;

namespace spindrel {

/// Hot keys as passive key grabs on the X server's root window, over a connection of its own whose
/// events are read on the Qt event loop. Each combination is grabbed with every combination of the
/// lock modifiers too, so Caps Lock, Num Lock or Scroll Lock being on does not hide it.
class PTX11HotKeyBackend : public PTHotKeyBackend
{
    Q_OBJECT
public:
    /// Connects to $DISPLAY; the result is Unavailable when that fails.
    static std::unique_ptr<PTX11HotKeyBackend> connect(const char* displayName = nullptr);
    ~PTX11HotKeyBackend() override;

    QString name() const override { return QStringLiteral("X11"); }
    Availability availability() const override;
    bool registerHotKey(uint32_t id, const QString& identifier, const QString& name,
                        const PTKeyCombo& keyCombo) override;
    void unregisterHotKey(uint32_t id) override;

    /// The X11 modifier mask a stored combination is grabbed with (without lock modifiers).
    uint16_t x11ModifiersForCombo(const PTKeyCombo& keyCombo) const;

private:
    struct Grab
    {
        uint32_t hotKeyID;
        uint8_t keycode;
        uint16_t modifiers;
        bool down;
    };

    explicit PTX11HotKeyBackend(xcb_connection_t* connection);
    void readModifierMapping();
    std::vector<uint16_t> lockVariants() const;
    void ungrab(const Grab& grab);
    void processEvents();
    void scheduleProcessEvents();

    xcb_connection_t* mConnection = nullptr;
    uint32_t mRoot = 0;
    QSocketNotifier* mNotifier = nullptr;
    std::vector<Grab> mGrabs;
    uint16_t mAltMask = 0;
    uint16_t mSuperMask = 0;
    uint16_t mNumLockMask = 0;
    uint16_t mScrollLockMask = 0;
};

} // namespace spindrel
