#include "app/AudioCommands.h"
#include "audio/AudioException.h"
#include "audio/VORLExtendedAudioFilePlayer.h"

#include <QCoreApplication>
#include <QTextStream>

namespace spindrel {

namespace {

int play(const QStringList& args)
{
    QTextStream out(stdout);
    QTextStream err(stderr);
    QString filename;
    QString deviceUID;
    double speed = 1.0;
    double volume = 0.0;
    std::optional<double> from;
    for (int i = 0; i < args.size(); ++i) {
        const QString& arg = args.at(i);
        const bool hasValue = i + 1 < args.size();
        bool ok = true;
        if (arg == QLatin1String("--speed") && hasValue)
            speed = args.at(++i).toDouble(&ok);
        else if (arg == QLatin1String("--from") && hasValue)
            from = args.at(++i).toDouble(&ok);
        else if (arg == QLatin1String("--volume") && hasValue)
            volume = args.at(++i).toDouble(&ok);
        else if (arg == QLatin1String("--device") && hasValue)
            deviceUID = args.at(++i);
        else if (!arg.startsWith(QLatin1Char('-')) && filename.isEmpty())
            filename = arg;
        else
            ok = false;
        if (!ok) {
            err << "spindrel play: bad argument " << arg << "\n";
            return 2;
        }
    }
    if (filename.isEmpty()) {
        err << "spindrel play: which file?\n";
        return 2;
    }

    std::unique_ptr<VORLExtendedAudioFilePlayer> player;
    try {
        player = std::make_unique<VORLExtendedAudioFilePlayer>(
            filename, audiocommands::deviceForUID(deviceUID, VORLAudioDevice::Output));
    } catch (const AudioException& exception) {
        err << "spindrel play: " << exception.reason() << "\n";
        return 1;
    }
    player->setPlaybackVolume(volume);
    player->setPlaybackSpeed(speed);
    // Backwards without a starting point starts from the end, like rewinding a wound tape.
    player->setCurrentTime(from.value_or(speed < 0.0 ? player->maxTime() : 0.0));
    out << "Playing " << filename << " from " << audiocommands::formatMilliseconds(player->currentTime())
        << " of " << audiocommands::formatMilliseconds(player->maxTime()) << " at speed " << speed << "\n";
    out.flush();
    if (!player->startFilePlaying()) {
        err << "spindrel play: " << player->errorString() << "\n";
        return 1;
    }
    int status = 0;
    QObject::connect(player.get(), &VORLExtendedAudioFilePlayer::audioFilePlayerDidReachEndOfFile, [&] {
        out << "Reached the " << (player->playbackSpeed() < 0.0 ? "start" : "end") << " at "
            << audiocommands::formatMilliseconds(player->currentTime()) << "\n";
        QCoreApplication::quit();
    });
    audiocommands::onInterrupt([&] {
        player->stopFilePlaying();
        out << "Stopped at " << audiocommands::formatMilliseconds(player->currentTime()) << "\n";
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
                "Play an audio file at a tape speed (negative plays backwards) until its end or Ctrl-C."),
            play};
}

} // namespace spindrel
