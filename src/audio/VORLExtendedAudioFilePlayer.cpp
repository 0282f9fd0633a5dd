#include "audio/VORLExtendedAudioFilePlayer.h"

#include "audio/AudioException.h"
#include "audio/AudioFileReader.h"
#include "audio/PulseConnection.h"
#include "audio/VORLAudioHardware.h"
#include "audio/VarispeedSource.h"
#include "foundation/Log.h"

#include <cmath>
#include <pulse/pulseaudio.h>

namespace spindrel {

namespace {
constexpr double kTargetLatencySeconds = 0.08;
constexpr double kRequestSeconds = 0.02;
constexpr int kWatchIntervalMs = 20;
} // namespace

VORLExtendedAudioFilePlayer::VORLExtendedAudioFilePlayer(const QString& filename,
                                                         const VORLAudioDevice& device, QObject* parent)
    : QObject(parent), mFilename(filename), mDevice(device),
      mSource(std::make_unique<VarispeedSource>(std::make_unique<AudioFileReader>(filename)))
{
    mWatchTimer.setInterval(kWatchIntervalMs);
    connect(&mWatchTimer, &QTimer::timeout, this, &VORLExtendedAudioFilePlayer::watchOutput);
}

VORLExtendedAudioFilePlayer::~VORLExtendedAudioFilePlayer()
{
    stopFilePlaying();
    mConnection.reset();
}

bool VORLExtendedAudioFilePlayer::startFilePlaying()
{
    if (mPlaying)
        return true;
    mError.clear();
    if (const QString problem = VORLAudioHardware::streamProblem(); !problem.isEmpty()) {
        mError = problem;
        logError(logSourceName(__FILE__), mError);
        return false;
    }
    if (!mConnection || !mConnection->isConnected()) {
        mConnection.reset();
        try {
            mConnection = std::make_unique<PulseConnection>(QStringLiteral("Spindrel player"));
        } catch (const AudioException& exception) {
            mError = exception.reason();
            logError(logSourceName(__FILE__), mError);
            return false;
        }
    }
    pa_sample_spec format;
    format.format = PA_SAMPLE_FLOAT32NE;
    format.channels = uint8_t(mSource->channels());
    format.rate = uint32_t(mSource->sampleRate());
    pa_buffer_attr attributes;
    attributes.maxlength = uint32_t(-1);
    attributes.tlength =
        uint32_t(pa_usec_to_bytes(pa_usec_t(kTargetLatencySeconds * PA_USEC_PER_SEC), &format));
    attributes.minreq = uint32_t(pa_usec_to_bytes(pa_usec_t(kRequestSeconds * PA_USEC_PER_SEC), &format));
    attributes.prebuf = uint32_t(-1);
    attributes.fragsize = uint32_t(-1);

    PulseConnection::Locker lock(*mConnection);
    mOutputLost.store(false);
    QString error;
    // A device the user chose keeps the stream: unplugged, playback stops rather than going on
    // somewhere else. The default output may follow the server to another device.
    const bool chosen = !mDevice.deviceUID().isEmpty() && mDevice.isPresent(VORLAudioDevice::Output);
    // Not waited for: a stream that fails to start stops playback like a lost device.
    mStream = mConnection->startStream(
        PulseConnection::Direction::Playback, "Tape", format, {}, mDevice.sinkName(), attributes,
        PA_STREAM_ADJUST_LATENCY | PA_STREAM_AUTO_TIMING_UPDATE | PA_STREAM_INTERPOLATE_TIMING |
            (chosen ? PA_STREAM_DONT_MOVE : 0),
        [this](pa_stream* stream) {
            pa_stream_set_state_callback(stream, &streamStateChanged, this);
            pa_stream_set_write_callback(stream, &streamWrite, this);
        },
        &error);
    if (!mStream) {
        mError = QStringLiteral("Could not play to %1: %2").arg(mDevice.deviceName(), error);
        logError(logSourceName(__FILE__), mError);
        return false;
    }
    mPlaying = true;
    mWatchTimer.start();
    return true;
}

void VORLExtendedAudioFilePlayer::stopFilePlaying()
{
    if (!mPlaying)
        return;
    mWatchTimer.stop();
    int64_t unheard = 0;
    {
        PulseConnection::Locker lock(*mConnection);
        // What was written but not yet played is dropped with the stream: go back by as much,
        // so that playing on starts where the sound stopped.
        pa_usec_t latency = 0;
        int negative = 0;
        if (!mSource->reachedEnd() && pa_stream_get_latency(mStream, &latency, &negative) == 0 && !negative) {
            const double speed = mSource->speed();
            unheard = std::llround(double(latency) * mSource->sampleRate() / PA_USEC_PER_SEC * speed);
        }
        PulseConnection::releaseStream(mStream);
    }
    mPlaying = false;
    mSource->setPosition(mSource->position() - unheard);
}

void VORLExtendedAudioFilePlayer::watchOutput()
{
    if (mOutputLost.exchange(false)) {
        mError = QStringLiteral("Playback to %1 stopped: the device is gone").arg(mDevice.deviceName());
        logError(logSourceName(__FILE__), mError);
        stopFilePlaying();
        Q_EMIT audioFilePlayerDidFail(this);
        if (mDelegate)
            mDelegate->audioFilePlayerDidFail(this);
        return;
    }
    if (!mSource->reachedEnd())
        return;
    stopFilePlaying();
    Q_EMIT audioFilePlayerDidReachEndOfFile(this);
    if (mDelegate)
        mDelegate->audioFilePlayerDidReachEndOfFile(this);
}

double VORLExtendedAudioFilePlayer::currentTime() const
{
    return double(currentFrame()) * 1000.0 / mSource->sampleRate();
}

void VORLExtendedAudioFilePlayer::setCurrentTime(double milliseconds)
{
    if (!std::isfinite(milliseconds))
        return;
    setCurrentFrame(qint64(std::llround(milliseconds * mSource->sampleRate() / 1000.0)));
}

double VORLExtendedAudioFilePlayer::maxTime() const
{
    return double(mSource->totalFrames()) * 1000.0 / mSource->sampleRate();
}

qint64 VORLExtendedAudioFilePlayer::currentFrame() const
{
    return mSource->position();
}

void VORLExtendedAudioFilePlayer::setCurrentFrame(qint64 frame)
{
    if (mPlaying) {
        PulseConnection::Locker lock(*mConnection); // keeps the output callback out meanwhile
        mSource->setPosition(frame);
    } else {
        mSource->setPosition(frame);
    }
}

qint64 VORLExtendedAudioFilePlayer::totalFrames() const
{
    return mSource->totalFrames();
}

int VORLExtendedAudioFilePlayer::sampleRate() const
{
    return mSource->sampleRate();
}

double VORLExtendedAudioFilePlayer::playbackSpeed() const
{
    return mSource->speed();
}

void VORLExtendedAudioFilePlayer::setPlaybackSpeed(double speed)
{
    if (mPlaying) {
        PulseConnection::Locker lock(*mConnection);
        mSource->setSpeed(speed);
    } else {
        mSource->setSpeed(speed);
    }
}

void VORLExtendedAudioFilePlayer::setPlaybackVolume(double decibels)
{
    mVolume = decibels;
    mLevel = 1.0;
    applyGain();
}

void VORLExtendedAudioFilePlayer::setPlaybackLevel(double level)
{
    mLevel = std::isfinite(level) ? std::max(level, 0.0) : 0.0;
    applyGain();
}

void VORLExtendedAudioFilePlayer::applyGain()
{
    const double volume = std::isfinite(mVolume) ? std::pow(10.0, std::min(mVolume, 0.0) / 20.0) : 0.0;
    mTargetGain.store(float(volume * mLevel), std::memory_order_relaxed);
}

// Runs on the sound server's thread: renders into the server's buffer, no allocation, no lock.
void VORLExtendedAudioFilePlayer::streamWrite(pa_stream* stream, size_t bytes, void* userdata)
{
    auto* self = static_cast<VORLExtendedAudioFilePlayer*>(userdata);
    const size_t channels = size_t(self->mSource->channels());
    const size_t frameBytes = sizeof(float) * channels;
    while (bytes >= frameBytes) {
        void* buffer = nullptr;
        size_t size = bytes;
        if (pa_stream_begin_write(stream, &buffer, &size) < 0 || !buffer)
            return;
        const size_t frames = std::min(size, bytes) / frameBytes;
        if (frames == 0) {
            pa_stream_cancel_write(stream);
            return;
        }
        auto* samples = static_cast<float*>(buffer);
        self->mSource->render(samples, frames);
        // A short ramp to the new gain, so muting and volume changes do not click.
        const float target = self->mTargetGain.load(std::memory_order_relaxed);
        const float step = (target - self->mGain) / float(frames);
        for (size_t frame = 0; frame < frames; ++frame) {
            self->mGain += step;
            for (size_t c = 0; c < channels; ++c)
                samples[frame * channels + c] *= self->mGain;
        }
        self->mGain = target;
        pa_stream_write(stream, buffer, frames * frameBytes, nullptr, 0, PA_SEEK_RELATIVE);
        bytes -= frames * frameBytes;
    }
}

// Runs on the sound server's thread.
void VORLExtendedAudioFilePlayer::streamStateChanged(pa_stream* stream, void* userdata)
{
    if (!PA_STREAM_IS_GOOD(pa_stream_get_state(stream)))
        static_cast<VORLExtendedAudioFilePlayer*>(userdata)->mOutputLost.store(true);
}

} // namespace spindrel
