// A growing title edit of a large tape whose tags come before its audio, killed at each write,
// sync, truncation, copy and rename it makes, and running out of disk for real: afterwards the file
// has the old title or the new one and every packet of its audio.
#include "CommandRun.h"
#include "MP4Tags/MP4Tags.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace spindrel::test;

namespace {

// Editing 14 MB under strace takes its time on a busy machine.
CommandRun run(const QString& program, const QStringList& arguments)
{
    return runCommand(program, arguments, QProcessEnvironment::systemEnvironment(), 300000);
}

QString packetDigest(const QString& path)
{
    const CommandRun result =
        run(QStringLiteral("ffmpeg"), words("-v error -i") << path << words("-map 0 -c copy -f md5 -"));
    return result.status == 0 ? result.out.trimmed() : QString();
}

QString titleOf(const QString& path)
{
    const QString output =
        run(QStringLiteral(SPINDREL_BINARY), {QStringLiteral("tags"), path, QStringLiteral("--json")}).out;
    return QJsonDocument::fromJson(output.mid(output.indexOf(u'{')).toUtf8())
        .object()
        .value(QLatin1String("title"))
        .toString();
}

CommandRun editTitle(const QString& path, const QString& title, const QStringList& strace = {})
{
    QStringList arguments{QStringLiteral(SPINDREL_BINARY), QStringLiteral("tags"), path,
                          QStringLiteral("--set-title"), title};
    if (strace.isEmpty())
        return run(arguments.takeFirst(), arguments);
    return run(QStringLiteral("strace"), strace + arguments);
}

class TagEditCrashTest : public ::testing::Test
{
protected:
    // Ninety seconds of noise in Apple Lossless, tags first: about 14 MB that an edit must move.
    static QString tape()
    {
        static QTemporaryDir folder;
        static const QString path = [] {
            const QString made = folder.filePath(QStringLiteral("tape.m4a"));
            const CommandRun result = run(QStringLiteral("ffmpeg"),
                                          words("-v error -f lavfi -i anoisesrc=d=90:c=pink:r=44100:a=0.3 "
                                                "-ac 2 -c:a alac -movflags +faststart")
                                              << made);
            return result.status == 0 ? made : QString();
        }();
        return path;
    }

    void copyTo(const QString& from, const QString& to)
    {
        QFile::remove(to);
        ASSERT_TRUE(QFile::copy(from, to));
    }

    // Edits a copy of `file` with these options of the tags command on a file system of `roomKB` in
    // a mount namespace of its own; prints whether the edit failed, whether the copy is unchanged
    // and what the file system holds afterwards.
    CommandRun editOnSmallDisk(const QString& file, qint64 roomKB, const QString& options) const
    {
        const QString script =
            QStringLiteral(
                "set -e; d=%1/small; mkdir -p $d; mount -t tmpfs -o size=%2k tmpfs $d; "
                "cp %3 $d/t.m4a; if %4 tags $d/t.m4a %5; then echo edit=done; else echo "
                "edit=failed; fi; cmp -s %3 $d/t.m4a && echo file=same; ls -A $d | tr '\\n' ' '; echo")
                .arg(mDir.path())
                .arg(roomKB)
                .arg(file, QStringLiteral(SPINDREL_BINARY), options);
        return run(QStringLiteral("unshare"), words("-Urm sh -c") << script);
    }

    QTemporaryDir mDir;
    QString mPath = mDir.filePath(QStringLiteral("t.m4a"));
};

} // namespace

