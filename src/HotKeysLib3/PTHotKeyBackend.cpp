#include "HotKeysLib3/PTHotKeyBackend.h"

namespace spindrel {

PTHotKeyBackend::~PTHotKeyBackend() = default;

} // namespace spindrel
