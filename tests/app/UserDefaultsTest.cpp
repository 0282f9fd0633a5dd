#include "app/UserDefaults.h"

#include "LaunchedDeckTest.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

class UserDefaultsTest : public ::testing::Test
{
protected:
    std::unique_ptr<UserDefaults> open() { return test::openUserDefaults(mFolder); }

    QTemporaryDir mFolder;
};

TEST_F(UserDefaultsTest, StoredValuesStandInFrontOfRegisteredOnesAndComeBackWhenRemoved)
{
    auto defaults = open();
    defaults->registerDefaults({{QStringLiteral("RecordingQuality"), QStringLiteral("LQ")}});
    EXPECT_EQ(defaults->stringForKey(QStringLiteral("RecordingQuality")), QStringLiteral("LQ"));
    defaults->setObject(QStringLiteral("HQ"), QStringLiteral("RecordingQuality"));
    EXPECT_EQ(defaults->stringForKey(QStringLiteral("RecordingQuality")), QStringLiteral("HQ"));
    defaults->removeObjectForKey(QStringLiteral("RecordingQuality"));
    EXPECT_EQ(defaults->stringForKey(QStringLiteral("RecordingQuality")), QStringLiteral("LQ"));
    EXPECT_FALSE(defaults->objectForKey(QStringLiteral("Unknown")).isValid());
}

TEST_F(UserDefaultsTest, ValuesReadBackFromTheFileKeepTheRegisteredTypes)
{
    {
        auto defaults = open();
        defaults->setObject(false, QStringLiteral("RecordingIsStereo"));
        defaults->setObject(-15.0, QStringLiteral("PlaybackVolume"));
        defaults->setObject(QVariantList{2, 3}, QStringLiteral("RecordDeviceChannels"));
        defaults->setObject(QVariantList{4}, QStringLiteral("OneChannel"));
        defaults->setObject(QVariantMap{{QStringLiteral("keyCode"), 26}, {QStringLiteral("modifiers"), 768}},
                            QStringLiteral("RecordHotKey"));
        defaults->synchronize();
    }
    auto defaults = open();
    defaults->registerDefaults(
        {{QStringLiteral("RecordingIsStereo"), true}, {QStringLiteral("PlaybackVolume"), 0.0}});
    EXPECT_FALSE(defaults->boolForKey(QStringLiteral("RecordingIsStereo")));
    EXPECT_EQ(defaults->objectForKey(QStringLiteral("RecordingIsStereo")).typeId(), QMetaType::Bool);
    EXPECT_DOUBLE_EQ(defaults->doubleForKey(QStringLiteral("PlaybackVolume")), -15.0);
    EXPECT_EQ(defaults->integerArrayForKey(QStringLiteral("RecordDeviceChannels")), (QList<int>{2, 3}));
    EXPECT_EQ(defaults->integerArrayForKey(QStringLiteral("OneChannel")), (QList<int>{4}));
    const QVariantMap combo = defaults->dictionaryForKey(QStringLiteral("RecordHotKey"));
    EXPECT_EQ(combo.value(QStringLiteral("keyCode")).toInt(), 26);
    EXPECT_EQ(combo.value(QStringLiteral("modifiers")).toInt(), 768);
}

TEST_F(UserDefaultsTest, ChangesAreAnnouncedOnlyWhenTheValueSeenChanges)
{
    auto defaults = open();
    defaults->registerDefaults({{QStringLiteral("ShowNSStatusItem"), true}});
    QSignalSpy changes(defaults.get(), &UserDefaults::changed);

    defaults->setObject(true, QStringLiteral("ShowNSStatusItem")); // same as the default
    EXPECT_EQ(changes.count(), 0);
    defaults->setObject(false, QStringLiteral("ShowNSStatusItem"));
    ASSERT_EQ(changes.count(), 1);
    EXPECT_EQ(changes.takeFirst().at(0).toString(), QStringLiteral("ShowNSStatusItem"));

    // A registration under a stored value changes nothing visible; a new key does.
    defaults->registerDefaults(
        {{QStringLiteral("ShowNSStatusItem"), false}, {QStringLiteral("EnableHotKeys"), true}});
    ASSERT_EQ(changes.count(), 1);
    EXPECT_EQ(changes.takeFirst().at(0).toString(), QStringLiteral("EnableHotKeys"));

    defaults->removeObjectForKey(QStringLiteral("ShowNSStatusItem")); // the new default is false too
    EXPECT_EQ(changes.count(), 0);
}

} // namespace
