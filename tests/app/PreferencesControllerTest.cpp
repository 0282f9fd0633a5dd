#include "app/PreferencesController.h"

#include "LaunchedDeckTest.h"
#include "deck/DefaultsKeys.h"

#include <QFileInfo>
#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace spindrel;
namespace K = DefaultsKeys;

namespace {

class PreferencesControllerTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        // The folder set-up installs an icon among the user's data: keep it in the test's folder.
        qputenv("XDG_DATA_HOME", mFolder.filePath(QStringLiteral("data")).toLocal8Bit());
        mDefaults = test::openUserDefaults(mFolder);
    }

    std::unique_ptr<PreferencesController> makeController()
    {
        auto controller = std::make_unique<PreferencesController>(*mDefaults, library());
        // What the deck registers at its start.
        mDefaults->registerDefaults(
            {{K::RecordingIsStereo, true}, {K::RecordDeviceChannels, QVariantList{0, 1}}});
        return controller;
    }

    QString library() const { return mFolder.filePath(QStringLiteral("Spindrel")); }

    QTemporaryDir mFolder;
    std::unique_ptr<UserDefaults> mDefaults;
};

TEST_F(PreferencesControllerTest, FirstUseSetsUpTheLibraryFolder)
{
    auto controller = makeController();
    EXPECT_EQ(mDefaults->registeredDefaults().value(K::TapeLibraryLocation).toString(), library());
    EXPECT_EQ(controller->tapeLibraryURL(), library());
    EXPECT_TRUE(QFileInfo::exists(library() + QStringLiteral("/sp-welcome.m4a")));

    controller->setTapeLibraryURL(mFolder.filePath(QStringLiteral("Elsewhere")));
    EXPECT_EQ(controller->tapeLibraryPath(), mFolder.filePath(QStringLiteral("Elsewhere")));
}

TEST_F(PreferencesControllerTest, TheUpdaterIsQuietForTheFirstThreeLaunchesOnly)
{
    for (int launch = 1; launch <= 4; ++launch) {
        mDefaults = test::openUserDefaults(mFolder);
        PreferencesController::registerPreferenceDefaults(*mDefaults, library());
        EXPECT_EQ(mDefaults->integerForKey(K::LaunchCount), launch);
        EXPECT_EQ(mDefaults->registeredDefaults().contains(K::SUCheckAtStartup), launch < 4)
            << "launch " << launch;
        if (launch < 4) {
            EXPECT_FALSE(mDefaults->boolForKey(K::SUCheckAtStartup));
        }
    }
}

TEST_F(PreferencesControllerTest, ChannelChoicesOfAFiveChannelDevice)
{
    QStringList stereo;
    for (const auto& choice : PreferencesController::channelChoices(5, true))
        stereo << choice.title;
    EXPECT_EQ(stereo, (QStringList{QStringLiteral("1-2"), QStringLiteral("3-4")}));
    EXPECT_EQ(PreferencesController::channelChoices(5, true).at(1).channels, (QList<unsigned>{2, 3}));

    EXPECT_EQ(PreferencesController::channelChoices(5, false).size(), 5);
    EXPECT_EQ(PreferencesController::channelChoices(5, false).at(4).title, QStringLiteral("5"));
    EXPECT_EQ(PreferencesController::channelChoices(5, false).at(4).channels, (QList<unsigned>{4}));
    EXPECT_TRUE(PreferencesController::channelChoices(1, true).isEmpty());
}

TEST_F(PreferencesControllerTest, SwitchingStereoFitsTheStoredChannelsAndAnnouncesThem)
{
    auto controller = makeController();
    QSignalSpy announced(controller.get(), &DeckPreferences::recordDeviceChannelsChangedNotification);
    controller->recordDeviceChannelsChanged({2, 3});
    EXPECT_EQ(announced.count(), 1);

    mDefaults->setObject(false, K::RecordingIsStereo);
    EXPECT_EQ(mDefaults->integerArrayForKey(K::RecordDeviceChannels), (QList<int>{2}));
    EXPECT_EQ(controller->recordingAudioDeviceChannels(), (QList<unsigned>{2}));
    EXPECT_EQ(announced.count(), 2);

    controller->recordDeviceChannelsChanged({3});
    mDefaults->setObject(true, K::RecordingIsStereo);
    EXPECT_EQ(mDefaults->integerArrayForKey(K::RecordDeviceChannels), (QList<int>{2, 3}));
    EXPECT_EQ(controller->recordingAudioDeviceChannels(), (QList<unsigned>{2, 3}));

    // Mono records the first of the stored channels.
    mDefaults->setObject(false, K::RecordingIsStereo);
    mDefaults->setObject(QVariantList{4, 5}, K::RecordDeviceChannels);
    EXPECT_EQ(controller->recordingAudioDeviceChannels(), (QList<unsigned>{4}));
}

TEST_F(PreferencesControllerTest, ANewRecordDeviceStartsFromTheDefaultChannels)
{
    auto controller = makeController();
    controller->recordDeviceChannelsChanged({2, 3});
    QSignalSpy deviceChanged(controller.get(), &DeckPreferences::recordDeviceChangedNotification);
    controller->recordDeviceChanged(QStringLiteral("usb-interface.analog-surround-40"));
    EXPECT_EQ(deviceChanged.count(), 1);
    EXPECT_EQ(mDefaults->stringForKey(K::RecordDeviceUID),
              QStringLiteral("usb-interface.analog-surround-40"));
    EXPECT_EQ(controller->recordingAudioDeviceChannels(), (QList<unsigned>{0, 1}));

    // The automatic choice forgets the device; a playback device is stored without announcement.
    controller->recordDeviceChanged(QString());
    EXPECT_FALSE(mDefaults->hasStoredValue(K::RecordDeviceUID));
    deviceChanged.clear();
    QSignalSpy channelsChanged(controller.get(), &DeckPreferences::recordDeviceChannelsChangedNotification);
    controller->playbackDeviceChanged(QStringLiteral("spk"));
    EXPECT_EQ(mDefaults->stringForKey(K::PlaybackDeviceUID), QStringLiteral("spk"));
    EXPECT_EQ(deviceChanged.count() + channelsChanged.count(), 0);
}

} // namespace
