#include "SMC/WindowControllerContext.h"

#include "SMC/TapeMap.h"

namespace spindrel {

WindowControllerContext::WindowControllerContext(WindowControllerOwner& owner) : mOwner(owner)
{
    setState(TapeMap::Idle());
    TapeMap::Idle()->Entry(*this);
}

void WindowControllerContext::deliver(void (WindowControllerState::*event)(WindowControllerContext&))
{
    // An event that arrives while a transition's actions run (an owner action feeding an event
    // back) finds no current state and is dropped: the transition under way decides the outcome.
    if (WindowControllerState* current = state())
        (current->*event)(*this);
}

void WindowControllerContext::ffwdDown()
{
    deliver(&WindowControllerState::ffwdDown);
}

void WindowControllerContext::ffwdUp()
{
    deliver(&WindowControllerState::ffwdUp);
}

void WindowControllerContext::pauseDown()
{
    deliver(&WindowControllerState::pauseDown);
}

void WindowControllerContext::pauseUp()
{
    deliver(&WindowControllerState::pauseUp);
}

void WindowControllerContext::play()
{
    deliver(&WindowControllerState::play);
}

void WindowControllerContext::rec()
{
    deliver(&WindowControllerState::rec);
}

void WindowControllerContext::rewindDown()
{
    deliver(&WindowControllerState::rewindDown);
}

void WindowControllerContext::rewindUp()
{
    deliver(&WindowControllerState::rewindUp);
}

void WindowControllerContext::stop()
{
    deliver(&WindowControllerState::stop);
}

void WindowControllerContext::tapeChosen()
{
    deliver(&WindowControllerState::tapeChosen);
}

void WindowControllerContext::windowWillClose()
{
    deliver(&WindowControllerState::windowWillClose);
}

} // namespace spindrel
