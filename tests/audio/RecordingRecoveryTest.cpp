// Recordings that survive a crash: the in-progress file, its recovery and the normal finish.
#include "audio/RecordingRecovery.h"

#include "AudioTestSupport.h"
#include "DecodeCheck.h"
#include "MP4Tags/MP4TestFiles.h"
#include "RecordingTestFiles.h"
#include "audio/RecordingPresets.h"
#include "audio/VORLExtendedAudioFile.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <random>

using namespace spindrel;
using namespace spindrel::test;

namespace {

using Outcome = RecordingRecovery::Outcome;

// Where each complete fragment ends: the ends of the 'mdat' boxes.
std::vector<int64_t> fragmentEnds(const QByteArray& bytes)
{
    std::vector<int64_t> ends;
    for (const mp4test::BoxAt& box : mp4test::boxesIn(bytes))
        if (box.type == "mdat" && box.offset + box.size <= bytes.size())
            ends.push_back(box.offset + box.size);
    return ends;
}

void expectOrdinaryFile(const QString& path, double minimumSeconds, double maximumSeconds)
{
    const QStringList atoms = topLevelAtoms(path);
    EXPECT_EQ(atoms.value(0), QStringLiteral("ftyp")) << atoms.join(QLatin1Char(' ')).toStdString();
    EXPECT_FALSE(atoms.contains(QStringLiteral("moof"))) << atoms.join(QLatin1Char(' ')).toStdString();
    ASSERT_TRUE(atoms.contains(QStringLiteral("mdat")) && atoms.contains(QStringLiteral("moov")));
    EXPECT_LT(atoms.indexOf(QStringLiteral("mdat")), atoms.indexOf(QStringLiteral("moov")));
    const DecodeCheck decoded = decodeAllPackets(path);
    ASSERT_TRUE(decoded.opened);
    EXPECT_EQ(decoded.errors, 0);
    EXPECT_EQ(movieTimeScale(path), uint32_t(decoded.sampleRate));
    const double seconds = probeAudio(path).durationSeconds;
    EXPECT_GE(seconds, minimumSeconds);
    EXPECT_LE(seconds, maximumSeconds);
}

class RecoveryByQuality : public ::testing::TestWithParam<const char*>
{
protected:
    QTemporaryDir mDir;
};

} // namespace

TEST_P(RecoveryByQuality, aNormalStopLeavesOnlyAnOrdinaryFileAndTheLiveFileIsLeftAlone)
{
    const QString path = mDir.filePath(QStringLiteral("take.m4a"));
    const QString inProgress = RecordingRecovery::inProgressPath(path);
    auto file = openRecording(path, GetParam());
    feedTone(*file, 1.2);
    EXPECT_FALSE(QFileInfo::exists(path)) << "a recording is not a tape before it is finished";
    ASSERT_TRUE(QFileInfo::exists(inProgress));
    EXPECT_GT(RecordingRecovery::recoverableLength(inProgress), 0)
        << "fragments are on the disk as they come";

    // Another process loading the library meanwhile: the file is locked, so nothing happens to it.
    const qint64 sizeBefore = QFileInfo(inProgress).size();
    const auto results = RecordingRecovery::recoverFolder(mDir.path());
    ASSERT_EQ(results.size(), 1);
    EXPECT_EQ(results[0].outcome, Outcome::InUse);
    EXPECT_EQ(QFileInfo(inProgress).size(), sizeBefore);

    feedTone(*file, 0.8);
    file->closeFile();
    EXPECT_TRUE(file->errorString().isEmpty()) << file->errorString().toStdString();
    EXPECT_FALSE(QFileInfo::exists(inProgress));
    EXPECT_FALSE(QFileInfo::exists(path + QStringLiteral(".finishing")));
    expectOrdinaryFile(path, 1.998, 2.002);
}

