#include "deck/SoundServerNotice.h"

#include "DeckTest.h"
#include "audio/PrivateSoundServer.h"
#include "audio/PulseTestSupport.h"
#include "deck/DeckInputMeter.h"
#include "hud/HUDView.h"

#include <QElapsedTimer>
#include <memory>

using namespace spindrel;
using namespace spindrel::test;

namespace {

// The deck on a sound server of the test's own, one for every case: the hardware, made once per
// process, always looks for the same socket.
class SoundServerNoticeTest : public DeckTest
{
protected:
    static void SetUpTestSuite() { sServer = std::make_unique<PrivateSoundServer>(); }
    static void TearDownTestSuite() { sServer.reset(); }
    void SetUp() override
    {
        DeckTest::SetUp();
        sServer->use();
    }
    void TearDown() override
    {
        sServer->resume();
        DeckTest::TearDown();
    }

    PrivateSoundServer& server() { return *sServer; }
    bool meterRuns() const { return mDeck->inputMeter().meter() && mDeck->inputMeter().isMetering(); }
    static std::unique_ptr<PrivateSoundServer> sServer;
};

std::unique_ptr<PrivateSoundServer> SoundServerNoticeTest::sServer;

TEST_F(SoundServerNoticeTest, AServerMissingAtLaunchOrGoneLaterIsReportedAndFoundAgain)
{
    server().kill();
    QElapsedTimer clock;
    clock.start();
    WindowController& deck = openDeck();
    ASSERT_TRUE(waitFor([&] { return deck.deckMessage() == SoundServerNotice::notRunningMessage(); }, 10000))
        << deck.deckMessage();
    reportMeasurement("deck opened without a server to its message", clock.elapsed());
    EXPECT_EQ(deck.inputMeter().meter(), nullptr);
    EXPECT_FALSE(deck.inputMeter().isMetering());

    ASSERT_TRUE(server().start());
    ASSERT_TRUE(waitFor([&] { return deck.deckMessage().isEmpty(); }, 20000)) << deck.deckMessage();
    ASSERT_TRUE(waitFor([&] { return meterRuns(); }, 10000));
    {
        TonePlayer tone(QStringLiteral("mic"), {440.0, 440.0});
        ASSERT_TRUE(tone.isRunning());
        ASSERT_TRUE(waitFor([&] { return deck.hudView()->levels().first > -30.0; }, 10000))
            << "the meter hears the input";

        // The server goes while the deck runs.
        clock.restart();
        server().kill();
        ASSERT_TRUE(
            waitFor([&] { return deck.deckMessage() == SoundServerNotice::notRunningMessage(); }, 10000))
            << deck.deckMessage();
        reportMeasurement("killed server to the deck's message", clock.elapsed());
    }
    // The meter goes quiet instead of standing at its last level.
    EXPECT_EQ(deck.inputMeter().meter(), nullptr);
    EXPECT_EQ(deck.hudView()->levels(), std::make_pair(-100.0, -100.0));

    ASSERT_TRUE(server().start());
    ASSERT_TRUE(waitFor([&] { return deck.deckMessage().isEmpty(); }, 20000)) << deck.deckMessage();
    EXPECT_TRUE(waitFor([&] { return meterRuns(); }, 10000));

    // A failure shown since the server went is not the server's to clear.
    server().kill();
    ASSERT_TRUE(waitFor([&] { return deck.deckMessage() == SoundServerNotice::notRunningMessage(); }, 10000));
    deck.showDeckMessage(QStringLiteral("Something else went wrong."));
    ASSERT_TRUE(server().start());
    ASSERT_TRUE(waitFor([&] { return meterRuns(); }, 20000));
    EXPECT_EQ(deck.deckMessage(), QStringLiteral("Something else went wrong."));
}

TEST_F(SoundServerNoticeTest, AStoppedServerIsReportedWithoutFreezingTheDeck)
{
    ASSERT_TRUE(server().start());
    WindowController& deck = openDeck();
    ASSERT_TRUE(waitFor([&] { return meterRuns(); }, 20000));

    QElapsedTimer clock;
    clock.start();
    server().pause();
    {
        // Should the deck wait on the server, the guard lets the server go on and says so.
        HangGuard guard(server(), 15000);
        const bool reported =
            waitFor([&] { return deck.deckMessage() == SoundServerNotice::notRespondingMessage(); }, 12000);
        reportMeasurement("stopped server to the deck's message", clock.elapsed());
        ASSERT_FALSE(guard.finish()) << "the deck waited on the stopped server";
        ASSERT_TRUE(reported) << deck.deckMessage();
    }
    EXPECT_EQ(deck.inputMeter().meter(), nullptr);

    server().resume();
    ASSERT_TRUE(waitFor([&] { return deck.deckMessage().isEmpty(); }, 20000)) << deck.deckMessage();
    EXPECT_TRUE(waitFor([&] { return meterRuns(); }, 10000));
}

} // namespace
