#include "audio/VORLAudioHardware.h"

#include "audio/AudioException.h"
#include "audio/PulseConnection.h"

#include <algorithm>
#include <pulse/pulseaudio.h>

namespace spindrel {

namespace {
constexpr int kReconnectIntervalMs = 2000;
} // namespace

VORLAudioHardware* VORLAudioHardware::sharedInstance()
{
    static std::unique_ptr<VORLAudioHardware> instance(new VORLAudioHardware);
    return instance.get();
}

VORLAudioHardware::VORLAudioHardware()
{
    // Without a server there are no notices; once one answers again the device list is new.
    mReconnectTimer.setInterval(kReconnectIntervalMs);
    connect(&mReconnectTimer, &QTimer::timeout, this, &VORLAudioHardware::connectToServer);
    connectToServer();
    mReconnectTimer.start();
}

VORLAudioHardware::~VORLAudioHardware()
{
    mReconnectTimer.stop();
    mConnection.reset(); // stops the server thread before the state it uses goes away
}

void VORLAudioHardware::connectToServer()
{
    if (mConnection && mConnection->isConnected())
        return;
    const bool lost = mConnection != nullptr;
    mConnection.reset();
    try {
        mConnection = std::make_shared<PulseConnection>(QStringLiteral("Spindrel device notices"));
    } catch (const AudioException&) {
        if (lost)
            deliver(&VORLAudioHardware::deviceListDidChange, &VORLAudioHardwareDelegate::deviceListDidChange);
        return;
    }
    mConnection->subscribe(PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SOURCE |
                               PA_SUBSCRIPTION_MASK_SERVER,
                           [this](unsigned event, uint32_t index) { serverEvent(event, index); });
    {
        PulseConnection::Locker lock(*mConnection);
        queryDefaultSource(false);
    }
    if (lost)
        deliver(&VORLAudioHardware::deviceListDidChange, &VORLAudioHardwareDelegate::deviceListDidChange);
}

void VORLAudioHardware::serverEvent(unsigned event, uint32_t index)
{
    const unsigned facility = event & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
    const unsigned type = event & PA_SUBSCRIPTION_EVENT_TYPE_MASK;
    const bool device = facility == PA_SUBSCRIPTION_EVENT_SINK || facility == PA_SUBSCRIPTION_EVENT_SOURCE;
    if (device && (type == PA_SUBSCRIPTION_EVENT_NEW || type == PA_SUBSCRIPTION_EVENT_REMOVE)) {
        postNotice(&VORLAudioHardware::deviceListDidChange, &VORLAudioHardwareDelegate::deviceListDidChange,
                   mListNoticePending);
    }
    if (facility == PA_SUBSCRIPTION_EVENT_SERVER ||
        (facility == PA_SUBSCRIPTION_EVENT_SOURCE && type == PA_SUBSCRIPTION_EVENT_CHANGE &&
         index == mDefaultSourceIndex))
        queryDefaultSource(true);
}

void VORLAudioHardware::queryDefaultSource(bool reportChanges)
{
    struct Query
    {
        VORLAudioHardware* hardware;
        bool reportChanges;
    };
    auto serverInfo = [](pa_context* context, const pa_server_info* info, void* userdata) {
        auto* query = static_cast<Query*>(userdata);
        VORLAudioHardware* self = query->hardware;
        if (!info || !info->default_source_name) {
            delete query;
            return;
        }
        const QString name = QString::fromUtf8(info->default_source_name);
        if (name != self->mDefaultSourceName) {
            if (query->reportChanges) {
                self->postNotice(&VORLAudioHardware::defaultInputDeviceDidChange,
                                 &VORLAudioHardwareDelegate::defaultInputDeviceDidChange,
                                 self->mDefaultNoticePending);
            }
            self->mDefaultSourceName = name;
            self->mDefaultSourceIndex = PA_INVALID_INDEX;
        }
        auto sourceInfo = [](pa_context*, const pa_source_info* source, int eol, void* userdata) {
            auto* query = static_cast<Query*>(userdata);
            if (eol != 0 || !source) {
                if (eol != 0)
                    delete query;
                return;
            }
            VORLAudioHardware* self = query->hardware;
            const bool sameDevice = source->index == self->mDefaultSourceIndex;
            if (sameDevice && source->sample_spec.rate != self->mDefaultSourceRate && query->reportChanges) {
                self->postNotice(&VORLAudioHardware::defaultInputDeviceSampleRateDidChange,
                                 &VORLAudioHardwareDelegate::defaultInputDeviceSampleRateDidChange,
                                 self->mRateNoticePending);
            }
            self->mDefaultSourceIndex = source->index;
            self->mDefaultSourceRate = source->sample_spec.rate;
        };
        pa_operation* operation =
            pa_context_get_source_info_by_name(context, info->default_source_name, sourceInfo, query);
        if (operation)
            pa_operation_unref(operation);
        else
            delete query;
    };
    auto* query = new Query{this, reportChanges};
    pa_operation* operation = pa_context_get_server_info(mConnection->context(), serverInfo, query);
    if (operation)
        pa_operation_unref(operation);
    else
        delete query;
}

void VORLAudioHardware::postNotice(void (VORLAudioHardware::*signal)(),
                                   void (VORLAudioHardwareDelegate::*call)(), std::atomic<bool>& pending)
{
    if (pending.exchange(true))
        return;
    QMetaObject::invokeMethod(
        this,
        [this, signal, call, &pending] {
            pending.store(false);
            deliver(signal, call);
        },
        Qt::QueuedConnection);
}

void VORLAudioHardware::deliver(void (VORLAudioHardware::*signal)(),
                                void (VORLAudioHardwareDelegate::*call)())
{
    Q_EMIT(this->*signal)();
    const QList<VORLAudioHardwareDelegate*> delegates = mDelegates;
    for (VORLAudioHardwareDelegate* delegate : delegates) {
        if (mDelegates.contains(delegate))
            (delegate->*call)();
    }
}

void VORLAudioHardware::addDelegate(VORLAudioHardwareDelegate* delegate)
{
    if (delegate && !mDelegates.contains(delegate))
        mDelegates.append(delegate);
}

void VORLAudioHardware::removeDelegate(VORLAudioHardwareDelegate* delegate)
{
    mDelegates.removeAll(delegate);
}

VORLAudioDevice VORLAudioHardware::defaultInputDevice()
{
    try {
        const auto server = PulseConnection::shared()->serverInfo();
        return VORLAudioDevice(server ? server->defaultSourceName : QString());
    } catch (const AudioException&) {
        return VORLAudioDevice();
    }
}

VORLAudioDevice VORLAudioHardware::defaultOutputDevice()
{
    try {
        const auto server = PulseConnection::shared()->serverInfo();
        return VORLAudioDevice(server ? server->defaultSinkName : QString());
    } catch (const AudioException&) {
        return VORLAudioDevice();
    }
}

QList<VORLAudioDevice> VORLAudioHardware::recordingDevices()
{
    std::vector<PulseDeviceInfo> sources;
    try {
        sources = PulseConnection::shared()->sources();
    } catch (const AudioException&) {
        return {};
    }
    std::stable_partition(sources.begin(), sources.end(),
                          [](const PulseDeviceInfo& info) { return !info.isMonitor; });
    QList<VORLAudioDevice> devices;
    for (PulseDeviceInfo& info : sources)
        devices.append(VORLAudioDevice(std::move(info), std::nullopt));
    return devices;
}

QList<VORLAudioDevice> VORLAudioHardware::playbackDevices()
{
    std::vector<PulseDeviceInfo> sinks;
    try {
        sinks = PulseConnection::shared()->sinks();
    } catch (const AudioException&) {
        return {};
    }
    QList<VORLAudioDevice> devices;
    for (PulseDeviceInfo& info : sinks)
        devices.append(VORLAudioDevice(std::nullopt, std::move(info)));
    return devices;
}

quint32 VORLAudioHardware::deviceIDForDeviceUID(const QString& deviceUID)
{
    if (deviceUID.isEmpty())
        return 0;
    try {
        const auto connection = PulseConnection::shared();
        if (const auto source = connection->source(deviceUID))
            return source->index + 1;
        if (const auto sink = connection->sink(deviceUID))
            return sink->index + 1;
    } catch (const AudioException&) {
    }
    return 0;
}

QString VORLAudioHardware::deviceUIDForDeviceID(quint32 deviceID, unsigned direction)
{
    if (deviceID == 0)
        return {};
    try {
        const auto connection = PulseConnection::shared();
        const auto devices =
            direction == VORLAudioDevice::Input ? connection->sources() : connection->sinks();
        for (const PulseDeviceInfo& info : devices) {
            if (info.index + 1 == deviceID)
                return info.name;
        }
    } catch (const AudioException&) {
    }
    return {};
}

} // namespace spindrel
