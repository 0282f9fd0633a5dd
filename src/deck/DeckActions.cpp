#include "deck/DeckActions.h"

#include "deck/WindowController.h"

#include <QAction>
#include <QKeySequence>

namespace spindrel {

DeckActions::DeckActions(WindowController& deck) : QObject(&deck), mDeck(deck)
{
    mImportTapes = add(tr("Import Tapes…"), &WindowController::importTapes);
    mImportTapes->setShortcut(QKeySequence(tr("Ctrl+I")));
    mExportTape = addForTape(tr("Export Tape…"), [this] { mDeck.exportTape(); });
    mExportTape->setShortcut(QKeySequence(tr("Ctrl+E")));
    mShowInFolder = addForTape(tr("Show in Folder"), [this] { mDeck.showInFolder(); });
    mMoveTapeToTrash = addForTape(tr("Move Tape to Trash"), [this] { mDeck.moveTapeToTrash(); });
    mEmailTape = addForTape(tr("Email Tape…"), [this] { mDeck.emailTape(); });
    mAddToMusicLibrary = addForTape(tr("Add Tape to Music Library"), [this] { mDeck.sendToMusicLibrary(); });
    mOpenLibraryFolder = add(tr("Open Library Folder"), &WindowController::openLibraryFolder);
    mShowTapes = add(tr("Show Tapes"), &WindowController::discloseTapes);
    mShowTapes->setShortcut(QKeySequence(tr("Ctrl+T")));
    // F2 renames on the Linux desktop; the title names the tape's file.
    mEditTitle = add(tr("Edit Title"), &WindowController::editTapeTitle);
    mEditTitle->setShortcut(QKeySequence(Qt::Key_F2));
    mEditNotes = add(tr("Edit Notes"), &WindowController::editTapeNotes);
    mEditNotes->setShortcut(QKeySequence(Qt::SHIFT | Qt::Key_F2));
    mFind = add(tr("Find"), &WindowController::performFindPanelAction);
    mFind->setShortcut(QKeySequence::Find);

    // The transport keys work on the deck's keyboard map; these carry no shortcuts of their own.
    mTransport = {add(tr("Record"), &WindowController::recordTape),
                  add(tr("Play"), &WindowController::playTape),
                  add(tr("Stop"), &WindowController::stopTape),
                  add(tr("Pause"), &WindowController::pauseTape),
                  add(tr("Fast Forward"), &WindowController::fastForwardTape),
                  add(tr("Rewind"), &WindowController::rewindTape)};
    QAction* previous = add(tr("Previous Tape"), &WindowController::previousTape);
    previous->setShortcut(QKeySequence(tr("Ctrl+Down")));
    QAction* next = add(tr("Next Tape"), &WindowController::nextTape);
    next->setShortcut(QKeySequence(tr("Ctrl+Up")));
    mTransport << previous << next;

    connect(&deck, &WindowController::selectedTapeChanged, this, &DeckActions::updateTapeActions);
    connect(&deck, &WindowController::tapeOperationsChanged, this, &DeckActions::updateTapeActions);
    connect(&deck, &WindowController::tapesDisclosedChanged, this, &DeckActions::updateShowTapes);
    updateTapeActions();
    updateShowTapes();
}

QList<QAction*> DeckActions::tapeActions() const
{
    return {mExportTape, mShowInFolder, mMoveTapeToTrash, mEmailTape, mAddToMusicLibrary};
}

QAction* DeckActions::add(const QString& text, void (WindowController::*operation)())
{
    auto* action = new QAction(text, this);
    connect(action, &QAction::triggered, &mDeck, operation);
    return action;
}

QAction* DeckActions::addForTape(const QString& text, std::function<void()> operation)
{
    auto* action = new QAction(text, this);
    connect(action, &QAction::triggered, &mDeck, std::move(operation));
    return action;
}

void DeckActions::updateTapeActions()
{
    const bool enabled = mDeck.canOperateOnSelectedTape();
    for (QAction* action : tapeActions())
        action->setEnabled(enabled);
}

void DeckActions::updateShowTapes()
{
    mShowTapes->setText(mDeck.tapesDisclosed() ? tr("Hide Tapes") : tr("Show Tapes"));
}

} // namespace spindrel
