// A deck told to end while it records (SIGTERM, as at logout) finishes the take first. A killed
// recording is the record command's test: the deck records and loads the library through the same
// code.
#include "DeckTest.h"
#include "audio/DecodeCheck.h"
#include "audio/RecordingRecovery.h"
#include "tapes/Tape.h"

#include <QDir>
#include <QProcess>
#include <QThread>

namespace spindrel::test {

using DeckCrashTest = DeckTest;

TEST_F(DeckCrashTest, ADeckToldToEndWhileRecordingFinishesTheTakeAsATape)
{
    const auto inProgressFiles = [this] {
        return QDir(mLibraryPath)
            .entryList({QLatin1Char('*') + RecordingRecovery::inProgressSuffix()}, QDir::Files);
    };
    feedTone(10.0);
    QProcess helper;
    helper.start(QStringLiteral(DECK_RECORDING_HELPER), {mLibraryPath});
    ASSERT_TRUE(helper.waitForStarted());
    ASSERT_TRUE(helper.waitForReadyRead(20000)) << helper.readAllStandardError().toStdString();
    ASSERT_EQ(helper.readLine().trimmed(), QByteArray("recording"));
    // The clock starts once sound is reaching the file: the server takes a while to deliver.
    ASSERT_TRUE(waitFor([&] {
        const QStringList found = inProgressFiles();
        return !found.isEmpty() &&
               RecordingRecovery::recoverableLength(QDir(mLibraryPath).filePath(found.first())) > 0;
    }));
    EXPECT_TRUE(libraryFiles().isEmpty()) << "no tape is listed before the recording ends";
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
