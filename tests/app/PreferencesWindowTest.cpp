#include "app/PreferencesWindow.h"

#include "HotKeysLib3/PTHotKeyCenter.h"
#include "HotKeysLib3/PTKeyComboPanel.h"
#include "LaunchedDeckTest.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace spindrel;
namespace K = DefaultsKeys;

namespace {

class PreferencesWindowTest : public test::PreferencesFixture
{
protected:
    void SetUp() override
    {
        openDefaults();
        mController = makeController();
        mController->showWindow();
        mWindow = mController->window();
        ASSERT_NE(mWindow, nullptr);
    }

    static QStringList titles(const QComboBox* popUp)
    {
        QStringList items;
        for (int i = 0; i < popUp->count(); ++i)
            items << popUp->itemText(i);
        return items;
    }

    std::unique_ptr<PreferencesController> mController;
    PreferencesWindow* mWindow = nullptr;
};

TEST_F(PreferencesWindowTest, TheDevicePopUpsOfferAutomaticThenTheServersDevices)
{
    EXPECT_EQ(mWindow->windowTitle(), QStringLiteral("Preferences"));
    QComboBox* record = mWindow->recordDevicePopUp();
    ASSERT_GE(record->count(), 3);
    EXPECT_EQ(record->itemText(0), QStringLiteral("Default Input Device (Auto)"));
    EXPECT_FALSE(record->itemData(0).isValid());
    EXPECT_EQ(record->currentIndex(), 0);
    const int vmic = record->findData(QStringLiteral("vmic"));
    ASSERT_GT(vmic, 1) << "the real input comes after the separator";

    QComboBox* playback = mWindow->playbackDevicePopUp();
    EXPECT_EQ(playback->itemText(0), QStringLiteral("Default Output Device (Auto)"));
    EXPECT_GT(playback->findData(QStringLiteral("spk")), 1);

    // Choosing a device stores it and tells the deck; a playback device is only stored.
    QSignalSpy recordDevice(mController.get(), &DeckPreferences::recordDeviceChangedNotification);
    Q_EMIT record->activated(vmic);
    EXPECT_EQ(mDefaults->stringForKey(K::RecordDeviceUID), QStringLiteral("vmic"));
    EXPECT_EQ(recordDevice.count(), 1);
    const int spk = playback->findData(QStringLiteral("spk"));
    Q_EMIT playback->activated(spk);
    EXPECT_EQ(mDefaults->stringForKey(K::PlaybackDeviceUID), QStringLiteral("spk"));
    EXPECT_EQ(recordDevice.count(), 1);

    mController->showWindow();
    EXPECT_EQ(mWindow->recordDevicePopUp()->currentIndex(),
              mWindow->recordDevicePopUp()->findData(QStringLiteral("vmic")));
}

TEST_F(PreferencesWindowTest, TheChannelPopUpFollowsStereo)
{
    // The test input has two channels.
    EXPECT_EQ(mWindow->recordDeviceChannelsLabel()->text(), QStringLiteral("On Channels:"));
    EXPECT_EQ(titles(mWindow->recordDeviceChannelsPopUp()), QStringList{QStringLiteral("1-2")});
    mDefaults->setObject(false, K::RecordingIsStereo);
    EXPECT_EQ(mWindow->recordDeviceChannelsLabel()->text(), QStringLiteral("On Channel:"));
    EXPECT_EQ(titles(mWindow->recordDeviceChannelsPopUp()),
              (QStringList{QStringLiteral("1"), QStringLiteral("2")}));
    EXPECT_EQ(mWindow->recordDeviceChannelsPopUp()->currentIndex(), 0);

    QSignalSpy channels(mController.get(), &DeckPreferences::recordDeviceChannelsChangedNotification);
    Q_EMIT mWindow->recordDeviceChannelsPopUp()->activated(1);
    EXPECT_EQ(mDefaults->integerArrayForKey(K::RecordDeviceChannels), QList<int>{1});
    EXPECT_EQ(channels.count(), 1);
}

TEST_F(PreferencesWindowTest, AnUnpluggedDeviceIsForgottenAtTheNextDeviceNotice)
{
    QSignalSpy recordDevice(mController.get(), &DeckPreferences::recordDeviceChangedNotification);
    mDefaults->setObject(QStringLiteral("vmic"), K::RecordDeviceUID);
    mDefaults->setObject(QStringLiteral("spk"), K::PlaybackDeviceUID);
    mController->checkDefaultAudioDevices();
    EXPECT_EQ(mDefaults->stringForKey(K::RecordDeviceUID), QStringLiteral("vmic"));
    EXPECT_EQ(recordDevice.count(), 0);

    mDefaults->setObject(QStringLiteral("unplugged-usb-microphone"), K::RecordDeviceUID);
    mDefaults->setObject(QStringLiteral("unplugged-usb-speaker"), K::PlaybackDeviceUID);
    mController->checkDefaultAudioDevices();
    EXPECT_FALSE(mDefaults->hasStoredValue(K::RecordDeviceUID));
    EXPECT_FALSE(mDefaults->hasStoredValue(K::PlaybackDeviceUID));
    EXPECT_EQ(recordDevice.count(), 1);
    EXPECT_EQ(mController->recordingAudioDevice().deviceUID(), QStringLiteral("vmic")) << "the default input";
    EXPECT_EQ(mWindow->recordDevicePopUp()->currentIndex(), 0);
}

TEST_F(PreferencesWindowTest, ChecksAndFieldsWriteTheDefaults)
{
    auto* soundEffects = mWindow->findChild<QCheckBox*>(K::PlaySoundEffects);
    ASSERT_NE(soundEffects, nullptr);
    EXPECT_TRUE(soundEffects->isChecked());
    soundEffects->click();
    EXPECT_FALSE(mDefaults->boolForKey(K::PlaySoundEffects));
    mDefaults->setObject(true, K::PlaySoundEffects);
    EXPECT_TRUE(soundEffects->isChecked());

    QLineEdit* author = mWindow->authorField();
    author->setText(QStringLiteral("  Jane Doe \t"));
    Q_EMIT author->editingFinished();
    EXPECT_EQ(mDefaults->stringForKey(K::TapeAuthor), QStringLiteral("Jane Doe"));
    EXPECT_EQ(author->text(), QStringLiteral("Jane Doe"));
}

TEST_F(PreferencesWindowTest, AHotKeyIsChangedInTheComboSheet)
{
    mWindow->hotkeysToolbarPressed();
    auto* record = mWindow->findChild<QPushButton*>(K::RecordHotKey);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->text(), QStringLiteral("Ctrl+Shift+7"));

