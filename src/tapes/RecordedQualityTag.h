#pragma once

#include <QString>
#include <optional>

namespace spindrel {

class MP4Tags;

/// The quality preset a tape was recorded in, kept in an item of its own among the tags: the
/// audio alone cannot tell it (a silent AAC take has the bit rate of a lower preset).
std::optional<QString> readRecordedQuality(const MP4Tags& tags);
bool writeRecordedQuality(MP4Tags& tags, const QString& quality);

} // namespace spindrel
