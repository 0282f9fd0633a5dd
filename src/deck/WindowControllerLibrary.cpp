#include "deck/DeckPreferences.h"
#include "deck/DeckWindow.h"
#include "deck/SoundEffectPlayer.h"
#include "deck/TapeBoxViewController.h"
#include "deck/WindowController.h"
#include "hud/DrawerButton.h"
#include "hud/TapeBoxSearchField.h"
#include "hud/TapeBoxView.h"
#include "hud/TapeView.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QFileDialog>
#include <QPropertyAnimation>
#include <cstdlib>

namespace spindrel {

namespace {
constexpr int kDrawerAnimationMs = 1000;
} // namespace

void WindowController::buildTapeBox()
{
    mTapeBox = new TapeBoxViewController(*mTapeArrayController);
    mWindow->setDrawer(mTapeBox);
    connect(mTapeBox->searchField(), &TapeBoxSearchField::search, this, &WindowController::search);
    connect(mTapeBox->tableView(), &TapeBoxView::menuActionTriggered, this,
            &WindowController::tapeBoxMenuAction);

    TapeLibraryArrayController* library = mTapeArrayController.get();
    connect(library, &TapeLibraryArrayController::tapesLoaded, this, [this](const QList<TapePtr>& tapes) {
        if (mCommitArrivals)
            mCommits.commit(tapes);
    });
    connect(library, &TapeLibraryArrayController::scanFinished, this, [this] {
        mCommitArrivals = false;
        showLibraryProgress();
    });
    connect(library, &TapeLibraryArrayController::scanProgress, this, &WindowController::showLibraryProgress);
    connect(&mCommits, &TapeCommitQueue::progressChanged, this, &WindowController::showLibraryProgress);
}

void WindowController::showLibraryProgress()
{
    QString text;
    const int imports = mCopies.importsTotal();
    const int exports = mCopies.exportsTotal();
    const int loaded = mTapeArrayController->scanLoaded();
    const int found = mTapeArrayController->scanTotal();
    // The copy under way, counted from one.
    if (mCopies.importsDone() < imports)
        text = tr("Importing tapes… %1 of %2").arg(mCopies.importsDone() + 1).arg(imports);
    else if (mCopies.exportsDone() < exports)
        text = tr("Exporting tapes… %1 of %2").arg(mCopies.exportsDone() + 1).arg(exports);
    else if (mTapeArrayController->isScanning() && found > 0)
        text = tr("Loading tapes… %1 of %2").arg(loaded).arg(found);
    // A single tape put away is written too quickly to be worth a word.
    else if (!mCommits.isIdle() && mCommits.batchTotal() > 1)
        text = tr("Saving tapes… %1 of %2").arg(mCommits.batchDone()).arg(mCommits.batchTotal());
    mTapeBox->setStatus(text);
}

void WindowController::tapeBoxMenuAction(int action, const TapePtr& tape)
{
    // The clicked tape rides along as the sender, so the action works on it and not the selection.
    Tape* clicked = tape.get();
    switch (TapeBoxView::MenuAction(action)) {
    case TapeBoxView::OpenLibraryFolder:
        openLibraryFolder();
        return;
    case TapeBoxView::ShowTapeInFolder:
        if (clicked && canOperateOnSelectedTape())
            showInFolder(clicked);
        return;
    case TapeBoxView::MoveTapeToTrash:
        if (clicked && canOperateOnSelectedTape())
            moveTapeToTrash(clicked);
        return;
    case TapeBoxView::SendToYouTube:
        if (tape)
            sendTapeToYouTube(tape);
        return;
    case TapeBoxView::EmailTape:
        if (clicked && canOperateOnSelectedTape())
            emailTape(clicked);
        return;
    case TapeBoxView::AddTapeToMusicLibrary:
        if (clicked && canOperateOnSelectedTape())
            sendToMusicLibrary(clicked);
        return;
    }
}

void WindowController::libraryFolderStateChanged(LibraryFolderWatch::State state)
{
    if (state == LibraryFolderWatch::State::Available) {
        // The first look at a folder that is fine changes nothing; a folder that is back brings
        // its tapes back, and the banner about it goes.
        if (mFolderBanner.isEmpty())
            return;
        mWindow->dismissMessage(mFolderBanner);
        mFolderBanner.clear();
        reloadLibrary();
        return;
    }
    const QString text = mFolderWatch.problemText();
    if (text.isEmpty())
        return;
    // What cannot be listed leaves the tape box; the tapes return with the folder.
    if (state != LibraryFolderWatch::State::ReadOnly)
        mTapeArrayController->scanInBackground();
    showFolderBanner(text);
}

void WindowController::showFolderBanner(const QString& text)
{
    mFolderBanner = text;
    mWindow->showMessage(text, tr("Choose Folder…"), [this] { chooseLibraryFolder(); });
}

void WindowController::chooseLibraryFolder()
{
    auto* dialog = new QFileDialog(mWindow, tr("Choose a Folder for the Tapes"));
    dialog->setObjectName(QStringLiteral("LibraryFolderDialog"));
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString& folder) {
        if (!folder.isEmpty())
            mPreferences.setTapeLibraryPath(folder);
    });
    dialog->open();
}

