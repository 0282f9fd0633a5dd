// A disk that fills up, or fails, under spindrel record: the take stops at once and what was
// written is a tape, also when the library is loaded on the full disk after a crash.
#include "RecordCommandFixture.h"
#include "audio/DecodeCheck.h"
#include "audio/RecordingRecovery.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <gtest/gtest.h>

using namespace spindrel;
using namespace spindrel::test;

namespace {

QString readText(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).trimmed() : QString();
}

QJsonArray tapesIn(const QString& json)
{
    return QJsonDocument::fromJson(json.toUtf8()).array();
}

class RecordDiskFullTest : public RecordCommandFixture
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(QDir().mkpath(mDisk));
        ASSERT_TRUE(QDir().mkpath(mOut));
        playIntoTheInput(QStringLiteral("40 pinknoise vol 0.3"));
    }

    CommandRun run(const QString& program, const QStringList& arguments, int timeoutMs = 120000) const
    {
        QProcessEnvironment scripts = environment();
        scripts.insert(QStringLiteral("SPINDREL"), QStringLiteral(SPINDREL_BINARY));
        scripts.insert(QStringLiteral("D"), mDisk);
        scripts.insert(QStringLiteral("OUT"), mOut);
        CommandRun result = runCommand(program, arguments, scripts, timeoutMs);
        result.out = result.out.trimmed(); // a printed path
        return result;
    }

    /// Runs the shell script in a mount namespace of its own, where $D is a file system of 1 MB
    /// that `freeKB` are left free of. Whatever the script copies into $OUT outlives it.
    CommandRun onSmallDisk(const QString& script, int freeKB, int timeoutMs = 120000) const
    {
        const QString setUp =
            QStringLiteral("mount -t tmpfs -o size=1m none \"$D\" || exit 90; "
                           "head -c $(( (1024 - %1) * 1024 )) /dev/zero > \"$D/.filler\" || exit 91; ")
                .arg(freeKB);
        return run(QStringLiteral("unshare"), words("-Urm sh -c") << setUp + script, timeoutMs);
    }

    QString mDisk = mFolder.filePath(QStringLiteral("Music"));
    QString mOut = mFolder.filePath(QStringLiteral("out"));
};

// The one tape a run left, copied out of its disk: a whole file that every reader takes.
void expectPlayableTape(const QString& path, double minimumSeconds)
{
    const DecodeCheck decoded = decodeAllPackets(path);
    ASSERT_TRUE(decoded.opened) << path.toStdString();
    EXPECT_EQ(decoded.errors, 0);
    EXPECT_GE(decoded.seconds(), minimumSeconds);
}

} // namespace

TEST_F(RecordDiskFullTest, ARecordingThatFillsTheDiskStopsThereAndIsATapeWithItsTags)
{
    // Room for a few seconds of lossless noise and what it takes to finish and tag them.
    const CommandRun shell = onSmallDisk(
        QStringLiteral("$SPINDREL record --seconds 20 --quality HQ --folder \"$D\" > \"$OUT/stdout\" "
                       "2> \"$OUT/stderr\"; echo $? > \"$OUT/status\"; "
                       "ls -A \"$D\" > \"$OUT/listing\"; "
                       "$SPINDREL library --folder \"$D\" --json > \"$OUT/library\" 2>/dev/null; "
                       "cp \"$D\"/*.m4a \"$OUT/\""),
        640);
    ASSERT_EQ(shell.status, 0) << shell.err.toStdString();

    const QString stderrText = readText(mOut + QStringLiteral("/stderr"));
    EXPECT_EQ(readText(mOut + QStringLiteral("/status")), QStringLiteral("1")) << stderrText.toStdString();
    // What the command says, beside the log lines, names the folder and not the file.
    const QStringList said =
        stderrText.split(QLatin1Char('\n')).filter(QRegularExpression(QStringLiteral("^spindrel record: ")));
    EXPECT_EQ(said, QStringList{QStringLiteral(
                        "spindrel record: the recording stopped early: The disk holding “Music” is full.")})
        << stderrText.toStdString();

    // The path printed is the tape, the only one on the disk, and nothing is left in progress.
    const QString printed = readText(mOut + QStringLiteral("/stdout"));
    EXPECT_EQ(QFileInfo(printed).absolutePath(), mDisk);
    const QStringList listing = readText(mOut + QStringLiteral("/listing")).split(QLatin1Char('\n'));
    EXPECT_EQ(listing, (QStringList{QStringLiteral(".filler"), QFileInfo(printed).fileName()}));
    EXPECT_TRUE(printed.endsWith(QStringLiteral(" Untitled.m4a"))) << printed.toStdString();
    const QString tape = mOut + QLatin1Char('/') + QFileInfo(printed).fileName();
    expectPlayableTape(tape, 1.0);
    const double seconds = decodeAllPackets(tape).seconds();
    EXPECT_LT(seconds, 15.0) << "the recording stopped when the disk was full";
    const QStringList atoms = topLevelAtoms(tape);
    EXPECT_FALSE(atoms.contains(QStringLiteral("moof"))) << atoms.join(QLatin1Char(' ')).toStdString();

    // The library on the full disk lists it, tagged, with its length.
    const QJsonArray tapes = tapesIn(readText(mOut + QStringLiteral("/library")));
    ASSERT_EQ(tapes.size(), 1);
    const QJsonObject listed = tapes.first().toObject();
    EXPECT_EQ(listed.value(QStringLiteral("title")).toString(), QStringLiteral("Untitled"));
    EXPECT_EQ(listed.value(QStringLiteral("quality")).toString(), QStringLiteral("HQ"));
    EXPECT_NEAR(listed.value(QStringLiteral("duration")).toDouble(), seconds, 0.1);
}

