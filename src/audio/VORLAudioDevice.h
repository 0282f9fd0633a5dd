#pragma once

#include "audio/PulseConnection.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace spindrel {

/// One audio device, identified by its UID: the sound server's name of a source (input, the
/// monitors of outputs included) or a sink (output). The device takes what the server last said
/// about it (VORLAudioHardware) when the object is made. A UID the server does not know (or an
/// empty one) stands for the default device: names, channels, rates and the streams made for it
/// are the default device's, while deviceUID() and equality keep the UID asked for, so an
/// unplugged device that was stored is still told apart from the devices present.
class VORLAudioDevice
{
public:
    enum Direction : unsigned { Output = 0, Input = 1 };

    /// Never fails: without a sound server the device has no name, no channels and rate 0.
    explicit VORLAudioDevice(const QString& deviceUID = QString());

    /// A device from what the server already told about it.
    VORLAudioDevice(std::optional<PulseDeviceInfo> source, std::optional<PulseDeviceInfo> sink);

    QString deviceUID() const { return mUID; }
    /// The display name for menus (the server's description), of the default device when the
    /// UID is unknown.
    QString deviceName() const;
    /// Names for a menu of these devices, in their order: a name that two devices share gets the
    /// device's port, or else its UID, in parentheses, so that each entry tells its device.
    static QStringList distinctNames(const QList<VORLAudioDevice>& devices);
    /// Channel count for a direction: 1 input, 0 output.
    unsigned numberOfChannelsForDirection(unsigned direction) const;
    /// True when at least two input channels can be recorded.
    bool canRecordStereo() const;
    /// The device's sample rate in Hz for a direction, 0 when unknown.
    double nominalSampleRate(unsigned direction) const;
    /// True when the server has a device with this UID for the direction.
    bool isPresent(unsigned direction) const;
    /// False when there was no sound server as the device was made.
    bool serverReachable() const { return mServerReachable; }
    /// Why the device cannot deliver input, for messages; empty when it can.
    QString inputProblem() const;
    /// True for the monitor of an output, offered as an input.
    bool isMonitor() const { return mSource && mSource->isMonitor; }

    /// What a recording or playback stream connects to (the default device's name for an unknown
    /// UID); empty when the server knows no such device at all.
    QString sourceName() const;
    QString sinkName() const;
    /// The device's own channel layout (pa_channel_position_t values) for a direction.
    std::vector<int> channelPositions(unsigned direction) const;

    /// Devices are the same when their UIDs are.
    bool operator==(const VORLAudioDevice& other) const { return mUID == other.mUID; }

private:
    const std::optional<PulseDeviceInfo>& resolved(unsigned direction) const;

    QString mUID;
    bool mServerReachable = true;
    std::optional<PulseDeviceInfo> mSource;
    std::optional<PulseDeviceInfo> mSink;
    std::optional<PulseDeviceInfo> mDefaultSource; // only looked up when mSource is missing
    std::optional<PulseDeviceInfo> mDefaultSink;
};

} // namespace spindrel
