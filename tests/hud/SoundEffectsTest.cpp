#include "hud/SoundEffects.h"

#include <QFile>
#include <gtest/gtest.h>
#include <optional>

using namespace spindrel;

namespace {

struct WaveFormat
{
    quint32 channels = 0, sampleRate = 0, bitsPerSample = 0, dataBytes = 0;
};

// Walks the RIFF chunks of a WAV file for its format and the size of its samples.
std::optional<WaveFormat> readWave(const QByteArray& bytes)
{
    const auto number = [&](qsizetype at, int size) {
        quint32 value = 0;
        for (int i = size - 1; i >= 0; --i)
            value = (value << 8) | static_cast<quint8>(bytes.at(at + i));
        return value;
    };
    if (!bytes.startsWith("RIFF") || bytes.mid(8, 4) != "WAVE")
        return std::nullopt;
    WaveFormat format;
    for (qsizetype at = 12; at + 8 <= bytes.size();) {
        const quint32 size = number(at + 4, 4);
        if (bytes.mid(at, 4) == "fmt " && size >= 16 && at + 24 <= bytes.size())
            format = {number(at + 10, 2), number(at + 12, 4), number(at + 22, 2), format.dataBytes};
        else if (bytes.mid(at, 4) == "data")
            format.dataBytes = size;
        at += 8 + size + (size & 1);
    }
    if (format.channels == 0 || format.dataBytes == 0)
        return std::nullopt;
    return format;
}

} // namespace

TEST(SoundEffectsTest, EverySoundIsAShortWaveInTheResources)
{
    for (const SoundEffect effect : SoundEffects::all()) {
        const QString path = SoundEffects::resourcePath(effect);
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
        const auto format = readWave(file.readAll());
        ASSERT_TRUE(format) << path.toStdString();
        EXPECT_EQ(format->bitsPerSample, 16u) << path.toStdString();
        EXPECT_GE(format->sampleRate, 22050u) << path.toStdString();
        const bool stereo = SoundEffects::name(effect).endsWith(QStringLiteral("Stereo"));
        EXPECT_EQ(format->channels, stereo ? 2u : 1u) << path.toStdString();
        const double seconds =
            double(format->dataBytes) / (format->channels * format->bitsPerSample / 8) / format->sampleRate;
        // Clicks are short; the winding loop and the drawer slides last longer but not long.
        EXPECT_GT(seconds, 0.01) << path.toStdString();
        EXPECT_LE(seconds, SoundEffects::loops(effect) || stereo ? 1.5 : 0.5) << path.toStdString();
    }
}
