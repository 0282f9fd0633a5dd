#include "DeckTest.h"
#include "MP4Tags/MP4Tags.h"
#include "audio/DecodeCheck.h"
#include "audio/RecordingRecovery.h"
#include "deck/DeckActions.h"
#include "deck/DeckStatusItem.h"
#include "hud/HUDView.h"
#include "hud/SegmentedTapeButtonView.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QDir>
#include <QMenu>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>
#include <unistd.h>

using namespace spindrel;
using namespace spindrel::test;
namespace K = DefaultsKeys;

namespace {

const QRegularExpression
    kUUIDName(QStringLiteral("^[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}\\.m4a$"));

QString todaysName(const QString& title)
{
    return QDate::currentDate().toString(QStringLiteral("[yyyy-MM-dd] ")) + title + QStringLiteral(".m4a");
}

/// A file system of 1 MB mounted over a folder, with `freeKB` left free, for as long as it lives.
class SmallDisk
{
public:
    SmallDisk(const QString& folder, int freeKB) : mFolder(folder)
    {
        mMounted = QProcess::execute(QStringLiteral("mount"),
                                     {QStringLiteral("-t"), QStringLiteral("tmpfs"), QStringLiteral("-o"),
                                      QStringLiteral("size=1m"), QStringLiteral("none"), folder}) == 0;
        QFile filler(folder + QStringLiteral("/.filler"));
        mMounted = mMounted && filler.open(QIODevice::WriteOnly) &&
                   filler.write(QByteArray((1024 - freeKB) * 1024, '\0')) == (1024 - freeKB) * 1024;
    }
    ~SmallDisk() { QProcess::execute(QStringLiteral("umount"), {QStringLiteral("-l"), mFolder}); }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;
    bool isMounted() const { return mMounted; }

private:
    QString mFolder;
    bool mMounted = false;
};

class RecordingTest : public DeckTest
{
protected:
    /// Presses STOP and waits for the deck to load the finished tape and write its tags.
    void stopAndWait()
    {
        clickSegment(TransportButton::Stop);
        ASSERT_TRUE(waitFor([this] { return state() == TransportState::TapeStopped; }));
        ASSERT_TRUE(waitFor([this] { return tapesWritten(); }));
    }
    /// The take is finished and every tape's tags are on the disk.
    bool tapesWritten() const { return !mDeck->isWaitingForRecorder() && mDeck->commits().isIdle(); }

