// The deck window's menu bar.
#include "app/AppController.h"
#include "deck/DeckActions.h"
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
    DeckActions& actions = deck->actions();
    file->addAction(actions.importTapes());
    file->addAction(actions.exportTape());
    file->addSeparator();
    file->addAction(tr("Quit Spindrel"), QKeySequence::Quit, window, &QWidget::close);

    bar->addMenu(tr("&Edit"))->addAction(actions.find());

    QMenu* controls = bar->addMenu(tr("&Controls"));
    const QList<QAction*>& transport = actions.transport();
    controls->addActions(transport.mid(0, 6));
    controls->addSeparator();
    controls->addActions(transport.mid(6));

    mTapeMenu = bar->addMenu(tr("&Tape"));
    mTapeMenu->addActions({actions.editTitle(), actions.editNotes()});
    mTapeMenu->addSeparator();
    mTapeMenu->addActions({actions.showInFolder(), actions.moveTapeToTrash(), actions.emailTape(),
                           actions.addToMusicLibrary(), actions.openLibraryFolder()});
    mTapeMenu->addSeparator();
    mTapeMenu->addAction(actions.showTapes());

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
