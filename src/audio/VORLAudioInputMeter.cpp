#include "audio/VORLAudioInputMeter.h"

#include "audio/AudioException.h"
#include "audio/PulseConnection.h"

#include <cmath>
#include <pulse/pulseaudio.h>

namespace spindrel {

namespace {
constexpr double kFragmentSeconds = 1.0 / 30.0;
constexpr double kFallDecibelsPerSecond = 24.0;
constexpr double kSilenceAmplitude = 1e-5; // -100 dB

double decibels(double amplitude)
{
    return amplitude <= kSilenceAmplitude
               ? VORLAudioInputMeter::kSilence
               : std::max(20.0 * std::log10(amplitude), VORLAudioInputMeter::kSilence);
}
} // namespace

VORLAudioInputMeter::VORLAudioInputMeter(const VORLAudioDevice& device, const QList<unsigned>& channels)
    : mDevice(device), mPositions(device.channelPositions(VORLAudioDevice::Input))
{
    if (mPositions.empty()) {
        // The device was looked up before the server was there: ask again.
        mDevice = VORLAudioDevice(device.deviceUID());
        mPositions = mDevice.channelPositions(VORLAudioDevice::Input);
        if (mPositions.empty()) {
            const QString problem = mDevice.inputProblem();
            throw AudioException(problem.isEmpty() ? QStringLiteral("There is no input device to meter")
                                                   : problem);
        }
    }
    mDeviceName = mDevice.deviceName();
    mSampleRate = uint32_t(std::max(mDevice.nominalSampleRate(VORLAudioDevice::Input), 8000.0));
    const unsigned last = unsigned(mPositions.size()) - 1;
    mMeteredChannels = channels.size() >= 2 ? 2 : 1;
    for (unsigned i = 0; i < mMeteredChannels; ++i)
        mChannels[i] = std::min(channels.value(int(i), 0), last);
    for (auto& peak : mPeaks)
        peak.store(0.0f);
    mConnection = std::make_unique<PulseConnection>(
        QStringLiteral("Spindrel meter"), [this](PulseConnection& connection, PulseConnection::State state) {
            connectionChanged(connection, state == PulseConnection::State::Ready);
        });
}

VORLAudioInputMeter::~VORLAudioInputMeter()
{
    stop();
}

void VORLAudioInputMeter::start()
{
    if (mWanted)
        return;
    mShown = {0.0, 0.0};
    mSinceLevels.start();
    PulseConnection::Locker lock(*mConnection);
    mWanted = true;
    if (pa_context_get_state(mConnection->context()) == PA_CONTEXT_READY && !mStream)
        openStream(*mConnection);
}

void VORLAudioInputMeter::stop()
{
    if (!mWanted)
        return;
    PulseConnection::Locker lock(*mConnection);
    mWanted = false;
    PulseConnection::releaseStream(mStream);
    for (auto& peak : mPeaks)
        peak.store(0.0f);
}

bool VORLAudioInputMeter::isCapturing() const
{
    PulseConnection::Locker lock(*mConnection);
    return mStream && pa_stream_get_state(mStream) == PA_STREAM_READY;
}

QString VORLAudioInputMeter::failure() const
{
    PulseConnection::Locker lock(*mConnection);
    return mFailure;
}

void VORLAudioInputMeter::connectionChanged(PulseConnection& connection, bool ready)
{
    if (!ready) {
        mFailure = QStringLiteral("Could not connect to the sound server: ") +
                   QString::fromUtf8(pa_strerror(pa_context_errno(connection.context())));
        return;
    }
    if (mWanted && !mStream)
        openStream(connection);
}

void VORLAudioInputMeter::openStream(PulseConnection& connection)
{
    pa_sample_spec format;
    format.format = PA_SAMPLE_FLOAT32NE;
    format.channels = uint8_t(mPositions.size());
    format.rate = mSampleRate;
    pa_buffer_attr attributes;
    attributes.maxlength = uint32_t(-1);
    attributes.tlength = attributes.prebuf = attributes.minreq = uint32_t(-1);
    attributes.fragsize = uint32_t(pa_usec_to_bytes(pa_usec_t(kFragmentSeconds * PA_USEC_PER_SEC), &format));
    QString error;
    mStream = connection.startStream(
        PulseConnection::Direction::Record, "Input level", format, mPositions, mDevice.sourceName(),
        attributes, PA_STREAM_ADJUST_LATENCY,
        [this](pa_stream* stream) {
            pa_stream_set_state_callback(stream, &streamStateChanged, this);
            pa_stream_set_read_callback(stream, &streamRead, this);
        },
        &error);
    if (!mStream)
        mFailure = QStringLiteral("Could not meter %1: %2").arg(mDeviceName, error);
}

std::pair<double, double> VORLAudioInputMeter::levels()
{
    if (!mWanted)
        return {kSilence, kSilence};
    const double seconds = mSinceLevels.isValid() ? double(mSinceLevels.restart()) / 1000.0 : 0.0;
    const double fall = std::pow(10.0, -kFallDecibelsPerSecond * seconds / 20.0);
    std::array<double, 2> result{kSilence, kSilence};
    for (unsigned i = 0; i < mMeteredChannels; ++i) {
        const double peak = mPeaks[i].exchange(0.0f, std::memory_order_relaxed);
        mShown[i] = std::max(peak, mShown[i] * fall);
        result[i] = decibels(mShown[i]);
    }
    if (mMeteredChannels == 1)
        result[1] = result[0];
    return {result[0], result[1]};
}

// Runs on the sound server's thread: keeps the highest sample since the last levels() call.
void VORLAudioInputMeter::streamRead(pa_stream* stream, size_t, void* userdata)
{
    auto* self = static_cast<VORLAudioInputMeter*>(userdata);
    const size_t channels = self->mPositions.size();
    while (pa_stream_readable_size(stream) > 0) {
        const void* data = nullptr;
        size_t bytes = 0;
        if (pa_stream_peek(stream, &data, &bytes) < 0 || bytes == 0)
            return;
        if (data) {
            const auto* samples = static_cast<const float*>(data);
            const size_t frames = bytes / (sizeof(float) * channels);
            for (unsigned i = 0; i < self->mMeteredChannels; ++i) {
                float peak = 0.0f;
                for (size_t frame = 0; frame < frames; ++frame)
                    peak = std::max(peak, std::abs(samples[frame * channels + self->mChannels[i]]));
                float held = self->mPeaks[i].load(std::memory_order_relaxed);
                while (peak > held &&
                       !self->mPeaks[i].compare_exchange_weak(held, peak, std::memory_order_relaxed)) {
                }
            }
        }
        pa_stream_drop(stream);
    }
}

// Runs on the sound server's thread.
void VORLAudioInputMeter::streamStateChanged(pa_stream* stream, void* userdata)
{
    auto* self = static_cast<VORLAudioInputMeter*>(userdata);
    if (!PA_STREAM_IS_GOOD(pa_stream_get_state(stream))) {
        self->mFailure =
            QStringLiteral("Could not meter %1: %2")
                .arg(self->mDeviceName,
                     QString::fromUtf8(pa_strerror(pa_context_errno(pa_stream_get_context(stream)))));
    }
}

} // namespace spindrel
