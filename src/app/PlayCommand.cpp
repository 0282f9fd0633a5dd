// spindrel play FILE: plays an audio file at a tape speed until its end or Ctrl-C.
#include "app/AudioCommandSupport.h"
#include "app/CommandLine.h"
#include "app/CommandOptions.h"
#include "audio/AudioException.h"
#include "audio/VORLExtendedAudioFilePlayer.h"

#include <QCoreApplication>

namespace spindrel {

namespace {

int runPlay(const QStringList& args)
{
    CommandOptions options(QStringLiteral("play"),
                           QStringLiteral("FILE [--speed S] [--from MS] [--volume DB] [--device UID]"));
    for (const char* name : {"speed", "from", "volume", "device"})
        options.parser().addOption(
            QCommandLineOption(QString::fromLatin1(name), QString(), QStringLiteral("value")));
    if (!options.parse(args))
        return 2;
    if (options.positional().size() != 1)
        return options.usageError(QStringLiteral("expected one file"));
    bool speedOK = true;
    bool fromOK = true;
    bool volumeOK = true;
    const double speed = options.isSet(QStringLiteral("speed"))
                             ? options.value(QStringLiteral("speed")).toDouble(&speedOK)
                             : 1.0;
    const double volume = options.isSet(QStringLiteral("volume"))
                              ? options.value(QStringLiteral("volume")).toDouble(&volumeOK)
                              : 0.0;
    const double from = options.isSet(QStringLiteral("from"))
                            ? options.value(QStringLiteral("from")).toDouble(&fromOK)
                            : -1.0;
    if (!speedOK || !fromOK || !volumeOK)
        return options.usageError(QStringLiteral("--speed, --from and --volume take numbers"));

    const QString filename = options.positional().first();
    std::unique_ptr<VORLExtendedAudioFilePlayer> player;
    try {
        player = std::make_unique<VORLExtendedAudioFilePlayer>(
            filename,
            audiocommands::deviceForUID(options.value(QStringLiteral("device")), VORLAudioDevice::Output));
    } catch (const AudioException& exception) {
        return options.fail(exception.reason());
    }
    player->setPlaybackVolume(volume);
    player->setPlaybackSpeed(speed);
    // Backwards without a starting point starts from the end, like rewinding a wound tape.
    player->setCurrentTime(from >= 0.0 ? from : speed < 0.0 ? player->maxTime() : 0.0);
    options.out() << "Playing " << filename << " from "
                  << audiocommands::formatMilliseconds(player->currentTime()) << " of "
                  << audiocommands::formatMilliseconds(player->maxTime()) << " at speed " << speed << "\n";
    options.out().flush();
    if (!player->startFilePlaying())
        return options.fail(player->errorString());

    int status = 0;
    QObject::connect(player.get(), &VORLExtendedAudioFilePlayer::audioFilePlayerDidReachEndOfFile, [&] {
        options.out() << "Reached the " << (player->playbackSpeed() < 0.0 ? "start" : "end") << " at "
                      << audiocommands::formatMilliseconds(player->currentTime()) << "\n";
        QCoreApplication::quit();
    });
    QObject::connect(player.get(), &VORLExtendedAudioFilePlayer::audioFilePlayerDidFail, [&] {
        status = options.fail(player->errorString());
        QCoreApplication::quit();
    });
    audiocommands::onInterrupt([&] {
        player->stopFilePlaying();
        options.out() << "Stopped at " << audiocommands::formatMilliseconds(player->currentTime()) << "\n";
        status = 130;
        QCoreApplication::quit();
    });
    QCoreApplication::exec();
    return status;
}

} // namespace

CommandLine::Command playCommand()
{
    return {QStringLiteral("play"),
            QStringLiteral("FILE [--speed S] [--from MS] [--volume DB] [--device UID]"),
            QStringLiteral(
                "play an audio file at a tape speed (negative plays backwards) until its end or Ctrl-C"),
            runPlay};
}

} // namespace spindrel
