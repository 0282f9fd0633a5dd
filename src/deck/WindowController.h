#pragma once

#include "SMC/TransportState.h"
#include "SMC/WindowControllerOwner.h"
#include "deck/FileBrowser.h"
#include "deck/RecordingSession.h"
#include "foundation/Error.h"
#include "tapes/LibraryFolderWatch.h"
#include "tapes/ProcessLauncher.h"
#include "tapes/Tape.h"
#include "tapes/TapeCommitQueue.h"
#include "tapes/TapeCopyQueue.h"
#include "tapes/TapeExport.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QUrl>
#include <array>
#include <memory>

class QMenu;
class QSystemTrayIcon;
class QPropertyAnimation;
class QTimer;

namespace spindrel {

class DeckActions;
class DeckInputMeter;
class DeckPreferences;
class PlaybackSession;
class DeckSoundEffects;
class DeckStatusItem;
class PTHotKey;
class DeckWindow;
class HUDView;
class SegmentedTapeButtonView;
class SoundEffectPlayer;
class SoundServerNotice;
class TapeBoxViewController;
class TapeLibraryArrayController;
class TapeView;
class VORLAudioInputMeter;
class VORLExtendedAudioFilePlayer;
class VORLExtendedAudioFileRecorder;
class WindowControllerContext;

/// The deck: owns the window, the transport machine and the library, and carries out what the
/// transport asks of it by handing each role to an object of its own: the take to RecordingSession,
/// the loaded tape's player to PlaybackSession, the input levels to DeckInputMeter, the menu bar's
/// commands to DeckActions, the sounds to DeckSoundEffects and the tray icon to DeckStatusItem.
/// What stays here is the glue between them and the transport, spread over source files by role:
/// set-up (WindowController.cpp), recording, playback and the transport actions, the tape box, the
/// file operations, sharing, the window frame and the hot keys. Everything runs on the main thread.
class WindowController : public QObject, public WindowControllerOwner
{
    Q_OBJECT

public:
    /// Drawer widths in points: the deck alone, and with the tape box open.
    static constexpr int closedWidth = 390;
    static constexpr int openWidth = 626;
    static_assert(openWidth - closedWidth == 236, "the tape box drawer is 236 points wide");

    /// Builds the window and everything in it, and starts the library over the preferences' folder.
    explicit WindowController(DeckPreferences& preferences, QObject* parent = nullptr);
    ~WindowController() override;

    DeckWindow* window() const { return mWindow; }
    void showWindow();
    /// Where the window's place and size are kept between runs; beside them, whether it was
    /// maximised, whether the tape box was open and which tape was loaded.
    static QString frameAutosaveKey();
    static QString maximizedAutosaveKey();
    static QString tapesDisclosedAutosaveKey();
    static QString lastTapeAutosaveKey();
    /// Connects the deck to the rest of the application: the folder watch, the observed
    /// defaults and the device notices.
    void applicationDidFinishLaunching();

    // Transport actions, from buttons, keys, menus and hot keys.
    void recordTape();
    void playTape();
    void stopTape();
    void pauseTape();
    void rewindTape();
    void fastForwardTape();
    /// An older tape (the list is newest first); beeps at the end of the list.
    void previousTape();
    /// A newer tape; beeps at the start of the list.
    void nextTape();
    void activateApp();

    // The tape box.
    void discloseTapes();
    bool tapesDisclosed() const { return mTapesDisclosed; }
    /// Filters the library by the search field's text and selects the first row.
    void search();
    void performFindPanelAction();

