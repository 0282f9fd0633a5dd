#include "PulseTestSupport.h"

#include "AudioTestSupport.h"
#include "audio/AudioException.h"
#include "audio/VORLAudioInputMeter.h"

#include <QElapsedTimer>
#include <QTest>
#include <cmath>
#include <gtest/gtest.h>
#include <iostream>
#include <numbers>
#include <pulse/simple.h>

namespace spindrel::test {

TonePlayer::TonePlayer(const QString& sink, std::vector<double> frequencies, double amplitude,
                       const QString& channelMap)
{
    mThread = std::thread([this, sink = sink.toUtf8(), frequencies = std::move(frequencies), amplitude,
                           mapText = channelMap.toUtf8()] {
        pa_sample_spec format{PA_SAMPLE_FLOAT32NE, 44100, uint8_t(frequencies.size())};
        pa_buffer_attr attributes{uint32_t(-1), uint32_t(pa_usec_to_bytes(40000, &format)), uint32_t(-1),
                                  uint32_t(-1), uint32_t(-1)};
        pa_channel_map map;
        const bool mapped = !mapText.isEmpty() && pa_channel_map_parse(&map, mapText.constData());
        int error = 0;
        pa_simple* stream = pa_simple_new(nullptr, "spindrel tests", PA_STREAM_PLAYBACK, sink.constData(),
                                          "tone", &format, mapped ? &map : nullptr, &attributes, &error);
        if (!stream)
            return;
        mRunning.store(true);
        size_t frame = 0;
        while (!mStop.load()) {
            const auto samples = sineFrames(frequencies, 44100.0, 441, amplitude, frame);
            frame += 441;
            if (pa_simple_write(stream, samples.data(), samples.size() * sizeof(float), &error) < 0)
                break;
        }
        pa_simple_free(stream);
        mRunning.store(false);
    });
    // Let the stream come up before the caller relies on it.
    for (int i = 0; i < 200 && !mRunning.load(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

TonePlayer::~TonePlayer()
{
    mStop.store(true);
    mThread.join();
}

MonitorCapture::MonitorCapture(const QString& source, int channels, int sampleRate)
    : mChannels(channels), mRate(sampleRate)
{
    mThread = std::thread([this, source = source.toUtf8()] {
        pa_sample_spec format{PA_SAMPLE_FLOAT32NE, uint32_t(mRate), uint8_t(mChannels)};
        pa_buffer_attr attributes{uint32_t(-1), uint32_t(-1), uint32_t(-1), uint32_t(-1),
                                  uint32_t(pa_usec_to_bytes(10000, &format))};
        int error = 0;
        pa_simple* stream = pa_simple_new(nullptr, "spindrel tests", PA_STREAM_RECORD, source.constData(),
                                          "monitor", &format, nullptr, &attributes, &error);
        if (!stream)
            return;
        mRunning.store(true);
        std::vector<float> block(size_t(mRate / 100) * mChannels);
        while (!mStop.load()) {
            if (pa_simple_read(stream, block.data(), block.size() * sizeof(float), &error) < 0)
                break;
            mSamples.insert(mSamples.end(), block.begin(), block.end());
            ++mBlocks;
        }
        pa_simple_free(stream);
        mRunning.store(false);
    });
    for (int i = 0; i < 400 && (!mRunning.load() || mBlocks.load() < 5); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

MonitorCapture::~MonitorCapture()
{
    stop();
}

std::vector<float> MonitorCapture::stop()
{
    mStop.store(true);
    if (mThread.joinable())
        mThread.join();
    return mSamples;
}

QStringList uids(const QList<VORLAudioDevice>& devices)
{
    QStringList result;
    for (const VORLAudioDevice& device : devices)
        result << device.deviceUID();
    return result;
}

QString pactl(const QStringList& arguments)
{
    return QString::fromUtf8(runProgram(QStringLiteral("pactl"), arguments)).trimmed();
}

void reportMeasurement(const char* what, qint64 ms)
{
    std::cout << "[ measured ] " << what << ": " << ms << " ms" << std::endl;
    ::testing::Test::RecordProperty(what, int(ms));
}

bool waitForSignal(const QString& source, double decibels, int timeoutMs)
{
    try {
        VORLAudioInputMeter meter(VORLAudioDevice(source), {0, 1});
        meter.start();
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < timeoutMs) {
            QTest::qWait(50);
            const auto [left, right] = meter.levels();
            if (std::max(left, right) > decibels)
                return true;
        }
    } catch (const AudioException&) {
    }
    return false;
}

} // namespace spindrel::test
