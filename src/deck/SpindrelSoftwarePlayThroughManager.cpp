#include "deck/SpindrelSoftwarePlayThroughManager.h"

#include "audio/VORLAudioPlaythroughManager.h"
#include "deck/DeckPreferences.h"
#include "deck/DefaultsKeys.h"

namespace spindrel {

namespace K = DefaultsKeys;

SpindrelSoftwarePlayThroughManager::SpindrelSoftwarePlayThroughManager(DeckPreferences& preferences,
                                                                       QObject* parent)
    : QObject(parent), mPreferences(preferences)
{
    // Only the switch is observed with its initial value; the devices and channels matter
    // once they change.
    connect(&mPreferences, &DeckPreferences::defaultsChanged, this, [this](const QString& key) {
        if (key == K::PlaybackDeviceUID || key == K::RecordDeviceUID || key == K::RecordDeviceChannels)
            _rebuildPlaythroughManager();
    });
    mPreferences.observe(K::EnableSoftwarePlaythrough, this, [this] { _rebuildPlaythroughManager(); });
}

SpindrelSoftwarePlayThroughManager::~SpindrelSoftwarePlayThroughManager()
{
    disconnect(&mPreferences, nullptr, this, nullptr);
    if (mPlaythroughManager && mPlaythroughManager->isRunning())
        mPlaythroughManager->stop();
}

bool SpindrelSoftwarePlayThroughManager::softwarePlaythroughEnabled() const
{
    return mPreferences.boolForKey(K::EnableSoftwarePlaythrough);
}

QString SpindrelSoftwarePlayThroughManager::recordAudioDeviceUID() const
{
    return mPreferences.stringForKey(K::RecordDeviceUID);
}

QString SpindrelSoftwarePlayThroughManager::playbackAudioDeviceUID() const
{
    return mPreferences.stringForKey(K::PlaybackDeviceUID);
}

QList<int> SpindrelSoftwarePlayThroughManager::recordDeviceChannels() const
{
    const QVariant stored = mPreferences.defaultsValue(K::RecordDeviceChannels);
    QList<int> channels;
    if (stored.canConvert<QVariantList>() && stored.typeId() != QMetaType::QString) {
        for (const QVariant& channel : stored.toList())
            channels.append(channel.toInt());
    } else if (stored.isValid()) {
        channels.append(stored.toInt());
    }
    return channels;
}

void SpindrelSoftwarePlayThroughManager::_rebuildPlaythroughManager()
{
    if (mPlaythroughManager && mPlaythroughManager->isRunning())
        mPlaythroughManager->stop();
    mPlaythroughManager.reset();
    if (!softwarePlaythroughEnabled())
        return;
    mPlaythroughManager = std::make_unique<VORLAudioPlaythroughManager>(
        recordAudioDeviceUID(), playbackAudioDeviceUID(), recordDeviceChannels());
    mPlaythroughManager->start();
}

} // namespace spindrel
