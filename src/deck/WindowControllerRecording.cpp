#include "SMC/WindowControllerContext.h"
#include "audio/VORLExtendedAudioFile.h"
#include "deck/DeckPreferences.h"
#include "deck/DefaultsKeys.h"
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

namespace {
// The recorder reports its stop well within this, a second or two after the stop at most.
constexpr int kRecorderStopDeadlineMs = 5000;
} // namespace

QString WindowController::newFilename()
{
    return NewRecording::newFilename();
}

QString WindowController::newTitle()
{
    return NewRecording::newTitle();
}

void WindowController::startRecordingAudio()
{
    // The transport unloads a tape before it records; recording over one still loaded would lose it.
    if (mSelectedTape) {
        reportFailedCheck("The selected tape was not cleared before beginning a recording",
                          "WindowController", 1162, __func__);
        return;
    }
    mTapeArrayController->pauseMonitoringRecordingDirectory();

    const QVariant author = mPreferences.defaultsValue(K::TapeAuthor);
    const TapePtr tape =
        NewRecording::tapeForRecording(mPreferences.tapeLibraryPath(), newTitle(),
                                       author.isValid() ? author.toString() : QString(), mHUDView->quality());
    setSelectedTape(tape);
    mTapeArrayController->addObject(tape);

    mRecordingUnusable = false;
    const VORLAudioDevice device = mPreferences.recordingAudioDevice();
    QString error;
    mAudioFileRecorder = NewRecording::recorderForTape(
        *tape, mHUDView->quality(), mHUDView->stereo(), device, mPreferences.recordingAudioDeviceChannels(),
        mPreferences.boolForKey(K::SPLockRecordingSampleRate), &error);
    if (mAudioFileRecorder) {
        mAudioFileRecorder->setDelegate(this);
        if (mAudioFileRecorder->startRecording()) {
            // A device that goes away or a disk that fills up later ends the recording; the
            // recorder keeps what it has as a tape.
            connect(mAudioFileRecorder.get(), &VORLExtendedAudioFileRecorder::audioFileRecorderDidFail, this,
                    [this](VORLExtendedAudioFileRecorder*, const QString& message) {
                        recordingFailed(tr("%1 What was recorded so far is kept.").arg(message));
                    });
        } else {
            error = mAudioFileRecorder->errorString();
        }
    }
    if (!mAudioFileRecorder || !mAudioFileRecorder->isFileRecording()) {
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

    setStatusItemImage(QStringLiteral("spstatus-recording"));
    mHUDView->setRecordingMode(true);
    mTapeBox->setRecording(true);
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
    mRecordingPaused = true;
    refreshStatusItemState();
    if (!mAudioFileRecorder)
        return;
    // Without a delegate no did-stop notice comes for a pause; the file stays open.
    mAudioFileRecorder->setDelegate(nullptr);
    mAudioFileRecorder->stopRecording();
}

void WindowController::resumeRecordingAudio()
{
    mRecordingPaused = false;
    refreshStatusItemState();
    if (!mAudioFileRecorder)
        return;
    mAudioFileRecorder->setDelegate(this);
    if (!mAudioFileRecorder->startRecording())
        recordingFailed(tr("The recording could not go on: %1. What was recorded so far is kept.")
                            .arg(mAudioFileRecorder->errorString()));
}

void WindowController::stopRecordingAudio()
{
    mWaitingForRecorder = mAudioFileRecorder && mAudioFileRecorder->isFileRecording();
    if (!mWaitingForRecorder) {
        finishRecording();
        return;
    }
    // The server still holds the last moments of the take; the recorder says when they are in the
    // file. Until then the transport rests at idle and its events wait their turn.
    if (!mRecorderStopDeadline) {
        mRecorderStopDeadline = new QTimer(this);
        mRecorderStopDeadline->setSingleShot(true);
        mRecorderStopDeadline->setInterval(kRecorderStopDeadlineMs);
        connect(mRecorderStopDeadline, &QTimer::timeout, this, [this] {
            logError(QStringLiteral("WindowController"),
                     QStringLiteral("The recorder did not report its stop; the take is finished anyway"));
            recorderStopped();
        });
    }
    mRecorderStopDeadline->start();
    mAudioFileRecorder->stopRecording();
}

void WindowController::audioFileRecorderDidStop(VORLExtendedAudioFileRecorder* recorder)
{
    // The recorder is let go in the finishing steps, so they run once this call has returned.
    if (recorder == mAudioFileRecorder.get())
        QMetaObject::invokeMethod(this, &WindowController::recorderStopped, Qt::QueuedConnection);
}

void WindowController::recorderStopped()
{
    if (!mWaitingForRecorder)
        return;
    finishRecording();
    // The transport went back to idle when the stop began; now the finished take can be loaded.
    sendEvent(&WindowControllerContext::tapeChosen);
    // What was pressed meanwhile runs in order; a new stop among it queues the rest again.
    const QList<TransportEvent> deferred = std::exchange(mDeferredEvents, {});
    for (const TransportEvent pressed : deferred)
        sendEvent(pressed);
}

void WindowController::finishRecording()
{
    if (mRecorderStopDeadline)
        mRecorderStopDeadline->stop();
    // Finishing renames the file and rearranges the library; the choice of tape that causes is
    // loaded after, not in the middle.
    mWaitingForRecorder = true;
    finalizeRecordedFile();
    mTapeArrayController->resumeMonitoringRecordingDirectory();

    mRecordingPaused = false;
    setStatusItemImage(QStringLiteral("spstatus"));
    refreshStatusItemState();
    mHUDView->setRecordingMode(false);
    mTapeBox->setRecording(false);
    mWaitingForRecorder = false;
}

void WindowController::finalizeRecordedFile()
{
    const double recordedMs = mAudioFileRecorder ? mAudioFileRecorder->currentTime() : 0.0;
    std::unique_ptr<VORLExtendedAudioFileRecorder> recorder = std::move(mAudioFileRecorder);
    std::shared_ptr<VORLExtendedAudioFile> file;
    if (recorder) {
        recorder->setDelegate(nullptr);
        disconnect(recorder.get(), nullptr, this, nullptr);
        file = recorder->recordFile();
        // Letting go of the recorder drains its encoder, so nothing writes while the file closes,
        // also when the recorder never reported its stop.
        recorder.reset();
    }
    if (file)
        file->closeFile();
    if (mSelectedTape) {
        // A recorder that never got going leaves an empty file: that is no tape.
        if (file && mRecordingUnusable && recordedMs <= 0.0)
            QFile::remove(mSelectedTape->filename());
        // After a failure the tags may not fit on the full disk: the failure is what the user
        // needs to read, not that.
        const QString failure = mRecordingUnusable ? deckMessage() : QString();
        if (NewRecording::finish(nullptr, *mSelectedTape))
            Q_EMIT recordingFinished(mSelectedTape);
        else
            discardUnrecordedTape();
        if (!failure.isEmpty() && deckMessage() != failure)
            showDeckMessage(failure);
    }
    mRecordingUnusable = false;
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
    if (!mAudioFilePlayer || !mSelectedTape)
        return;
    mCommits.commit(mSelectedTape);
}

} // namespace spindrel
