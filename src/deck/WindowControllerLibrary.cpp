#include "deck/DeckPreferences.h"
#include "deck/DeckWindow.h"
#include "deck/FileBrowser.h"
#include "deck/SoundEffectPlayer.h"
#include "deck/TapeBoxViewController.h"
#include "deck/WindowController.h"
#include "hud/DrawerButton.h"
#include "hud/TapeBoxSearchField.h"
#include "hud/TapeBoxView.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QAction>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPropertyAnimation>
#include <QStandardPaths>

namespace spindrel {

namespace {
const QString kMPEG4AudioFilter = QStringLiteral("MPEG-4 audio (*.m4a *.m4b *.mp4)");
constexpr int kDrawerAnimationMs = 1000;
} // namespace

void WindowController::buildTapeBox()
{
    mTapeBox = new TapeBoxViewController(*mTapeArrayController);
    mWindow->setDrawer(mTapeBox);
    connect(mTapeBox->searchField(), &TapeBoxSearchField::search, this, &WindowController::search);
    connect(mTapeBox->tableView(), &TapeBoxView::menuActionTriggered, this,
            &WindowController::tapeBoxMenuAction);
}

void WindowController::tapeBoxMenuAction(int action, const TapePtr& tape)
{
    const QString tapeAction = action == TapeBoxView::RevealTapeInFinder ? QStringLiteral("revealInFinder")
                               : action == TapeBoxView::MoveTapeToTrash  ? QStringLiteral("moveTapeToTrash")
                                                                         : QString();
    if (!tapeAction.isEmpty() && !validateAction(tapeAction))
        return;
    switch (TapeBoxView::MenuAction(action)) {
    case TapeBoxView::RevealLibraryInFinder:
        revealLibraryInFinder();
        return;
    case TapeBoxView::RevealTapeInFinder:
        if (tape)
            FileBrowser::revealFile(tape->filename());
        return;
    case TapeBoxView::MoveTapeToTrash:
        if (tape)
            moveTapeToTrash(tape.get());
        return;
    case TapeBoxView::SendToYouTube:
        if (tape)
            sendTapeToYouTube(tape);
        return;
    case TapeBoxView::EmailTape:
    case TapeBoxView::CopyTapeToITunes:
        // Mail and the music library are not connected yet.
        showDeckMessage(
            tr("“%1” is not available yet.").arg(TapeBoxView::menuText(TapeBoxView::MenuAction(action))));
        return;
    }
}

void WindowController::discloseTapes()
{
    const QRect start = mWindow->geometry();
    QRect end = start;
    // Widths are in device-independent pixels, so the window's scale is already applied.
    end.setWidth(openWidth);
    if (mTapesDisclosed) {
        end.setWidth(openWidth - TapeBoxViewController::drawerWidth);
        mTapesDisclosed = false;
    } else {
        mTapesDisclosed = true;
    }
    playSoundEffect(mTapesDisclosed ? 4 : 5);
    mWindow->drawerButton()->setDisclosed(mTapesDisclosed);

    QPropertyAnimation animation(mWindow, "geometry");
    animation.setDuration(kDrawerAnimationMs);
    animation.setStartValue(start);
    animation.setEndValue(end);
    QEventLoop blocking;
    connect(&animation, &QPropertyAnimation::finished, &blocking, &QEventLoop::quit);
    animation.start();
    blocking.exec(QEventLoop::ExcludeUserInputEvents);
    mWindow->setGeometry(end);
}

void WindowController::search()
{
    mTapeArrayController->setFilterString(mTapeBox->searchField()->text());
    mTapeArrayController->rearrangeObjects();
    mTapeBox->selectRow(0);
}

void WindowController::performFindPanelAction()
{
    if (!mTapesDisclosed)
        discloseTapes();
    mTapeBox->searchField()->setFocus(Qt::ShortcutFocusReason);
}

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

void WindowController::importTapesIntoLibrary(const QList<QUrl>& urls)
{
    const QList<Error> errors = mTapeArrayController->importTapesIntoLibrary(urls);
    for (const Error& error : errors)
        presentError(error.localizedDescription());
    // The folder watch picks the copies up; without one running, merge now.
    if (!mTapeArrayController->isMonitoring())
        mTapeArrayController->checkRecordingDirectory();
}

void WindowController::exportTape(QObject* sender)
{
    const TapePtr tape = tapeToOperateOn(sender);
    if (!tape)
        return;
    auto* panel = new QFileDialog(mWindow, tr("Export Tape"), QFileInfo(tape->filename()).fileName(),
                                  kMPEG4AudioFilter);
    panel->setAcceptMode(QFileDialog::AcceptSave);
    panel->setAttribute(Qt::WA_DeleteOnClose);
    connect(panel, &QFileDialog::fileSelected, this,
            [this, tape](const QString& destination) { exportTapeToFile(tape, destination); });
    panel->open();
}

bool WindowController::exportTapeToFile(const TapePtr& tape, const QString& destination)
{
    QFile file(tape->filename());
    if (QFileInfo::exists(destination) && QFileInfo(destination) != QFileInfo(tape->filename()))
        QFile::remove(destination); // the save panel asked before replacing
    if (file.copy(destination))
        return true;
    presentError(tr("“%1” couldn’t be exported to “%2”: %3")
                     .arg(QFileInfo(tape->filename()).fileName(), destination, file.errorString()));
    return false;
}

void WindowController::revealInFinder(QObject* sender)
{
    if (const TapePtr tape = tapeToOperateOn(sender))
        FileBrowser::revealFile(tape->filename());
}

void WindowController::revealLibraryInFinder()
{
    FileBrowser::revealFile(mPreferences.tapeLibraryPath());
}

void WindowController::moveTapeToTrash(QObject* sender)
{
    const TapePtr tape = tapeToOperateOn(sender);
    if (!tape)
        return;
    playSoundEffect(8);
    // Without the user's data folder Qt looks for a trash beside the file and may make one in
    // the working folder; the home trash must be there to be found.
    QDir().mkpath(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
    mTapeArrayController->moveTapeToTrash(tape);
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

bool WindowController::validateAction(const QString& action) const
{
    if (action == QLatin1String("revealInFinder") || action == QLatin1String("moveTapeToTrash") ||
        action == QLatin1String("exportTape")) {
        const bool recording = mAudioFileRecorder && mAudioFileRecorder->isFileRecording();
        return mSelectedTape && !mSelectedTape->filename().isEmpty() && !recording;
    }
    return true;
}

void WindowController::presentError(const QString& message)
{
    auto* alert = new QMessageBox(QMessageBox::Warning, tr("Spindrel"), message, QMessageBox::Ok, mWindow);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setObjectName(QStringLiteral("SpindrelErrorAlert"));
    alert->open();
}

} // namespace spindrel
