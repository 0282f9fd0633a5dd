// The audio commands as a user runs them, on a sound server of the test's own that is missing,
// stopped or running.
#include "CommandRun.h"
#include "audio/PrivateSoundServer.h"
#include "audio/PulseTestSupport.h"

#include <QElapsedTimer>
#include <gtest/gtest.h>

using namespace spindrel::test;

namespace {

TEST(SoundServerCommands, WithoutAServerTheyFailAtOnceAndSayWhy)
{
    PrivateSoundServer server; // never started: its socket is not there
    server.use();
    QElapsedTimer clock;
    clock.start();
    const CommandRun devices = runSpindrel({QStringLiteral("devices")});
    reportMeasurement("spindrel devices without a server", clock.elapsed());
    ASSERT_TRUE(devices.finished);
    EXPECT_EQ(devices.status, 1);
    EXPECT_TRUE(devices.err.contains(QStringLiteral("the sound server is not running")))
        << devices.err.toStdString();
    EXPECT_TRUE(devices.out.isEmpty()) << devices.out.toStdString();

    const CommandRun json = runSpindrel({QStringLiteral("devices"), QStringLiteral("--json")});
    EXPECT_EQ(json.status, 1);
    EXPECT_TRUE(json.out.isEmpty()) << json.out.toStdString();

    const CommandRun meter = runSpindrel(words("meter --count 1"));
    ASSERT_TRUE(meter.finished);
    EXPECT_EQ(meter.status, 1);
    EXPECT_TRUE(meter.err.contains(QStringLiteral("sound server"))) << meter.err.toStdString();
}

TEST(SoundServerCommands, AStoppedServerMakesThemGiveUpAndARunningOneIsListed)
{
    PrivateSoundServer server;
    server.use();
    ASSERT_TRUE(server.start());
    server.pause();
    {
        HangGuard guard(server, 20000);
        QElapsedTimer clock;
        clock.start();
        const CommandRun devices = runSpindrel({QStringLiteral("devices")});
        reportMeasurement("spindrel devices on a stopped server", clock.elapsed());
        const CommandRun meter = runSpindrel(words("meter --count 1"));
        ASSERT_FALSE(guard.finish()) << "a command waited on the stopped server";
        EXPECT_EQ(devices.status, 1);
        EXPECT_TRUE(devices.err.contains(QStringLiteral("the sound server does not answer")))
            << devices.err.toStdString();
        EXPECT_EQ(meter.status, 1);
        EXPECT_TRUE(meter.err.contains(QStringLiteral("sound server"))) << meter.err.toStdString();
    }

    server.resume();
    const CommandRun devices = runSpindrel({QStringLiteral("devices")});
    EXPECT_EQ(devices.status, 0) << devices.err.toStdString();
    EXPECT_TRUE(devices.out.contains(QStringLiteral("* vmic"))) << devices.out.toStdString();
    EXPECT_TRUE(devices.out.contains(QStringLiteral("* spk"))) << devices.out.toStdString();
}

} // namespace
