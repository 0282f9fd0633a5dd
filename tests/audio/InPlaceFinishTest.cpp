// A recording finished where it lies: what a full disk leaves becomes the same tape the remux would
// make, without the room for a second copy; without room even for that, it stays fragmented.
#include "AudioTestSupport.h"
#include "DecodeCheck.h"
#include "MP4Tags/MP4Tags.h"
#include "MP4Tags/MP4TestFiles.h"
#include "RecordingTestFiles.h"
#include "audio/MP4InPlaceFinisher.h"
#include "audio/MP4Remuxer.h"
#include "audio/RecordingRecovery.h"
#include "audio/VORLExtendedAudioFile.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtEndian>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace spindrel;
using namespace spindrel::test;

namespace {

using Outcome = MP4InPlaceFinisher::Outcome;

ino_t inodeOf(const QString& path)
{
    struct stat status;
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_ino : 0;
}

MP4InPlaceFinisher::Result finishInPlace(const QString& path, const QString& destination)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CLOEXEC);
    EXPECT_GE(fd, 0);
    const auto result = MP4InPlaceFinisher::finish(fd, path, destination, MP4Remuxer::kPrimingByCodec);
    ::close(fd);
    return result;
}

// Cuts the file in the middle of its last fragment's audio, as a write the disk refused leaves it:
// the fragment's header is whole, its audio is not.
void tearLastFragment(const QString& path)
{
    qint64 lastMdat = -1;
    for (const mp4test::BoxAt& box : mp4test::boxesIn(mp4test::readFile(path)))
        lastMdat = box.type == "mdat" ? box.offset : lastMdat;
    ASSERT_GT(lastMdat, 0);
    ASSERT_TRUE(QFile::resize(path, lastMdat + 8 + 100));
}

// The ordinary file the remux makes of a copy of the recording, and its length in seconds.
std::pair<QString, double> remuxedCopy(const QTemporaryDir& dir, const QString& recording)
{
    const QString copy =
        dir.filePath(QStringLiteral("reference.m4a") + RecordingRecovery::inProgressSuffix());
    const QString reference = dir.filePath(QStringLiteral("reference.m4a"));
    EXPECT_TRUE(QFile::copy(recording, copy));
    QString error;
    double seconds = 0.0;
    EXPECT_TRUE(MP4Remuxer::writeOrdinaryFile(copy, RecordingRecovery::recoverableLength(copy), reference,
                                              MP4Remuxer::kPrimingByCodec, &error, &seconds))
        << error.toStdString();
    return {reference, seconds};
}

class InPlaceByQuality : public ::testing::TestWithParam<const char*>
{
protected:
    QTemporaryDir mDir;
};

} // namespace

TEST_P(InPlaceByQuality, aCrashedRecordingBecomesTheTapeTheRemuxMakesWithoutASecondCopy)
{
    const QString leftover = leaveCrashedRecording(mDir, QStringLiteral("take.m4a"), GetParam(), 3.2);
    tearLastFragment(leftover);
    const auto [reference, referenceSeconds] = remuxedCopy(mDir, leftover);
    const QString tape = mDir.filePath(QStringLiteral("take.m4a"));
    const ino_t inode = inodeOf(leftover);

    const auto result = finishInPlace(leftover, tape);
    ASSERT_EQ(result.outcome, Outcome::Ordinary) << result.message.toStdString();
    EXPECT_FALSE(QFileInfo::exists(leftover));
    EXPECT_EQ(inodeOf(tape), inode) << "finished where it lies, not copied";
    EXPECT_NEAR(result.seconds, referenceSeconds, 1e-6);
    EXPECT_GT(result.seconds, 2.0);

    // No fragment is left for a player to stumble over, and a reader finds the one 'moov' after
    // one box of audio, however long the take.
    EXPECT_EQ(topLevelAtoms(tape), (QStringList{QStringLiteral("ftyp"), QStringLiteral("mdat"),
                                                QStringLiteral("moov"), QStringLiteral("free")}));

    // Every packet where the remux has it, behind the same edit: the same samples come out.
    const DecodedAudio expected = decodeAudio(reference);
    ASSERT_GT(expected.frames(), 0u);
    const DecodedAudio decoded = decodeAudio(tape);
    EXPECT_EQ(decoded.frames(), expected.frames());
    EXPECT_TRUE(decoded.samples == expected.samples);
    const DecodeCheck packets = decodeAllPackets(tape);
    EXPECT_EQ(packets.errors, 0);
    EXPECT_EQ(packets.packets, decodeAllPackets(reference).packets);
    EXPECT_NEAR(probeAudio(tape).durationSeconds, probeAudio(reference).durationSeconds, 0.001);
    EXPECT_EQ(movieTimeScale(tape), movieTimeScale(reference));

    // An ordinary file: its tags can be written, and its audio stays as it was.
    auto tags = MP4Tags::fromFile(tape);
    ASSERT_TRUE(tags);
    ASSERT_TRUE(tags->setTitle(QStringLiteral("Kept"))) << tags->errorString().toStdString();
    tags.reset();
    EXPECT_EQ(MP4Tags::fromFile(tape)->title().value_or(QString()), QStringLiteral("Kept"));
    EXPECT_TRUE(decodeAudio(tape).samples == expected.samples);
}

INSTANTIATE_TEST_SUITE_P(Qualities, InPlaceByQuality, ::testing::Values("LQ", "MQ", "HQ"),
                         [](const auto& testInfo) { return std::string(testInfo.param); });

