#pragma once

#include "audio/VORLAudioDevice.h"

#include <QList>
#include <QObject>
#include <QTimer>
#include <atomic>
#include <memory>

namespace spindrel {

class PulseConnection;

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
class VORLAudioHardware : public QObject
{
    Q_OBJECT

public:
    /// The one instance; made on first use, which must be on the main thread.
    static VORLAudioHardware* sharedInstance();
    ~VORLAudioHardware() override;

    void addDelegate(VORLAudioHardwareDelegate* delegate);
    void removeDelegate(VORLAudioHardwareDelegate* delegate);

    static VORLAudioDevice defaultInputDevice();
    static VORLAudioDevice defaultOutputDevice();
    /// Real inputs first, then the monitors of outputs, each in the server's order.
    static QList<VORLAudioDevice> recordingDevices();
    static QList<VORLAudioDevice> playbackDevices();
    /// The run-time identifier of the source (or else the sink) with that UID: the server's
    /// index plus one. 0 for an absent, empty or unknown UID.
    static quint32 deviceIDForDeviceUID(const QString& deviceUID);
    /// The UID of the source (direction 1) or sink (direction 0) with that identifier; empty
    /// when there is none.
    static QString deviceUIDForDeviceID(quint32 deviceID, unsigned direction);

Q_SIGNALS:
    void defaultInputDeviceDidChange();
    void defaultInputDeviceSampleRateDidChange();
    void deviceListDidChange();

private:
    VORLAudioHardware();
    void connectToServer();
    void serverEvent(unsigned event, uint32_t index); // on the server connection's thread
    void queryDefaultSource(bool reportChanges);      // on the server connection's thread
    void postNotice(void (VORLAudioHardware::*signal)(), void (VORLAudioHardwareDelegate::*call)(),
                    std::atomic<bool>& pending); // on the server connection's thread
    void deliver(void (VORLAudioHardware::*signal)(), void (VORLAudioHardwareDelegate::*call)());

    std::shared_ptr<PulseConnection> mConnection;
    QTimer mReconnectTimer;
    QList<VORLAudioHardwareDelegate*> mDelegates;
    // State of the server connection's thread.
    QString mDefaultSourceName;
    uint32_t mDefaultSourceIndex = 0xffffffffu;
    unsigned mDefaultSourceRate = 0;
    // A notice waiting for the main thread; later events of the same kind join it.
    std::atomic<bool> mListNoticePending{false};
    std::atomic<bool> mDefaultNoticePending{false};
    std::atomic<bool> mRateNoticePending{false};
};

} // namespace spindrel