    // File operations. `sender` names the tape to act on (a context-menu item carries its tape).
    // Failures show in the deck. Imports and exports copy in the background (see copies()).
    void importTapes();
    /// Errors show once all of the files are copied; the library then lists the new tapes.
    void importTapesIntoLibrary(const QList<QUrl>& urls);
    /// A save dialog for the tape; an existing file is replaced only when the user agrees.
    void exportTape(QObject* sender = nullptr);
    /// What the save dialog's OK does: asks first when `destination` exists.
    void exportTapeToChosenFile(const TapePtr& tape, const QString& destination);
    /// Copies the tape's file to `destination`; a failure shows in the deck once the copy ends.
    void exportTapeToFile(const TapePtr& tape, const QString& destination,
                          TapeExport::ExistingFile existing = TapeExport::ExistingFile::Keep);
    void showInFolder(QObject* sender = nullptr);
    void openLibraryFolder();
    /// The cassette's title and notes from the keyboard, as a click on them edits them.
    void editTapeTitle();
    void editTapeNotes();
    /// Plays the trash sound and moves the tape to the trash; it leaves the list at once.
    void moveTapeToTrash(QObject* sender = nullptr);
    /// A mail draft in the user's mail program with the tape attached.
    void emailTape(QObject* sender = nullptr);
    /// Lists the tape once in the music library's "Spindrel" playlist.
    void sendToMusicLibrary(QObject* sender = nullptr);
    /// The sender itself when it is a tape, else the tape it carries, else the selected tape.
    TapePtr tapeToOperateOn(QObject* sender) const;
    /// Hands the tape to the video upload window and shows it.
    void sendToYouTube(QObject* sender = nullptr);
    void sendTapeToYouTube(const TapePtr& tape);
    /// The share button's menu for the loaded tape, listed afresh each time.
    QMenu* shareMenu();
    void shareButtonPressed();
    /// Whether the tape operations (reveal, trash, export, mail, music library, share) may be
    /// used now: they need a selected tape with a file and no recording under way.
    bool canOperateOnSelectedTape() const;

    // What the file operations use; tests put their own in place.
    void setFileBrowser(FileBrowser browser) { mFileBrowser = std::move(browser); }
    void setProcessLauncher(ProcessLauncher& launcher) { mProcessLauncher = &launcher; }
    /// The playlist file of the music library (empty: the default in the music folder).
    void setMusicPlaylistPath(const QString& path) { mMusicPlaylistPath = path; }

    // Recording.
    /// A stop is under way: the transport is idle, the recorder still drains into the file.
    bool isWaitingForRecorder() const { return mWaitingForRecorder; }
    /// The tapes' edits on their way to the disk.
    const TapeCommitQueue& commits() const { return mCommits; }
    /// The imports and exports under way.
    const TapeCopyQueue& copies() const { return mCopies; }
    bool isRecordingPaused() const;

    // The loaded tape.
    const TapePtr& selectedTape() const { return mSelectedTape; }

    // Sound effects.
    SoundEffectPlayer* soundEffect(SoundEffect sound) const;

    /// Registers the record, stop and pause hot keys from the preferences (clear ones when hot
    /// keys are turned off), replacing the deck's earlier ones.
    void registerHotkeys();

    /// The tray icon with its menu.
    DeckStatusItem& statusItem() const { return *mStatusItem; }

    /// Stops the transport, commits every tape and lets go of the audio objects; the window's
    /// closing calls it.
    void windowWillClose();

    /// A failure the user must hear about, shown in the deck until dismissed.
    void showDeckMessage(const QString& message);
    QString deckMessage() const;

    /// Asks for another library folder (a folder dialog that does not block the deck).
    void chooseLibraryFolder();

