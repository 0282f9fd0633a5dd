#include "audio/VORLAudioPlaythroughManager.h"

#include "audio/CAPlayThroughHost.h"
#include "audio/VORLAudioHardware.h"

namespace spindrel {

VORLAudioPlaythroughManager::VORLAudioPlaythroughManager(const QString& inputDeviceUID,
                                                         const QString& outputDeviceUID,
                                                         const QList<int>& recordChannelMap)
    : mPlayThroughHost(std::make_unique<CAPlayThroughHost>(
          VORLAudioHardware::deviceIDForDeviceUID(inputDeviceUID),
          VORLAudioHardware::deviceIDForDeviceUID(outputDeviceUID), recordChannelMap))
{
}

VORLAudioPlaythroughManager::~VORLAudioPlaythroughManager() = default;

bool VORLAudioPlaythroughManager::start()
{
    return mPlayThroughHost->start();
}

void VORLAudioPlaythroughManager::stop()
{
    mPlayThroughHost->stop();
}

bool VORLAudioPlaythroughManager::isRunning() const
{
    return mPlayThroughHost->isRunning();
}

} // namespace spindrel
