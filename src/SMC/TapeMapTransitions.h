#pragma once

#include "SMC/WindowControllerContext.h"

// The transport map's transition kinds, shared by the state sources. Actions always run with the
// context cleared (isInTransition true), and the state they interrupted is re-established even
// when an owner action throws, so a failing action cannot leave the machine without a state.
namespace spindrel::tapemap {

template <typename Actions> void runWhileCleared(WindowControllerContext& context, Actions actions)
{
    SMCState* const source = context.state();
    context.clearState();
    try {
        actions(context.owner());
    } catch (...) {
        context.setState(source);
        throw;
    }
    context.setState(source);
}

// The source is not exited: it stays on the stack underneath the target.
inline void pushTo(WindowControllerContext& context, WindowControllerState* target)
{
    context.pushState(target);
    target->Entry(context);
}

template <typename Actions>
void pushTo(WindowControllerContext& context, WindowControllerState* target, Actions actions)
{
    runWhileCleared(context, actions);
    pushTo(context, target);
}

template <typename Actions> void stayAfter(WindowControllerContext& context, Actions actions)
{
    runWhileCleared(context, actions);
}

inline void refuseEmptyPop(WindowControllerContext& context)
{
    // With nothing to return to, report the empty pop before any exit action runs, so the
    // refused event changes nothing.
    if (context.isStateStackEmpty())
        context.popState();
}

// The state returned to is resumed, not re-entered.
inline void popBack(WindowControllerContext& context)
{
    refuseEmptyPop(context);
    context.state()->Exit(context);
    context.popState();
}

template <typename Actions> void popBack(WindowControllerContext& context, Actions actions)
{
    refuseEmptyPop(context);
    context.state()->Exit(context);
    context.clearState();
    try {
        actions(context.owner());
    } catch (...) {
        context.popState();
        throw;
    }
    context.popState();
}

// The resent event is handled by the state below as if it had arrived there.
inline void popAndResend(WindowControllerContext& context, void (WindowControllerContext::*event)())
{
    popBack(context);
    (context.*event)();
}

} // namespace spindrel::tapemap
