#include "audio/PulseServerWatch.h"

#include <chrono>
#include <cstring>
#include <pulse/pulseaudio.h>
#include <utility>

namespace spindrel {

namespace {

// Milliseconds of the steady clock, never 0: that stands for "nothing owed".
qint64 steadyMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count() + 1;
}

const PulseDeviceInfo* named(const std::vector<PulseDeviceInfo>& devices, const QString& name)
{
    if (name.isEmpty())
        return nullptr;
    for (const PulseDeviceInfo& device : devices) {
        if (device.name == name)
            return &device;
    }
    return nullptr;
}

PulseServerInfo serverInfo(const pa_server_info& info)
{
    return {QString::fromUtf8(info.default_source_name), QString::fromUtf8(info.default_sink_name)};
}

} // namespace

const PulseDeviceInfo* PulseDeviceSnapshot::source(const QString& name) const
{
    return named(sources, name);
}

const PulseDeviceInfo* PulseDeviceSnapshot::sink(const QString& name) const
{
    return named(sinks, name);
}

PulseServerWatch::PulseServerWatch(const QString& clientName, Listener listener)
    : mListener(std::move(listener)), mFreshLookStartedMs(steadyMs())
{
    asked(); // the connection itself
    mConnection = std::make_unique<PulseConnection>(
        clientName, [this](PulseConnection& connection, PulseConnection::State state) {
            stateChanged(connection, state);
        });
}

PulseServerWatch::~PulseServerWatch()
{
    {
        PulseConnection::Locker lock(*mConnection);
        if (mFetchTimer)
            pa_threaded_mainloop_get_api(mConnection->mainloop())->time_free(mFetchTimer);
        endFreshLook();
    }
    mConnection.reset(); // stops the thread that uses the rest
}

qint64 PulseServerWatch::unansweredMs() const
{
    const qint64 since = mOwedSinceMs.load();
    return since == 0 ? 0 : steadyMs() - since;
}

bool PulseServerWatch::isOutOfDate() const
{
    return mOutOfDate.load();
}

void PulseServerWatch::probe()
{
    PulseConnection::Locker lock(*mConnection);
    if (!mReady.load() || mFailed.load() || mOwed > 0)
        return;
    const qint64 now = steadyMs();
    if (mServedByPipeWire && now - mFreshLookStartedMs >= kFreshLookIntervalMs) {
        mFreshLookStartedMs = now;
        startFreshLook();
    }
    if (pa_operation* operation = pa_context_get_server_info(mConnection->context(), probeAnswered, this)) {
        asked();
        pa_operation_unref(operation);
    }
}

void PulseServerWatch::stateChanged(PulseConnection& connection, PulseConnection::State state)
{
    if (state == PulseConnection::State::Ready) {
        settled(true);
        pa_context* context = connection.context();
        connection.subscribe(PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SOURCE |
                                 PA_SUBSCRIPTION_MASK_SERVER,
                             [this, context](unsigned, uint32_t) { fetchDevices(context); });
        fetchDevices(context);
        mReady.store(true);
        return;
    }
    if (state != PulseConnection::State::Failed || mFailed.exchange(true))
        return;
    mReady.store(false);
    mOwed = 0;
    mOwedSinceMs.store(0);
    mListener.failed(pa_context_errno(connection.context()) == PA_ERR_TIMEOUT);
}

void PulseServerWatch::fetchDevices(pa_context* context)
{
    // Whole lists each time: a burst of events then costs one fetch, and the answer is complete.
    if (mFetchTimer)
        return; // one is due
    if (mPartsLeft > 0) {
        mFetchAgain = true;
        return;
    }
    mFetching = {};
    mFetchFailed = false;
    pa_operation* operations[] = {pa_context_get_server_info(context, serverInfoReceived, this),
                                  pa_context_get_source_info_list(context, sourceReceived, this),
                                  pa_context_get_sink_info_list(context, sinkReceived, this)};
    bool complete = true;
    for (pa_operation* operation : operations)
        complete = complete && operation;
    for (pa_operation* operation : operations) {
        if (!operation)
            continue;
        if (complete) {
            asked();
            ++mPartsLeft;
        } else {
            pa_operation_cancel(operation); // the context is going; its failure follows
        }
        pa_operation_unref(operation);
    }
}

