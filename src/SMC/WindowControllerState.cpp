#include "SMC/WindowControllerState.h"

#include "SMC/WindowControllerContext.h"

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

void WindowControllerState::Default(WindowControllerContext& context)
{
    // The map's fixed line, so the report reads the same whichever state refused.
    context.refuse(QStringLiteral("Default transition"), 146);
}

} // namespace spindrel