TEST_P(RecoveryByQuality, aKilledRecordingComesBackAsAnOrdinaryFileLosingLessThanASecond)
{
    const QString leftover = leaveCrashedRecording(mDir, QStringLiteral("killed.m4a"), GetParam(), 3.0);
    const auto results = RecordingRecovery::recoverFolder(mDir.path());
    ASSERT_EQ(results.size(), 1);
    EXPECT_EQ(results[0].outcome, Outcome::Recovered) << results[0].message.toStdString();
    EXPECT_EQ(results[0].recovered, mDir.filePath(QStringLiteral("killed.m4a")));
    EXPECT_FALSE(QFileInfo::exists(leftover));
    EXPECT_GT(results[0].seconds, 2.0);
    EXPECT_TRUE(results[0].startedAt.isValid());
    expectOrdinaryFile(results[0].recovered, 2.0, 3.0);
    // Loading the library again finds nothing more to do.
    EXPECT_TRUE(RecordingRecovery::recoverFolder(mDir.path()).isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Qualities, RecoveryByQuality, ::testing::Values("MQ", "HQ"),
                         [](const auto& testInfo) { return std::string(testInfo.param); });

TEST(RecordingRecovery, aFileCutAtAnyByteKeepsEveryCompleteFragment)
{
    QTemporaryDir dir;
    const QString whole = leaveCrashedRecording(dir, QStringLiteral("whole.m4a"), "LQ", 2.5);
    const QByteArray bytes = mp4test::readFile(whole);
    const std::vector<int64_t> ends = fragmentEnds(bytes);
    ASSERT_GE(ends.size(), 3u);
    EXPECT_EQ(RecordingRecovery::recoverableLength(whole), ends.back());

    std::vector<int64_t> cuts{0, 7, 40, ends.front() - 1};
    for (int64_t end : ends)
        cuts.insert(cuts.end(), {end - 8, end, end + 9});
    std::mt19937 random(20240611);
    for (int i = 0; i < 5; ++i)
        cuts.push_back(std::uniform_int_distribution<int64_t>(0, bytes.size())(random));

    double previousSeconds = 0.0;
    std::sort(cuts.begin(), cuts.end());
    for (int64_t cut : cuts) {
        SCOPED_TRACE("cut at " + std::to_string(cut) + " of " + std::to_string(bytes.size()));
        const QString name = QStringLiteral("cut-%1.m4a").arg(cut);
        const QString path = dir.filePath(name + RecordingRecovery::inProgressSuffix());
        mp4test::writeFile(path, bytes.left(cut));

        int64_t expected = 0;
        for (int64_t end : ends) {
            if (end <= cut)
                expected = end;
        }
        EXPECT_EQ(RecordingRecovery::recoverableLength(path), expected);
        const RecordingRecovery::Result result = RecordingRecovery::recoverFile(path);
        if (expected == 0) {
            EXPECT_EQ(result.outcome, Outcome::Failed);
            EXPECT_FALSE(result.message.isEmpty());
            EXPECT_TRUE(QFileInfo::exists(path)) << "what cannot be recovered is kept";
            continue;
        }
        ASSERT_EQ(result.outcome, Outcome::Recovered) << result.message.toStdString();
        EXPECT_FALSE(QFileInfo::exists(path));
        EXPECT_GE(result.seconds, previousSeconds);
        previousSeconds = result.seconds;
        const DecodeCheck decoded = decodeAllPackets(result.recovered);
        EXPECT_EQ(decoded.errors, 0);
        EXPECT_NEAR(probeAudio(result.recovered).durationSeconds, result.seconds, 0.002);
    }
    EXPECT_GT(previousSeconds, 1.9);
}

TEST(RecordingRecovery, tornTailsNamesInUseAndLeftoverTemporaries)
{
    QTemporaryDir dir;
    const QString leftover = leaveCrashedRecording(dir, QStringLiteral("take.m4a"), "LQ", 1.5);
    const int64_t recoverable = RecordingRecovery::recoverableLength(leftover);
    ASSERT_GT(recoverable, 0);
    // A power cut can leave zeros where the last write should have been.
    mp4test::writeFile(leftover, mp4test::readFile(leftover) + QByteArray(5000, '\0'));
    EXPECT_EQ(RecordingRecovery::recoverableLength(leftover), recoverable);

    // A finished tape of the same name stays as it is; the recovery goes beside it.
    mp4test::writeFile(dir.filePath(QStringLiteral("take.m4a")), "a tape");
    // The temporary of a finish that was cut short is cleared away.
    const QString stale = dir.filePath(QStringLiteral("other.m4a.finishing"));
    mp4test::writeFile(stale, {});
    // Not a recording at all: kept.
    mp4test::writeFile(dir.filePath(QStringLiteral("junk.m4a.recording")), QByteArray(100, 'x'));

    const auto results = RecordingRecovery::recoverFolder(dir.path());
    ASSERT_EQ(results.size(), 2);
    EXPECT_EQ(results[0].source, dir.filePath(QStringLiteral("junk.m4a.recording")));
    EXPECT_EQ(results[0].outcome, Outcome::Failed);
    EXPECT_TRUE(QFileInfo::exists(results[0].source));
    EXPECT_EQ(results[1].outcome, Outcome::Recovered) << results[1].message.toStdString();
    EXPECT_EQ(results[1].recovered, dir.filePath(QStringLiteral("take (recovered).m4a")));
    EXPECT_EQ(QFileInfo(dir.filePath(QStringLiteral("take.m4a"))).size(), 6);
    EXPECT_FALSE(QFileInfo::exists(stale));
    expectOrdinaryFile(results[1].recovered, 0.9, 1.5);
}
