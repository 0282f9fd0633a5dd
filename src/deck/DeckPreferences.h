#pragma once

#include "audio/VORLAudioDevice.h"

#include <QList>
#include <QObject>
#include <QVariant>
#include <functional>

namespace spindrel {

/// What the deck asks of the application's preferences: the user defaults (read, written and
/// observed), the chosen devices and channels, and where the library lives. The application's
/// PreferencesController answers; tests answer with a store of their own.
class DeckPreferences : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
    ~DeckPreferences() override;

    virtual QVariant defaultsValue(const QString& key) const = 0;
    virtual void setDefaultsValue(const QString& key, const QVariant& value) = 0;
    virtual void registerDefaults(const QVariantMap& defaults) = 0;

    bool boolForKey(const QString& key) const;
    QString stringForKey(const QString& key) const;
    double doubleForKey(const QString& key) const;

    /// Runs `handler` now and after every change of `key`, while `context` lives.
    QMetaObject::Connection observe(const QString& key, QObject* context, std::function<void()> handler);

    /// The device for the stored record UID, or the default input when none is stored.
    virtual VORLAudioDevice recordingAudioDevice() const = 0;
    /// The device for the stored playback UID, or the default output.
    virtual VORLAudioDevice playbackAudioDevice() const = 0;
    /// Zero-based input channels: two in stereo, the first of them in mono.
    virtual QList<unsigned> recordingAudioDeviceChannels() const = 0;
    virtual bool playSoundEffects() const = 0;
    /// Forgets stored devices that have gone away (called on device notices).
    virtual void checkDefaultAudioDevices() = 0;
    /// The library folder.
    virtual QString tapeLibraryPath() const = 0;
    /// Makes `path` the library folder; the deck follows through the TapeLibraryLocation notice.
    virtual void setTapeLibraryPath(const QString& path) = 0;

Q_SIGNALS:
    /// A user default changed its value.
    void defaultsChanged(const QString& key);
    /// The user chose another recording device.
    void recordDeviceChangedNotification();
    /// The recording channels changed (another choice, or stereo turned on or off).
    void recordDeviceChannelsChangedNotification();
};

} // namespace spindrel
