// spindrel record, run as a user runs it, recording what plays into the test input.
#include "MP4Tags/MP4Tags.h"
#include "tapes/Tape.h"
#include "tapes/TapeTestFiles.h"

#include <QDate>
#include <QFileInfo>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace spindrel;
using namespace spindrel::test;

namespace {

class RecordCommandTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        // The command reads the user's settings: give it settings of its own.
        QSettings settings(mFolder.filePath(QStringLiteral("config/Spindrel/Spindrel.conf")),
                           QSettings::IniFormat);
        settings.setValue(QStringLiteral("TapeAuthor"), QStringLiteral("Command Author"));
        settings.sync();
        const QString tone = mFolder.filePath(QStringLiteral("tone.wav"));
        ASSERT_EQ(runProgram(QStringLiteral("sox"),
                             {QStringLiteral("-n"), QStringLiteral("-r"), QStringLiteral("44100"),
                              QStringLiteral("-c"), QStringLiteral("2"), tone, QStringLiteral("synth"),
                              QStringLiteral("8"), QStringLiteral("sine"), QStringLiteral("330")}),
                  0);
        mTone.start(QStringLiteral("paplay"), {QStringLiteral("-d"), QStringLiteral("mic"), tone});
        ASSERT_TRUE(mTone.waitForStarted());
    }

    void TearDown() override
    {
        mTone.kill();
        mTone.waitForFinished();
    }

    int record(const QStringList& arguments, QString* out = nullptr, QString* err = nullptr)
    {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), mFolder.filePath(QStringLiteral("config")));
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(SPINDREL_BINARY), QStringList{QStringLiteral("record")} + arguments);
        EXPECT_TRUE(process.waitForFinished(60000));
        if (out)
            *out = QString::fromUtf8(process.readAllStandardOutput()).trimmed();
        if (err)
            *err = QString::fromUtf8(process.readAllStandardError());
        return process.exitCode();
    }

    QTemporaryDir mFolder;
    QProcess mTone;
};

TEST_F(RecordCommandTest, RecordsAnUntitledTapeOfTheAskedLengthAndPrintsItsPath)
{
    QString path;
    ASSERT_EQ(record({QStringLiteral("--seconds"), QStringLiteral("1.5"), QStringLiteral("--quality"),
                      QStringLiteral("MQ"), QStringLiteral("--folder"), mFolder.path()},
                     &path),
              0);
    EXPECT_EQ(QFileInfo(path).fileName(), QDate::currentDate().toString(QStringLiteral("[yyyy-MM-dd] ")) +
                                              QStringLiteral("Untitled.m4a"));
    EXPECT_EQ(QFileInfo(path).absolutePath(), mFolder.path());

    Tape tape(path);
    tape.setCommitsWhenReleased(false);
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
}

TEST_F(RecordCommandTest, MonoOnAChosenDeviceAndChannel)
{
    QString path;
    ASSERT_EQ(record({QStringLiteral("--seconds"), QStringLiteral("1"), QStringLiteral("--mono"),
                      QStringLiteral("--device"), QStringLiteral("vmic"), QStringLiteral("--channels"),
                      QStringLiteral("1"), QStringLiteral("--folder"), mFolder.path()},
                     &path),
              0);
    Tape tape(path);
    tape.setCommitsWhenReleased(false);
    EXPECT_FALSE(tape.stereo());
    // The low quality's rate; its bit rate is the stereo one, which reads back as another
    // quality for a mono file.
    EXPECT_EQ(tape.samplerate(), 22050u);
    EXPECT_NEAR(tape.duration(), 1.0, 0.15);
}

TEST_F(RecordCommandTest, BadRequestsSayWhatIsWrongAndRecordNothing)
{
    QString err;
    EXPECT_EQ(
        record({QStringLiteral("--seconds"), QStringLiteral("0"), QStringLiteral("--folder"), mFolder.path()},
               nullptr, &err),
        2);
    EXPECT_TRUE(err.contains(QStringLiteral("--seconds"))) << err.toStdString();
    EXPECT_EQ(record({QStringLiteral("--seconds"), QStringLiteral("1"), QStringLiteral("--quality"),
                      QStringLiteral("XQ"), QStringLiteral("--folder"), mFolder.path()}),
              2);
    EXPECT_EQ(record({QStringLiteral("--seconds"), QStringLiteral("1"), QStringLiteral("--device"),
                      QStringLiteral("no-such-device"), QStringLiteral("--folder"), mFolder.path()},
                     nullptr, &err),
              1);
    EXPECT_TRUE(err.contains(QStringLiteral("no-such-device"))) << err.toStdString();
    EXPECT_EQ(record({QStringLiteral("--seconds"), QStringLiteral("1"), QStringLiteral("--folder"),
                      mFolder.filePath(QStringLiteral("missing"))}),
              1);
    EXPECT_TRUE(QDir(mFolder.path()).entryList({QStringLiteral("*.m4a")}).isEmpty());
}

} // namespace
