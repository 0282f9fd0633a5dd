#include "SMC/TapeMap.h"

#include "RecordingOwner.h"
#include "SMC/WindowControllerContext.h"
#include "foundation/Assertion.h"
#include "foundation/Log.h"

#include <QStringList>
#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <set>

using namespace spindrel;
using spindrel::test::RecordingOwner;
using spindrel::test::stackShape;

namespace {

using Shape = std::vector<std::string>;

TEST(TapeMapStates, AreNamedAndNumberedSingletons)
{
    const std::vector<std::pair<WindowControllerState*, const char*>> states = {
        {TapeMap::Idle(), "TapeMap::Idle"},           {TapeMap::TapeStopped(), "TapeMap::TapeStopped"},
        {TapeMap::Playing(), "TapeMap::Playing"},     {TapeMap::FastForwarding(), "TapeMap::FastForwarding"},
        {TapeMap::Rewinding(), "TapeMap::Rewinding"}, {TapeMap::Cueing(), "TapeMap::Cueing"},
        {TapeMap::Reviewing(), "TapeMap::Reviewing"}, {TapeMap::Recording(), "TapeMap::Recording"},
        {TapeMap::Paused(), "TapeMap::Paused"},
    };
    for (std::size_t id = 0; id < states.size(); ++id) {
        EXPECT_EQ(states[id].first->name(), QLatin1String(states[id].second));
        EXPECT_EQ(states[id].first->stateId(), std::int32_t(id));
        EXPECT_NE(dynamic_cast<TapeMap_Default*>(states[id].first), nullptr);
    }
    EXPECT_EQ(TapeMap::Paused(), TapeMap::Paused());
    EXPECT_EQ(TapeMap::Idle(), TapeMap::Idle());
}

TEST(WindowControllerStateTest, RefusesEveryEventItIsNotTaught)
{
    RecordingOwner owner;
    WindowControllerContext context(owner);
    WindowControllerState bare(QStringLiteral("Bare"), 99);
    bare.Entry(context);
    bare.Exit(context);
    const std::vector<void (WindowControllerState::*)(WindowControllerContext&)> events = {
        &WindowControllerState::ffwdDown,       &WindowControllerState::ffwdUp,
        &WindowControllerState::pauseDown,      &WindowControllerState::pauseUp,
        &WindowControllerState::play,           &WindowControllerState::rec,
        &WindowControllerState::rewindDown,     &WindowControllerState::rewindUp,
        &WindowControllerState::stop,           &WindowControllerState::tapeChosen,
        &WindowControllerState::windowWillClose};
    for (auto event : events) {
        try {
            (bare.*event)(context);
            ADD_FAILURE() << "an event was accepted by the bare state";
        } catch (const InternalInconsistency& failure) {
            EXPECT_EQ(failure.description(), "Default transition");
            EXPECT_EQ(failure.sourceUnit(), "Spindrel_sm");
            EXPECT_EQ(failure.line(), 146);
        }
    }
    EXPECT_TRUE(owner.calls.empty());
    EXPECT_EQ(stackShape(context), Shape{"Idle"});
}

TEST(WindowControllerContextTest, TransitionActionsRunBetweenStatesAndEntryAndExitInsideOne)
{
    RecordingOwner owner;
    WindowControllerContext context(owner);
    std::vector<std::string> seen;
    owner.onCall = [&](const std::string& call) {
        const SMCState* where = context.isInTransition() ? context.previousState() : context.state();
        seen.push_back(call + (context.isInTransition() ? " between, from " : " in ") +
                       where->name().toStdString());
    };
    context.tapeChosen();
    seen.clear();
    context.play();
    context.stop();
    const std::vector<std::string> expected = {
        "clearButtons between, from TapeMap::TapeStopped",
        "playSoundEffect(1) between, from TapeMap::TapeStopped",
        "setSelectedButton(1) between, from TapeMap::TapeStopped",
        "setPlaybackSpeed(1) between, from TapeMap::TapeStopped",
        "setPlaybackSpeed(1) in TapeMap::Playing",
        "startPlayingAudio in TapeMap::Playing",
        "startHUDUpdates in TapeMap::Playing",
        "startPlayAnimation in TapeMap::Playing",
        "stopPlayingAudio in TapeMap::Playing",
        "stopHUDUpdates in TapeMap::Playing",
        "stopPlayAnimation in TapeMap::Playing",
        "playSoundEffect(2) between, from TapeMap::Playing",
        "clearButtons between, from TapeMap::Playing",
    };
    EXPECT_EQ(seen, expected);
}

TEST(WindowControllerContextTest, TracesPushesPopsAndRestoredStates)
{
    QStringList traced;
    LogSink previous = setLogSink([&](const QString& line) { traced << line; });
    RecordingOwner owner;
    WindowControllerContext context(owner);
    context.setDebugFlag(true);
    context.tapeChosen();
    context.play(); // push with actions: the source is restored, then the target pushed
    context.pauseDown();
    context.pauseUp(); // pop and resend to Playing, whose pauseUp is internal
    EXPECT_THROW(context.ffwdUp(), InternalInconsistency); // refused: traces nothing
    setLogSink(previous);
    const QStringList expected = {
        QStringLiteral("PUSH TO STATE: TapeMap::TapeStopped\n\r"),
        QStringLiteral("NEW STATE    : TapeMap::TapeStopped\n\r"),
        QStringLiteral("PUSH TO STATE: TapeMap::Playing\n\r"),
        QStringLiteral("NEW STATE    : TapeMap::Playing\n\r"),
        QStringLiteral("PUSH TO STATE: TapeMap::Paused\n\r"),
        QStringLiteral("POP TO STATE : TapeMap::Playing\n\r"),
        QStringLiteral("NEW STATE    : TapeMap::Playing\n\r"),
    };
    EXPECT_EQ(traced, expected);
}

TEST(WindowControllerContextTest, AFailingOwnerActionNeverLeavesTheMachineWithoutAState)
{
    RecordingOwner owner;
    WindowControllerContext context(owner);
    context.tapeChosen();
    owner.onCall = [](const std::string& call) {
        if (call == "setSelectedButton(1)" || call == "playSoundEffect(2)")
            throw std::runtime_error("deck failed");
    };
    // A push whose actions fail stays where it was.
    EXPECT_THROW(context.play(), std::runtime_error);
    EXPECT_EQ(stackShape(context), (Shape{"Idle", "TapeStopped"}));

    owner.onCall = nullptr;
    context.play();
    owner.onCall = [](const std::string& call) {
        if (call == "playSoundEffect(2)")
            throw std::runtime_error("deck failed");
    };
    // A pop has already run the exit actions when its own actions fail, so it completes.
    EXPECT_THROW(context.stop(), std::runtime_error);
    EXPECT_EQ(stackShape(context), (Shape{"Idle", "TapeStopped"}));
}

TEST(WindowControllerContextTest, EventsRaisedByTheOwnerDuringATransitionAreDropped)
{
    RecordingOwner owner;
    WindowControllerContext context(owner);
    context.tapeChosen();
    owner.onCall = [&](const std::string& call) {
        if (call == "clearButtons")
            context.rec(); // the deck's selection observer firing mid-transition, say
    };
    owner.calls.clear();
    context.play();
    EXPECT_EQ(stackShape(context), (Shape{"Idle", "TapeStopped", "Playing"}));
    EXPECT_EQ(std::count(owner.calls.begin(), owner.calls.end(), "startRecordingAudio"), 0);
}

TEST(WindowControllerContextTest, APopWithNothingBelowIsRefusedBeforeAnyExitAction)
{
    RecordingOwner owner;
    WindowControllerContext context(owner);
    context.tapeChosen();
    context.play();
    context.emptyStateStack();
    owner.calls.clear();
    try {
        context.stop();
        FAIL() << "stop popped an empty stack";
    } catch (const InternalInconsistency& failure) {
        EXPECT_EQ(failure.description(), "Popping empty state stack");
    }
    EXPECT_TRUE(owner.calls.empty());
    EXPECT_EQ(context.state(), TapeMap::Playing());
}

// What the deck would look like after a call sequence: which resources are live and which
// latched buttons are lit. Checked against the stack after every step of a long random session.
struct DeckModel
{
    int players = 0, recordings = 0, hudUpdates = 0, animations = 0, muted = 0, speedingSound = 0;
    std::set<int> buttons;
    std::string lastSpeed;

