#include "SMC/TapeMap.h"

#include "SMC/TapeMapTransitions.h"
#include "SMC/WindowControllerContext.h"
#include "SMC/WindowControllerOwner.h"

namespace spindrel {

using namespace tapemap;

TapeMap_Idle* TapeMap::Idle()
{
    static TapeMap_Idle state(QStringLiteral("TapeMap::Idle"), 0);
    return &state;
}

TapeMap_TapeStopped* TapeMap::TapeStopped()
{
    static TapeMap_TapeStopped state(QStringLiteral("TapeMap::TapeStopped"), 1);
    return &state;
}

TapeMap_Playing* TapeMap::Playing()
{
    static TapeMap_Playing state(QStringLiteral("TapeMap::Playing"), 2);
    return &state;
}

TapeMap_FastForwarding* TapeMap::FastForwarding()
{
    static TapeMap_FastForwarding state(QStringLiteral("TapeMap::FastForwarding"), 3);
    return &state;
}

TapeMap_Rewinding* TapeMap::Rewinding()
{
    static TapeMap_Rewinding state(QStringLiteral("TapeMap::Rewinding"), 4);
    return &state;
}

TapeMap_Cueing* TapeMap::Cueing()
{
    static TapeMap_Cueing state(QStringLiteral("TapeMap::Cueing"), 5);
    return &state;
}

TapeMap_Reviewing* TapeMap::Reviewing()
{
    static TapeMap_Reviewing state(QStringLiteral("TapeMap::Reviewing"), 6);
    return &state;
}

TapeMap_Recording* TapeMap::Recording()
{
    static TapeMap_Recording state(QStringLiteral("TapeMap::Recording"), 7);
    return &state;
}

TapeMap_Paused* TapeMap::Paused()
{
    static TapeMap_Paused state(QStringLiteral("TapeMap::Paused"), 8);
    return &state;
}

// Idle

void TapeMap_Idle::rec(WindowControllerContext& context)
{
    pushTo(context, TapeMap::Recording(), [](WindowControllerOwner& owner) {
        owner.clearButtons();
        owner.setSelectedButton(TransportButton::Play);
        owner.setSelectedButton(TransportButton::Record);
        owner.playSoundEffect(SoundEffect::ButtonPress);
    });
}

void TapeMap_Idle::tapeChosen(WindowControllerContext& context)
{
    if (context.owner().canSelectTape())
        pushTo(context, TapeMap::TapeStopped());
}

void TapeMap_Idle::Default(WindowControllerContext&) {}

// TapeStopped

void TapeMap_TapeStopped::Entry(WindowControllerContext& context)
{
    WindowControllerOwner& owner = context.owner();
    owner.selectCurrentTape();
    owner.createTapePlayer();
    owner.clearCurrentTime();
    owner.playInsertionAnimation();
}

void TapeMap_TapeStopped::Exit(WindowControllerContext& context)
{
    WindowControllerOwner& owner = context.owner();
    owner.destroyTapePlayer();
    owner.playRemovalAnimation();
    owner.clearSelectedTape();
}

void TapeMap_TapeStopped::play(WindowControllerContext& context)
{
    pushTo(context, TapeMap::Playing(), [](WindowControllerOwner& owner) {
        owner.clearButtons();
        owner.playSoundEffect(SoundEffect::ButtonPress);
        owner.setSelectedButton(TransportButton::Play);
        owner.setPlaybackSpeed(1.0);
    });
}

void TapeMap_TapeStopped::ffwdDown(WindowControllerContext& context)
{
    pushTo(context, TapeMap::FastForwarding());
}

void TapeMap_TapeStopped::rewindDown(WindowControllerContext& context)
{
    pushTo(context, TapeMap::Rewinding());
}

// A recording only starts from Idle, so the loaded tape is unloaded first.
void TapeMap_TapeStopped::rec(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::rec);
}

// The new selection is loaded by Idle.
void TapeMap_TapeStopped::tapeChosen(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::tapeChosen);
}

void TapeMap_TapeStopped::stop(WindowControllerContext&) {}
// Closing leaves the player to the deck: the map does not unload the tape here.
void TapeMap_TapeStopped::windowWillClose(WindowControllerContext&) {}
void TapeMap_TapeStopped::Default(WindowControllerContext&) {}

// Playing

void TapeMap_Playing::Entry(WindowControllerContext& context)
{
    WindowControllerOwner& owner = context.owner();
    owner.setPlaybackSpeed(1.0);
    owner.startPlayingAudio();
    owner.startHUDUpdates();
    owner.startPlayAnimation();
}

