#pragma once

#include "SMC/SoundEffect.h"
#include "SMC/TransportButton.h"

namespace spindrel {

/// What the transport map asks of the deck that owns it. Speeds are signed factors of normal
/// playback.
class WindowControllerOwner
{
public:
    virtual ~WindowControllerOwner() = default;

    virtual void clearButtons() = 0;
    virtual void setSelectedButton(TransportButton button) = 0;
    virtual void clearSelectedButton(TransportButton button) = 0;

    virtual void playSoundEffect(SoundEffect sound) = 0;
    virtual void stopSoundEffect(SoundEffect sound) = 0;

    /// True when the library has a selected tape to load.
    virtual bool canSelectTape() = 0;
    virtual void selectCurrentTape() = 0;
    virtual void clearSelectedTape() = 0;
    virtual void createTapePlayer() = 0;
    virtual void destroyTapePlayer() = 0;
    virtual void clearCurrentTime() = 0;

    virtual void startPlayingAudio() = 0;
    virtual void stopPlayingAudio() = 0;
    virtual void muteAudio() = 0;
    virtual void unmuteAudio() = 0;
    /// Sets the player's speed and the reels' speed together.
    virtual void setPlaybackSpeed(double speed) = 0;
    virtual void startRecordingAudio() = 0;
    virtual void pauseRecordingAudio() = 0;
    virtual void resumeRecordingAudio() = 0;
    virtual void stopRecordingAudio() = 0;

    virtual void startHUDUpdates() = 0;
    virtual void stopHUDUpdates() = 0;
    virtual void startPlayAnimation() = 0;
    virtual void stopPlayAnimation() = 0;
    virtual void playInsertionAnimation() = 0;
    virtual void playRemovalAnimation() = 0;
};

} // namespace spindrel
