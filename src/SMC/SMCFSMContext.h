#pragma once

#include "SMC/SMCStateEntry.h"

#include <QString>
#include <cstdint>
#include <memory>

namespace spindrel {

class SMCState;

/// Base of a machine's context: the current state, the stack of states saved by push
/// transitions, the state taken away by the last clearState, and an optional trace of every
/// state change. Not thread-safe; one thread drives a context.
class SMCFSMContext
{
public:
    SMCFSMContext();
    virtual ~SMCFSMContext();

    SMCFSMContext(const SMCFSMContext&) = delete;
    SMCFSMContext& operator=(const SMCFSMContext&) = delete;

    SMCState* state() const { return mState; }
    /// Enters `state` without touching the stack; traced as "NEW STATE".
    void setState(SMCState* state);

    /// True exactly while no state is current, i.e. while a transition's actions run.
    bool isInTransition() const { return mState == nullptr; }
    /// Moves the current state to previousState and leaves the context without a state.
    void clearState();
    SMCState* previousState() const { return mPreviousState; }

    const QString& transition() const { return mTransition; }
    void setTransition(const QString& transition) { mTransition = transition; }

    /// Saves the current state (unless there is none) and enters `state`. The pushed state's
    /// entry actions are the caller's to run.
    void pushState(SMCState* state);
    /// Resumes the most recently saved state. An empty stack is a programming error: it is
    /// reported as a failed check, nothing changes and the answer is false.
    bool popState();
    /// Discards every saved state without entering any of them.
    void emptyStateStack();
    bool isStateStackEmpty() const { return mStateStack == nullptr; }
    std::uint32_t stateStackDepth() const;
    /// Top of the stack (most recently saved state), or null.
    const SMCStateEntry* stateStack() const { return mStateStack.get(); }

    bool debugFlag() const { return mDebugFlag; }
    void setDebugFlag(bool debugFlag) { mDebugFlag = debugFlag; }

private:
    SMCState* mState = nullptr;
    SMCState* mPreviousState = nullptr;
    std::unique_ptr<SMCStateEntry> mStateStack;
    QString mTransition;
    bool mDebugFlag = false;
};

} // namespace spindrel
