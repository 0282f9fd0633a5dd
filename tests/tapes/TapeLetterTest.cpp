#include "tapes/TapeLetter.h"

#include "AssertionText.h"
#include "tapes/TapeColorScheme.h"

#include <gtest/gtest.h>

using namespace spindrel;

TEST(TapeColorSchemeTest, AdvancingWrapsInPlaceWhileNextLeavesTheReceiverAndBadIndicesAreRefused)
{
    TapeColorScheme scheme(7);
    scheme.advanceColorScheme();
    EXPECT_EQ(scheme.colorName(), QStringLiteral("red"));
    EXPECT_EQ(scheme.backgroundColor(), QColor::fromRgbF(1, 0, 0));
    scheme.advanceColorScheme();
    EXPECT_EQ(scheme.index(), 1u);

    const TapeColorScheme gray(7);
    EXPECT_EQ(gray.nextColorScheme()->index(), 0u);
    EXPECT_EQ(gray.index(), 7u);
    EXPECT_EQ(TapeColorScheme(2).nextColorScheme()->colorName(), QStringLiteral("green"));

    EXPECT_TRUE(TapeColorScheme::colorNameForIndex(8).isNull());
    unsigned madeIndex = 99;
    EXPECT_EQ(test::failedCheckFrom([&] { madeIndex = TapeColorScheme(8).index(); }),
              "Colour scheme index out of range");
    EXPECT_EQ(madeIndex, 0u);
    EXPECT_EQ(test::failedCheckFrom([&] { scheme.setIndex(8); }), "Colour scheme index out of range");
    EXPECT_EQ(scheme.index(), 1u);
    EXPECT_EQ(scheme.backgroundColor(), QColor::fromRgbF(0, 0, 1));
}

TEST(TapeLetterTest, CopiesShareTheSchemeButNextColorSchemeMakesItsOwn)
{
    for (const TapeLetter& letter : {TapeLetter::tapeLetter(QStringLiteral("A")), TapeLetter()}) {
        EXPECT_EQ(letter.letter(), QStringLiteral("A"));
        EXPECT_EQ(letter.colorScheme()->colorName(), QStringLiteral("red"));
    }
    EXPECT_FALSE(TapeLetter().sharesColorSchemeWith(TapeLetter()));

    TapeLetter original(QStringLiteral("Q"));
    TapeLetter copy = original;
    // The label view advances the shared scheme: every copy changes colour with it.
    original.colorScheme()->advanceColorScheme();
    EXPECT_EQ(copy.colorScheme()->colorName(), QStringLiteral("blue"));
    copy.setLetter(QStringLiteral("R"));
    EXPECT_EQ(original.letter(), QStringLiteral("Q"));

    const TapeLetter next = original.tapeLetterWithNextColorScheme();
    EXPECT_EQ(next.letter(), QStringLiteral("Q"));
    EXPECT_EQ(next.colorScheme()->colorName(), QStringLiteral("yellow"));
    EXPECT_EQ(original.colorScheme()->colorName(), QStringLiteral("blue"));

    const auto scheme = original.colorScheme();
    EXPECT_EQ(test::failedCheckFrom([&] { original.setColorScheme(nullptr); }),
              "Invalid parameter not satisfying: colorScheme");
    EXPECT_EQ(original.colorScheme(), scheme);
    std::shared_ptr<TapeColorScheme> made;
    EXPECT_EQ(test::failedCheckFrom([&] { made = TapeLetter(QStringLiteral("D"), nullptr).colorScheme(); }),
              "Invalid parameter not satisfying: colorScheme");
    ASSERT_NE(made, nullptr) << "a letter always has a colour";
    EXPECT_EQ(made->colorName(), TapeColorScheme::colorSchemeWithIndex(0)->colorName());
}
