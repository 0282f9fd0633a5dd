#include "audio/RecordingPipeline.h"

#include "audio/VORLExtendedAudioFile.h"

#include <chrono>
#include <cmath>
#include <numbers>

namespace spindrel {

namespace {
constexpr double kRingSeconds = 4.0;
constexpr double kFadeSeconds = 0.003;
constexpr size_t kChunkFrames = 4096;
// The server hands over a fragment every 20 ms; looking more often only wakes the core for nothing.
constexpr auto kPollInterval = std::chrono::milliseconds(20);

double fadeGain(size_t index, size_t length)
{
    // Raised cosine from 0 to 1 over `length` frames.
    return 0.5 - 0.5 * std::cos(std::numbers::pi * (double(index) + 0.5) / double(length));
}
} // namespace

RecordingPipeline::RecordingPipeline(std::shared_ptr<VORLExtendedAudioFile> file,
                                     std::vector<unsigned> channels, unsigned deviceChannels)
    : mFile(std::move(file)), mDeviceChannels(std::max(deviceChannels, 1u)),
      mFileChannels(std::max(mFile->channelsPerFrame(), 1u)),
      mFadeFrames(size_t(std::lround(mFile->inputSampleRate() * kFadeSeconds))),
      mRing(size_t(mFile->inputSampleRate() * kRingSeconds) * mFileChannels),
      mScratch(kChunkFrames * mFileChannels)
{
    if (channels.empty())
        channels.push_back(0);
    for (unsigned& channel : channels)
        channel = std::min(channel, mDeviceChannels - 1);
    mChannels.resize(mFileChannels);
    for (unsigned i = 0; i < mFileChannels; ++i)
        mChannels[i] = channels[std::min<size_t>(i, channels.size() - 1)];
}

RecordingPipeline::~RecordingPipeline()
{
    endCapture();
    waitUntilDrained();
}

size_t RecordingPipeline::freeFrames() const
{
    return const_cast<SPSCRingBuffer<float>&>(mRing).writeAvailable() / mFileChannels;
}

void RecordingPipeline::captureInterleaved(const float* frames, size_t count)
{
    mCaptured.fetch_add(count, std::memory_order_relaxed);
    const size_t room = mRing.writeAvailable() / mFileChannels;
    const size_t taken = std::min(room, count);
    if (taken < count)
        mDropped.fetch_add(count - taken, std::memory_order_relaxed);
    auto span = mRing.writeSpan(taken * mFileChannels);
    // The span holds whole frames except where it wraps, so index samples rather than frames.
    size_t sample = 0;
    for (size_t frame = 0; frame < taken; ++frame) {
        const float* source = frames + frame * mDeviceChannels;
        for (unsigned c = 0; c < mFileChannels; ++c, ++sample) {
            float* target =
                sample < span.firstCount ? span.first + sample : span.second + (sample - span.firstCount);
            *target = source[mChannels[c]];
        }
    }
    mRing.commitWrite(taken * mFileChannels);
}

void RecordingPipeline::captureSilence(size_t count)
{
    mCaptured.fetch_add(count, std::memory_order_relaxed);
    const size_t taken = std::min(mRing.writeAvailable() / mFileChannels, count);
    if (taken < count)
        mDropped.fetch_add(count - taken, std::memory_order_relaxed);
    auto span = mRing.writeSpan(taken * mFileChannels);
    std::fill_n(span.first, span.firstCount, 0.0f);
    std::fill_n(span.second, span.secondCount, 0.0f);
    mRing.commitWrite(span.count());
}

void RecordingPipeline::endCapture()
{
    mCaptureEnded.store(true, std::memory_order_release);
}

void RecordingPipeline::beginSession(std::function<void()> drained)
{
    waitUntilDrained();
    mCaptureEnded.store(false, std::memory_order_release);
    mCapturing.store(true, std::memory_order_release);
    mSessionWritten = 0;
    mEncoder =
        std::thread([this, drained = std::move(drained)]() mutable { encoderLoop(std::move(drained)); });
}

void RecordingPipeline::waitUntilDrained()
{
    if (mEncoder.joinable())
        mEncoder.join();
}

void RecordingPipeline::encoderLoop(std::function<void()> drained)
{
    for (;;) {
        // A file that refused frames takes no more: the session ends at once, leaving the rest.
        if (!mWriteOK.load(std::memory_order_acquire))
            break;
        const bool ended = mCaptureEnded.load(std::memory_order_acquire);
        const size_t available = mRing.readAvailable() / mFileChannels;
        // While capturing, the last fade's worth stays behind so that the end of the session can
        // still be faded out once it is known.
        const size_t ready = ended ? available : (available > mFadeFrames ? available - mFadeFrames : 0);
        if (ready == 0) {
            if (ended)
                break;
            std::this_thread::sleep_for(kPollInterval);
            continue;
        }
        for (size_t left = ready; left > 0 && mWriteOK.load(std::memory_order_relaxed);) {
            const size_t count = std::min(left, kChunkFrames);
            left -= count;
            writeChunk(count, ended, left);
        }
    }
    mCapturing.store(false, std::memory_order_release);
    if (drained)
        drained();
}

void RecordingPipeline::writeChunk(size_t frames, bool last, size_t remainingAfter)
{
    mRing.read(mScratch.data(), frames * mFileChannels);
    for (size_t i = 0; i < frames; ++i) {
        double gain = 1.0;
        const size_t inSession = mSessionWritten + i;
        if (inSession < mFadeFrames)
            gain *= fadeGain(inSession, mFadeFrames);
        const size_t fromEnd = (frames - i - 1) + remainingAfter; // frames after this one
        if (last && fromEnd < mFadeFrames)
            gain *= fadeGain(fromEnd, mFadeFrames);
        if (gain < 1.0) {
            for (unsigned c = 0; c < mFileChannels; ++c)
                mScratch[i * mFileChannels + c] *= float(gain);
        }
    }
    mSessionWritten += frames;
    if (mWriteOK.load(std::memory_order_relaxed) && !mFile->writeFrames(mScratch.data(), frames))
        mWriteOK.store(false, std::memory_order_release);
}

} // namespace spindrel
