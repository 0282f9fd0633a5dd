// spindrel meter: prints the input levels until Ctrl-C.
#include "app/AudioCommandSupport.h"
#include "app/CommandLine.h"
#include "app/CommandOptions.h"
#include "audio/AudioException.h"
#include "audio/VORLAudioInputMeter.h"

#include <QCoreApplication>
#include <QTimer>

namespace spindrel {

namespace {

int runMeter(const QStringList& args)
{
    CommandOptions options(QStringLiteral("meter"),
                           QStringLiteral("[--device UID] [--channels 0,1] [--interval MS] [--count N]"));
    for (const char* name : {"device", "channels", "interval", "count"})
        options.parser().addOption(
            QCommandLineOption(QString::fromLatin1(name), QString(), QStringLiteral("value")));
    if (!options.parse(args))
        return 2;
    if (!options.positional().isEmpty())
        return options.usageError(QStringLiteral("takes no file"));
    QList<unsigned> channels{0, 1};
    if (options.isSet(QStringLiteral("channels"))) {
        const auto parsed = audiocommands::parseChannels(options.value(QStringLiteral("channels")));
        if (!parsed)
            return options.usageError(
                QStringLiteral("--channels takes one or two zero-based channels, as 2,3"));
        channels = *parsed;
    }
    bool intervalOK = true;
    bool countOK = true;
    const int intervalMs = options.isSet(QStringLiteral("interval"))
                               ? options.value(QStringLiteral("interval")).toInt(&intervalOK)
                               : 200;
    int count =
        options.isSet(QStringLiteral("count")) ? options.value(QStringLiteral("count")).toInt(&countOK) : -1;
    if (!intervalOK || intervalMs <= 0 || !countOK)
        return options.usageError(QStringLiteral("--interval and --count take whole numbers"));

    const VORLAudioDevice device =
        audiocommands::deviceForUID(options.value(QStringLiteral("device")), VORLAudioDevice::Input);
    std::unique_ptr<VORLAudioInputMeter> meter;
    try {
        meter = std::make_unique<VORLAudioInputMeter>(device, channels);
        meter->start();
    } catch (const AudioException& exception) {
        return options.fail(exception.reason());
    }
    options.out() << "Levels of " << device.deviceName() << " (Ctrl-C to stop)\n";
    options.out().flush();
    QTimer timer;
    timer.setInterval(intervalMs);
    int status = 0;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (const QString failure = meter->failure(); !failure.isEmpty()) {
            status = options.fail(failure);
            QCoreApplication::quit();
            return;
        }
        const auto [left, right] = meter->levels();
        options.out() << QStringLiteral("L %1 dB  R %2 dB\n").arg(left, 6, 'f', 1).arg(right, 6, 'f', 1);
        options.out().flush();
        if (count > 0 && --count == 0)
            QCoreApplication::quit();
    });
    timer.start();
    audiocommands::onInterrupt([] { QCoreApplication::quit(); });
    QCoreApplication::exec();
    meter->stop();
    return status;
}

} // namespace

CommandLine::Command meterCommand()
{
    return {QStringLiteral("meter"),
            QStringLiteral("[--device UID] [--channels 0,1] [--interval MS] [--count N]"),
            QStringLiteral("print the input levels in dB until Ctrl-C"), runMeter};
}

} // namespace spindrel
