#include "HotKeysLib3/PTKeyCodeTranslator.h"

#include "HotKeysLib3/PTKeyCodeTable.h"

#include <gtest/gtest.h>

using namespace spindrel;

namespace {

TEST(PTKeyCodeTranslatorTest, TranslatesKeysOfTheUSLayout)
{
    auto us = PTKeyCodeTranslator::fromLayout(QStringLiteral("us"));
    ASSERT_TRUE(us);
    EXPECT_EQ(us->translateKeyCode(0), QStringLiteral("a"));
    EXPECT_EQ(us->translateKeyCode(26), QStringLiteral("7"));
    EXPECT_EQ(us->translateKeyCode(50), QStringLiteral("`"));
    EXPECT_EQ(us->translateKeyCode(89), QStringLiteral("7")) << "keypad keys translate as with Num Lock";
    EXPECT_EQ(us->translateKeyCode(36), QString()) << "Return types no printable character";
    EXPECT_EQ(us->translateKeyCode(52), QString()) << "52 is no key";
    EXPECT_EQ(us->layoutName(), QStringLiteral("English (US)"));
}

TEST(PTKeyCodeTranslatorTest, KeysymNamesAreThoseOfTheTypedCharacter)
{
    auto us = PTKeyCodeTranslator::fromLayout(QStringLiteral("us"));
    ASSERT_TRUE(us);
    EXPECT_EQ(us->keysymNameForKeyCode(26), QStringLiteral("7"));
    EXPECT_EQ(us->keysymNameForKeyCode(89), QStringLiteral("KP_7"));
    EXPECT_EQ(us->keysymNameForKeyCode(96), QStringLiteral("F5"));
    EXPECT_EQ(us->keysymNameForKeyCode(52), QString());
}

TEST(PTKeyCodeTranslatorTest, StoredKeyCodesMapToXkbKeyCodesAndBack)
{
    auto us = PTKeyCodeTranslator::fromLayout(QStringLiteral("us"));
    ASSERT_TRUE(us);
    // evdev numbering: the kernel's KEY_7 (8) plus 8, KEY_A (30) plus 8, KEY_KP7 (71) plus 8.
    EXPECT_EQ(us->xkbKeycodeForKeyCode(26), 16u);
    EXPECT_EQ(us->xkbKeycodeForKeyCode(0), 38u);
    EXPECT_EQ(us->xkbKeycodeForKeyCode(89), 79u);
    EXPECT_EQ(us->xkbKeycodeForKeyCode(52), 0u);
    EXPECT_EQ(us->keyCodeForXkbKeycode(9), 53) << "Escape";
    EXPECT_EQ(us->keyCodeForXkbKeycode(37), -1) << "left Ctrl has no stored key code";

    int mapped = 0;
    for (const PTKeyCodeEntry& entry : PTKeyCodeTable::entries()) {
        const uint32_t xkbKeycode = us->xkbKeycodeForKeyCode(entry.keyCode);
        if (xkbKeycode == 0)
            continue;
        ++mapped;
        EXPECT_EQ(us->keyCodeForXkbKeycode(xkbKeycode), entry.keyCode) << entry.xkbName;
    }
    EXPECT_GE(mapped, 100) << "nearly every key of the table exists on a PC keyboard";
}

TEST(PTKeyCodeTranslatorTest, TranslationFollowsTheLayout)
{
    auto german = PTKeyCodeTranslator::fromLayout(QStringLiteral("de"));
    auto dvorak = PTKeyCodeTranslator::fromLayout(QStringLiteral("us"), QStringLiteral("dvorak"));
    ASSERT_TRUE(german && dvorak);
    EXPECT_EQ(german->translateKeyCode(16), QStringLiteral("z"));
    EXPECT_EQ(german->translateKeyCode(41), QStringLiteral("ö"));
    EXPECT_EQ(dvorak->translateKeyCode(1), QStringLiteral("o"));
    // Positions stay the same whatever the layout prints on them.
    EXPECT_EQ(german->xkbKeycodeForKeyCode(16), dvorak->xkbKeycodeForKeyCode(16));
}

TEST(PTKeyCodeTableTest, QtKeysFindTheirKeysOnAUSLayout)
{
    ASSERT_NE(PTKeyCodeTable::entryForQtKey(Qt::Key_7, false), nullptr);
    EXPECT_EQ(PTKeyCodeTable::entryForQtKey(Qt::Key_7, false)->keyCode, 26);
    EXPECT_EQ(PTKeyCodeTable::entryForQtKey(Qt::Key_7, true)->keyCode, 89);
    EXPECT_EQ(PTKeyCodeTable::entryForQtKey(Qt::Key_Enter, false)->keyCode, 76);
    EXPECT_EQ(PTKeyCodeTable::entryForQtKey(Qt::Key_Control, false), nullptr);
}

} // namespace
