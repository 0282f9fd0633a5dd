#include "PlayThroughStreams.h"
#include "TestPreferences.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

using namespace spindrel;
using namespace spindrel::test;

namespace K = DefaultsKeys;

namespace {

using State = SpindrelSoftwarePlayThroughManager::State;

// The streams are made on a worker: wait for one that plays `input` to `output`.
bool waitForEngine(const SpindrelSoftwarePlayThroughManager& manager, const QString& input,
                   const QString& output)
{
    return QTest::qWaitFor(
        [&] {
            const CAPlayThrough* engine = engineOf(manager);
            return manager.state() == State::Running && engine && engine->inputDevice().mName == input &&
                   engine->outputDevice().mName == output;
        },
        20000);
}

} // namespace

TEST(SoftwarePlayThrough, followsTheSwitchAndIsMadeAnewOnEachDeviceOrChannelChange)
{
    QTemporaryDir library;
    TestPreferences preferences(library.path());
    preferences.setDefaultsValue(K::RecordDeviceUID, QStringLiteral("vmic"));
    preferences.setDefaultsValue(K::PlaybackDeviceUID, QStringLiteral("spk"));
    SpindrelSoftwarePlayThroughManager manager(preferences);
    QSignalSpy messages(&manager, &SpindrelSoftwarePlayThroughManager::playThroughMessage);
    EXPECT_EQ(manager.state(), State::Off) << "off until the user turns it on";
    EXPECT_EQ(manager.playthroughManager(), nullptr);

    preferences.setDefaultsValue(K::EnableSoftwarePlaythrough, true);
    EXPECT_EQ(manager.state(), State::Starting) << "the deck does not wait for the streams";
    ASSERT_TRUE(waitForEngine(manager, QStringLiteral("vmic"), QStringLiteral("spk")));

    preferences.setDefaultsValue(K::RecordDeviceUID, QStringLiteral("vmic4"));
    ASSERT_TRUE(waitForEngine(manager, QStringLiteral("vmic4"), QStringLiteral("spk")));
    EXPECT_EQ(engineOf(manager)->inputDevice().mChannels, 4u);

    preferences.setDefaultsValue(K::RecordDeviceChannels, QVariantList{2, 3});
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            return engineOf(manager) && engineOf(manager)->channelMap() == QList<int>{2, 3};
        },
        20000));

    preferences.setDefaultsValue(K::PlaybackDeviceUID, QStringLiteral("mic"));
    ASSERT_TRUE(waitForEngine(manager, QStringLiteral("vmic4"), QStringLiteral("mic")))
        << "the other choices stay";

    preferences.setDefaultsValue(K::EnableSoftwarePlaythrough, false);
    EXPECT_EQ(manager.state(), State::Off);
    EXPECT_EQ(manager.playthroughManager(), nullptr);
    EXPECT_EQ(messages.count(), 0) << "nothing went wrong";
}

TEST(SoftwarePlayThrough, aQuickRunOfChangesEndsOnTheLastOne)
{
    QTemporaryDir library;
    TestPreferences preferences(library.path());
    preferences.setDefaultsValue(K::EnableSoftwarePlaythrough, true);
    SpindrelSoftwarePlayThroughManager manager(preferences);
    preferences.setDefaultsValue(K::RecordDeviceUID, QStringLiteral("vmic4"));
    preferences.setDefaultsValue(K::PlaybackDeviceUID, QStringLiteral("mic"));
    preferences.setDefaultsValue(K::RecordDeviceUID, QStringLiteral("vmic"));
    preferences.setDefaultsValue(K::PlaybackDeviceUID, QStringLiteral("spk"));
    ASSERT_TRUE(waitForEngine(manager, QStringLiteral("vmic"), QStringLiteral("spk")));
    // Superseded attempts are taken down: one engine plays, no leftovers linger.
    QTest::qWait(500);
    EXPECT_EQ(manager.state(), State::Running);
    EXPECT_EQ(playThroughSinks(), QStringList{QStringLiteral("spk")});
    EXPECT_EQ(playThroughSources(), QStringList{QStringLiteral("vmic")});
}
