#pragma once

#include <memory>

namespace spindrel {

class SMCState;

/// One link of a context's state stack: a saved state and the entry below it. Entries own the
/// chain below them; states are shared singletons and are only referred to.
class SMCStateEntry
{
public:
    static std::unique_ptr<SMCStateEntry> stateEntryWithState(SMCState* state,
                                                              std::unique_ptr<SMCStateEntry> next);

    SMCStateEntry(SMCState* state, std::unique_ptr<SMCStateEntry> next);
    ~SMCStateEntry();

    SMCStateEntry(const SMCStateEntry&) = delete;
    SMCStateEntry& operator=(const SMCStateEntry&) = delete;

    SMCState* state() const { return mState; }
    void setState(SMCState* state) { mState = state; }

    SMCStateEntry* next() const { return mNext.get(); }
    void setNext(std::unique_ptr<SMCStateEntry> next);
    /// Detaches the entry below and hands it to the caller.
    std::unique_ptr<SMCStateEntry> takeNext() { return std::move(mNext); }

private:
    SMCState* mState;
    std::unique_ptr<SMCStateEntry> mNext;
};

} // namespace spindrel
