#pragma once

#include "HotKeysLib3/PTHotKey.h"
#include "HotKeysLib3/PTHotKeyBackend.h"

#include <QList>
#include <QObject>
#include <map>
#include <memory>

namespace spindrel {

/// The registry of global hot keys: registers them with the desktop and invokes the one pressed.
class PTHotKeyCenter : public QObject
{
    Q_OBJECT
public:
    using Availability = PTHotKeyBackend::Availability;

    /// The application's center, on the backend this session supports (see backendForSession).
    static PTHotKeyCenter& sharedCenter();
    /// X11 key grabs in an X11 session, the GlobalShortcuts portal in a Wayland session, else none.
    /// SPINDREL_HOTKEYS=x11|portal|none overrides the choice.
    static std::unique_ptr<PTHotKeyBackend> backendForSession();

    explicit PTHotKeyCenter(std::unique_ptr<PTHotKeyBackend> backend, QObject* parent = nullptr);
    ~PTHotKeyCenter() override;

    /// Registers, replacing an earlier registration of the same hot key. True when registered or
    /// when the combination is no hot key and nothing needed doing; false when the desktop refused.
    bool registerHotKey(const std::shared_ptr<PTHotKey>& hotKey);
    void unregisterHotKey(const std::shared_ptr<PTHotKey>& hotKey);
    QList<std::shared_ptr<PTHotKey>> allHotKeys() const;
    std::shared_ptr<PTHotKey> hotKeyWithIdentifier(const QString& identifier) const;

    Availability availability() const { return mBackend->availability(); }
    /// Empty while hot keys work; else the sentence the preferences show.
    QString availabilityText() const;

    /// While suspended, presses are still announced (hotKeyPressed) but no action is invoked: the
    /// combo panel uses this so that typing an existing hot key records it instead of firing it.
    void setInvocationsSuspended(bool suspended) { mInvocationsSuspended = suspended; }
    bool invocationsSuspended() const { return mInvocationsSuspended; }
    QString backendName() const { return mBackend->name(); }

Q_SIGNALS:
    void hotKeyPressed(const QString& identifier);
    void hotKeyReleased(const QString& identifier);
    void availabilityChanged();

private:
    void hotKeyActivated(uint32_t id, bool pressed);
    void hotKeyDown(PTHotKey& hotKey);
    void hotKeyUp(PTHotKey& hotKey);

    std::unique_ptr<PTHotKeyBackend> mBackend;
    std::map<uint32_t, std::shared_ptr<PTHotKey>> mHotKeys;
    uint32_t mHotKeyCount = 0;
    bool mInvocationsSuspended = false;
};

} // namespace spindrel
