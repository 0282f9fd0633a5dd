#include "tapes/GlyphGrabber.h"

#include <QFontMetricsF>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

QFont labelFont()
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(48);
    return font;
}

} // namespace

TEST(GlyphGrabberTest, GlyphsSitOnTheBaselineFromTheOriginAndKerningMovesTheNext)
{
    const QRectF bounds = GlyphGrabber::glyphForCharacter(QStringLiteral("A"), labelFont()).boundingRect();
    ASSERT_FALSE(bounds.isEmpty());
    // A capital rises above the baseline (negative y in Qt's axes) and ends on it.
    EXPECT_LT(bounds.top(), -20.0);
    EXPECT_NEAR(bounds.bottom(), 0.0, 1.0);
    EXPECT_GE(bounds.left(), -1.0);
    EXPECT_LT(bounds.right(), QFontMetricsF(labelFont()).horizontalAdvance(QStringLiteral("A")) + 1.0);
    // Every glyph adds its outline; no text, no outline.
    const auto elements = [](const QString& text) {
        return GlyphGrabber::glyphForCharacter(text, labelFont()).elementCount();
    };
    EXPECT_EQ(elements(QStringLiteral("AB")), elements(QStringLiteral("A")) + elements(QStringLiteral("B")));
    EXPECT_TRUE(GlyphGrabber::glyphForCharacter(QString(), labelFont()).isEmpty());

    const QFont font = labelFont();
    const qreal advanceOfA = QFontMetricsF(font).horizontalAdvance(QStringLiteral("A"));
    const QRectF l = GlyphGrabber::glyphForCharacter(QStringLiteral("l"), font).boundingRect();

    for (const qreal kerning : {0.0, 2.0, -3.5}) {
        SCOPED_TRACE(kerning);
        const QRectF both =
            GlyphGrabber::glyphForCharacter(QStringLiteral("Al"), font, kerning).boundingRect();
        // The "l" ends the pair; its outline starts one advance of "A" plus the kerning in.
        EXPECT_NEAR(both.right(), advanceOfA + kerning + l.right(), 0.05);
    }
}