    /// A finished take is the one tape of the library, loaded, named after today and tagged.
    void expectTakeLoaded(const TapePtr& tape)
    {
        EXPECT_EQ(mDeck->audioFileRecorder(), nullptr);
        EXPECT_EQ(mDeck->selectedTape(), tape);
        EXPECT_NE(mDeck->audioFilePlayer(), nullptr) << "the take is loaded for playing";
        EXPECT_EQ(libraryFiles(), QStringList{todaysName(QStringLiteral("Untitled"))});
        EXPECT_TRUE(mDeck->library().isMonitoring());
        EXPECT_FALSE(mDeck->hudView()->recordingMode());
        EXPECT_EQ(mDeck->statusItem().imageName(), QStringLiteral("spstatus"));
        const auto tags = MP4Tags::fromFile(tape->filename());
        ASSERT_TRUE(tags);
        EXPECT_EQ(tags->title().value_or(QString()), QStringLiteral("Untitled"));
    }
};

TEST_F(RecordingTest, RecPressedRecordsANewUntitledTapeThatStopLeavesNamedAfterItsDate)
{
    mPreferences->setDefaultsValue(K::TapeAuthor, QStringLiteral("Test Author"));
    WindowController& deck = openDeck();
    // An empty library leaves the deck idle, with nothing to play.
    ASSERT_EQ(state(), TransportState::Idle);
    EXPECT_EQ(deck.selectedTape(), nullptr);
    EXPECT_EQ(deck.audioFilePlayer(), nullptr);
    deck.playTape();
    EXPECT_EQ(state(), TransportState::Idle);
    feedTone(8.0);

    clickSegment(TransportButton::Record);
    ASSERT_EQ(state(), TransportState::Recording);
    ASSERT_NE(deck.audioFileRecorder(), nullptr);
    EXPECT_TRUE(deck.audioFileRecorder()->isFileRecording());
    const TapePtr tape = deck.selectedTape();
    ASSERT_NE(tape, nullptr);
    EXPECT_TRUE(kUUIDName.match(QFileInfo(tape->filename()).fileName()).hasMatch()) << tape->filename();
    EXPECT_EQ(QFileInfo(tape->filename()).absolutePath(), mLibraryPath);
    EXPECT_EQ(deck.library().content(), QList<TapePtr>{tape});
    EXPECT_EQ(tape->title(), QStringLiteral("Untitled"));
    EXPECT_EQ(tape->tapeLetter().letter(), QStringLiteral("A"));
    EXPECT_EQ(tape->quality(), QStringLiteral("LQ"));
    EXPECT_FALSE(deck.library().isMonitoring());
    EXPECT_TRUE(deck.hudView()->recordingMode());
    EXPECT_EQ(deck.statusItem().imageName(), QStringLiteral("spstatus-recording"));
    EXPECT_TRUE(deck.buttonView()->isSelectedSegment(int(TransportButton::Record)));
    EXPECT_TRUE(deck.buttonView()->isSelectedSegment(int(TransportButton::Play)));

    // The HUD follows the recorder's time.
    ASSERT_TRUE(waitFor([&] { return deck.hudView()->time() > 500.0; }));
    const double earlier = deck.hudView()->time();
    ASSERT_TRUE(waitFor([&] { return deck.hudView()->time() > earlier + 500.0; }));

    stopAndWait();
    expectTakeLoaded(tape);
    EXPECT_GT(tape->duration(), 0.8);
    const auto tags = MP4Tags::fromFile(tape->filename());
    ASSERT_TRUE(tags);
    EXPECT_EQ(tags->artist().value_or(QString()), QStringLiteral("Test Author"));
    EXPECT_FALSE(tags->coverArt().value_or(QByteArray()).isEmpty());
}

TEST_F(RecordingTest, PauseHoldsTheRecordingInTheSameFileAndStopWhilePausedDoesNotWait)
{
    WindowController& deck = openDeck();
    deck.statusItem().install();
    feedTone(10.0);
    clickSegment(TransportButton::Record);
    ASSERT_TRUE(waitFor([&] { return deck.audioFileRecorder()->currentTime() > 800.0; }));

    clickSegment(TransportButton::Pause);
    ASSERT_EQ(state(), TransportState::Paused);
    EXPECT_TRUE(deck.isRecordingPaused());
    EXPECT_FALSE(deck.audioFileRecorder()->isFileRecording());
    const auto pauseItem = [&] {
        for (QAction* item : deck.statusItem().menu()->actions()) {
            if (item->text() == QLatin1String("Pause"))
                return item;
        }
        return static_cast<QAction*>(nullptr);
    }();
    ASSERT_NE(pauseItem, nullptr);
    EXPECT_TRUE(pauseItem->isChecked());
    const QString file = deck.selectedTape()->filename();

    clickSegment(TransportButton::Pause);
    ASSERT_EQ(state(), TransportState::Recording);
    EXPECT_FALSE(pauseItem->isChecked());
    EXPECT_EQ(deck.selectedTape()->filename(), file);
    const double resumedAt = deck.audioFileRecorder()->currentTime();
    ASSERT_TRUE(waitFor([&] { return deck.audioFileRecorder()->currentTime() > resumedAt + 800.0; }));
    const double recorded = deck.audioFileRecorder()->currentTime();

    clickSegment(TransportButton::Pause);
    ASSERT_EQ(state(), TransportState::Paused);
    // Stopping a paused recording finds nothing to wait for: the file is finished at once, in the
    // background.
    QElapsedTimer stopping;
    stopping.start();
    deck.stopTape();
    EXPECT_LT(stopping.elapsed(), 2000);
    ASSERT_TRUE(waitFor([this] { return state() == TransportState::TapeStopped && tapesWritten(); }));
    EXPECT_FALSE(deck.isRecordingPaused());
    EXPECT_EQ(libraryFiles(), QStringList{todaysName(QStringLiteral("Untitled"))});
    EXPECT_NEAR(deck.selectedTape()->duration(), recorded / 1000.0, 0.3);
}

// Two takes, each with a file of its own; the second asked for with its key while the first is
// still being finished. The file operations wait for the takes.
TEST_F(RecordingTest, KeysPressedWhileTheRecorderFinishesRunAfterTheTakeIsATape)
{
    addTape(QStringLiteral("Older"), QDateTime(QDate(2012, 3, 1), QTime(10, 0)));
    WindowController& deck = openDeck();
    EXPECT_TRUE(deck.actions().exportTape()->isEnabled());
    feedTone(10.0);
    deck.buttonView()->setFocus();
    deck.recordTape();
    EXPECT_FALSE(deck.actions().exportTape()->isEnabled());
    ASSERT_TRUE(waitFor([&] { return deck.audioFileRecorder()->currentTime() > 500.0; }));
    const TapePtr first = deck.selectedTape();

    deck.stopTape();
    ASSERT_TRUE(deck.isWaitingForRecorder());
    EXPECT_EQ(state(), TransportState::Idle);
    EXPECT_FALSE(deck.actions().exportTape()->isEnabled()) << "the take is still being written";
    // Record again before the first take is finished: the key waits for it rather than vanish.
    QTest::keyClick(deck.buttonView(), Qt::Key_Z);
    EXPECT_EQ(state(), TransportState::Idle);

    ASSERT_TRUE(waitFor([this] { return state() == TransportState::Recording; }));
    EXPECT_FALSE(deck.isWaitingForRecorder());
    EXPECT_NE(deck.selectedTape(), first);
    ASSERT_TRUE(waitFor([&] { return deck.commits().isIdle(); }));
    EXPECT_EQ(QFileInfo(first->filename()).fileName(), todaysName(QStringLiteral("Untitled")));
    EXPECT_TRUE(QFileInfo::exists(first->filename()));
    EXPECT_GT(first->duration(), 0.3);

    ASSERT_TRUE(waitFor([&] { return deck.audioFileRecorder()->currentTime() > 300.0; }));
    stopAndWait();
    EXPECT_EQ(libraryFiles(),
              (QStringList{QStringLiteral("[2012-03-01] Older.m4a"), todaysName(QStringLiteral("Untitled 1")),
                           todaysName(QStringLiteral("Untitled"))}));
    EXPECT_EQ(deck.library().content().size(), 3);
    EXPECT_TRUE(deck.actions().exportTape()->isEnabled());
}

TEST_F(RecordingTest, ARecorderThatNeverReportsItsStopIsFinishedByTheDeadline)
{
    WindowController& deck = openDeck();
    feedTone(10.0);
    deck.recordTape();
    ASSERT_TRUE(waitFor([&] { return deck.audioFileRecorder()->currentTime() > 800.0; }));
    const TapePtr tape = deck.selectedTape();
    QList<TapePtr> finished;
    QObject::connect(&deck, &WindowController::recordingFinished,
                     [&](const TapePtr& finishedTape) { finished << finishedTape; });
    // Nobody hears the recorder's did-stop notice now.
    deck.audioFileRecorder()->setDelegate(nullptr);

    deck.stopTape();
    ASSERT_TRUE(deck.isWaitingForRecorder());
    ASSERT_TRUE(waitFor([this] { return state() == TransportState::TapeStopped && tapesWritten(); }, 30000));
    EXPECT_EQ(finished, QList<TapePtr>{tape});
    expectTakeLoaded(tape);
    EXPECT_GT(tape->duration(), 0.6);
}

TEST_F(RecordingTest, WithoutASoundServerTheDeckSaysSoAndLeavesNoTapeBehind)
{
    addTape(QStringLiteral("Kept"), QDateTime(QDate(2012, 3, 1), QTime(10, 0)));
    WindowController& deck = openDeck();
    const QByteArray server = qgetenv("PULSE_SERVER");
    qputenv("PULSE_SERVER", "unix:/nonexistent/spindrel-test-socket");
    deck.recordTape();
    qputenv("PULSE_SERVER", server);

    EXPECT_FALSE(deck.deckMessage().isEmpty());
    ASSERT_TRUE(waitFor([this] { return state() != TransportState::Recording && tapesWritten(); }));
    EXPECT_EQ(deck.audioFileRecorder(), nullptr);
    EXPECT_EQ(libraryFiles(), QStringList{QStringLiteral("[2012-03-01] Kept.m4a")});
    ASSERT_EQ(deck.library().content().size(), 1);
    EXPECT_EQ(deck.library().content().first()->title(), QStringLiteral("Kept"));
    EXPECT_TRUE(deck.library().isMonitoring());
    EXPECT_FALSE(deck.hudView()->recordingMode());
}

TEST_F(RecordingTest, ClosingTheWindowEndsTheRecordingAndWritesTheTape)
{
    WindowController& deck = openDeck();
    feedTone(6.0);
    deck.recordTape();
    ASSERT_TRUE(waitFor([&] { return deck.audioFileRecorder()->currentTime() > 800.0; }));
    const TapePtr tape = deck.selectedTape();
    closeDeck();
    EXPECT_EQ(state(), TransportState::Idle);
    EXPECT_EQ(deck.audioFileRecorder(), nullptr);
    // Closing waits for the tags, which are written in the background.
    ASSERT_TRUE(waitFor([&] { return deck.commits().isIdle(); }));
    EXPECT_EQ(libraryFiles(), QStringList{todaysName(QStringLiteral("Untitled"))});
    const auto tags = MP4Tags::fromFile(tape->filename());
    ASSERT_TRUE(tags);
    EXPECT_EQ(tags->title().value_or(QString()), QStringLiteral("Untitled"));
}

TEST_F(RecordingTest, ADiskThatFillsUpStopsTheRecordingWithAMessageAndTheTakeIsATape)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "mounting a small file system over the library needs root";
    // Room for a few seconds of lossless audio and what it takes to finish and tag them.
    SmallDisk disk(mLibraryPath, 420);
    ASSERT_TRUE(disk.isMounted());
    mPreferences->setDefaultsValue(K::RecordingQuality, QStringLiteral("HQ"));
    WindowController& deck = openDeck();
    feedTone(40.0);

