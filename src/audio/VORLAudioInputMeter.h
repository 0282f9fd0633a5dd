#pragma once

#include "audio/VORLAudioDevice.h"

#include <QElapsedTimer>
#include <QList>
#include <QString>
#include <array>
#include <atomic>
#include <memory>
#include <utility>

struct pa_stream;

namespace spindrel {

class PulseConnection;

/// Peak levels of one or two input channels, in dB relative to full scale. A peak is held by
/// levels() and falls back at a steady rate, like a meter's needle. Nothing here waits on the
/// sound server: the capture gets going in the background, and until it does the meter reads
/// silence.
class VORLAudioInputMeter
{
public:
    static constexpr double kSilence = -100.0;

    /// `channels` are zero-based device channels; the first (and second) are metered. Throws
    /// AudioException when the server knows no such input device (or is not running).
    VORLAudioInputMeter(const VORLAudioDevice& device, const QList<unsigned>& channels);
    ~VORLAudioInputMeter();

    VORLAudioInputMeter(const VORLAudioInputMeter&) = delete;
    VORLAudioInputMeter& operator=(const VORLAudioInputMeter&) = delete;

    void start();
    void stop();
    /// Started, whether or not the capture has got going yet.
    bool isRunning() const { return mWanted.load(); }
    /// The server delivers the device's samples.
    bool isCapturing() const;
    /// Why the capture could not start or stopped by itself; empty while all is well.
    QString failure() const;

    /// Left and right in dB, -100.0 for silence or a stopped meter. With one channel both
    /// entries carry it.
    std::pair<double, double> levels();

private:
    // On the connection's thread, or with its lock held.
    void connectionChanged(PulseConnection& connection, bool ready);
    void openStream(PulseConnection& connection);
    static void streamRead(pa_stream* stream, size_t bytes, void* self);
    static void streamStateChanged(pa_stream* stream, void* self);

    VORLAudioDevice mDevice;
    QString mDeviceName;
    uint32_t mSampleRate = 0;
    std::vector<int> mPositions;
    std::array<unsigned, 2> mChannels{};
    unsigned mMeteredChannels = 1;
    std::unique_ptr<PulseConnection> mConnection;
    // Changed with the connection's lock held.
    std::atomic<bool> mWanted{false};
    // With the connection's lock held.
    pa_stream* mStream = nullptr;
    QString mFailure;
    // Written on the sound server's thread, taken by levels() on the caller's thread.
    std::array<std::atomic<float>, 2> mPeaks{};
    std::array<double, 2> mShown{}; // levels(): linear values the display has reached
    QElapsedTimer mSinceLevels;
};

} // namespace spindrel
