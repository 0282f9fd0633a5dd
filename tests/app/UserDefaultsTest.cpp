#include "app/UserDefaults.h"

#include "LaunchedDeckTest.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

// Read back from the file of a folder of the test's own.
class UserDefaultsTest : public test::PreferencesFixture
{
protected:
    std::unique_ptr<UserDefaults> open() { return test::openUserDefaults(mFolder); }
};

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

TEST_F(UserDefaultsTest, StoredValuesStandInFrontOfRegisteredOnesAndChangesAreAnnouncedWhenSeen)
{
    auto defaults = open();
    EXPECT_FALSE(defaults->objectForKey(QStringLiteral("Unknown")).isValid());
    defaults->registerDefaults({{QStringLiteral("ShowNSStatusItem"), true}});
    QSignalSpy changes(defaults.get(), &UserDefaults::changed);

    defaults->setObject(true, QStringLiteral("ShowNSStatusItem")); // same as the default
    EXPECT_EQ(changes.count(), 0);
    defaults->setObject(false, QStringLiteral("ShowNSStatusItem"));
    EXPECT_FALSE(defaults->boolForKey(QStringLiteral("ShowNSStatusItem")));
    ASSERT_EQ(changes.count(), 1);
    EXPECT_EQ(changes.takeFirst().at(0).toString(), QStringLiteral("ShowNSStatusItem"));

    // A registration under a stored value changes nothing visible; a new key does.
    defaults->registerDefaults(
        {{QStringLiteral("ShowNSStatusItem"), true}, {QStringLiteral("EnableHotKeys"), true}});
    EXPECT_FALSE(defaults->boolForKey(QStringLiteral("ShowNSStatusItem")));
    ASSERT_EQ(changes.count(), 1);
    EXPECT_EQ(changes.takeFirst().at(0).toString(), QStringLiteral("EnableHotKeys"));

    // Removed, the stored value gives way to the registered one.
    defaults->removeObjectForKey(QStringLiteral("ShowNSStatusItem"));
    EXPECT_TRUE(defaults->boolForKey(QStringLiteral("ShowNSStatusItem")));
    ASSERT_EQ(changes.count(), 1);
    EXPECT_EQ(changes.takeFirst().at(0).toString(), QStringLiteral("ShowNSStatusItem"));
    defaults->setObject(true, QStringLiteral("ShowNSStatusItem"));
    defaults->removeObjectForKey(QStringLiteral("ShowNSStatusItem")); // the default is the same
    EXPECT_EQ(changes.count(), 0);
}

} // namespace