TEST_F(RecordDiskFullTest, ADiskTooFullToBeginOnIsSaidAtOnceAndGetsNoFile)
{
    const CommandRun shell = onSmallDisk(
        QStringLiteral("$SPINDREL record --seconds 5 --quality HQ --folder \"$D\" > \"$OUT/stdout\" "
                       "2> \"$OUT/stderr\"; echo $? > \"$OUT/status\"; ls -A \"$D\" > \"$OUT/listing\""),
        100);
    ASSERT_EQ(shell.status, 0) << shell.err.toStdString();
    const QString stderrText = readText(mOut + QStringLiteral("/stderr"));
    EXPECT_EQ(readText(mOut + QStringLiteral("/status")), QStringLiteral("1"));
    EXPECT_TRUE(stderrText.split(QLatin1Char('\n'))
                    .contains(QStringLiteral("spindrel record: The disk holding “Music” is full.")))
        << stderrText.toStdString();
    EXPECT_TRUE(readText(mOut + QStringLiteral("/stdout")).isEmpty());
    EXPECT_EQ(readText(mOut + QStringLiteral("/listing")), QStringLiteral(".filler"));
}

TEST_F(RecordDiskFullTest, WriteAndSyncErrorsStopTheRecordingAndKeepWhatIsOnTheDisk)
{
    struct Fault
    {
        const char* injection;
        const char* reason;
        bool ordinary; // whether the kept tape could still be finished as an ordinary file
    };
    // Every write from the fifth on fails, the 'moov' of the finish too; or one sync fails.
    for (const Fault& fault : {Fault{"pwrite64:error=EIO:when=5+", "Input/output error", false},
                               Fault{"fdatasync:error=EIO:when=4", "Input/output error", true}}) {
        SCOPED_TRACE(fault.injection);
        const QString folder =
            mFolder.filePath(QString::fromLatin1(fault.injection).section(QLatin1Char(':'), 0, 0));
        ASSERT_TRUE(QDir().mkpath(folder));
        const CommandRun recorded = run(QStringLiteral("strace"),
                                        words("-f -qq -o /dev/null -e")
                                            << QStringLiteral("inject=") + QLatin1String(fault.injection)
                                            << QStringLiteral(SPINDREL_BINARY)
                                            << words("record --seconds 20 --quality MQ --folder") << folder);
        EXPECT_EQ(recorded.status, 1) << recorded.err.toStdString();
        EXPECT_TRUE(recorded.err.contains(QLatin1String(fault.reason))) << recorded.err.toStdString();
        EXPECT_TRUE(recorded.err.contains(QStringLiteral("“%1”").arg(QFileInfo(folder).fileName())))
            << recorded.err.toStdString();
        ASSERT_TRUE(QFileInfo::exists(recorded.out)) << recorded.out.toStdString();
        EXPECT_EQ(QDir(folder).entryList(QDir::Files | QDir::Hidden),
                  QStringList{QFileInfo(recorded.out).fileName()});
        expectPlayableTape(recorded.out, 0.5);
        const double seconds = decodeAllPackets(recorded.out).seconds();
        EXPECT_LT(seconds, 15.0);
        EXPECT_EQ(topLevelAtoms(recorded.out).contains(QStringLiteral("moof")), !fault.ordinary);

        const CommandRun library =
            run(QStringLiteral(SPINDREL_BINARY), words("library --folder") << folder << words("--json"));
        const QJsonArray tapes = tapesIn(library.out);
        ASSERT_EQ(tapes.size(), 1) << library.out.toStdString();
        EXPECT_NEAR(tapes.first().toObject().value(QStringLiteral("duration")).toDouble(), seconds, 0.1);
    }
}

