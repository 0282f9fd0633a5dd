#pragma once

#include "HotKeysLib3/PTKeyCombo.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <cstdint>
#include <functional>

namespace spindrel {

/// A key combination bound to an action on a target. The hot-key center keeps the registration.
class PTHotKey
{
public:
    using Action = std::function<void(PTHotKey& hotKey)>;

    PTHotKey(const QString& identifier, const PTKeyCombo& keyCombo);

    QString identifier() const { return mIdentifier; }
    void setIdentifier(const QString& identifier) { mIdentifier = identifier; }
    /// The name shown to the user (and to the desktop's shortcut settings).
    QString name() const { return mName; }
    void setName(const QString& name) { mName = name; }
    PTKeyCombo keyCombo() const { return mKeyCombo; }
    void setKeyCombo(const PTKeyCombo& keyCombo) { mKeyCombo = keyCombo; }
    QObject* target() const { return mTarget; }
    void setTarget(QObject* target) { mTarget = target; }
    void setAction(Action action) { mAction = std::move(action); }

    /// Registration id given by the center, 0 while not registered.
    uint32_t hotKeyID() const { return mHotKeyID; }
    void setHotKeyID(uint32_t hotKeyID) { mHotKeyID = hotKeyID; }

    /// Sends the action to the target with this hot key; nothing happens without a living target.
    void invoke();

private:
    QString mIdentifier;
    QString mName;
    PTKeyCombo mKeyCombo;
    QPointer<QObject> mTarget;
    Action mAction;
    uint32_t mHotKeyID = 0;
};

} // namespace spindrel
