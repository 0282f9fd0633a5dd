#include "RecordingTestFiles.h"

#include "AudioTestSupport.h"
#include "audio/RecordingPresets.h"
#include "audio/RecordingRecovery.h"
#include "audio/VORLExtendedAudioFile.h"

#include <QFile>
#include <csignal>
#include <gtest/gtest.h>

namespace spindrel::test {

std::unique_ptr<VORLExtendedAudioFile> openRecording(const QString& path, const char* quality)
{
    const QString name = QString::fromLatin1(quality);
    return std::make_unique<VORLExtendedAudioFile>(path,
                                                   RecordingPresets::streamDescriptionForQuality(name, true),
                                                   int(RecordingPresets::bitrateForQuality(name)), 44100.0);
}

void feedTone(VORLExtendedAudioFile& file, double seconds)
{
    const size_t total = size_t(seconds * 44100.0);
    for (size_t done = 0; done < total;) {
        const size_t piece = std::min<size_t>(total - done, 882);
        const auto samples = sineFrames({440.0, 660.0}, 44100.0, piece, 0.5, done);
        ASSERT_TRUE(file.writeFrames(samples.data(), piece)) << file.errorString().toStdString();
        done += piece;
    }
}

QString leaveCrashedRecording(const QTemporaryDir& dir, const QString& name, const char* quality,
                              double seconds)
{
    const QString scratch = dir.filePath(QStringLiteral("scratch-") + name);
    auto file = openRecording(scratch, quality);
    feedTone(*file, seconds);
    const QString leftover = dir.filePath(name + RecordingRecovery::inProgressSuffix());
    EXPECT_TRUE(QFile::copy(RecordingRecovery::inProgressPath(scratch), leftover));
    file->closeFile();
    QFile::remove(scratch);
    return leftover;
}

FileSizeLimit::FileSizeLimit(rlim_t bytes)
{
    ::getrlimit(RLIMIT_FSIZE, &mOld);
    // The refusal comes as an error, not as the signal that would end the process.
    mOldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit = mOld;
    limit.rlim_cur = bytes;
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
}

FileSizeLimit::~FileSizeLimit()
{
    ::setrlimit(RLIMIT_FSIZE, &mOld);
    std::signal(SIGXFSZ, mOldHandler);
}

} // namespace spindrel::test
