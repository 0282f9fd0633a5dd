#include "app/AudioCommands.h"
#include "audio/AudioException.h"
#include "audio/VORLAudioInputMeter.h"

#include <QCoreApplication>
#include <QTextStream>
#include <QTimer>

namespace spindrel {

namespace {

int meter(const QStringList& args)
{
    QTextStream out(stdout);
    QTextStream err(stderr);
    QString deviceUID;
    QList<unsigned> channels{0, 1};
    int intervalMs = 200;
    int count = -1;
    for (int i = 0; i < args.size(); ++i) {
        const QString& arg = args.at(i);
        const bool hasValue = i + 1 < args.size();
        bool ok = true;
        if (arg == QLatin1String("--device") && hasValue) {
            deviceUID = args.at(++i);
        } else if (arg == QLatin1String("--channels") && hasValue) {
            const auto parsed = audiocommands::parseChannels(args.at(++i));
            ok = parsed.has_value();
            if (ok)
                channels = *parsed;
        } else if (arg == QLatin1String("--interval") && hasValue) {
            intervalMs = args.at(++i).toInt(&ok);
            ok = ok && intervalMs > 0;
        } else if (arg == QLatin1String("--count") && hasValue) {
            count = args.at(++i).toInt(&ok);
        } else {
            ok = false;
        }
        if (!ok) {
            err << "spindrel meter: bad argument " << arg << "\n";
            return 2;
        }
    }

    std::unique_ptr<VORLAudioInputMeter> meter;
    const VORLAudioDevice device = audiocommands::deviceForUID(deviceUID, VORLAudioDevice::Input);
    try {
        meter = std::make_unique<VORLAudioInputMeter>(device, channels);
        meter->start();
    } catch (const AudioException& exception) {
        err << "spindrel meter: " << exception.reason() << "\n";
        return 1;
    }
    out << "Levels of " << device.deviceName() << " (Ctrl-C to stop)\n";
    out.flush();
    QTimer timer;
    timer.setInterval(intervalMs);
    QObject::connect(&timer, &QTimer::timeout, [&] {
        const auto [left, right] = meter->levels();
        out << QStringLiteral("L %1 dB  R %2 dB\n").arg(left, 6, 'f', 1).arg(right, 6, 'f', 1);
        out.flush();
        if (count > 0 && --count == 0)
            QCoreApplication::quit();
    });
    timer.start();
    audiocommands::onInterrupt([] { QCoreApplication::quit(); });
    QCoreApplication::exec();
    meter->stop();
    return 0;
}

} // namespace

CommandLine::Command meterCommand()
{
    return {QStringLiteral("meter"),
            QStringLiteral("[--device UID] [--channels 0,1] [--interval MS] [--count N]"),
            QStringLiteral("Print the input levels in dB until Ctrl-C."), meter};
}

} // namespace spindrel
