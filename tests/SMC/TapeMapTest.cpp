#include "SMC/TapeMap.h"

#include "RecordingOwner.h"
#include "SMC/WindowControllerContext.h"
#include "foundation/Assertion.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

using namespace spindrel;
using spindrel::test::RecordingOwner;
using spindrel::test::stackShape;

namespace {

using Shape = std::vector<std::string>;

TEST(WindowControllerStateTest, RefusesEveryEventItIsNotTaught)
{
    RecordingOwner owner;
    WindowControllerContext context(owner);
    WindowControllerState bare(QStringLiteral("Bare"), 99);
    bare.Entry(context);
    bare.Exit(context);
    context.setState(&bare);
    using C = WindowControllerContext;
    for (auto event : {&C::ffwdDown, &C::ffwdUp, &C::pauseDown, &C::pauseUp, &C::play, &C::rec,
                       &C::rewindDown, &C::rewindUp, &C::stop, &C::tapeChosen, &C::windowWillClose}) {
        const std::optional<Error> refusal = (context.*event)();
        ASSERT_TRUE(refusal.has_value());
        EXPECT_EQ(refusal->domain(), WindowControllerContext::RefusalDomain);
        EXPECT_EQ(refusal->localizedDescription(), QStringLiteral("Default transition"));
    }
    EXPECT_TRUE(owner.calls.empty());
    EXPECT_EQ(context.state(), &bare);
    EXPECT_EQ(stackShape(context), Shape{"Bare"});
}

TEST(WindowControllerContextTest, AnswersARefusalOnlyForTheEventThatWasRefused)
{
    RecordingOwner owner;
    WindowControllerContext context(owner);
    EXPECT_EQ(context.transportState(), TransportState::Idle);
    EXPECT_FALSE(context.tapeChosen().has_value());
    EXPECT_FALSE(context.play().has_value());
    EXPECT_EQ(context.transportState(), TransportState::Playing);

    const std::optional<Error> refused = context.ffwdUp();
    ASSERT_TRUE(refused.has_value());
    EXPECT_EQ(refused->localizedDescription(), QStringLiteral("Default transition"));
    EXPECT_EQ(context.transportState(), TransportState::Playing);

    // Paused hands pauseUp down to Playing, which takes it: the resent event answers for both.
    EXPECT_FALSE(context.pauseDown().has_value());
    EXPECT_EQ(context.transportState(), TransportState::Paused);
    EXPECT_FALSE(context.pauseUp().has_value());
    EXPECT_EQ(context.transportState(), TransportState::Playing);
    EXPECT_FALSE(context.stop().has_value()) << "a refusal is not carried over to the next event";
    EXPECT_EQ(context.transportState(), TransportState::TapeStopped);
}

TEST(WindowControllerContextTest, TransitionActionsRunBetweenStatesAndEntryAndExitInsideOne)
{
    RecordingOwner owner;
    WindowControllerContext context(owner);
    std::vector<std::string> seen; // one line per run of calls made in the same place
    owner.onCall = [&](const std::string& call) {
        const bool between = context.isInTransition();
        const SMCState* where = between ? context.previousState() : context.state();
        const std::string place = (between ? "between, from " : "in ") + where->name().toStdString() + ":";
        if (seen.empty() || seen.back().rfind(place, 0) != 0)
            seen.push_back(place);
        seen.back() += " " + call;
    };
    context.tapeChosen();
    seen.clear();
    context.play();
    context.stop();
    const std::vector<std::string> expected = {
        "between, from TapeMap::TapeStopped: clearButtons playSoundEffect(1) "
        "setSelectedButton(1) "
        "setPlaybackSpeed(1)",
        "in TapeMap::Playing: setPlaybackSpeed(1) startPlayingAudio "
        "startHUDUpdates startPlayAnimation "
        "stopPlayingAudio stopHUDUpdates stopPlayAnimation",
        "between, from TapeMap::Playing: playSoundEffect(2) clearButtons",
    };
    EXPECT_EQ(seen, expected);
}

TEST(WindowControllerContextTest, FailuresAndReentryNeverLeaveTheMachineWithoutAState)
{
    RecordingOwner owner;
    WindowControllerContext context(owner);
    context.tapeChosen();
    const auto failOn = [&](std::set<std::string> failing) {
        owner.onCall = [failing](const std::string& call) {
            if (failing.count(call))
                throw std::runtime_error("deck failed");
        };
    };
    // A push whose actions fail stays where it was.
    failOn({"setSelectedButton(1)", "playSoundEffect(2)"});
    EXPECT_THROW(context.play(), std::runtime_error);
    EXPECT_EQ(stackShape(context), (Shape{"Idle", "TapeStopped"}));

    // An event the owner raises mid-transition (a selection observer, say) is
    // dropped.
    owner.onCall = [&](const std::string& call) {
        if (call == "clearButtons")
            context.rec();
    };
    owner.calls.clear();
    context.play();
    EXPECT_EQ(stackShape(context), (Shape{"Idle", "TapeStopped", "Playing"}));
    EXPECT_EQ(std::count(owner.calls.begin(), owner.calls.end(), "startRecordingAudio"), 0);

    // A pop has already run the exit actions when its own actions fail, so it
    // completes.
    failOn({"playSoundEffect(2)"});
    EXPECT_THROW(context.stop(), std::runtime_error);
    EXPECT_EQ(stackShape(context), (Shape{"Idle", "TapeStopped"}));

    // A pop with nothing below is refused before any exit action.
    owner.onCall = nullptr;
    context.play();
    context.emptyStateStack();
    owner.calls.clear();
    const bool wasFatal = failedChecksAreFatal();
    setFailedChecksAreFatal(false);
    const std::optional<Error> refused = context.stop();
    setFailedChecksAreFatal(wasFatal);
    ASSERT_TRUE(refused.has_value());
    EXPECT_EQ(refused->localizedDescription(), QStringLiteral("Popping empty state stack"));
    EXPECT_TRUE(owner.calls.empty());
    EXPECT_EQ(context.state(), TapeMap::Playing());
}

} // namespace
