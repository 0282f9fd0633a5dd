#pragma once

#include "audio/SPSCRingBuffer.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

typedef struct SRC_STATE_tag SRC_STATE;

namespace spindrel {

class AudioFileReader;

/// A file played like a tape: at any speed, backwards for negative speeds, the pitch following
/// the speed. A worker thread decodes ahead in the direction of play (reading the file backwards
/// in blocks for reverse); render() resamples that with a band-limited converter.
///
/// render() runs on the output thread and is real-time safe. setPosition() and a change of
/// direction in setSpeed() must not run at the same time as render() (the player holds the
/// output thread's lock); a change of magnitude may.
class VarispeedSource
{
public:
    explicit VarispeedSource(std::unique_ptr<AudioFileReader> reader);
    ~VarispeedSource();

    VarispeedSource(const VarispeedSource&) = delete;
    VarispeedSource& operator=(const VarispeedSource&) = delete;

    int channels() const { return mChannels; }
    int sampleRate() const { return mRate; }
    int64_t totalFrames() const { return mTotal; }

    /// Moves to a frame (clamped to the file) and starts decoding ahead from there.
    void setPosition(int64_t frame);
    /// The frame being played: counted from the converter's output, so frames the converter
    /// holds ahead are not yet played.
    int64_t position() const { return mPosition.load(std::memory_order_relaxed); }

    /// Sets the signed speed factor (0 is silence).
    void setSpeed(double speed);
    double speed() const { return mSpeed.load(std::memory_order_relaxed); }

    /// Fills `frames` interleaved frames. After the last frame in the direction of play the rest
    /// is silence and reachedEnd() becomes true.
    void render(float* out, size_t frames);
    /// True once play has run off the end (forward) or the start (backwards) of the file.
    bool reachedEnd() const { return mReachedEnd.load(std::memory_order_acquire); }

    /// Frames decoded ahead of play, and whether decoding has reached the end in the direction
    /// of play (for callers that must not underrun, such as offline rendering).
    size_t bufferedFrames() const { return mRing.readAvailable() / size_t(mChannels); }
    bool decodedToEnd() const { return mSourceExhausted.load(std::memory_order_acquire); }

private:
    void workerLoop();
    std::chrono::microseconds idleWait() const;
    void pauseWorker();
    void resumeWorker();
    void restartAt(int64_t frame);

    std::unique_ptr<AudioFileReader> mReader;
    int mChannels;
    int mRate;
    int64_t mTotal;
    SRC_STATE* mConverter = nullptr;

    // Producer: the decoding worker thread; consumer: the output thread in render().
    SPSCRingBuffer<float> mRing;

    std::atomic<double> mSpeed{1.0};
    std::atomic<int64_t> mPosition{0};
    std::atomic<bool> mReachedEnd{false};
    std::atomic<bool> mSourceExhausted{false}; // the worker has read up to the end
    int mDirection = 1;   // the direction the ring holds; changed only while the worker is paused
    double mPlayed = 0.0; // output thread: the position with its fraction

    // Worker control (never touched by render()).
    std::thread mWorker;
    std::mutex mMutex;
    std::condition_variable mWake;
    bool mQuit = false;
    bool mPauseRequested = false;
    bool mWorkerPaused = false;
    int64_t mReadPosition = 0; // worker: the next frame to decode (forward) or the frame after it (backwards)
    std::vector<float> mBlock; // worker: one decoded block
};

} // namespace spindrel
