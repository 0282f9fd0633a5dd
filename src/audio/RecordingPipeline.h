#pragma once

#include "audio/SPSCRingBuffer.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace spindrel {

class VORLExtendedAudioFile;

/// Carries captured audio into a file: the capture side picks the recorded channels out of the
/// device's frames into a ring; an encoder thread takes them out and writes the file. A session
/// runs from beginSession() to endCapture(); sessions follow each other into the same file without
/// a gap, with a few milliseconds of fade at each seam so that a pause leaves no click. A session
/// also ends by itself when the file refuses frames (a full disk): its `drained` function runs then.
class RecordingPipeline
{
public:
    /// `channels` are zero-based channels of frames of `deviceChannels` samples; there are as
    /// many as the file has channels (a single channel feeds every channel of the file).
    RecordingPipeline(std::shared_ptr<VORLExtendedAudioFile> file, std::vector<unsigned> channels,
                      unsigned deviceChannels);
    ~RecordingPipeline();

    RecordingPipeline(const RecordingPipeline&) = delete;
    RecordingPipeline& operator=(const RecordingPipeline&) = delete;

    // Capture side: real-time safe (no allocation, no lock, no wait).

    /// Takes `frames` frames of `deviceChannels()` interleaved samples. Frames that do not fit
    /// into the ring are dropped and counted.
    void captureInterleaved(const float* frames, size_t count);
    /// Frames the device lost: recorded as silence to keep the time line.
    void captureSilence(size_t count);
    /// No more frames in this session; the encoder thread drains the ring and then calls the
    /// session's `drained` function. May be called from any thread, more than once.
    void endCapture();

    // Control side (one thread, usually the main one).

    /// Starts the encoder thread of a new session; waits for the previous session's thread
    /// first. `drained` runs on the encoder thread once every captured frame is in the file.
    void beginSession(std::function<void()> drained);
    /// Waits until the current session's encoder thread has finished (after endCapture()).
    void waitUntilDrained();
    bool isCapturing() const { return mCapturing.load(std::memory_order_acquire); }

    unsigned deviceChannels() const { return mDeviceChannels; }
    const std::vector<unsigned>& channels() const { return mChannels; }
    /// Device frames captured over all sessions (silence for lost frames included).
    uint64_t capturedFrames() const { return mCaptured.load(std::memory_order_relaxed); }
    uint64_t droppedFrames() const { return mDropped.load(std::memory_order_relaxed); }
    /// False once the file refused frames; the file's errorString() says why.
    bool fileWritesSucceeded() const { return mWriteOK.load(std::memory_order_acquire); }
    /// Free room in the ring, in frames (for feeders that must not drop).
    size_t freeFrames() const;

private:
    void encoderLoop(std::function<void()> drained);
    void writeChunk(size_t frames, bool last, size_t remainingAfter);

    std::shared_ptr<VORLExtendedAudioFile> mFile;
    std::vector<unsigned> mChannels; // one source channel per file channel
    unsigned mDeviceChannels;
    unsigned mFileChannels;
    size_t mFadeFrames;
    // Producer: the sound server's thread (capture callback); consumer: the encoder thread.
    SPSCRingBuffer<float> mRing;
    std::vector<float> mScratch; // encoder thread only
    size_t mSessionWritten = 0;  // encoder thread only: frames written in this session
    std::thread mEncoder;
    std::atomic<bool> mCapturing{false};
    std::atomic<bool> mCaptureEnded{false};
    std::atomic<uint64_t> mCaptured{0};
    std::atomic<uint64_t> mDropped{0};
    std::atomic<bool> mWriteOK{true};
};

} // namespace spindrel