void PulseServerWatch::partFetched(pa_context* context, bool answered)
{
    settled(answered);
    mFetchFailed = mFetchFailed || !answered;
    if (--mPartsLeft > 0)
        return;
    mStale = mFetchFailed;
    // Half a list is worse than the last whole one; a failed fetch is tried again at the next
    // event or probe.
    if (!mFetchFailed) {
        mDelivered = mFetching.server;
        auto devices = std::make_shared<const PulseDeviceSnapshot>(std::move(mFetching));
        mFetching = {};
        mListener.devicesFetched(std::move(devices));
    }
    // A whole list is handed over even when events came while it was fetched: a busy server can
    // send events faster than a fetch takes, and holding each list back for the next one starved
    // the listener for as long as the burst lasted. The next fetch waits a moment, so a burst
    // costs a few fetches a second rather than one after another.
    if (std::exchange(mFetchAgain, false)) {
        mFetchTimer = pa_context_rttime_new(
            context, pa_rtclock_now() + pa_usec_t(kFetchPauseMs) * PA_USEC_PER_MSEC,
            [](pa_mainloop_api* api, pa_time_event* event, const timeval*, void* self) {
                auto* watch = static_cast<PulseServerWatch*>(self);
                api->time_free(event);
                watch->mFetchTimer = nullptr;
                watch->fetchDevices(watch->mConnection->context());
            },
            this);
    }
}

void PulseServerWatch::startFreshLook()
{
    // The last look ended or is given up: one that has not answered by now never will.
    endFreshLook();
    pa_mainloop_api* api = pa_threaded_mainloop_get_api(mConnection->mainloop());
    mFreshLook = pa_context_new(api, "Spindrel device notices (check)");
    if (!mFreshLook)
        return;
    pa_context_set_state_callback(mFreshLook, freshLookStateChanged, this);
    if (pa_context_connect(mFreshLook, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
        endFreshLook();
}

void PulseServerWatch::endFreshLook()
{
    if (!mFreshLook)
        return;
    pa_context_set_state_callback(mFreshLook, nullptr, nullptr);
    pa_context_disconnect(mFreshLook);
    pa_context_unref(mFreshLook);
    mFreshLook = nullptr;
}

void PulseServerWatch::freshLookStateChanged(pa_context* context, void* self)
{
    if (pa_context_get_state(context) != PA_CONTEXT_READY)
        return; // a look that fails tells nothing; the next one starts afresh
    if (pa_operation* operation = pa_context_get_server_info(context, freshLookAnswered, self))
        pa_operation_unref(operation);
}

void PulseServerWatch::freshLookAnswered(pa_context* context, const pa_server_info* info, void* self)
{
    auto* watch = static_cast<PulseServerWatch*>(self);
    // Freed with the next look or the watch, never inside its own callback.
    pa_context_disconnect(context);
    // A change that reached the new client a moment before the watch's own connection makes a
    // needless new watch at worst.
    if (info && watch->mLastSeen != serverInfo(*info))
        watch->mOutOfDate.store(true);
}

void PulseServerWatch::asked()
{
    if (mOwed++ == 0)
        mOwedSinceMs.store(steadyMs());
}

void PulseServerWatch::settled(bool answered)
{
    if (mOwed > 0)
        --mOwed;
    if (mOwed == 0) {
        mOwedSinceMs.store(0);
    } else if (answered) {
        // The clock runs from the last answer, so a busy server that keeps answering never looks hung.
        mOwedSinceMs.store(steadyMs());
    }
    if (answered && mListener.answered)
        mListener.answered();
}

void PulseServerWatch::serverInfoReceived(pa_context* context, const pa_server_info* info, void* self)
{
    auto* watch = static_cast<PulseServerWatch*>(self);
    if (info) {
        // "PulseAudio (on PipeWire 0.3.65)": only PipeWire's pulse server needs the fresh looks.
        watch->mServedByPipeWire = info->server_name && std::strstr(info->server_name, "PipeWire");
        watch->mFetching.server = serverInfo(*info);
        watch->mLastSeen = watch->mFetching.server;
    }
    watch->partFetched(context, info != nullptr);
}

void PulseServerWatch::sourceReceived(pa_context* context, const pa_source_info* info, int eol, void* self)
{
    auto* watch = static_cast<PulseServerWatch*>(self);
    if (eol == 0 && info) {
        watch->mFetching.sources.push_back(PulseDeviceInfo::fromSource(*info));
        return;
    }
    watch->partFetched(context, eol > 0);
}

void PulseServerWatch::sinkReceived(pa_context* context, const pa_sink_info* info, int eol, void* self)
{
    auto* watch = static_cast<PulseServerWatch*>(self);
    if (eol == 0 && info) {
        watch->mFetching.sinks.push_back(PulseDeviceInfo::fromSink(*info));
        return;
    }
    watch->partFetched(context, eol > 0);
}

void PulseServerWatch::probeAnswered(pa_context* context, const pa_server_info* info, void* self)
{
    auto* watch = static_cast<PulseServerWatch*>(self);
    // Without info the question timed out: no sign of life.
    watch->settled(info != nullptr);
    if (!info)
        return;
    // A server may change its defaults without a word to this client (PipeWire's pulse server
    // can, under load); the sign of life shows them anyway.
    watch->mLastSeen = serverInfo(*info);
    if (watch->mStale || watch->mDelivered != watch->mLastSeen)
        watch->fetchDevices(context);
}

} // namespace spindrel
