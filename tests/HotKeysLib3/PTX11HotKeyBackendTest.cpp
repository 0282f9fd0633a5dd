#include "HotKeysLib3/PTX11HotKeyBackend.h"

#include "HotKeysLib3/PTHotKeyCenter.h"
#include "XTestKeyboard.h"

#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

constexpr uint32_t keyControl = 0xffe3, keyShift = 0xffe1, keyAlt = 0xffe9, keySuper = 0xffeb;
constexpr uint32_t keyNumLock = 0xff7f, keyCapsLock = 0xffe5;
constexpr uint32_t key7 = 0x37, key8 = 0x38, key9 = 0x39, keyA = 0x61;
constexpr uint16_t x11Shift = 1, x11Lock = 2, x11Control = 4;
constexpr uint16_t controlShift = x11Control | x11Shift;

class PTX11HotKeyBackendTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!other.isConnected())
            GTEST_SKIP() << "no X display";
        auto x11 = PTX11HotKeyBackend::connect();
        ASSERT_EQ(x11->availability(), PTHotKeyBackend::Availability::Available);
        center = std::make_unique<PTHotKeyCenter>(std::move(x11));
        other.focusOwnWindow();
    }
    void TearDown() override
    {
        if (other.isConnected()) {
            other.setLock(keyNumLock, false);
            other.setLock(keyCapsLock, false);
        }
    }

    std::shared_ptr<PTHotKey> hotKey(const QString& identifier, int32_t keyCode, uint32_t modifiers = 768)
    {
        auto made = std::make_shared<PTHotKey>(identifier, PTKeyCombo(keyCode, modifiers));
        made->setTarget(&target);
        made->setAction([this](PTHotKey& sender) { calls << sender.identifier(); });
        return made;
    }

    /// Types the keys and waits for the center to report the hot key released again.
    bool typeAndWait(std::initializer_list<uint32_t> keysyms)
    {
        QSignalSpy released(center.get(), &PTHotKeyCenter::hotKeyReleased);
        other.type(keysyms);
        return released.wait(15000);
    }

    XTestKeyboard other;
    std::unique_ptr<PTHotKeyCenter> center;
    QObject target;
    QStringList calls;
};

TEST_F(PTX11HotKeyBackendTest, HotKeysFireWhileAnotherClientIsFocusedWhateverTheLockKeys)
{
    auto record = hotKey(QStringLiteral("Record"), 26);
    ASSERT_TRUE(center->registerHotKey(record));
    EXPECT_EQ(center->hotKeyWithIdentifier(QStringLiteral("Record")), record);
    ASSERT_TRUE(typeAndWait({keyControl, keyShift, key7}));
    EXPECT_EQ(calls, QStringList{QStringLiteral("Record")});
    ASSERT_TRUE(other.setLock(keyNumLock, true));
    ASSERT_TRUE(typeAndWait({keyControl, keyShift, key7}));
    ASSERT_TRUE(other.setLock(keyCapsLock, true));
    ASSERT_TRUE(typeAndWait({keyControl, keyShift, key7}));
    EXPECT_EQ(calls.size(), 3);
    // Another combination of the same key is not the hot key.
    other.type({keyControl, key7});
    other.type({keyControl, keyShift, key8});
    QTest::qWait(200);
    EXPECT_EQ(calls.size(), 3);

    // Option and Control are Alt and Super.
    const uint16_t alt = other.modifierMaskOf(keyAlt), super = other.modifierMaskOf(keySuper);
    ASSERT_TRUE(alt && super);
    ASSERT_TRUE(center->registerHotKey(
        hotKey(QStringLiteral("Pause"), 0, PTKeyCombo::optionKey | PTKeyCombo::controlKey)));
    EXPECT_FALSE(other.canGrab(keyA, alt | super));
    EXPECT_TRUE(other.canGrab(keyA, alt));
    ASSERT_TRUE(typeAndWait({keyAlt, keySuper, keyA}));
    EXPECT_EQ(calls.last(), QStringLiteral("Pause"));
}

TEST_F(PTX11HotKeyBackendTest, TurningHotKeysOffReleasesEveryLockVariantOfTheGrabs)
{
    const uint16_t numLock = other.modifierMaskOf(keyNumLock);
    ASSERT_NE(numLock, 0);
    const uint16_t lockVariants[] = {0, x11Lock, numLock, uint16_t(x11Lock | numLock)};
    // What the deck does when EnableHotKeys goes off: each hot key again, with the clear combination.
    QList<std::shared_ptr<PTHotKey>> deck{hotKey(QStringLiteral("Record"), 26),
                                          hotKey(QStringLiteral("Stop"), 25),
                                          hotKey(QStringLiteral("Pause"), 28)};
    for (const auto& made : deck)
        ASSERT_TRUE(center->registerHotKey(made));
    for (uint32_t key : {key7, key8, key9})
        for (uint16_t locks : lockVariants)
            EXPECT_FALSE(other.canGrab(key, controlShift | locks)) << key << " locks " << locks;

    center->unregisterHotKey(deck[0]);
    EXPECT_EQ(deck[0]->hotKeyID(), 0u);
    for (const auto& made : deck.mid(1)) {
        made->setKeyCombo(PTKeyCombo::clearKeyCombo());
        EXPECT_TRUE(center->registerHotKey(made));
    }
    EXPECT_TRUE(center->allHotKeys().isEmpty());
    for (uint32_t key : {key7, key8, key9})
        for (uint16_t locks : lockVariants)
            EXPECT_TRUE(other.canGrab(key, controlShift | locks)) << key << " locks " << locks;

    // A key without modifiers is never grabbed.
    auto bare = hotKey(QStringLiteral("Record"), 26, 0);
    EXPECT_TRUE(center->registerHotKey(bare));
    EXPECT_EQ(bare->hotKeyID(), 0u);
    EXPECT_EQ(bare->keyCombo().platformDescription(), QStringLiteral("(None)"));
    EXPECT_TRUE(other.canGrab(key7, 0));
}

TEST_F(PTX11HotKeyBackendTest, RegisteringAgainReplacesAndACombinationHeldElsewhereIsRefused)
{
    auto stop = hotKey(QStringLiteral("Stop"), 25);
    ASSERT_TRUE(center->registerHotKey(stop));
    const uint32_t firstID = stop->hotKeyID();
    ASSERT_TRUE(center->registerHotKey(stop));
    EXPECT_GT(stop->hotKeyID(), firstID);
    EXPECT_EQ(center->allHotKeys().size(), 1);
    ASSERT_TRUE(typeAndWait({keyControl, keyShift, key9}));
    QTest::qWait(100);
    EXPECT_EQ(calls, QStringList{QStringLiteral("Stop")}) << "one press, one invocation";
    center->unregisterHotKey(stop);

    // Hold the grab in a second center, as another program would.
    PTHotKeyCenter elsewhere(PTX11HotKeyBackend::connect());
    auto theirs = hotKey(QStringLiteral("Theirs"), 25);
    ASSERT_TRUE(elsewhere.registerHotKey(theirs));
    EXPECT_FALSE(center->registerHotKey(stop));
    EXPECT_EQ(stop->hotKeyID(), 0u);
    EXPECT_TRUE(center->allHotKeys().isEmpty());
    // Two hot keys of ours on one combination are refused the same way.
    ASSERT_TRUE(center->registerHotKey(hotKey(QStringLiteral("Pause"), 28)));
    EXPECT_FALSE(center->registerHotKey(hotKey(QStringLiteral("Pause again"), 28)));
    elsewhere.unregisterHotKey(theirs);
    EXPECT_TRUE(center->registerHotKey(stop));
}

} // namespace
