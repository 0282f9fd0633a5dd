#include "hud/SoundEffects.h"

#include <QFile>
#include <gtest/gtest.h>
#include <optional>

using namespace spindrel;

namespace {

struct WaveFormat
{
    quint16 channels = 0;
    quint32 sampleRate = 0;
    quint16 bitsPerSample = 0;
    quint32 dataBytes = 0;
};

quint32 littleEndian(const QByteArray& bytes, qsizetype at, int size)
{
    quint32 value = 0;
    for (int i = size - 1; i >= 0; --i)
        value = (value << 8) | static_cast<quint8>(bytes.at(at + i));
    return value;
}

// Walks the RIFF chunks of a WAV file for its format and the size of its samples.
std::optional<WaveFormat> readWave(const QByteArray& bytes)
{
    if (bytes.size() < 12 || !bytes.startsWith("RIFF") || bytes.mid(8, 4) != "WAVE")
        return std::nullopt;
    WaveFormat format;
    bool sawFormat = false;
    qsizetype at = 12;
    while (at + 8 <= bytes.size()) {
        const QByteArray id = bytes.mid(at, 4);
        const quint32 size = littleEndian(bytes, at + 4, 4);
        const qsizetype body = at + 8;
        if (id == "fmt " && size >= 16 && body + 16 <= bytes.size()) {
            format.channels = static_cast<quint16>(littleEndian(bytes, body + 2, 2));
            format.sampleRate = littleEndian(bytes, body + 4, 4);
            format.bitsPerSample = static_cast<quint16>(littleEndian(bytes, body + 14, 2));
            sawFormat = true;
        } else if (id == "data") {
            format.dataBytes = size;
        }
        at += 8 + size + (size & 1);
    }
    if (!sawFormat || format.dataBytes == 0)
        return std::nullopt;
    return format;
}

} // namespace

TEST(SoundEffectsTest, NamesAndIndicesFollowTheTransportTable)
{
    EXPECT_EQ(SoundEffects::nameForIndex(0), QStringLiteral("TapeSpeeding"));
    EXPECT_EQ(SoundEffects::nameForIndex(1), QStringLiteral("ButtonPress"));
    EXPECT_EQ(SoundEffects::nameForIndex(2), QStringLiteral("ButtonClear"));
    EXPECT_EQ(SoundEffects::nameForIndex(3), QStringLiteral("ButtonHitExtent"));
    EXPECT_EQ(SoundEffects::nameForIndex(4), QStringLiteral("DrawerOpenStereo"));
    EXPECT_EQ(SoundEffects::nameForIndex(5), QStringLiteral("DrawerCloseStereo"));
    EXPECT_EQ(SoundEffects::nameForIndex(6), QStringLiteral("PausePress"));
    EXPECT_EQ(SoundEffects::nameForIndex(7), QStringLiteral("PauseRelease"));
    EXPECT_EQ(SoundEffects::nameForIndex(8), QStringLiteral("TossTape2"));
    EXPECT_TRUE(SoundEffects::nameForIndex(9).isNull());
    EXPECT_TRUE(SoundEffects::resourcePath(-1).isNull());
    EXPECT_EQ(SoundEffects::resourceUrl(1), QUrl(QStringLiteral("qrc:/sounds/ButtonPress.wav")));
    EXPECT_EQ(SoundEffects::indexForName(QStringLiteral("PausePress")), SoundEffects::PausePress);
    EXPECT_EQ(SoundEffects::indexForName(QStringLiteral("Nothing")), -1);
    EXPECT_TRUE(SoundEffects::loops(SoundEffects::TapeSpeeding));
    EXPECT_FALSE(SoundEffects::loops(SoundEffects::ButtonPress));
}

TEST(SoundEffectsTest, EverySoundIsAShortWaveInTheResources)
{
    for (int index = 0; index < SoundEffects::count; ++index) {
        const QString path = SoundEffects::resourcePath(index);
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
        const auto format = readWave(file.readAll());
        ASSERT_TRUE(format) << path.toStdString();
        EXPECT_EQ(format->bitsPerSample, 16) << path.toStdString();
        EXPECT_GE(format->sampleRate, 22050u) << path.toStdString();
        const bool stereo = SoundEffects::nameForIndex(index).endsWith(QStringLiteral("Stereo"));
        EXPECT_EQ(format->channels, stereo ? 2 : 1) << path.toStdString();
        const double seconds =
            double(format->dataBytes) / (format->channels * format->bitsPerSample / 8) / format->sampleRate;
        // Clicks are short; the winding loop and the drawer slides last longer but not long.
        EXPECT_GT(seconds, 0.01) << path.toStdString();
        EXPECT_LE(seconds, SoundEffects::loops(index) || stereo ? 1.5 : 0.5) << path.toStdString();
    }
}
