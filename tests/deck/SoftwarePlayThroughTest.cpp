#include "TestPreferences.h"
#include "audio/CAPlayThrough.h"
#include "audio/CAPlayThroughHost.h"
#include "audio/VORLAudioPlaythroughManager.h"
#include "deck/SpindrelSoftwarePlayThroughManager.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace spindrel;
using namespace spindrel::test;

namespace K = DefaultsKeys;

namespace {

const CAPlayThrough* engineOf(const SpindrelSoftwarePlayThroughManager& manager)
{
    const VORLAudioPlaythroughManager* running = manager.playthroughManager();
    return running && running->isRunning() ? running->playThroughHost()->playThrough() : nullptr;
}

} // namespace

TEST(SoftwarePlayThrough, followsTheSwitchAndIsMadeAnewOnEachDeviceOrChannelChange)
{
    QTemporaryDir library;
    TestPreferences preferences(library.path());
    preferences.setDefaultsValue(K::RecordDeviceUID, QStringLiteral("vmic"));
    preferences.setDefaultsValue(K::PlaybackDeviceUID, QStringLiteral("spk"));
    SpindrelSoftwarePlayThroughManager manager(preferences);
    EXPECT_EQ(manager.playthroughManager(), nullptr) << "off until the user turns it on";

    preferences.setDefaultsValue(K::EnableSoftwarePlaythrough, true);
    const CAPlayThrough* engine = engineOf(manager);
    ASSERT_NE(engine, nullptr);
    EXPECT_EQ(engine->inputDevice().mName, QStringLiteral("vmic"));
    EXPECT_EQ(engine->outputDevice().mName, QStringLiteral("spk"));

    preferences.setDefaultsValue(K::RecordDeviceUID, QStringLiteral("vmic4"));
    engine = engineOf(manager);
    ASSERT_NE(engine, nullptr);
    EXPECT_EQ(engine->inputDevice().mName, QStringLiteral("vmic4"));
    EXPECT_EQ(engine->inputDevice().mChannels, 4u);

    preferences.setDefaultsValue(K::RecordDeviceChannels, QVariantList{2, 3});
    engine = engineOf(manager);
    ASSERT_NE(engine, nullptr);
    EXPECT_EQ(engine->channelMap(), (QList<int>{2, 3}));

    preferences.setDefaultsValue(K::PlaybackDeviceUID, QStringLiteral("mic"));
    engine = engineOf(manager);
    ASSERT_NE(engine, nullptr);
    EXPECT_EQ(engine->outputDevice().mName, QStringLiteral("mic"));
    EXPECT_EQ(engine->inputDevice().mName, QStringLiteral("vmic4")) << "the other choices stay";

    preferences.setDefaultsValue(K::EnableSoftwarePlaythrough, false);
    EXPECT_EQ(manager.playthroughManager(), nullptr);
}
