#pragma once

#include "audio/VORLAudioHardware.h"
#include "deck/DeckPreferences.h"
#include "deck/DefaultsKeys.h"

namespace spindrel::test {

/// The deck's preferences kept in memory: defaults as the application registers them, the
/// recording device by UID (the default input when none is set).
class TestPreferences : public DeckPreferences
{
public:
    explicit TestPreferences(const QString& libraryPath) : mLibraryPath(libraryPath)
    {
        registerDefaults({{DefaultsKeys::PlaySoundEffects, true},
                          {DefaultsKeys::ShowNSStatusItem, true},
                          {DefaultsKeys::SPLockRecordingSampleRate, true}});
    }

    QVariant defaultsValue(const QString& key) const override
    {
        return mStored.contains(key) ? mStored.value(key) : mRegistered.value(key);
    }
    void setDefaultsValue(const QString& key, const QVariant& value) override
    {
        const QVariant before = defaultsValue(key);
        mStored.insert(key, value);
        if (before != value)
            Q_EMIT defaultsChanged(key);
    }
    void registerDefaults(const QVariantMap& defaults) override
    {
        for (auto it = defaults.cbegin(); it != defaults.cend(); ++it)
            mRegistered.insert(it.key(), it.value());
    }
    bool isStored(const QString& key) const { return mStored.contains(key); }

    VORLAudioDevice recordingAudioDevice() const override
    {
        const QString uid = stringForKey(DefaultsKeys::RecordDeviceUID);
        return uid.isEmpty() ? VORLAudioHardware::defaultInputDevice() : VORLAudioDevice(uid);
    }
    VORLAudioDevice playbackAudioDevice() const override
    {
        const QString uid = stringForKey(DefaultsKeys::PlaybackDeviceUID);
        return uid.isEmpty() ? VORLAudioHardware::defaultOutputDevice() : VORLAudioDevice(uid);
    }
    QList<unsigned> recordingAudioDeviceChannels() const override
    {
        QList<unsigned> channels;
        for (const QVariant& channel : defaultsValue(DefaultsKeys::RecordDeviceChannels).toList())
            channels.append(channel.toUInt());
        if (!boolForKey(DefaultsKeys::RecordingIsStereo) && channels.size() > 1)
            channels = channels.mid(0, 1);
        return channels;
    }
    bool playSoundEffects() const override { return boolForKey(DefaultsKeys::PlaySoundEffects); }
    void checkDefaultAudioDevices() override { ++deviceChecks; }
    QString tapeLibraryPath() const override { return mLibraryPath; }
    void setTapeLibraryPath(const QString& path) override
    {
        mLibraryPath = path;
        setDefaultsValue(DefaultsKeys::TapeLibraryLocation, path);
    }

    int deviceChecks = 0;

private:
    QString mLibraryPath;
    QVariantMap mStored;
    QVariantMap mRegistered;
};

} // namespace spindrel::test
