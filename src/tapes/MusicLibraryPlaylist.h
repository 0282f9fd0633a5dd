#pragma once

#include "foundation/Error.h"

#include <QString>
#include <QStringList>
#include <variant>

namespace spindrel {

/// A playlist of the user's music library kept as an extended M3U file in UTF-8 (".m3u8") with
/// absolute paths, the form Rhythmbox, Elisa, Strawberry and MPD all read.
class MusicLibraryPlaylist
{
public:
    /// The application's own playlist: "Spindrel.m3u8" in the music folder's Playlists folder.
    static QString defaultPath();
    /// The playlist's name, which is also its file's base name.
    static QString playlistName();

    explicit MusicLibraryPlaylist(QString path = defaultPath());

    const QString& path() const { return mPath; }

    enum class Outcome { Added, AlreadyListed };

    /// Adds a file once: a path already listed is left alone. The playlist is written to a
    /// temporary beside it and renamed, so a failed write leaves the old list whole.
    std::variant<Outcome, Error> addFile(const QString& filePath, double durationSeconds,
                                         const QString& title) const;

    /// The absolute paths the playlist lists, in order (comments and blank lines skipped).
    QStringList entries() const;

private:
    QString mPath;
};

} // namespace spindrel
