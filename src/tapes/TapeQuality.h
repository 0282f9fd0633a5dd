#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>
#include <optional>

namespace spindrel {

/// Bit-rate window and rates of one recording quality.
struct QualityPreset
{
    uint32_t lowerBitrate = 0;
    uint32_t bitrate = 0;
    uint32_t upperBitrate = 0;
    uint32_t sampleRate = 0; ///< 0: not fixed, the recorder takes the input device's rate
};

/// The three recording qualities, "HQ" (lossless), "MQ" and "LQ" (AAC), at display indices 0 to 2.
class TapeQuality
{
public:
    /// The names in display order.
    static const QStringList& qualityNames();
    static std::optional<QualityPreset> presetForQuality(const QString& quality);

    /// The quality whose window holds bitrate (the windows are halved for mono); any other
    /// non-zero rate is "HQ". The sample rate does not take part. For audio of unknown coding.
    static QString qualityForBitrate(uint64_t bitrate, uint64_t sampleRate, bool stereo);
    /// For lossy audio, never "HQ": the quality whose window holds bitrate (halved for mono), else
    /// the one whose target bit rate is nearest.
    static QString lossyQualityForBitrate(uint64_t bitrate, bool stereo);
};

} // namespace spindrel