TEST(InPlaceFinish, withoutRoomForTheMoovTheCompleteFragmentsAreKeptAsTheyLie)
{
    QTemporaryDir dir;
    const QString leftover = leaveCrashedRecording(dir, QStringLiteral("take.m4a"), "MQ", 2.6);
    const int64_t complete = RecordingRecovery::recoverableLength(leftover);
    ASSERT_GT(complete, 0);
    // A fragment the disk took only half of.
    mp4test::writeFile(leftover, mp4test::readFile(leftover) + QByteArray(3000, 'x'));
    const auto [reference, referenceSeconds] = remuxedCopy(dir, leftover);

    const QString tape = dir.filePath(QStringLiteral("take.m4a"));
    MP4InPlaceFinisher::Result result;
    {
        // Hardly a byte beyond the complete fragments: the 'moov' is refused as a full disk
        // refuses it.
        const FileSizeLimit full(rlim_t(complete + 16));
        result = finishInPlace(leftover, tape);
    }
    ASSERT_EQ(result.outcome, Outcome::Fragmented) << result.message.toStdString();
    EXPECT_FALSE(result.message.isEmpty());
    EXPECT_FALSE(QFileInfo::exists(leftover));
    EXPECT_EQ(QFileInfo(tape).size(), complete) << "the torn fragment is cut off";
    EXPECT_EQ(RecordingRecovery::recoverableLength(tape), complete);

    // Players read the fragments: the audio is all there, with the priming the fragments carry.
    const DecodeCheck packets = decodeAllPackets(tape);
    ASSERT_TRUE(packets.opened);
    EXPECT_EQ(packets.errors, 0);
    EXPECT_EQ(packets.packets, decodeAllPackets(reference).packets);
    EXPECT_NEAR(result.seconds, referenceSeconds, 1e-6);
    EXPECT_NEAR(probeAudio(tape).durationSeconds, referenceSeconds, 0.05);
}

TEST(InPlaceFinish, aFinishInterruptedOnEitherSideOfItsLastHeaderIsCompletedAndOtherFilesAreLeftAlone)
{
    QTemporaryDir dir;
    const QString leftover = leaveCrashedRecording(dir, QStringLiteral("take.m4a"), "LQ", 2.0);
    const QString tape = dir.filePath(QStringLiteral("take.m4a"));
    const QString interrupted = RecordingRecovery::inProgressPath(tape);
    mp4test::BoxAt fragmentedMoov;
    for (const mp4test::BoxAt& box : mp4test::boxesIn(mp4test::readFile(leftover)))
        fragmentedMoov = box.type == "moov" && fragmentedMoov.type.isEmpty() ? box : fragmentedMoov;
    ASSERT_EQ(fragmentedMoov.type, QByteArray("moov"));

    const auto finished = finishInPlace(leftover, tape);
    ASSERT_EQ(finished.outcome, Outcome::Ordinary);
    const DecodedAudio expected = decodeAudio(tape);

    const auto recoverInterrupted = [&](const char* when) {
        SCOPED_TRACE(when);
        ASSERT_TRUE(QFile::rename(tape, interrupted));
        const auto results = RecordingRecovery::recoverFolder(dir.path());
        ASSERT_EQ(results.size(), 1);
        EXPECT_EQ(results[0].outcome, RecordingRecovery::Outcome::Recovered)
            << results[0].message.toStdString();
        EXPECT_EQ(results[0].recovered, tape);
        EXPECT_DOUBLE_EQ(results[0].seconds, finished.seconds);
        EXPECT_EQ(topLevelAtoms(tape).count(QStringLiteral("moov")), 1);
        EXPECT_FALSE(topLevelAtoms(tape).contains(QStringLiteral("moof")));
        EXPECT_TRUE(decodeAudio(tape).samples == expected.samples);
    };
    // After the header that joins the fragments into one 'mdat', only the name is missing.
    {
        ASSERT_TRUE(QFile::rename(tape, interrupted));
        const int fd = ::open(QFile::encodeName(interrupted).constData(), O_RDWR | O_CLOEXEC);
        ASSERT_GE(fd, 0);
        EXPECT_TRUE(MP4InPlaceFinisher::isInterruptedFinish(fd));
        ::close(fd);
        ASSERT_EQ(RecordingRecovery::recoverableLength(interrupted), 0) << "no longer a fragmented file";
        ASSERT_TRUE(QFile::rename(interrupted, tape));
    }
    recoverInterrupted("after the last header");
    // Before it, the fragmented 'moov' and its fragments are still there, the new 'moov' after them.
    {
        QFile file(tape);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        ASSERT_TRUE(file.seek(fragmentedMoov.offset));
        QByteArray header(4, Qt::Uninitialized);
        qToBigEndian(uint32_t(fragmentedMoov.size), header.data());
        file.write(header + "moov");
    }
    ASSERT_GE(topLevelAtoms(tape).count(QStringLiteral("moof")), 3);
    recoverInterrupted("before the last header");

    // Neither an ordinary tape nor a recording that is still fragmented counts as interrupted.
    const QString fragmented = leaveCrashedRecording(dir, QStringLiteral("other.m4a"), "LQ", 1.0);
    for (const QString& path : {tape, fragmented}) {
        const int handle = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
        ASSERT_GE(handle, 0);
        EXPECT_EQ(MP4InPlaceFinisher::isInterruptedFinish(handle), path == tape ? true : false)
            << path.toStdString();
        ::close(handle);
    }
}
