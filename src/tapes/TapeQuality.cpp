#include "tapes/TapeQuality.h"

#include <array>
#include <utility>

namespace spindrel {

namespace {

const std::array<std::pair<QString, QualityPreset>, 3>& presetTable()
{
    static const std::array<std::pair<QString, QualityPreset>, 3> table = {{
        {QStringLiteral("HQ"), {0, 0, 0, 0}},
        {QStringLiteral("MQ"), {112000, 128000, 400000, 44100}},
        {QStringLiteral("LQ"), {30000, 48000, 80000, 22050}},
    }};
    return table;
}

} // namespace

const QStringList& TapeQuality::qualityNames()
{
    static const QStringList names = [] {
        QStringList list;
        for (const auto& entry : presetTable())
            list << entry.first;
        return list;
    }();
    return names;
}

std::optional<QualityPreset> TapeQuality::presetForQuality(const QString& quality)
{
    for (const auto& [name, preset] : presetTable()) {
        if (name == quality)
            return preset;
    }
    return std::nullopt;
}

QString TapeQuality::qualityForBitrate(uint64_t bitrate, uint64_t /*sampleRate*/, bool stereo)
{
    const unsigned shift = stereo ? 0 : 1;
    for (const auto& [name, preset] : presetTable()) {
        if ((preset.lowerBitrate >> shift) <= bitrate && bitrate <= (preset.upperBitrate >> shift))
            return name;
    }
    const QualityPreset lossless = presetTable()[0].second;
    return lossless.bitrate < bitrate ? presetTable()[0].first : presetTable()[2].first;
}

QString TapeQuality::lossyQualityForBitrate(uint64_t bitrate, bool stereo)
{
    const QString windowed = qualityForBitrate(bitrate, 0, stereo);
    if (presetForQuality(windowed)->bitrate > 0)
        return windowed;
    const auto distance = [bitrate](const QualityPreset& preset) {
        return preset.bitrate > bitrate ? preset.bitrate - bitrate : bitrate - preset.bitrate;
    };
    const auto& medium = presetTable()[1];
    const auto& low = presetTable()[2];
    return distance(medium.second) < distance(low.second) ? medium.first : low.first;
}

} // namespace spindrel
