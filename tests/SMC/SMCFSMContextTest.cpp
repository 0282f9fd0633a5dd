#include "SMC/SMCFSMContext.h"

#include "SMC/SMCState.h"
#include "SMC/SMCStateEntry.h"
#include "foundation/Assertion.h"
#include "foundation/Log.h"

#include <QStringList>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

class SMCFSMContextTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        mPreviousSink = setLogSink([this](const QString& line) { traced << line; });
    }
    void TearDown() override { setLogSink(mPreviousSink); }

    SMCState a{QStringLiteral("Test::A"), 0};
    SMCState b{QStringLiteral("Test::B"), 1};
    SMCState c{QStringLiteral("Test::C"), 2};
    SMCFSMContext context;
    QStringList traced;

private:
    LogSink mPreviousSink;
};

TEST_F(SMCFSMContextTest, StartsEmptyWithTracingOff)
{
    EXPECT_EQ(context.state(), nullptr);
    EXPECT_TRUE(context.isInTransition());
    EXPECT_EQ(context.previousState(), nullptr);
    EXPECT_TRUE(context.isStateStackEmpty());
    EXPECT_EQ(context.stateStackDepth(), 0u);
    EXPECT_TRUE(context.transition().isEmpty());
    EXPECT_FALSE(context.debugFlag());

    context.setState(&a);
    context.pushState(&b);
    context.popState();
    EXPECT_TRUE(traced.isEmpty());
}

TEST_F(SMCFSMContextTest, PushSavesTheCurrentStateAndPopResumesInReverseOrder)
{
    context.setState(&a);
    context.pushState(&b);
    context.pushState(&c);
    EXPECT_EQ(context.state(), &c);
    EXPECT_EQ(context.stateStackDepth(), 2u);
    EXPECT_EQ(context.stateStack()->state(), &b);
    EXPECT_EQ(context.stateStack()->next()->state(), &a);
    EXPECT_EQ(context.previousState(), nullptr) << "push must not touch previousState";

    context.popState();
    EXPECT_EQ(context.state(), &b);
    context.popState();
    EXPECT_EQ(context.state(), &a);
    EXPECT_TRUE(context.isStateStackEmpty());
}

TEST_F(SMCFSMContextTest, PoppingAnEmptyStackIsRefusedAndChangesNothing)
{
    context.setState(&a);
    context.pushState(&b);
    context.popState();
    try {
        context.popState();
        FAIL() << "an empty pop was accepted";
    } catch (const InternalInconsistency& failure) {
        EXPECT_EQ(failure.description(), "Popping empty state stack");
        EXPECT_EQ(failure.sourceUnit(), "SMC/statemap");
        EXPECT_EQ(failure.line(), 205);
    }
    EXPECT_EQ(context.state(), &a);
    EXPECT_TRUE(context.isStateStackEmpty());
    EXPECT_EQ(context.stateStackDepth(), 0u);
}

TEST_F(SMCFSMContextTest, PushWithoutACurrentStateSavesNothing)
{
    context.setState(&a);
    context.pushState(&b);
    context.clearState();
    context.pushState(&c);
    EXPECT_EQ(context.state(), &c);
    EXPECT_EQ(context.stateStackDepth(), 1u);
    EXPECT_EQ(context.stateStack()->state(), &a);
}

TEST_F(SMCFSMContextTest, ClearStateLeavesTheContextInTransitionAndRemembersTheState)
{
    context.setState(&a);
    context.pushState(&b);
    context.clearState();
    EXPECT_TRUE(context.isInTransition());
    EXPECT_EQ(context.state(), nullptr);
    EXPECT_EQ(context.previousState(), &b);
    EXPECT_EQ(context.stateStackDepth(), 1u) << "clearing the state leaves the stack alone";

    context.setState(&c);
    EXPECT_FALSE(context.isInTransition());
    EXPECT_EQ(context.previousState(), &b) << "only clearState changes previousState";
}

TEST_F(SMCFSMContextTest, EmptyingTheStackEntersNoSavedState)
{
    context.emptyStateStack();
    EXPECT_TRUE(context.isStateStackEmpty());

    context.setState(&a);
    context.pushState(&b);
    context.pushState(&c);
    context.emptyStateStack();
    EXPECT_EQ(context.state(), &c);
    EXPECT_EQ(context.stateStackDepth(), 0u);
    EXPECT_TRUE(context.isStateStackEmpty());
    EXPECT_THROW(context.popState(), InternalInconsistency);
}

TEST_F(SMCFSMContextTest, TracesEachStateChangeInOneLine)
{
    context.setDebugFlag(true);
    context.setState(&a);
    ASSERT_EQ(traced.size(), 1);
    EXPECT_EQ(traced.last(), QStringLiteral("NEW STATE    : Test::A\n\r"));
    context.pushState(&b);
    ASSERT_EQ(traced.size(), 2);
    EXPECT_EQ(traced.last(), QStringLiteral("PUSH TO STATE: Test::B\n\r"));
    context.popState();
    ASSERT_EQ(traced.size(), 3);
    EXPECT_EQ(traced.last(), QStringLiteral("POP TO STATE : Test::A\n\r"));

    // Neither clearing nor emptying is a state change, and a refused pop traces nothing.
    context.clearState();
    context.emptyStateStack();
    EXPECT_THROW(context.popState(), InternalInconsistency);
    EXPECT_EQ(traced.size(), 3);
}

TEST(SMCFSMContextTeardown, ReleasesAMillionSavedStatesWithoutRecursion)
{
    SMCState a(QStringLiteral("Deep::A"), 0);
    SMCState b(QStringLiteral("Deep::B"), 1);
    constexpr std::uint32_t depth = 1'000'000;
    {
        SMCFSMContext context;
        context.setState(&a);
        for (std::uint32_t i = 0; i < depth; ++i)
            context.pushState(i % 2 ? &a : &b);
        EXPECT_EQ(context.stateStackDepth(), depth);
    } // a recursive release would overflow the thread's stack here

    SMCFSMContext emptied;
    emptied.setState(&a);
    for (std::uint32_t i = 0; i < depth; ++i)
        emptied.pushState(&b);
    emptied.emptyStateStack();
    EXPECT_EQ(emptied.stateStackDepth(), 0u);
    EXPECT_EQ(emptied.state(), &b);
}

TEST(SMCStateEntryTest, ReleasesALongChainIteratively)
{
    SMCState a(QStringLiteral("Chain::A"), 0);
    SMCState b(QStringLiteral("Chain::B"), 1);
    auto top = SMCStateEntry::stateEntryWithState(&a, nullptr);
    for (int i = 0; i < 1'000'000; ++i)
        top = SMCStateEntry::stateEntryWithState(&b, std::move(top));
    top.reset(); // must not recurse once per entry
    EXPECT_EQ(top, nullptr);
}

} // namespace
