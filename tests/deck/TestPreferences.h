#pragma once

#include "deck/DeckPreferences.h"
#include "deck/DefaultsKeys.h"

namespace spindrel::test {

/// The deck's preferences kept in memory, with defaults as the application registers them.
class TestPreferences : public DeckPreferences
{
public:
    explicit TestPreferences(const QString& libraryPath)
    {
        registerDefaults({{DefaultsKeys::PlaySoundEffects, true},
                          {DefaultsKeys::ShowNSStatusItem, true},
                          {DefaultsKeys::SPLockRecordingSampleRate, true},
                          {DefaultsKeys::TapeLibraryLocation, libraryPath}});
    }

    QVariant defaultsValue(const QString& key) const override
    {
        return mStored.contains(key) ? mStored.value(key) : mRegistered.value(key);
    }
    void setDefaultsValue(const QString& key, const QVariant& value) override
    {
        const QVariant before = defaultsValue(key);
        if (value.isValid())
            mStored.insert(key, value);
        else
            mStored.remove(key);
        if (before != defaultsValue(key))
            defaultsDidChange(key);
    }
    void registerDefaults(const QVariantMap& defaults) override
    {
        for (auto it = defaults.cbegin(); it != defaults.cend(); ++it)
            mRegistered.insert(it.key(), it.value());
    }

    void checkDefaultAudioDevices() override { ++deviceChecks; }

    int deviceChecks = 0;

private:
    QVariantMap mStored;
    QVariantMap mRegistered;
};

} // namespace spindrel::test
