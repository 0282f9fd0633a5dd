// A deck killed while it records: the next deck finds the recording as a tape. A deck told to end
// (SIGTERM, as at logout) finishes the take first.
#include "DeckTest.h"
#include "audio/DecodeCheck.h"
#include "audio/RecordingRecovery.h"
#include "tapes/Tape.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QThread>

namespace spindrel::test {

namespace {

class DeckCrashTest : public DeckTest
{
protected:
    QStringList inProgressFiles() const
    {
        return QDir(mLibraryPath)
            .entryList({QLatin1Char('*') + RecordingRecovery::inProgressSuffix()}, QDir::Files);
    }

    // Starts the helper deck recording and returns the file it writes, once sound reaches it.
    QString startRecording(QProcess& helper)
    {
        feedTone(10.0);
        helper.start(QStringLiteral(DECK_RECORDING_HELPER), {mLibraryPath});
        EXPECT_TRUE(helper.waitForStarted());
        EXPECT_TRUE(helper.waitForReadyRead(20000)) << helper.readAllStandardError().toStdString();
        EXPECT_EQ(helper.readLine().trimmed(), QByteArray("recording"));
        // The clock starts once sound is reaching the file: the server takes a while to deliver.
        QString inProgress;
        EXPECT_TRUE(waitFor(
            [&] {
                const QStringList found = inProgressFiles();
                inProgress = found.isEmpty() ? QString() : QDir(mLibraryPath).filePath(found.first());
                return !inProgress.isEmpty() && RecordingRecovery::recoverableLength(inProgress) > 0;
            },
            20000));
        EXPECT_TRUE(libraryFiles().isEmpty()) << "no tape is listed before the recording ends";
        return inProgress;
    }
};

} // namespace

TEST_F(DeckCrashTest, ARecordingKilledWithTheDeckIsATapeWhenTheNextDeckLoadsTheLibrary)
{
    QProcess helper;
    const QString inProgress = startRecording(helper);
    ASSERT_FALSE(inProgress.isEmpty());

    QThread::msleep(5000);
    helper.kill(); // SIGKILL
    ASSERT_TRUE(helper.waitForFinished(5000));
    ASSERT_TRUE(QFileInfo::exists(inProgress));

    WindowController& deck = openDeck();
    ASSERT_EQ(deck.library().content().size(), 1);
    const TapePtr tape = deck.library().content().first();
    EXPECT_EQ(tape->title(), QStringLiteral("Untitled"));
    EXPECT_GE(tape->duration(), 4.0);
    EXPECT_EQ(tape->quality(), QStringLiteral("LQ"));
    EXPECT_TRUE(inProgressFiles().isEmpty());

    const DecodeCheck decoded = decodeAllPackets(tape->filename());
    ASSERT_TRUE(decoded.opened);
    EXPECT_EQ(decoded.errors, 0);
    EXPECT_GE(decoded.seconds(), 4.0);
    const QStringList atoms = topLevelAtoms(tape->filename());
    ASSERT_TRUE(atoms.contains(QStringLiteral("mdat")) && atoms.contains(QStringLiteral("moov")));
    EXPECT_LT(atoms.indexOf(QStringLiteral("mdat")), atoms.indexOf(QStringLiteral("moov")));
}

TEST_F(DeckCrashTest, ADeckToldToEndWhileRecordingFinishesTheTakeAsATape)
{
    QProcess helper;
    const QString inProgress = startRecording(helper);
    ASSERT_FALSE(inProgress.isEmpty());
    QThread::msleep(3000);
    helper.terminate(); // SIGTERM, as at logout
    ASSERT_TRUE(helper.waitForFinished(30000));
    EXPECT_EQ(helper.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(helper.exitCode(), 0);

    // A normal tape at once: nothing is left for recovery.
    EXPECT_TRUE(inProgressFiles().isEmpty());
    const QStringList tapes = libraryFiles();
    ASSERT_EQ(tapes.size(), 1);
    const Tape tape(QDir(mLibraryPath).filePath(tapes.first()));
    EXPECT_EQ(tape.title(), QStringLiteral("Untitled"));
    EXPECT_GE(tape.duration(), 2.0);
    const DecodeCheck decoded = decodeAllPackets(tape.filename());
    ASSERT_TRUE(decoded.opened);
    EXPECT_EQ(decoded.errors, 0);
    EXPECT_GE(decoded.seconds(), 2.0);
}

} // namespace spindrel::test
