#pragma once

#include <QList>
#include <QString>
#include <memory>

namespace spindrel {

class CAPlayThroughHost;

/// The play-through between two devices named by UID (empty: the default device), with the
/// input channels to hear. Main thread.
class VORLAudioPlaythroughManager
{
public:
    VORLAudioPlaythroughManager(const QString& inputDeviceUID, const QString& outputDeviceUID,
                                const QList<int>& recordChannelMap);
    ~VORLAudioPlaythroughManager();
    VORLAudioPlaythroughManager(const VORLAudioPlaythroughManager&) = delete;
    VORLAudioPlaythroughManager& operator=(const VORLAudioPlaythroughManager&) = delete;

    /// False when play-through cannot run; the host says why.
    bool start();
    void stop();
    bool isRunning() const;

    CAPlayThroughHost* playThroughHost() const { return mPlayThroughHost.get(); }

private:
    std::unique_ptr<CAPlayThroughHost> mPlayThroughHost;
};

} // namespace spindrel
