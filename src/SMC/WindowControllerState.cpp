#include "SMC/WindowControllerState.h"

#include "foundation/Assertion.h"

namespace spindrel {

void WindowControllerState::Entry(WindowControllerContext&) {}
void WindowControllerState::Exit(WindowControllerContext&) {}

void WindowControllerState::ffwdDown(WindowControllerContext& context)
{
    Default(context);
}

void WindowControllerState::ffwdUp(WindowControllerContext& context)
{
    Default(context);
}

void WindowControllerState::pauseDown(WindowControllerContext& context)
{
    Default(context);
}

void WindowControllerState::pauseUp(WindowControllerContext& context)
{
    Default(context);
}

void WindowControllerState::play(WindowControllerContext& context)
{
    Default(context);
}

void WindowControllerState::rec(WindowControllerContext& context)
{
    Default(context);
}

void WindowControllerState::rewindDown(WindowControllerContext& context)
{
    Default(context);
}

void WindowControllerState::rewindUp(WindowControllerContext& context)
{
    Default(context);
}

void WindowControllerState::stop(WindowControllerContext& context)
{
    Default(context);
}

void WindowControllerState::tapeChosen(WindowControllerContext& context)
{
    Default(context);
}

void WindowControllerState::windowWillClose(WindowControllerContext& context)
{
    Default(context);
}

void WindowControllerState::Default(WindowControllerContext&)
{
    // The map's fixed unit and line, so the report reads the same whichever state refused.
    handleAssertionFailure("Default transition", "Spindrel_sm", 146, "WindowControllerState::Default");
}

} // namespace spindrel
