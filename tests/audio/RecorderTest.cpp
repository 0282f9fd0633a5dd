#include "AudioTestSupport.h"
#include "PulseTestSupport.h"
#include "RecordingTestFiles.h"
#include "audio/RecordingPresets.h"
#include "audio/RecordingRecovery.h"
#include "audio/VORLExtendedAudioFile.h"
#include "audio/VORLExtendedAudioFileRecorder.h"

#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>
#include <numbers>

using namespace spindrel;
using namespace spindrel::test;

namespace {

// Tones fed into the sink "mic", heard on the default source "vmic".
constexpr double kLeftTone = 440.0;
constexpr double kRightTone = 660.0;

class CountingDelegate : public VORLExtendedAudioFileRecorderDelegate
{
public:
    void audioFileRecorderDidStop(VORLExtendedAudioFileRecorder* recorder) override
    {
        ++stops;
        last = recorder;
    }
    int stops = 0;
    VORLExtendedAudioFileRecorder* last = nullptr;
};

// Records `milliseconds` of the default input and waits for the did-stop notice.
bool recordFor(VORLExtendedAudioFileRecorder& recorder, int milliseconds)
{
    QSignalSpy stopped(&recorder, &VORLExtendedAudioFileRecorder::audioFileRecorderDidStop);
    if (!recorder.startRecording())
        return false;
    QTest::qWait(milliseconds);
    recorder.stopRecording();
    EXPECT_FALSE(recorder.isFileRecording());
    return stopped.wait(15000);
}

} // namespace

// The encoding of each preset is the file's own test; here each codec and rate once, through a
// live capture, in stereo and with a chosen channel in mono.
TEST(Recorder, aToneRecordedInEachCodecComesBackFromTheFile)
{
    TonePlayer tone(QStringLiteral("mic"), {kLeftTone, kRightTone});
    ASSERT_TRUE(tone.isRunning());
    ASSERT_TRUE(waitForSignal(QStringLiteral("vmic")));
    const VORLAudioDevice device(QStringLiteral("vmic"));
    for (const auto& [name, stereo] :
         {std::pair{"HQ", true}, std::pair{"MQ", false}, std::pair{"LQ", true}}) {
        SCOPED_TRACE(name);
        const QString quality = QString::fromLatin1(name);
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("tone.m4a"));
        const auto file = RecordingPresets::audioFileForRecordingWithFilename(path, quality, stereo, device);
        ASSERT_TRUE(file);
        // Mono records the second channel, to show the channel choice is honoured.
        VORLExtendedAudioFileRecorder recorder(file, device,
                                               stereo ? QList<unsigned>{0, 1} : QList<unsigned>{1});
        ASSERT_TRUE(recordFor(recorder, 900)) << recorder.errorString().toStdString();
        EXPECT_TRUE(recorder.errorString().isEmpty()) << recorder.errorString().toStdString();
        EXPECT_EQ(recorder.droppedFrames(), 0u);
        file->closeFile();

        const ProbedAudio probed = probeAudio(path);
        ASSERT_TRUE(probed.ok);
        EXPECT_EQ(probed.codec,
                  quality == QLatin1String("HQ") ? QStringLiteral("alac") : QStringLiteral("aac"));
        EXPECT_EQ(probed.sampleRate, int(RecordingPresets::sampleRateForQuality(quality)));
        EXPECT_EQ(probed.channels, stereo ? 2 : 1);
        EXPECT_GT(recorder.currentTime(), 300.0);
        EXPECT_NEAR(probed.durationSeconds * 1000.0, recorder.currentTime(), 50.0);

        const DecodedAudio decoded = decodeAudio(path);
        ASSERT_GT(decoded.frames(), size_t(decoded.sampleRate / 5));
        const size_t margin = size_t(decoded.sampleRate / 20);
        const size_t length = decoded.frames() - 2 * margin;
        const auto first = decoded.channel(0, margin, length);
        EXPECT_GT(medianToneShare(first, decoded.sampleRate, stereo ? kLeftTone : kRightTone), 0.9);
        const auto other = stereo ? decoded.channel(1, margin, length) : first;
        EXPECT_GT(medianToneShare(other, decoded.sampleRate, kRightTone), 0.9);
        EXPECT_LT(medianToneShare(other, decoded.sampleRate, kLeftTone), 0.1);
    }
}

