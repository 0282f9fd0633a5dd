#pragma once

#include "audio/VORLAudioDevice.h"

#include <QElapsedTimer>
#include <QList>
#include <array>
#include <atomic>
#include <memory>
#include <utility>

struct pa_stream;

namespace spindrel {

class PulseConnection;

/// Peak levels of one or two input channels, in dB relative to full scale. A peak is held by
/// levels() and falls back at a steady rate, like a meter's needle.
class VORLAudioInputMeter
{
public:
    static constexpr double kSilence = -100.0;

    /// `channels` are zero-based device channels; the first (and second) are metered. Throws
    /// AudioException when there is no sound server or no input device.
    VORLAudioInputMeter(const VORLAudioDevice& device, const QList<unsigned>& channels);
    ~VORLAudioInputMeter();

    VORLAudioInputMeter(const VORLAudioInputMeter&) = delete;
    VORLAudioInputMeter& operator=(const VORLAudioInputMeter&) = delete;

    /// Throws AudioException when the capture cannot start.
    void start();
    void stop();
    bool isRunning() const { return mStream != nullptr; }

    /// Left and right in dB, -100.0 for silence or a stopped meter. With one channel both
    /// entries carry it.
    std::pair<double, double> levels();

private:
    static void streamRead(pa_stream* stream, size_t bytes, void* self);

    VORLAudioDevice mDevice;
    std::vector<int> mPositions;
    std::array<unsigned, 2> mChannels{};
    unsigned mMeteredChannels = 1;
    std::unique_ptr<PulseConnection> mConnection;
    pa_stream* mStream = nullptr;
    // Written on the sound server's thread, taken by levels() on the caller's thread.
    std::array<std::atomic<float>, 2> mPeaks{};
    std::array<double, 2> mShown{}; // levels(): linear values the display has reached
    QElapsedTimer mSinceLevels;
};

} // namespace spindrel
