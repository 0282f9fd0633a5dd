#include "app/AudioCommands.h"
#include "audio/RecordingPresets.h"
#include "audio/VORLExtendedAudioFile.h"
#include "audio/VORLExtendedAudioFileRecorder.h"

#include <QCoreApplication>
#include <QTextStream>
#include <QTimer>

namespace spindrel {

namespace {

// How long a requested stop may take to drain before we give up waiting and close the file.
constexpr int kStopGraceMs = 5000;

int recordRaw(const QStringList& args)
{
    QTextStream out(stdout);
    QTextStream err(stderr);
    QString filename;
    QString quality = QStringLiteral("MQ");
    QString deviceUID;
    std::optional<QList<unsigned>> channels;
    double seconds = -1.0;
    bool stereo = true;
    bool lockSampleRate = true;
    for (int i = 0; i < args.size(); ++i) {
        const QString& arg = args.at(i);
        const bool hasValue = i + 1 < args.size();
        bool ok = true;
        if (arg == QLatin1String("--seconds") && hasValue) {
            seconds = args.at(++i).toDouble(&ok);
        } else if (arg == QLatin1String("--quality") && hasValue) {
            quality = args.at(++i);
            ok = RecordingPresets::isQuality(quality);
        } else if (arg == QLatin1String("--mono")) {
            stereo = false;
        } else if (arg == QLatin1String("--device-rate")) {
            lockSampleRate = false;
        } else if (arg == QLatin1String("--device") && hasValue) {
            deviceUID = args.at(++i);
        } else if (arg == QLatin1String("--channels") && hasValue) {
            channels = audiocommands::parseChannels(args.at(++i));
            ok = channels.has_value();
        } else if (!arg.startsWith(QLatin1Char('-')) && filename.isEmpty()) {
            filename = arg;
        } else {
            ok = false;
        }
        if (!ok) {
            err << "spindrel record-raw: bad argument " << arg << "\n";
            return 2;
        }
    }
    if (filename.isEmpty() || !(seconds > 0.0)) {
        err << "spindrel record-raw: needs --seconds N and an output file\n";
        return 2;
    }
    if (!channels)
        channels = stereo ? QList<unsigned>{0, 1} : QList<unsigned>{0};
    if (channels->size() != (stereo ? 2 : 1)) {
        err << "spindrel record-raw: "
            << (stereo ? "stereo records two channels" : "mono records one channel") << "\n";
        return 2;
    }

    const VORLAudioDevice device = audiocommands::deviceForUID(deviceUID, VORLAudioDevice::Input);
    QString error;
    const auto file = RecordingPresets::audioFileForRecordingWithFilename(filename, quality, stereo, device,
                                                                          lockSampleRate, &error);
    if (!file) {
        err << "spindrel record-raw: " << error << "\n";
        return 1;
    }
    VORLExtendedAudioFileRecorder recorder(file, device, *channels);
    int status = 0;
    QObject::connect(&recorder, &VORLExtendedAudioFileRecorder::audioFileRecorderDidFail,
                     [&](VORLExtendedAudioFileRecorder*, const QString& message) {
                         err << "spindrel record-raw: " << message << "\n";
                         status = 1;
                     });
    if (!recorder.startRecording()) {
        file->closeFile();
        return 1;
    }
    out << "Recording " << quality << (stereo ? " stereo" : " mono") << " from " << device.deviceName()
        << " into " << filename << "\n";
    out.flush();

    QTimer graceTimer;
    graceTimer.setSingleShot(true);
    graceTimer.setInterval(kStopGraceMs);
    QObject::connect(&graceTimer, &QTimer::timeout, [&] {
        err << "spindrel record-raw: the recording did not drain in time\n";
        status = 1;
        QCoreApplication::quit();
    });
    const auto stop = [&] {
        if (recorder.isFileRecording()) {
            recorder.stopRecording();
            graceTimer.start();
        }
    };
    QObject::connect(&recorder, &VORLExtendedAudioFileRecorder::audioFileRecorderDidStop,
                     [&] { QCoreApplication::quit(); });
    QTimer::singleShot(int(seconds * 1000.0), stop);
    audiocommands::onInterrupt(stop);
    QCoreApplication::exec();

    file->closeFile();
    if (!file->errorString().isEmpty()) {
        err << "spindrel record-raw: " << file->errorString() << "\n";
        status = 1;
    }
    out << "Recorded " << audiocommands::formatMilliseconds(recorder.currentTime()) << " into " << filename
        << "\n";
    return status;
}

} // namespace

CommandLine::Command recordRawCommand()
{
    return {
        QStringLiteral("record-raw"),
        QStringLiteral("--seconds N OUT.m4a [--quality LQ|MQ|HQ] [--mono] [--device UID] [--channels 2,3] "
                       "[--device-rate]"),
        QStringLiteral("Record an input device into an .m4a file (channels are zero-based)."), recordRaw};
}

} // namespace spindrel
