#pragma once

#include <QString>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <sys/types.h>
#include <vector>

struct pa_threaded_mainloop;
struct pa_context;
struct pa_operation;
struct pa_stream;
struct pa_sample_spec;
struct pa_buffer_attr;
struct pa_source_info;
struct pa_sink_info;

namespace spindrel {

/// What the sound server says about one source (input) or sink (output).
struct PulseDeviceInfo
{
    QString name; // stable: the device UID
    QString description;
    QString portDescription; // the active port ("Microphone", "Headphones"), if the device has ports
    uint32_t index = 0;
    unsigned channels = 0;
    unsigned sampleRate = 0;
    std::vector<int> channelPositions; // pa_channel_position_t of each channel
    bool isMonitor = false;            // a sink's monitor source
    uint64_t latencyUsec = 0;          // the latency the device is set to (or has), in microseconds

    static PulseDeviceInfo fromSource(const pa_source_info& info);
    static PulseDeviceInfo fromSink(const pa_sink_info& info);
};

struct PulseServerInfo
{
    QString defaultSourceName;
    QString defaultSinkName;

    bool operator==(const PulseServerInfo&) const = default;
};

/// One connection to the sound server on a threaded main loop of its own. Callbacks of streams
/// made on it run on that loop's thread with the loop locked; everything else takes the lock
/// (Locker) first. Blocking steps must not be made from the loop's own thread, and none of them
/// waits longer than kAnswerTimeoutMs: a stopped or hung server makes them fail instead of
/// holding up their caller.
class PulseConnection
{
public:
    /// The longest a blocking step waits for the server.
    static constexpr int kAnswerTimeoutMs = 1000;

    enum class State { Connecting, Ready, Failed };

    /// Connects at once (never spawns a server). Throws AudioException when no server answers
    /// within kAnswerTimeoutMs.
    explicit PulseConnection(const QString& clientName);
    /// Starts connecting and returns without waiting. `stateChanged` is called with the lock held
    /// when the connection becomes ready or fails: on the loop's thread, or already during the
    /// constructor when no server can be reached at all. Throws AudioException only when the
    /// event loop cannot be made.
    PulseConnection(const QString& clientName, std::function<void(PulseConnection&, State)> stateChanged);
    ~PulseConnection();

    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;

    pa_threaded_mainloop* mainloop() const { return mMainloop; }
    pa_context* context() const { return mContext; }
    /// True while the connection to the server is up.
    bool isConnected() const;
    State state() const;
    QString lastError() const;

    class Locker
    {
    public:
        explicit Locker(const PulseConnection& connection);
        ~Locker();
        Locker(const Locker&) = delete;
        Locker& operator=(const Locker&) = delete;

    private:
        pa_threaded_mainloop* mMainloop;
    };

    // Blocking queries; they take the lock themselves. Empty when the server does not answer.
    std::vector<PulseDeviceInfo> sources() const;
    std::vector<PulseDeviceInfo> sinks() const;
    std::optional<PulseDeviceInfo> source(const QString& name) const;
    std::optional<PulseDeviceInfo> sink(const QString& name) const;
    std::optional<PulseServerInfo> serverInfo() const;

    /// With the lock held: waits until `operation` is done, the connection fails or
    /// kAnswerTimeoutMs have passed (the operation is then cancelled), then releases it. True
    /// when the operation finished.
    bool waitFor(pa_operation* operation) const;

    /// With the lock held: makes a stream and connects it for recording from `device` (empty:
    /// the default source) or playback to it, then waits until it is ready, at most
    /// kAnswerTimeoutMs. Returns null and sets `error` on failure. `callbacks` installs the
    /// stream's callbacks before connecting.
    enum class Direction { Record, Playback };
    pa_stream* connectStream(Direction direction, const char* name, const pa_sample_spec& format,
                             const std::vector<int>& channelPositions, const QString& device,
                             const pa_buffer_attr& attributes, unsigned flags,
                             const std::function<void(pa_stream*)>& callbacks, QString* error) const;
    /// With the lock held: like connectStream, but returns as soon as the server has been asked,
    /// without waiting for it. `callbacks` installs a state callback of its own, which hears
    /// whether the stream gets going.
    pa_stream* startStream(Direction direction, const char* name, const pa_sample_spec& format,
                           const std::vector<int>& channelPositions, const QString& device,
                           const pa_buffer_attr& attributes, unsigned flags,
                           const std::function<void(pa_stream*)>& callbacks, QString* error) const;
    /// With the lock held: disconnects and releases a stream made by connectStream or startStream.
    static void releaseStream(pa_stream*& stream);

    /// With the lock held (or on the loop's thread): asks for the server events of `mask` and
    /// returns without waiting for the server. `handler` is called on the loop's thread for each
    /// event with the facility and type bits of pa_subscription_event_type_t and the object's index.
    void subscribe(unsigned mask, std::function<void(unsigned event, uint32_t index)> handler);

    /// The kernel's identifier of the loop's thread, where every callback of the connection runs.
    /// Not on that thread itself.
    pid_t loopThreadId() const;

    /// Internal: hands a server event to the subscriber (on the loop's thread).
    static void deliverSubscriptionEvent(PulseConnection* connection, unsigned event, uint32_t index);

private:
    /// Makes the loop and the context and starts connecting; the failure's text, else empty.
    QString start(const QString& clientName);
    /// With the lock held: waits until `done` holds, at most `timeoutMs`. False when it never did.
    bool waitUntil(const std::function<bool()>& done, int timeoutMs) const;
    void release();
    static void contextStateChanged(pa_context* context, void* self);

    pa_threaded_mainloop* mMainloop = nullptr;
    pa_context* mContext = nullptr;
    std::function<void(unsigned, uint32_t)> mSubscriber;
    std::function<void(PulseConnection&, State)> mStateChanged;
    bool mStartFailed = false;
};

} // namespace spindrel
