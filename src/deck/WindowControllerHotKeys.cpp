#include "HotKeysLib3/PTHotKeyCenter.h"
#include "deck/DeckPreferences.h"
#include "deck/DefaultsKeys.h"
#include "deck/WindowController.h"

namespace spindrel {

void WindowController::registerHotkeys()
{
    struct Binding
    {
        QString identifier;
        QString key;
        void (WindowController::*action)();
        std::shared_ptr<PTHotKey>* hotKey;
    };
    const Binding bindings[] = {
        {QStringLiteral("Record"), DefaultsKeys::RecordHotKey, &WindowController::recordTape, &mRecordHotKey},
        {QStringLiteral("Stop"), DefaultsKeys::StopHotKey, &WindowController::stopTape, &mStopHotKey},
        {QStringLiteral("Pause"), DefaultsKeys::PauseHotKey, &WindowController::pauseTape, &mPauseHotKey},
    };
    PTHotKeyCenter& center = PTHotKeyCenter::sharedCenter();
    const bool enabled = mPreferences.enableHotKeys();
    for (const Binding& binding : bindings) {
        const PTKeyCombo combo =
            enabled ? PTKeyCombo::fromPlistRepresentation(mPreferences.defaultsValue(binding.key))
                    : PTKeyCombo::clearKeyCombo();
        if (*binding.hotKey)
            center.unregisterHotKey(*binding.hotKey);
        auto hotKey = std::make_shared<PTHotKey>(binding.identifier, combo);
        hotKey->setName(tr("Spindrel: %1").arg(binding.identifier));
        hotKey->setTarget(this);
        hotKey->setAction([this, action = binding.action](PTHotKey&) { (this->*action)(); });
        // A combination the desktop refuses leaves that hot key unregistered; nothing is said.
        center.registerHotKey(hotKey);
        *binding.hotKey = hotKey;
    }
}

void WindowController::unregisterHotkeys()
{
    for (std::shared_ptr<PTHotKey>* hotKey : {&mRecordHotKey, &mStopHotKey, &mPauseHotKey}) {
        if (*hotKey)
            PTHotKeyCenter::sharedCenter().unregisterHotKey(*hotKey);
        hotKey->reset();
    }
}

} // namespace spindrel
