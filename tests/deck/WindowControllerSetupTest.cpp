#include "DeckTest.h"
#include "MP4Tags/MP4Tags.h"
#include "audio/VORLAudioHardware.h"
#include "deck/DeckInputMeter.h"
#include "deck/DeckStatusItem.h"
#include "deck/DeckWindow.h"
#include "deck/SoundEffectPlayer.h"
#include "deck/TapeBoxViewController.h"
#include "hud/HUDView.h"
#include "hud/SegmentedTapeButtonView.h"
#include "hud/TapeBoxSearchField.h"
#include "hud/TapeView.h"
#include "tapes/TapeLibraryArrayController.h"
#include "tapes/TapeTestFiles.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using namespace spindrel;
using namespace spindrel::test;
namespace K = DefaultsKeys;

namespace {

using SetupTest = DeckTest;

TEST_F(SetupTest, TheHUDStartsFromTheStoredSettingsAndWritesChangesBack)
{
    mPreferences->setDefaultsValue(K::RecordingIsStereo, false);
    mPreferences->setDefaultsValue(K::RecordingQuality, QStringLiteral("HQ"));
    mPreferences->setDefaultsValue(K::PlaybackVolume, -15.0);
    WindowController& deck = openDeck();
    EXPECT_FALSE(deck.hudView()->stereo());
    EXPECT_EQ(deck.hudView()->quality(), QStringLiteral("HQ"));
    EXPECT_DOUBLE_EQ(deck.hudView()->volume(), -15.0);
    // What the deck registers for settings never made.
    EXPECT_EQ(mPreferences->defaultsValue(K::RecordDeviceChannels).toList(), (QVariantList{0, 1}));
    EXPECT_FALSE(RecordingDefaults::systemFullUserName().isEmpty());
    EXPECT_EQ(mPreferences->stringForKey(K::TapeAuthor), RecordingDefaults::systemFullUserName());

    deck.hudView()->setQuality(QStringLiteral("MQ"));
    deck.hudView()->setStereo(true);
    EXPECT_EQ(mPreferences->stringForKey(K::RecordingQuality), QStringLiteral("MQ"));
    EXPECT_TRUE(mPreferences->boolForKey(K::RecordingIsStereo));
}

TEST_F(SetupTest, TheDrawerWidensTheWindowAndClosesBackToItsWidthWhileTheDeckGoesOn)
{
    WindowController& deck = openDeck();
    EXPECT_EQ(deck.window()->width(), WindowController::closedWidth);

    // The toggle returns at once; the window widens while the event loop runs on.
    deck.discloseTapes();
    EXPECT_TRUE(deck.tapesDisclosed());
    EXPECT_EQ(deck.window()->width(), WindowController::closedWidth);
    bool timerFired = false;
    QTimer::singleShot(0, [&] { timerFired = true; });
    ASSERT_TRUE(waitFor([&] { return timerFired; }));
    ASSERT_TRUE(waitFor([&] { return deck.window()->width() == 626; }));
    EXPECT_TRUE(deck.tapeBoxViewController()->isVisible());
    EXPECT_EQ(deck.soundEffect(SoundEffect::DrawerOpenStereo)->startCount(), 1);

    deck.discloseTapes();
    EXPECT_FALSE(deck.tapesDisclosed());
    ASSERT_TRUE(waitFor([&] { return deck.window()->width() == 390; }));
    EXPECT_EQ(deck.soundEffect(SoundEffect::DrawerCloseStereo)->startCount(), 1);

    // Toggled again on its way, the drawer turns around and ends where the last toggle says.
    deck.discloseTapes();
    ASSERT_TRUE(waitFor([&] { return deck.window()->width() > 390; }));
    deck.discloseTapes();
    EXPECT_FALSE(deck.tapesDisclosed());
    ASSERT_TRUE(waitFor([&] { return deck.window()->width() == 390; }));
    QTest::qWait(300);
    EXPECT_EQ(deck.window()->width(), 390) << "an earlier animation went on after the turn";

    // Two toggles before the event loop turns leave the drawer closed.
    deck.discloseTapes();
    deck.discloseTapes();
    QTest::qWait(300);
    EXPECT_FALSE(deck.tapesDisclosed());
    EXPECT_EQ(deck.window()->width(), 390);
}

TEST_F(SetupTest, SearchingFiltersTheTapeBoxAndLoadsItsFirstRow)
{
    // Notes of their own, as a tape without notes matches every word.
    const QString notes = QStringLiteral("at home");
    addTape(QStringLiteral("Piano lesson"), QDateTime(QDate(2012, 3, 1), QTime(10, 0)), 2.0, notes);
    addTape(QStringLiteral("Guitar"), QDateTime(QDate(2012, 3, 3), QTime(10, 0)), 2.0, notes);
    addTape(QStringLiteral("Piano recital"), QDateTime(QDate(2012, 3, 2), QTime(10, 0)), 2.0, notes);
    WindowController& deck = openDeck();
    deck.performFindPanelAction();
    EXPECT_TRUE(deck.tapesDisclosed());
    QLineEdit* field = deck.tapeBoxViewController()->searchField();
    EXPECT_TRUE(field->hasFocus());

    QTest::keyClicks(field, QStringLiteral("PIANO"));
    EXPECT_EQ(deck.library().filterString(), QStringLiteral("PIANO"));
    ASSERT_EQ(deck.library().arrangedObjects().size(), 2);
    EXPECT_EQ(deck.library().selectionIndex(), 0);
    EXPECT_EQ(deck.selectedTape()->title(), QStringLiteral("Piano recital"));

    auto* notice = deck.tapeBoxViewController()->findChild<QLabel*>(QStringLiteral("TapeBoxEmptyNotice"));
    ASSERT_NE(notice, nullptr);
    EXPECT_TRUE(notice->isHidden());
    QTest::keyClicks(field, QStringLiteral(" trombone"));
    EXPECT_TRUE(deck.library().arrangedObjects().isEmpty());
    EXPECT_FALSE(notice->isHidden()) << "a search that finds nothing says so";
    EXPECT_EQ(notice->text(), QStringLiteral("No tapes match"));

    field->clear();
    EXPECT_EQ(deck.library().arrangedObjects().size(), 3);
    EXPECT_TRUE(notice->isHidden());
    EXPECT_EQ(deck.selectedTape()->title(), QStringLiteral("Guitar"));
}

TEST_F(SetupTest, TheStatusItemFollowsItsSetting)
{
    mPreferences->setDefaultsValue(K::ShowNSStatusItem, false);
    WindowController& deck = openDeck();
    EXPECT_EQ(deck.statusItem().icon(), nullptr);
    mPreferences->setDefaultsValue(K::ShowNSStatusItem, true);
    ASSERT_NE(deck.statusItem().icon(), nullptr);
    QSystemTrayIcon* item = deck.statusItem().icon();
    deck.statusItem().install();
    EXPECT_EQ(deck.statusItem().icon(), item) << "only one";
    mPreferences->setDefaultsValue(K::ShowNSStatusItem, false);
    EXPECT_EQ(deck.statusItem().icon(), nullptr);
}

TEST_F(SetupTest, AMonoOnlyRecordingDeviceTurnsTheHUDToMono)
{
    QByteArray module;
    ASSERT_EQ(runProgram(QStringLiteral("pactl"),
                         {QStringLiteral("load-module"), QStringLiteral("module-null-sink"),
                          QStringLiteral("sink_name=monomic"), QStringLiteral("channels=1")},
                         &module),
              0);
    WindowController& deck = openDeck();
    ASSERT_TRUE(deck.hudView()->stereo());
    mPreferences->setDefaultsValue(K::RecordDeviceUID, QStringLiteral("monomic.monitor"));
    Q_EMIT mPreferences->recordDeviceChangedNotification();
    EXPECT_FALSE(deck.hudView()->stereo());
    EXPECT_FALSE(mPreferences->boolForKey(K::RecordingIsStereo));
    runProgram(QStringLiteral("pactl"),
               {QStringLiteral("unload-module"), QString::fromLatin1(module.trimmed())});
}

TEST_F(SetupTest, TheMeterShowsTheInputAndRestsAtTheFloorWhenStopped)
{
    WindowController& deck = openDeck();
    ASSERT_NE(deck.inputMeter().meter(), nullptr);
    EXPECT_TRUE(deck.inputMeter().isMetering());
    feedTone(6.0);
    ASSERT_TRUE(waitFor([&] { return deck.hudView()->levels().first > -30.0; }));

    deck.inputMeter().stop();
    EXPECT_EQ(deck.inputMeter().meter(), nullptr);
    EXPECT_FALSE(deck.inputMeter().isMetering());
    EXPECT_EQ(deck.hudView()->levels(), std::make_pair(-100.0, -100.0));

    // A device notice checks the stored devices and rebuilds the meter.
    const int checks = mPreferences->deviceChecks;
    Q_EMIT VORLAudioHardware::sharedInstance()->defaultInputDeviceDidChange();
    EXPECT_NE(deck.inputMeter().meter(), nullptr);
    EXPECT_EQ(mPreferences->deviceChecks, checks + 1);
}

TEST_F(SetupTest, ClosingTheWindowWritesEveryTapesEdits)
{
    const QString older = addTape(QStringLiteral("Older"), QDateTime(QDate(2012, 3, 1), QTime(10, 0)));
    addTape(QStringLiteral("Newer"), QDateTime(QDate(2012, 3, 2), QTime(10, 0)));
    WindowController& deck = openDeck();
    deck.playTape();
    deck.library().arrangedObjects().at(1)->setNotes(QStringLiteral("second take was better"));
    QSignalSpy closed(&deck, &WindowController::windowDidClose);
    closeDeck();
    EXPECT_EQ(state(), TransportState::TapeStopped);
    // The deck is done only once the edits are in the files.
    ASSERT_TRUE(closed.count() == 1 || closed.wait(20000));
    const auto tags = MP4Tags::fromFile(older);
    ASSERT_TRUE(tags);
    EXPECT_EQ(tags->lyrics().value_or(QString()), QStringLiteral("second take was better"));
}

TEST_F(SetupTest, MessagesStayClearOfTheTitleAndPlainOnesLeaveByThemselves)
{
    addTape(QStringLiteral("Title in sight"), QDateTime(QDate(2012, 3, 1), QTime(10, 0)));
    WindowController& deck = openDeck();
    DeckWindow* window = deck.window();
    const QRect cassette = window->tapeView()->geometry();
    const QRect titleBand(cassette.left(), cassette.top(), cassette.width(), cassette.height() / 3);
    window->setMessageLifetime(300);

    window->showMessage(QStringLiteral("A long report of something that went wrong, long enough to take "
                                       "several lines on the deck so that it has to grow upwards a good "
                                       "way before it fits, which it must do without covering the title."));
    EXPECT_FALSE(window->messageGeometry().intersects(titleBand));
    EXPECT_LE(window->messageGeometry().bottom(), window->buttonView()->geometry().top());
    ASSERT_TRUE(waitFor([&] { return deck.deckMessage().isEmpty(); }, 20000)) << "a plain message leaves";

    // One with a way out stays until its cause is gone or it is used.
    bool used = false;
    window->showMessage(QStringLiteral("The folder is gone."), QStringLiteral("Choose Folder…"),
                        [&used] { used = true; });
    QTest::qWait(1000);
    EXPECT_FALSE(deck.deckMessage().isEmpty());
    window->messageAction()->click();
    EXPECT_TRUE(used);
    EXPECT_TRUE(deck.deckMessage().isEmpty());
}

} // namespace
