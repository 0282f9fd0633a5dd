#include "HotKeysLib3/PTKeyCombo.h"

#include "HotKeysLib3/PTKeyCodeTable.h"
#include "HotKeysLib3/PTKeyCodeTranslator.h"

#include <gtest/gtest.h>

using namespace spindrel;

namespace {

constexpr uint32_t commandShift = PTKeyCombo::cmdKey | PTKeyCombo::shiftKey;

TEST(PTKeyComboTest, PlistFormRoundTripsAndOnlyAKeyWithModifiersIsAHotKey)
{
    const PTKeyCombo record(26, 768);
    const QVariantMap plist = record.plistRepresentation();
    EXPECT_EQ(plist.value(QStringLiteral("keyCode")).toInt(), 26);
    EXPECT_EQ(plist.value(QStringLiteral("modifiers")).toUInt(), 768u);
    EXPECT_EQ(PTKeyCombo::fromPlistRepresentation(plist), record);
    // Numbers read back from a settings file may arrive as text.
    EXPECT_EQ(PTKeyCombo::fromPlistRepresentation(QVariantMap{
                  {QStringLiteral("keyCode"), QStringLiteral("28")}, {QStringLiteral("modifiers"), 768}}),
              PTKeyCombo(28, 768));
    EXPECT_TRUE(PTKeyCombo::fromPlistRepresentation(QStringLiteral("7")).isClearCombo());
    EXPECT_FALSE(PTKeyCombo::fromPlistRepresentation(QVariantMap{{QStringLiteral("modifiers"), 256}})
                     .isValidHotKeyCombo());

    EXPECT_FALSE(PTKeyCombo::clearKeyCombo().isValidHotKeyCombo());
    EXPECT_FALSE(PTKeyCombo(26, 0).isValidHotKeyCombo());
    EXPECT_FALSE(PTKeyCombo(26, 0).isClearCombo());
    EXPECT_TRUE(PTKeyCombo(0, PTKeyCombo::cmdKey).isValidHotKeyCombo()) << "key code 0 is the A key";
    EXPECT_FALSE(PTKeyCombo(-7, PTKeyCombo::cmdKey).isValidHotKeyCombo());
    EXPECT_NE(PTKeyCombo(26, 768), PTKeyCombo(26, 256));
}

TEST(PTKeyComboTest, DescriptionsFollowTheModifierOrderTheFixedNamesAndTheLayout)
{
    auto us = PTKeyCodeTranslator::fromLayout(QStringLiteral("us"));
    auto german = PTKeyCodeTranslator::fromLayout(QStringLiteral("de"));
    ASSERT_TRUE(us && german);
    const struct
    {
        PTKeyCombo combo;
        const char* description;
    } cases[] = {
        {{26, 768}, "Ctrl+Shift+7"},
        {{0, PTKeyCombo::shiftKey | PTKeyCombo::controlKey | PTKeyCombo::optionKey | PTKeyCombo::cmdKey},
         "Ctrl+Alt+Super+Shift+A"},
        {{44, PTKeyCombo::optionKey}, "Alt+/"},
        {{122, commandShift}, "Ctrl+Shift+F1"},
        {{49, PTKeyCombo::optionKey}, "Alt+Space"},
        {{89, commandShift}, "Ctrl+Shift+Pad 7"},
        {{65, PTKeyCombo::cmdKey}, "Ctrl+Pad ."},
        // Keys the table names by a glyph are spelt out the Linux way.
        {{126, PTKeyCombo::cmdKey}, "Ctrl+Up"},
        {{76, PTKeyCombo::cmdKey}, "Ctrl+Enter"},
        {{48, 768}, "Ctrl+Shift+Tab"},
        {{53, PTKeyCombo::optionKey}, "Alt+Esc"},
        {{26, 0}, "(None)"},
        {PTKeyCombo::clearKeyCombo(), "(None)"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.combo.platformDescription(*us), QString::fromUtf8(c.description));
    // Key code 16 is the key right of T: Y in the US, Z in Germany; fixed names stay.
    EXPECT_EQ(PTKeyCombo(16, PTKeyCombo::cmdKey).platformDescription(*german), QStringLiteral("Ctrl+Z"));
    EXPECT_EQ(PTKeyCombo(122, PTKeyCombo::cmdKey).platformDescription(*german), QStringLiteral("Ctrl+F1"));
}

TEST(PTKeyCodeTranslatorTest, StoredKeyCodesMapToXkbKeyCodesAndBackAndTranslateByTheLayout)
{
    auto us = PTKeyCodeTranslator::fromLayout(QStringLiteral("us"));
    ASSERT_TRUE(us);
    // evdev numbering: the kernel's KEY_7 (8) plus 8, KEY_KP7 (71) plus 8.
    EXPECT_EQ(us->xkbKeycodeForKeyCode(26), 16u);
    EXPECT_EQ(us->xkbKeycodeForKeyCode(89), 79u);
    EXPECT_EQ(us->xkbKeycodeForKeyCode(52), 0u);
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

    // Translation follows the layout, but positions stay.
    auto dvorak = PTKeyCodeTranslator::fromLayout(QStringLiteral("us"), QStringLiteral("dvorak"));
    ASSERT_TRUE(dvorak);
    EXPECT_EQ(us->translateKeyCode(89), QStringLiteral("7")) << "keypad keys translate as with Num Lock";
    EXPECT_EQ(us->translateKeyCode(36), QString()) << "Return types no printable character";
    EXPECT_EQ(us->keysymNameForKeyCode(89), QStringLiteral("KP_7"));
    EXPECT_EQ(dvorak->translateKeyCode(1), QStringLiteral("o"));
    EXPECT_EQ(us->xkbKeycodeForKeyCode(16), dvorak->xkbKeycodeForKeyCode(16));
}

} // namespace
