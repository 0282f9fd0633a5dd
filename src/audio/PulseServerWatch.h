#pragma once

#include "audio/PulseConnection.h"

#include <QString>
#include <atomic>
#include <functional>
#include <memory>
#include <vector>

struct pa_context;
struct pa_time_event;
struct pa_server_info;
struct pa_source_info;
struct pa_sink_info;

namespace spindrel {

/// What a sound server has: its sources (monitors of outputs included) and sinks in the server's
/// order, and its defaults.
struct PulseDeviceSnapshot
{
    std::vector<PulseDeviceInfo> sources;
    std::vector<PulseDeviceInfo> sinks;
    PulseServerInfo server;

    /// The device with that name, or null.
    const PulseDeviceInfo* source(const QString& name) const;
    const PulseDeviceInfo* sink(const QString& name) const;
};

/// Follows one sound server without ever making its caller wait: connects in the background,
/// fetches the devices once connected and again after each device or server event, and keeps
/// track of how long the server has owed an answer. The listener is called on the connection's
/// own thread (or during the constructor for a server that cannot be reached at all); it must
/// not block.
class PulseServerWatch
{
public:
    struct Listener
    {
        /// The devices as they are now: after connecting and after every change.
        std::function<void(std::shared_ptr<const PulseDeviceSnapshot>)> devicesFetched;
        /// The server answered a question.
        std::function<void()> answered;
        /// The connection was refused or lost (`silent`: the server let it time out); the watch
        /// does nothing more.
        std::function<void(bool silent)> failed;
    };

    /// Throws AudioException only when no event loop can be made.
    PulseServerWatch(const QString& clientName, Listener listener);
    ~PulseServerWatch();

    PulseServerWatch(const PulseServerWatch&) = delete;
    PulseServerWatch& operator=(const PulseServerWatch&) = delete;

    bool hasFailed() const { return mFailed.load(); }
    bool isReady() const { return mReady.load(); }
    /// How long the server has owed an answer (connecting counts), in milliseconds; 0 when it
    /// owes none.
    qint64 unansweredMs() const;
    /// Asks the server for a sign of life, unless it owes an answer already. Never waits. Its
    /// answer also catches what an event missed: defaults other than the last list's, or a last
    /// fetch that failed, fetch the lists again. On PipeWire it also looks at the defaults every
    /// few seconds through a connection of its own (see isOutOfDate()).
    void probe();
    /// The server told a new client other defaults than this watch's, and keeps telling the
    /// watch's own connection the old ones: PipeWire's pulse server (0.3.65) can leave a
    /// connection's defaults behind for good when they change during a burst of events. Only a
    /// new watch then sees the server as it is.
    bool isOutOfDate() const;

private:
    static constexpr int kFetchPauseMs = 100;
    static constexpr qint64 kFreshLookIntervalMs = 3000;

    // All on the connection's thread, with its lock held.
    void stateChanged(PulseConnection& connection, PulseConnection::State state);
    void fetchDevices(pa_context* context);
    void partFetched(pa_context* context, bool answered);
    void asked();
    /// A question is settled: by an answer, or (`answered` false) by a time-out or error.
    void settled(bool answered);

    static void serverInfoReceived(pa_context* context, const pa_server_info* info, void* self);
    static void sourceReceived(pa_context* context, const pa_source_info* info, int eol, void* self);
    static void sinkReceived(pa_context* context, const pa_sink_info* info, int eol, void* self);
    static void probeAnswered(pa_context* context, const pa_server_info* info, void* self);
    void startFreshLook();
    void endFreshLook();
    static void freshLookStateChanged(pa_context* context, void* self);
    static void freshLookAnswered(pa_context* context, const pa_server_info* info, void* self);

    Listener mListener;
    std::atomic<bool> mFailed{false};
    std::atomic<bool> mReady{false};
    std::atomic<qint64> mOwedSinceMs{0}; // the steady clock when the oldest open question was asked
    int mOwed = 0;                       // questions without an answer yet
    PulseDeviceSnapshot mFetching;
    int mPartsLeft = 0;                   // of the fetch under way
    bool mFetchFailed = false;            // a part of it got no answer
    bool mFetchAgain = false;             // an event came while fetching
    pa_time_event* mFetchTimer = nullptr; // the next fetch, after a pause
    pa_context* mFreshLook = nullptr;     // a short connection that checks the defaults
    qint64 mFreshLookStartedMs;           // the steady clock
    bool mServedByPipeWire = false;
    std::atomic<bool> mOutOfDate{false};
    bool mStale = false;        // the last fetch failed: the listener's list may be out of date
    PulseServerInfo mDelivered; // the defaults of the last list handed over
    PulseServerInfo mLastSeen;  // the defaults of the server's last answer
    std::unique_ptr<PulseConnection> mConnection;
};

} // namespace spindrel
