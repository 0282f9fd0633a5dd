#pragma once

#include "SMC/SMCState.h"

namespace spindrel {

class WindowControllerContext;

/// Base of the transport map's states. Entry and exit do nothing and every event falls through
/// to Default, which refuses it ("Default transition"): a state lists only the events it handles.
class WindowControllerState : public SMCState
{
public:
    using SMCState::SMCState;

    virtual void Entry(WindowControllerContext& context);
    virtual void Exit(WindowControllerContext& context);
    virtual void ffwdDown(WindowControllerContext& context);
    virtual void ffwdUp(WindowControllerContext& context);
    virtual void pauseDown(WindowControllerContext& context);
    virtual void pauseUp(WindowControllerContext& context);
    virtual void play(WindowControllerContext& context);
    virtual void rec(WindowControllerContext& context);
    virtual void rewindDown(WindowControllerContext& context);
    virtual void rewindUp(WindowControllerContext& context);
    virtual void stop(WindowControllerContext& context);
    virtual void tapeChosen(WindowControllerContext& context);
    virtual void windowWillClose(WindowControllerContext& context);
    /// Refuses an unhandled event through the context; nothing changes.
    virtual void Default(WindowControllerContext& context);
};

} // namespace spindrel
