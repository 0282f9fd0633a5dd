#include "tapes/CassetteArtwork.h"

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

QImage blankImage(qreal scale)
{
    QImage image((CassetteArtwork::tapeSize() * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    return image;
}

// Every vector drawn into a fresh image, no cache involved; scaled by the device pixel ratio as
// a view's backing store is.
QImage paintedImage(const CassetteArtwork& artwork, qreal scale = coverScale)
{
    QImage image = blankImage(scale);
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
    const QImage first = a.convertToFormat(QImage::Format_ARGB32);
    const QImage second = b.convertToFormat(QImage::Format_ARGB32);
    QRect area;
    for (int y = 0; y < first.height(); ++y) {
        const auto* p = reinterpret_cast<const QRgb*>(first.constScanLine(y));
        const auto* q = reinterpret_cast<const QRgb*>(second.constScanLine(y));
        for (int x = 0; x < first.width(); ++x) {
            const int difference =
                std::max({std::abs(qRed(p[x]) - qRed(q[x])), std::abs(qGreen(p[x]) - qGreen(q[x])),
                          std::abs(qBlue(p[x]) - qBlue(q[x])), std::abs(qAlpha(p[x]) - qAlpha(q[x]))});
            if (difference > tolerance)
                area |= QRect(x, y, 1, 1);
        }
    }
    return area;
}

bool isNear(QColor pixel, QColor wanted, int tolerance)
{
    return std::abs(pixel.red() - wanted.red()) <= tolerance &&
           std::abs(pixel.green() - wanted.green()) <= tolerance &&
           std::abs(pixel.blue() - wanted.blue()) <= tolerance;
}

int countNear(const QImage& image, const QRect& rect, QColor wanted, int tolerance)
{
    int count = 0;
    for (int y = rect.top(); y <= rect.bottom(); ++y)
        for (int x = rect.left(); x <= rect.right(); ++x)
            count += isNear(image.pixelColor(x, y), wanted, tolerance) ? 1 : 0;
    return count;
}

} // namespace

TEST(CassetteArtworkTest, PicturesHaveTheNaturalSizeTimesTheScale)
{
    EXPECT_EQ(CassetteArtwork::tapeSize(), QSizeF(440, 280));
    CassetteArtwork artwork(sampleValues());

    const QImage natural = artwork.thumbnail();
    EXPECT_EQ(natural.size(), QSize(440, 280));
    EXPECT_EQ(natural.deviceIndependentSize(), CassetteArtwork::tapeSize());

    const QImage cover = artwork.coverArtImage();
    EXPECT_EQ(cover.size(), QSize(880, 560));
    EXPECT_EQ(cover.devicePixelRatio(), 2.0);
    EXPECT_EQ(cover.deviceIndependentSize(), CassetteArtwork::tapeSize());

    EXPECT_EQ(artwork.thumbnail(1.5).size(), QSize(660, 420));
}

TEST(CassetteArtworkTest, LetterIsDrawnInItsColourSchemeOnTheLabel)
{
    CassetteValues values = sampleValues();
    values.doorShown = false; // the door's glass would tint the colours
    const QRect letterBox = pixelRect(CassetteGeometry::letterRect());
    // Between the box's top edge and the glyph only the scheme's background shows.
    const QPoint aboveGlyph(letterBox.center().x(), letterBox.top() + 10);

    CassetteArtwork blue(values);
    const QImage bluePicture = blue.coverArtImage();
    EXPECT_TRUE(isNear(bluePicture.pixelColor(aboveGlyph), QColor(0, 0, 255), 40))
        << bluePicture.pixelColor(aboveGlyph).name().toStdString();
    EXPECT_GT(countNear(bluePicture, letterBox, Qt::white, 8), 500);
    EXPECT_EQ(countNear(bluePicture, letterBox, Qt::black, 40), 0);

    values.letterBackgroundColor = QColor::fromRgbF(0.95f, 0.95f, 0.0f);
    values.letterColor = Qt::black;
    CassetteArtwork yellow(values);
    const QImage yellowPicture = yellow.coverArtImage();
    EXPECT_TRUE(isNear(yellowPicture.pixelColor(aboveGlyph), QColor(242, 242, 0), 40));
    EXPECT_GT(countNear(yellowPicture, letterBox, Qt::black, 8), 500);
    EXPECT_EQ(countNear(yellowPicture, letterBox, Qt::white, 8), 0);
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

TEST(CassetteArtworkTest, TitleIsWrittenInTheTitleColour)
{
    CassetteValues values = sampleValues();
    values.doorShown = false;
    values.titleColor = QColor(0, 128, 0);
    const QImage picture = paintedImage(CassetteArtwork(values));
    EXPECT_GT(countNear(picture, pixelRect(CassetteGeometry::titleRect()), QColor(0, 128, 0), 6), 300);
    values.title.clear();
    const QImage untitled = paintedImage(CassetteArtwork(values));
    EXPECT_EQ(countNear(untitled, pixelRect(CassetteGeometry::titleRect()), QColor(0, 128, 0), 6), 0);
}

TEST(CassetteArtworkTest, DoorCarriesTheSloganOverTheShell)
{
    CassetteValues values = sampleValues();
    const QRect strip = pixelRect(CassetteGeometry::sloganRect());
    const QImage withDoor = paintedImage(CassetteArtwork(values));
    values.doorShown = false;
    const QImage withoutDoor = paintedImage(CassetteArtwork(values));
    // The slogan's light ink against the dark shell.
    EXPECT_GT(countNear(withDoor, strip, QColor(215, 216, 222), 25), 200);
    EXPECT_EQ(countNear(withoutDoor, strip, QColor(215, 216, 222), 25), 0);

    // The cassette alone is the picture without its door.
    QImage cassetteOnly = blankImage(coverScale);
    QPainter painter(&cassetteOnly);
    CassetteArtwork(sampleValues()).paintCassette(painter);
    painter.end();
    EXPECT_TRUE(changedArea(cassetteOnly, withoutDoor).isNull());
}

TEST(CassetteArtworkTest, ReelStepChangesOnlyTheHubs)
{
    CassetteArtwork artwork(sampleValues());
    artwork.setSpoolRotation(0.25);
    const QImage before = paintedImage(artwork);
    artwork.rotationStep(1.0);
    const QImage after = paintedImage(artwork);

    const QRect left = CassetteArtwork::reelPixelRect(Reel::Left, coverScale);
    const QRect right = CassetteArtwork::reelPixelRect(Reel::Right, coverScale);
    QImage outside = after;
    QImage outsideBefore = before;
    outside.setDevicePixelRatio(1.0); // masks below are in pixels
    outsideBefore.setDevicePixelRatio(1.0);
    for (const QRect& reel : {left, right}) {
        EXPECT_FALSE(changedArea(before.copy(reel), after.copy(reel)).isNull());
        QPainter(&outside).fillRect(reel, Qt::magenta);
        QPainter(&outsideBefore).fillRect(reel, Qt::magenta);
    }
    EXPECT_TRUE(changedArea(outsideBefore, outside).isNull());
}

TEST(CassetteArtworkTest, RightReelFollowsItsMultiplier)
{
    CassetteValues values = sampleValues();
    values.rightRotationMultiplier = 0.0;
    CassetteArtwork artwork(values);
    const QImage before = artwork.thumbnail(coverScale).copy();
    artwork.rotationStep(8.0);
    const QImage after = artwork.thumbnail(coverScale);
    const QRect left = CassetteArtwork::reelPixelRect(Reel::Left, coverScale);
    const QRect right = CassetteArtwork::reelPixelRect(Reel::Right, coverScale);
    EXPECT_FALSE(changedArea(before.copy(left), after.copy(left)).isNull());
    EXPECT_TRUE(changedArea(before.copy(right), after.copy(right)).isNull());
}

TEST(CassetteArtworkTest, CachedPictureMatchesTheVectorDrawingAfterStepsAndEdits)
{
    constexpr int tolerance = 8;
    CassetteArtwork artwork(sampleValues());
    for (int step = 0; step < 7; ++step) {
        artwork.rotationStep(-2.0);
        artwork.thumbnail(coverScale);
    }
    // The cache composes layers drawn with the same vectors; only the rounding of composing the
    // glass over the hubs, and the anti-aliasing of glyph edges once a process changes scale, may
    // differ. A stale layer would differ by far more.
    EXPECT_TRUE(changedArea(artwork.thumbnail(coverScale), paintedImage(artwork), tolerance).isNull());

    CassetteValues edited = artwork.values();
    edited.title = QStringLiteral("Renamed");
    edited.letterBackgroundColor = QColor(128, 0, 128);
    artwork.setValues(edited);
    EXPECT_TRUE(changedArea(artwork.thumbnail(coverScale), paintedImage(artwork), tolerance).isNull());
    EXPECT_TRUE(changedArea(artwork.thumbnail(1.0), paintedImage(artwork, 1.0), tolerance).isNull());
}

TEST(CassetteArtworkTest, ImageHandedOutIsNotChangedByLaterSteps)
{
    CassetteArtwork artwork(sampleValues());
    const QImage first = artwork.coverArtImage();
    const QImage kept = first.copy();
    artwork.rotationStep(8.0);
    const QImage second = artwork.coverArtImage();
    EXPECT_TRUE(changedArea(first, kept).isNull());
    EXPECT_FALSE(changedArea(first, second).isNull());
}

TEST(CassetteArtworkTest, ReelStepTurnsSixtyDegreesASecondAtPlaySpeed)
{
    double rotation = 0.0;
    const int stepsPerSecond = static_cast<int>(std::lround(1.0 / CassetteArtwork::rotationIntervalSeconds));
    EXPECT_EQ(stepsPerSecond, 30);
    for (int i = 0; i < stepsPerSecond; ++i)
        rotation = CassetteArtwork::spoolRotationAfterStep(rotation, 1.0);
    EXPECT_NEAR(rotation, std::numbers::pi / 3.0, 1e-12);
    EXPECT_NEAR(CassetteArtwork::spoolRotationAfterStep(1.0, -8.0), 1.0 - 16.0 * std::numbers::pi / 180.0,
                1e-12);
    EXPECT_EQ(CassetteArtwork::spoolRotationAfterStep(0.5, 0.0), 0.5);
}
