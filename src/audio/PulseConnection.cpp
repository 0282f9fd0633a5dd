#include "audio/PulseConnection.h"

#include "audio/AudioException.h"

#include <pulse/pulseaudio.h>
#include <unistd.h>

namespace spindrel {

namespace {

PulseDeviceInfo deviceInfo(const char* name, const char* description, uint32_t index,
                           const pa_sample_spec& format, const pa_channel_map& map, bool isMonitor,
                           uint64_t latencyUsec)
{
    PulseDeviceInfo info;
    info.name = QString::fromUtf8(name);
    info.description = QString::fromUtf8(description ? description : name);
    info.index = index;
    info.channels = format.channels;
    info.sampleRate = format.rate;
    for (int i = 0; i < map.channels; ++i)
        info.channelPositions.push_back(map.map[i]);
    info.isMonitor = isMonitor;
    info.latencyUsec = latencyUsec;
    return info;
}

struct DeviceQuery
{
    pa_threaded_mainloop* mainloop;
    std::vector<PulseDeviceInfo> devices;
};

void sourceInfoReceived(pa_context*, const pa_source_info* info, int eol, void* userdata)
{
    auto* query = static_cast<DeviceQuery*>(userdata);
    if (eol == 0 && info) {
        query->devices.push_back(PulseDeviceInfo::fromSource(*info));
    }
    pa_threaded_mainloop_signal(query->mainloop, 0);
}

void sinkInfoReceived(pa_context*, const pa_sink_info* info, int eol, void* userdata)
{
    auto* query = static_cast<DeviceQuery*>(userdata);
    if (eol == 0 && info) {
        query->devices.push_back(PulseDeviceInfo::fromSink(*info));
    }
    pa_threaded_mainloop_signal(query->mainloop, 0);
}

void operationStateChanged(pa_operation*, void* mainloop)
{
    pa_threaded_mainloop_signal(static_cast<pa_threaded_mainloop*>(mainloop), 0);
}

void streamStateChanged(pa_stream*, void* mainloop)
{
    pa_threaded_mainloop_signal(static_cast<pa_threaded_mainloop*>(mainloop), 0);
}

QString pulseError(pa_context* context)
{
    return QString::fromUtf8(pa_strerror(pa_context_errno(context)));
}

QString noAnswer()
{
    return QStringLiteral("no answer in time");
}

void clearStreamCallbacks(pa_stream* stream)
{
    pa_stream_set_state_callback(stream, nullptr, nullptr);
    pa_stream_set_read_callback(stream, nullptr, nullptr);
    pa_stream_set_write_callback(stream, nullptr, nullptr);
    pa_stream_set_overflow_callback(stream, nullptr, nullptr);
    pa_stream_set_underflow_callback(stream, nullptr, nullptr);
    pa_stream_set_started_callback(stream, nullptr, nullptr);
    pa_stream_set_latency_update_callback(stream, nullptr, nullptr);
    pa_stream_set_moved_callback(stream, nullptr, nullptr);
    pa_stream_set_suspended_callback(stream, nullptr, nullptr);
    pa_stream_set_event_callback(stream, nullptr, nullptr);
    pa_stream_set_buffer_attr_callback(stream, nullptr, nullptr);
}

} // namespace

PulseDeviceInfo PulseDeviceInfo::fromSource(const pa_source_info& info)
{
    PulseDeviceInfo device = deviceInfo(info.name, info.description, info.index, info.sample_spec,
                                        info.channel_map, info.monitor_of_sink != PA_INVALID_INDEX,
                                        info.configured_latency ? info.configured_latency : info.latency);
    if (info.active_port && info.active_port->description)
        device.portDescription = QString::fromUtf8(info.active_port->description);
    return device;
}

PulseDeviceInfo PulseDeviceInfo::fromSink(const pa_sink_info& info)
{
    PulseDeviceInfo device =
        deviceInfo(info.name, info.description, info.index, info.sample_spec, info.channel_map, false,
                   info.configured_latency ? info.configured_latency : info.latency);
    if (info.active_port && info.active_port->description)
        device.portDescription = QString::fromUtf8(info.active_port->description);
    return device;
}

PulseConnection::PulseConnection(const QString& clientName)
{
    QString failure = start(clientName);
    if (failure.isEmpty()) {
        Locker lock(*this);
        const bool settled = waitUntil(
            [this] {
                const pa_context_state_t state = pa_context_get_state(mContext);
                return state == PA_CONTEXT_READY || !PA_CONTEXT_IS_GOOD(state);
            },
            kAnswerTimeoutMs);
        if (!settled)
            failure = noAnswer();
        else if (pa_context_get_state(mContext) != PA_CONTEXT_READY)
            failure = pulseError(mContext);
    }
    if (!failure.isEmpty()) {
        release();
        throw AudioException(QStringLiteral("Could not connect to the sound server: ") + failure);
    }
}

PulseConnection::PulseConnection(const QString& clientName,
                                 std::function<void(PulseConnection&, State)> stateChanged)
    : mStateChanged(std::move(stateChanged))
{
    if (!start(clientName).isEmpty() && pa_context_get_state(mContext) != PA_CONTEXT_FAILED) {
        // Refused before the context got going: say so the way a failure later would.
        mStartFailed = true;
        Locker lock(*this);
        mStateChanged(*this, State::Failed);
    }
}

QString PulseConnection::start(const QString& clientName)
{
    mMainloop = pa_threaded_mainloop_new();
    if (!mMainloop)
        throw AudioException(QStringLiteral("Could not make the sound server's event loop"));
    mContext = pa_context_new(pa_threaded_mainloop_get_api(mMainloop), clientName.toUtf8().constData());
    if (!mContext) {
        pa_threaded_mainloop_free(mMainloop);
        throw AudioException(QStringLiteral("Could not make a sound server context"));
    }
    pa_context_set_state_callback(mContext, &PulseConnection::contextStateChanged, this);
    if (pa_threaded_mainloop_start(mMainloop) < 0) {
        pa_context_set_state_callback(mContext, nullptr, nullptr);
        pa_context_unref(mContext);
        pa_threaded_mainloop_free(mMainloop);
        throw AudioException(QStringLiteral("Could not start the sound server's event loop"));
    }
    Locker lock(*this);
    if (pa_context_connect(mContext, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
        return pulseError(mContext);
    return {};
}

PulseConnection::~PulseConnection()
{
    release();
}

void PulseConnection::release()
{
    {
        Locker lock(*this);
        pa_context_set_state_callback(mContext, nullptr, nullptr);
        pa_context_set_subscribe_callback(mContext, nullptr, nullptr);
        pa_context_disconnect(mContext);
        pa_context_unref(mContext);
    }
    pa_threaded_mainloop_stop(mMainloop);
    pa_threaded_mainloop_free(mMainloop);
}

bool PulseConnection::isConnected() const
{
    Locker lock(*this);
    return pa_context_get_state(mContext) == PA_CONTEXT_READY;
}

PulseConnection::State PulseConnection::state() const
{
    Locker lock(*this);
    const pa_context_state_t state = pa_context_get_state(mContext);
    if (mStartFailed || !PA_CONTEXT_IS_GOOD(state))
        return State::Failed;
    return state == PA_CONTEXT_READY ? State::Ready : State::Connecting;
}

QString PulseConnection::lastError() const
{
    Locker lock(*this);
    return pulseError(mContext);
}

PulseConnection::Locker::Locker(const PulseConnection& connection) : mMainloop(connection.mMainloop)
{
    pa_threaded_mainloop_lock(mMainloop);
}

PulseConnection::Locker::~Locker()
{
    pa_threaded_mainloop_unlock(mMainloop);
}

void PulseConnection::contextStateChanged(pa_context* context, void* userdata)
{
    auto* self = static_cast<PulseConnection*>(userdata);
    pa_threaded_mainloop_signal(self->mMainloop, 0);
    if (!self->mStateChanged)
        return;
    const pa_context_state_t state = pa_context_get_state(context);
    if (state == PA_CONTEXT_READY)
        self->mStateChanged(*self, State::Ready);
    else if (!PA_CONTEXT_IS_GOOD(state))
        self->mStateChanged(*self, State::Failed);
}

bool PulseConnection::waitUntil(const std::function<bool()>& done, int timeoutMs) const
{
    if (done())
        return true;
    // The loop's thread wakes the waiter when the time is up, as it does for every other event.
    struct Alarm
    {
        pa_threaded_mainloop* mainloop;
        bool rang = false;
    } alarm{mMainloop};
    pa_time_event* event = pa_context_rttime_new(
        mContext, pa_rtclock_now() + pa_usec_t(timeoutMs) * PA_USEC_PER_MSEC,
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* userdata) {
            auto* ringing = static_cast<Alarm*>(userdata);
            ringing->rang = true;
            pa_threaded_mainloop_signal(ringing->mainloop, 0);
        },
        &alarm);
    bool result = done();
    while (!result && !alarm.rang) {
        pa_threaded_mainloop_wait(mMainloop);
        result = done();
    }
    if (event)
        pa_threaded_mainloop_get_api(mMainloop)->time_free(event);
    return result;
}

pid_t PulseConnection::loopThreadId() const
{
    struct Question
    {
        pa_threaded_mainloop* mainloop;
        pid_t answer = 0;
    } question{mMainloop};
    Locker lock(*this);
    pa_mainloop_api_once(
        pa_threaded_mainloop_get_api(mMainloop),
        [](pa_mainloop_api*, void* userdata) {
            auto* asked = static_cast<Question*>(userdata);
            asked->answer = gettid();
            pa_threaded_mainloop_signal(asked->mainloop, 0);
        },
        &question);
    while (question.answer == 0)
        pa_threaded_mainloop_wait(mMainloop);
    return question.answer;
}

bool PulseConnection::waitFor(pa_operation* operation) const
{
    if (!operation)
        return false;
    pa_operation_set_state_callback(operation, operationStateChanged, mMainloop);
    waitUntil(
        [this, operation] {
            return pa_operation_get_state(operation) != PA_OPERATION_RUNNING ||
                   !PA_CONTEXT_IS_GOOD(pa_context_get_state(mContext));
        },
        kAnswerTimeoutMs);
    pa_operation_set_state_callback(operation, nullptr, nullptr);
    const bool finished = pa_operation_get_state(operation) == PA_OPERATION_DONE;
    // A late answer must not reach the caller's query, which is gone by then.
    if (pa_operation_get_state(operation) == PA_OPERATION_RUNNING)
        pa_operation_cancel(operation);
    pa_operation_unref(operation);
    return finished;
}

std::vector<PulseDeviceInfo> PulseConnection::sources() const
{
    Locker lock(*this);
    DeviceQuery query{mMainloop, {}};
    waitFor(pa_context_get_source_info_list(mContext, sourceInfoReceived, &query));
    return query.devices;
}

std::vector<PulseDeviceInfo> PulseConnection::sinks() const
{
    Locker lock(*this);
    DeviceQuery query{mMainloop, {}};
    waitFor(pa_context_get_sink_info_list(mContext, sinkInfoReceived, &query));
    return query.devices;
}

std::optional<PulseDeviceInfo> PulseConnection::source(const QString& name) const
{
    if (name.isEmpty())
        return std::nullopt;
    Locker lock(*this);
    DeviceQuery query{mMainloop, {}};
    waitFor(
        pa_context_get_source_info_by_name(mContext, name.toUtf8().constData(), sourceInfoReceived, &query));
    if (query.devices.empty())
        return std::nullopt;
    return query.devices.front();
}

std::optional<PulseDeviceInfo> PulseConnection::sink(const QString& name) const
{
    if (name.isEmpty())
        return std::nullopt;
    Locker lock(*this);
    DeviceQuery query{mMainloop, {}};
    waitFor(pa_context_get_sink_info_by_name(mContext, name.toUtf8().constData(), sinkInfoReceived, &query));
    if (query.devices.empty())
        return std::nullopt;
    return query.devices.front();
}

std::optional<PulseServerInfo> PulseConnection::serverInfo() const
{
    struct Query
    {
        pa_threaded_mainloop* mainloop;
        std::optional<PulseServerInfo> info;
    } query{mMainloop, std::nullopt};
    Locker lock(*this);
    waitFor(pa_context_get_server_info(
        mContext,
        [](pa_context*, const pa_server_info* info, void* userdata) {
            auto* pending = static_cast<Query*>(userdata);
            if (info) {
                pending->info = PulseServerInfo{QString::fromUtf8(info->default_source_name),
                                                QString::fromUtf8(info->default_sink_name)};
            }
            pa_threaded_mainloop_signal(pending->mainloop, 0);
        },
        &query));
    return query.info;
}

pa_stream* PulseConnection::startStream(Direction direction, const char* name, const pa_sample_spec& format,
                                        const std::vector<int>& channelPositions, const QString& device,
                                        const pa_buffer_attr& attributes, unsigned flags,
                                        const std::function<void(pa_stream*)>& callbacks,
                                        QString* error) const
{
    pa_channel_map map;
    if (channelPositions.size() == format.channels) {
        map.channels = format.channels;
        for (unsigned i = 0; i < format.channels; ++i)
            map.map[i] = pa_channel_position_t(channelPositions[i]);
    } else {
        pa_channel_map_init_extend(&map, format.channels, PA_CHANNEL_MAP_DEFAULT);
    }
    pa_stream* stream = pa_stream_new(mContext, name, &format, &map);
    if (!stream) {
        *error = pulseError(mContext);
        return nullptr;
    }
    if (callbacks)
        callbacks(stream);
    const QByteArray deviceName = device.toUtf8();
    const char* target = device.isEmpty() ? nullptr : deviceName.constData();
    const int result = direction == Direction::Record
                           ? pa_stream_connect_record(stream, target, &attributes, pa_stream_flags_t(flags))
                           : pa_stream_connect_playback(stream, target, &attributes, pa_stream_flags_t(flags),
                                                        nullptr, nullptr);
    if (result == 0)
        return stream;
    *error = pulseError(mContext);
    clearStreamCallbacks(stream);
    pa_stream_unref(stream);
    return nullptr;
}

pa_stream* PulseConnection::connectStream(Direction direction, const char* name, const pa_sample_spec& format,
                                          const std::vector<int>& channelPositions, const QString& device,
                                          const pa_buffer_attr& attributes, unsigned flags,
                                          const std::function<void(pa_stream*)>& callbacks,
                                          QString* error) const
{
    pa_stream* stream = startStream(
        direction, name, format, channelPositions, device, attributes, flags,
        [this, &callbacks](pa_stream* made) {
            pa_stream_set_state_callback(made, streamStateChanged, mMainloop);
            if (callbacks)
                callbacks(made);
        },
        error);
    if (!stream)
        return nullptr;
    const bool settled = waitUntil(
        [stream] {
            const pa_stream_state_t state = pa_stream_get_state(stream);
            return state == PA_STREAM_READY || !PA_STREAM_IS_GOOD(state);
        },
        kAnswerTimeoutMs);
    if (pa_stream_get_state(stream) == PA_STREAM_READY)
        return stream;
    clearStreamCallbacks(stream);
    if (!settled) {
        *error = noAnswer();
        // Should the server answer after all, the stream it makes is let go at once.
        pa_stream_set_state_callback(
            stream,
            [](pa_stream* late, void*) {
                if (pa_stream_get_state(late) == PA_STREAM_READY)
                    pa_stream_disconnect(late);
            },
            nullptr);
    } else {
        *error = pulseError(mContext);
    }
    pa_stream_unref(stream);
    return nullptr;
}

void PulseConnection::releaseStream(pa_stream*& stream)
{
    if (!stream)
        return;
    clearStreamCallbacks(stream);
    if (PA_STREAM_IS_GOOD(pa_stream_get_state(stream)))
        pa_stream_disconnect(stream);
    pa_stream_unref(stream);
    stream = nullptr;
}

namespace {
void subscriptionEventReceived(pa_context*, pa_subscription_event_type_t event, uint32_t index, void* self)
{
    PulseConnection::deliverSubscriptionEvent(static_cast<PulseConnection*>(self), unsigned(event), index);
}
} // namespace

void PulseConnection::deliverSubscriptionEvent(PulseConnection* connection, unsigned event, uint32_t index)
{
    if (connection->mSubscriber)
        connection->mSubscriber(event, index);
}

void PulseConnection::subscribe(unsigned mask, std::function<void(unsigned, uint32_t)> handler)
{
    mSubscriber = std::move(handler);
    pa_context_set_subscribe_callback(mContext, subscriptionEventReceived, this);
    if (pa_operation* operation =
            pa_context_subscribe(mContext, pa_subscription_mask_t(mask), nullptr, nullptr))
        pa_operation_unref(operation);
}

} // namespace spindrel
