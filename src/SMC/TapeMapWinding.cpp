#include "SMC/TapeMap.h"
#include "SMC/TapeMapTransitions.h"
#include "SMC/WindowControllerContext.h"
#include "SMC/WindowControllerOwner.h"

namespace spindrel {

using namespace tapemap;

// FastForwarding and Rewinding: muted winding with the looping speeding sound.

namespace {

void startWinding(WindowControllerOwner& owner, double speed, TransportButton button)
{
    owner.playSoundEffect(SoundEffect::ButtonPress);
    owner.playSoundEffect(SoundEffect::TapeSpeeding);
    owner.setPlaybackSpeed(speed);
    owner.setSelectedButton(button);
    owner.startHUDUpdates();
    owner.startPlayAnimation();
    owner.muteAudio();
    owner.startPlayingAudio();
}

void stopWinding(WindowControllerOwner& owner, TransportButton button)
{
    owner.stopPlayingAudio();
    owner.unmuteAudio();
    owner.stopPlayAnimation();
    owner.stopHUDUpdates();
    owner.stopSoundEffect(SoundEffect::TapeSpeeding);
    owner.playSoundEffect(SoundEffect::ButtonClear);
    owner.setPlaybackSpeed(1.0);
    owner.clearSelectedButton(button);
}

// Cueing and Reviewing: audible fast play over Playing.
void startScanning(WindowControllerOwner& owner, double speed, TransportButton button)
{
    owner.playSoundEffect(SoundEffect::PausePress);
    owner.setPlaybackSpeed(speed);
    owner.setSelectedButton(button);
}

void stopScanning(WindowControllerOwner& owner, TransportButton button)
{
    owner.playSoundEffect(SoundEffect::PauseRelease);
    owner.setPlaybackSpeed(1.0);
    owner.clearSelectedButton(button);
}

} // namespace

void TapeMap_FastForwarding::Entry(WindowControllerContext& context)
{
    startWinding(context.owner(), 8.0, TransportButton::FastForward);
}

void TapeMap_FastForwarding::Exit(WindowControllerContext& context)
{
    stopWinding(context.owner(), TransportButton::FastForward);
}

void TapeMap_FastForwarding::ffwdUp(WindowControllerContext& context)
{
    popBack(context);
}

void TapeMap_FastForwarding::play(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::play);
}

void TapeMap_FastForwarding::rewindDown(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::rewindDown);
}

void TapeMap_FastForwarding::stop(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::stop);
}

void TapeMap_FastForwarding::tapeChosen(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::tapeChosen);
}

void TapeMap_FastForwarding::windowWillClose(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::windowWillClose);
}

void TapeMap_FastForwarding::Default(WindowControllerContext&) {}

void TapeMap_Rewinding::Entry(WindowControllerContext& context)
{
    startWinding(context.owner(), -8.0, TransportButton::Rewind);
}

void TapeMap_Rewinding::Exit(WindowControllerContext& context)
{
    stopWinding(context.owner(), TransportButton::Rewind);
}

void TapeMap_Rewinding::rewindUp(WindowControllerContext& context)
{
    popBack(context);
}

void TapeMap_Rewinding::ffwdDown(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::ffwdDown);
}

void TapeMap_Rewinding::play(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::play);
}

void TapeMap_Rewinding::stop(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::stop);
}

void TapeMap_Rewinding::tapeChosen(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::tapeChosen);
}

void TapeMap_Rewinding::windowWillClose(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::windowWillClose);
}

void TapeMap_Rewinding::Default(WindowControllerContext&) {}

void TapeMap_Cueing::Entry(WindowControllerContext& context)
{
    startScanning(context.owner(), 2.0, TransportButton::FastForward);
}

void TapeMap_Cueing::Exit(WindowControllerContext& context)
{
    stopScanning(context.owner(), TransportButton::FastForward);
}

void TapeMap_Cueing::ffwdUp(WindowControllerContext& context)
{
    popBack(context);
}

void TapeMap_Cueing::play(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::play);
}

void TapeMap_Cueing::rewindDown(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::rewindDown);
}

void TapeMap_Cueing::stop(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::stop);
}

void TapeMap_Cueing::tapeChosen(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::tapeChosen);
}

void TapeMap_Cueing::windowWillClose(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::windowWillClose);
}

void TapeMap_Cueing::Default(WindowControllerContext&) {}

void TapeMap_Reviewing::Entry(WindowControllerContext& context)
{
    startScanning(context.owner(), -2.0, TransportButton::Rewind);
}

void TapeMap_Reviewing::Exit(WindowControllerContext& context)
{
    stopScanning(context.owner(), TransportButton::Rewind);
}

void TapeMap_Reviewing::rewindUp(WindowControllerContext& context)
{
    popBack(context);
}

void TapeMap_Reviewing::ffwdDown(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::ffwdDown);
}

void TapeMap_Reviewing::play(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::play);
}

void TapeMap_Reviewing::stop(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::stop);
}

void TapeMap_Reviewing::tapeChosen(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::tapeChosen);
}

void TapeMap_Reviewing::windowWillClose(WindowControllerContext& context)
{
    popAndResend(context, &WindowControllerContext::windowWillClose);
}

void TapeMap_Reviewing::Default(WindowControllerContext&) {}

} // namespace spindrel
