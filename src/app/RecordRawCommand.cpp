// spindrel record-raw: records an input device into an .m4a file, without making a tape of it.
#include "app/AudioCommandSupport.h"
#include "app/CommandLine.h"
#include "app/CommandOptions.h"
#include "audio/RecordingPresets.h"
#include "audio/VORLExtendedAudioFile.h"
#include "audio/VORLExtendedAudioFileRecorder.h"

#include <QCoreApplication>
#include <QTimer>

namespace spindrel {

namespace {

const QString kUsage = QStringLiteral(
    "--seconds N OUT.m4a [--quality LQ|MQ|HQ] [--mono] [--device UID] [--channels 2,3] [--device-rate]");

// How long a requested stop may take to drain before we stop waiting and close the file.
constexpr int kStopGraceMs = 5000;
// How much longer than the recording's length the device may take to deliver it.
constexpr int kLateDeviceMs = 10000;

int runRecordRaw(const QStringList& args)
{
    CommandOptions options(QStringLiteral("record-raw"), kUsage);
    for (const char* name : {"seconds", "quality", "device", "channels"})
        options.parser().addOption(
            QCommandLineOption(QString::fromLatin1(name), QString(), QStringLiteral("value")));
    options.parser().addOption(QCommandLineOption(QStringLiteral("mono")));
    options.parser().addOption(QCommandLineOption(QStringLiteral("device-rate")));
    if (!options.parse(args))
        return 2;
    bool secondsOK = false;
    const double seconds = options.value(QStringLiteral("seconds")).toDouble(&secondsOK);
    if (options.positional().size() != 1 || !secondsOK || !(seconds > 0.0))
        return options.usageError(QStringLiteral("needs --seconds N and one output file"));
    const QString quality = options.isSet(QStringLiteral("quality"))
                                ? options.value(QStringLiteral("quality"))
                                : QStringLiteral("MQ");
    if (!RecordingPresets::isQuality(quality))
        return options.usageError(QStringLiteral("--quality is LQ, MQ or HQ"));
    const bool stereo = !options.isSet(QStringLiteral("mono"));
    QList<unsigned> channels = stereo ? QList<unsigned>{0, 1} : QList<unsigned>{0};
    if (options.isSet(QStringLiteral("channels"))) {
        const auto parsed = audiocommands::parseChannels(options.value(QStringLiteral("channels")));
        if (!parsed || parsed->size() != channels.size())
            return options.usageError(stereo
                                          ? QStringLiteral("stereo records two zero-based channels, as 2,3")
                                          : QStringLiteral("mono records one zero-based channel"));
        channels = *parsed;
    }

    const QString filename = options.positional().first();
    const VORLAudioDevice device =
        audiocommands::deviceForUID(options.value(QStringLiteral("device")), VORLAudioDevice::Input);
    QString error;
    const auto file = RecordingPresets::audioFileForRecordingWithFilename(
        filename, quality, stereo, device, !options.isSet(QStringLiteral("device-rate")), &error);
    if (!file)
        return options.fail(error);
    VORLExtendedAudioFileRecorder recorder(file, device, channels);
    int status = 0;
    QObject::connect(
        &recorder, &VORLExtendedAudioFileRecorder::audioFileRecorderDidFail,
        [&](VORLExtendedAudioFileRecorder*, const QString& message) { status = options.fail(message); });
    if (!recorder.startRecording()) {
        file->closeFile();
        return 1;
    }
    options.out() << "Recording " << quality << (stereo ? " stereo" : " mono") << " from "
                  << device.deviceName() << " into " << filename << "\n";
    options.out().flush();

    QTimer graceTimer;
    graceTimer.setSingleShot(true);
    graceTimer.setInterval(kStopGraceMs);
    QObject::connect(&graceTimer, &QTimer::timeout, [&] {
        status = options.fail(QStringLiteral("the recording did not drain in time"));
        QCoreApplication::quit();
    });
    const auto stop = [&] {
        if (recorder.isFileRecording()) {
            recorder.stopRecording();
            graceTimer.start();
        }
    };
    QObject::connect(&recorder, &VORLExtendedAudioFileRecorder::audioFileRecorderDidStop,
                     [] { QCoreApplication::quit(); });
    // Exactly the seconds asked for, counted in audio; a device that delivers too slowly is
    // stopped a while after the time is up.
    recorder.stopRecordingAtTime(seconds * 1000.0);
    QTimer::singleShot(int(seconds * 1000.0) + kLateDeviceMs, [&] {
        if (recorder.isFileRecording()) {
            status = options.fail(QStringLiteral("the device delivered too little audio in time"));
            stop();
        }
    });
    audiocommands::onInterrupt(stop);
    QCoreApplication::exec();

    file->closeFile();
    if (!file->errorString().isEmpty())
        status = options.fail(file->errorString());
    options.out() << "Recorded " << audiocommands::formatMilliseconds(recorder.currentTime()) << " into "
                  << filename << "\n";
    return status;
}

} // namespace

CommandLine::Command recordRawCommand()
{
    return {QStringLiteral("record-raw"), kUsage,
            QStringLiteral("record an input device into an .m4a file (zero-based channels), without a tape"),
            runRecordRaw};
}

} // namespace spindrel
