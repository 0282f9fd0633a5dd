#include "HotKeysLib3/PTKeyCombo.h"

#include "HotKeysLib3/PTKeyCodeNames.h"
#include "HotKeysLib3/PTKeyCodeTable.h"
#include "HotKeysLib3/PTKeyCodeTranslator.h"

#include <QFile>
#include <QTemporaryDir>
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
        const char16_t* description;
    } cases[] = {
        {{26, 768}, u"⌘⇧7"},
        {{0, PTKeyCombo::shiftKey | PTKeyCombo::controlKey | PTKeyCombo::optionKey | PTKeyCombo::cmdKey},
         u"⌘⌥⌃⇧A"},
        {{44, PTKeyCombo::optionKey}, u"⌥/"},
        {{122, commandShift}, u"⌘⇧F1"},
        {{49, PTKeyCombo::optionKey}, u"⌥Space"},
        {{126, PTKeyCombo::cmdKey}, u"⌘↑"},
        {{76, PTKeyCombo::cmdKey}, u"⌘⌤"},
        {{89, commandShift}, u"⌘⇧Pad 7"},
        {{65, PTKeyCombo::cmdKey}, u"⌘Pad ."},
        {{26, 0}, u"(None)"},
        {PTKeyCombo::clearKeyCombo(), u"(None)"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.combo.description(*us), QString::fromUtf16(c.description));
    EXPECT_EQ(PTKeyCombo(26, 768).platformDescription(*us), QStringLiteral("Ctrl+Shift+7"));
    EXPECT_EQ(PTKeyCombo(0, PTKeyCombo::optionKey | PTKeyCombo::controlKey).platformDescription(*us),
              QStringLiteral("Alt+Super+A"));
    EXPECT_EQ(PTKeyCombo(26, 0).platformDescription(*us), QStringLiteral("(None)"));
    // Keys the table names by a glyph are spelt out the Linux way.
    EXPECT_EQ(PTKeyCombo(48, 768).platformDescription(*us), QStringLiteral("Ctrl+Shift+Tab"));
    EXPECT_EQ(PTKeyCombo(126, PTKeyCombo::cmdKey).platformDescription(*us), QStringLiteral("Ctrl+Up"));
    EXPECT_EQ(PTKeyCombo(53, PTKeyCombo::optionKey).platformDescription(*us), QStringLiteral("Alt+Esc"));
    // Key code 16 is the key right of T: Y in the US, Z in Germany; fixed names stay.
    EXPECT_EQ(PTKeyCombo(16, PTKeyCombo::cmdKey).description(*german), QStringLiteral("⌘Z"));
    EXPECT_EQ(PTKeyCombo(122, PTKeyCombo::cmdKey).description(*german), QStringLiteral("⌘F1"));
}

TEST(PTKeyCodeNamesTest, OlderMapsWriteUnknownKeysAsNumbers)
{
    QTemporaryDir dir;
    const auto write = [&](const QString& name, const QByteArray& mapBody) {
        QFile file(dir.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
                   "<key>version</key><integer>1</integer><key>1</key><dict>" +
                   mapBody + "</dict></dict></plist>");
        return file.fileName();
    };
    auto us = PTKeyCodeTranslator::fromLayout(QStringLiteral("us"));
    ASSERT_TRUE(us);
    EXPECT_EQ(PTKeyCodeNames::shared().padKeyString(), QStringLiteral("Pad"));

    const PTKeyCodeNames decimal = PTKeyCodeNames::fromFile(
        write(QStringLiteral("decimal.plist"),
              "<key>unmappedKeys</key><dict><key>49</key><string>Spc</string></dict>"));
    EXPECT_EQ(decimal.version(), 1);
    EXPECT_EQ(decimal.stringForKeyCode(49, *us), QStringLiteral("Spc"));
    EXPECT_EQ(decimal.stringForKeyCode(26, *us), QStringLiteral("26"));

    const PTKeyCodeNames hexadecimal = PTKeyCodeNames::fromFile(write(
        QStringLiteral("hex.plist"), "<key>hexadecimalCodes</key><true/>"
                                     "<key>unmappedKeys</key><dict><key>7A</key><string>F1</string></dict>"));
    EXPECT_EQ(hexadecimal.stringForKeyCode(122, *us), QStringLiteral("F1"));
    EXPECT_EQ(hexadecimal.stringForKeyCode(26, *us), QStringLiteral("1A"));
}

TEST(PTKeyCodeTranslatorTest, StoredKeyCodesMapToXkbKeyCodesAndBack)
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
}

TEST(PTKeyCodeTranslatorTest, TranslationFollowsTheLayoutButPositionsStay)
{
    auto us = PTKeyCodeTranslator::fromLayout(QStringLiteral("us"));
    auto dvorak = PTKeyCodeTranslator::fromLayout(QStringLiteral("us"), QStringLiteral("dvorak"));
    ASSERT_TRUE(us && dvorak);
    EXPECT_EQ(us->translateKeyCode(89), QStringLiteral("7")) << "keypad keys translate as with Num Lock";
    EXPECT_EQ(us->translateKeyCode(36), QString()) << "Return types no printable character";
    EXPECT_EQ(us->keysymNameForKeyCode(89), QStringLiteral("KP_7"));
    EXPECT_EQ(dvorak->translateKeyCode(1), QStringLiteral("o"));
    EXPECT_EQ(us->xkbKeycodeForKeyCode(16), dvorak->xkbKeycodeForKeyCode(16));
}

} // namespace
