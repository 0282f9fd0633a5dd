#include "app/PreferencesController.h"

#include "LaunchedDeckTest.h"

#include <QMetaProperty>
#include <QSignalSpy>
#include <algorithm>
#include <gtest/gtest.h>
#include <map>

using namespace spindrel;
namespace K = DefaultsKeys;

namespace {

class PreferencesControllerTest : public test::PreferencesFixture
{
protected:
    void SetUp() override { openDefaults(); }
};

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

TEST_F(PreferencesControllerTest, StereoAndANewDeviceFitTheStoredChannelsAndAnnounceThem)
{
    auto controller = makeController();
    QSignalSpy announced(controller.get(), &DeckPreferences::recordDeviceChannelsChangedNotification);
    QSignalSpy deviceChanged(controller.get(), &DeckPreferences::recordDeviceChangedNotification);
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

    // A new device starts from the default channels.
    mDefaults->setObject(true, K::RecordingIsStereo);
    EXPECT_EQ(deviceChanged.count(), 0);
    controller->recordDeviceChanged(QStringLiteral("usb-interface.analog-surround-40"));
    EXPECT_EQ(deviceChanged.count(), 1);
    EXPECT_EQ(mDefaults->stringForKey(K::RecordDeviceUID),
              QStringLiteral("usb-interface.analog-surround-40"));
    EXPECT_EQ(controller->recordingAudioDeviceChannels(), (QList<unsigned>{0, 1}));

    // The automatic choice forgets the device.
    controller->recordDeviceChanged(QString());
    EXPECT_FALSE(mDefaults->hasStoredValue(K::RecordDeviceUID));
}

TEST_F(PreferencesControllerTest, EachPreferenceStoresItsOwnKeyAndAnnouncesOnlyItsOwnChange)
{
    struct Case
    {
        const char* property;
        QString key;
        QVariant value;
        // What the controller changes in turn.
        QStringList alsoChanged = {};
    };
    // The device comes before stereo, and stereo before the channels, so that the channels the
    // controller fits or forgets do not overwrite the ones set here.
    const QList<Case> cases{
        {"playSoundEffects", K::PlaySoundEffects, false},
        {"showStatusItem", K::ShowNSStatusItem, false},
        {"enableHotKeys", K::EnableHotKeys, false},
        {"recordHotKey", K::RecordHotKey, QVariant::fromValue(PTKeyCombo(1, PTKeyCombo::cmdKey))},
        {"pauseHotKey", K::PauseHotKey, QVariant::fromValue(PTKeyCombo(2, PTKeyCombo::optionKey))},
        {"stopHotKey", K::StopHotKey, QVariant::fromValue(PTKeyCombo(3, PTKeyCombo::controlKey))},
        {"tapeLibraryPath", K::TapeLibraryLocation, mFolder.filePath(QStringLiteral("Elsewhere"))},
        {"recordDeviceUID", K::RecordDeviceUID, QStringLiteral("usb-mic")},
        {"recordingIsStereo", K::RecordingIsStereo, false, {QStringLiteral("recordChannels")}},
        {"recordChannels", K::RecordDeviceChannels, QVariant::fromValue(QList<int>{3})},
        {"recordingQuality", K::RecordingQuality, QStringLiteral("HQ")},
        {"playbackDeviceUID", K::PlaybackDeviceUID, QStringLiteral("usb-phones")},
        {"playbackVolume", K::PlaybackVolume, -12.5},
        {"tapeAuthor", K::TapeAuthor, QStringLiteral("Ann")},
        {"enableSoftwarePlaythrough", K::EnableSoftwarePlaythrough, true},
        {"lockRecordingSampleRate", K::SPLockRecordingSampleRate, false},
    };

    auto controller = makeController();
    const QMetaObject& meta = DeckPreferences::staticMetaObject;
    std::map<QString, std::unique_ptr<QSignalSpy>> spies;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        const QMetaProperty property = meta.property(i);
        const QString name = QString::fromLatin1(property.name());
        EXPECT_TRUE(std::any_of(cases.begin(), cases.end(),
                                [&](const Case& c) { return name == QLatin1String(c.property); }))
            << "no case for " << property.name();
        ASSERT_TRUE(property.hasNotifySignal()) << property.name();
        spies[name] = std::make_unique<QSignalSpy>(controller.get(), property.notifySignal());
    }

    for (const Case& c : cases) {
        SCOPED_TRACE(c.property);
        const QMetaProperty property = meta.property(meta.indexOfProperty(c.property));
        ASSERT_TRUE(property.isValid());
        ASSERT_NE(property.read(controller.get()), c.value) << "the case must change the value";
        for (auto& [name, spy] : spies)
            spy->clear();

        ASSERT_TRUE(property.write(controller.get(), c.value));
        EXPECT_EQ(property.read(controller.get()), c.value);
        EXPECT_TRUE(mDefaults->hasStoredValue(c.key));
        for (auto& [name, spy] : spies) {
            if (name == QLatin1String(c.property)) {
                ASSERT_EQ(spy->count(), 1);
                EXPECT_EQ(spy->first().first(), c.value) << "the signal carries the new value";
            } else {
                EXPECT_EQ(spy->count(), c.alsoChanged.contains(name) ? 1 : 0) << name.toStdString();
            }
        }
    }

    // Everything reads back the same from the settings file.
    mDefaults->synchronize();
    controller.reset();
    mDefaults = test::openUserDefaults(mFolder);
    PreferencesController reopened(*mDefaults, library());
    for (const Case& c : cases) {
        EXPECT_EQ(reopened.property(c.property), c.value) << c.property;
    }
}

} // namespace
