#pragma once

#include "audio/VORLAudioDevice.h"

#include <QObject>
#include <QString>
#include <QTimer>
#include <atomic>
#include <memory>

struct pa_stream;

namespace spindrel {

class PulseConnection;
class VarispeedSource;
class VORLExtendedAudioFilePlayer;

class VORLExtendedAudioFilePlayerDelegate
{
public:
    virtual ~VORLExtendedAudioFilePlayerDelegate() = default;
    /// Play ran off the end of the file, or off its start when playing backwards (main thread).
    virtual void audioFilePlayerDidReachEndOfFile(VORLExtendedAudioFilePlayer* player) = 0;
    /// Playback stopped by itself because its output went away (main thread); errorString() says
    /// which device.
    virtual void audioFilePlayerDidFail(VORLExtendedAudioFilePlayer* /*player*/) {}
};

/// Plays an audio file to an output device like a tape: any signed speed, backwards below zero,
/// pitch following speed. Output starts and stops without losing the position; all positions
/// are frames of the file or milliseconds. The sound server is first used by startFilePlaying().
class VORLExtendedAudioFilePlayer : public QObject
{
    Q_OBJECT

public:
    /// Positioned at the start, not playing. Throws AudioException when the file cannot be
    /// opened as audio.
    VORLExtendedAudioFilePlayer(const QString& filename, const VORLAudioDevice& device,
                                QObject* parent = nullptr);
    ~VORLExtendedAudioFilePlayer() override;

    void setDelegate(VORLExtendedAudioFilePlayerDelegate* delegate) { mDelegate = delegate; }
    VORLExtendedAudioFilePlayerDelegate* delegate() const { return mDelegate; }

    /// False when output cannot start (no sound server); errorString() says why.
    bool startFilePlaying();
    void stopFilePlaying();
    bool isFilePlaying() const { return mPlaying; }

    double currentTime() const;
    void setCurrentTime(double milliseconds);
    double maxTime() const;
    qint64 currentFrame() const;
    void setCurrentFrame(qint64 frame);
    qint64 totalFrames() const;
    int sampleRate() const;

    double playbackSpeed() const;
    void setPlaybackSpeed(double speed);

    /// Attenuation in dB, 0.0 is full volume. Setting it also lifts a mute made with
    /// setPlaybackLevel(0.0).
    void setPlaybackVolume(double decibels);
    double playbackVolume() const { return mVolume; }
    /// An extra linear gain, 1.0 by default; the deck sets 0.0 to mute.
    void setPlaybackLevel(double level);
    double playbackLevel() const { return mLevel; }

    QString filename() const { return mFilename; }
    /// The output, as it was known when the player was made (it may be gone since).
    const VORLAudioDevice& device() const { return mDevice; }
    QString errorString() const { return mError; }

Q_SIGNALS:
    void audioFilePlayerDidReachEndOfFile(spindrel::VORLExtendedAudioFilePlayer* player);
    void audioFilePlayerDidFail(spindrel::VORLExtendedAudioFilePlayer* player);

private:
    static void streamWrite(pa_stream* stream, size_t bytes, void* self);
    static void streamStateChanged(pa_stream* stream, void* self);
    void watchOutput();
    void applyGain();

    QString mFilename;
    VORLAudioDevice mDevice;
    std::unique_ptr<VarispeedSource> mSource;
    std::unique_ptr<PulseConnection> mConnection;
    pa_stream* mStream = nullptr;
    VORLExtendedAudioFilePlayerDelegate* mDelegate = nullptr;
    QTimer mWatchTimer; // looks for the end of the file and a lost output while playing
    bool mPlaying = false;
    double mVolume = 0.0;
    double mLevel = 1.0;
    std::atomic<float> mTargetGain{1.0f};
    float mGain = 1.0f; // output thread: the gain reached so far, ramped towards the target
    std::atomic<bool> mOutputLost{false};
    QString mError;
};

} // namespace spindrel
