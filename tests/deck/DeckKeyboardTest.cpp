// The deck from the keyboard: where the keyboard goes after edits and Escape, transport keys on
// other controls, a held key when the window loses the keyboard, and Delete in the tape box.
#include "DeckTest.h"
#include "deck/DeckActions.h"
#include "deck/SoundEffectPlayer.h"
#include "deck/TapeBoxViewController.h"
#include "hud/HUDView.h"
#include "hud/QualityView.h"
#include "hud/SegmentedTapeButtonView.h"
#include "hud/TapeBoxSearchField.h"
#include "hud/TapeBoxView.h"
#include "hud/TapeView.h"
#include "hud/VolumeView.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QAction>
#include <QApplication>
#include <QFileInfo>
#include <QLineEdit>
#include <QStandardPaths>
#include <QTest>

using namespace spindrel;
using namespace spindrel::test;

namespace {

class DeckKeyboardTest : public DeckTest
{
protected:
    WindowController& openActiveDeck()
    {
        WindowController& deck = openDeck();
        deck.window()->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(deck.window()));
        return deck;
    }

    /// A key typed wherever the keyboard is now.
    static void type(Qt::Key key)
    {
        QWidget* focus = QApplication::focusWidget();
        ASSERT_NE(focus, nullptr);
        QTest::keyClick(focus, key);
    }
};

} // namespace

TEST_F(DeckKeyboardTest, AfterAnEditOrAnEscapeTheKeysHaveTheKeyboardSoXPlays)
{
    addTape(QStringLiteral("Porch"), QDateTime(QDate(2012, 3, 4), QTime(10, 15)), 20.0);
    WindowController& deck = openActiveDeck();
    ASSERT_EQ(state(), TransportState::TapeStopped);
    SegmentedTapeButtonView* keys = deck.buttonView();
    TapeBoxSearchField* search = deck.tapeBoxViewController()->searchField();
    EXPECT_EQ(QApplication::focusWidget(), keys);

    // A new title (Edit Title, F2) confirmed with Return: X then plays, and nothing lands in the
    // search field.
    ASSERT_TRUE(waitFor([&] { return deck.tapeView()->canEditLabel(); })); // the cassette slides in
    deck.actions().editTitle()->trigger();
    ASSERT_TRUE(deck.tapeView()->isEditingTitle());
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("Porch at dusk"));
    type(Qt::Key_Return);
    EXPECT_EQ(deck.tapeView()->title(), QStringLiteral("Porch at dusk"));
    EXPECT_EQ(QApplication::focusWidget(), keys);
    type(Qt::Key_X);
    ASSERT_TRUE(waitFor([this] { return state() == TransportState::Playing; }));
    EXPECT_TRUE(search->text().isEmpty());
    type(Qt::Key_X);
    ASSERT_TRUE(waitFor([this] { return state() == TransportState::TapeStopped; }));

    // Escape hands the keyboard back from the search field (clearing it), the notes and the list.
    deck.discloseTapes();
    ASSERT_TRUE(waitFor([&] { return deck.tapesDisclosed() && search->isVisible(); }));
    search->setFocus();
    QTest::keyClicks(search, QStringLiteral("por"));
    type(Qt::Key_Escape);
    EXPECT_EQ(QApplication::focusWidget(), keys);
    EXPECT_TRUE(search->text().isEmpty());
    deck.actions().editNotes()->trigger();
    ASSERT_TRUE(deck.tapeView()->isEditingNotes());
    EXPECT_NE(QApplication::focusWidget(), keys);
    type(Qt::Key_Escape);
    EXPECT_FALSE(deck.tapeView()->isEditingNotes());
    EXPECT_EQ(QApplication::focusWidget(), keys);
    deck.tapeBoxViewController()->tableView()->setFocus();
    type(Qt::Key_Escape);
    EXPECT_EQ(QApplication::focusWidget(), keys);

    // A HUD control reached with Tab has no use for X: the deck plays, the control keeps the keyboard.
    type(Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), static_cast<QWidget*>(deck.hudView()->qualityView()));
    deck.hudView()->volumeView()->setFocus(Qt::TabFocusReason);
    type(Qt::Key_X);
    ASSERT_TRUE(waitFor([this] { return state() == TransportState::Playing; }));
    EXPECT_EQ(QApplication::focusWidget(), static_cast<QWidget*>(deck.hudView()->volumeView()));
    type(Qt::Key_B);
    ASSERT_TRUE(waitFor([this] { return state() == TransportState::TapeStopped; }));
}

TEST_F(DeckKeyboardTest, AHeldFastForwardGoesUpWhenTheWindowLosesTheKeyboard)
{
    addTape(QStringLiteral("Long take"), QDateTime(QDate(2012, 3, 4), QTime(10, 15)), 30.0);
    WindowController& deck = openActiveDeck();
    SegmentedTapeButtonView* keys = deck.buttonView();
    QTest::keyClick(keys, Qt::Key_X);
    ASSERT_TRUE(waitFor([this] { return state() == TransportState::Playing; }));

    // Held past the hold interval: cueing while it is down.
    QTest::keyPress(keys, Qt::Key_V);
    ASSERT_TRUE(waitFor([this] { return state() == TransportState::Cueing; }));
    QTest::qWait(static_cast<int>(SegmentedTapeButtonView::holdInterval * 1000) + 400);
    EXPECT_EQ(state(), TransportState::Cueing);

    QWidget other;
    other.show();
    other.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    ASSERT_TRUE(waitFor([this] { return state() == TransportState::Playing; }));
    EXPECT_FALSE(keys->isDepressedSegment(int(TransportButton::FastForward)));

    // The release the window system delivers later changes nothing.
    deck.window()->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(deck.window()));
    QTest::keyRelease(keys, Qt::Key_V);
    EXPECT_EQ(state(), TransportState::Playing);
    deck.stopTape();
}

TEST_F(DeckKeyboardTest, DeleteInTheTapeBoxTrashesTheSelectedTape)
{
    const QString older = addTape(QStringLiteral("Older"), QDateTime(QDate(2012, 3, 1), QTime(10, 0)));
    addTape(QStringLiteral("Newer"), QDateTime(QDate(2012, 3, 2), QTime(10, 0)));
    WindowController& deck = openActiveDeck();
    deck.discloseTapes();
    ASSERT_TRUE(waitFor([&] { return deck.tapesDisclosed(); }));
    TapeBoxView* table = deck.tapeBoxViewController()->tableView();
    table->setFocus();
    deck.tapeBoxViewController()->selectRow(1);
    ASSERT_EQ(deck.selectedTape()->title(), QStringLiteral("Older"));

    QTest::keyClick(table, Qt::Key_Delete);
    ASSERT_TRUE(waitFor([&] { return deck.library().content().size() == 1; }));
    EXPECT_EQ(deck.selectedTape()->title(), QStringLiteral("Newer"));
    EXPECT_FALSE(QFileInfo::exists(older));
    const QString trash = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                          QStringLiteral("/Trash/files/") + QFileInfo(older).fileName();
    EXPECT_TRUE(QFileInfo::exists(trash)) << trash;
    EXPECT_EQ(deck.soundEffect(SoundEffect::TossTape2)->startCount(), 1);
}
