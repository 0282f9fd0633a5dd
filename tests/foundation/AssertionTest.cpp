#include "foundation/Assertion.h"

#include "foundation/Log.h"

#include <QStringList>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

// Captures log lines and restores the sink and the fatal switch afterwards.
class FailedCheckTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        mPreviousSink = setLogSink([this](const QString& line) { lines << line; });
        mPreviouslyFatal = failedChecksAreFatal();
        setFailedChecksAreFatal(false);
    }
    void TearDown() override
    {
        setFailedChecksAreFatal(mPreviouslyFatal);
        setLogSink(mPreviousSink);
    }

    // Returns -1 when the check held, the value to recover with otherwise.
    static int checked(int divisor)
    {
        SP_VERIFY_OR_DEBUG_ASSERT(divisor != 0, "Dividing by nothing")
        {
            return -1;
        }
        return 100 / divisor;
    }

    QStringList lines;

private:
    LogSink mPreviousSink;
    bool mPreviouslyFatal = false;
};

TEST_F(FailedCheckTest, AFailedCheckIsLoggedAndTheCallerRecovers)
{
    EXPECT_EQ(checked(4), 25);
    EXPECT_TRUE(lines.isEmpty()) << "a check that holds says nothing";

    EXPECT_EQ(checked(0), -1);
    ASSERT_EQ(lines.size(), 1);
    EXPECT_TRUE(lines.first().startsWith(QStringLiteral("*** Assertion failure in checked, AssertionTest:")))
        << lines.first().toStdString();
    EXPECT_TRUE(lines.first().endsWith(QStringLiteral(": Dividing by nothing")))
        << lines.first().toStdString();

    // The condition is evaluated once.
    int evaluations = 0;
    SP_VERIFY_OR_DEBUG_ASSERT(++evaluations == 5, "five") {}
    EXPECT_EQ(evaluations, 1);
    EXPECT_EQ(lines.size(), 2);
}

using FailedCheckDeathTest = FailedCheckTest;

TEST_F(FailedCheckDeathTest, AbortsWhereFailedChecksAreFatal)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            setLogSink({}); // the child's log goes to stderr, where the death test reads it
            setFailedChecksAreFatal(true);
            checked(0);
        },
        "Assertion failure in checked.*Dividing by nothing");
}

} // namespace
