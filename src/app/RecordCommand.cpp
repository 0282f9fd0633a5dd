// spindrel record --seconds N [...]: records a tape as the deck does and prints its path.
#include "app/CommandLine.h"
#include "app/CommandOptions.h"
#include "app/LibraryFolder.h"
#include "app/UserDefaults.h"
#include "audio/RecordingPresets.h"
#include "audio/RecordingRecovery.h"
#include "audio/VORLAudioHardware.h"
#include "audio/VORLExtendedAudioFile.h"
#include "tapes/NewRecording.h"
#include "tapes/RecordingDefaults.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QTimer>

namespace spindrel {

namespace {

namespace K = DefaultsKeys;

constexpr qint64 kNoInputGraceMs = 10000;

std::optional<QList<unsigned>> parseChannels(const QString& text)
{
    QList<unsigned> channels;
    for (const QString& part : text.split(QLatin1Char(','))) {
        bool ok = false;
        const uint channel = part.trimmed().toUInt(&ok);
        if (!ok)
            return std::nullopt;
        channels.append(channel);
    }
    if (channels.isEmpty() || channels.size() > 2)
        return std::nullopt;
    return channels;
}

int runRecord(const QStringList& args)
{
    CommandOptions options(QStringLiteral("record"),
                           QStringLiteral("--seconds N [--quality LQ|MQ|HQ] [--mono] [--device UID] "
                                          "[--channels 2,3] [--folder DIR]"));
    for (const char* name : {"seconds", "quality", "device", "channels", "folder"})
        options.parser().addOption(
            QCommandLineOption(QLatin1String(name), QLatin1String(name), QStringLiteral("value")));
    options.parser().addOption(QCommandLineOption(QStringLiteral("mono")));
    if (!options.parse(args))
        return 2;
    if (!options.positional().isEmpty())
        return options.usageError(QStringLiteral("unexpected argument %1").arg(options.positional().first()));

    bool ok = false;
    const double seconds = options.value(QStringLiteral("seconds")).toDouble(&ok);
    if (!ok || seconds <= 0.0)
        return options.usageError(QStringLiteral("--seconds takes a positive number"));

    // The deck's settings, where the command line does not say otherwise.
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    defaults.registerDefaults(RecordingDefaults::preferenceValues());
    defaults.registerDefaults(RecordingDefaults::deckValues());

    const QString quality = options.isSet(QStringLiteral("quality"))
                                ? options.value(QStringLiteral("quality"))
                                : defaults.stringForKey(K::RecordingQuality);
    if (!RecordingPresets::isQuality(quality))
        return options.usageError(QStringLiteral("--quality is one of LQ, MQ and HQ"));
    const bool stereo =
        !options.isSet(QStringLiteral("mono")) &&
        (options.isSet(QStringLiteral("channels")) || defaults.boolForKey(K::RecordingIsStereo));

    QList<unsigned> channels;
    if (options.isSet(QStringLiteral("channels"))) {
        const auto parsed = parseChannels(options.value(QStringLiteral("channels")));
        if (!parsed)
            return options.usageError(QStringLiteral("--channels takes one or two channel numbers: 0,1"));
        channels = *parsed;
    } else {
        for (int channel : defaults.integerArrayForKey(K::RecordDeviceChannels))
            channels.append(unsigned(std::max(channel, 0)));
    }
    if (!stereo && channels.size() > 1)
        channels = channels.mid(0, 1);
    if (stereo && channels.size() == 1)
        channels.append(channels.first() + 1);

    const QString uid = options.isSet(QStringLiteral("device")) ? options.value(QStringLiteral("device"))
                                                                : defaults.stringForKey(K::RecordDeviceUID);
    const VORLAudioDevice device =
        uid.isEmpty() ? VORLAudioHardware::defaultInputDevice() : VORLAudioDevice(uid);
    if (!uid.isEmpty() && !device.isPresent(VORLAudioDevice::Input))
        return options.fail(QStringLiteral("%1: no such recording device (see spindrel devices)").arg(uid));
    if (const QString problem = device.inputProblem(); !problem.isEmpty())
        return options.fail(problem);

    QString folder = options.value(QStringLiteral("folder"));
    if (folder.isEmpty()) {
        folder = LibraryFolder::currentPath();
        LibraryFolder::setUp(folder);
    }
    folder = QFileInfo(folder).absoluteFilePath();
    if (!QFileInfo(folder).isDir())
        return options.fail(QStringLiteral("%1: no such folder").arg(folder));
    // What an earlier recording left when it was killed becomes a tape before anything new starts.
    TapeLibraryArrayController::recoverInterruptedRecordings(folder);

    const TapePtr tape = NewRecording::tapeForRecording(
        folder, NewRecording::newTitle(), defaults.objectForKey(K::TapeAuthor).toString(), quality);
    QString error;
    std::unique_ptr<VORLExtendedAudioFileRecorder> recorder = NewRecording::recorderForTape(
        *tape, quality, stereo, device, channels, defaults.boolForKey(K::SPLockRecordingSampleRate), &error);
    if (!recorder)
        return options.fail(error);
    QString failure;
    QObject::connect(
        recorder.get(), &VORLExtendedAudioFileRecorder::audioFileRecorderDidFail,
        [&failure](VORLExtendedAudioFileRecorder*, const QString& message) { failure = message; });
    if (!recorder->startRecording()) {
        const QString reason = recorder->errorString();
        recorder->recordFile()->closeFile();
        QFile::remove(tape->filename());
        return options.fail(reason);
    }

    QEventLoop loop;
    QObject::connect(recorder.get(), &VORLExtendedAudioFileRecorder::audioFileRecorderDidStop, &loop,
                     &QEventLoop::quit);
    // The sound server starts delivering a moment after the start: count recorded time, not the
    // clock, and give up when nothing comes at all.
    QTimer poll;
    QElapsedTimer waited;
    waited.start();
    const double wantedMs = seconds * 1000.0;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        const bool enough = recorder->currentTime() >= wantedMs;
        const bool silent = waited.elapsed() > qint64(wantedMs) + kNoInputGraceMs;
        if (enough || silent) {
            poll.stop();
            if (!enough)
                failure = QStringLiteral("the input delivered too little sound");
            recorder->stopRecording();
        }
    });
    poll.start(10);
    loop.exec();

    NewRecording::finish(recorder.get(), *tape);
    if (failure.isEmpty()) {
        options.out() << tape->filename() << "\n";
        return 0;
    }
    options.fail(QStringLiteral("the recording stopped early: %1").arg(failure));
    // What was recorded up to the failure is a tape all the same (a full disk keeps it in place).
    if (QFileInfo::exists(tape->filename()))
        options.out() << tape->filename() << "\n";
    else if (QFileInfo::exists(RecordingRecovery::inProgressPath(tape->filename())))
        options.fail(QStringLiteral("what was recorded becomes a tape the next time the library is loaded"));
    else
        options.fail(QStringLiteral("nothing was recorded"));
    return 1;
}

} // namespace

CommandLine::Command recordCommand()
{
    return {QStringLiteral("record"),
            QStringLiteral(
                "--seconds N [--quality LQ|MQ|HQ] [--mono] [--device UID] [--channels 2,3] [--folder DIR]"),
            QStringLiteral("records a tape from the input as the deck does and prints its path"), runRecord,
            CommandLine::Needs::Painting};
}

} // namespace spindrel
