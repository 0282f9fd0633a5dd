#pragma once

#include <QString>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

struct pa_threaded_mainloop;
struct pa_context;
struct pa_operation;
struct pa_stream;
struct pa_sample_spec;
struct pa_buffer_attr;

namespace spindrel {

/// What the sound server says about one source (input) or sink (output).
struct PulseDeviceInfo
{
    QString name; // stable: the device UID
    QString description;
    uint32_t index = 0;
    unsigned channels = 0;
    unsigned sampleRate = 0;
    std::vector<int> channelPositions; // pa_channel_position_t of each channel
    bool isMonitor = false;            // a sink's monitor source
    uint64_t latencyUsec = 0;          // the latency the device is set to (or has), in microseconds
};

struct PulseServerInfo
{
    QString defaultSourceName;
    QString defaultSinkName;
};

/// One connection to the sound server on a threaded main loop of its own. Callbacks of streams
/// made on it run on that loop's thread with the loop locked; everything else takes the lock
/// (Locker) first. Blocking queries must not be made from the loop's own thread.
class PulseConnection
{
public:
    /// Connects at once (never spawns a server). Throws AudioException when no server answers.
    explicit PulseConnection(const QString& clientName);
    ~PulseConnection();

    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;

    pa_threaded_mainloop* mainloop() const { return mMainloop; }
    pa_context* context() const { return mContext; }
    /// True while the connection to the server is up.
    bool isConnected() const;
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

    // Blocking queries; they take the lock themselves.
    std::vector<PulseDeviceInfo> sources() const;
    std::vector<PulseDeviceInfo> sinks() const;
    std::optional<PulseDeviceInfo> source(const QString& name) const;
    std::optional<PulseDeviceInfo> sink(const QString& name) const;
    std::optional<PulseServerInfo> serverInfo() const;

    /// With the lock held: waits until `operation` is done (or the connection fails), then
    /// releases it.
    void waitFor(pa_operation* operation) const;

    /// With the lock held: makes a stream and connects it for recording from `device` (empty:
    /// the default source) or playback to it, then waits until it is ready. Returns null and
    /// sets `error` on failure. `callbacks` installs the stream's callbacks before connecting.
    enum class Direction { Record, Playback };
    pa_stream* connectStream(Direction direction, const char* name, const pa_sample_spec& format,
                             const std::vector<int>& channelPositions, const QString& device,
                             const pa_buffer_attr& attributes, unsigned flags,
                             const std::function<void(pa_stream*)>& callbacks, QString* error) const;
    /// With the lock held: disconnects and releases a stream made by connectStream.
    static void releaseStream(pa_stream*& stream);

    /// Called on the loop's thread for every subscribed server event (facility and type bits of
    /// pa_subscription_event_type_t, and the object's index). Subscribes with the given mask.
    void subscribe(unsigned mask, std::function<void(unsigned event, uint32_t index)> handler);

    /// The connection shared by device queries and device notices, made on first use and made
    /// again when the server went away. Throws AudioException when no server answers.
    static std::shared_ptr<PulseConnection> shared();

    /// Internal: hands a server event to the subscriber (on the loop's thread).
    static void deliverSubscriptionEvent(PulseConnection* connection, unsigned event, uint32_t index);

private:
    static void contextStateChanged(pa_context* context, void* self);

    pa_threaded_mainloop* mMainloop = nullptr;
    pa_context* mContext = nullptr;
    std::function<void(unsigned, uint32_t)> mSubscriber;
};

} // namespace spindrel
