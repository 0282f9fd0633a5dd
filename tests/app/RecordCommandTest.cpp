// spindrel record, run as a user runs it, recording what plays into the test input.
#include "MP4Tags/MP4Tags.h"
#include "RecordCommandFixture.h"
#include "tapes/Tape.h"

#include <QDate>
#include <QDir>
#include <QFileInfo>
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

} // namespace