void WindowController::reloadLibrary()
{
    // A watch paused for a recording stays paused; a running one moves to the folder as it is now.
    const bool watching = mTapeArrayController->isMonitoring();
    mTapeArrayController->stopMonitoringRecordingDirectory();
    mTapeArrayController->scanInBackground(true);
    if (watching)
        mTapeArrayController->startMonitoringRecordingDirectory();
}

void WindowController::discloseTapes()
{
    mTapesDisclosed = !mTapesDisclosed;
    Q_EMIT tapesDisclosedChanged(mTapesDisclosed);
    playSoundEffect(mTapesDisclosed ? SoundEffect::DrawerOpenStereo : SoundEffect::DrawerCloseStereo);
    mWindow->drawerButton()->setDisclosed(mTapesDisclosed);
    // The deck reaches over the drawer while it opens, and until it has closed.
    if (mTapesDisclosed)
        mWindow->setDrawerOpen(true);

    const QRect start = mWindow->geometry();
    QRect end = start;
    // Widths are in device-independent pixels, so the window's scale is already applied.
    end.setWidth(mTapesDisclosed ? openWidth : openWidth - TapeBoxViewController::drawerWidth);
    // A toggle during the animation turns the drawer around from where it is, at the same pace.
    if (mDrawerAnimation) {
        disconnect(mDrawerAnimation, nullptr, this, nullptr);
        mDrawerAnimation->stop();
    }
    // A maximised or widened window has room for the drawer: it opens and closes within it.
    if (mWindow->isMaximized() || mWindow->isFullScreen() || start.width() > openWidth) {
        mWindow->setDrawerOpen(mTapesDisclosed);
        return;
    }
    const int distance = std::abs(end.width() - start.width());
    auto* animation = new QPropertyAnimation(mWindow, "geometry", mWindow);
    animation->setDuration(kDrawerAnimationMs * distance / TapeBoxViewController::drawerWidth);
    animation->setStartValue(start);
    animation->setEndValue(end);
    connect(animation, &QPropertyAnimation::finished, this, [this, end] {
        mWindow->setGeometry(end);
        mWindow->setDrawerOpen(mTapesDisclosed);
    });
    mDrawerAnimation = animation;
    animation->start(QAbstractAnimation::DeleteWhenStopped);
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

void WindowController::editTapeTitle()
{
    if (mTapeView->canEditLabel())
        mTapeView->editTitle();
}

void WindowController::editTapeNotes()
{
    if (mTapeView->canEditLabel())
        mTapeView->displayNotesEditor();
}

} // namespace spindrel
