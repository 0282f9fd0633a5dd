#include "audio/CAPlayThrough.h"

#include "audio/AudioException.h"
#include "audio/PulseConnection.h"
#include "audio/RealtimeScheduling.h"
#include "foundation/Log.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <pulse/pulseaudio.h>
#include <samplerate.h>

namespace spindrel {

namespace {

// The input comes in short fragments. The output keeps more: a dry output is a gap heard at once,
// and desktops stall for several milliseconds now and then (a virtual machine's host, a busy
// kernel), which 10 ms rides out.
constexpr double kInputBufferSeconds = 0.002;
constexpr double kOutputBufferSeconds = 0.010;
// The output reads the input this much later than the devices' latency alone asks: a late input
// fragment within it is still heard in time. It stays inside the 10 ms that play-through may add.
constexpr double kInputMarginSeconds = 0.002;
// How long a device clock is watched before its rate is trusted, and how far it may stray.
constexpr int64_t kClockSettleNanoseconds = 500'000'000;
constexpr int64_t kClockMeasureNanoseconds = 2'000'000'000;
constexpr double kMaximumRateDeviation = 0.005;
// After a stall the offset stays as long as it grew. Once the input has kept time this long, the
// output reads it a thousandth faster than it plays, too little to be heard, until the offset is
// back to the devices' latency: 44 frames a second at 44.1 kHz.
constexpr int64_t kCatchUpQuietNanoseconds = 5'000'000'000;
constexpr double kCatchUpSpeed = 1.001;
// The input's lead on the pulls is smoothed over about a hundred output cycles, and a drift of it is
// taken back over ten seconds, at most two thousandths faster or slower.
constexpr double kLagSmoothing = 0.01;
constexpr double kDriftSeconds = 10.0;
constexpr double kMaximumDriftCorrection = 0.002;

// The status the engine reports for its own failures (the ring buffer reports its own codes).
constexpr int Failed = -1;

int64_t monotonicNanoseconds()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

double nanosecondsToFrames(int64_t nanoseconds, double rate)
{
    return double(nanoseconds) * rate / 1e9;
}

// A failure's status, in the engine's one error line. Never on a real-time thread.
void report(int status, int line)
{
    std::printf("CAPlayThrough Error: %d ->  %s:  %d\n", status, "CAPlayThrough", line);
    std::fflush(stdout);
}

// What the server says of a stream's latency, in frames at `rate`; nothing when it cannot say.
double streamLatencyFrames(pa_stream* stream, double rate)
{
    pa_usec_t latency = 0;
    int negative = 0;
    if (pa_stream_get_latency(stream, &latency, &negative) != 0 || negative)
        return 0.0;
    return double(latency) * rate / PA_USEC_PER_SEC;
}

uint32_t framesOf(uint32_t bytes, const pa_sample_spec& format)
{
    return uint32_t(bytes / pa_frame_size(&format));
}

// The input channel behind each engine channel. Mapped channels the device lacks are left out
// (a map made for another device); one channel left is heard on both sides of a stereo output.
std::vector<int> sourcesOfChannels(const QList<int>& map, unsigned inputChannels, unsigned outputChannels)
{
    std::vector<int> sources;
    for (const int channel : map) {
        if (channel >= 0 && unsigned(channel) < inputChannels)
            sources.push_back(channel);
    }
    if (sources.empty()) {
        for (unsigned channel = 0; channel < inputChannels; ++channel)
            sources.push_back(int(channel));
    }
    if (sources.size() == 1 && outputChannels >= 2)
        sources.push_back(sources.front());
    sources.resize(std::min<size_t>(sources.size(), outputChannels));
    return sources;
}

QString sideName(bool isInput)
{
    return isInput ? QStringLiteral("input") : QStringLiteral("output");
}

} // namespace

void CAPlayThrough::DeviceClock::restart()
{
    origin = 0.0;
    frames = 0;
    anchorNanoseconds = -1;
    anchorFrames = 0;
    startNanoseconds = -1;
    rateScalar.store(1.0, std::memory_order_relaxed);
    running.store(false, std::memory_order_release);
}

// On the device's thread: the rate scalar is how many frames the device really moved per
// nominal frame of the monotonic clock, measured over a baseline that grows with the run.
void CAPlayThrough::DeviceClock::advance(int64_t count, int64_t nowNanoseconds)
{
    frames += count;
    if (startNanoseconds < 0)
        startNanoseconds = nowNanoseconds;
    if (anchorNanoseconds < 0) {
        if (nowNanoseconds - startNanoseconds >= kClockSettleNanoseconds) {
            anchorNanoseconds = nowNanoseconds;
            anchorFrames = frames;
        }
        return;
    }
    const int64_t elapsed = nowNanoseconds - anchorNanoseconds;
    if (elapsed < kClockMeasureNanoseconds)
        return;
    const double measured = double(frames - anchorFrames) / nanosecondsToFrames(elapsed, nominalRate);
    const double clamped = std::clamp(measured, 1.0 - kMaximumRateDeviation, 1.0 + kMaximumRateDeviation);
    const double previous = rateScalar.load(std::memory_order_relaxed);
    rateScalar.store(previous + 0.05 * (clamped - previous), std::memory_order_relaxed);
}

CAPlayThrough::CAPlayThrough(quint32 inputDeviceID, quint32 outputDeviceID, const QList<int>& channelMap)
{
    mInputDevice.mID = inputDeviceID;
    mOutputDevice.mID = outputDeviceID;
    mChannelMap = channelMap;
    // A failed set-up leaves the engine invalid; its owner tells the user.
    init();
}

CAPlayThrough::~CAPlayThrough()
{
    stop();
    removeDeviceListener();
    if (mInputConnection) {
        PulseConnection::Locker lock(*mInputConnection);
        PulseConnection::releaseStream(mInputStream);
    }
    if (mOutputConnection) {
        PulseConnection::Locker lock(*mOutputConnection);
        PulseConnection::releaseStream(mOutputStream);
    }
    // The streams are gone, so neither thread touches what follows any more.
    if (mVarispeed)
        src_delete(mVarispeed);
    mOutputConnection.reset();
    mInputConnection.reset();
}

std::optional<Error> CAPlayThrough::init()
{
    // Each step needs the ones before it; the first failure is the answer.
    for (auto step : {&CAPlayThrough::setupInput, &CAPlayThrough::setupOutput, &CAPlayThrough::setupBuffers,
                      &CAPlayThrough::connectStreams, &CAPlayThrough::setupRealtime}) {
        if (std::optional<Error> error = (this->*step)())
            return error;
    }
    return std::nullopt;
}

// Keeps the first failure, which is the cause; what fails after it follows from it.
Error CAPlayThrough::fail(CAPlayThroughFault fault, const QString& message, int line)
{
    if (mFault == CAPlayThroughFault::None) {
        mFault = fault;
        mError = message;
    }
    report(Failed, line);
    return Error(QStringLiteral("CAPlayThrough"), qint64(fault),
                 {{Error::DescriptionKey, message}, {Error::ReportingLineKey, line}});
}

std::optional<Error> CAPlayThrough::fillDevice(CAPlayThroughDevice& device, PulseConnection& connection,
                                               quint32 id, bool isInput)
{
    device.mIsInput = isInput;
    device.mFollowsDefault = id == 0;
    const CAPlayThroughFault fault =
        isInput ? CAPlayThroughFault::InputDevice : CAPlayThroughFault::OutputDevice;
    QString name;
    if (id != 0) {
        // A device that went away is not replaced by the default one behind the user's back.
        for (const PulseDeviceInfo& info : isInput ? connection.sources() : connection.sinks()) {
            if (info.index + 1 == id)
                name = info.name;
        }
        if (name.isEmpty())
            return fail(fault, QStringLiteral("The %1 device is gone").arg(sideName(isInput)), __LINE__);
    } else {
        const auto server = connection.serverInfo();
        if (!server)
            return fail(CAPlayThroughFault::SoundServer, QStringLiteral("The sound server did not answer"),
                        __LINE__);
        name = isInput ? server->defaultSourceName : server->defaultSinkName;
        if (name.isEmpty())
            return fail(fault, QStringLiteral("There is no %1 device").arg(sideName(isInput)), __LINE__);
    }
    const auto info = isInput ? connection.source(name) : connection.sink(name);
    if (!info || info->channels == 0 || info->sampleRate == 0)
        return fail(fault, QStringLiteral("The %1 device %2 is not available").arg(sideName(isInput), name),
                    __LINE__);
    device.mID = info->index + 1;
    device.mName = info->name;
    device.mDescription = info->description;
    device.mIndex = info->index;
    device.mChannels = info->channels;
    device.mSampleRate = info->sampleRate;
    device.mChannelPositions = info->channelPositions;
    device.mSafetyOffset = uint32_t(double(info->latencyUsec) * info->sampleRate / PA_USEC_PER_SEC);
    return std::nullopt;
}

std::optional<Error> CAPlayThrough::setupInput()
{
    try {
        mInputConnection = std::make_unique<PulseConnection>(QStringLiteral("Spindrel play-through input"));
    } catch (const AudioException& exception) {
        return fail(CAPlayThroughFault::SoundServer, exception.reason(), __LINE__);
    }
    if (std::optional<Error> error = fillDevice(mInputDevice, *mInputConnection, mInputDevice.mID, true))
        return error;
    mInputDevice.mBufferSizeFrames = uint32_t(std::lround(mInputDevice.mSampleRate * kInputBufferSeconds));
    return std::nullopt;
}

std::optional<Error> CAPlayThrough::setupOutput()
{
    try {
        mOutputConnection = std::make_unique<PulseConnection>(QStringLiteral("Spindrel play-through output"));
    } catch (const AudioException& exception) {
        return fail(CAPlayThroughFault::SoundServer, exception.reason(), __LINE__);
    }
    if (std::optional<Error> error = fillDevice(mOutputDevice, *mOutputConnection, mOutputDevice.mID, false))
        return error;
    mOutputDevice.mBufferSizeFrames = uint32_t(std::lround(mOutputDevice.mSampleRate * kOutputBufferSeconds));
    return std::nullopt;
}

std::optional<Error> CAPlayThrough::setupBuffers()
{
    mMap = sourcesOfChannels(mChannelMap, mInputDevice.mChannels, mOutputDevice.mChannels);
    mChannels = int(mMap.size());
    if (mChannels <= 0)
        return fail(CAPlayThroughFault::InputDevice, QStringLiteral("The devices have no channels"),
                    __LINE__);
    mInputBuffers.assign(size_t(mChannels), std::vector<float>(mInputDevice.mBufferSizeFrames));
    mInputBufferList.clear();
    for (const auto& buffer : mInputBuffers)
        mInputBufferList.push_back(buffer.data());

    // The varispeed pulls in blocks of at most 64 frames, so its own buffering stays small.
    mPullFrames = std::min<uint32_t>(64, mInputDevice.mBufferSizeFrames);
    mPullBuffers.assign(size_t(mChannels), std::vector<float>(mPullFrames));
    mPullBufferList.clear();
    for (auto& buffer : mPullBuffers)
        mPullBufferList.push_back(buffer.data());
    mPullInterleaved.assign(size_t(mPullFrames) * size_t(mChannels), 0.0f);
    int error = 0;
    mVarispeed = src_callback_new(&CAPlayThrough::varispeedPull, SRC_SINC_FASTEST, mChannels, &error, this);
    if (!mVarispeed)
        return fail(
            CAPlayThroughFault::OutputDevice,
            QStringLiteral("Could not make the resampler: %1").arg(QString::fromUtf8(src_strerror(error))),
            __LINE__);

    mInputClock.nominalRate = mInputDevice.mSampleRate;
    mOutputClock.nominalRate = mOutputDevice.mSampleRate;
    if (!mTimeline.prepare(mChannels, mInputDevice.mBufferSizeFrames, 0.0))
        return fail(CAPlayThroughFault::InputDevice, QStringLiteral("Out of memory"), __LINE__);
    return std::nullopt;
}

std::optional<Error> CAPlayThrough::connectStreams()
{
    pa_sample_spec inputSpec{PA_SAMPLE_FLOAT32NE, mInputDevice.mSampleRate, uint8_t(mInputDevice.mChannels)};
    pa_buffer_attr inputAttributes{uint32_t(-1), uint32_t(-1), uint32_t(-1), uint32_t(-1),
                                   uint32_t(mInputDevice.mBufferSizeFrames * pa_frame_size(&inputSpec))};
    const unsigned flags = PA_STREAM_START_CORKED | PA_STREAM_ADJUST_LATENCY | PA_STREAM_AUTO_TIMING_UPDATE |
                           PA_STREAM_INTERPOLATE_TIMING | PA_STREAM_DONT_MOVE;
    QString error;
    {
        PulseConnection::Locker lock(*mInputConnection);
        mInputStream = mInputConnection->connectStream(
            PulseConnection::Direction::Record, "Play-through", inputSpec, mInputDevice.mChannelPositions,
            mInputDevice.mName, inputAttributes, flags,
            [this](pa_stream* stream) {
                pa_stream_set_read_callback(stream, &CAPlayThrough::inputProc, this);
            },
            &error);
        if (!mInputStream)
            return fail(mInputConnection->isConnected() ? CAPlayThroughFault::InputDevice
                                                        : CAPlayThroughFault::SoundServer,
                        QStringLiteral("Could not record from %1: %2").arg(mInputDevice.mName, error),
                        __LINE__);
        pa_stream_set_state_callback(mInputStream, &CAPlayThrough::inputStreamStateChanged, this);
        if (const pa_buffer_attr* attributes = pa_stream_get_buffer_attr(mInputStream))
            mInputDevice.mBufferSizeFrames = std::max(1u, framesOf(attributes->fragsize, inputSpec));
    }

    pa_sample_spec outputSpec{PA_SAMPLE_FLOAT32NE, mOutputDevice.mSampleRate, uint8_t(mChannels)};
    std::vector<int> outputPositions;
    if (mChannels == 1)
        outputPositions.push_back(PA_CHANNEL_POSITION_MONO);
    else
        outputPositions.assign(mOutputDevice.mChannelPositions.begin(),
                               mOutputDevice.mChannelPositions.begin() +
                                   std::min<ptrdiff_t>(mChannels, mOutputDevice.mChannelPositions.size()));
    const uint32_t outputBytes = uint32_t(mOutputDevice.mBufferSizeFrames * pa_frame_size(&outputSpec));
    pa_buffer_attr outputAttributes{uint32_t(-1), outputBytes, 0, outputBytes / 4, uint32_t(-1)};
    {
        PulseConnection::Locker lock(*mOutputConnection);
        mOutputStream = mOutputConnection->connectStream(
            PulseConnection::Direction::Playback, "Play-through", outputSpec, outputPositions,
            mOutputDevice.mName, outputAttributes, flags,
            [this](pa_stream* stream) {
                pa_stream_set_write_callback(stream, &CAPlayThrough::outputProc, this);
            },
            &error);
        if (!mOutputStream)
            return fail(mOutputConnection->isConnected() ? CAPlayThroughFault::OutputDevice
                                                         : CAPlayThroughFault::SoundServer,
                        QStringLiteral("Could not play to %1: %2").arg(mOutputDevice.mName, error), __LINE__);
        pa_stream_set_state_callback(mOutputStream, &CAPlayThrough::outputStreamStateChanged, this);
        pa_stream_set_underflow_callback(
            mOutputStream,
            [](pa_stream*, void* userdata) {
                static_cast<CAPlayThrough*>(userdata)->mUnderflows.fetch_add(1, std::memory_order_relaxed);
            },
            this);
        if (const pa_buffer_attr* attributes = pa_stream_get_buffer_attr(mOutputStream))
            mOutputDevice.mBufferSizeFrames = std::max(1u, framesOf(attributes->tlength, outputSpec));
    }

    // The devices settle their latency to the streams once these are connected.
    if (const auto source = mInputConnection->source(mInputDevice.mName))
        mInputDevice.mSafetyOffset =
            uint32_t(double(source->latencyUsec) * source->sampleRate / PA_USEC_PER_SEC);
    if (const auto sink = mOutputConnection->sink(mOutputDevice.mName))
        mOutputDevice.mSafetyOffset =
            uint32_t(double(sink->latencyUsec) * sink->sampleRate / PA_USEC_PER_SEC);

    // Both sides' latencies in input frames (the output's converted from its own rate), the
    // frames the varispeed reads ahead of what it plays (a block and its filter's reach), and the
    // margin for a late input.
    const double toInputFrames = double(mInputDevice.mSampleRate) / double(mOutputDevice.mSampleRate);
    const double latency =
        double(mInputDevice.mSafetyOffset) + double(mInputDevice.mBufferSizeFrames) +
        (double(mOutputDevice.mSafetyOffset) + double(mOutputDevice.mBufferSizeFrames)) * toInputFrames +
        2.0 * double(mPullFrames) + kInputMarginSeconds * mInputDevice.mSampleRate;
    if (!mTimeline.prepare(mChannels, mInputDevice.mBufferSizeFrames, latency))
        return fail(CAPlayThroughFault::InputDevice, QStringLiteral("Out of memory"), __LINE__);
    try {
        // Input buffers follow the fragment size the server settled on.
        for (auto& buffer : mInputBuffers)
            buffer.assign(mInputDevice.mBufferSizeFrames, 0.0f);
    } catch (const std::bad_alloc&) {
        return fail(CAPlayThroughFault::InputDevice, QStringLiteral("Out of memory"), __LINE__);
    }
    mInputBufferList.clear();
    for (const auto& buffer : mInputBuffers)
        mInputBufferList.push_back(buffer.data());
    return std::nullopt;
}

// The streams' threads wake every millisecond or two, and a busy desktop keeps an ordinary thread
// waiting for longer than that: a build running beside it gave hundreds of gaps in 30 s instead of a
// dozen. Where the system refuses real time, the threads run as before and say why in the log.
std::optional<Error> CAPlayThrough::setupRealtime()
{
    mRunsInRealtime = true;
    for (const PulseConnection* connection : {mInputConnection.get(), mOutputConnection.get()}) {
        QString why;
        if (RealtimeScheduling::request(connection->loopThreadId(), &why) ==
            RealtimeScheduling::Grant::Refused) {
            logLine(QStringLiteral("Play-through runs without real-time scheduling: %1").arg(why));
            mRunsInRealtime = false;
            break;
        }
    }
    return std::nullopt;
}

bool CAPlayThrough::cork(bool corked)
{
    if (!corked) {
        // Both streams are corked, so neither thread runs; the locks make that plain. Output
        // lock first, then input, wherever both are held, and never across a wait.
        PulseConnection::Locker outputLock(*mOutputConnection);
        PulseConnection::Locker inputLock(*mInputConnection);
        mTimeline.reset();
        mInputClock.restart();
        mOutputClock.restart();
        src_reset(mVarispeed);
        mPullStarted = false;
        mCatchUpSpeed = 1.0;
        mLag = std::nan("");
        mLagBaseline = std::nan("");
        mMissesSeen = 0;
        mLastMissNanoseconds = monotonicNanoseconds();
    }
    bool answered = true;
    {
        PulseConnection::Locker inputLock(*mInputConnection);
        if (!corked)
            answered = mInputConnection->waitFor(pa_stream_flush(mInputStream, nullptr, nullptr));
        answered =
            mInputConnection->waitFor(pa_stream_cork(mInputStream, corked ? 1 : 0, nullptr, nullptr)) &&
            answered;
    }
    {
        PulseConnection::Locker outputLock(*mOutputConnection);
        answered =
            mOutputConnection->waitFor(pa_stream_cork(mOutputStream, corked ? 1 : 0, nullptr, nullptr)) &&
            answered;
        if (corked)
            mOutputConnection->waitFor(pa_stream_flush(mOutputStream, nullptr, nullptr));
    }
    if (corked) {
        PulseConnection::Locker outputLock(*mOutputConnection);
        PulseConnection::Locker inputLock(*mInputConnection);
        mTimeline.reset();
    }
    return answered;
}

bool CAPlayThrough::start()
{
    if (!isValid())
        return false;
    if (isRunning())
        return true;
    if (cork(false))
        return true;
    // The streams may have died since they were made: the server or a device went away.
    auto ready = [](const PulseConnection& connection, pa_stream* stream) {
        PulseConnection::Locker lock(connection);
        return pa_stream_get_state(stream) == PA_STREAM_READY;
    };
    if (!mInputConnection->isConnected() || !mOutputConnection->isConnected())
        fail(CAPlayThroughFault::SoundServer, QStringLiteral("The sound server went away"), __LINE__);
    else if (!ready(*mInputConnection, mInputStream))
        fail(CAPlayThroughFault::InputDevice, QStringLiteral("The input device went away"), __LINE__);
    else
        fail(ready(*mOutputConnection, mOutputStream) ? CAPlayThroughFault::SoundServer
                                                      : CAPlayThroughFault::OutputDevice,
             QStringLiteral("The play-through streams could not be started"), __LINE__);
    return false;
}

bool CAPlayThrough::stop()
{
    reportRealtimeFaults();
    if (!isRunning())
        return true;
    if (!cork(true)) {
        report(Failed, __LINE__);
        return false;
    }
    return true;
}

bool CAPlayThrough::isRunning() const
{
    if (!mInputStream || !mOutputStream)
        return false;
    bool running = false;
    {
        PulseConnection::Locker lock(*mInputConnection);
        running =
            pa_stream_get_state(mInputStream) == PA_STREAM_READY && pa_stream_is_corked(mInputStream) == 0;
    }
    if (!running) {
        PulseConnection::Locker lock(*mOutputConnection);
        running =
            pa_stream_get_state(mOutputStream) == PA_STREAM_READY && pa_stream_is_corked(mOutputStream) == 0;
    }
    return running;
}

double CAPlayThrough::streamLatencyMilliseconds() const
{
    if (!mInputStream || !mOutputStream)
        return 0.0;
    double total = 0.0;
    pa_usec_t latency = 0;
    int negative = 0;
    {
        PulseConnection::Locker lock(*mInputConnection);
        if (pa_stream_get_latency(mInputStream, &latency, &negative) == 0 && !negative)
            total += double(latency) / 1000.0;
    }
    {
        PulseConnection::Locker lock(*mOutputConnection);
        if (pa_stream_get_latency(mOutputStream, &latency, &negative) == 0 && !negative)
            total += double(latency) / 1000.0;
    }
    return total;
}

void CAPlayThrough::addDeviceListener(std::function<void(CAPlayThroughNotice)> listener)
{
    if (!mInputConnection || !mOutputConnection)
        return;
    PulseConnection::Locker outputLock(*mOutputConnection);
    PulseConnection::Locker inputLock(*mInputConnection);
    mDeviceListener = std::move(listener);
    // Server events tell a change of the default devices, source events a change of format.
    mInputConnection->subscribe(PA_SUBSCRIPTION_MASK_SOURCE | PA_SUBSCRIPTION_MASK_SERVER,
                                [this](unsigned event, uint32_t index) { deviceEvent(event, index); });
}

void CAPlayThrough::removeDeviceListener()
{
    if (!mInputConnection || !mOutputConnection)
        return;
    PulseConnection::Locker outputLock(*mOutputConnection);
    PulseConnection::Locker inputLock(*mInputConnection);
    mInputConnection->subscribe(PA_SUBSCRIPTION_MASK_NULL, {});
    mDeviceListener = nullptr;
}

void CAPlayThrough::notify(CAPlayThroughNotice notice)
{
    if (mDeviceListener)
        mDeviceListener(notice);
}

// Runs on the input thread, for every change of a source or of the server.
void CAPlayThrough::deviceEvent(unsigned event, uint32_t index)
{
    if ((event & PA_SUBSCRIPTION_EVENT_TYPE_MASK) != PA_SUBSCRIPTION_EVENT_CHANGE)
        return;
    const unsigned facility = event & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
    if (facility == PA_SUBSCRIPTION_EVENT_SOURCE && index == mInputDevice.mIndex)
        checkInputFormat(index);
    else if (facility == PA_SUBSCRIPTION_EVENT_SERVER)
        checkDefaultDevices();
}

// Runs on the input thread: asks for the input's format and tells the listener when it is no
// longer the one the engine was made for.
void CAPlayThrough::checkInputFormat(uint32_t index)
{
    pa_operation* operation = pa_context_get_source_info_by_index(
        mInputConnection->context(), index,
        [](pa_context*, const pa_source_info* info, int eol, void* userdata) {
            auto* self = static_cast<CAPlayThrough*>(userdata);
            if (eol != 0 || !info)
                return;
            bool same = info->sample_spec.rate == self->mInputDevice.mSampleRate &&
                        info->sample_spec.channels == self->mInputDevice.mChannels &&
                        size_t(info->channel_map.channels) == self->mInputDevice.mChannelPositions.size();
            for (int i = 0; same && i < info->channel_map.channels; ++i)
                same = info->channel_map.map[i] == self->mInputDevice.mChannelPositions[size_t(i)];
            if (!same)
                self->notify(CAPlayThroughNotice::InputFormatChanged);
        },
        this);
    if (operation)
        pa_operation_unref(operation);
}

// Runs on the input thread: a side made for the default device follows it when the user picks
// another default.
void CAPlayThrough::checkDefaultDevices()
{
    if (!mInputDevice.mFollowsDefault && !mOutputDevice.mFollowsDefault)
        return;
    pa_operation* operation = pa_context_get_server_info(
        mInputConnection->context(),
        [](pa_context*, const pa_server_info* info, void* userdata) {
            auto* self = static_cast<CAPlayThrough*>(userdata);
            if (!info)
                return;
            auto moved = [](const CAPlayThroughDevice& device, const char* defaultName) {
                return device.mFollowsDefault && defaultName && *defaultName &&
                       device.mName != QLatin1String(defaultName);
            };
            if (moved(self->mInputDevice, info->default_source_name) ||
                moved(self->mOutputDevice, info->default_sink_name))
                self->notify(CAPlayThroughNotice::DefaultDeviceChanged);
        },
        this);
    if (operation)
        pa_operation_unref(operation);
}

// Runs on the input thread. A stream fails when its device goes away (the streams may not move)
// or when the whole connection does; streams released by the engine itself say nothing.
void CAPlayThrough::inputStreamStateChanged(pa_stream* stream, void* userdata)
{
    static_cast<CAPlayThrough*>(userdata)->streamEnded(stream, CAPlayThroughNotice::InputLost);
}

// Runs on the output thread.
void CAPlayThrough::outputStreamStateChanged(pa_stream* stream, void* userdata)
{
    static_cast<CAPlayThrough*>(userdata)->streamEnded(stream, CAPlayThroughNotice::OutputLost);
}

void CAPlayThrough::streamEnded(pa_stream* stream, CAPlayThroughNotice lost)
{
    const pa_stream_state_t state = pa_stream_get_state(stream);
    if (state != PA_STREAM_FAILED && state != PA_STREAM_TERMINATED)
        return;
    const bool serverGone = pa_context_get_state(pa_stream_get_context(stream)) != PA_CONTEXT_READY;
    notify(serverGone ? CAPlayThroughNotice::ServerLost : lost);
}

// The owner's thread: the real-time threads never print, they note failures for this to report.
void CAPlayThrough::reportRealtimeFaults()
{
    for (RealtimeFaultLog* log : {&mInputFaults, &mOutputFaults}) {
        const std::size_t lost =
            log->drain([](const RealtimeFaultLog::Fault& fault) { report(fault.status, fault.line); });
        if (lost > 0)
            logError(QStringLiteral("CAPlayThrough"),
                     QStringLiteral("%1 more failures of a real-time thread were not reported").arg(lost));
    }
}

// Runs on the input thread: takes what the server captured, picks the engine's channels out of
// the device's (a mono input twice for a stereo output) and stores them at their sample time.
void CAPlayThrough::inputProc(pa_stream* stream, size_t, void* userdata)
{
    auto* self = static_cast<CAPlayThrough*>(userdata);
    const size_t deviceChannels = self->mInputDevice.mChannels;
    const size_t frameBytes = sizeof(float) * deviceChannels;
    for (;;) {
        const void* data = nullptr;
        size_t bytes = 0;
        if (pa_stream_peek(stream, &data, &bytes) < 0) {
            self->mInputFaults.note(Failed, __LINE__);
            return;
        }
        if (bytes == 0)
            return;
        const int64_t now = monotonicNanoseconds();
        DeviceClock& clock = self->mInputClock;
        if (!clock.running.load(std::memory_order_relaxed)) {
            // The first frame was captured as long ago as the stream's latency says. Until the
            // server's first timing update that figure can be far too long, and no frame waits
            // longer than the device's latency and one fragment.
            const double latency = std::min(streamLatencyFrames(stream, clock.nominalRate),
                                            double(self->mInputDevice.mSafetyOffset) +
                                                double(self->mInputDevice.mBufferSizeFrames));
            clock.origin = nanosecondsToFrames(now, clock.nominalRate) - latency;
            clock.running.store(true, std::memory_order_release);
        }
        const int64_t frames = int64_t(bytes / frameBytes);
        // Until the output device runs, nothing captured could be heard; the first input time
        // is taken once both devices run, as the offset arithmetic expects.
        const bool outputRunning = self->mOutputClock.running.load(std::memory_order_acquire);
        if (data && outputRunning) {
            const auto* samples = static_cast<const float*>(data);
            const uint32_t block = self->mInputDevice.mBufferSizeFrames;
            for (int64_t done = 0; done < frames;) {
                const uint32_t count = uint32_t(std::min<int64_t>(block, frames - done));
                for (int channel = 0; channel < self->mChannels; ++channel) {
                    float* out = self->mInputBuffers[size_t(channel)].data();
                    const float* in =
                        samples + size_t(done) * deviceChannels + size_t(self->mMap[size_t(channel)]);
                    for (uint32_t frame = 0; frame < count; ++frame)
                        out[frame] = in[size_t(frame) * deviceChannels];
                }
                const double sampleTime = clock.origin + double(clock.frames + done);
                const int result =
                    self->mTimeline.storeInput(self->mInputBufferList.data(), count, sampleTime);
                if (result != PlayThroughRingBuffer::OK)
                    self->mInputFaults.note(result, __LINE__);
                done += count;
            }
        }
        // A hole (no data) still moves the device's clock on; the ring buffer fills the gap.
        clock.advance(frames, now);
        pa_stream_drop(stream);
    }
}

// Runs on the output thread, inside the varispeed: the block of input frames for the output
// sample time it has reached.
long CAPlayThrough::varispeedPull(void* userdata, float** data)
{
    auto* self = static_cast<CAPlayThrough*>(userdata);
    const uint32_t frames = self->mPullFrames;
    self->mTimeline.fetchOutput(self->mPullBufferList.data(), frames, self->mPullTime);
    // Read faster than played, the next pull's time moves on by less, and the offset with it.
    const double played = double(frames) / self->mCatchUpSpeed;
    self->mPullTime += played;
    if (played < double(frames))
        self->mTimeline.shortenOffset(double(frames) - played);
    const size_t channels = size_t(self->mChannels);
    float* interleaved = self->mPullInterleaved.data();
    for (size_t channel = 0; channel < channels; ++channel) {
        const float* in = self->mPullBuffers[channel].data();
        for (uint32_t frame = 0; frame < frames; ++frame)
            interleaved[size_t(frame) * channels + channel] = in[frame];
    }
    *data = interleaved;
    return long(frames);
}

// Runs on the output thread: how much faster than the device clocks say the varispeed reads its
// input. The clocks' rates are measured, and a small error in them would let the input pile up or
// run short, the delay growing or shrinking with it: how far the newest input stands from the next
// pull is kept where it settled after the start. After a stall, the offset's growth is caught up.
double CAPlayThrough::readSpeed(int64_t now)
{
    const int missed = mTimeline.missedFetches();
    if (missed != mMissesSeen) {
        mMissesSeen = missed;
        mLastMissNanoseconds = now;
    }
    const bool catchUp =
        mTimeline.excessFrames() > 0.0 && now - mLastMissNanoseconds >= kCatchUpQuietNanoseconds;
    mCatchUpSpeed = catchUp ? kCatchUpSpeed : 1.0;

    const double newest = mTimeline.newestInputTime();
    if (std::isnan(newest))
        return mCatchUpSpeed;
    const double lag = newest - mPullTime;
    mLag = std::isnan(mLag) ? lag : mLag + kLagSmoothing * (lag - mLag);
    if (std::isnan(mLagBaseline) && now - mPullStartNanoseconds >= kClockSettleNanoseconds * 4)
        mLagBaseline = mLag;
    const double drift = std::isnan(mLagBaseline) ? 0.0 : mLag - mLagBaseline;
    const double correction = std::clamp(drift / (kDriftSeconds * mInputDevice.mSampleRate),
                                         -kMaximumDriftCorrection, kMaximumDriftCorrection);
    return mCatchUpSpeed * (1.0 + correction);
}

// Runs on the output thread: fills what the server asks for through the varispeed.
void CAPlayThrough::outputProc(pa_stream* stream, size_t requested, void* userdata)
{
    auto* self = static_cast<CAPlayThrough*>(userdata);
    const size_t frameBytes = sizeof(float) * size_t(self->mChannels);
    const double inputRate = self->mInputDevice.mSampleRate;
    const double outputRate = self->mOutputDevice.mSampleRate;
    DeviceClock& clock = self->mOutputClock;
    while (requested >= frameBytes) {
        void* buffer = nullptr;
        size_t bytes = requested;
        if (pa_stream_begin_write(stream, &buffer, &bytes) < 0 || !buffer) {
            self->mOutputFaults.note(Failed, __LINE__);
            return;
        }
        const long frames = long(std::min(bytes, requested) / frameBytes);
        if (frames == 0) {
            pa_stream_cancel_write(stream);
            return;
        }
        auto* samples = static_cast<float*>(buffer);
        const int64_t now = monotonicNanoseconds();
        if (!self->mTimeline.hasInput() || !self->mInputClock.running.load(std::memory_order_acquire)) {
            std::memset(samples, 0, size_t(frames) * frameBytes);
        } else {
            if (!self->mPullStarted) {
                // The varispeed's first input frame plays once the stream's latency has passed,
                // which is never longer than the device's latency and a full buffer.
                const double latency = std::min(streamLatencyFrames(stream, outputRate),
                                                double(self->mOutputDevice.mSafetyOffset) +
                                                    double(self->mOutputDevice.mBufferSizeFrames));
                self->mPullTime = nanosecondsToFrames(now, inputRate) + latency * inputRate / outputRate;
                self->mPullStarted = true;
                self->mPullStartNanoseconds = now;
            }
            // The two device clocks' rates, corrected by the varispeed.
            const double rate = self->mInputClock.rateScalar.load(std::memory_order_relaxed) /
                                clock.rateScalar.load(std::memory_order_relaxed);
            const double speed = self->readSpeed(now);
            const long produced =
                src_callback_read(self->mVarispeed, outputRate / inputRate / rate / speed, frames, samples);
            if (produced < frames)
                std::memset(samples + size_t(std::max(0L, produced)) * size_t(self->mChannels), 0,
                            size_t(frames - std::max(0L, produced)) * frameBytes);
        }
        clock.running.store(true, std::memory_order_relaxed);
        clock.advance(frames, now);
        if (pa_stream_write(stream, buffer, size_t(frames) * frameBytes, nullptr, 0, PA_SEEK_RELATIVE) < 0) {
            self->mOutputFaults.note(Failed, __LINE__);
            return;
        }
        requested -= size_t(frames) * frameBytes;
    }
}

} // namespace spindrel
