#include "SMC/WindowControllerContext.h"

#include "SMC/TapeMap.h"

#include <utility>

namespace spindrel {

WindowControllerContext::WindowControllerContext(WindowControllerOwner& owner) : mOwner(owner)
{
    setState(TapeMap::Idle());
    TapeMap::Idle()->Entry(*this);
}

TransportState WindowControllerContext::transportState() const
{
    const SMCState* current = isInTransition() ? previousState() : state();
    return TransportState(current ? current->stateId() : 0);
}

std::optional<Error>
WindowControllerContext::deliver(void (WindowControllerState::*event)(WindowControllerContext&))
{
    // An event that arrives while a transition's actions run (an owner action feeding an event
    // back) finds no current state and is dropped: the transition under way decides the outcome.
    WindowControllerState* current = state();
    if (!current)
        return std::nullopt;
    // A resent event is part of the one that resent it: only the outermost delivery answers,
    // and it starts afresh even when an owner action threw out of the one before.
    const bool outermost = mDeliveryDepth == 0;
    if (outermost)
        mRefusal.reset();
    ++mDeliveryDepth;
    try {
        (current->*event)(*this);
    } catch (...) {
        --mDeliveryDepth;
        throw;
    }
    --mDeliveryDepth;
    return outermost ? std::exchange(mRefusal, std::nullopt) : mRefusal;
}

void WindowControllerContext::refuse(const QString& description, int line)
{
    if (!mRefusal)
        mRefusal = Error(RefusalDomain, 1,
                         {{Error::DescriptionKey, description},
                          {Error::ReportingFileKey, QStringLiteral("Spindrel_sm")},
                          {Error::ReportingLineKey, line}});
}

std::optional<Error> WindowControllerContext::ffwdDown()
{
    return deliver(&WindowControllerState::ffwdDown);
}

std::optional<Error> WindowControllerContext::ffwdUp()
{
    return deliver(&WindowControllerState::ffwdUp);
}

std::optional<Error> WindowControllerContext::pauseDown()
{
    return deliver(&WindowControllerState::pauseDown);
}

std::optional<Error> WindowControllerContext::pauseUp()
{
    return deliver(&WindowControllerState::pauseUp);
}

std::optional<Error> WindowControllerContext::play()
{
    return deliver(&WindowControllerState::play);
}

std::optional<Error> WindowControllerContext::rec()
{
    return deliver(&WindowControllerState::rec);
}

std::optional<Error> WindowControllerContext::rewindDown()
{
    return deliver(&WindowControllerState::rewindDown);
}

std::optional<Error> WindowControllerContext::rewindUp()
{
    return deliver(&WindowControllerState::rewindUp);
}

std::optional<Error> WindowControllerContext::stop()
{
    return deliver(&WindowControllerState::stop);
}

std::optional<Error> WindowControllerContext::tapeChosen()
{
    return deliver(&WindowControllerState::tapeChosen);
}

std::optional<Error> WindowControllerContext::windowWillClose()
{
    return deliver(&WindowControllerState::windowWillClose);
}

} // namespace spindrel
