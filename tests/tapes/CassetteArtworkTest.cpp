#include "tapes/CassetteArtwork.h"

#include "PictureDifference.h"

#include <QPainter>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

using namespace spindrel;
using Reel = CassetteGeometry::Reel;

namespace {

constexpr qreal coverScale = 2.0;

CassetteValues sampleValues()
{
    CassetteValues values;
    values.title = QStringLiteral("Kitchen session");
    values.timeLine = QStringLiteral("Recorded Mar 4, 2012 at 8:15 PM | 12:34");
    values.quality = QStringLiteral("MQ");
    values.notes = QStringLiteral("Two takes of the waltz");
    values.doorSlogan = QStringLiteral("MADE IN CANADA");
    values.letterBackgroundColor = QColor(0, 0, 255);
    values.letterColor = QColor(255, 255, 255);
    values.titleColor = QColor(0, 0, 255);
    return values;
}

// Every vector drawn into a fresh image, no cache involved; scaled by the device pixel ratio as
// a view's backing store is.
QImage paintedImage(const CassetteArtwork& artwork, qreal scale = coverScale)
{
    QImage image((CassetteArtwork::tapeSize() * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    artwork.paint(painter);
    return image;
}

QRect pixelRect(const QRectF& logical, qreal scale = coverScale)
{
    return QRectF(logical.topLeft() * scale, logical.size() * scale).toAlignedRect();
}

// The bounding box of the pixels that differ between two images of one size; null when none do.
QRect changedArea(const QImage& a, const QImage& b, int tolerance = 0)
{
    QRect area;
    test::forEachPixelDifference(a, b, QImage::Format_ARGB32, [&](int x, int y, int difference) {
        if (difference > tolerance)
            area |= QRect(x, y, 1, 1);
    });
    return area;
}

int countNear(const QImage& image, const QRect& rect, QColor wanted, int tolerance)
{
    int count = 0;
    for (int y = rect.top(); y <= rect.bottom(); ++y)
        for (int x = rect.left(); x <= rect.right(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            count += std::abs(pixel.red() - wanted.red()) <= tolerance &&
                     std::abs(pixel.green() - wanted.green()) <= tolerance &&
                     std::abs(pixel.blue() - wanted.blue()) <= tolerance;
        }
    return count;
}

} // namespace

TEST(CassetteArtworkTest, LetterAndTitleAreDrawnInTheirColours)
{
    CassetteValues values = sampleValues();
    values.doorShown = false; // the door's glass would tint the colours
    const QRect letterBox = pixelRect(CassetteGeometry::letterRect());
    // Between the box's top edge and the glyph only the scheme's background shows.
    const QPoint aboveGlyph(letterBox.center().x(), letterBox.top() + 10);

    const struct
    {
        QColor background, ink, absent;
    } schemes[] = {{QColor(0, 0, 255), Qt::white, Qt::black}, {QColor(242, 242, 0), Qt::black, Qt::white}};
    for (const auto& scheme : schemes) {
        values.letterBackgroundColor = scheme.background;
        values.letterColor = scheme.ink;
        const QImage picture = CassetteArtwork(values).coverArtImage();
        EXPECT_EQ(countNear(picture, QRect(aboveGlyph, QSize(1, 1)), scheme.background, 40), 1);
        EXPECT_GT(countNear(picture, letterBox, scheme.ink, 8), 500);
        EXPECT_EQ(countNear(picture, letterBox, scheme.absent, 8), 0);
    }

    values.titleColor = QColor(0, 128, 0);
    const QRect title = pixelRect(CassetteGeometry::titleRect());
    EXPECT_GT(countNear(paintedImage(CassetteArtwork(values)), title, QColor(0, 128, 0), 6), 300);
    values.title.clear();
    EXPECT_EQ(countNear(paintedImage(CassetteArtwork(values)), title, QColor(0, 128, 0), 6), 0);
}

TEST(CassetteArtworkTest, EachLabelValueChangesOnlyItsOwnPlace)
{
    const CassetteValues values = sampleValues();
    const QImage before = paintedImage(CassetteArtwork(values));

    struct Case
    {
        const char* name;
        void (*change)(CassetteValues&);
        QRectF place;
    };
    const Case cases[] = {
        {"title", [](CassetteValues& v) { v.title = QStringLiteral("Another title"); },
         CassetteGeometry::titleRect()},
        {"time line", [](CassetteValues& v) { v.timeLine = QStringLiteral("Recorded today | 0:01"); },
         CassetteGeometry::timeLineRect()},
        {"notes", [](CassetteValues& v) { v.notes = QStringLiteral("nothing to add"); },
         CassetteGeometry::notesRect()},
        {"quality", [](CassetteValues& v) { v.quality = QStringLiteral("HQ"); },
         CassetteGeometry::qualityRect()},
        {"letter", [](CassetteValues& v) { v.letter = QStringLiteral("B"); }, CassetteGeometry::letterRect()},
        {"slogan", [](CassetteValues& v) { v.doorSlogan = QStringLiteral("VORLTONIC"); },
         CassetteGeometry::sloganRect()},
    };
    for (const Case& c : cases) {
        CassetteValues changed = values;
        c.change(changed);
        const QRect area = changedArea(before, paintedImage(CassetteArtwork(changed)));
        EXPECT_FALSE(area.isNull()) << c.name;
        EXPECT_TRUE(pixelRect(c.place.adjusted(-1, -1, 1, 1)).contains(area)) << c.name;
    }
}

TEST(CassetteArtworkTest, ARightMultiplierOfNothingHoldsTheRightHubStill)
{
    // That a step changes nothing but the hubs is the movie's test, frame by frame.
    const QRect left = CassetteArtwork::reelPixelRect(Reel::Left, coverScale);
    const QRect right = CassetteArtwork::reelPixelRect(Reel::Right, coverScale);
    CassetteValues values = sampleValues();
    values.rightRotationMultiplier = 0.0;
    CassetteArtwork held(values);
    const QImage heldBefore = paintedImage(held);
    held.rotationStep(8.0);
    const QImage heldAfter = paintedImage(held);
    EXPECT_FALSE(changedArea(heldBefore.copy(left), heldAfter.copy(left)).isNull());
    EXPECT_TRUE(changedArea(heldBefore.copy(right), heldAfter.copy(right)).isNull());
}

TEST(CassetteArtworkTest, CachedPictureMatchesTheVectorDrawingAndHandedOutImagesStay)
{
    constexpr int tolerance = 8;
    CassetteArtwork artwork(sampleValues());
    for (int step = 0; step < 7; ++step) {
        artwork.rotationStep(-2.0);
        artwork.thumbnail(coverScale);
    }
    // Composing the glass over the hubs rounds a little; a stale layer would differ by far more.
    EXPECT_TRUE(changedArea(artwork.thumbnail(coverScale), paintedImage(artwork), tolerance).isNull());

    CassetteValues edited = artwork.values();
    edited.title = QStringLiteral("Renamed");
    edited.letterBackgroundColor = QColor(128, 0, 128);
    artwork.setValues(edited);
    EXPECT_TRUE(changedArea(artwork.thumbnail(coverScale), paintedImage(artwork), tolerance).isNull());
    EXPECT_TRUE(changedArea(artwork.thumbnail(1.0), paintedImage(artwork, 1.0), tolerance).isNull());

    // An image handed out is not changed by later steps.
    const QImage first = artwork.coverArtImage();
    const QImage kept = first.copy();
    artwork.rotationStep(8.0);
    EXPECT_TRUE(changedArea(first, kept).isNull());
    EXPECT_FALSE(changedArea(first, artwork.coverArtImage()).isNull());
}

// The mean difference of two pictures over a rectangle, in pixels.
double meanDifference(const QImage& a, const QImage& b, const QRect& rect)
{
    double sum = 0.0;
    test::forEachPixelDifference(a.copy(rect), b.copy(rect), QImage::Format_ARGB32,
                                 [&](int, int, int difference) { sum += difference; });
    return sum / (rect.width() * rect.height());
}

TEST(CassetteArtworkTest, CopiedHubsLookLikeDrawnOnesAndChangeNothingElse)
{
    const double degree = std::numbers::pi / 180.0;
    for (const qreal scale : {1.0, 1.37, coverScale}) {
        CassetteValues values = sampleValues();
        values.rightRotationMultiplier = 0.83; // the right hub between two pictures
        CassetteArtwork artwork(values);
        CassetteArtwork turned(values);
        for (const double angle : {0.0, 37.3 * degree, -123.9 * degree, 721.0 * degree}) {
            artwork.setSpoolRotation(angle);
            turned.setSpoolRotation(angle + 10.0 * degree);
            const QImage exact = artwork.thumbnail(scale).copy();
            const QImage fast = artwork.thumbnail(scale, CassetteArtwork::Hubs::Copied);
            const QImage off = turned.thumbnail(scale);
            QImage outside = fast;
            QImage outsideExact = exact;
            outside.setDevicePixelRatio(1.0);
            outsideExact.setDevicePixelRatio(1.0);
            for (const Reel reel : {Reel::Left, Reel::Right}) {
                const QRect rect = CassetteArtwork::reelPixelRect(reel, scale);
                // A hub a degree and half a pixel away from its drawing, not one turned by ten.
                const double near = meanDifference(fast, exact, rect);
                const double far = meanDifference(off, exact, rect);
                EXPECT_LT(near * 3.0, far) << scale << " " << angle / degree;
                QPainter(&outside).fillRect(rect, Qt::magenta);
                QPainter(&outsideExact).fillRect(rect, Qt::magenta);
            }
            EXPECT_TRUE(changedArea(outside, outsideExact).isNull()) << scale;
        }
    }
}
