// A growing title edit of a large tape whose tags come before its audio, killed at each write,
// sync, truncation, copy and rename it makes, and running out of disk for real: afterwards the file
// has the old title or the new one and every packet of its audio.
#include "MP4Tags/MP4Tags.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

struct Result
{
    bool finished = false; // exited by itself with status 0
    QByteArray output;
};

Result run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(300000))
        process.kill();
    return {process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0, process.readAll()};
}

QByteArray packetDigest(const QString& path)
{
    const Result result =
        run(QStringLiteral("ffmpeg"),
            {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"), path,
             QStringLiteral("-map"), QStringLiteral("0"), QStringLiteral("-c"), QStringLiteral("copy"),
             QStringLiteral("-f"), QStringLiteral("md5"), QStringLiteral("-")});
    return result.finished ? result.output.trimmed() : QByteArray();
}

QString titleOf(const QString& path)
{
    const Result result =
        run(QStringLiteral(SPINDREL_BINARY), {QStringLiteral("tags"), path, QStringLiteral("--json")});
    const QByteArray json = result.output.mid(result.output.indexOf('{'));
    return QJsonDocument::fromJson(json).object().value(QLatin1String("title")).toString();
}

Result editTitle(const QString& path, const QString& title, const QStringList& strace = {})
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
            const Result result = run(
                QStringLiteral("ffmpeg"),
                {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-f"), QStringLiteral("lavfi"),
                 QStringLiteral("-i"), QStringLiteral("anoisesrc=d=90:c=pink:r=44100:a=0.3"),
                 QStringLiteral("-ac"), QStringLiteral("2"), QStringLiteral("-c:a"), QStringLiteral("alac"),
                 QStringLiteral("-movflags"), QStringLiteral("+faststart"), made});
            return result.finished ? made : QString();
        }();
        return path;
    }

    void copyTo(const QString& from, const QString& to)
    {
        QFile::remove(to);
        ASSERT_TRUE(QFile::copy(from, to));
    }

    QTemporaryDir mDir;
    QString mPath = mDir.filePath(QStringLiteral("t.m4a"));
};

} // namespace

