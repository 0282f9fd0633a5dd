// spindrel devices: the sound server's recording and playback devices.
#include "app/CommandLine.h"
#include "app/CommandOptions.h"
#include "audio/VORLAudioHardware.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

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

int runDevices(const QStringList& args)
{
    CommandOptions options(QStringLiteral("devices"), QStringLiteral("[--json]"));
    options.parser().addOption(QCommandLineOption(QStringLiteral("json")));
    if (!options.parse(args))
        return 2;
    if (!options.positional().isEmpty())
        return options.usageError(QStringLiteral("takes no arguments"));
    const QList<VORLAudioDevice> inputs = VORLAudioHardware::recordingDevices();
    const QList<VORLAudioDevice> outputs = VORLAudioHardware::playbackDevices();
    switch (VORLAudioHardware::sharedInstance()->serverState()) {
    case VORLAudioHardware::ServerState::Running:
        break;
    case VORLAudioHardware::ServerState::NotRunning:
        return options.fail(QStringLiteral("the sound server is not running"));
    case VORLAudioHardware::ServerState::Unknown:
    case VORLAudioHardware::ServerState::NotResponding:
        return options.fail(QStringLiteral("the sound server does not answer"));
    }
    if (inputs.isEmpty() && outputs.isEmpty())
        return options.fail(QStringLiteral("the sound server has no devices"));
    const QString defaultInput = VORLAudioHardware::defaultInputDevice().deviceUID();
    const QString defaultOutput = VORLAudioHardware::defaultOutputDevice().deviceUID();

    if (options.isSet(QStringLiteral("json"))) {
        QJsonArray inputArray;
        for (const VORLAudioDevice& device : inputs)
            inputArray.append(
                deviceObject(device, VORLAudioDevice::Input, device.deviceUID() == defaultInput));
        QJsonArray outputArray;
        for (const VORLAudioDevice& device : outputs)
            outputArray.append(
                deviceObject(device, VORLAudioDevice::Output, device.deviceUID() == defaultOutput));
        options.out() << QJsonDocument(QJsonObject{{QStringLiteral("inputs"), inputArray},
                                                   {QStringLiteral("outputs"), outputArray}})
                             .toJson(QJsonDocument::Indented);
        return 0;
    }
    const auto print = [&options](const QList<VORLAudioDevice>& devices, unsigned direction,
                                  const QString& defaultUID) {
        for (const VORLAudioDevice& device : devices) {
            options.out() << (device.deviceUID() == defaultUID ? "* " : "  ") << device.deviceUID() << "\t"
                          << device.deviceName() << "\t" << device.numberOfChannelsForDirection(direction)
                          << " channels, " << device.nominalSampleRate(direction) << " Hz\n";
        }
    };
    options.out() << "Inputs (* default):\n";
    print(inputs, VORLAudioDevice::Input, defaultInput);
    options.out() << "Outputs (* default):\n";
    print(outputs, VORLAudioDevice::Output, defaultOutput);
    return 0;
}

} // namespace

CommandLine::Command devicesCommand()
{
    return {
        QStringLiteral("devices"), QStringLiteral("[--json]"),
        QStringLiteral("list the recording and playback devices with UID, name, channels and the defaults"),
        runDevices};
}

} // namespace spindrel