TEST(Recorder, pauseAndResumeMakeOneContinuousFile)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("paused.m4a"));
    TonePlayer tone(QStringLiteral("mic"), {kLeftTone, kLeftTone});
    ASSERT_TRUE(waitForSignal(QStringLiteral("vmic")));
    const VORLAudioDevice device(QStringLiteral("vmic"));
    const auto file =
        RecordingPresets::audioFileForRecordingWithFilename(path, QStringLiteral("HQ"), false, device);
    ASSERT_TRUE(file);
    VORLExtendedAudioFileRecorder recorder(file, device, {0});
    CountingDelegate deck;

    // Pause as the deck does: no delegate, then stop; resume: delegate again, then start.
    ASSERT_TRUE(recordFor(recorder, 500));
    const double beforePause = recorder.currentTime();
    QTest::qWait(400);
    EXPECT_EQ(recorder.currentTime(), beforePause) << "nothing is recorded while paused";
    recorder.setDelegate(&deck);
    ASSERT_TRUE(recordFor(recorder, 500));
    EXPECT_EQ(deck.stops, 1);
    EXPECT_EQ(deck.last, &recorder);
    EXPECT_TRUE(file->isOpen()) << "the file stays open through pause and stop";
    file->closeFile();

    const DecodedAudio decoded = decodeAudio(path);
    EXPECT_NEAR(decoded.frames() * 1000.0 / decoded.sampleRate, recorder.currentTime(), 50.0);
    const auto samples = decoded.channel(0);
    const size_t seam = size_t(beforePause * decoded.sampleRate / 1000.0);
    const size_t window = size_t(decoded.sampleRate / 50);
    ASSERT_GT(samples.size(), seam + 5 * window);
    ASSERT_GT(seam, 5 * window);
    // No gap: every 20 ms around the seam carries the tone; no click: no step steeper than the
    // tone's own. Only around the seam: elsewhere the live tone itself may drop out for a moment
    // on a busy machine.
    for (size_t at = seam - 5 * window; at < seam + 5 * window; at += window) {
        const std::vector<float> part(samples.begin() + long(at), samples.begin() + long(at + window));
        ASSERT_GT(rmsDecibels(part), -12.0) << "quiet at " << at * 1000 / decoded.sampleRate << " ms";
    }
    const double steepest = 0.5 * 2.0 * std::numbers::pi * kLeftTone / decoded.sampleRate;
    double largestStep = 0.0;
    for (size_t i = seam - window; i < seam + window; ++i)
        largestStep = std::max(largestStep, double(std::abs(samples[i] - samples[i - 1])));
    EXPECT_LT(largestStep, steepest * 1.5);
}

TEST(Recorder, aTimeLimitEndsTheRecordingExactlyThere)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("limited.m4a"));
    const VORLAudioDevice device(QStringLiteral("vmic"));
    const auto file =
        RecordingPresets::audioFileForRecordingWithFilename(path, QStringLiteral("HQ"), true, device);
    ASSERT_TRUE(file);
    VORLExtendedAudioFileRecorder recorder(file, device, {0, 1});
    QSignalSpy stopped(&recorder, &VORLExtendedAudioFileRecorder::audioFileRecorderDidStop);
    recorder.stopRecordingAtTime(400.0);
    ASSERT_TRUE(recorder.startRecording());
    ASSERT_TRUE(stopped.wait(8000));
    EXPECT_FALSE(recorder.isFileRecording());
    EXPECT_DOUBLE_EQ(recorder.currentTime(), 400.0);
    file->closeFile();
    EXPECT_EQ(decodeAudio(path).frames(), 17640u);
}

TEST(Recorder, aDeviceThatDisappearsEndsTheRecordingWithAValidFile)
{
    const QString module = pactl({QStringLiteral("load-module"), QStringLiteral("module-null-sink"),
                                  QStringLiteral("sink_name=unplugged")});
    ASSERT_FALSE(module.isEmpty());
    // Until the device list hears of it, the name stands for the default device, which no unload
    // takes away.
    ASSERT_TRUE(QTest::qWaitFor(
        [] { return VORLAudioDevice(QStringLiteral("unplugged.monitor")).isPresent(VORLAudioDevice::Input); },
        10000));
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("unplugged.m4a"));
    const VORLAudioDevice device(QStringLiteral("unplugged.monitor"));
    const auto file =
        RecordingPresets::audioFileForRecordingWithFilename(path, QStringLiteral("MQ"), true, device);
    ASSERT_TRUE(file);
    VORLExtendedAudioFileRecorder recorder(file, device, {0, 1});
    QSignalSpy failed(&recorder, &VORLExtendedAudioFileRecorder::audioFileRecorderDidFail);
    QSignalSpy stopped(&recorder, &VORLExtendedAudioFileRecorder::audioFileRecorderDidStop);
    {
        TonePlayer tone(QStringLiteral("unplugged"), {kLeftTone, kRightTone});
        ASSERT_TRUE(recorder.startRecording());
        QTest::qWait(700);
    }
    pactl({QStringLiteral("unload-module"), module});
    ASSERT_TRUE(stopped.wait(15000));
    EXPECT_EQ(failed.count(), 1);
    EXPECT_FALSE(recorder.isFileRecording());
    EXPECT_TRUE(recorder.errorString().contains(QStringLiteral("gone")))
        << recorder.errorString().toStdString();
    EXPECT_FALSE(file->isOpen()) << "the recorder finished the file itself";
    file->closeFile(); // what the deck does next is harmless

    const ProbedAudio probed = probeAudio(path);
    ASSERT_TRUE(probed.ok);
    EXPECT_EQ(probed.codec, QStringLiteral("aac"));
    EXPECT_NEAR(probed.durationSeconds * 1000.0, recorder.currentTime(), 50.0);
    EXPECT_FALSE(recorder.startRecording()) << "a finished file takes no more";
}

