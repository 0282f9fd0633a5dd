// spindrel record, run as a user runs it, recording what plays into the test input.
#include "MP4Tags/MP4Tags.h"
#include "RecordCommandFixture.h"
#include "audio/DecodeCheck.h"
#include "audio/RecordingRecovery.h"
#include "tapes/Tape.h"
#include "tapes/TapeTestFiles.h"

#include <QDate>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>
#include <QThread>
#include <gtest/gtest.h>

using namespace spindrel;
using namespace spindrel::test;

namespace {

class RecordCommandTest : public RecordCommandFixture
{
protected:
    void SetUp() override { playIntoTheInput(QStringLiteral("8 sine 330")); }

    CommandRun record(const QStringList& arguments)
    {
        return runSpindrel(QStringList{QStringLiteral("record")} + arguments, environment());
    }
};

TEST_F(RecordCommandTest, RecordsAnUntitledTapeOfTheAskedLengthInStereoOrMonoAndPrintsItsPath)
{
    CommandRun made = record(words("--seconds 1.5 --quality MQ --folder") << mFolder.path());
    ASSERT_EQ(made.status, 0) << made.err.toStdString();
    QString path = made.out.trimmed();
    EXPECT_EQ(QFileInfo(path).fileName(), QDate::currentDate().toString(QStringLiteral("[yyyy-MM-dd] ")) +
                                              QStringLiteral("Untitled.m4a"));
    EXPECT_EQ(QFileInfo(path).absolutePath(), mFolder.path());

    Tape tape(path);
    EXPECT_EQ(tape.title(), QStringLiteral("Untitled"));
    EXPECT_EQ(tape.tapeLetter().letter(), QStringLiteral("A"));
    EXPECT_EQ(tape.quality(), QStringLiteral("MQ"));
    EXPECT_TRUE(tape.stereo());
    EXPECT_NEAR(tape.duration(), 1.5, 0.15);
    EXPECT_EQ(tape.date().date(), QDate::currentDate());
    const auto tags = MP4Tags::fromFile(path);
    ASSERT_TRUE(tags);
    EXPECT_EQ(tags->artist().value_or(QString()), QStringLiteral("Command Author"));
    EXPECT_FALSE(tags->coverArt().value_or(QByteArray()).isEmpty());

    // Mono on a chosen device and channel.
    made = record(words("--seconds 1 --mono --device vmic --channels 1 --folder") << mFolder.path());
    ASSERT_EQ(made.status, 0) << made.err.toStdString();
    path = made.out.trimmed();
    Tape mono(path);
    EXPECT_FALSE(mono.stereo());
    EXPECT_EQ(mono.samplerate(), 22050u) << "the low quality's rate";
    EXPECT_NEAR(mono.duration(), 1.0, 0.15);
}

TEST_F(RecordCommandTest, BadRequestsSayWhatIsWrongAndRecordNothing)
{
    CommandRun refused = record(words("--seconds 0 --folder") << mFolder.path());
    EXPECT_EQ(refused.status, 2);
    EXPECT_TRUE(refused.err.contains(QStringLiteral("--seconds"))) << refused.err.toStdString();
    EXPECT_EQ(record(words("--seconds 1 --quality XQ --folder") << mFolder.path()).status, 2);
    refused = record(words("--seconds 1 --device no-such-device --folder") << mFolder.path());
    EXPECT_EQ(refused.status, 1);
    EXPECT_TRUE(refused.err.contains(QStringLiteral("no-such-device"))) << refused.err.toStdString();
    EXPECT_EQ(record(words("--seconds 1 --folder") << mFolder.filePath(QStringLiteral("missing"))).status, 1);
    EXPECT_TRUE(QDir(mFolder.path()).entryList({QStringLiteral("*.m4a")}).isEmpty());
}

TEST_F(RecordCommandTest, ARecordingKilledMidwayIsATapeTheNextTimeTheLibraryIsLoaded)
{
    const QString library = mFolder.filePath(QStringLiteral("library"));
    ASSERT_TRUE(QDir().mkpath(library));
    QProcess recording;
    recording.setProcessEnvironment(environment());
    recording.start(QStringLiteral(SPINDREL_BINARY), words("record --seconds 60 --quality MQ --folder")
                                                         << library);
    ASSERT_TRUE(recording.waitForStarted());
    // The clock starts once sound is reaching the file: the server takes a while to deliver.
    QString inProgress;
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            const QStringList found = QDir(library).entryList(
                {QLatin1Char('*') + RecordingRecovery::inProgressSuffix()}, QDir::Files);
            inProgress = found.isEmpty() ? QString() : QDir(library).filePath(found.first());
            return !inProgress.isEmpty() && RecordingRecovery::recoverableLength(inProgress) > 0;
        },
        20000))
        << "the recording never reached the disk";

    // Listing the library meanwhile neither shows nor touches the recording going on.
    const QStringList listing = words("library --folder") << library << words("--json");
    CommandRun listed = runSpindrel(listing, environment());
    ASSERT_EQ(listed.status, 0);
    EXPECT_TRUE(QJsonDocument::fromJson(listed.out.toUtf8()).array().isEmpty()) << listed.out.toStdString();
    EXPECT_TRUE(QFileInfo::exists(inProgress));

    QThread::msleep(5000);
    recording.kill(); // SIGKILL: no chance to finish anything
    ASSERT_TRUE(recording.waitForFinished(5000));
    ASSERT_TRUE(QFileInfo::exists(inProgress));

    listed = runSpindrel(listing, environment());
    ASSERT_EQ(listed.status, 0);
    const QJsonArray tapes = QJsonDocument::fromJson(listed.out.toUtf8()).array();
    ASSERT_EQ(tapes.size(), 1) << listed.out.toStdString();
    const QJsonObject tape = tapes.first().toObject();
    EXPECT_EQ(tape.value(QStringLiteral("title")).toString(), QStringLiteral("Untitled"));
    EXPECT_EQ(tape.value(QStringLiteral("quality")).toString(), QStringLiteral("MQ"));
    EXPECT_GE(tape.value(QStringLiteral("duration")).toDouble(), 4.0);
    const QString path = tape.value(QStringLiteral("path")).toString();
    EXPECT_FALSE(QFileInfo::exists(inProgress));

    const DecodeCheck decoded = decodeAllPackets(path);
    ASSERT_TRUE(decoded.opened);
    EXPECT_GT(decoded.packets, 0);
    EXPECT_EQ(decoded.errors, 0);
    EXPECT_GE(decoded.seconds(), 4.0);
    // Finished where it was recorded: the fragments became one box of audio, the index and the
    // room for tags follow it.
    const QStringList atoms = topLevelAtoms(path);
    EXPECT_EQ(atoms.mid(0, 2), (QStringList{QStringLiteral("ftyp"), QStringLiteral("mdat")}));
    EXPECT_EQ(atoms.count(QStringLiteral("mdat")), 1) << atoms.join(QLatin1Char(' ')).toStdString();
    EXPECT_EQ(atoms.count(QStringLiteral("moov")), 1) << atoms.join(QLatin1Char(' ')).toStdString();
    EXPECT_FALSE(atoms.contains(QStringLiteral("moof")));
}

} // namespace
