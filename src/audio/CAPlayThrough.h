#pragma once

#include "audio/PlayThroughTimeline.h"

#include <QList>
#include <QString>
#include <atomic>
#include <functional>
#include <memory>
#include <vector>

struct pa_stream;
typedef struct SRC_STATE_tag SRC_STATE;

namespace spindrel {

class PulseConnection;

/// What the engine knows of one device, read once when the engine is made. Safety offset and
/// buffer size are in frames: the device's own latency and the stream's buffer.
struct CAPlayThroughDevice
{
    quint32 mID = 0;
    bool mIsInput = false;
    uint32_t mSafetyOffset = 0;
    uint32_t mBufferSizeFrames = 0;
    QString mName;
    uint32_t mIndex = 0;
    unsigned mChannels = 0;
    unsigned mSampleRate = 0;
    std::vector<int> mChannelPositions;
};

/// Play-through: a record stream from the input device and a playback stream to the output
/// device, each on a sound-server thread of its own, meeting in a ring buffer by sample time.
/// A resampler between the ring buffer and the output converts from the input's rate to the
/// output's and follows the drift between the two device clocks.
///
/// Made and driven on the main thread. A failure to set up ends the process, as an engine that
/// half works would be worse than none.
class CAPlayThrough
{
public:
    /// Device identifiers as VORLAudioHardware gives them (0: the default device); `channelMap`
    /// names the input channel feeding each of the engine's channels.
    CAPlayThrough(quint32 inputDeviceID, quint32 outputDeviceID, const QList<int>& channelMap = {});
    ~CAPlayThrough();
    CAPlayThrough(const CAPlayThrough&) = delete;
    CAPlayThrough& operator=(const CAPlayThrough&) = delete;

    int start();
    int stop();
    bool isRunning() const;

    /// Calls `listener` (on a sound-server thread) when the input device's format changes.
    void addInputFormatListener(std::function<void()> listener);
    void removeInputFormatListener();

    const CAPlayThroughDevice& inputDevice() const { return mInputDevice; }
    const CAPlayThroughDevice& outputDevice() const { return mOutputDevice; }
    int numberOfChannels() const { return mChannels; }
    const QList<int>& channelMap() const { return mChannelMap; }
    const PlayThroughTimeline& timeline() const { return mTimeline; }
    /// The latency the two streams report now (device plus stream buffer), in milliseconds.
    double streamLatencyMilliseconds() const;

private:
    // A device clock as seen through its stream: frames counted against the monotonic clock.
    struct DeviceClock
    {
        double nominalRate = 0.0;
        double origin = 0.0; // sample time of the first frame after a start
        int64_t frames = 0;  // frames since then
        int64_t anchorNanoseconds = -1;
        int64_t anchorFrames = 0;
        int64_t startNanoseconds = -1;
        std::atomic<double> rateScalar{1.0};
        std::atomic<bool> running{false};
        void restart();
        void advance(int64_t count, int64_t nowNanoseconds);
    };

    int init();
    int setupInput();
    int setupOutput();
    int setupBuffers();
    int connectStreams();
    int fillDevice(CAPlayThroughDevice& device, PulseConnection& connection, quint32 id, bool isInput);
    int cork(bool corked);

    static void inputProc(pa_stream* stream, size_t bytes, void* self);  // input thread
    static void outputProc(pa_stream* stream, size_t bytes, void* self); // output thread
    static long varispeedPull(void* self, float** data);                 // output thread
    void inputFormatEvent(unsigned event, uint32_t index);               // input thread

    std::unique_ptr<PulseConnection> mInputConnection;
    std::unique_ptr<PulseConnection> mOutputConnection;
    pa_stream* mInputStream = nullptr;
    pa_stream* mOutputStream = nullptr;
    CAPlayThroughDevice mInputDevice;
    CAPlayThroughDevice mOutputDevice;
    PlayThroughTimeline mTimeline;
    QList<int> mChannelMap;
    std::vector<int> mMap; // the channel map as the input thread reads it
    int mChannels = 0;
    bool mRunning = false;

    // Input thread: one buffer per engine channel.
    std::vector<std::vector<float>> mInputBuffers;
    std::vector<const float*> mInputBufferList;
    DeviceClock mInputClock;

    // Output thread: the varispeed pulls blocks through the timeline.
    SRC_STATE* mVarispeed = nullptr;
    uint32_t mPullFrames = 0;
    std::vector<std::vector<float>> mPullBuffers;
    std::vector<float*> mPullBufferList;
    std::vector<float> mPullInterleaved;
    double mPullTime = 0.0; // output sample time of the next pull, in input frames
    bool mPullStarted = false;
    DeviceClock mOutputClock;

    std::function<void()> mFormatListener; // called on the input thread
};

} // namespace spindrel