TEST_F(RecordDiskFullTest, ARecordingKilledOnAFullDiskIsATapeAtTheNextLoadWhereverThatLoadIsKilled)
{
    // A recording killed after a few seconds, kept outside the disk. The library listed meanwhile
    // neither shows nor touches the recording going on.
    const CommandRun crashed = onSmallDisk(
        QStringLiteral("$SPINDREL record --seconds 60 --quality MQ --folder \"$D\" >/dev/null 2>&1 & "
                       "for i in $(seq 150); do [ $(cat \"$D\"/*.recording 2>/dev/null | wc -c) -gt 65536 ] "
                       "&& break; sleep 0.2; done; "
                       "$SPINDREL library --folder \"$D\" --json > \"$OUT/meanwhile\" 2>/dev/null; "
                       "sleep 4; kill -9 $!; wait; cp \"$D\"/*.recording \"$OUT/crashed\""),
        900);
    ASSERT_EQ(crashed.status, 0) << crashed.err.toStdString();
    const QString meanwhile = readText(mOut + QStringLiteral("/meanwhile"));
    EXPECT_TRUE(meanwhile.startsWith(u'[') && tapesIn(meanwhile).isEmpty()) << meanwhile.toStdString();
    const QString leftover = mOut + QStringLiteral("/crashed");
    ASSERT_GT(RecordingRecovery::recoverableLength(leftover), 64 * 1024) << "too little was recorded";

    // Each load runs on a disk with room for the 'moov' but not for a second copy (the room the
    // recorder kept beyond the end of its file is restored, as a copy loses it), and is killed at
    // each of its writes, syncs, truncations and renames in turn; a load after it finishes the job.
    const CommandRun loads = onSmallDisk(
        QStringLiteral("for call in pwrite64 fdatasync ftruncate rename; do n=0; killed=137; "
                       "while [ $killed -eq 137 ] && [ $n -lt 100 ]; do n=$((n + 1)); "
                       "  rm -rf \"$D\"/*; cp \"$OUT/crashed\" \"$D/take.m4a.recording\"; "
                       "  fallocate -n -o $(stat -c %s \"$OUT/crashed\") -l 256k \"$D/take.m4a.recording\"; "
                       "  head -c 1M /dev/zero > \"$D/fill\" 2>/dev/null; truncate -s -32k \"$D/fill\"; "
                       "  strace -f -qq -o /dev/null -e inject=$call:signal=KILL:when=$n "
                       "    $SPINDREL library --folder \"$D\" --json >/dev/null 2>&1; killed=$?; "
                       "  $SPINDREL library --folder \"$D\" --json > \"$OUT/$call-$n.json\" 2>/dev/null; "
                       "  ls -A \"$D\" > \"$OUT/$call-$n.listing\"; cp \"$D\"/*.m4a \"$OUT/$call-$n.m4a\"; "
                       "done; echo \"$call $n $killed\" >> \"$OUT/kills\"; done"),
        1024, 600000);
    ASSERT_EQ(loads.status, 0) << loads.err.toStdString();

    int kills = 0;
    const QStringList rounds = readText(mOut + QStringLiteral("/kills")).split(QLatin1Char('\n'));
    ASSERT_EQ(rounds.size(), 4);
    for (const QString& round : rounds) {
        const QString call = round.section(QLatin1Char(' '), 0, 0);
        const int last = round.section(QLatin1Char(' '), 1, 1).toInt();
        EXPECT_NE(round.section(QLatin1Char(' '), 2, 2), QStringLiteral("137"))
            << call.toStdString() << " was still killed at its 100th call";
        // A load that ran to its end, in the room the recorder kept, also tagged the tape.
        const QJsonArray whole = tapesIn(
            readText(mOut + QLatin1Char('/') +
                     round.section(QLatin1Char(' '), 0, 1).replace(QLatin1Char(' '), QLatin1Char('-')) +
                     QStringLiteral(".json")));
        ASSERT_EQ(whole.size(), 1);
        EXPECT_EQ(whole.first().toObject().value(QStringLiteral("title")).toString(),
                  QStringLiteral("Untitled"));
        kills += last - 1;
        for (int n = 1; n <= last; ++n) {
            SCOPED_TRACE(QStringLiteral("killed at %1 #%2").arg(call).arg(n).toStdString());
            const QString stem = mOut + QLatin1Char('/') + call + QLatin1Char('-') + QString::number(n);
            const QJsonArray tapes = tapesIn(readText(stem + QStringLiteral(".json")));
            ASSERT_EQ(tapes.size(), 1);
            EXPECT_GE(tapes.first().toObject().value(QStringLiteral("duration")).toDouble(), 3.0);
            EXPECT_FALSE(
                readText(stem + QStringLiteral(".listing")).contains(RecordingRecovery::inProgressSuffix()));
            expectPlayableTape(stem + QStringLiteral(".m4a"), 3.0);
            EXPECT_FALSE(topLevelAtoms(stem + QStringLiteral(".m4a")).contains(QStringLiteral("moof")));
        }
    }
    EXPECT_GE(kills, 6);
}
