// The deck's operations on tape files: import, export, reveal, trash, mail and the music library.
#include "deck/DeckPreferences.h"
#include "deck/DeckWindow.h"
#include "deck/RecordingSession.h"
#include "deck/WindowController.h"
#include "foundation/Log.h"
#include "tapes/MailDraft.h"
#include "tapes/MusicLibraryPlaylist.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QAction>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>

namespace spindrel {

namespace {
const QString kMPEG4AudioFilter = QStringLiteral("MPEG-4 audio (*.m4a *.m4b *.mp4)");
} // namespace

void WindowController::libraryImportRequested(const QList<QUrl>& urls)
{
    importTapesIntoLibrary(urls);
}

void WindowController::importTapes()
{
    const QList<QUrl> urls =
        QFileDialog::getOpenFileUrls(mWindow, tr("Import Tapes"), QUrl(), kMPEG4AudioFilter);
    if (!urls.isEmpty())
        importTapesIntoLibrary(urls);
}

void WindowController::observeCopies()
{
    connect(&mCopies, &TapeCopyQueue::imported, this, &WindowController::tapesImported);
    connect(&mCopies, &TapeCopyQueue::exported, this,
            [this](const QString&, const std::optional<Error>& error) {
                if (!error)
                    return;
                if (mClosed)
                    logError(QStringLiteral("WindowController"), error->localizedDescription());
                else
                    showDeckMessage(error->localizedDescription());
            });
    connect(&mCopies, &TapeCopyQueue::progressChanged, this, &WindowController::showLibraryProgress);
}

void WindowController::importTapesIntoLibrary(const QList<QUrl>& urls)
{
    mCopies.importTapes(urls, mTapeArrayController->folderPath());
}

void WindowController::tapesImported(const QList<Error>& errors)
{
    // Copies that end while the deck closes have no window left to tell of them, nor a box to list them.
    if (mClosed) {
        for (const Error& error : errors)
            logError(QStringLiteral("WindowController"), error.localizedDescription());
        return;
    }
    for (const Error& error : errors)
        presentError(error.localizedDescription());
    // The folder watch picks the copies up; without one running, merge now.
    if (!mTapeArrayController->isMonitoring())
        mTapeArrayController->scanInBackground();
}

void WindowController::commitBeforeSharing(const TapePtr& tape)
{
    // What leaves the library carries the edits made so far (and the name they give the file).
    // Written here and now, in its turn: what is queued for it is taken back and written with it.
    mCommits.withdraw(tape);
    if (tape->dirty())
        tape->commitAttributes();
}

void WindowController::exportTape(QObject* sender)
{
    const TapePtr tape = tapeToOperateOn(sender);
    if (!tape)
        return;
    auto* panel = new QFileDialog(mWindow, tr("Export Tape"), QFileInfo(tape->filename()).fileName(),
                                  kMPEG4AudioFilter);
    panel->setAcceptMode(QFileDialog::AcceptSave);
    panel->setDefaultSuffix(QStringLiteral("m4a"));
    // The deck asks before replacing, whichever dialog the desktop supplies.
    panel->setOption(QFileDialog::DontConfirmOverwrite);
    panel->setAttribute(Qt::WA_DeleteOnClose);
    connect(panel, &QFileDialog::fileSelected, this,
            [this, tape](const QString& destination) { exportTapeToChosenFile(tape, destination); });
    panel->open();
}

void WindowController::exportTapeToChosenFile(const TapePtr& tape, const QString& destination)
{
    if (!QFileInfo::exists(destination)) {
        exportTapeToFile(tape, destination);
        return;
    }
    auto* question = new QMessageBox(
        QMessageBox::Warning, tr("Spindrel"),
        tr("“%1” already exists. Do you want to replace it?").arg(QFileInfo(destination).fileName()),
        QMessageBox::Cancel, mWindow);
    question->setObjectName(QStringLiteral("SpindrelReplaceQuestion"));
    question->setInformativeText(tr("Replacing it overwrites its contents with the tape."));
    QPushButton* replace = question->addButton(tr("Replace"), QMessageBox::DestructiveRole);
    question->setDefaultButton(QMessageBox::Cancel);
    question->setAttribute(Qt::WA_DeleteOnClose);
    connect(question, &QMessageBox::finished, this, [this, tape, destination, question, replace] {
        if (question->clickedButton() == replace)
            exportTapeToFile(tape, destination, TapeExport::ExistingFile::Replace);
    });
    question->open();
}

void WindowController::exportTapeToFile(const TapePtr& tape, const QString& destination,
                                        TapeExport::ExistingFile existing)
{
    commitBeforeSharing(tape);
    mCopies.exportTape(tape->filename(), destination, existing);
}

void WindowController::showInFolder(QObject* sender)
{
    if (const TapePtr tape = tapeToOperateOn(sender)) {
        if (const std::optional<Error> error = mFileBrowser.revealFile(tape->filename()))
            showDeckMessage(error->localizedDescription());
    }
}

void WindowController::openLibraryFolder()
{
    if (const std::optional<Error> error = mFileBrowser.revealFile(mPreferences.tapeLibraryPath()))
        showDeckMessage(error->localizedDescription());
}

void WindowController::moveTapeToTrash(QObject* sender)
{
    const TapePtr tape = tapeToOperateOn(sender);
    if (!tape)
        return;
    playSoundEffect(SoundEffect::TossTape2);
    // No queued write may bring the file back into the folder once it is in the trash.
    mCommits.withdraw(tape);
    if (const std::optional<Error> error = mTapeArrayController->moveTapeToTrash(tape))
        showDeckMessage(error->localizedDescription());
}

void WindowController::emailTape(QObject* sender)
{
    const TapePtr tape = tapeToOperateOn(sender);
    if (!tape)
        return;
    commitBeforeSharing(tape);
    QPointer<WindowController> deck(this);
    MailDraft::forTape(*tape).open(*mProcessLauncher, [deck](std::optional<Error> error) {
        if (error && deck)
            deck->showDeckMessage(error->localizedDescription());
    });
}

void WindowController::sendToMusicLibrary(QObject* sender)
{
    const TapePtr tape = tapeToOperateOn(sender);
    if (!tape)
        return;
    commitBeforeSharing(tape);
    const MusicLibraryPlaylist playlist(mMusicPlaylistPath.isEmpty() ? MusicLibraryPlaylist::defaultPath()
                                                                     : mMusicPlaylistPath);
    const auto result = playlist.addFile(tape->filename(), tape->duration(), tape->title());
    if (std::holds_alternative<Error>(result))
        showDeckMessage(std::get<Error>(result).localizedDescription());
}

TapePtr WindowController::tapeForRawPointer(const Tape* tape) const
{
    if (!tape)
        return nullptr;
    for (const TapePtr& candidate : mTapeArrayController->content()) {
        if (candidate.get() == tape)
            return candidate;
    }
    return tape == mSelectedTape.get() ? mSelectedTape : nullptr;
}

TapePtr WindowController::tapeToOperateOn(QObject* sender) const
{
    if (const auto* tape = qobject_cast<const Tape*>(sender))
        return tapeForRawPointer(tape);
    if (const auto* action = qobject_cast<const QAction*>(sender)) {
        const QVariant data = action->data();
        if (data.canConvert<TapePtr>() && data.value<TapePtr>())
            return data.value<TapePtr>();
        if (auto* tape = data.value<Tape*>())
            return tapeForRawPointer(tape);
    }
    return mSelectedTape;
}

bool WindowController::canOperateOnSelectedTape() const
{
    const bool recording = mRecording->isRecording() || mWaitingForRecorder;
    return mSelectedTape && !mSelectedTape->filename().isEmpty() && !recording;
}

void WindowController::presentError(const QString& message)
{
    auto* alert = new QMessageBox(QMessageBox::Warning, tr("Spindrel"), message, QMessageBox::Ok, mWindow);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setObjectName(QStringLiteral("SpindrelErrorAlert"));
    alert->open();
}

} // namespace spindrel
