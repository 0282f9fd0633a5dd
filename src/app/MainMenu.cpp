// The deck window's menu bar.
#include "app/AppController.h"
#include "deck/DeckWindow.h"
#include "deck/WindowController.h"
#include "hud/MenuMnemonics.h"

#include <QAction>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>

namespace spindrel {

void AppController::buildMainMenu()
{
    WindowController* deck = mWindowController.get();
    DeckWindow* window = deck->window();
    QMenuBar* bar = window->menuBar();

    QMenu* file = bar->addMenu(tr("&Spindrel"));
    // Shown once launch has made the updater, and never in builds without the check.
    mCheckForUpdatesMenuItem = file->addAction(tr("Check for Updates…"));
    mCheckForUpdatesMenuItem->setVisible(false);
    // Desktops give no standard key for preferences; Ctrl+, is the common one.
    file->addAction(tr("Preferences…"), QKeySequence(tr("Ctrl+,")), this, &AppController::showPreferences);
    file->addSeparator();
    file->addAction(tr("Import Tapes…"), QKeySequence(tr("Ctrl+I")), deck, &WindowController::importTapes);
    QAction* exportItem =
        file->addAction(tr("Export Tape…"), QKeySequence(tr("Ctrl+E")), deck, [deck] { deck->exportTape(); });
    file->addSeparator();
    file->addAction(tr("Quit Spindrel"), QKeySequence::Quit, window, &QWidget::close);

    QMenu* edit = bar->addMenu(tr("&Edit"));
    edit->addAction(tr("Find"), QKeySequence::Find, deck, &WindowController::performFindPanelAction);

    // The transport keys work on the deck's keyboard map; the menu carries no shortcuts of its own.
    QMenu* controls = bar->addMenu(tr("&Controls"));
    controls->addAction(tr("Record"), deck, &WindowController::recordTape);
    controls->addAction(tr("Play"), deck, &WindowController::playTape);
    controls->addAction(tr("Stop"), deck, &WindowController::stopTape);
    controls->addAction(tr("Pause"), deck, &WindowController::pauseTape);
    controls->addAction(tr("Fast Forward"), deck, &WindowController::fastForwardTape);
    controls->addAction(tr("Rewind"), deck, &WindowController::rewindTape);
    controls->addSeparator();
    controls->addAction(tr("Previous Tape"), QKeySequence(tr("Ctrl+Down")), deck,
                        &WindowController::previousTape);
    controls->addAction(tr("Next Tape"), QKeySequence(tr("Ctrl+Up")), deck, &WindowController::nextTape);

    mTapeMenu = bar->addMenu(tr("&Tape"));
    const QList<QPair<QString, void (WindowController::*)(QObject*)>> tapeItems{
        {tr("Show in Folder"), &WindowController::showInFolder},
        {tr("Move Tape to Trash"), &WindowController::moveTapeToTrash},
        {tr("Email Tape…"), &WindowController::emailTape},
        {tr("Add Tape to Music Library"), &WindowController::sendToMusicLibrary},
    };
    // The items that work on the selected tape, enabled together.
    QList<QAction*> tapeActions{exportItem};
    for (const auto& item : tapeItems) {
        const auto action = item.second;
        tapeActions << mTapeMenu->addAction(item.first, deck, [deck, action] { (deck->*action)(nullptr); });
    }
    mTapeMenu->addAction(tr("Open Library Folder"), deck, &WindowController::openLibraryFolder);
    mTapeMenu->addSeparator();
    QAction* drawer = mTapeMenu->addAction(tr("Show Tapes"), QKeySequence(tr("Ctrl+T")), deck,
                                           &WindowController::discloseTapes);
    connect(mTapeMenu, &QMenu::aboutToShow, this, [deck, drawer] {
        drawer->setText(deck->tapesDisclosed() ? tr("Hide Tapes") : tr("Show Tapes"));
    });

    auto validate = [deck, tapeActions] {
        for (QAction* item : tapeActions)
            item->setEnabled(deck->canOperateOnSelectedTape());
    };
    connect(mTapeMenu, &QMenu::aboutToShow, this, validate);
    connect(file, &QMenu::aboutToShow, this, validate);

    QMenu* help = bar->addMenu(tr("&Help"));
    help->addAction(tr("Spindrel Help"), QKeySequence::HelpContents, this, &AppController::showUserGuide);
    help->addAction(tr("Send Feedback…"), this, &AppController::sendFeedback);
    help->addSeparator();
    help->addAction(tr("About Spindrel"), this, &AppController::showAbout);

    // Connected last, so that items renamed as a menu opens get their letter too.
    for (QAction* menu : bar->actions())
        MenuMnemonics::keepAssigned(menu->menu());
}

} // namespace spindrel
