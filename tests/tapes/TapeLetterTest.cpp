#include "tapes/TapeLetter.h"

#include "foundation/Assertion.h"
#include "tapes/TapeColorScheme.h"

#include <gtest/gtest.h>
#include <stdexcept>

using namespace spindrel;

namespace {

QColor rgb(float r, float g, float b)
{
    return QColor::fromRgbF(r, g, b);
}

} // namespace

TEST(TapeColorSchemeTest, TableGivesNamesAndColoursInIndexOrder)
{
    const QColor white = rgb(1, 1, 1), black = rgb(0, 0, 0);
    const struct
    {
        const char* name;
        QColor background, letter, title;
    } rows[] = {
        {"red", rgb(1, 0, 0), white, rgb(1, 0, 0)},
        {"blue", rgb(0, 0, 1), white, rgb(0, 0, 1)},
        {"yellow", rgb(0.95f, 0.95f, 0), black, black},
        {"green", rgb(0, 0.7f, 0), white, rgb(0, 0.5f, 0)},
        {"orange", rgb(1, 0.5f, 0), white, rgb(1, 0.5f, 0)},
        {"purple", rgb(0.5f, 0, 0.5f), white, rgb(0.5f, 0, 0.5f)},
        {"black", black, white, black},
        {"gray", rgb(0.5f, 0.5f, 0.5f), black, rgb(0.3f, 0.3f, 0.3f)},
    };
    static_assert(std::size(rows) == TapeColorScheme::Count);
    for (unsigned i = 0; i < TapeColorScheme::Count; ++i) {
        SCOPED_TRACE(i);
        const TapeColorScheme scheme(i);
        EXPECT_EQ(scheme.description(), QStringLiteral("color: ") + QLatin1String(rows[i].name));
        EXPECT_EQ(scheme.backgroundColor(), rows[i].background);
        EXPECT_EQ(scheme.letterColor(), rows[i].letter);
        EXPECT_EQ(scheme.titleColor(), rows[i].title);
    }
}

TEST(TapeColorSchemeTest, IndexOutsideTheTableIsRefusedAndChangesNothing)
{
    EXPECT_TRUE(TapeColorScheme::colorNameForIndex(8).isNull());
    EXPECT_THROW(TapeColorScheme(8), std::out_of_range);
    TapeColorScheme scheme(3);
    EXPECT_THROW(scheme.setIndex(8), std::out_of_range);
    EXPECT_EQ(scheme.index(), 3u);
    EXPECT_EQ(scheme.backgroundColor(), rgb(0, 0.7f, 0));
}

TEST(TapeColorSchemeTest, AdvancingWrapsInPlaceWhileNextLeavesTheReceiver)
{
    TapeColorScheme scheme(7);
    scheme.advanceColorScheme();
    EXPECT_EQ(scheme.colorName(), QStringLiteral("red"));
    EXPECT_EQ(scheme.backgroundColor(), rgb(1, 0, 0));
    scheme.advanceColorScheme();
    EXPECT_EQ(scheme.index(), 1u);

    const TapeColorScheme gray(7);
    EXPECT_EQ(gray.nextColorScheme()->index(), 0u);
    EXPECT_EQ(gray.index(), 7u);
    EXPECT_EQ(TapeColorScheme(2).nextColorScheme()->colorName(), QStringLiteral("green"));
}

TEST(TapeLetterTest, NewLetterIsRedWithWhiteLetter)
{
    for (const TapeLetter& letter : {TapeLetter::tapeLetter(QStringLiteral("A")), TapeLetter()}) {
        EXPECT_EQ(letter.letter(), QStringLiteral("A"));
        EXPECT_EQ(letter.colorScheme()->colorName(), QStringLiteral("red"));
        EXPECT_EQ(letter.colorScheme()->letterColor(), rgb(1, 1, 1));
    }
    EXPECT_FALSE(TapeLetter().sharesColorSchemeWith(TapeLetter()));
}

TEST(TapeLetterTest, CopiesShareTheSchemeButNextColorSchemeMakesItsOwn)
{
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
    EXPECT_FALSE(next.sharesColorSchemeWith(original));
}

TEST(TapeLetterTest, NullSchemeIsAnAssertion)
{
    TapeLetter letter(QStringLiteral("C"));
    const auto scheme = letter.colorScheme();
    EXPECT_THROW(letter.setColorScheme(nullptr), InternalInconsistency);
    EXPECT_EQ(letter.colorScheme(), scheme);
    EXPECT_THROW(TapeLetter(QStringLiteral("D"), nullptr), InternalInconsistency);
}
