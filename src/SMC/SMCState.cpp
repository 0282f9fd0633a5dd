#include "SMC/SMCState.h"

namespace spindrel {

SMCState::SMCState(const QString& name, std::int32_t stateId) : mName(name), mStateId(stateId) {}

SMCState::~SMCState() = default;

} // namespace spindrel
