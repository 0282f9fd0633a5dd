#pragma once

#include "SMC/SMCFSMContext.h"
#include "SMC/TransportState.h"
#include "SMC/WindowControllerState.h"
#include "foundation/Error.h"

#include <optional>

namespace spindrel {

class WindowControllerOwner;

/// The transport machine of one deck: starts in TapeMap::Idle and turns each event into the
/// owner operations of the transition it takes. An event that its state does not accept
/// changes nothing and is answered with the error "Default transition"; an accepted one with
/// nothing.
class WindowControllerContext : public SMCFSMContext
{
public:
    /// The owner must outlive the context (the deck owns its context).
    explicit WindowControllerContext(WindowControllerOwner& owner);

    WindowControllerOwner& owner() const { return mOwner; }
    /// Every state this context enters is one of the map's.
    WindowControllerState* state() const
    {
        return static_cast<WindowControllerState*>(SMCFSMContext::state());
    }
    /// The current state as a value; while a transition's actions run, the state they left.
    TransportState transportState() const;

    std::optional<Error> ffwdDown();
    std::optional<Error> ffwdUp();
    std::optional<Error> pauseDown();
    std::optional<Error> pauseUp();
    std::optional<Error> play();
    std::optional<Error> rec();
    std::optional<Error> rewindDown();
    std::optional<Error> rewindUp();
    std::optional<Error> stop();
    std::optional<Error> tapeChosen();
    std::optional<Error> windowWillClose();

    /// Called by a state that does not take the event being delivered: the event (or the one
    /// that resent it) is answered with an error of this description. The first refusal wins.
    void refuse(const QString& description, int line);

    /// The domain of refusals.
    static inline const QString RefusalDomain = QStringLiteral("TapeMap");

private:
    std::optional<Error> deliver(void (WindowControllerState::*event)(WindowControllerContext&));

    WindowControllerOwner& mOwner;
    std::optional<Error> mRefusal;
    int mDeliveryDepth = 0;
};

} // namespace spindrel
