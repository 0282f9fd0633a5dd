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

// With nothing to return to, the empty pop is reported and refused before any exit action
// runs, so the event changes nothing. True when the state below was resumed.
inline bool refusedEmptyPop(WindowControllerContext& context)
{
    if (!context.isStateStackEmpty())
        return false;
    context.popState();
    context.refuse(QStringLiteral("Popping empty state stack"), 205);
    return true;
}

// The state returned to is resumed, not re-entered.
inline bool popBack(WindowControllerContext& context)
{
    if (refusedEmptyPop(context))
        return false;
    context.state()->Exit(context);
    return context.popState();
}

template <typename Actions> bool popBack(WindowControllerContext& context, Actions actions)
{
    if (refusedEmptyPop(context))
        return false;
    context.state()->Exit(context);
    context.clearState();
    try {
        actions(context.owner());
    } catch (...) {
        context.popState();
        throw;
    }
    return context.popState();
}

// The resent event is handled by the state below as if it had arrived there.
inline void popAndResend(WindowControllerContext& context,
                         std::optional<Error> (WindowControllerContext::*event)())
{
    if (popBack(context))
        (context.*event)();
}

} // namespace spindrel::tapemap
