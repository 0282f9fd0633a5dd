#include "audio/VarispeedSource.h"

#include "audio/AudioException.h"
#include "audio/AudioFileReader.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <samplerate.h>

namespace spindrel {

namespace {
constexpr size_t kBlockFrames = 8192;
constexpr size_t kRingFrames = size_t(1) << 17; // about 0.37 s at eight times 44.1 kHz
constexpr auto kShortestWait = std::chrono::milliseconds(5);
} // namespace

VarispeedSource::VarispeedSource(std::unique_ptr<AudioFileReader> reader)
    : mReader(std::move(reader)), mChannels(mReader->channels()), mRate(mReader->sampleRate()),
      mTotal(mReader->totalFrames()), mRing(kRingFrames * size_t(mChannels)),
      mBlock(kBlockFrames * size_t(mChannels))
{
    int error = 0;
    mConverter = src_new(SRC_SINC_FASTEST, mChannels, &error);
    if (!mConverter)
        throw AudioException(QStringLiteral("Could not make a resampler: ") +
                             QString::fromUtf8(src_strerror(error)));
    mWorker = std::thread([this] { workerLoop(); });
}

VarispeedSource::~VarispeedSource()
{
    {
        std::lock_guard lock(mMutex);
        mQuit = true;
    }
    mWake.notify_all();
    mWorker.join();
    src_delete(mConverter);
}

void VarispeedSource::workerLoop()
{
    std::unique_lock lock(mMutex);
    while (!mQuit) {
        if (mPauseRequested) {
            mWorkerPaused = true;
            mWake.notify_all();
            mWake.wait(lock, [this] { return !mPauseRequested || mQuit; });
            mWorkerPaused = false;
            continue;
        }
        const size_t blockSamples = kBlockFrames * size_t(mChannels);
        if (mSourceExhausted.load(std::memory_order_relaxed) || mRing.writeAvailable() < blockSamples) {
            mWake.wait_for(lock, idleWait());
            continue;
        }
        const int direction = mDirection;
        const int64_t position = mReadPosition;
        lock.unlock();
        int64_t got = 0;
        int64_t next = position;
        if (direction > 0) {
            got = mReader->read(position, int64_t(kBlockFrames), mBlock.data());
            next = position + got;
        } else if (position > 0) {
            const int64_t start = std::max<int64_t>(0, position - int64_t(kBlockFrames));
            got = mReader->read(start, position - start, mBlock.data());
            // Backwards: the block is played last frame first.
            for (int64_t a = 0, b = got - 1; a < b; ++a, --b) {
                std::swap_ranges(mBlock.begin() + a * mChannels, mBlock.begin() + (a + 1) * mChannels,
                                 mBlock.begin() + b * mChannels);
            }
            next = start;
        }
        if (got > 0)
            mRing.write(mBlock.data(), size_t(got) * size_t(mChannels));
        lock.lock();
        mReadPosition = next;
        if (got == 0 || (direction < 0 && next == 0))
            mSourceExhausted.store(true, std::memory_order_release);
    }
}

// A full ring frees a block no sooner than the output plays half of one at the current speed;
// waking more often only burns the processor of a deck that sits still with a tape loaded.
std::chrono::microseconds VarispeedSource::idleWait() const
{
    const double speed = std::max(1.0, std::abs(mSpeed.load(std::memory_order_relaxed)));
    const double seconds = double(kBlockFrames) / 2.0 / (std::max(1, mRate) * speed);
    return std::max<std::chrono::microseconds>(kShortestWait,
                                               std::chrono::microseconds(std::llround(seconds * 1e6)));
}

void VarispeedSource::pauseWorker()
{
    std::unique_lock lock(mMutex);
    mPauseRequested = true;
    mWake.notify_all();
    mWake.wait(lock, [this] { return mWorkerPaused; });
}

void VarispeedSource::resumeWorker()
{
    {
        std::lock_guard lock(mMutex);
        mPauseRequested = false;
    }
    mWake.notify_all();
}

void VarispeedSource::restartAt(int64_t frame)
{
    mRing.reset();
    src_reset(mConverter);
    mDirection = mSpeed.load() < 0.0 ? -1 : 1;
    mReadPosition = frame;
    mPosition.store(frame);
    mPlayed = double(frame);
    mSourceExhausted.store(false);
    mReachedEnd.store(false);
}

void VarispeedSource::setPosition(int64_t frame)
{
    frame = std::clamp<int64_t>(frame, 0, std::max<int64_t>(mTotal, 0));
    pauseWorker();
    restartAt(frame);
    resumeWorker();
}

void VarispeedSource::setSpeed(double speed)
{
    if (!std::isfinite(speed))
        speed = 0.0;
    mSpeed.store(speed);
    const int direction = speed < 0.0 ? -1 : speed > 0.0 ? 1 : mDirection;
    if (direction != mDirection)
        setPosition(position());
}

// Runs on the output thread: no allocation, no lock, no wait.
void VarispeedSource::render(float* out, size_t frames)
{
    const size_t channels = size_t(mChannels);
    const double magnitude = std::abs(mSpeed.load(std::memory_order_relaxed));
    size_t produced = 0;
    if (!mReachedEnd.load(std::memory_order_relaxed) && magnitude > 1e-6) {
        const double ratio = std::clamp(1.0 / magnitude, 1.0 / 256.0, 256.0);
        for (int round = 0; produced < frames && round < 64; ++round) {
            // Read "exhausted" first: once it is set, what the ring holds is all there will be.
            const bool exhausted = mSourceExhausted.load(std::memory_order_acquire);
            const auto span = mRing.readSpan(mRing.readAvailable());
            const size_t inputFrames = span.firstCount / channels;
            const bool lastInput = exhausted && span.secondCount == 0;
            if (inputFrames == 0 && !exhausted)
                break; // the worker is behind: a moment of silence
            SRC_DATA data{};
            data.data_in = span.first;
            data.input_frames = long(inputFrames);
            data.data_out = out + produced * channels;
            data.output_frames = long(frames - produced);
            data.src_ratio = ratio;
            data.end_of_input = lastInput ? 1 : 0;
            if (src_process(mConverter, &data) != 0)
                break;
            mRing.commitRead(size_t(data.input_frames_used) * channels);
            produced += size_t(data.output_frames_gen);
            if (lastInput && data.output_frames_gen == 0 && data.input_frames_used == data.input_frames) {
                mPlayed = mDirection > 0 ? double(mTotal) : 0.0;
                mPosition.store(int64_t(mPlayed), std::memory_order_relaxed);
                mReachedEnd.store(true, std::memory_order_release);
                break;
            }
            // The converter reads ahead of what it outputs; what has been heard is the output.
            mPlayed = std::clamp(mPlayed + mDirection * double(data.output_frames_gen) / ratio, 0.0,
                                 double(mTotal));
            mPosition.store(std::llround(mPlayed), std::memory_order_relaxed);
        }
    }
    std::fill(out + produced * channels, out + frames * channels, 0.0f);
}

} // namespace spindrel
