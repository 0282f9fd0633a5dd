#pragma once

#include <QMetaType>

namespace spindrel {

/// Where the transport map is; each value is the state id of the map's state of that name.
enum class TransportState : int {
    Idle = 0,
    TapeStopped,
    Playing,
    FastForwarding,
    Rewinding,
    Cueing,
    Reviewing,
    Recording,
    Paused,
};

} // namespace spindrel

Q_DECLARE_METATYPE(spindrel::TransportState)
