#pragma once

#include "HotKeysLib3/PTKeyCombo.h"
#include "audio/VORLAudioDevice.h"

#include <QList>
#include <QObject>
#include <QVariant>

namespace spindrel {

/// What the deck asks of the application's preferences: one typed property per user default it
/// reads or follows, the chosen devices and channels, and where the library lives. The values live
/// in a store underneath (the application's PreferencesController, or a test's own); every
/// property's change signal is emitted by defaultsDidChange() when the store reports a change.
class DeckPreferences : public QObject
{
    Q_OBJECT
    Q_PROPERTY(
        bool playSoundEffects READ playSoundEffects WRITE setPlaySoundEffects NOTIFY playSoundEffectsChanged)
    Q_PROPERTY(bool showStatusItem READ showStatusItem WRITE setShowStatusItem NOTIFY showStatusItemChanged)
    Q_PROPERTY(bool enableHotKeys READ enableHotKeys WRITE setEnableHotKeys NOTIFY enableHotKeysChanged)
    Q_PROPERTY(
        spindrel::PTKeyCombo recordHotKey READ recordHotKey WRITE setRecordHotKey NOTIFY recordHotKeyChanged)
    Q_PROPERTY(
        spindrel::PTKeyCombo pauseHotKey READ pauseHotKey WRITE setPauseHotKey NOTIFY pauseHotKeyChanged)
    Q_PROPERTY(spindrel::PTKeyCombo stopHotKey READ stopHotKey WRITE setStopHotKey NOTIFY stopHotKeyChanged)
    Q_PROPERTY(
        QString tapeLibraryPath READ tapeLibraryPath WRITE setTapeLibraryPath NOTIFY tapeLibraryPathChanged)
    Q_PROPERTY(bool recordingIsStereo READ recordingIsStereo WRITE setRecordingIsStereo NOTIFY
                   recordingIsStereoChanged)
    Q_PROPERTY(QString recordingQuality READ recordingQuality WRITE setRecordingQuality NOTIFY
                   recordingQualityChanged)
    Q_PROPERTY(
        QString recordDeviceUID READ recordDeviceUID WRITE setRecordDeviceUID NOTIFY recordDeviceUIDChanged)
    Q_PROPERTY(
        QList<int> recordChannels READ recordChannels WRITE setRecordChannels NOTIFY recordChannelsChanged)
    Q_PROPERTY(QString playbackDeviceUID READ playbackDeviceUID WRITE setPlaybackDeviceUID NOTIFY
                   playbackDeviceUIDChanged)
    Q_PROPERTY(double playbackVolume READ playbackVolume WRITE setPlaybackVolume NOTIFY playbackVolumeChanged)
    Q_PROPERTY(QString tapeAuthor READ tapeAuthor WRITE setTapeAuthor NOTIFY tapeAuthorChanged)
    Q_PROPERTY(bool enableSoftwarePlaythrough READ enableSoftwarePlaythrough WRITE
                   setEnableSoftwarePlaythrough NOTIFY enableSoftwarePlaythroughChanged)
    Q_PROPERTY(bool lockRecordingSampleRate READ lockRecordingSampleRate WRITE setLockRecordingSampleRate
                   NOTIFY lockRecordingSampleRateChanged)

public:
    using QObject::QObject;
    ~DeckPreferences() override;

    // The store underneath, by the key strings of the settings file.
    virtual QVariant defaultsValue(const QString& key) const = 0;
    /// Stores `value`; an invalid value forgets the stored one, so the registered default shows.
    virtual void setDefaultsValue(const QString& key, const QVariant& value) = 0;
    virtual void registerDefaults(const QVariantMap& defaults) = 0;

    bool boolForKey(const QString& key) const;
    QString stringForKey(const QString& key) const;
    double doubleForKey(const QString& key) const;

    bool playSoundEffects() const;
    void setPlaySoundEffects(bool play);
    bool showStatusItem() const;
    void setShowStatusItem(bool show);
    bool enableHotKeys() const;
    void setEnableHotKeys(bool enable);
    /// The hot keys' combinations, stored as {"keyCode": n, "modifiers": m}.
    PTKeyCombo recordHotKey() const;
    void setRecordHotKey(const PTKeyCombo& combo);
    PTKeyCombo pauseHotKey() const;
    void setPauseHotKey(const PTKeyCombo& combo);
    PTKeyCombo stopHotKey() const;
    void setStopHotKey(const PTKeyCombo& combo);
    /// The library folder.
    QString tapeLibraryPath() const;
    /// Makes `path` the library folder; the deck follows through tapeLibraryPathChanged().
    void setTapeLibraryPath(const QString& path);
    bool recordingIsStereo() const;
    void setRecordingIsStereo(bool stereo);
    QString recordingQuality() const;
    void setRecordingQuality(const QString& quality);
    /// The chosen recording device; empty for the default input.
    QString recordDeviceUID() const;
    void setRecordDeviceUID(const QString& uid);
    /// The zero-based input channels as stored; recordingAudioDeviceChannels() fits them to stereo.
    QList<int> recordChannels() const;
    void setRecordChannels(const QList<int>& channels);
    /// The chosen playback device; empty for the default output.
    QString playbackDeviceUID() const;
    void setPlaybackDeviceUID(const QString& uid);
    double playbackVolume() const;
    void setPlaybackVolume(double volume);
    QString tapeAuthor() const;
    void setTapeAuthor(const QString& author);
    bool enableSoftwarePlaythrough() const;
    void setEnableSoftwarePlaythrough(bool enable);
    /// Whether a recording runs at the sample rate of its quality rather than the device's.
    bool lockRecordingSampleRate() const;
    void setLockRecordingSampleRate(bool lock);

    /// The device for the stored record UID, or the default input when none is stored.
    VORLAudioDevice recordingAudioDevice() const;
    /// The device for the stored playback UID, or the default output.
    VORLAudioDevice playbackAudioDevice() const;
    /// Zero-based input channels: two in stereo, the first of them in mono.
    QList<unsigned> recordingAudioDeviceChannels() const;
    /// Forgets stored devices that have gone away (called on device notices).
    virtual void checkDefaultAudioDevices() = 0;

Q_SIGNALS:
    void playSoundEffectsChanged(bool play);
    void showStatusItemChanged(bool show);
    void enableHotKeysChanged(bool enable);
    void recordHotKeyChanged(const spindrel::PTKeyCombo& combo);
    void pauseHotKeyChanged(const spindrel::PTKeyCombo& combo);
    void stopHotKeyChanged(const spindrel::PTKeyCombo& combo);
    void tapeLibraryPathChanged(const QString& path);
    void recordingIsStereoChanged(bool stereo);
    void recordingQualityChanged(const QString& quality);
    void recordDeviceUIDChanged(const QString& uid);
    void recordChannelsChanged(const QList<int>& channels);
    void playbackDeviceUIDChanged(const QString& uid);
    void playbackVolumeChanged(double volume);
    void tapeAuthorChanged(const QString& author);
    void enableSoftwarePlaythroughChanged(bool enable);
    void lockRecordingSampleRateChanged(bool lock);

    /// The user chose another recording device.
    void recordDeviceChangedNotification();
    /// The recording channels changed (another choice, or stereo turned on or off).
    void recordDeviceChannelsChangedNotification();

protected:
    /// The store reports that `key`'s value changed: emits that property's change signal (keys
    /// without a property are nobody's concern).
    void defaultsDidChange(const QString& key);
};

} // namespace spindrel
