#include "SMC/SMCFSMContext.h"

#include "SMC/SMCState.h"
#include "foundation/Assertion.h"
#include "foundation/Log.h"

namespace spindrel {

namespace {

// Reported with the runtime's fixed unit and line so that reports stay comparable across builds.
const char* const kRuntimeUnit = "SMC/statemap";
constexpr int kEmptyPopLine = 205;

void trace(const char* prefix, const SMCState* state)
{
    const QString name = state ? state->name() : QStringLiteral("(null)");
    logLine(QLatin1String(prefix) + name + QLatin1String("\n\r"));
}

} // namespace

SMCFSMContext::SMCFSMContext() = default;

SMCFSMContext::~SMCFSMContext()
{
    emptyStateStack();
}

void SMCFSMContext::setState(SMCState* state)
{
    mState = state;
    if (mDebugFlag)
        trace("NEW STATE    : ", state);
}

void SMCFSMContext::clearState()
{
    mPreviousState = mState;
    mState = nullptr;
}

void SMCFSMContext::pushState(SMCState* state)
{
    // After clearState there is nothing current to save: the caller re-established it already
    // or chose not to.
    if (mState != nullptr)
        mStateStack = SMCStateEntry::stateEntryWithState(mState, std::move(mStateStack));
    mState = state;
    if (mDebugFlag)
        trace("PUSH TO STATE: ", state);
}

bool SMCFSMContext::popState()
{
    if (mStateStack == nullptr) {
        reportFailedCheck("Popping empty state stack", kRuntimeUnit, kEmptyPopLine, "popState");
        return false;
    }
    std::unique_ptr<SMCStateEntry> top = std::move(mStateStack);
    mState = top->state();
    mStateStack = top->takeNext();
    if (mDebugFlag)
        trace("POP TO STATE : ", mState);
    return true;
}

void SMCFSMContext::emptyStateStack()
{
    // One entry at a time, so a deep stack is never released recursively.
    while (mStateStack)
        mStateStack = mStateStack->takeNext();
}

std::uint32_t SMCFSMContext::stateStackDepth() const
{
    std::uint32_t depth = 0;
    for (const SMCStateEntry* entry = mStateStack.get(); entry != nullptr; entry = entry->next())
        ++depth;
    return depth;
}

} // namespace spindrel
