#pragma once

#include <QString>
#include <cstdint>

namespace spindrel {

/// Base of every state object. States hold no per-machine data, so one instance of each is shared
/// by every context for the life of the process.
class SMCState
{
public:
    SMCState(const QString& name, std::int32_t stateId);
    virtual ~SMCState();

    SMCState(const SMCState&) = delete;
    SMCState& operator=(const SMCState&) = delete;

    const QString& name() const { return mName; }
    void setName(const QString& name) { mName = name; }
    std::int32_t stateId() const { return mStateId; }
    void setStateId(std::int32_t stateId) { mStateId = stateId; }

private:
    QString mName;
    std::int32_t mStateId;
};

} // namespace spindrel
