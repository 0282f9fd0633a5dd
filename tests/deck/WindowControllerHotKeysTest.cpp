#include "DeckTest.h"
#include "HotKeysLib3/PTHotKeyCenter.h"
#include "HotKeysLib3/XTestKeyboard.h"

#include <QSignalSpy>
#include <QTest>

using namespace spindrel;
using namespace spindrel::test;
namespace K = DefaultsKeys;

namespace {

constexpr uint32_t keyControl = 0xffe3, keyShift = 0xffe1, key7 = 0x37, key8 = 0x38, key9 = 0x39;

class HotKeysTest : public DeckTest
{
protected:
    void SetUp() override
    {
        DeckTest::SetUp();
        if (!mKeyboard.isConnected())
            GTEST_SKIP() << "no X display";
        // What the preferences register: Command (Ctrl here) and Shift with 7, 8 and 9.
        const auto combo = [](int keyCode) {
            return QVariantMap{{QStringLiteral("keyCode"), keyCode}, {QStringLiteral("modifiers"), 768}};
        };
        mPreferences->registerDefaults({{K::EnableHotKeys, true},
                                        {K::RecordHotKey, combo(26)},
                                        {K::PauseHotKey, combo(28)},
                                        {K::StopHotKey, combo(25)}});
        mKeyboard.focusOwnWindow();
    }

    /// Types a combination in another application and waits for the hot key to come and go.
    bool typeHotKey(uint32_t key)
    {
        QSignalSpy released(&PTHotKeyCenter::sharedCenter(), &PTHotKeyCenter::hotKeyReleased);
        mKeyboard.type({keyControl, keyShift, key});
        return released.wait(15000);
    }

    XTestKeyboard mKeyboard;
};

TEST_F(HotKeysTest, RecordPauseAndStopWorkFromAnotherApplication)
{
    WindowController& deck = openDeck();
    feedTone(8.0);
    ASSERT_TRUE(typeHotKey(key7));
    ASSERT_EQ(state(), TransportState::Recording);
    ASSERT_TRUE(waitFor([&] { return deck.audioFileRecorder()->currentTime() > 300.0; }));
    ASSERT_TRUE(typeHotKey(key8));
    EXPECT_EQ(state(), TransportState::Paused);
    ASSERT_TRUE(typeHotKey(key8));
    EXPECT_EQ(state(), TransportState::Recording);
    ASSERT_TRUE(typeHotKey(key9));
    // The take is loaded once the recorder has drained.
    EXPECT_TRUE(waitFor([this] { return state() == TransportState::TapeStopped; }));
    EXPECT_EQ(libraryFiles().size(), 1);
}

TEST_F(HotKeysTest, TurningHotKeysOffReleasesTheKeys)
{
    openDeck();
    EXPECT_FALSE(mKeyboard.canGrab(key7, 4 | 1)) << "the deck holds Ctrl+Shift+7";
    mPreferences->setDefaultsValue(K::EnableHotKeys, false);
    EXPECT_TRUE(mKeyboard.canGrab(key7, 4 | 1));
    mKeyboard.type({keyControl, keyShift, key7});
    QTest::qWait(300);
    EXPECT_EQ(state(), TransportState::Idle);

    // A new combination takes effect at once.
    mPreferences->setDefaultsValue(K::EnableHotKeys, true);
    mPreferences->setDefaultsValue(
        K::RecordHotKey, QVariantMap{{QStringLiteral("keyCode"), 25}, {QStringLiteral("modifiers"), 768}});
    EXPECT_TRUE(mKeyboard.canGrab(key7, 4 | 1));
    closeDeck();
    EXPECT_TRUE(mKeyboard.canGrab(key9, 4 | 1)) << "closing the deck lets go of its keys";
}

} // namespace
