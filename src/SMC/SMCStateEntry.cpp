#include "SMC/SMCStateEntry.h"

namespace spindrel {

std::unique_ptr<SMCStateEntry> SMCStateEntry::stateEntryWithState(SMCState* state,
                                                                  std::unique_ptr<SMCStateEntry> next)
{
    return std::make_unique<SMCStateEntry>(state, std::move(next));
}

SMCStateEntry::SMCStateEntry(SMCState* state, std::unique_ptr<SMCStateEntry> next)
    : mState(state), mNext(std::move(next))
{
}

SMCStateEntry::~SMCStateEntry()
{
    mState = nullptr;
    // Release the chain below one entry at a time: letting each entry destroy its successor
    // would recurse once per entry and overflow the stack on a deep chain.
    std::unique_ptr<SMCStateEntry> below = std::move(mNext);
    while (below)
        below = std::move(below->mNext);
}

void SMCStateEntry::setNext(std::unique_ptr<SMCStateEntry> next)
{
    mNext = std::move(next);
}

} // namespace spindrel
