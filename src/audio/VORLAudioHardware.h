#pragma once

#include "audio/VORLAudioDevice.h"

#include <QList>
#include <QObject>
#include <QTimer>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace spindrel {

struct PulseDeviceSnapshot;
class PulseServerWatch;

/// Receives the hardware notices, on the main thread.
class VORLAudioHardwareDelegate
{
public:
    virtual ~VORLAudioHardwareDelegate() = default;
    virtual void defaultInputDeviceDidChange() {}
    virtual void defaultInputDeviceSampleRateDidChange() {}
    virtual void deviceListDidChange() {}
};

/// The sound server's devices and the notices of their changes. The notices arrive on the main
/// thread both as signals and as calls to every registered delegate; a burst of server events
/// (a device plugged in makes a sink, its monitor and a module appear) gives one notice.
///
/// The queries never wait on the server: they read what it last said, which a connection of
/// the hardware's own keeps up to date from the server's events. Only the very first query of
/// the process waits for the server's first answer, and then at most kFirstAnswerTimeoutMs.
/// When the server goes away the device lists are empty until it is back; the connection is
/// made again by itself.
class VORLAudioHardware : public QObject
{
    Q_OBJECT

public:
    enum class ServerState {
        Unknown,       // no answer yet
        Running,       // connected, devices known
        NotRunning,    // no server, or the connection was lost
        NotResponding, // connected, but the server has owed an answer for too long
    };
    Q_ENUM(ServerState)

    static constexpr int kFirstAnswerTimeoutMs = 1000;
    /// How long a server may owe an answer before it counts as not responding.
    static constexpr int kNotRespondingMs = 750;
    /// How often a lost server is looked for again, and a connected one asked for a sign of life.
    static constexpr int kCheckIntervalMs = 250;

    /// The one instance; made on first use, which must be on the main thread, and which waits
    /// for the server's first answer like the queries do.
    static VORLAudioHardware* sharedInstance();
    ~VORLAudioHardware() override;

    void addDelegate(VORLAudioHardwareDelegate* delegate);
    void removeDelegate(VORLAudioHardwareDelegate* delegate);

    /// Like the queries, waits for the server's first answer (at most kFirstAnswerTimeoutMs).
    ServerState serverState() const;
    /// Why no stream should be started now: the server has stopped answering (a stream would wait
    /// on it). Empty otherwise.
    static QString streamProblem();

    static VORLAudioDevice defaultInputDevice();
    static VORLAudioDevice defaultOutputDevice();
    /// Real inputs first, then the monitors of outputs, each in the server's order.
    static QList<VORLAudioDevice> recordingDevices();
    static QList<VORLAudioDevice> playbackDevices();
    /// The run-time identifier of the source (or else the sink) with that UID: the server's
    /// index plus one. 0 for an absent, empty or unknown UID.
    static quint32 deviceIDForDeviceUID(const QString& deviceUID);
    /// What the server said last; null while there is no server.
    static std::shared_ptr<const PulseDeviceSnapshot> devices();

Q_SIGNALS:
    void defaultInputDeviceDidChange();
    void defaultInputDeviceSampleRateDidChange();
    void deviceListDidChange();
    void serverStateDidChange(spindrel::VORLAudioHardware::ServerState state);

private:
    VORLAudioHardware();
    std::shared_ptr<const PulseDeviceSnapshot> currentDevices();
    void waitForFirstAnswer(std::unique_lock<std::mutex>& lock) const;
    void checkServer(); // main thread
    void watchServer(); // main thread
    // On the watch's thread.
    void devicesFetched(std::shared_ptr<const PulseDeviceSnapshot> devices);
    void serverAnswered();
    void serverFailed(bool silent);
    /// With mMutex held; the signal follows on the main thread.
    void setState(ServerState state);
    void postNotice(void (VORLAudioHardware::*signal)(), void (VORLAudioHardwareDelegate::*call)(),
                    std::atomic<bool>& pending); // any thread
    void deliver(void (VORLAudioHardware::*signal)(), void (VORLAudioHardwareDelegate::*call)());

    std::unique_ptr<PulseServerWatch> mWatch;
    QTimer mCheckTimer;
    QList<VORLAudioHardwareDelegate*> mDelegates;

    mutable std::mutex mMutex;
    mutable std::condition_variable mStateKnown;
    std::chrono::steady_clock::time_point mFirstAnswerDeadline;
    std::shared_ptr<const PulseDeviceSnapshot> mDevices;
    ServerState mState = ServerState::Unknown;
    bool mSeenWithoutDevices = false; // a query found no devices: their coming is a change
    QString mLastDefaultSource;       // kept through an outage, to tell whether it came back

    // A notice waiting for the main thread; later events of the same kind join it.
    std::atomic<bool> mListNoticePending{false};
    std::atomic<bool> mDefaultNoticePending{false};
    std::atomic<bool> mRateNoticePending{false};
};

} // namespace spindrel
