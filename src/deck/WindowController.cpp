#include "deck/WindowController.h"

#include "SMC/WindowControllerContext.h"
#include "audio/VORLAudioHardware.h"
#include "audio/VORLExtendedAudioFilePlayer.h"
#include "deck/DeckActions.h"
#include "deck/DeckInputMeter.h"
#include "deck/DeckKeyboardFocus.h"
#include "deck/DeckPreferences.h"
#include "deck/DeckSoundEffects.h"
#include "deck/DeckStatusItem.h"
#include "deck/DeckWindow.h"
#include "deck/DefaultsKeys.h"
#include "deck/PlaybackSession.h"
#include "deck/RecordingSession.h"
#include "deck/SoundEffectPlayer.h"
#include "deck/SoundServerNotice.h"
#include "deck/TapeBoxViewController.h"
#include "foundation/Assertion.h"
#include "foundation/Log.h"
#include "hud/HUDAccessibility.h"
#include "hud/HUDView.h"
#include "hud/KeyboardTransportMap.h"
#include "hud/SegmentedTapeButtonView.h"
#include "hud/TapeBoxSearchField.h"
#include "hud/TapeView.h"
#include "tapes/RecordingDefaults.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QApplication>
#include <QMenu>
#include <QProgressDialog>
#include <QTimer>
#include <unistd.h>

