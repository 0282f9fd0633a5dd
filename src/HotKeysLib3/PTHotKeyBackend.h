#pragma once

#include "HotKeysLib3/PTKeyCombo.h"

#include <QObject>
#include <QString>
#include <cstdint>
#include <functional>

namespace spindrel {

constexpr uint32_t fourCharCode(const char (&code)[5])
{
    return (uint32_t(uint8_t(code[0])) << 24) | (uint32_t(uint8_t(code[1])) << 16) |
           (uint32_t(uint8_t(code[2])) << 8) | uint32_t(uint8_t(code[3]));
}

/// Hot-key events as the center dispatches them, whatever the desktop delivered.
constexpr uint32_t kPTEventClassKeyboard = fourCharCode("keyb");
constexpr uint32_t kPTEventHotKeyPressed = 5;
constexpr uint32_t kPTEventHotKeyReleased = 6;
constexpr uint32_t kPTHotKeySignature = fourCharCode("PTHk");

struct PTHotKeyID
{
    uint32_t signature = 0;
    uint32_t id = 0;
};

struct PTHotKeyEvent
{
    uint32_t eventClass = 0;
    uint32_t eventKind = 0;
    PTHotKeyID hotKeyID;
};

/// What a desktop offers for global hot keys: the X server's key grabs or the GlobalShortcuts portal.
class PTHotKeyBackend : public QObject
{
    Q_OBJECT
public:
    enum class Availability { Available, Pending, Unavailable };

    using EventHandler = std::function<void(const PTHotKeyEvent& event)>;

    ~PTHotKeyBackend() override;

    virtual QString name() const = 0;
    virtual Availability availability() const = 0;
    /// False when the desktop refuses the combination (taken by another program, no such key).
    virtual bool registerHotKey(const PTHotKeyID& hotKeyID, const QString& identifier, const QString& name,
                                const PTKeyCombo& keyCombo) = 0;
    virtual void unregisterHotKey(const PTHotKeyID& hotKeyID) = 0;
    /// Events are delivered to the handler from the event loop once it is installed.
    void installEventHandler(EventHandler handler);
    bool isEventHandlerInstalled() const { return bool(mEventHandler); }

Q_SIGNALS:
    void availabilityChanged();

protected:
    void sendEvent(const PTHotKeyEvent& event);

private:
    EventHandler mEventHandler;
};

/// A backend for a session with no way to reach the keyboard globally: refuses every combination.
class PTUnavailableHotKeyBackend : public PTHotKeyBackend
{
    Q_OBJECT
public:
    QString name() const override { return QStringLiteral("none"); }
    Availability availability() const override { return Availability::Unavailable; }
    bool registerHotKey(const PTHotKeyID&, const QString&, const QString&, const PTKeyCombo&) override
    {
        return false;
    }
    void unregisterHotKey(const PTHotKeyID&) override {}
};

} // namespace spindrel
