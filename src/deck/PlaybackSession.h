#pragma once

#include "audio/VORLAudioDevice.h"

#include <QObject>
#include <memory>

namespace spindrel {

class VORLExtendedAudioFilePlayer;

/// The loaded tape's player: made when a tape goes in, let go when it comes out. Without a player
/// (no tape, or a file that cannot be played) every operation does nothing.
class PlaybackSession : public QObject
{
    Q_OBJECT

public:
    explicit PlaybackSession(QObject* parent = nullptr);
    ~PlaybackSession() override;

    /// A player for `filename` on `device` at `volume` decibels; false (and logged) when the file
    /// cannot be played.
    bool open(const QString& filename, const VORLAudioDevice& device, double volume);
    void close();
    VORLExtendedAudioFilePlayer* player() const { return mPlayer.get(); }

    /// False, with the reason in `error`, when output cannot start.
    bool start(QString* error);
    void stop();
    void mute();
    /// The user's volume in decibels; setting it also lifts a mute.
    void setVolume(double decibels);
    void setSpeed(double speed);
    void seek(double milliseconds);
    double currentTime() const;
    double maxTime() const;

Q_SIGNALS:
    /// Play ran off an end of the file.
    void reachedEnd();
    /// Playback stopped by itself: its output device, named here, went away.
    void outputLost(const QString& deviceName);

private:
    std::unique_ptr<VORLExtendedAudioFilePlayer> mPlayer;
};

} // namespace spindrel
