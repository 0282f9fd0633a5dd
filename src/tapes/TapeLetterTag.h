#pragma once

#include "tapes/TapeLetter.h"

#include <optional>

namespace spindrel {

class MP4Tags;

/// The tape letter's place in a tape file: a keyed archive in the 'uuid' atom of 'udta' with the
/// tape letter's own identifier.
std::optional<TapeLetter> readTapeLetter(const MP4Tags& tags);
bool writeTapeLetter(MP4Tags& tags, const TapeLetter& letter);

} // namespace spindrel
