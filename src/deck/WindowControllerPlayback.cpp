#include "SMC/WindowControllerContext.h"
#include "audio/AudioException.h"
#include "audio/VORLAudioInputMeter.h"
#include "deck/DeckPreferences.h"
#include "deck/DeckWindow.h"
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

void WindowController::audioFilePlayerDidReachEndOfFile(VORLExtendedAudioFilePlayer*)
{
    stopTape();
}

void WindowController::audioFilePlayerDidFail(VORLExtendedAudioFilePlayer* player)
{
    // The player has stopped already; the transport follows so the keys come up.
    showDeckMessage(
        tr("Playback stopped: the output device “%1” is gone.").arg(player->device().deviceName()));
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
    if (!mSelectedTape)
        return;
    try {
        mAudioFilePlayer = std::make_unique<VORLExtendedAudioFilePlayer>(mSelectedTape->filename(),
                                                                         mPreferences.playbackAudioDevice());
        mAudioFilePlayer->setPlaybackVolume(mHUDView->volume());
        mAudioFilePlayer->setDelegate(this);
    } catch (const AudioException& exception) {
        mAudioFilePlayer.reset();
        logError(QStringLiteral("WindowController"), QStringLiteral("Exception! %1").arg(exception.reason()));
    } catch (const std::exception& exception) {
        mAudioFilePlayer.reset();
        logError(QStringLiteral("WindowController"),
                 QStringLiteral("Exception! %1").arg(QString::fromLocal8Bit(exception.what())));
    }
}

void WindowController::destroyTapePlayer()
{
    if (!mAudioFilePlayer)
        return;
    mAudioFilePlayer->setDelegate(nullptr);
    mAudioFilePlayer.reset();
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
    if (mAudioFilePlayer && !mAudioFilePlayer->startFilePlaying()) {
        showDeckMessage(tr("Spindrel could not play the tape: %1").arg(mAudioFilePlayer->errorString()));
        // Not from inside the transition that started playing: the stop comes right after it.
        QMetaObject::invokeMethod(this, &WindowController::stopTape, Qt::QueuedConnection);
    }
}

void WindowController::stopPlayingAudio()
{
    if (mAudioFilePlayer)
        mAudioFilePlayer->stopFilePlaying();
}

void WindowController::muteAudio()
{
    if (mAudioFilePlayer)
        mAudioFilePlayer->setPlaybackLevel(0.0);
}

void WindowController::unmuteAudio()
{
    // The volume, not the level: setting the user's volume again lifts the mute.
    if (mAudioFilePlayer)
        mAudioFilePlayer->setPlaybackVolume(mHUDView->volume());
}

void WindowController::setPlaybackSpeed(double speed)
{
    if (mAudioFilePlayer)
        mAudioFilePlayer->setPlaybackSpeed(speed);
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
    double time = 0.0;
    double maxTime = 0.0;
    if (mAudioFilePlayer) {
        time = mAudioFilePlayer->currentTime();
        maxTime = mAudioFilePlayer->maxTime();
        mCurrentPlayTime = time;
    } else if (mAudioFileRecorder) {
        time = mAudioFileRecorder->currentTime();
        mCurrentRecordTime = time;
    }
    mHUDView->setTime(time);
    mUpdatingPositionDisplay = true;
    mHUDView->setPosition(time);
    mUpdatingPositionDisplay = false;
    mHUDView->setMaxTime(maxTime);
    // The wound packs on the cassette follow the play position.
    if (maxTime > 0.0)
        mTapeView->setPlayProgress(std::clamp(time / maxTime, 0.0, 1.0));
}

void WindowController::startLevelMeter(bool start)
{
    if (start) {
        delete mMeterTimer;
        mMeterTimer = makeRefreshTimer(this, [this] { updateMeter(); });
        return;
    }
    delete mMeterTimer;
    mMeterTimer = nullptr;
    updateMeter();
    mHUDView->setLevels(-100.0, -100.0);
}

void WindowController::updateMeter()
{
    if (!mAudioInputMeter)
        return;
    const auto [left, right] = mAudioInputMeter->levels();
    mHUDView->setLevels(left, right);
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
