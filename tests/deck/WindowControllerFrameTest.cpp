#include "DeckTest.h"
#include "deck/TapeBoxViewController.h"
#include "hud/HUDView.h"
#include "hud/SegmentedTapeButtonView.h"
#include "hud/TapeBoxView.h"
#include "hud/TapeView.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTest>

using namespace spindrel;
using namespace spindrel::test;

namespace {

class WindowFrameTest : public DeckTest
{
protected:
    /// Where `widget` lies in the window's coordinates.
    static QRect inWindow(const QWidget* widget)
    {
        return QRect(widget->mapTo(widget->window(), QPoint(0, 0)), widget->size());
    }

    /// The deck is centred in the area below any menu bar, to a pixel.
    static bool centred(const DeckWindow* window)
    {
        const QRect area = inWindow(window->centralWidget());
        const QPoint offset = inWindow(window->deckView()).center() - area.center();
        return std::abs(offset.x()) <= 1 && std::abs(offset.y()) <= 1;
    }
};

TEST_F(WindowFrameTest, PlaceSizeDrawerAndTapeComeBackAtTheNextLaunch)
{
    addTape(QStringLiteral("Older take"), QDateTime(QDate(2011, 1, 2), QTime(9, 0)));
    addTape(QStringLiteral("Newer take"), QDateTime(QDate(2012, 3, 4), QTime(10, 15)));
    {
        WindowController& deck = openDeck();
        ASSERT_EQ(deck.selectedTape()->title(), QStringLiteral("Newer take"));
        deck.tapeBoxViewController()->selectRow(1);
        ASSERT_TRUE(waitFor([&] { return deck.selectedTape()->title() == QLatin1String("Older take"); }));
        deck.discloseTapes();
        ASSERT_TRUE(waitFor([&] { return deck.window()->width() == WindowController::openWidth; }));
        deck.window()->move(130, 90);
        deck.window()->resize(700, 500);
        ASSERT_TRUE(waitFor([&] {
            return deck.window()->pos() == QPoint(130, 90) && deck.window()->size() == QSize(700, 500);
        }));
        closeDeck();
    }
    mDeck.reset();

    WindowController& deck = openDeck();
    EXPECT_EQ(deck.window()->pos(), QPoint(130, 90));
    EXPECT_EQ(deck.window()->size(), QSize(700, 500));
    EXPECT_TRUE(deck.tapesDisclosed());
    EXPECT_TRUE(deck.window()->drawerOpen());
    EXPECT_TRUE(deck.tapeBoxViewController()->isVisible());
    ASSERT_NE(deck.selectedTape(), nullptr);
    EXPECT_EQ(deck.selectedTape()->title(), QStringLiteral("Older take"));
    EXPECT_EQ(deck.library().selectionIndex(), 1);

    // Closed once more with the drawer shut, it opens shut; a place on no screen (a screen since
    // unplugged) comes back on the primary screen.
    deck.discloseTapes();
    ASSERT_FALSE(deck.tapesDisclosed());
    closeDeck();
    mDeck.reset();
    mPreferences->setDefaultsValue(WindowController::frameAutosaveKey(), QRect(-6000, 5000, 390, 540));
    EXPECT_FALSE(openDeck().tapesDisclosed());
    EXPECT_FALSE(mDeck->tapeBoxViewController()->isVisible());
    const QRect room = QGuiApplication::primaryScreen()->availableGeometry();
    EXPECT_TRUE(room.contains(mDeck->window()->frameGeometry()))
        << mDeck->window()->frameGeometry().x() << "," << mDeck->window()->frameGeometry().y();
}

TEST_F(WindowFrameTest, ALastTapeTheLibraryListsLaterIsLoadedUnlessAnotherWasChosenFirst)
{
    addTape(QStringLiteral("Older take"), QDateTime(QDate(2011, 1, 2), QTime(9, 0)));
    addTape(QStringLiteral("Newer take"), QDateTime(QDate(2012, 3, 4), QTime(10, 15)));
    const QString late = addTape(QStringLiteral("Late take"), QDateTime(QDate(2010, 5, 6), QTime(8, 0)));
    const QString away = mFolder.filePath(QStringLiteral("Late take.m4a"));
    ASSERT_TRUE(QFile::rename(late, away));
    mPreferences->setDefaultsValue(WindowController::lastTapeAutosaveKey(), late);
    {
        WindowController& deck = openDeck();
        ASSERT_EQ(deck.selectedTape()->title(), QStringLiteral("Newer take"));
        ASSERT_TRUE(QFile::rename(away, late));
        EXPECT_TRUE(waitFor([&] { return deck.selectedTape()->title() == QLatin1String("Late take"); }));
        closeDeck();
    }
    mDeck.reset();

    ASSERT_TRUE(QFile::rename(late, away));
    WindowController& deck = openDeck();
    deck.tapeBoxViewController()->selectRow(1);
    ASSERT_TRUE(waitFor([&] { return deck.selectedTape()->title() == QLatin1String("Older take"); }));
    ASSERT_TRUE(QFile::rename(away, late));
    ASSERT_TRUE(waitFor([&] { return deck.library().content().size() == 3; }));
    QTest::qWait(200);
    EXPECT_NE(deck.selectedTape()->title(), QStringLiteral("Late take")) << "a choice since the start wins";
}

TEST_F(WindowFrameTest, AWindowLargerThanTheDeckShowsItCentredOnMetalToEveryEdge)
{
    WindowController& deck = openDeck();
    DeckWindow* window = deck.window();
    window->resize(1000, 800);
    ASSERT_TRUE(waitFor([&] { return window->size() == QSize(1000, 800); }));
    ASSERT_TRUE(waitFor([&] { return centred(window); }));
    EXPECT_EQ(window->deckView()->size(), QSize(DeckWindow::faceWidth, DeckWindow::deckHeight))
        << "the deck keeps its size";

    // Corners far from the deck are painted, as dark metal rather than the window's grey.
    const QImage picture = window->grab().toImage();
    for (const QPoint corner :
         {QPoint(3, picture.height() - 4), QPoint(picture.width() - 4, picture.height() - 4)})
        EXPECT_LT(qGray(picture.pixel(corner)), 110) << corner.x() << "," << corner.y();

    // The drawer opens within the large window, and the deck with its drawer stays centred.
    deck.discloseTapes();
    ASSERT_TRUE(waitFor([&] { return window->deckView()->width() == WindowController::openWidth; }));
    EXPECT_EQ(window->size(), QSize(1000, 800));
    EXPECT_TRUE(centred(window));
    EXPECT_TRUE(deck.tapeBoxViewController()->isVisible());
    deck.discloseTapes();
    ASSERT_TRUE(waitFor([&] { return window->deckView()->width() == DeckWindow::faceWidth; }));
    EXPECT_TRUE(centred(window));
    EXPECT_FALSE(deck.tapeBoxViewController()->isVisible());
}

TEST_F(WindowFrameTest, TheDeckBecomesShorterToFitASmallScreen)
{
    WindowController& deck = openDeck();
    DeckWindow* window = deck.window();
    deck.discloseTapes();
    ASSERT_TRUE(waitFor([&] { return window->width() == WindowController::openWidth; }));
    const QRect room(40, 30, 1200, 420);
    window->fitInto(room);
    ASSERT_TRUE(waitFor([&] { return room.contains(window->frameGeometry()); }))
        << window->frameGeometry().height();
    const QRect deckArea = inWindow(window->deckView());
    EXPECT_LE(deckArea.height(), 420);
    EXPECT_GE(deckArea.height(), DeckWindow::minimumDeckHeight);

    // Every part is on the shorter deck, top to bottom without overlapping, the cassette smaller.
    const QRect display = inWindow(deck.hudView());
    const QRect cassette = inWindow(window->tapeView());
    const QRect keys = inWindow(window->buttonView());
    const QRect list = inWindow(deck.tapeBoxViewController()->tableView());
    for (const QRect& part : {display, cassette, keys, list})
        EXPECT_TRUE(deckArea.contains(part)) << part.y() << "+" << part.height();
    EXPECT_LE(display.bottom(), cassette.top());
    EXPECT_LE(cassette.bottom(), keys.top());
    EXPECT_LT(cassette.height(), 236);
    EXPECT_GE(keys.height(), 40) << "the keys stay easy to hit";

    // Given the room again, the deck is whole again.
    window->resize(WindowController::openWidth, DeckWindow::deckHeight);
    ASSERT_TRUE(waitFor([&] { return window->deckView()->height() == DeckWindow::deckHeight; }));
    EXPECT_EQ(inWindow(window->tapeView()).height(), 236);
}

} // namespace