namespace spindrel {

namespace K = DefaultsKeys;

WindowController::WindowController(DeckPreferences& preferences, QObject* parent)
    : QObject(parent), mPreferences(preferences)
{
    buildDeck();
    placeWindowAndConnectAudio();
    mActions = new DeckActions(*this);
}

WindowController::~WindowController()
{
    // What is still being written reaches its tapes while this controller is whole.
    if (mSelectedTape)
        stopObservingTape(mSelectedTape);
    mCommits.waitUntilIdle();
    if (mTapeArrayController)
        mTapeArrayController->stopMonitoringRecordingDirectory();
    unregisterHotkeys();
    mInputMeter->shutDown();
    // The window's widgets refer to this controller; they go first.
    delete mWindow;
}

void WindowController::buildDeck()
{
    // The folder is read in the background: the deck answers at once, and the box fills as tapes load.
    mTapeArrayController = std::make_unique<TapeLibraryArrayController>(
        mPreferences.tapeLibraryPath(), TapeLibraryArrayController::Loading::InBackground);
    mFSM = std::make_unique<WindowControllerContext>(*this);
    mRecording = new RecordingSession(this);
    // A device that goes away or a disk that fills up ends the recording; the take is kept.
    connect(mRecording, &RecordingSession::failed, this, [this](const QString& message) {
        recordingFailed(tr("%1 What was recorded so far is kept.").arg(message));
    });
    connect(mRecording, &RecordingSession::stopped, this, &WindowController::recorderStopped);
    connect(mRecording, &RecordingSession::finished, this, &WindowController::recordingFileFinished);
    mPlayback = new PlaybackSession(this);
    connect(mPlayback, &PlaybackSession::reachedEnd, this, &WindowController::stopTape);
    connect(mPlayback, &PlaybackSession::outputLost, this, &WindowController::playbackOutputLost);
    mStatusItem = new DeckStatusItem(this);
    connect(mStatusItem, &DeckStatusItem::recordTriggered, this, &WindowController::recordTape);
    connect(mStatusItem, &DeckStatusItem::pauseTriggered, this, &WindowController::pauseTape);
    connect(mStatusItem, &DeckStatusItem::stopTriggered, this, &WindowController::stopTape);
    connect(mStatusItem, &DeckStatusItem::playTriggered, this, &WindowController::playTape);
    connect(mStatusItem, &DeckStatusItem::showDeckTriggered, this, &WindowController::activateApp);

    HUDAccessibility::install();
    mWindow = new DeckWindow;
    mHUDView = mWindow->hudView();
    mSegmentedTapeButtonView = mWindow->buttonView();
    mTapeView = mWindow->tapeView();
    buildTransportStrip();
    buildTapeBox();
    mTapeArrayController->setSelectionIndex(0);

    connect(mWindow, &DeckWindow::drawerButtonPressed, this, &WindowController::discloseTapes);
    connect(mWindow, &DeckWindow::closing, this, &WindowController::windowWillClose);
    connect(mTapeArrayController.get(), &TapeLibraryArrayController::importRequested, this,
            &WindowController::libraryImportRequested);
    observeCopies();

    registerDefaults();
    loadDefaults();
    observeHUD();
    mSoundEffects = new DeckSoundEffects(mPreferences, systemOutputDeviceUID(), this);
    bindTapeView();
    // Owned by this controller as a child object.
    new DeckKeyboardFocus(*mWindow, *mTapeBox, this);

    // The initial call loads the newest tape, selected above, into the deck.
    connect(mTapeArrayController.get(), &TapeLibraryArrayController::selectionChanged, this,
            [this] { sendEvent(&WindowControllerContext::tapeChosen); });
    sendEvent(&WindowControllerContext::tapeChosen);
    restoreLastTape();
    connect(qApp, &QCoreApplication::aboutToQuit, this, &WindowController::windowWillClose);
}

void WindowController::placeWindowAndConnectAudio()
{
    mWindow->setObjectName(QStringLiteral("SpindrelWindow"));
    restoreWindowFrame();
    mInputMeter = new DeckInputMeter(mPreferences, *mHUDView, this);
    mInputMeter->start();
    mSoundServerNotice = std::make_unique<SoundServerNotice>(*this);
    mSegmentedTapeButtonView->setFocus();
}

void WindowController::showWindow()
{
    mWindow->show();
    mWindow->raise();
    mWindow->activateWindow();
    mSegmentedTapeButtonView->setFocus();
}

void WindowController::applicationDidFinishLaunching()
{
    mTapeArrayController->startMonitoringRecordingDirectory();
    connect(&mFolderWatch, &LibraryFolderWatch::stateChanged, this,
            &WindowController::libraryFolderStateChanged);
    mFolderWatch.setFolder(mPreferences.tapeLibraryPath());
    const auto showStatusItem = [this](bool show) {
        if (show)
            mStatusItem->install();
        else
            mStatusItem->remove();
    };
    connect(&mPreferences, &DeckPreferences::showStatusItemChanged, this, showStatusItem);
    showStatusItem(mPreferences.showStatusItem());
    // One handler for the four: each change registers all three hot keys again.
    connect(&mPreferences, &DeckPreferences::enableHotKeysChanged, this, &WindowController::registerHotkeys);
    for (auto changed : {&DeckPreferences::recordHotKeyChanged, &DeckPreferences::stopHotKeyChanged,
                         &DeckPreferences::pauseHotKeyChanged})
        connect(&mPreferences, changed, this, &WindowController::registerHotkeys);
    registerHotkeys();
    connect(&mPreferences, &DeckPreferences::tapeLibraryPathChanged, this,
            &WindowController::tapeLibraryLocationChanged);
    tapeLibraryLocationChanged();
}

void WindowController::buildTransportStrip()
{
    SegmentedTapeButtonView* strip = mSegmentedTapeButtonView;
    // REC, PLAY, REW, FFWD, STOP and PAUSE with their glyphs; play, rewind and fast-forward
    // can be held.
    strip->setUpTransportSegments();
    QVariant keymap = mPreferences.defaultsValue(KeyboardTransportMap::defaultsKey());
    if (!keymap.isValid() || keymap.toMap().isEmpty()) {
        keymap = KeyboardTransportMap::defaultMap();
        mPreferences.setDefaultsValue(KeyboardTransportMap::defaultsKey(), keymap);
    }
    strip->setKeymap(keymap.toMap());
    const std::array<void (WindowController::*)(), 6> actions{
        &WindowController::recordTape,      &WindowController::playTape, &WindowController::rewindTape,
        &WindowController::fastForwardTape, &WindowController::stopTape, &WindowController::pauseTape};
    connect(strip, &SegmentedTapeButtonView::segmentAction, this, [this, actions](int segment) {
        if (segment >= 0 && segment < int(actions.size()))
            (this->*actions[std::size_t(segment)])();
    });
}

void WindowController::registerDefaults()
{
    QVariantMap defaults = RecordingDefaults::deckValues();
    defaults.insert(K::PlaybackVolume, 0.0);
    defaults.insert(K::EnableSoftwarePlaythrough, false);
    mPreferences.registerDefaults(defaults);
}

void WindowController::loadDefaults()
{
    mHUDView->setStereo(mPreferences.recordingIsStereo());
    mHUDView->setVolume(mPreferences.playbackVolume());
    mHUDView->setQuality(mPreferences.recordingQuality());
}

void WindowController::observeHUD()
{
    auto stereo = [this] { mPreferences.setRecordingIsStereo(mHUDView->stereo()); };
    auto quality = [this] { mPreferences.setRecordingQuality(mHUDView->quality()); };
    connect(mHUDView, &HUDView::stereoChanged, this, stereo);
    connect(mHUDView, &HUDView::qualityChanged, this, quality);
    connect(mHUDView, &HUDView::volumeChanged, this, &WindowController::hudVolumeChanged);
    connect(mHUDView, &HUDView::positionChanged, this, &WindowController::hudPositionChanged);
    stereo();
    quality();
    hudVolumeChanged();
    hudPositionChanged();
    mHUDView->setCanRecordStereo([this] { return mPreferences.recordingAudioDevice().canRecordStereo(); });
}

void WindowController::hudVolumeChanged()
{
    mPreferences.setPlaybackVolume(double(float(mHUDView->volume())));
    mPlayback->setVolume(mHUDView->volume());
}

void WindowController::hudPositionChanged()
{
    // Only the user's moves seek; the controller's own refreshes set the flag around theirs.
    if (mUpdatingPositionDisplay || !mPlayback->player())
        return;
    const double position = mHUDView->position();
    mPlayback->seek(position);
    mHUDView->setMaxTime(mPlayback->maxTime());
    mHUDView->setTime(position);
}

void WindowController::bindTapeView()
{
    // The view follows the loaded tape and writes its edits back to it.
    connect(this, &WindowController::selectedTapeChanged, mTapeView,
            [this] { mTapeView->setTape(mSelectedTape); });
    mTapeView->setTape(mSelectedTape);
    connect(mTapeView, &TapeView::revealTapeRequested, this, [this] { showInFolder(); });
    connect(mTapeView, &TapeView::shareButtonPressed, this, &WindowController::shareButtonPressed);
}

void WindowController::tapeLibraryLocationChanged()
{
    // Every tape is written before the library moves on; the writing goes on in the background.
    mCommits.commit(mTapeArrayController->content());
    const QString folder = mPreferences.tapeLibraryPath();
    if (folder == mTapeArrayController->folderPath()) {
        // The same folder (as at launch): tapes still being read are written as they come.
        mCommitArrivals = mTapeArrayController->isScanning();
        mTapeArrayController->scanInBackground();
        return;
    }
    mCommitArrivals = false;
    mTapeArrayController->setFolderPath(folder);
    mFolderWatch.setFolder(folder);
    reloadLibrary();
}

std::optional<Error> WindowController::sendEvent(TransportEvent transportEvent)
{
    if (mClosed)
        return std::nullopt;
    if (mWaitingForRecorder) {
        // The finished take is loaded anyway, so a choice of tape meanwhile needs no turn of its own.
        if (transportEvent != &WindowControllerContext::tapeChosen)
            mDeferredEvents.append(transportEvent);
        return std::nullopt;
    }
    std::optional<Error> refusal = ((*mFSM).*transportEvent)();
    if (refusal)
        logError(QStringLiteral("Spindrel_sm"), refusal->localizedDescription());
    Q_EMIT transportStateChanged(transportState());
    return refusal;
}

TransportState WindowController::transportState() const
{
    return mFSM->transportState();
}

QString WindowController::systemOutputDeviceUID()
{
    const VORLAudioDevice device = VORLAudioHardware::defaultOutputDevice();
    if (!device.serverReachable()) {
        logError(QStringLiteral("WindowController"), QStringLiteral("could not get system output device ID"));
        return {};
    }
    const QString uid = device.sinkName();
    if (uid.isEmpty()) {
        logError(QStringLiteral("WindowController"),
                 QStringLiteral("could not get system output device UID"));
        return {};
    }
    return uid;
}

void WindowController::windowWillClose()
{
    if (mClosed)
        return;
    // The take is finished here and now: after closing, or once the application quits, no did-stop
    // notice would come. Letting go of the recorder drains what it already captured.
    if (mWaitingForRecorder)
        finishRecordingNow();
    mDeferredEvents.clear();
    sendEvent(&WindowControllerContext::windowWillClose);
    if (mWaitingForRecorder)
        finishRecordingNow();
    mClosed = true;
    saveWindowFrame();
    mTapeArrayController->stopMonitoringRecordingDirectory();
    disconnect(mTapeArrayController.get(), &TapeLibraryArrayController::selectionChanged, this, nullptr);
    disconnect(&mPreferences, nullptr, this, nullptr);
    destroyTapePlayer();
    mCommits.commit(mTapeArrayController->content());
    mRecording->finish();
    mSoundServerNotice.reset();
    mInputMeter->shutDown();
    mStatusItem->remove();
    unregisterHotkeys();
    finishClosing();
}

void WindowController::finishClosing()
{
    if (mCommits.isIdle() && mCopies.isIdle()) {
        Q_EMIT windowDidClose();
        return;
    }
    // Quitting never drops an edit, nor a copy half-way: the deck is gone from the screen, and a
    // dialog tells how the writing goes when it takes more than a moment. Copies may be stopped
    // there (a copy to a hung or slow disk would hold the quit up), edits may not.
    auto* progress = new QProgressDialog(QString(), QString(), 0, 0);
    progress->setObjectName(QStringLiteral("SavingTapesDialog"));
    progress->setWindowTitle(tr("Spindrel"));
    progress->setMinimumDuration(500);
    progress->setAutoClose(false);
    progress->setAttribute(Qt::WA_DeleteOnClose);
    const auto update = [this, progress] {
        if (mCommits.isIdle() && mCopies.isIdle()) {
            disconnect(&mCommits, nullptr, progress, nullptr);
            disconnect(&mCopies, nullptr, progress, nullptr);
            progress->close();
            Q_EMIT windowDidClose();
            return;
        }
        progress->setLabelText(mCopies.isIdle() ? tr("Saving the tapes’ changes…") : tr("Copying tapes…"));
        progress->setCancelButtonText(mCopies.isIdle() ? QString() : tr("Stop Copying"));
        progress->setMaximum(mCommits.batchTotal() + mCopies.importsTotal() + mCopies.exportsTotal());
        progress->setValue(mCommits.batchDone() + mCopies.importsDone() + mCopies.exportsDone());
    };
    connect(&mCommits, &TapeCommitQueue::progressChanged, progress, update);
    connect(&mCommits, &TapeCommitQueue::idle, progress, update);
    connect(&mCopies, &TapeCopyQueue::progressChanged, progress, update);
    connect(&mCopies, &TapeCopyQueue::idle, progress, update);
    connect(progress, &QProgressDialog::canceled, &mCopies, &TapeCopyQueue::cancel);
    update();
}

SoundEffectPlayer* WindowController::soundEffect(SoundEffect sound) const
{
    return mSoundEffects ? mSoundEffects->player(sound) : nullptr;
}

void WindowController::playSoundEffect(SoundEffect sound)
{
    if (mSoundEffects)
        mSoundEffects->play(sound);
}

void WindowController::stopSoundEffect(SoundEffect sound)
{
    if (mSoundEffects)
        mSoundEffects->stop(sound);
}

bool WindowController::isRecordingPaused() const
{
    return mRecording->isPaused();
}

VORLExtendedAudioFilePlayer* WindowController::audioFilePlayer() const
{
    return mPlayback->player();
}

VORLExtendedAudioFileRecorder* WindowController::audioFileRecorder() const
{
    return mRecording->recorder();
}

void WindowController::showDeckMessage(const QString& message)
{
    mWindow->showMessage(message);
}

QString WindowController::deckMessage() const
{
    return mWindow->message();
}

} // namespace spindrel