    clickSegment(TransportButton::Record);
    ASSERT_EQ(state(), TransportState::Recording);
    const TapePtr tape = deck.selectedTape();
    ASSERT_NE(tape, nullptr);
    ASSERT_TRUE(waitFor([this] { return state() == TransportState::TapeStopped; }, 60000))
        << "the deck went on recording on a full disk";

    EXPECT_EQ(deck.deckMessage(),
              QStringLiteral("The disk holding “Library” is full. What was recorded so far is kept."));
    EXPECT_FALSE(deck.buttonView()->isSelectedSegment(int(TransportButton::Record)))
        << "the record key came up";
    EXPECT_FALSE(deck.buttonView()->isSelectedSegment(int(TransportButton::Play)));

    // The take is the tape in the box, named, tagged and playable; nothing is left in progress.
    ASSERT_TRUE(waitFor([this] { return tapesWritten(); }));
    expectTakeLoaded(tape);
    EXPECT_EQ(deck.library().content(), QList<TapePtr>{tape});
    EXPECT_TRUE(QDir(mLibraryPath)
                    .entryList({QLatin1Char('*') + RecordingRecovery::inProgressSuffix()}, QDir::Files)
                    .isEmpty());
    EXPECT_EQ(tape->quality(), QStringLiteral("HQ"));
    EXPECT_GT(tape->duration(), 1.0);
    const DecodeCheck decoded = decodeAllPackets(tape->filename());
    EXPECT_EQ(decoded.errors, 0);
    EXPECT_NEAR(decoded.seconds(), tape->duration(), 0.1);

    // The deck lets go of the disk before it goes.
    mDeck->window()->close();
    mDeck.reset();
}

} // namespace