    // The parts, for the application and for tests.
    WindowControllerContext& context() const { return *mFSM; }
    TransportState transportState() const;
    TapeLibraryArrayController& library() const { return *mTapeArrayController; }
    DeckPreferences& preferences() const { return mPreferences; }
    HUDView* hudView() const { return mHUDView; }
    SegmentedTapeButtonView* buttonView() const { return mSegmentedTapeButtonView; }
    TapeView* tapeView() const { return mTapeView; }
    TapeBoxViewController* tapeBoxViewController() const { return mTapeBox; }
    VORLExtendedAudioFilePlayer* audioFilePlayer() const;
    VORLExtendedAudioFileRecorder* audioFileRecorder() const;
    DeckInputMeter& inputMeter() const { return *mInputMeter; }
    /// The commands for the menu bar.
    DeckActions& actions() const { return *mActions; }
    bool isHUDUpdating() const { return mHUDTimer != nullptr; }
    const LibraryFolderWatch& libraryFolderWatch() const { return mFolderWatch; }

Q_SIGNALS:
    /// The loaded tape changed (the cassette shows it).
    void selectedTapeChanged();
    /// The transport took an event; `state` is where it is now, which may be where it was.
    void transportStateChanged(spindrel::TransportState state);
    /// A recording ended and its tape is in its file.
    void recordingFinished(const spindrel::TapePtr& tape);
    /// Whether the tape operations may be used may have changed (see canOperateOnSelectedTape).
    void tapeOperationsChanged();
    /// The tape box drawer was opened or closed.
    void tapesDisclosedChanged(bool disclosed);
    /// The window has closed and every tape is committed.
    void windowDidClose();

private:
    // What the transport asks of its owner; only the state machine calls these.
    void clearButtons() override;
    void setSelectedButton(TransportButton button) override;
    void clearSelectedButton(TransportButton button) override;
    void playSoundEffect(SoundEffect sound) override;
    void stopSoundEffect(SoundEffect sound) override;
    bool canSelectTape() override;
    void selectCurrentTape() override;
    void clearSelectedTape() override;
    void createTapePlayer() override;
    void destroyTapePlayer() override;
    void clearCurrentTime() override;
    void startPlayingAudio() override;
    void stopPlayingAudio() override;
    void muteAudio() override;
    void unmuteAudio() override;
    void setPlaybackSpeed(double speed) override;
    void startRecordingAudio() override;
    void pauseRecordingAudio() override;
    void resumeRecordingAudio() override;
    void stopRecordingAudio() override;
    void startHUDUpdates() override { startHUDUpdates(true); }
    void stopHUDUpdates() override { startHUDUpdates(false); }
    void startPlayAnimation() override;
    void stopPlayAnimation() override;
    void playInsertionAnimation() override;
    void playRemovalAnimation() override;

    void startHUDUpdates(bool start);
    void updateHUD();
    void registerDefaults();
    void setSelectedTape(const TapePtr& tape);
    /// Writes the loaded tape's edits in the background while it plays on.
    void commitDirtyTape();

    // Set-up (WindowController.cpp).
    /// The window, the library and the transport, wired together; loads the newest tape.
    void buildDeck();
    /// Where the window goes, what listens to the audio hardware, and the keyboard focus.
    void placeWindowAndConnectAudio();
    void buildTransportStrip();
    void observeHUD();
    void bindTapeView();
    void tapeLibraryLocationChanged();
    void libraryImportRequested(const QList<QUrl>& urls);
    using TransportEvent = std::optional<Error> (WindowControllerContext::*)();
    /// Sends one event to the transport. Events wait while a stopping recorder drains and are
    /// sent once the take is finished; an event the transport refuses is logged and answered
    /// with its error.
    std::optional<Error> sendEvent(TransportEvent transportEvent);
    void hudPositionChanged();
    void hudVolumeChanged();

    // The window between runs (WindowControllerFrame.cpp).
    /// Puts the window where it was left, as large as it was, with the tape box as it was, on a
    /// screen and within the screen's room.
    void restoreWindowFrame();
    void saveWindowFrame();
    /// Loads the tape loaded at the last close, once the library lists it, unless the user has
    /// chosen another by then.
    void restoreLastTape();
    bool selectTapeWithFilename(const QString& filename);

    void loadDefaults();
    /// The output device for sound effects, or a null string when the sound server has none.
    static QString systemOutputDeviceUID();
    void playbackOutputLost(const QString& deviceName);

