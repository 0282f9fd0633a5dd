// The deck's ways of sharing a tape: the share button's menu and the video upload window.
#include "deck/DeckWindow.h"
#include "deck/WindowController.h"
#include "hud/TapeBoxView.h"
#include "hud/TapeView.h"
#include "sharing/SharingServices.h"
#include "sharing/YouTubeWindowController.h"

#include <QMenu>

namespace spindrel {

void WindowController::sendToYouTube(QObject* sender)
{
    const TapePtr tape = tapeToOperateOn(sender);
    if (!tape)
        return;
    sendTapeToYouTube(tape);
}

void WindowController::sendTapeToYouTube(const TapePtr& tape)
{
    // An edit still on the label belongs in the upload's title and description.
    commitDirtyTape();
    YouTubeWindowController* window = YouTubeWindowController::sharedInstance();
    window->setTape(tape);
    window->showWindow();
}

QMenu* WindowController::shareMenu()
{
    if (!mShareMenu) {
        mShareMenu = new QMenu(mWindow);
        mShareMenu->setObjectName(QStringLiteral("ShareMenu"));
    }
    SharingServices::createSharingSubmenuForMenu(
        mShareMenu, mSelectedTape ? QList<TapePtr>{mSelectedTape} : QList<TapePtr>{},
        [this](const TapePtr& tape) { sendTapeToYouTube(tape); },
        [this](const TapePtr& tape) { sendToMusicLibrary(tape.get()); });
    return mShareMenu;
}

void WindowController::shareButtonPressed()
{
    // A tape still being recorded is not finished enough to share.
    if (!canOperateOnSelectedTape())
        return;
    const QRectF button = mTapeView->mapFromCassette(TapeView::shareButtonRect());
    shareMenu()->popup(mTapeView->mapToGlobal(button.bottomLeft().toPoint()));
}

} // namespace spindrel
