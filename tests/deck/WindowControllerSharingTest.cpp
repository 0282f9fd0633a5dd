#include "DeckTest.h"
#include "deck/TapeBoxViewController.h"
#include "hud/TapeBoxView.h"
#include "sharing/YouTubeWindowController.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QAction>
#include <QMenu>
#include <QTest>

using namespace spindrel;
using namespace spindrel::test;

namespace {

using SharingTest = DeckTest;

TEST_F(SharingTest, TheShareButtonOffersTheServicesAndSendsTheLoadedTapeToTheUploadWindow)
{
    addTape(QStringLiteral("Older"), QDateTime(QDate(2020, 1, 1), QTime(9, 0)));
    addTape(QStringLiteral("Interview"), QDateTime(QDate(2021, 5, 4), QTime(10, 0)));
    WindowController& deck = openDeck();
    ASSERT_TRUE(deck.selectedTape());
    ASSERT_EQ(deck.selectedTape()->title(), QStringLiteral("Interview"));

    deck.shareButtonPressed();
    QMenu* menu = deck.shareMenu();
    ASSERT_TRUE(waitFor([&] { return menu->isVisible(); }));
    QStringList titles;
    for (QAction* action : menu->actions())
        titles << action->text();
    EXPECT_EQ(titles.value(0), QStringLiteral("YouTube"));
    EXPECT_EQ(titles.size(), 2);
    menu->hide();

    menu->actions().first()->trigger();
    YouTubeWindowController* upload = YouTubeWindowController::sharedInstance();
    ASSERT_TRUE(waitFor([&] { return upload->isVisible(); }));
    EXPECT_EQ(upload->tape(), deck.selectedTape());
    upload->closeWindow();

    // The context menu's entry acts on the clicked tape, not the loaded one.
    const TapePtr older = deck.library().arrangedObjects().last();
    Q_EMIT deck.tapeBoxViewController()->tableView()->menuActionTriggered(TapeBoxView::SendToYouTube, older);
    ASSERT_TRUE(waitFor([&] { return upload->isVisible(); }));
    EXPECT_EQ(upload->tape()->title(), QStringLiteral("Older"));
    upload->closeWindow();
}

} // namespace
