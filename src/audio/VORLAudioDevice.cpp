#include "audio/VORLAudioDevice.h"

#include "audio/PulseServerWatch.h"
#include "audio/VORLAudioHardware.h"

namespace spindrel {

VORLAudioDevice::VORLAudioDevice(const QString& deviceUID) : mUID(deviceUID)
{
    const std::shared_ptr<const PulseDeviceSnapshot> devices = VORLAudioHardware::devices();
    if (!devices) {
        mServerReachable = false; // a device without properties
        return;
    }
    auto copy = [](const PulseDeviceInfo* info) {
        return info ? std::optional<PulseDeviceInfo>(*info) : std::nullopt;
    };
    mSource = copy(devices->source(deviceUID));
    mSink = copy(devices->sink(deviceUID));
    if (!mSource)
        mDefaultSource = copy(devices->source(devices->server.defaultSourceName));
    if (!mSink)
        mDefaultSink = copy(devices->sink(devices->server.defaultSinkName));
}

VORLAudioDevice::VORLAudioDevice(std::optional<PulseDeviceInfo> source, std::optional<PulseDeviceInfo> sink)
    : mUID(source ? source->name
           : sink ? sink->name
                  : QString()),
      mSource(std::move(source)), mSink(std::move(sink))
{
}

const std::optional<PulseDeviceInfo>& VORLAudioDevice::resolved(unsigned direction) const
{
    if (direction == Input)
        return mSource ? mSource : mDefaultSource;
    return mSink ? mSink : mDefaultSink;
}

QString VORLAudioDevice::deviceName() const
{
    if (mSource)
        return mSource->description;
    if (mSink)
        return mSink->description;
    if (mDefaultSource)
        return mDefaultSource->description;
    return mDefaultSink ? mDefaultSink->description : QString();
}

QStringList VORLAudioDevice::distinctNames(const QList<VORLAudioDevice>& devices)
{
    const auto countOf = [](const QStringList& list, const QString& name) { return list.count(name); };
    QStringList names;
    for (const VORLAudioDevice& device : devices)
        names << device.deviceName();
    QStringList withPorts = names;
    for (qsizetype i = 0; i < devices.size(); ++i) {
        const auto& info = devices[i].mSource ? devices[i].mSource : devices[i].mSink;
        if (countOf(names, names[i]) > 1 && info && !info->portDescription.isEmpty())
            withPorts[i] = QStringLiteral("%1 (%2)").arg(names[i], info->portDescription);
    }
    // Two of a kind (two of the same microphone) share their port too; their UIDs differ.
    QStringList result = withPorts;
    for (qsizetype i = 0; i < devices.size(); ++i) {
        if (countOf(withPorts, withPorts[i]) > 1)
            result[i] = QStringLiteral("%1 (%2)").arg(names[i], devices[i].deviceUID());
    }
    return result;
}

unsigned VORLAudioDevice::numberOfChannelsForDirection(unsigned direction) const
{
    // A UID known in the other direction has no channels in this one.
    if (direction == Input && !mSource && mSink)
        return 0;
    if (direction != Input && !mSink && mSource)
        return 0;
    const auto& info = resolved(direction);
    return info ? info->channels : 0;
}

bool VORLAudioDevice::canRecordStereo() const
{
    return numberOfChannelsForDirection(Input) >= 2;
}

double VORLAudioDevice::nominalSampleRate(unsigned direction) const
{
    const auto& info = resolved(direction);
    return info ? double(info->sampleRate) : 0.0;
}

QString VORLAudioDevice::inputProblem() const
{
    if (!mServerReachable)
        return QStringLiteral("Could not connect to the sound server");
    if (!resolved(Input))
        return QStringLiteral("There is no input device to record from");
    return {};
}

bool VORLAudioDevice::isPresent(unsigned direction) const
{
    return direction == Input ? mSource.has_value() : mSink.has_value();
}

QString VORLAudioDevice::sourceName() const
{
    const auto& info = resolved(Input);
    return info ? info->name : QString();
}

QString VORLAudioDevice::sinkName() const
{
    const auto& info = resolved(Output);
    return info ? info->name : QString();
}

std::vector<int> VORLAudioDevice::channelPositions(unsigned direction) const
{
    const auto& info = resolved(direction);
    return info ? info->channelPositions : std::vector<int>();
}

} // namespace spindrel
