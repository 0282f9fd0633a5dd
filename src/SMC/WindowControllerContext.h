#pragma once

#include "SMC/SMCFSMContext.h"
#include "SMC/WindowControllerState.h"

namespace spindrel {

class WindowControllerOwner;

/// The transport machine of one deck: starts in TapeMap::Idle and turns each event into the
/// owner operations of the transition it takes. An event that its state does not accept is
/// reported through the assertion handler (InternalInconsistency) and changes nothing.
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

    void ffwdDown();
    void ffwdUp();
    void pauseDown();
    void pauseUp();
    void play();
    void rec();
    void rewindDown();
    void rewindUp();
    void stop();
    void tapeChosen();
    void windowWillClose();

private:
    void deliver(void (WindowControllerState::*event)(WindowControllerContext&));

    WindowControllerOwner& mOwner;
};

} // namespace spindrel
