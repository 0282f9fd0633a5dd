#include "audio/VORLAudioHardware.h"

#include "audio/AudioException.h"
#include "audio/PulseServerWatch.h"

#include <algorithm>

namespace spindrel {

namespace {

// The same devices: by name, and by the server's index, which a device made anew does not keep.
bool sameDevices(const std::vector<PulseDeviceInfo>& before, const std::vector<PulseDeviceInfo>& now)
{
    return std::equal(before.begin(), before.end(), now.begin(), now.end(),
                      [](const PulseDeviceInfo& a, const PulseDeviceInfo& b) {
                          return a.name == b.name && a.index == b.index;
                      });
}

} // namespace

VORLAudioHardware* VORLAudioHardware::sharedInstance()
{
    static std::unique_ptr<VORLAudioHardware> instance(new VORLAudioHardware);
    return instance.get();
}

VORLAudioHardware::VORLAudioHardware()
    : mFirstAnswerDeadline(std::chrono::steady_clock::now() +
                           std::chrono::milliseconds(kFirstAnswerTimeoutMs))
{
    mCheckTimer.setInterval(kCheckIntervalMs);
    connect(&mCheckTimer, &QTimer::timeout, this, &VORLAudioHardware::checkServer);
    watchServer();
    mCheckTimer.start();
    // Who makes the hardware finds it knowing the server, unless the server keeps silent.
    std::unique_lock lock(mMutex);
    waitForFirstAnswer(lock);
}

VORLAudioHardware::~VORLAudioHardware()
{
    mCheckTimer.stop();
    mWatch.reset(); // stops the server thread before the state it uses goes away
}

void VORLAudioHardware::watchServer()
{
    PulseServerWatch::Listener listener;
    listener.devicesFetched = [this](std::shared_ptr<const PulseDeviceSnapshot> devices) {
        devicesFetched(std::move(devices));
    };
    listener.answered = [this] { serverAnswered(); };
    listener.failed = [this](bool silent) { serverFailed(silent); };
    try {
        mWatch = std::make_unique<PulseServerWatch>(QStringLiteral("Spindrel device notices"),
                                                    std::move(listener));
    } catch (const AudioException&) {
        serverFailed(false);
    }
}

void VORLAudioHardware::checkServer()
{
    // A watch left behind by the server is replaced without a word: the devices stay known, and
    // the new watch's first list tells what changed meanwhile.
    if (mWatch && (mWatch->hasFailed() || mWatch->isOutOfDate()))
        mWatch.reset();
    if (!mWatch) {
        watchServer();
        return;
    }
    if (mWatch->unansweredMs() > kNotRespondingMs) {
        // A stopped or hung server keeps its socket open and takes connections: only its silence
        // tells. The watch flags a failure before it takes the lock, so none is overwritten here.
        std::lock_guard lock(mMutex);
        if (!mWatch->hasFailed())
            setState(ServerState::NotResponding);
        return;
    }
    mWatch->probe();
}

void VORLAudioHardware::devicesFetched(std::shared_ptr<const PulseDeviceSnapshot> devices)
{
    // Notices and state changes are posted under the lock, so they arrive in the order they happened.
    std::lock_guard lock(mMutex);
    const std::shared_ptr<const PulseDeviceSnapshot> before = std::exchange(mDevices, devices);
    // Devices coming back after an outage, or after someone was told there were none, are news.
    bool listChanged = !before && (mState != ServerState::Unknown || mSeenWithoutDevices);
    mSeenWithoutDevices = false;
    const QString& defaultName = devices->server.defaultSourceName;
    const QString lastDefault = std::exchange(mLastDefaultSource, defaultName);
    const bool defaultMoved = lastDefault != defaultName;
    if (defaultMoved && !lastDefault.isEmpty()) {
        // Also for a server back from an outage, which may come back with another default.
        postNotice(&VORLAudioHardware::defaultInputDeviceDidChange,
                   &VORLAudioHardwareDelegate::defaultInputDeviceDidChange, mDefaultNoticePending);
    }
    if (before) {
        listChanged =
            !sameDevices(before->sources, devices->sources) || !sameDevices(before->sinks, devices->sinks);
        if (!defaultMoved) {
            const PulseDeviceInfo* was = before->source(defaultName);
            const PulseDeviceInfo* is = devices->source(defaultName);
            if (was && is && was->index == is->index && was->sampleRate != is->sampleRate) {
                postNotice(&VORLAudioHardware::defaultInputDeviceSampleRateDidChange,
                           &VORLAudioHardwareDelegate::defaultInputDeviceSampleRateDidChange,
                           mRateNoticePending);
            }
        }
    }
    if (listChanged) {
        postNotice(&VORLAudioHardware::deviceListDidChange, &VORLAudioHardwareDelegate::deviceListDidChange,
                   mListNoticePending);
    }
    // After the notices, so that who rebuilds on the state change finds that done already.
    setState(ServerState::Running);
}

void VORLAudioHardware::serverAnswered()
{
    std::lock_guard lock(mMutex);
    if (mState == ServerState::NotResponding && mDevices)
        setState(ServerState::Running);
}

void VORLAudioHardware::serverFailed(bool silent)
{
    std::lock_guard lock(mMutex);
    // A server that does not answer is there still, and it is looked for again.
    if (silent && mState == ServerState::NotResponding)
        return;
    // No list notice: a server that restarts must not make anyone forget the devices they chose.
    mDevices.reset();
    setState(ServerState::NotRunning);
}

void VORLAudioHardware::setState(ServerState state)
{
    if (mState == state)
        return;
    mState = state;
    mStateKnown.notify_all();
    QMetaObject::invokeMethod(
        this, [this, state] { Q_EMIT serverStateDidChange(state); }, Qt::QueuedConnection);
}

VORLAudioHardware::ServerState VORLAudioHardware::serverState() const
{
    std::unique_lock lock(mMutex);
    waitForFirstAnswer(lock);
    return mState;
}

QString VORLAudioHardware::streamProblem()
{
    if (sharedInstance()->serverState() == ServerState::NotResponding)
        return QStringLiteral("The sound server is not responding");
    return {};
}

void VORLAudioHardware::waitForFirstAnswer(std::unique_lock<std::mutex>& lock) const
{
    if (mState == ServerState::Unknown)
        mStateKnown.wait_until(lock, mFirstAnswerDeadline, [this] { return mState != ServerState::Unknown; });
}

std::shared_ptr<const PulseDeviceSnapshot> VORLAudioHardware::currentDevices()
{
    std::unique_lock lock(mMutex);
    waitForFirstAnswer(lock);
    if (!mDevices)
        mSeenWithoutDevices = true;
    return mDevices;
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

std::shared_ptr<const PulseDeviceSnapshot> VORLAudioHardware::devices()
{
    return sharedInstance()->currentDevices();
}

VORLAudioDevice VORLAudioHardware::defaultInputDevice()
{
    const auto devices = VORLAudioHardware::devices();
    return VORLAudioDevice(devices ? devices->server.defaultSourceName : QString());
}

VORLAudioDevice VORLAudioHardware::defaultOutputDevice()
{
    const auto devices = VORLAudioHardware::devices();
    return VORLAudioDevice(devices ? devices->server.defaultSinkName : QString());
}

QList<VORLAudioDevice> VORLAudioHardware::recordingDevices()
{
    const auto devices = VORLAudioHardware::devices();
    if (!devices)
        return {};
    std::vector<PulseDeviceInfo> sources = devices->sources;
    std::stable_partition(sources.begin(), sources.end(),
                          [](const PulseDeviceInfo& info) { return !info.isMonitor; });
    QList<VORLAudioDevice> result;
    for (PulseDeviceInfo& info : sources)
        result.append(VORLAudioDevice(std::move(info), std::nullopt));
    return result;
}

QList<VORLAudioDevice> VORLAudioHardware::playbackDevices()
{
    const auto devices = VORLAudioHardware::devices();
    if (!devices)
        return {};
    QList<VORLAudioDevice> result;
    for (const PulseDeviceInfo& info : devices->sinks)
        result.append(VORLAudioDevice(std::nullopt, info));
    return result;
}

quint32 VORLAudioHardware::deviceIDForDeviceUID(const QString& deviceUID)
{
    const auto devices = VORLAudioHardware::devices();
    if (!devices)
        return 0;
    if (const PulseDeviceInfo* source = devices->source(deviceUID))
        return source->index + 1;
    if (const PulseDeviceInfo* sink = devices->sink(deviceUID))
        return sink->index + 1;
    return 0;
}

} // namespace spindrel