void TapeMap_Playing::Exit(WindowControllerContext& context)
{
    WindowControllerOwner& owner = context.owner();
    owner.stopPlayingAudio();
    owner.stopHUDUpdates();
    owner.stopPlayAnimation();
}

// Play pressed again stops playback, silently.
void TapeMap_Playing::play(WindowControllerContext& context)
{
    popBack(context, [](WindowControllerOwner& owner) { owner.clearButtons(); });
}

void TapeMap_Playing::stop(WindowControllerContext& context)
{
    popBack(context, [](WindowControllerOwner& owner) {
        owner.playSoundEffect(SoundEffect::ButtonClear);
        owner.clearButtons();
    });
}

void TapeMap_Playing::tapeChosen(WindowControllerContext& context)
{
    const bool popped = popBack(context, [](WindowControllerOwner& owner) {
        owner.playSoundEffect(SoundEffect::ButtonClear);
        owner.clearButtons();
    });
    if (popped)
        context.tapeChosen();
}

void TapeMap_Playing::rec(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::rec);
}

void TapeMap_Playing::windowWillClose(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::windowWillClose);
}

void TapeMap_Playing::ffwdDown(WindowControllerContext& context)
{
    pushTo(context, TapeMap::Cueing());
}

void TapeMap_Playing::rewindDown(WindowControllerContext& context)
{
    pushTo(context, TapeMap::Reviewing());
}

void TapeMap_Playing::pauseDown(WindowControllerContext& context)
{
    pushTo(context, TapeMap::Paused(), [](WindowControllerOwner& owner) { owner.stopPlayingAudio(); });
}

void TapeMap_Playing::pauseUp(WindowControllerContext& context)
{
    stayAfter(context, [](WindowControllerOwner& owner) { owner.startPlayingAudio(); });
}

// Recording

void TapeMap_Recording::Entry(WindowControllerContext& context)
{
    WindowControllerOwner& owner = context.owner();
    owner.startHUDUpdates();
    owner.startRecordingAudio();
    owner.playInsertionAnimation();
    owner.setPlaybackSpeed(1.0);
    owner.startPlayAnimation();
}

void TapeMap_Recording::Exit(WindowControllerContext& context)
{
    WindowControllerOwner& owner = context.owner();
    owner.stopHUDUpdates();
    owner.stopRecordingAudio();
    owner.stopPlayAnimation();
}

// Buttons are cleared before the sound here, unlike Playing's stop, and the follow-up is
// tapeChosen so the finished recording, now selected, is loaded.
void TapeMap_Recording::stop(WindowControllerContext& context)
{
    const bool popped = popBack(context, [](WindowControllerOwner& owner) {
        owner.clearButtons();
        owner.playSoundEffect(SoundEffect::ButtonClear);
    });
    if (popped)
        context.tapeChosen();
}

void TapeMap_Recording::pauseDown(WindowControllerContext& context)
{
    pushTo(context, TapeMap::Paused(), [](WindowControllerOwner& owner) { owner.pauseRecordingAudio(); });
}

void TapeMap_Recording::pauseUp(WindowControllerContext& context)
{
    stayAfter(context, [](WindowControllerOwner& owner) { owner.resumeRecordingAudio(); });
}

void TapeMap_Recording::windowWillClose(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::windowWillClose);
}

void TapeMap_Recording::ffwdDown(WindowControllerContext&) {}
void TapeMap_Recording::play(WindowControllerContext&) {}
void TapeMap_Recording::rec(WindowControllerContext&) {}
void TapeMap_Recording::rewindDown(WindowControllerContext&) {}
void TapeMap_Recording::tapeChosen(WindowControllerContext&) {}

// Paused: every way out resends its event to Playing or Recording underneath.

void TapeMap_Paused::Entry(WindowControllerContext& context)
{
    WindowControllerOwner& owner = context.owner();
    owner.stopPlayAnimation();
    owner.playSoundEffect(SoundEffect::PausePress);
    owner.setSelectedButton(TransportButton::Pause);
}

void TapeMap_Paused::Exit(WindowControllerContext& context)
{
    WindowControllerOwner& owner = context.owner();
    owner.startPlayAnimation();
    owner.playSoundEffect(SoundEffect::PauseRelease);
    owner.clearSelectedButton(TransportButton::Pause);
}

void TapeMap_Paused::pauseUp(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::pauseUp);
}

void TapeMap_Paused::stop(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::stop);
}

void TapeMap_Paused::tapeChosen(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::tapeChosen);
}

void TapeMap_Paused::windowWillClose(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::windowWillClose);
}

void TapeMap_Paused::Default(WindowControllerContext&) {}

} // namespace spindrel
