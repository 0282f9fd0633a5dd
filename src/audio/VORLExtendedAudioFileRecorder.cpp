#include "audio/VORLExtendedAudioFileRecorder.h"

#include "audio/AudioException.h"
#include "audio/PulseConnection.h"
#include "audio/RecordingPipeline.h"
#include "audio/VORLAudioHardware.h"
#include "audio/VORLExtendedAudioFile.h"
#include "foundation/Log.h"

#include <cmath>
#include <pulse/pulseaudio.h>

namespace spindrel {

namespace {
constexpr double kFragmentSeconds = 0.02;
constexpr pa_usec_t kMaximumStopLatencyUsec = PA_USEC_PER_SEC;
constexpr int kStopGraceMs = 500;
} // namespace

VORLExtendedAudioFileRecorder::VORLExtendedAudioFileRecorder(std::shared_ptr<VORLExtendedAudioFile> file,
                                                             const VORLAudioDevice& device,
                                                             const QList<unsigned>& recordChannels,
                                                             QObject* parent)
    : QObject(parent), mFile(std::move(file)), mDevice(device), mRecordChannels(recordChannels)
{
    mStopTimer.setSingleShot(true);
    connect(&mStopTimer, &QTimer::timeout, this, &VORLExtendedAudioFileRecorder::endCaptureNow);
    const unsigned deviceChannels = unsigned(mDevice.channelPositions(VORLAudioDevice::Input).size());
    std::vector<unsigned> channels(recordChannels.begin(), recordChannels.end());
    for (unsigned channel : channels) {
        if (deviceChannels > 0 && channel >= deviceChannels) {
            logError(logSourceName(__FILE__),
                     QStringLiteral("Channel %1 of %2 does not exist; recording channel %3")
                         .arg(channel + 1)
                         .arg(mDevice.deviceName())
                         .arg(deviceChannels));
        }
    }
    mPipeline = std::make_unique<RecordingPipeline>(mFile, std::move(channels), std::max(deviceChannels, 1u));
}

VORLExtendedAudioFileRecorder::~VORLExtendedAudioFileRecorder()
{
    stopRecording();
    endCaptureNow();
    mPipeline->waitUntilDrained();
    mConnection.reset();
}

bool VORLExtendedAudioFileRecorder::startRecording()
{
    if (mRecording)
        return true;
    mError.clear();
    if (!mFile->isOpen()) {
        fail(QStringLiteral("The file %1 is closed").arg(mFile->filename()));
        return false;
    }
    const std::vector<int> positions = mDevice.channelPositions(VORLAudioDevice::Input);
    if (positions.empty()) {
        fail(mDevice.inputProblem());
        return false;
    }
    if (positions.size() != mPipeline->deviceChannels()) {
        fail(QStringLiteral("%1 now has %2 channels instead of %3")
                 .arg(mDevice.deviceName())
                 .arg(positions.size())
                 .arg(mPipeline->deviceChannels()));
        return false;
    }
    endCaptureNow(); // a stop that is still collecting its last frames ends here
    mPipeline->waitUntilDrained();
    if (const QString problem = VORLAudioHardware::streamProblem(); !problem.isEmpty()) {
        fail(problem);
        return false;
    }
    if (!mConnection || !mConnection->isConnected()) {
        mConnection.reset();
        try {
            mConnection = std::make_unique<PulseConnection>(QStringLiteral("Spindrel recorder"));
        } catch (const AudioException& exception) {
            fail(exception.reason());
            return false;
        }
    }

    pa_sample_spec format;
    format.format = PA_SAMPLE_FLOAT32NE;
    format.channels = uint8_t(positions.size());
    format.rate = uint32_t(std::lround(mFile->inputSampleRate()));
    pa_buffer_attr attributes;
    attributes.maxlength = uint32_t(-1);
    attributes.tlength = attributes.prebuf = attributes.minreq = uint32_t(-1);
    attributes.fragsize = uint32_t(pa_usec_to_bytes(pa_usec_t(kFragmentSeconds * PA_USEC_PER_SEC), &format));
    // Without DONT_MOVE the server would quietly move the capture to another source when the
    // device goes away; a recording must instead end there.
    const unsigned flags = PA_STREAM_ADJUST_LATENCY | PA_STREAM_DONT_MOVE | PA_STREAM_AUTO_TIMING_UPDATE;

    PulseConnection::Locker lock(*mConnection);
    QString error;
    mCaptureLost.store(false);
    mStopAtFrame.store(kNoStop);
    // Not waited for: the capture starts when the server has the stream ready, and a stream that
    // fails to start ends the recording like a lost device.
    mStream = mConnection->startStream(
        PulseConnection::Direction::Record, "Recording", format, positions, mDevice.sourceName(), attributes,
        flags,
        [this](pa_stream* stream) {
            pa_stream_set_state_callback(stream, &streamStateChanged, this);
            pa_stream_set_read_callback(stream, &streamRead, this);
        },
        &error);
    if (!mStream) {
        fail(QStringLiteral("Could not record from %1: %2").arg(mDevice.deviceName(), error));
        return false;
    }
    const unsigned session = ++mSession;
    mPipeline->beginSession([this, session] { captureDrained(session); });
    mRecording = true;
    return true;
}

void VORLExtendedAudioFileRecorder::stopRecording()
{
    if (!mRecording)
        return;
    mRecording = false;
    PulseConnection::Locker lock(*mConnection);
    // The server still holds what the device captured before now: its latency's worth.
    pa_usec_t latency = 0;
    int negative = 0;
    if (pa_stream_get_latency(mStream, &latency, &negative) < 0 || negative)
        latency = pa_usec_t(kFragmentSeconds * PA_USEC_PER_SEC);
    latency = std::min<pa_usec_t>(latency, kMaximumStopLatencyUsec);
    const uint64_t pending = uint64_t(double(latency) * mFile->inputSampleRate() / PA_USEC_PER_SEC);
    mStopAtFrame.store(mPipeline->capturedFrames() + pending);
    mStopTimer.start(int(latency / 1000) + kStopGraceMs);
}

void VORLExtendedAudioFileRecorder::stopRecordingAtTime(double milliseconds)
{
    mLimitFrame.store(
        uint64_t(std::max<int64_t>(0, std::llround(milliseconds * mFile->inputSampleRate() / 1000.0))));
}

void VORLExtendedAudioFileRecorder::endCaptureNow()
{
    mStopTimer.stop();
    if (mConnection) {
        PulseConnection::Locker lock(*mConnection);
        PulseConnection::releaseStream(mStream); // no capture callback runs after this
    }
    mPipeline->endCapture();
}

double VORLExtendedAudioFileRecorder::currentTime() const
{
    return double(mPipeline->capturedFrames()) * 1000.0 / mFile->inputSampleRate();
}

quint64 VORLExtendedAudioFileRecorder::droppedFrames() const
{
    return mPipeline->droppedFrames();
}

// Runs on the sound server's thread: hands the samples over, nothing else.
void VORLExtendedAudioFileRecorder::streamRead(pa_stream* stream, size_t, void* userdata)
{
    auto* self = static_cast<VORLExtendedAudioFileRecorder*>(userdata);
    RecordingPipeline& pipeline = *self->mPipeline;
    const size_t frameBytes = sizeof(float) * pipeline.deviceChannels();
    while (pa_stream_readable_size(stream) > 0) {
        const void* data = nullptr;
        size_t bytes = 0;
        if (pa_stream_peek(stream, &data, &bytes) < 0 || bytes == 0)
            return;
        const uint64_t stopAt = std::min(self->mStopAtFrame.load(), self->mLimitFrame.load());
        const uint64_t captured = pipeline.capturedFrames();
        size_t frames = bytes / frameBytes;
        if (stopAt != kNoStop)
            frames = size_t(std::min<uint64_t>(frames, stopAt > captured ? stopAt - captured : 0));
        if (frames > 0 && data)
            pipeline.captureInterleaved(static_cast<const float*>(data), frames);
        else if (frames > 0)
            pipeline.captureSilence(frames); // a hole: frames the server lost
        pa_stream_drop(stream);
        if (stopAt != kNoStop && captured + frames >= stopAt) {
            pipeline.endCapture(); // everything up to the stop is in; the rest is after it
            return;
        }
    }
}

// Runs on the sound server's thread.
void VORLExtendedAudioFileRecorder::streamStateChanged(pa_stream* stream, void* userdata)
{
    auto* self = static_cast<VORLExtendedAudioFileRecorder*>(userdata);
    if (!PA_STREAM_IS_GOOD(pa_stream_get_state(stream))) {
        self->mCaptureLost.store(true);
        self->mPipeline->endCapture();
    }
}

void VORLExtendedAudioFileRecorder::captureDrained(unsigned session)
{
    // A lost device or a failed write (a full disk) ends the recording here, so that what is on the
    // disk becomes a tape at once, even if nobody closes the file.
    if (mCaptureLost.load() || !mPipeline->fileWritesSucceeded())
        mFile->closeFile();
    QMetaObject::invokeMethod(
        this, [this, session] { finishStop(session); }, Qt::QueuedConnection);
}

void VORLExtendedAudioFileRecorder::finishStop(unsigned session)
{
    if (session != mSession)
        return; // a stop overtaken by a new start: recording goes on
    mStopTimer.stop();
    {
        PulseConnection::Locker lock(*mConnection);
        PulseConnection::releaseStream(mStream);
    }
    mRecording = false; // also when the capture ended by itself (a time limit, a lost device)
    if (mCaptureLost.exchange(false)) {
        fail(tr("Recording from %1 stopped: the device is gone.").arg(mDevice.deviceName()));
    } else if (!mPipeline->fileWritesSucceeded() && mError.isEmpty()) {
        logError(logSourceName(__FILE__), mFile->errorString());
        fail(mFile->failureMessage());
    }
    // After a failed write the capture went on into the void until now: nothing was lost to speed.
    if (const quint64 dropped = mPipeline->droppedFrames(); dropped > 0 && mPipeline->fileWritesSucceeded()) {
        logError(logSourceName(__FILE__),
                 QStringLiteral("%1 frames were lost because the encoder fell behind").arg(dropped));
    }
    Q_EMIT audioFileRecorderDidStop(this);
    if (mDelegate)
        mDelegate->audioFileRecorderDidStop(this);
}

void VORLExtendedAudioFileRecorder::fail(const QString& message)
{
    mError = message;
    logError(logSourceName(__FILE__), message);
    Q_EMIT audioFileRecorderDidFail(this, message);
}

} // namespace spindrel
