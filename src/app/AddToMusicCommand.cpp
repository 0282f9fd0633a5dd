// spindrel add-to-music FILE... [--playlist FILE]: lists tapes in the music library's playlist.
#include "app/CommandLine.h"
#include "app/CommandOptions.h"
#include "tapes/MusicLibraryPlaylist.h"
#include "tapes/Tape.h"

namespace spindrel {

namespace {

int runAddToMusic(const QStringList& args)
{
    CommandOptions options(QStringLiteral("add-to-music"), QStringLiteral("FILE... [--playlist FILE]"));
    options.parser().addOption(QCommandLineOption(QStringLiteral("playlist"), QStringLiteral("playlist file"),
                                                  QStringLiteral("file")));
    if (!options.parse(args))
        return 2;
    if (options.positional().isEmpty())
        return options.usageError(QStringLiteral("expected tape files"));
    const MusicLibraryPlaylist playlist(options.isSet(QStringLiteral("playlist"))
                                            ? options.value(QStringLiteral("playlist"))
                                            : MusicLibraryPlaylist::defaultPath());
    int status = 0;
    for (const QString& path : options.positional()) {
        Tape tape(path);
        const auto result = playlist.addFile(path, tape.duration(), tape.title());
        if (std::holds_alternative<Error>(result))
            status = options.fail(std::get<Error>(result).localizedDescription());
        else if (std::get<MusicLibraryPlaylist::Outcome>(result) == MusicLibraryPlaylist::Outcome::Added)
            options.out() << "added " << path << " to " << playlist.path() << "\n";
        else
            options.out() << "already in " << playlist.path() << ": " << path << "\n";
    }
    return status;
}

} // namespace

CommandLine::Command addToMusicCommand()
{
    return {QStringLiteral("add-to-music"), QStringLiteral("FILE... [--playlist FILE]"),
            QStringLiteral("list tapes once in the music library's \"Spindrel\" playlist (an .m3u8 in the "
                           "music folder's Playlists)"),
            runAddToMusic};
}

} // namespace spindrel
