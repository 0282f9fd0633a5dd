#include "deck/DeckPreferences.h"

#include "audio/VORLAudioHardware.h"
#include "deck/DefaultsKeys.h"
#include "foundation/IntegerList.h"

#include <QHash>
#include <algorithm>

namespace spindrel {

namespace K = DefaultsKeys;

namespace {

// A device key the user left on the automatic choice holds nothing, so that the default shows.
QVariant uidValue(const QString& uid)
{
    return uid.isEmpty() ? QVariant() : QVariant(uid);
}

} // namespace

DeckPreferences::~DeckPreferences() = default;

bool DeckPreferences::boolForKey(const QString& key) const
{
    return defaultsValue(key).toBool();
}

QString DeckPreferences::stringForKey(const QString& key) const
{
    return defaultsValue(key).toString();
}

double DeckPreferences::doubleForKey(const QString& key) const
{
    return defaultsValue(key).toDouble();
}

void DeckPreferences::defaultsDidChange(const QString& key)
{
    using Notify = void (*)(DeckPreferences&);
    static const QHash<QString, Notify> notifiers{
        {K::PlaySoundEffects,
         [](DeckPreferences& p) { Q_EMIT p.playSoundEffectsChanged(p.playSoundEffects()); }},
        {K::ShowNSStatusItem, [](DeckPreferences& p) { Q_EMIT p.showStatusItemChanged(p.showStatusItem()); }},
        {K::EnableHotKeys, [](DeckPreferences& p) { Q_EMIT p.enableHotKeysChanged(p.enableHotKeys()); }},
        {K::RecordHotKey, [](DeckPreferences& p) { Q_EMIT p.recordHotKeyChanged(p.recordHotKey()); }},
        {K::PauseHotKey, [](DeckPreferences& p) { Q_EMIT p.pauseHotKeyChanged(p.pauseHotKey()); }},
        {K::StopHotKey, [](DeckPreferences& p) { Q_EMIT p.stopHotKeyChanged(p.stopHotKey()); }},
        {K::TapeLibraryLocation,
         [](DeckPreferences& p) { Q_EMIT p.tapeLibraryPathChanged(p.tapeLibraryPath()); }},
        {K::RecordingIsStereo,
         [](DeckPreferences& p) { Q_EMIT p.recordingIsStereoChanged(p.recordingIsStereo()); }},
        {K::RecordingQuality,
         [](DeckPreferences& p) { Q_EMIT p.recordingQualityChanged(p.recordingQuality()); }},
        {K::RecordDeviceUID,
         [](DeckPreferences& p) { Q_EMIT p.recordDeviceUIDChanged(p.recordDeviceUID()); }},
        {K::RecordDeviceChannels,
         [](DeckPreferences& p) { Q_EMIT p.recordChannelsChanged(p.recordChannels()); }},
        {K::PlaybackDeviceUID,
         [](DeckPreferences& p) { Q_EMIT p.playbackDeviceUIDChanged(p.playbackDeviceUID()); }},
        {K::PlaybackVolume, [](DeckPreferences& p) { Q_EMIT p.playbackVolumeChanged(p.playbackVolume()); }},
        {K::TapeAuthor, [](DeckPreferences& p) { Q_EMIT p.tapeAuthorChanged(p.tapeAuthor()); }},
        {K::EnableSoftwarePlaythrough,
         [](DeckPreferences& p) {
             Q_EMIT p.enableSoftwarePlaythroughChanged(p.enableSoftwarePlaythrough());
         }},
        {K::SPLockRecordingSampleRate,
         [](DeckPreferences& p) { Q_EMIT p.lockRecordingSampleRateChanged(p.lockRecordingSampleRate()); }},
    };
    if (const Notify notify = notifiers.value(key))
        notify(*this);
}

bool DeckPreferences::playSoundEffects() const
{
    return boolForKey(K::PlaySoundEffects);
}

void DeckPreferences::setPlaySoundEffects(bool play)
{
    setDefaultsValue(K::PlaySoundEffects, play);
}

bool DeckPreferences::showStatusItem() const
{
    return boolForKey(K::ShowNSStatusItem);
}

void DeckPreferences::setShowStatusItem(bool show)
{
    setDefaultsValue(K::ShowNSStatusItem, show);
}

bool DeckPreferences::enableHotKeys() const
{
    return boolForKey(K::EnableHotKeys);
}

void DeckPreferences::setEnableHotKeys(bool enable)
{
    setDefaultsValue(K::EnableHotKeys, enable);
}

PTKeyCombo DeckPreferences::recordHotKey() const
{
    return PTKeyCombo::fromPlistRepresentation(defaultsValue(K::RecordHotKey));
}

void DeckPreferences::setRecordHotKey(const PTKeyCombo& combo)
{
    setDefaultsValue(K::RecordHotKey, combo.plistRepresentation());
}

PTKeyCombo DeckPreferences::pauseHotKey() const
{
    return PTKeyCombo::fromPlistRepresentation(defaultsValue(K::PauseHotKey));
}

void DeckPreferences::setPauseHotKey(const PTKeyCombo& combo)
{
    setDefaultsValue(K::PauseHotKey, combo.plistRepresentation());
}

PTKeyCombo DeckPreferences::stopHotKey() const
{
    return PTKeyCombo::fromPlistRepresentation(defaultsValue(K::StopHotKey));
}

void DeckPreferences::setStopHotKey(const PTKeyCombo& combo)
{
    setDefaultsValue(K::StopHotKey, combo.plistRepresentation());
}

QString DeckPreferences::tapeLibraryPath() const
{
    return stringForKey(K::TapeLibraryLocation);
}

void DeckPreferences::setTapeLibraryPath(const QString& path)
{
    setDefaultsValue(K::TapeLibraryLocation, path);
}

bool DeckPreferences::recordingIsStereo() const
{
    return boolForKey(K::RecordingIsStereo);
}

void DeckPreferences::setRecordingIsStereo(bool stereo)
{
    setDefaultsValue(K::RecordingIsStereo, stereo);
}

QString DeckPreferences::recordingQuality() const
{
    return stringForKey(K::RecordingQuality);
}

void DeckPreferences::setRecordingQuality(const QString& quality)
{
    setDefaultsValue(K::RecordingQuality, quality);
}

QString DeckPreferences::recordDeviceUID() const
{
    return stringForKey(K::RecordDeviceUID);
}

void DeckPreferences::setRecordDeviceUID(const QString& uid)
{
    setDefaultsValue(K::RecordDeviceUID, uidValue(uid));
}

QList<int> DeckPreferences::recordChannels() const
{
    return integerList(defaultsValue(K::RecordDeviceChannels));
}

void DeckPreferences::setRecordChannels(const QList<int>& channels)
{
    QVariantList list;
    for (int channel : channels)
        list.append(channel);
    setDefaultsValue(K::RecordDeviceChannels, list);
}

QString DeckPreferences::playbackDeviceUID() const
{
    return stringForKey(K::PlaybackDeviceUID);
}

void DeckPreferences::setPlaybackDeviceUID(const QString& uid)
{
    setDefaultsValue(K::PlaybackDeviceUID, uidValue(uid));
}

double DeckPreferences::playbackVolume() const
{
    return doubleForKey(K::PlaybackVolume);
}

void DeckPreferences::setPlaybackVolume(double volume)
{
    setDefaultsValue(K::PlaybackVolume, volume);
}

QString DeckPreferences::tapeAuthor() const
{
    return stringForKey(K::TapeAuthor);
}

void DeckPreferences::setTapeAuthor(const QString& author)
{
    setDefaultsValue(K::TapeAuthor, author);
}

bool DeckPreferences::enableSoftwarePlaythrough() const
{
    return boolForKey(K::EnableSoftwarePlaythrough);
}

void DeckPreferences::setEnableSoftwarePlaythrough(bool enable)
{
    setDefaultsValue(K::EnableSoftwarePlaythrough, enable);
}

bool DeckPreferences::lockRecordingSampleRate() const
{
    return boolForKey(K::SPLockRecordingSampleRate);
}

void DeckPreferences::setLockRecordingSampleRate(bool lock)
{
    setDefaultsValue(K::SPLockRecordingSampleRate, lock);
}

VORLAudioDevice DeckPreferences::recordingAudioDevice() const
{
    const QString uid = recordDeviceUID();
    return uid.isEmpty() ? VORLAudioHardware::defaultInputDevice() : VORLAudioDevice(uid);
}

VORLAudioDevice DeckPreferences::playbackAudioDevice() const
{
    const QString uid = playbackDeviceUID();
    return uid.isEmpty() ? VORLAudioHardware::defaultOutputDevice() : VORLAudioDevice(uid);
}

QList<unsigned> DeckPreferences::recordingAudioDeviceChannels() const
{
    QList<int> stored = recordChannels();
    if (!recordingIsStereo() && stored.size() >= 2)
        stored = stored.mid(0, 1);
    QList<unsigned> channels;
    for (int channel : stored)
        channels.append(unsigned(std::max(channel, 0)));
    return channels;
}

} // namespace spindrel
