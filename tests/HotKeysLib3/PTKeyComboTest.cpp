#include "HotKeysLib3/PTKeyCombo.h"

#include "HotKeysLib3/PTKeyCodeNames.h"
#include "HotKeysLib3/PTKeyCodeTranslator.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

constexpr uint32_t commandShift = PTKeyCombo::cmdKey | PTKeyCombo::shiftKey;

class PTKeyComboTest : public ::testing::Test
{
protected:
    std::unique_ptr<PTKeyCodeTranslator> us = PTKeyCodeTranslator::fromLayout(QStringLiteral("us"));
};

TEST_F(PTKeyComboTest, PlistFormRoundTripsAndDefaultsToTheClearCombination)
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
    EXPECT_TRUE(PTKeyCombo::fromPlistRepresentation(QVariant()).isClearCombo());
    EXPECT_TRUE(PTKeyCombo::fromPlistRepresentation(QStringLiteral("7")).isClearCombo());
    const PTKeyCombo noKey =
        PTKeyCombo::fromPlistRepresentation(QVariantMap{{QStringLiteral("modifiers"), 256}});
    EXPECT_EQ(noKey.keyCode(), -1);
    EXPECT_FALSE(noKey.isValidHotKeyCombo());
}

TEST_F(PTKeyComboTest, OnlyAKeyWithModifiersIsAHotKey)
{
    EXPECT_TRUE(PTKeyCombo::clearKeyCombo().isClearCombo());
    EXPECT_FALSE(PTKeyCombo::clearKeyCombo().isValidHotKeyCombo());
    EXPECT_FALSE(PTKeyCombo(26, 0).isValidHotKeyCombo());
    EXPECT_FALSE(PTKeyCombo(26, 0).isClearCombo());
    EXPECT_TRUE(PTKeyCombo(0, PTKeyCombo::cmdKey).isValidHotKeyCombo()) << "key code 0 is the A key";
    EXPECT_FALSE(PTKeyCombo(-7, PTKeyCombo::cmdKey).isValidHotKeyCombo());
    EXPECT_NE(PTKeyCombo(26, 768), PTKeyCombo(26, 256));
    EXPECT_NE(PTKeyCombo(26, 768), PTKeyCombo(28, 768));
}

TEST_F(PTKeyComboTest, DescriptionPutsModifierGlyphsInTheirFixedOrder)
{
    ASSERT_TRUE(us);
    EXPECT_EQ(PTKeyCombo(26, 768).description(*us), QStringLiteral("⌘⇧7"));
    EXPECT_EQ(PTKeyCombo(0, PTKeyCombo::shiftKey | PTKeyCombo::controlKey | PTKeyCombo::optionKey |
                                PTKeyCombo::cmdKey)
                  .description(*us),
              QStringLiteral("⌘⌥⌃⇧A"));
    EXPECT_EQ(PTKeyCombo(44, PTKeyCombo::optionKey).description(*us), QStringLiteral("⌥/"));
    EXPECT_EQ(PTKeyCombo(26, 768).platformDescription(*us), QStringLiteral("Ctrl+Shift+7"));
    EXPECT_EQ(PTKeyCombo(0, PTKeyCombo::optionKey | PTKeyCombo::controlKey).platformDescription(*us),
              QStringLiteral("Alt+Super+A"));
}

TEST_F(PTKeyComboTest, CombinationsThatAreNoHotKeyReadNone)
{
    ASSERT_TRUE(us);
    EXPECT_EQ(PTKeyCombo(26, 0).description(*us), QStringLiteral("(None)"));
    EXPECT_EQ(PTKeyCombo::clearKeyCombo().description(*us), QStringLiteral("(None)"));
    EXPECT_EQ(PTKeyCombo(26, 0).platformDescription(*us), QStringLiteral("(None)"));
}

TEST_F(PTKeyComboTest, KeysWithoutCharacterUseTheirFixedNamesAndKeypadKeysThePadMarker)
{
    ASSERT_TRUE(us);
    EXPECT_EQ(PTKeyCombo(122, commandShift).description(*us), QStringLiteral("⌘⇧F1"));
    EXPECT_EQ(PTKeyCombo(49, PTKeyCombo::optionKey).description(*us), QStringLiteral("⌥Space"));
    EXPECT_EQ(PTKeyCombo(126, PTKeyCombo::cmdKey).description(*us), QStringLiteral("⌘↑"));
    EXPECT_EQ(PTKeyCombo(76, PTKeyCombo::cmdKey).description(*us), QStringLiteral("⌘⌤"));

    EXPECT_EQ(PTKeyCombo(89, commandShift).description(*us), QStringLiteral("⌘⇧Pad 7"));
    EXPECT_EQ(PTKeyCombo(82, PTKeyCombo::cmdKey).keyCodeString(*us), QStringLiteral("Pad 0"));
    EXPECT_EQ(PTKeyCombo(65, PTKeyCombo::cmdKey).keyCodeString(*us), QStringLiteral("Pad ."));
    EXPECT_EQ(PTKeyCombo(69, PTKeyCombo::cmdKey).keyCodeString(*us), QStringLiteral("Pad +"));
    // The digit row's 7 is no keypad key.
    EXPECT_EQ(PTKeyCombo(26, PTKeyCombo::cmdKey).keyCodeString(*us), QStringLiteral("7"));
}

TEST_F(PTKeyComboTest, KeyTextFollowsTheKeyboardLayout)
{
    auto german = PTKeyCodeTranslator::fromLayout(QStringLiteral("de"));
    auto french = PTKeyCodeTranslator::fromLayout(QStringLiteral("fr"));
    ASSERT_TRUE(german && french);
    // Key code 16 is the key right of T: Y in the US, Z in Germany.
    EXPECT_EQ(PTKeyCombo(16, PTKeyCombo::cmdKey).description(*us), QStringLiteral("⌘Y"));
    EXPECT_EQ(PTKeyCombo(16, PTKeyCombo::cmdKey).description(*german), QStringLiteral("⌘Z"));
    EXPECT_EQ(PTKeyCombo(12, PTKeyCombo::cmdKey).description(*french), QStringLiteral("⌘A"));
    // Fixed names do not change with the layout.
    EXPECT_EQ(PTKeyCombo(122, PTKeyCombo::cmdKey).description(*french), QStringLiteral("⌘F1"));
}

TEST(PTKeyCodeNamesTest, ShippedMapIsTheCurrentVersion)
{
    const PTKeyCodeNames& names = PTKeyCodeNames::shared();
    EXPECT_EQ(names.version(), 2);
    EXPECT_EQ(names.padKeyString(), QStringLiteral("Pad"));
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

} // namespace
