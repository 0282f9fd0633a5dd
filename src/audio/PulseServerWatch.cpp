#include "audio/PulseServerWatch.h"

#include <chrono>
#include <pulse/pulseaudio.h>

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
    : mListener(std::move(listener))
{
    asked(); // the connection itself
    mConnection = std::make_unique<PulseConnection>(
        clientName, [this](PulseConnection& connection, PulseConnection::State state) {
            stateChanged(connection, state);
        });
}

PulseServerWatch::~PulseServerWatch()
{
    mConnection.reset(); // stops the thread that uses the rest
}

qint64 PulseServerWatch::unansweredMs() const
{
    const qint64 since = mOwedSinceMs.load();
    return since == 0 ? 0 : steadyMs() - since;
}

void PulseServerWatch::probe()
{
    PulseConnection::Locker lock(*mConnection);
    if (!mReady.load() || mFailed.load() || mOwed > 0)
        return;
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
    if (mFetchAgain) {
        mFetchAgain = false;
        fetchDevices(context);
        return;
    }
    mStale = mFetchFailed;
    if (mFetchFailed)
        return; // half a list is worse than the last whole one; the next probe fetches again
    mDelivered = mFetching.server;
    auto devices = std::make_shared<const PulseDeviceSnapshot>(std::move(mFetching));
    mFetching = {};
    mListener.devicesFetched(std::move(devices));
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
        watch->mFetching.server = PulseServerInfo{QString::fromUtf8(info->default_source_name),
                                                  QString::fromUtf8(info->default_sink_name)};
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
    const bool defaultsMoved =
        watch->mDelivered.defaultSourceName != QString::fromUtf8(info->default_source_name) ||
        watch->mDelivered.defaultSinkName != QString::fromUtf8(info->default_sink_name);
    if (watch->mStale || defaultsMoved)
        watch->fetchDevices(context);
}

} // namespace spindrel
