#include "DeckTest.h"
#include "MP4Tags/MP4Tags.h"
#include "deck/DeckWindow.h"
#include "deck/SoundEffectPlayer.h"
#include "foundation/Log.h"
#include "hud/HUDView.h"
#include "hud/PaintRecorder.h"
#include "hud/SegmentedTapeButtonView.h"
#include "hud/SoundEffects.h"
#include "hud/TapeView.h"
#include "tapes/TapeLibraryArrayController.h"
#include "tapes/TapeTestFiles.h"

#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTest>

using namespace spindrel;
using namespace spindrel::test;
namespace K = DefaultsKeys;

namespace {

class PlaybackTest : public DeckTest
{
protected:
    /// A deck with one tape of `seconds` loaded.
    WindowController& openWithTape(double seconds = 6.0)
    {
        mTapePath =
            addTape(QStringLiteral("Piano lesson"), QDateTime(QDate(2012, 3, 4), QTime(10, 15)), seconds);
        WindowController& deck = openDeck();
        EXPECT_EQ(state(), TransportState::TapeStopped);
        return deck;
    }

    double speed() const { return mDeck->audioFilePlayer()->playbackSpeed(); }

    QString mTapePath;
};

TEST_F(PlaybackTest, PlayRunsTheTapeWithTheHUDFollowingAndTheEndStopsIt)
{
    WindowController& deck = openWithTape(2.0);
    ASSERT_NE(deck.audioFilePlayer(), nullptr);
    EXPECT_EQ(deck.tapeView()->tape(), deck.selectedTape());

    QSignalSpy transport(&deck, &WindowController::transportStateChanged);
    clickSegment(TransportButton::Play);
    ASSERT_EQ(state(), TransportState::Playing);
    ASSERT_FALSE(transport.isEmpty());
    EXPECT_EQ(transport.last().first().value<TransportState>(), TransportState::Playing);
    EXPECT_TRUE(deck.audioFilePlayer()->isFilePlaying());
    EXPECT_TRUE(deck.buttonView()->isSelectedSegment(int(TransportButton::Play)));
    EXPECT_TRUE(deck.tapeView()->isRotating());
    EXPECT_DOUBLE_EQ(deck.tapeView()->rotationSpeed(), 1.0);
    ASSERT_TRUE(waitFor([&] { return deck.hudView()->time() > 300.0; }));
    EXPECT_NEAR(deck.hudView()->maxTime(), 2000.0, 50.0);
    EXPECT_DOUBLE_EQ(deck.hudView()->position(), deck.hudView()->time());

    // Playing off the end is a stop.
    ASSERT_TRUE(waitFor([this] { return state() == TransportState::TapeStopped; }, 15000));
    EXPECT_EQ(transport.last().first().value<TransportState>(), TransportState::TapeStopped);
    EXPECT_FALSE(deck.buttonView()->isSelectedSegment(int(TransportButton::Play)));
    EXPECT_FALSE(deck.tapeView()->isRotating());
    EXPECT_FALSE(deck.isHUDUpdating());
}

TEST_F(PlaybackTest, WindingCueingReviewingAndPauseFollowTheTransport)
{
    WindowController& deck = openWithTape();
    mPreferences->setDefaultsValue(K::PlaySoundEffects, false);
    // The HUD's volume is stored and reaches the player.
    deck.hudView()->setVolume(-10.0);
    EXPECT_DOUBLE_EQ(mPreferences->doubleForKey(K::PlaybackVolume), -10.0);
    EXPECT_DOUBLE_EQ(deck.audioFilePlayer()->playbackVolume(), -10.0);

    deck.fastForwardTape();
    EXPECT_EQ(state(), TransportState::FastForwarding);
    EXPECT_DOUBLE_EQ(speed(), 8.0);
    EXPECT_DOUBLE_EQ(deck.tapeView()->rotationSpeed(), 8.0);
    EXPECT_DOUBLE_EQ(deck.audioFilePlayer()->playbackLevel(), 0.0) << "winding is silent";
    EXPECT_TRUE(deck.buttonView()->isSelectedSegment(int(TransportButton::FastForward)));
    deck.fastForwardTape(); // the latched key is released
    EXPECT_EQ(state(), TransportState::TapeStopped);
    EXPECT_DOUBLE_EQ(speed(), 1.0);
    EXPECT_DOUBLE_EQ(deck.audioFilePlayer()->playbackVolume(), -10.0) << "the winding's mute is lifted";

    deck.rewindTape();
    EXPECT_EQ(state(), TransportState::Rewinding);
    EXPECT_DOUBLE_EQ(speed(), -8.0);
    deck.fastForwardTape(); // switches straight to winding forward
    EXPECT_EQ(state(), TransportState::FastForwarding);
    deck.fastForwardTape();

    deck.playTape();
    ASSERT_EQ(state(), TransportState::Playing);
    deck.fastForwardTape();
    EXPECT_EQ(state(), TransportState::Cueing);
    EXPECT_DOUBLE_EQ(speed(), 2.0);
    EXPECT_TRUE(deck.audioFilePlayer()->isFilePlaying());
    deck.fastForwardTape();
    EXPECT_EQ(state(), TransportState::Playing);
    EXPECT_DOUBLE_EQ(speed(), 1.0);

    deck.rewindTape();
    EXPECT_EQ(state(), TransportState::Reviewing);
    EXPECT_DOUBLE_EQ(speed(), -2.0);
    deck.rewindTape();
    EXPECT_EQ(state(), TransportState::Playing);

    deck.pauseTape();
    EXPECT_EQ(state(), TransportState::Paused);
    EXPECT_FALSE(deck.audioFilePlayer()->isFilePlaying());
    EXPECT_TRUE(deck.buttonView()->isSelectedSegment(int(TransportButton::Pause)));
    deck.pauseTape();
    EXPECT_EQ(state(), TransportState::Playing);
    EXPECT_TRUE(deck.audioFilePlayer()->isFilePlaying());

    // A latched fast-forward key while playing makes the next press a release, which the
    // transport refuses in this state; the deck logs that and carries on.
    deck.buttonView()->setSelectedSegment(int(TransportButton::FastForward));
    deck.fastForwardTape();
    EXPECT_EQ(state(), TransportState::Playing);

    deck.stopTape();
    EXPECT_EQ(state(), TransportState::TapeStopped);
    EXPECT_FALSE(deck.audioFilePlayer()->isFilePlaying());
}

TEST_F(PlaybackTest, ATapeThatCannotBePlayedLoadsWithoutAPlayer)
{
    QFile broken(mLibraryPath + QStringLiteral("/broken.m4a"));
    ASSERT_TRUE(broken.open(QIODevice::WriteOnly));
    broken.write("not a movie at all");
    broken.close();
    QStringList log;
    const LogSink previous = setLogSink([&log](const QString& line) { log << line; });
    WindowController& deck = openDeck();
    setLogSink(previous);

    EXPECT_EQ(state(), TransportState::TapeStopped);
    EXPECT_EQ(deck.audioFilePlayer(), nullptr);
    EXPECT_EQ(log.filter(QStringLiteral("broken.m4a cannot be played")).size(), 1)
        << log.join(QLatin1Char('\n'));
    deck.playTape(); // nothing to hear, nothing to fail
    EXPECT_EQ(state(), TransportState::Playing);
    deck.stopTape();
    EXPECT_EQ(state(), TransportState::TapeStopped);
}

TEST_F(PlaybackTest, ALostOutputStopsTheTransportAndSaysWhichDevice)
{
    QByteArray module;
    ASSERT_EQ(runProgram(QStringLiteral("pactl"),
                         {QStringLiteral("load-module"), QStringLiteral("module-null-sink"),
                          QStringLiteral("sink_name=usbphones"),
                          QStringLiteral("sink_properties=device.description=USB-Phones")},
                         &module),
              0);
    mPreferences->setDefaultsValue(K::PlaybackDeviceUID, QStringLiteral("usbphones"));
    WindowController& deck = openWithTape(20.0);
    clickSegment(TransportButton::Play);
    ASSERT_EQ(state(), TransportState::Playing);
    ASSERT_TRUE(waitFor([&] { return deck.hudView()->time() > 100.0; }));

    runProgram(QStringLiteral("pactl"),
               {QStringLiteral("unload-module"), QString::fromLatin1(module.trimmed())});
    ASSERT_TRUE(waitFor([this] { return state() == TransportState::TapeStopped; }, 10000));
    EXPECT_FALSE(deck.buttonView()->isSelectedSegment(int(TransportButton::Play)));
    EXPECT_FALSE(deck.tapeView()->isRotating());
    EXPECT_TRUE(deck.deckMessage().contains(QStringLiteral("USB-Phones")))
        << deck.deckMessage().toStdString();
}

TEST_F(PlaybackTest, MovingTheHUDPositionSeeksAndTheDecksOwnUpdatesDoNot)
{
    WindowController& deck = openWithTape();
    deck.playTape();
    ASSERT_TRUE(waitFor([&] { return deck.hudView()->time() > 200.0; }));
    deck.hudView()->setPosition(4000.0);
    EXPECT_NEAR(deck.audioFilePlayer()->currentTime(), 4000.0, 100.0);
    EXPECT_NEAR(deck.hudView()->time(), 4000.0, 100.0);
    // The refreshes move the position on without pulling playback back.
    EXPECT_TRUE(waitFor([&] { return deck.audioFilePlayer()->currentTime() > 4100.0; }));
}

TEST_F(PlaybackTest, ANewTitleRewritesTheFileWhilePlaybackGoesOnUninterrupted)
{
    WindowController& deck = openWithTape();
    deck.playTape();
    deck.fastForwardTape();
    ASSERT_EQ(state(), TransportState::Cueing);
    ASSERT_TRUE(waitFor([&] { return deck.audioFilePlayer()->currentTime() > 600.0; }));
    const VORLExtendedAudioFilePlayer* player = deck.audioFilePlayer();
    const qint64 frameBefore = player->currentFrame();

    deck.selectedTape()->setTitle(QStringLiteral("Piano lesson, second week"));

    // Written in the background while the same player goes on: no gap, no jump.
    const QString renamed = mLibraryPath + QStringLiteral("/[2012-03-04] Piano lesson, second week.m4a");
    ASSERT_TRUE(waitFor([&] { return !deck.selectedTape()->dirty(); }));
    EXPECT_EQ(deck.selectedTape()->filename(), renamed);
    EXPECT_TRUE(QFileInfo::exists(renamed));
    EXPECT_FALSE(QFileInfo::exists(mTapePath));
    EXPECT_EQ(deck.audioFilePlayer(), player) << "the player is never rebuilt for a write";
    EXPECT_TRUE(player->isFilePlaying());
    EXPECT_DOUBLE_EQ(speed(), 2.0);
    const qint64 frameAfterWrite = player->currentFrame();
    EXPECT_GE(frameAfterWrite, frameBefore);
    ASSERT_TRUE(waitFor([&] { return player->currentFrame() > frameAfterWrite; }));
    EXPECT_EQ(MP4Tags::fromFile(renamed)->title().value_or(QString()),
              QStringLiteral("Piano lesson, second week"));
}

TEST_F(PlaybackTest, PreviousAndNextWalkTheListAndBeepAtItsEnds)
{
    addTape(QStringLiteral("Oldest"), QDateTime(QDate(2011, 1, 1), QTime(9, 0)));
    addTape(QStringLiteral("Middle"), QDateTime(QDate(2012, 1, 1), QTime(9, 0)));
    addTape(QStringLiteral("Newest"), QDateTime(QDate(2013, 1, 1), QTime(9, 0)));
    WindowController& deck = openDeck();
    ASSERT_EQ(deck.selectedTape()->title(), QStringLiteral("Newest"));

    deck.nextTape(); // already the newest
    deck.previousTape();
    EXPECT_EQ(deck.selectedTape()->title(), QStringLiteral("Middle"));
    deck.previousTape();
    deck.previousTape(); // already the oldest
    deck.nextTape();
    EXPECT_EQ(deck.selectedTape()->title(), QStringLiteral("Middle"));

    deck.library().setSelectionIndex(-1);
    EXPECT_EQ(deck.selectedTape(), nullptr);
    EXPECT_EQ(state(), TransportState::Idle);
    deck.previousTape(); // nothing selected
    EXPECT_TRUE(deck.library().selectedObjects().isEmpty());
}

TEST_F(PlaybackTest, SoundEffectsComeFromTheResourcesFollowThePreferenceAndTheWindingNoiseAlwaysStops)
{
    // The sounds are resources made into files once; a missing one is silent.
    const QString pressFile =
        SoundEffectPlayer::fileForResource(SoundEffects::resourcePath(SoundEffect::ButtonPress));
    EXPECT_EQ(QFileInfo(pressFile).size(),
              QFileInfo(SoundEffects::resourcePath(SoundEffect::ButtonPress)).size());
    EXPECT_EQ(SoundEffectPlayer::fileForResource(SoundEffects::resourcePath(SoundEffect::ButtonPress)),
              pressFile);
    EXPECT_TRUE(SoundEffectPlayer::fileForResource(QStringLiteral(":/sounds/NoSuchSound.wav")).isEmpty());
    SoundEffectPlayer missing(QStringLiteral("Missing"), QString(), QString());
    missing.play();
    EXPECT_FALSE(missing.isPlaying());
    EXPECT_EQ(missing.startCount(), 0);

    // Long enough to wind for a while at eight times the speed.
    WindowController& deck = openWithTape(30.0);
    SoundEffectPlayer* winding = deck.soundEffect(SoundEffect::TapeSpeeding);
    SoundEffectPlayer* press = deck.soundEffect(SoundEffect::ButtonPress);
    ASSERT_TRUE(winding && press);

    mPreferences->setDefaultsValue(K::PlaySoundEffects, false);
    deck.fastForwardTape();
    EXPECT_EQ(winding->startCount(), 0);
    deck.fastForwardTape();

    mPreferences->setDefaultsValue(K::PlaySoundEffects, true);
    deck.fastForwardTape();
    EXPECT_TRUE(winding->isPlaying());
    EXPECT_EQ(press->startCount(), 1);
    // Released and pressed again while the key's sound still plays: it is not started over.
    deck.fastForwardTape();
    deck.fastForwardTape();
    EXPECT_EQ(press->startCount(), 1);
    EXPECT_EQ(deck.soundEffect(SoundEffect::ButtonClear)->startCount(), 1) << "the keys sprang back once";
    // The winding noise loops for as long as the tape winds.
    QTest::qWait(1500);
    EXPECT_TRUE(winding->isPlaying());

    mPreferences->setDefaultsValue(K::PlaySoundEffects, false);
    deck.fastForwardTape();
    EXPECT_EQ(state(), TransportState::TapeStopped);
    EXPECT_FALSE(winding->isPlaying());
}

} // namespace

TEST_F(PlaybackTest, PlayingRepaintsTheReelsAndTheDisplayButNeverTheWholeDeck)
{
    WindowController& deck = openWithTape(20.0);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(deck.window()));
    QWidget* body = deck.window()->deckView();
    test::PaintRecorder paints(body);
    clickSegment(TransportButton::Play);
    ASSERT_EQ(state(), TransportState::Playing);
    ASSERT_TRUE(waitFor([&] { return deck.hudView()->time() > 300.0; }));
    paints.settle();

    // Many frames of turning reels and a running clock.
    ASSERT_TRUE(waitFor([&] { return paints.regions().size() >= 30; }, 30000));
    const auto area = [](const QRegion& region) {
        qint64 pixels = 0;
        for (const QRect& rect : region)
            pixels += qint64(rect.width()) * rect.height();
        return pixels;
    };
    const qint64 whole = qint64(body->width()) * body->height();
    for (const QRegion& region : paints.regions())
        EXPECT_LT(area(region), whole / 10)
            << "a frame repainted " << area(region) << " of " << whole << " pixels";
}
