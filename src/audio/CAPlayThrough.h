#pragma once

#include "audio/PlayThroughTimeline.h"
#include "audio/RealtimeFaultLog.h"
#include "foundation/Error.h"

#include <QList>
#include <QString>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
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
    bool mFollowsDefault = false; // made for the default device (identifier 0)
    uint32_t mSafetyOffset = 0;
    uint32_t mBufferSizeFrames = 0;
    QString mName;
    QString mDescription; // the name people know the device by
    uint32_t mIndex = 0;
    unsigned mChannels = 0;
    unsigned mSampleRate = 0;
    std::vector<int> mChannelPositions;
};

/// Why an engine could not be set up or started.
enum class CAPlayThroughFault { None, SoundServer, InputDevice, OutputDevice };

/// What an engine tells its owner when the ground moves under it; the owner decides whether to
/// make it anew.
enum class CAPlayThroughNotice {
    InputFormatChanged,   // the input no longer has the format the engine was made for
    DefaultDeviceChanged, // a side made for the default device no longer plays the default
    InputLost,            // the input stream died: the device went away
    OutputLost,
    ServerLost, // the connection to the sound server broke
};

/// Play-through: a record stream from the input device and a playback stream to the output
/// device, each on a sound-server thread of its own, meeting in a ring buffer by sample time.
/// A resampler between the ring buffer and the output converts from the input's rate to the
/// output's and follows the drift between the two device clocks.
///
/// Made and driven by one thread at a time; its set-up and start wait on the sound server, so
/// the deck does that on a worker. An engine that cannot be set up is left invalid and says why.
class CAPlayThrough
{
public:
    /// Device identifiers as VORLAudioHardware gives them (0: the default device; any other that
    /// the server does not know fails rather than falling back to the default); `channelMap`
    /// names the input channel feeding each of the engine's channels.
    CAPlayThrough(quint32 inputDeviceID, quint32 outputDeviceID, const QList<int>& channelMap = {});
    ~CAPlayThrough();
    CAPlayThrough(const CAPlayThrough&) = delete;
    CAPlayThrough& operator=(const CAPlayThrough&) = delete;

    /// False when set-up failed; fault() and errorString() say why.
    bool isValid() const { return mFault == CAPlayThroughFault::None; }
    CAPlayThroughFault fault() const { return mFault; }
    QString errorString() const { return mError; }

    /// False when the streams could not be started (the server or a device went away since
    /// set-up); the engine is then invalid and says why.
    bool start();
    bool stop();
    bool isRunning() const;

    /// Calls `listener` on a sound-server thread when the devices under the engine change or
    /// go away. It must not call back into the engine.
    void addDeviceListener(std::function<void(CAPlayThroughNotice)> listener);
    void removeDeviceListener();

    const CAPlayThroughDevice& inputDevice() const { return mInputDevice; }
    const CAPlayThroughDevice& outputDevice() const { return mOutputDevice; }
    int numberOfChannels() const { return mChannels; }
    const QList<int>& channelMap() const { return mChannelMap; }
    /// The input channel heard on each of the engine's channels: the map, or the device's own
    /// channels, with a single channel doubled so that a mono input is heard on both sides.
    const std::vector<int>& channelSources() const { return mMap; }
    const PlayThroughTimeline& timeline() const { return mTimeline; }
    /// The latency the two streams report now (device plus stream buffer), in milliseconds.
    double streamLatencyMilliseconds() const;
    /// Times the output ran dry at the server since the engine was made.
    int outputUnderflows() const { return mUnderflows.load(std::memory_order_relaxed); }
    /// Whether both streams' threads got real-time scheduling; false where the system refused.
    bool runsInRealtime() const { return mRunsInRealtime; }

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

    std::optional<Error> init();
    Error fail(CAPlayThroughFault fault, const QString& message, int line);
    std::optional<Error> setupInput();
    std::optional<Error> setupOutput();
    std::optional<Error> setupBuffers();
    std::optional<Error> connectStreams();
    std::optional<Error> setupRealtime();
    std::optional<Error> fillDevice(CAPlayThroughDevice& device, PulseConnection& connection, quint32 id,
                                    bool isInput);
    /// False when the server did not answer.
    bool cork(bool corked);

    static void inputProc(pa_stream* stream, size_t bytes, void* self);  // input thread
    static void outputProc(pa_stream* stream, size_t bytes, void* self); // output thread
    static long varispeedPull(void* self, float** data);                 // output thread
    double readSpeed(int64_t now);                                       // output thread
    static void inputStreamStateChanged(pa_stream* stream, void* self);  // input thread
    static void outputStreamStateChanged(pa_stream* stream, void* self); // output thread
    void streamEnded(pa_stream* stream, CAPlayThroughNotice lost);       // either thread
    void deviceEvent(unsigned event, uint32_t index);                    // input thread
    void checkInputFormat(uint32_t index);                               // input thread
    void checkDefaultDevices();                                          // input thread
    void notify(CAPlayThroughNotice notice);                             // either thread
    void reportRealtimeFaults();

    std::unique_ptr<PulseConnection> mInputConnection;
    std::unique_ptr<PulseConnection> mOutputConnection;
    pa_stream* mInputStream = nullptr;
    pa_stream* mOutputStream = nullptr;
    CAPlayThroughDevice mInputDevice;
    CAPlayThroughDevice mOutputDevice;
    PlayThroughTimeline mTimeline;
    std::atomic<int> mUnderflows{0}; // counted on the output stream's thread
    QList<int> mChannelMap;
    std::vector<int> mMap; // the input channel of each engine channel, as the input thread reads it
    int mChannels = 0;
    CAPlayThroughFault mFault = CAPlayThroughFault::None;
    QString mError;
    bool mRunsInRealtime = false;

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
    int64_t mPullStartNanoseconds = 0;
    double mCatchUpSpeed = 1.0; // above 1 while the offset shrinks back after a stall
    int mMissesSeen = 0;
    int64_t mLastMissNanoseconds = 0;
    double mLag = 0.0;         // how far the newest input stands ahead of the next pull, smoothed
    double mLagBaseline = 0.0; // where that settled after the start
    DeviceClock mOutputClock;

    // Set with both loops locked, so either thread may call it under its own lock.
    std::function<void(CAPlayThroughNotice)> mDeviceListener;
    // What failed on each real-time thread, reported by the owner's thread when it stops.
    RealtimeFaultLog mInputFaults;
    RealtimeFaultLog mOutputFaults;
};

} // namespace spindrel
