#include "app/AudioCommands.h"
#include "audio/VORLAudioHardware.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

namespace spindrel {

namespace {

QJsonObject deviceObject(const VORLAudioDevice& device, unsigned direction, bool isDefault)
{
    return QJsonObject{{QStringLiteral("uid"), device.deviceUID()},
                       {QStringLiteral("name"), device.deviceName()},
                       {QStringLiteral("channels"), int(device.numberOfChannelsForDirection(direction))},
                       {QStringLiteral("sampleRate"), device.nominalSampleRate(direction)},
                       {QStringLiteral("default"), isDefault},
                       {QStringLiteral("monitor"), device.isMonitor()}};
}

int listDevices(const QStringList& args)
{
    QTextStream out(stdout);
    QTextStream err(stderr);
    const bool json = args.contains(QStringLiteral("--json"));
    for (const QString& arg : args) {
        if (arg != QLatin1String("--json")) {
            err << "spindrel devices: unknown argument " << arg << "\n";
            return 2;
        }
    }
    const QList<VORLAudioDevice> inputs = VORLAudioHardware::recordingDevices();
    const QList<VORLAudioDevice> outputs = VORLAudioHardware::playbackDevices();
    if (inputs.isEmpty() && outputs.isEmpty()) {
        err << "spindrel devices: no sound server, or it has no devices\n";
        return 1;
    }
    const QString defaultInput = VORLAudioHardware::defaultInputDevice().deviceUID();
    const QString defaultOutput = VORLAudioHardware::defaultOutputDevice().deviceUID();
    if (json) {
        QJsonArray inputArray;
        for (const VORLAudioDevice& device : inputs)
            inputArray.append(
                deviceObject(device, VORLAudioDevice::Input, device.deviceUID() == defaultInput));
        QJsonArray outputArray;
        for (const VORLAudioDevice& device : outputs)
            outputArray.append(
                deviceObject(device, VORLAudioDevice::Output, device.deviceUID() == defaultOutput));
        out << QJsonDocument(QJsonObject{{QStringLiteral("inputs"), inputArray},
                                         {QStringLiteral("outputs"), outputArray}})
                   .toJson(QJsonDocument::Indented);
        return 0;
    }
    const auto print = [&out](const QList<VORLAudioDevice>& devices, unsigned direction,
                              const QString& defaultUID) {
        for (const VORLAudioDevice& device : devices) {
            out << (device.deviceUID() == defaultUID ? "* " : "  ") << device.deviceUID() << "\t"
                << device.deviceName() << "\t" << device.numberOfChannelsForDirection(direction)
                << " channels, " << device.nominalSampleRate(direction) << " Hz\n";
        }
    };
    out << "Inputs (* default):\n";
    print(inputs, VORLAudioDevice::Input, defaultInput);
    out << "Outputs (* default):\n";
    print(outputs, VORLAudioDevice::Output, defaultOutput);
    return 0;
}

} // namespace

CommandLine::Command devicesCommand()
{
    return {QStringLiteral("devices"), QStringLiteral("[--json]"),
            QStringLiteral("List the recording and playback devices with their UIDs and channels."),
            listDevices};
}

} // namespace spindrel
