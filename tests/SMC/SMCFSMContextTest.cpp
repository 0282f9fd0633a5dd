#include "SMC/SMCFSMContext.h"

#include "SMC/SMCState.h"
#include "SMC/SMCStateEntry.h"

#include <gtest/gtest.h>

using namespace spindrel;

namespace {

TEST(SMCFSMContextTest, StackPushesPopsClearsAndEmpties)
{
    SMCState a{QStringLiteral("Test::A"), 0}, b{QStringLiteral("Test::B"), 1},
        c{QStringLiteral("Test::C"), 2};
    SMCFSMContext context;
    EXPECT_EQ(context.state(), nullptr);
    EXPECT_TRUE(context.isInTransition());
    EXPECT_TRUE(context.isStateStackEmpty());
    context.setState(&a);
    context.pushState(&b);
    context.pushState(&c);
    EXPECT_EQ(context.stateStackDepth(), 2u);
    EXPECT_EQ(context.stateStack()->state(), &b);
    EXPECT_EQ(context.stateStack()->next()->state(), &a);
    EXPECT_EQ(context.previousState(), nullptr) << "push must not touch previousState";
    EXPECT_TRUE(context.popState());
    EXPECT_EQ(context.state(), &b);

    // Clearing remembers the state and leaves the stack; a push then has nothing to save.
    context.clearState();
    EXPECT_TRUE(context.isInTransition());
    EXPECT_EQ(context.previousState(), &b);
    context.pushState(&c);
    EXPECT_EQ(context.stateStackDepth(), 1u);
    context.setState(&b);
    EXPECT_FALSE(context.isInTransition());
    EXPECT_EQ(context.previousState(), &b) << "only clearState changes previousState";

    context.emptyStateStack();
    EXPECT_EQ(context.state(), &b);
    EXPECT_TRUE(context.isStateStackEmpty());
    // An empty pop is refused: the window controller's test.
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

    // A chain released by its own top entry, outside any context.
    auto top = SMCStateEntry::stateEntryWithState(&a, nullptr);
    for (std::uint32_t i = 0; i < depth; ++i)
        top = SMCStateEntry::stateEntryWithState(&b, std::move(top));
    top.reset();
}

} // namespace
