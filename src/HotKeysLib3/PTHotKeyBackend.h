#pragma once

#include "HotKeysLib3/PTKeyCombo.h"

#include <QObject>
#include <QString>
#include <cstdint>

namespace spindrel {

/// What a desktop offers for global hot keys: the X server's key grabs or the GlobalShortcuts portal.
class PTHotKeyBackend : public QObject
{
    Q_OBJECT
public:
    enum class Availability { Available, Pending, Unavailable };

    ~PTHotKeyBackend() override;

    virtual QString name() const = 0;
    virtual Availability availability() const = 0;
    /// False when the desktop refuses the combination (taken by another program, no such key).
    /// `id` is the center's number for the hot key, which activated() reports back.
    virtual bool registerHotKey(uint32_t id, const QString& identifier, const QString& name,
                                const PTKeyCombo& keyCombo) = 0;
    virtual void unregisterHotKey(uint32_t id) = 0;

Q_SIGNALS:
    void availabilityChanged();
    /// The registered hot key `id` went down (pressed) or came up, emitted from the event loop.
    void activated(uint32_t id, bool pressed);
};

/// A backend for a session with no way to reach the keyboard globally: refuses every combination.
class PTUnavailableHotKeyBackend : public PTHotKeyBackend
{
    Q_OBJECT
public:
    QString name() const override { return QStringLiteral("none"); }
    Availability availability() const override { return Availability::Unavailable; }
    bool registerHotKey(uint32_t, const QString&, const QString&, const PTKeyCombo&) override
    {
        return false;
    }
    void unregisterHotKey(uint32_t) override {}
};

} // namespace spindrel