    void replay(const std::vector<std::string>& calls)
    {
        for (const std::string& call : calls) {
            players += (call == "createTapePlayer") - (call == "destroyTapePlayer");
            recordings += (call == "startRecordingAudio") - (call == "stopRecordingAudio");
            hudUpdates += (call == "startHUDUpdates") - (call == "stopHUDUpdates");
            animations += (call == "startPlayAnimation") - (call == "stopPlayAnimation");
            muted += (call == "muteAudio") - (call == "unmuteAudio");
            speedingSound += (call == "playSoundEffect(0)") - (call == "stopSoundEffect(0)");
            if (call == "clearButtons")
                buttons.clear();
            else if (call.rfind("setSelectedButton(", 0) == 0)
                buttons.insert(call[18] - '0');
            else if (call.rfind("clearSelectedButton(", 0) == 0)
                buttons.erase(call[20] - '0');
            else if (call.rfind("setPlaybackSpeed(", 0) == 0)
                lastSpeed = call.substr(17, call.size() - 18);
        }
    }
};

TEST(WindowControllerContextTest, ARandomSessionKeepsTheDeckConsistentWithTheStack)
{
    const std::set<Shape> reachable = {
        {"Idle"},
        {"Idle", "TapeStopped"},
        {"Idle", "TapeStopped", "Playing"},
        {"Idle", "TapeStopped", "Playing", "Cueing"},
        {"Idle", "TapeStopped", "Playing", "Reviewing"},
        {"Idle", "TapeStopped", "Playing", "Paused"},
        {"Idle", "TapeStopped", "FastForwarding"},
        {"Idle", "TapeStopped", "Rewinding"},
        {"Idle", "Recording"},
        {"Idle", "Recording", "Paused"},
    };
    // Closing the window is left out: it deliberately leaves the player and buttons to the deck.
    const std::vector<void (WindowControllerContext::*)()> events = {
        &WindowControllerContext::ffwdDown,   &WindowControllerContext::ffwdUp,
        &WindowControllerContext::pauseDown,  &WindowControllerContext::pauseUp,
        &WindowControllerContext::play,       &WindowControllerContext::rec,
        &WindowControllerContext::rewindDown, &WindowControllerContext::rewindUp,
        &WindowControllerContext::stop,       &WindowControllerContext::tapeChosen};

    RecordingOwner owner;
    WindowControllerContext context(owner);
    std::mt19937 random(20240611);
    DeckModel deck;
    std::set<Shape> visited;
    int refusals = 0;
    for (int step = 0; step < 20000; ++step) {
        owner.selectable = random() % 4 != 0;
        const Shape before = stackShape(context);
        owner.calls.clear();
        try {
            (context.*events[random() % events.size()])();
        } catch (const InternalInconsistency&) {
            ++refusals;
            ASSERT_EQ(stackShape(context), before);
        }
        deck.replay(owner.calls);

        const Shape shape = stackShape(context);
        visited.insert(shape);
        ASSERT_TRUE(reachable.count(shape)) << "unexpected stack at step " << step;
        const auto has = [&](const char* name) {
            return std::find(shape.begin(), shape.end(), name) != shape.end();
        };
        const std::string& top = shape.back();
        const bool winding = top == "FastForwarding" || top == "Rewinding";
        const bool moving =
            winding || top == "Playing" || top == "Cueing" || top == "Reviewing" || top == "Recording";
        ASSERT_EQ(deck.players, has("TapeStopped") ? 1 : 0) << "step " << step;
        ASSERT_EQ(deck.recordings, has("Recording") ? 1 : 0) << "step " << step;
        ASSERT_EQ(deck.hudUpdates, has("Playing") || has("Recording") || winding ? 1 : 0) << "step " << step;
        ASSERT_EQ(deck.animations, moving ? 1 : 0) << "step " << step;
        ASSERT_EQ(deck.muted, winding ? 1 : 0) << "step " << step;
        ASSERT_EQ(deck.speedingSound, winding ? 1 : 0) << "step " << step;
        ASSERT_EQ(deck.buttons.count(3) == 1, top == "FastForwarding" || top == "Cueing") << "step " << step;
        ASSERT_EQ(deck.buttons.count(2) == 1, top == "Rewinding" || top == "Reviewing") << "step " << step;
        ASSERT_EQ(deck.buttons.count(5) == 1, top == "Paused") << "step " << step;
        const std::map<std::string, std::string> speeds = {{"FastForwarding", "8"}, {"Rewinding", "-8"},
                                                           {"Cueing", "2"},         {"Reviewing", "-2"},
                                                           {"Playing", "1"},        {"Recording", "1"}};
        if (speeds.count(top)) {
            ASSERT_EQ(deck.lastSpeed, speeds.at(top)) << "step " << step;
        }
    }
    EXPECT_EQ(visited, reachable);
    EXPECT_GT(refusals, 0);
}

} // namespace
