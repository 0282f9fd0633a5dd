#pragma once

namespace spindrel {

/// The transport keys, in the order of the deck's key strip (the values are its segments).
enum class TransportButton : int {
    Record = 0,
    Play,
    Rewind,
    FastForward,
    Stop,
    Pause,
};

} // namespace spindrel
