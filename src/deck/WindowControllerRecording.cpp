#include "SMC/WindowControllerContext.h"
#include "deck/DeckPreferences.h"
#include "deck/DeckStatusItem.h"
#include "deck/DefaultsKeys.h"
#include "deck/PlaybackSession.h"
#include "deck/RecordingSession.h"
#include "deck/TapeBoxViewController.h"
#include "deck/WindowController.h"
#include "foundation/Assertion.h"
#include "foundation/Log.h"
#include "hud/HUDView.h"
#include "hud/SegmentedTapeButtonView.h"
#include "hud/TapeView.h"
#include "tapes/NewRecording.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QFile>
#include <QFileInfo>
#include <QTimer>
#include <utility>

namespace spindrel {

namespace K = DefaultsKeys;

void WindowController::startRecordingAudio()
{
    // The transport unloads a tape before it records; recording over one still loaded would lose it.
    if (mSelectedTape) {
        reportFailedCheck("The selected tape was not cleared before beginning a recording",
                          "WindowController", 1162, __func__);
        return;
    }
    mTapeArrayController->pauseMonitoringRecordingDirectory();

    const TapePtr tape =
        NewRecording::tapeForRecording(mPreferences.tapeLibraryPath(), NewRecording::newTitle(),
                                       mPreferences.tapeAuthor(), mHUDView->quality());
    setSelectedTape(tape);
    mTapeArrayController->addObject(tape);

    mRecordingUnusable = false;
    const VORLAudioDevice device = mPreferences.recordingAudioDevice();
    QString error;
    if (!mRecording->start(*tape, mHUDView->quality(), mHUDView->stereo(), device,
                           mPreferences.recordingAudioDeviceChannels(),
                           mPreferences.lockRecordingSampleRate(), &error)) {
        // A folder that is gone or closed to us explains the failure better than the file does.
        const QString folderProblem = mFolderWatch.problemText();
        const QString problem = !folderProblem.isEmpty() ? folderProblem : device.inputProblem();
        recordingFailed(tr("Spindrel could not record: %1")
                            .arg(!problem.isEmpty()
                                     ? problem
                                     : (error.isEmpty() ? tr("the recorder did not start") : error)));
        if (!folderProblem.isEmpty())
            showFolderBanner(deckMessage());
    }

    mStatusItem->setImage(QStringLiteral("spstatus-recording"));
    mHUDView->setRecordingMode(true);
    mTapeBox->setRecording(true);
    Q_EMIT tapeOperationsChanged();
}

void WindowController::recordingFailed(const QString& message)
{
    mRecordingUnusable = true;
    logError(QStringLiteral("WindowController"), message);
    showDeckMessage(message);
    // The transport is in the middle of a transition here; the stop comes once it has settled.
    QTimer::singleShot(0, this, [this] {
        // A stop already under way finishes the take itself.
        if (mRecordingUnusable && !mWaitingForRecorder)
            stopTape();
    });
}

void WindowController::pauseRecordingAudio()
{
    mRecording->pause();
    mStatusItem->setPaused(true);
}

void WindowController::resumeRecordingAudio()
{
    mStatusItem->setPaused(false);
    QString error;
    if (!mRecording->resume(&error))
        recordingFailed(
            tr("The recording could not go on: %1. What was recorded so far is kept.").arg(error));
}

void WindowController::stopRecordingAudio()
{
    // The server still holds the last moments of the take, and then the file is finished. Until
    // the tape is ready the transport rests at idle and its events wait their turn.
    mWaitingForRecorder = true;
    if (!mRecording->stop())
        finishRecording();
}

void WindowController::recorderStopped()
{
    if (!mWaitingForRecorder || mRecording->isFinishing())
        return;
    finishRecording();
}

void WindowController::finishRecording()
{
    mWaitingForRecorder = true;
    mRecording->finishInBackground();
}

void WindowController::recordingFileFinished(const RecordingSession::Take& take)
{
    takeFinished(take);
    // The transport went back to idle when the stop began; now the finished take can be loaded.
    sendEvent(&WindowControllerContext::tapeChosen);
    // What was pressed meanwhile runs in order; a new stop among it queues the rest again.
    const QList<TransportEvent> deferred = std::exchange(mDeferredEvents, {});
    for (const TransportEvent pressed : deferred)
        sendEvent(pressed);
}

void WindowController::finishRecordingNow()
{
    takeFinished(mRecording->finish());
}

void WindowController::takeFinished(const RecordingSession::Take& take)
{
    // Finishing renames the file and rearranges the library; the choice of tape that causes is
    // loaded after, not in the middle.
    mWaitingForRecorder = true;
    if (mSelectedTape) {
        // A recorder that never got going leaves an empty file: that is no tape.
        if (take.hadFile && mRecordingUnusable && take.recordedMs <= 0.0)
            QFile::remove(mSelectedTape->filename());
        if (!QFileInfo::exists(mSelectedTape->filename())) {
            discardUnrecordedTape();
        } else if (mRecordingUnusable) {
            // After a failure the tags may not fit on the full disk: the failure is what the user
            // needs to read, not that.
            const QString failure = deckMessage();
            mSelectedTape->parseMP4FileHeaders();
            mSelectedTape->commitAttributes();
            if (!failure.isEmpty() && deckMessage() != failure)
                showDeckMessage(failure);
            Q_EMIT recordingFinished(mSelectedTape);
        } else {
            // Its length is on the cassette the commit draws; its tags are written with the other
            // tapes' edits, in the background.
            mSelectedTape->parseMP4FileHeaders();
            mCommits.commit(mSelectedTape);
            Q_EMIT recordingFinished(mSelectedTape);
        }
    }
    mRecordingUnusable = false;
    mTapeArrayController->resumeMonitoringRecordingDirectory();

    mStatusItem->setPaused(false);
    mStatusItem->setImage(QStringLiteral("spstatus"));
    mHUDView->setRecordingMode(false);
    mTapeBox->setRecording(false);
    mWaitingForRecorder = false;
    Q_EMIT tapeOperationsChanged();
}

void WindowController::discardUnrecordedTape()
{
    // Nothing was written: the tape has no file, so it leaves the list rather than linger there.
    const TapePtr tape = mSelectedTape;
    setSelectedTape(nullptr);
    mTapeArrayController->removeObject(tape);
}

void WindowController::setSelectedTape(const TapePtr& tape)
{
    if (tape == mSelectedTape)
        return;
    const TapePtr previous = mSelectedTape;
    if (previous)
        stopObservingTape(previous);
    mSelectedTape = tape;
    if (tape)
        observeTape(tape);
    // A tape's edits are written when it is put away, in the background.
    if (previous)
        mCommits.commit(previous);
    Q_EMIT selectedTapeChanged();
}

void WindowController::clearSelectedTape()
{
    setSelectedTape(nullptr);
}

void WindowController::selectCurrentTape()
{
    const QList<TapePtr> selection = mTapeArrayController->selectedObjects();
    if (selection.isEmpty())
        clearSelectedTape();
    else if (selection.first() != mSelectedTape)
        setSelectedTape(selection.first());
}

void WindowController::observeTape(const TapePtr& tape)
{
    connect(tape.get(), &Tape::dirtyChanged, this, &WindowController::commitDirtyTape);
    connect(tape.get(), &Tape::errorOccurred, this,
            [this](const Error& error) { presentError(error.localizedDescription()); });
    connect(tape.get(), &Tape::commitFailed, this, &WindowController::showDeckMessage);
}

void WindowController::stopObservingTape(const TapePtr& tape)
{
    disconnect(tape.get(), nullptr, this, nullptr);
}

void WindowController::commitDirtyTape()
{
    // An edit made while a tape is loaded for playing is written at once. Tag writes never move
    // the audio of a file in place, and a replaced file stays open under the player, so the
    // sound goes on uninterrupted.
    if (!mPlayback->player() || !mSelectedTape)
        return;
    mCommits.commit(mSelectedTape);
}

} // namespace spindrel