TEST_F(TagEditCrashTest, AKillAtAnyStepLeavesTheOldOrTheNewTitleAndEveryPacket)
{
    ASSERT_FALSE(tape().isEmpty());
    const QString packets = packetDigest(tape());
    ASSERT_FALSE(packets.isEmpty());
    const QString base = mDir.filePath(QStringLiteral("base.m4a.orig"));
    const QString newTitle = QStringLiteral("A title long enough to make the tags grow, and then some more");

    // First an edit that must write the file anew, then one that fits the room the first left.
    for (const QString& oldTitle : {QString(), QStringLiteral("First title")}) {
        SCOPED_TRACE(oldTitle.isEmpty() ? "written anew" : "in place");
        copyTo(tape(), base);
        if (!oldTitle.isEmpty()) {
            ASSERT_EQ(editTitle(base, oldTitle).status, 0);
        }
        int kills = 0;
        for (const char* call :
             {"pwrite64", "fdatasync", "fsync", "ftruncate", "copy_file_range", "rename"}) {
            for (int n = 1; n < 64; ++n) {
                SCOPED_TRACE(
                    QStringLiteral("killed at %1 #%2").arg(QLatin1String(call)).arg(n).toStdString());
                copyTo(base, mPath);
                const CommandRun edit = editTitle(
                    mPath, newTitle,
                    words("-f -qq -o /dev/null -e")
                        << QStringLiteral("inject=%1:signal=KILL:when=%2").arg(QLatin1String(call)).arg(n));
                const QString title = titleOf(mPath);
                EXPECT_EQ(packetDigest(mPath), packets);
                if (edit.status == 0) {
                    EXPECT_EQ(title, newTitle); // the edit made fewer such calls than n
                    break;
                }
                ++kills;
                EXPECT_TRUE(title == oldTitle || title == newTitle) << title.toStdString();
                // What a killed rewrite left behind goes, and only that.
                spindrel::MP4Tags::removeStaleEditFiles(mDir.path());
                EXPECT_EQ(QDir(mDir.path()).entryList(QDir::Files | QDir::Hidden).size(), 2);
            }
        }
        EXPECT_GE(kills, 6);
        copyTo(base, mPath);
        ASSERT_EQ(editTitle(mPath, newTitle).status, 0);
        EXPECT_EQ(titleOf(mPath), newTitle);
        EXPECT_EQ(packetDigest(mPath), packets);
    }
}

TEST_F(TagEditCrashTest, AFullDiskOrAFailingSyncIsReportedAndTheFileKeepsItsAudio)
{
    ASSERT_FALSE(tape().isEmpty());
    const QString packets = packetDigest(tape());
    // A file system with room for the tape and 2 MB more: writing it anew cannot fit.
    const CommandRun full =
        editOnSmallDisk(tape(), QFileInfo(tape()).size() / 1024 + 2048,
                        QStringLiteral("--set-title 'A much longer title than the tape had before'"));
    EXPECT_TRUE(full.out.contains(QStringLiteral("edit=failed"))) << full.out.toStdString();
    EXPECT_TRUE(full.err.contains(QStringLiteral("the disk is full"))) << full.err.toStdString();
    EXPECT_TRUE(full.out.contains(QStringLiteral("file=same"))) << full.out.toStdString();
    EXPECT_TRUE(full.out.trimmed().endsWith(QStringLiteral("\nt.m4a"))) << full.out.toStdString();

    // Tags last and a cover that outgrows the room left: the copy of the tags at the end of the
    // file cannot be finished, and what it had written goes again.
    const QString last = mDir.filePath(QStringLiteral("last.m4a"));
    const QString cover = mDir.filePath(QStringLiteral("cover.png"));
    ASSERT_EQ(
        run(QStringLiteral("ffmpeg"), words("-v error -i") << tape() << words("-c copy") << last).status, 0);
    ASSERT_EQ(run(QStringLiteral("convert"), words("-size 400x400 xc: +noise Random") << cover).status, 0);
    const CommandRun lastFull =
        editOnSmallDisk(last, QFileInfo(last).size() / 1024 + 32, QStringLiteral("--set-cover ") + cover);
    EXPECT_TRUE(lastFull.out.contains(QStringLiteral("edit=failed"))) << lastFull.out.toStdString();
    EXPECT_TRUE(lastFull.out.contains(QStringLiteral("file=same"))) << lastFull.out.toStdString();

    // An I/O error on a sync in the middle of an edit in place is reported, and the file is whole.
    copyTo(tape(), mPath);
    ASSERT_EQ(editTitle(mPath, QStringLiteral("First title")).status, 0);
    const CommandRun failing = editTitle(mPath, QStringLiteral("A longer title than the first one"),
                                         words("-f -qq -o /dev/null -e inject=fdatasync:error=EIO:when=2"));
    EXPECT_NE(failing.status, 0);
    EXPECT_TRUE(failing.err.contains(QStringLiteral("Input/output error"))) << failing.err.toStdString();
    EXPECT_EQ(packetDigest(mPath), packets);
    const QString title = titleOf(mPath);
    EXPECT_TRUE(title == QStringLiteral("First title") ||
                title == QStringLiteral("A longer title than the first one"));
}
