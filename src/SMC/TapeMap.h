#pragma once

#include "SMC/WindowControllerState.h"

namespace spindrel {

class TapeMap_Idle;
class TapeMap_TapeStopped;
class TapeMap_Playing;
class TapeMap_FastForwarding;
class TapeMap_Rewinding;
class TapeMap_Cueing;
class TapeMap_Reviewing;
class TapeMap_Recording;
class TapeMap_Paused;

/// The deck's transport map: one shared instance of each state, made on first request (on the
/// main thread) and kept for the life of the process.
class TapeMap
{
public:
    TapeMap() = delete;

    static TapeMap_Idle* Idle();
    static TapeMap_TapeStopped* TapeStopped();
    static TapeMap_Playing* Playing();
    static TapeMap_FastForwarding* FastForwarding();
    static TapeMap_Rewinding* Rewinding();
    static TapeMap_Cueing* Cueing();
    static TapeMap_Reviewing* Reviewing();
    static TapeMap_Recording* Recording();
    static TapeMap_Paused* Paused();
};

class TapeMap_Default : public WindowControllerState
{
public:
    using WindowControllerState::WindowControllerState;
};

/// Nothing loaded; bottom of the stack.
class TapeMap_Idle : public TapeMap_Default
{
public:
    using TapeMap_Default::TapeMap_Default;
    void rec(WindowControllerContext& context) override;
    void tapeChosen(WindowControllerContext& context) override;
    void Default(WindowControllerContext& context) override;
};

/// A tape is loaded and at rest.
class TapeMap_TapeStopped : public TapeMap_Default
{
public:
    using TapeMap_Default::TapeMap_Default;
    void Entry(WindowControllerContext& context) override;
    void Exit(WindowControllerContext& context) override;
    void ffwdDown(WindowControllerContext& context) override;
    void play(WindowControllerContext& context) override;
    void rec(WindowControllerContext& context) override;
    void rewindDown(WindowControllerContext& context) override;
    void stop(WindowControllerContext& context) override;
    void tapeChosen(WindowControllerContext& context) override;
    void windowWillClose(WindowControllerContext& context) override;
    void Default(WindowControllerContext& context) override;
};

/// Playing at normal speed; winding buttons released here are refused.
class TapeMap_Playing : public TapeMap_Default
{
public:
    using TapeMap_Default::TapeMap_Default;
    void Entry(WindowControllerContext& context) override;
    void Exit(WindowControllerContext& context) override;
    void ffwdDown(WindowControllerContext& context) override;
    void pauseDown(WindowControllerContext& context) override;
    void pauseUp(WindowControllerContext& context) override;
    void play(WindowControllerContext& context) override;
    void rec(WindowControllerContext& context) override;
    void rewindDown(WindowControllerContext& context) override;
    void stop(WindowControllerContext& context) override;
    void tapeChosen(WindowControllerContext& context) override;
    void windowWillClose(WindowControllerContext& context) override;
};

/// Winding forward at eight times normal speed, muted.
class TapeMap_FastForwarding : public TapeMap_Default
{
public:
    using TapeMap_Default::TapeMap_Default;
    void Entry(WindowControllerContext& context) override;
    void Exit(WindowControllerContext& context) override;
    void ffwdUp(WindowControllerContext& context) override;
    void play(WindowControllerContext& context) override;
    void rewindDown(WindowControllerContext& context) override;
    void stop(WindowControllerContext& context) override;
    void tapeChosen(WindowControllerContext& context) override;
    void windowWillClose(WindowControllerContext& context) override;
    void Default(WindowControllerContext& context) override;
};

/// Winding backward at eight times normal speed, muted.
class TapeMap_Rewinding : public TapeMap_Default
{
public:
    using TapeMap_Default::TapeMap_Default;
    void Entry(WindowControllerContext& context) override;
    void Exit(WindowControllerContext& context) override;
    void ffwdDown(WindowControllerContext& context) override;
    void play(WindowControllerContext& context) override;
    void rewindUp(WindowControllerContext& context) override;
    void stop(WindowControllerContext& context) override;
    void tapeChosen(WindowControllerContext& context) override;
    void windowWillClose(WindowControllerContext& context) override;
    void Default(WindowControllerContext& context) override;
};

/// Fast forward held while playing: audible at twice normal speed.
class TapeMap_Cueing : public TapeMap_Default
{
public:
    using TapeMap_Default::TapeMap_Default;
    void Entry(WindowControllerContext& context) override;
    void Exit(WindowControllerContext& context) override;
    void ffwdUp(WindowControllerContext& context) override;
    void play(WindowControllerContext& context) override;
    void rewindDown(WindowControllerContext& context) override;
    void stop(WindowControllerContext& context) override;
    void tapeChosen(WindowControllerContext& context) override;
    void windowWillClose(WindowControllerContext& context) override;
    void Default(WindowControllerContext& context) override;
};

/// Rewind held while playing: audible at twice normal speed backward.
class TapeMap_Reviewing : public TapeMap_Default
{
public:
    using TapeMap_Default::TapeMap_Default;
    void Entry(WindowControllerContext& context) override;
    void Exit(WindowControllerContext& context) override;
    void ffwdDown(WindowControllerContext& context) override;
    void play(WindowControllerContext& context) override;
    void rewindUp(WindowControllerContext& context) override;
    void stop(WindowControllerContext& context) override;
    void tapeChosen(WindowControllerContext& context) override;
    void windowWillClose(WindowControllerContext& context) override;
    void Default(WindowControllerContext& context) override;
};

/// Recording a new tape; winding buttons released here are refused.
class TapeMap_Recording : public TapeMap_Default
{
public:
    using TapeMap_Default::TapeMap_Default;
    void Entry(WindowControllerContext& context) override;
    void Exit(WindowControllerContext& context) override;
    void ffwdDown(WindowControllerContext& context) override;
    void pauseDown(WindowControllerContext& context) override;
    void pauseUp(WindowControllerContext& context) override;
    void play(WindowControllerContext& context) override;
    void rec(WindowControllerContext& context) override;
    void rewindDown(WindowControllerContext& context) override;
    void stop(WindowControllerContext& context) override;
    void tapeChosen(WindowControllerContext& context) override;
    void windowWillClose(WindowControllerContext& context) override;
};

/// Pause latched over Playing or Recording.
class TapeMap_Paused : public TapeMap_Default
{
public:
    using TapeMap_Default::TapeMap_Default;
    void Entry(WindowControllerContext& context) override;
    void Exit(WindowControllerContext& context) override;
    void pauseUp(WindowControllerContext& context) override;
    void stop(WindowControllerContext& context) override;
    void tapeChosen(WindowControllerContext& context) override;
    void windowWillClose(WindowControllerContext& context) override;
    void Default(WindowControllerContext& context) override;
};

} // namespace spindrel