    record->click();
    PTKeyComboPanel& panel = PTKeyComboPanel::sharedPanel();
    ASSERT_TRUE(QTest::qWaitFor([&] { return panel.isVisible(); }, 15000));
    EXPECT_EQ(panel.keyBindingName(), QStringLiteral("Record"));
    EXPECT_EQ(panel.keyCombo(), PTKeyCombo(26, 768));
    panel.setKeyCombo(PTKeyCombo(15, 768));
    panel.ok();
    EXPECT_EQ(PTKeyCombo::fromPlistRepresentation(mDefaults->objectForKey(K::RecordHotKey)),
              PTKeyCombo(15, 768));
    EXPECT_EQ(record->text(), PTKeyCombo(15, 768).platformDescription());

    mWindow->changeStopHotkey();
    ASSERT_TRUE(QTest::qWaitFor([&] { return panel.isVisible(); }, 15000));
    panel.cancel();
    EXPECT_EQ(PTKeyCombo::fromPlistRepresentation(mDefaults->objectForKey(K::StopHotKey)),
              PTKeyCombo(25, 768));

    // The pane says whatever the desktop allows.
    auto* availability = mWindow->findChild<QLabel*>(QStringLiteral("HotKeysAvailability"));
    ASSERT_NE(availability, nullptr);
    EXPECT_EQ(availability->text(), PTHotKeyCenter::sharedCenter().availabilityText());

    // The buttons follow the switch.
    mDefaults->setObject(false, K::EnableHotKeys);
    EXPECT_FALSE(record->isEnabled());
}

} // namespace