    // Recording (WindowControllerRecording.cpp).
    void recordingFailed(const QString& message);
    /// The finishing steps of a stop once the recorder is done, then the deck loads the take.
    void recorderStopped();
    void recordingFileFinished(const spindrel::RecordingSession::Take& take);
    void finishRecordingNow();
    void takeFinished(const spindrel::RecordingSession::Take& take);
    /// Closes and commits the take, and brings the deck out of recording.
    void finishRecording();
    void observeTape(const TapePtr& tape);
    void stopObservingTape(const TapePtr& tape);
    void discardUnrecordedTape();

    // Tape box (WindowControllerLibrary.cpp).
    void buildTapeBox();
    void tapeBoxMenuAction(int action, const TapePtr& tape);
    void libraryFolderStateChanged(LibraryFolderWatch::State state);
    /// A message about the library folder, with a button to choose another.
    void showFolderBanner(const QString& text);
    /// Lists the library folder again from scratch: recovered takes, the scan and the watch.
    void reloadLibrary();
    /// Tells in the tape box how far copying, loading and writing tapes have come.
    void showLibraryProgress();
    /// Closing waits for the tapes' edits to be written and their copies to end, with a progress
    /// dialog when it takes long.
    void finishClosing();

    // File operations (WindowControllerFileOperations.cpp).
    /// Shows the outcomes of the copies as they end.
    void observeCopies();
    void tapesImported(const QList<Error>& errors);
    void presentError(const QString& message);
    TapePtr tapeForRawPointer(const Tape* tape) const;
    void commitBeforeSharing(const TapePtr& tape);

    // Hot keys (WindowControllerHotKeys.cpp).
    void unregisterHotkeys();

    DeckPreferences& mPreferences;
    DeckWindow* mWindow = nullptr; // owned
    std::unique_ptr<WindowControllerContext> mFSM;
    std::unique_ptr<TapeLibraryArrayController> mTapeArrayController;
    TapeCommitQueue mCommits;
    TapeCopyQueue mCopies;
    bool mCommitArrivals = false; // tapes the running scan brings are committed as they come

    HUDView* mHUDView = nullptr;
    SegmentedTapeButtonView* mSegmentedTapeButtonView = nullptr;
    TapeView* mTapeView = nullptr;
    TapeBoxViewController* mTapeBox = nullptr;
    LibraryFolderWatch mFolderWatch;
    QString mFolderBanner; // the folder problem the deck shows, so that its return can dismiss it

    TapePtr mSelectedTape;
    RecordingSession* mRecording = nullptr;
    PlaybackSession* mPlayback = nullptr;
    DeckInputMeter* mInputMeter = nullptr;
    DeckActions* mActions = nullptr;
    std::unique_ptr<SoundServerNotice> mSoundServerNotice;
    bool mWaitingForRecorder = false;
    QList<TransportEvent> mDeferredEvents; // sent while a stop was under way
    bool mRecordingUnusable = false;       // the recorder could not be made or has failed
    bool mUpdatingPositionDisplay = false;
    bool mTapesDisclosed = false;
    QPointer<QPropertyAnimation> mDrawerAnimation;   // the drawer on its way, if it is
    QList<QMetaObject::Connection> mLastTapeWatches; // until the last tape is back or given up
    bool mClosed = false;

    QTimer* mHUDTimer = nullptr;
    DeckSoundEffects* mSoundEffects = nullptr;

    std::shared_ptr<PTHotKey> mRecordHotKey;
    std::shared_ptr<PTHotKey> mPauseHotKey;
    std::shared_ptr<PTHotKey> mStopHotKey;

    FileBrowser mFileBrowser;
    ProcessLauncher* mProcessLauncher = &ProcessLauncher::system();
    QString mMusicPlaylistPath;

    DeckStatusItem* mStatusItem = nullptr;
    QMenu* mShareMenu = nullptr;
};

} // namespace spindrel