TEST(Recorder, aWriteTheDiskRefusesStopsTheRecordingAtOnceAndWhatIsOnTheDiskIsAPlayableFile)
{
    QTemporaryDir dir;
    const QString folder = dir.filePath(QStringLiteral("Takes"));
    ASSERT_TRUE(QDir().mkpath(folder));
    const QString path = folder + QStringLiteral("/refused.m4a");
    TonePlayer tone(QStringLiteral("mic"), {kLeftTone, kRightTone});
    ASSERT_TRUE(waitForSignal(QStringLiteral("vmic")));
    const VORLAudioDevice device(QStringLiteral("vmic"));
    const auto file =
        RecordingPresets::audioFileForRecordingWithFilename(path, QStringLiteral("HQ"), true, device);
    ASSERT_TRUE(file);
    VORLExtendedAudioFileRecorder recorder(file, device, {0, 1});
    QStringList notices;
    QString message;
    QObject::connect(&recorder, &VORLExtendedAudioFileRecorder::audioFileRecorderDidFail,
                     [&](VORLExtendedAudioFileRecorder*, const QString& text) {
                         notices << QStringLiteral("fail");
                         message = text;
                     });
    QObject::connect(&recorder, &VORLExtendedAudioFileRecorder::audioFileRecorderDidStop,
                     [&] { notices << QStringLiteral("stop"); });
    QSignalSpy stopped(&recorder, &VORLExtendedAudioFileRecorder::audioFileRecorderDidStop);
    {
        // A few seconds of lossless audio fit, then the writes are refused.
        const FileSizeLimit limit(300 * 1024);
        ASSERT_TRUE(recorder.startRecording());
        ASSERT_TRUE(stopped.wait(30000)) << "the recording went on after the failure";
    }
    EXPECT_EQ(notices, (QStringList{QStringLiteral("fail"), QStringLiteral("stop")}));
    EXPECT_TRUE(message.contains(QStringLiteral("“Takes”"))) << message.toStdString();
    EXPECT_TRUE(message.contains(QString::fromLocal8Bit(std::strerror(EFBIG)))) << message.toStdString();
    EXPECT_FALSE(message.contains(QStringLiteral("refused"))) << "no file name: " << message.toStdString();
    EXPECT_EQ(recorder.errorString(), message);
    EXPECT_FALSE(recorder.isFileRecording());
    EXPECT_FALSE(file->isOpen()) << "the recorder finished the file itself";
    EXPECT_FALSE(recorder.startRecording()) << "a finished file takes no more";

    // What was written before the refusal is a whole file, under its own name.
    EXPECT_EQ(QDir(folder).entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("refused.m4a")});
    const ProbedAudio probed = probeAudio(path);
    ASSERT_TRUE(probed.ok);
    EXPECT_EQ(probed.codec, QStringLiteral("alac"));
    EXPECT_GT(probed.durationSeconds, 0.5);
    EXPECT_LT(probed.durationSeconds * 1000.0, recorder.currentTime());
    const DecodeCheck decoded = decodeAllPackets(path);
    EXPECT_EQ(decoded.errors, 0);
    EXPECT_NEAR(decoded.seconds(), probed.durationSeconds, 0.1);
    const DecodedAudio audio = decodeAudio(path);
    const size_t margin = size_t(audio.sampleRate / 20);
    ASSERT_GT(audio.frames(), 4 * margin);
    EXPECT_GT(
        medianToneShare(audio.channel(0, margin, audio.frames() - 2 * margin), audio.sampleRate, kLeftTone),
        0.9);
}
