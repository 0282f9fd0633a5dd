#include "tapes/MusicLibraryPlaylist.h"

#include "TapeTestFiles.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace spindrel;
using namespace spindrel::test;

namespace {

class MusicLibraryPlaylistTest : public ::testing::Test
{
protected:
    QString makeFile(const QString& name)
    {
        return writeFile(mMusic.filePath(QStringLiteral("Spindrel/") + name), "audio");
    }
    QByteArray contents() const { return readFile(mPlaylist.path()); }

    QTemporaryDir mMusic;
    MusicLibraryPlaylist mPlaylist{mMusic.filePath(QStringLiteral("Playlists/Spindrel.m3u8"))};
};

TEST_F(MusicLibraryPlaylistTest, ATapeSentTwiceIsListedOnce)
{
    const QString tape = makeFile(QStringLiteral("[2012-03-01] Morning take.m4a"));
    using Result = std::variant<MusicLibraryPlaylist::Outcome, Error>;
    EXPECT_EQ(mPlaylist.addFile(tape, 62.6, QStringLiteral("Morning take")),
              Result(MusicLibraryPlaylist::Outcome::Added));
    EXPECT_EQ(mPlaylist.addFile(tape, 62.6, QStringLiteral("Morning take")),
              Result(MusicLibraryPlaylist::Outcome::AlreadyListed));

    EXPECT_EQ(contents(), "#EXTM3U\n#EXTINF:63,Morning take\n" + tape.toUtf8() + '\n');
    EXPECT_EQ(mPlaylist.entries(), QStringList{tape});
}

TEST_F(MusicLibraryPlaylistTest, NewTapesAreAppendedAfterWhatTheListAlreadyHeld)
{
    // A list written by hand or by a player: no trailing line break, another entry already in it.
    writeFile(mPlaylist.path(), "#EXTM3U\n#EXTINF:10,Other\n/music/other.flac");

    const QString tape = makeFile(QStringLiteral("Évening, session.m4a"));
    ASSERT_TRUE(std::holds_alternative<MusicLibraryPlaylist::Outcome>(
        mPlaylist.addFile(tape, 0.0, QStringLiteral("Évening,\nsession"))));
    // A title keeps its commas; its line break would end the #EXTINF line, so it becomes a space.
    EXPECT_TRUE(
        contents().startsWith("#EXTM3U\n#EXTINF:10,Other\n/music/other.flac\n#EXTINF:-1,Évening, session\n"));
    EXPECT_EQ(mPlaylist.entries().first(), QStringLiteral("/music/other.flac"));
    EXPECT_EQ(mPlaylist.entries(), (QStringList{QStringLiteral("/music/other.flac"), tape}));

    // A path with a line break cannot be written as one entry: refused, the list left as it was.
    const QByteArray before = contents();
    const QString broken = makeFile(QStringLiteral("two\nlines.m4a"));
    EXPECT_TRUE(std::holds_alternative<Error>(mPlaylist.addFile(broken, 1, QStringLiteral("Broken"))));
    EXPECT_EQ(contents(), before);

    // So is a vanished tape; the rename-into-place leaves no temporaries beside the list.
    const auto vanished =
        mPlaylist.addFile(mMusic.filePath(QStringLiteral("gone.m4a")), 5, QStringLiteral("Gone"));
    ASSERT_TRUE(std::holds_alternative<Error>(vanished));
    EXPECT_TRUE(std::get<Error>(vanished).localizedDescription().contains(QStringLiteral("gone.m4a")));
    EXPECT_EQ(contents(), before);
    EXPECT_EQ(QDir(mMusic.filePath(QStringLiteral("Playlists"))).entryList(QDir::Files | QDir::Hidden),
              QStringList{QStringLiteral("Spindrel.m3u8")});
}

} // namespace