TEST_F(TagEditCrashTest, AKillAtAnyStepLeavesTheOldOrTheNewTitleAndEveryPacket)
{
    ASSERT_FALSE(tape().isEmpty());
    const QByteArray packets = packetDigest(tape());
    ASSERT_FALSE(packets.isEmpty());
    const QString base = mDir.filePath(QStringLiteral("base.m4a.orig"));
    const QString newTitle = QStringLiteral("A title long enough to make the tags grow, and then some more");

    // First an edit that must write the file anew, then one that fits the room the first left.
    for (const QString& oldTitle : {QString(), QStringLiteral("First title")}) {
        SCOPED_TRACE(oldTitle.isEmpty() ? "written anew" : "in place");
        copyTo(tape(), base);
        if (!oldTitle.isEmpty()) {
            ASSERT_TRUE(editTitle(base, oldTitle).finished);
        }
        int kills = 0;
        for (const char* call :
             {"pwrite64", "fdatasync", "fsync", "ftruncate", "copy_file_range", "rename"}) {
            for (int n = 1; n < 64; ++n) {
                SCOPED_TRACE(
                    QStringLiteral("killed at %1 #%2").arg(QLatin1String(call)).arg(n).toStdString());
                copyTo(base, mPath);
                const Result edit = editTitle(
                    mPath, newTitle,
                    {QStringLiteral("-f"), QStringLiteral("-qq"), QStringLiteral("-o"),
                     QStringLiteral("/dev/null"), QStringLiteral("-e"),
                     QStringLiteral("inject=%1:signal=KILL:when=%2").arg(QLatin1String(call)).arg(n)});
                const QString title = titleOf(mPath);
                EXPECT_EQ(packetDigest(mPath), packets);
                if (edit.finished) {
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
        ASSERT_TRUE(editTitle(mPath, newTitle).finished);
        EXPECT_EQ(titleOf(mPath), newTitle);
        EXPECT_EQ(packetDigest(mPath), packets);
    }
}

TEST_F(TagEditCrashTest, AFullDiskOrAFailingSyncIsReportedAndTheFileKeepsItsAudio)
{
    ASSERT_FALSE(tape().isEmpty());
    const QByteArray packets = packetDigest(tape());
    // A file system with room for the tape and 2 MB more: writing it anew cannot fit.
    const QString script =
        QStringLiteral(
            "set -e; d=%1/small; mkdir -p $d; mount -t tmpfs -o size=%2k tmpfs $d; cp %3 $d/t.m4a; "
            "if %4 tags $d/t.m4a --set-title 'A much longer title than the tape had before'; "
            "then echo edit=done; else echo edit=failed; fi; "
            "cmp -s %3 $d/t.m4a && echo file=same; ls -A $d | tr '\\n' ' '; echo")
            .arg(mDir.path())
            .arg(QFileInfo(tape()).size() / 1024 + 2048)
            .arg(tape(), QStringLiteral(SPINDREL_BINARY));
    const Result full = run(QStringLiteral("unshare"),
                            {QStringLiteral("-Urm"), QStringLiteral("sh"), QStringLiteral("-c"), script});
    EXPECT_TRUE(full.output.contains("edit=failed")) << full.output.toStdString();
    EXPECT_TRUE(full.output.contains("the disk is full")) << full.output.toStdString();
    EXPECT_TRUE(full.output.contains("file=same")) << full.output.toStdString();
    EXPECT_TRUE(full.output.trimmed().endsWith("\nt.m4a")) << full.output.toStdString();

    // Tags last and a cover that outgrows the room left: the copy of the tags at the end of the
    // file cannot be finished, and what it had written goes again.
    const QString last = mDir.filePath(QStringLiteral("last.m4a"));
    const QString cover = mDir.filePath(QStringLiteral("cover.png"));
    ASSERT_TRUE(
        run(QStringLiteral("ffmpeg"), {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"),
                                       tape(), QStringLiteral("-c"), QStringLiteral("copy"), last})
            .finished);
    ASSERT_TRUE(run(QStringLiteral("convert"),
                    {QStringLiteral("-size"), QStringLiteral("400x400"), QStringLiteral("xc:"),
                     QStringLiteral("+noise"), QStringLiteral("Random"), cover})
                    .finished);
    const QString lastScript =
        QStringLiteral(
            "set -e; d=%1/small2; mkdir -p $d; mount -t tmpfs -o size=%2k tmpfs $d; cp %3 $d/t.m4a; "
            "if %4 tags $d/t.m4a --set-cover %5; then echo edit=done; else echo edit=failed; fi; "
            "cmp -s %3 $d/t.m4a && echo file=same; ls -A $d | tr '\\n' ' '; echo")
            .arg(mDir.path())
            .arg(QFileInfo(last).size() / 1024 + 32)
            .arg(last, QStringLiteral(SPINDREL_BINARY), cover);
    const Result lastFull = run(QStringLiteral("unshare"), {QStringLiteral("-Urm"), QStringLiteral("sh"),
                                                            QStringLiteral("-c"), lastScript});
    EXPECT_TRUE(lastFull.output.contains("edit=failed")) << lastFull.output.toStdString();
    EXPECT_TRUE(lastFull.output.contains("file=same")) << lastFull.output.toStdString();

    // An I/O error on a sync in the middle of an edit in place is reported, and the file is whole.
    copyTo(tape(), mPath);
    ASSERT_TRUE(editTitle(mPath, QStringLiteral("First title")).finished);
    const Result failing = editTitle(mPath, QStringLiteral("A longer title than the first one"),
                                     {QStringLiteral("-f"), QStringLiteral("-qq"), QStringLiteral("-o"),
                                      QStringLiteral("/dev/null"), QStringLiteral("-e"),
                                      QStringLiteral("inject=fdatasync:error=EIO:when=2")});
    EXPECT_FALSE(failing.finished);
    EXPECT_TRUE(failing.output.contains("Input/output error")) << failing.output.toStdString();
    EXPECT_EQ(packetDigest(mPath), packets);
    const QString title = titleOf(mPath);
    EXPECT_TRUE(title == QStringLiteral("First title") ||
                title == QStringLiteral("A longer title than the first one"));
}
