// spindrel record, run as a user runs it, recording what plays into the test input.
#include "MP4Tags/MP4Tags.h"
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
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
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
        return run(QStringList{QStringLiteral("record")} + arguments, out, err);
    }

    void startProgram(QProcess& process, const QStringList& arguments)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), mFolder.filePath(QStringLiteral("config")));
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(SPINDREL_BINARY), arguments);
    }

    int run(const QStringList& arguments, QString* out = nullptr, QString* err = nullptr)
    {
        QProcess process;
        startProgram(process, arguments);
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

TEST_F(RecordCommandTest, RecordsAnUntitledTapeOfTheAskedLengthInStereoOrMonoAndPrintsItsPath)
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
    ASSERT_EQ(record({QStringLiteral("--seconds"), QStringLiteral("1"), QStringLiteral("--mono"),
                      QStringLiteral("--device"), QStringLiteral("vmic"), QStringLiteral("--channels"),
                      QStringLiteral("1"), QStringLiteral("--folder"), mFolder.path()},
                     &path),
              0);
    Tape mono(path);
    EXPECT_FALSE(mono.stereo());
    EXPECT_EQ(mono.samplerate(), 22050u) << "the low quality's rate";
    EXPECT_NEAR(mono.duration(), 1.0, 0.15);
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

TEST_F(RecordCommandTest, ARecordingKilledMidwayIsATapeTheNextTimeTheLibraryIsLoaded)
{
    const QString library = mFolder.filePath(QStringLiteral("library"));
    ASSERT_TRUE(QDir().mkpath(library));
    QProcess recording;
    startProgram(recording,
                 {QStringLiteral("record"), QStringLiteral("--seconds"), QStringLiteral("60"),
                  QStringLiteral("--quality"), QStringLiteral("MQ"), QStringLiteral("--folder"), library});
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
    QString listed;
    ASSERT_EQ(run({QStringLiteral("library"), QStringLiteral("--folder"), library, QStringLiteral("--json")},
                  &listed),
              0);
    EXPECT_TRUE(QJsonDocument::fromJson(listed.toUtf8()).array().isEmpty()) << listed.toStdString();
    EXPECT_TRUE(QFileInfo::exists(inProgress));

    QThread::msleep(5000);
    recording.kill(); // SIGKILL: no chance to finish anything
    ASSERT_TRUE(recording.waitForFinished(5000));
    ASSERT_TRUE(QFileInfo::exists(inProgress));

    ASSERT_EQ(run({QStringLiteral("library"), QStringLiteral("--folder"), library, QStringLiteral("--json")},
                  &listed),
              0);
    const QJsonArray tapes = QJsonDocument::fromJson(listed.toUtf8()).array();
    ASSERT_EQ(tapes.size(), 1) << listed.toStdString();
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
    const QStringList atoms = topLevelAtoms(path);
    ASSERT_TRUE(atoms.contains(QStringLiteral("mdat")) && atoms.contains(QStringLiteral("moov")));
    EXPECT_LT(atoms.indexOf(QStringLiteral("mdat")), atoms.indexOf(QStringLiteral("moov")));
    EXPECT_FALSE(atoms.contains(QStringLiteral("moof")));
}

} // namespace
