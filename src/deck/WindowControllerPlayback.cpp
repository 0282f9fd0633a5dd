#include "SMC/WindowControllerContext.h"
#include "audio/VORLAudioInputMeter.h"
#include "deck/DeckPreferences.h"
#include "deck/DeckWindow.h"
#include "deck/PlaybackSession.h"
#include "deck/RecordingSession.h"
#include "deck/WindowController.h"
#include "foundation/Log.h"
#include "hud/HUDView.h"
#include "hud/SegmentedTapeButtonView.h"
#include "hud/TapeView.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QApplication>
#include <QTimer>
#include <limits>

namespace spindrel {

namespace {
// One fifteenth of a second, held in single precision.
constexpr double kRefreshSeconds = double(1.0f / 15.0f);

QTimer* makeRefreshTimer(QObject* owner, std::function<void()> tick)
{
    auto* timer = new QTimer(owner);
    timer->setTimerType(Qt::PreciseTimer);
    timer->setInterval(int(kRefreshSeconds * 1000.0 + 0.5));
    QObject::connect(timer, &QTimer::timeout, owner, std::move(tick));
    timer->start();
    return timer;
}
} // namespace

void WindowController::recordTape()
{
    sendEvent(&WindowControllerContext::rec);
}

void WindowController::playTape()
{
    sendEvent(&WindowControllerContext::play);
}

void WindowController::stopTape()
{
    sendEvent(&WindowControllerContext::stop);
}

void WindowController::pauseTape()
{
    sendEvent(mSegmentedTapeButtonView->isSelectedSegment(int(TransportButton::Pause))
                  ? &WindowControllerContext::pauseUp
                  : &WindowControllerContext::pauseDown);
}

void WindowController::rewindTape()
{
    sendEvent(mSegmentedTapeButtonView->isSelectedSegment(int(TransportButton::Rewind))
                  ? &WindowControllerContext::rewindUp
                  : &WindowControllerContext::rewindDown);
}

void WindowController::fastForwardTape()
{
    sendEvent(mSegmentedTapeButtonView->isSelectedSegment(int(TransportButton::FastForward))
                  ? &WindowControllerContext::ffwdUp
                  : &WindowControllerContext::ffwdDown);
}

void WindowController::previousTape()
{
    // Nothing selected is the largest index there is: one past it is never inside the list.
    const int selected = mTapeArrayController->selectionIndex();
    const auto index = selected < 0 ? quint64(std::numeric_limits<qint64>::max()) : quint64(selected);
    if (index + 1 >= quint64(mTapeArrayController->arrangedObjects().size())) {
        QApplication::beep();
        return;
    }
    mTapeArrayController->setSelectionIndex(int(index + 1));
}

void WindowController::nextTape()
{
    const int index = mTapeArrayController->selectionIndex();
    if (index == 0) {
        QApplication::beep();
        return;
    }
    // With nothing selected the library gets the not-found index minus one and selects nothing.
    mTapeArrayController->setSelectionIndex(index - 1);
}

void WindowController::activateApp()
{
    mWindow->show();
    mWindow->raise();
    mWindow->activateWindow();
}

void WindowController::playbackOutputLost(const QString& deviceName)
{
    // The player has stopped already; the transport follows so the keys come up.
    showDeckMessage(tr("Playback stopped: the output device “%1” is gone.").arg(deviceName));
    stopTape();
}

void WindowController::clearButtons()
{
    mSegmentedTapeButtonView->clearSelectedSegments();
}

void WindowController::setSelectedButton(TransportButton button)
{
    mSegmentedTapeButtonView->setSelectedSegment(int(button));
}

void WindowController::clearSelectedButton(TransportButton button)
{
    mSegmentedTapeButtonView->clearSelectedSegment(int(button));
}

bool WindowController::canSelectTape()
{
    // During a stop the take is not finished yet; it is loaded once it is.
    return !mWaitingForRecorder && !mTapeArrayController->selectedObjects().isEmpty();
}

void WindowController::createTapePlayer()
{
    if (mSelectedTape)
        mPlayback->open(mSelectedTape->filename(), mPreferences.playbackAudioDevice(), mHUDView->volume());
}

void WindowController::destroyTapePlayer()
{
    mPlayback->close();
}

void WindowController::clearCurrentTime()
{
    mUpdatingPositionDisplay = true;
    mHUDView->setTime(0.0);
    mHUDView->setPosition(0.0);
    mUpdatingPositionDisplay = false;
}

void WindowController::startPlayingAudio()
{
    QString error;
    if (!mPlayback->start(&error)) {
        showDeckMessage(tr("Spindrel could not play the tape: %1").arg(error));
        // Not from inside the transition that started playing: the stop comes right after it.
        QMetaObject::invokeMethod(this, &WindowController::stopTape, Qt::QueuedConnection);
    }
}

void WindowController::stopPlayingAudio()
{
    mPlayback->stop();
}

void WindowController::muteAudio()
{
    mPlayback->mute();
}

void WindowController::unmuteAudio()
{
    mPlayback->setVolume(mHUDView->volume());
}

void WindowController::setPlaybackSpeed(double speed)
{
    mPlayback->setSpeed(speed);
    mTapeView->setRotationSpeed(speed);
}

void WindowController::startHUDUpdates(bool start)
{
    if (start) {
        delete mHUDTimer;
        mHUDTimer = makeRefreshTimer(this, [this] { updateHUD(); });
        return;
    }
    delete mHUDTimer;
    mHUDTimer = nullptr;
    updateHUD();
}

void WindowController::updateHUD()
{
    const double time = mPlayback->player() ? mPlayback->currentTime() : mRecording->currentTime();
    const double maxTime = mPlayback->maxTime();
    mHUDView->setTime(time);
    mUpdatingPositionDisplay = true;
    mHUDView->setPosition(time);
    mUpdatingPositionDisplay = false;
    mHUDView->setMaxTime(maxTime);
    // The wound packs on the cassette follow the play position.
    if (maxTime > 0.0)
        mTapeView->setPlayProgress(std::clamp(time / maxTime, 0.0, 1.0));
}

void WindowController::startPlayAnimation()
{
    mTapeView->startRotationAnimation(true);
}

void WindowController::stopPlayAnimation()
{
    mTapeView->startRotationAnimation(false);
}

void WindowController::playInsertionAnimation()
{
    mTapeView->insertTape();
}

void WindowController::playRemovalAnimation()
{
    mTapeView->ejectTape();
}

} // namespace spindrel
