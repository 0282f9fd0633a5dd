#include "tapes/CassetteCoverArt.h"

#include "PictureDifference.h"
#include "tapes/CassetteArtwork.h"
#include "tapes/PNGEncoder.h"

#include <QImage>
#include <QPainter>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

CassetteValues tapeValues(const QString& title, const QString& letter, QColor scheme, const QString& quality)
{
    CassetteValues values;
    values.title = title;
    values.timeLine = QStringLiteral("Recorded 3/4/12 10:15 AM | 12m34s");
    values.quality = quality;
    values.notes = QStringLiteral("Notes of %1").arg(title);
    values.letter = letter;
    values.letterBackgroundColor = scheme;
    values.titleColor = scheme;
    values.doorSlogan = QStringLiteral("MADE IN CANADA");
    return values;
}

QImage decoded(const QByteArray& png)
{
    return QImage::fromData(png, "PNG").convertToFormat(QImage::Format_ARGB32);
}

// The largest difference of any channel over the two pictures, and how many pixels differ at all.
std::pair<int, int> difference(const QImage& a, const QImage& b)
{
    int largest = 0;
    int count = 0;
    // Premultiplied, so that a unit of rounding in a nearly transparent pixel stays a unit.
    test::forEachPixelDifference(a, b, QImage::Format_ARGB32_Premultiplied, [&](int, int, int d) {
        largest = std::max(largest, d);
        count += d > 0;
    });
    return {largest, count};
}

// The picture with the rows of the label's text painted over, in pixels at scale 2.
QImage withoutText(const QImage& picture)
{
    QImage masked = picture.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    masked.setDevicePixelRatio(1.0);
    QPainter painter(&masked);
    for (const QRectF& line :
         {CassetteGeometry::titleRect(), CassetteGeometry::timeLineRect(), CassetteGeometry::notesRect()})
        painter.fillRect(QRectF(0, 2 * line.top() - 8, masked.width(), 2 * line.height() + 16), Qt::magenta);
    return masked;
}

QImage reduced(const QImage& picture)
{
    return picture.convertToFormat(QImage::Format_ARGB32_Premultiplied)
        .scaled(picture.size() / 4, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

// Layers laid over each other round a little where they are translucent, and text may sit a
// fraction of a pixel apart from one drawing to the next; a wrong label, letter or line of text
// differs by far more, over hundreds of pixels.
void expectSamePicture(const QImage& cover, const QImage& whole, const char* what)
{
    EXPECT_LE(difference(withoutText(cover), withoutText(whole)).first, 8) << what;
    EXPECT_LE(difference(reduced(cover), reduced(whole)).first, 16) << what;
}

} // namespace

TEST(CassetteCoverArtTest, EachTapesCoverIsItsOwnPictureAsDrawnWhole)
{
    const CassetteValues tapes[] = {
        tapeValues(QStringLiteral("Kitchen session"), QStringLiteral("A"), QColor(255, 0, 0),
                   QStringLiteral("MQ")),
        tapeValues(QStringLiteral("Piano, second take"), QStringLiteral("A"), QColor(255, 0, 0),
                   QStringLiteral("MQ")),
        tapeValues(QStringLiteral("Interview"), QStringLiteral("Q"), QColor(0, 128, 0), QStringLiteral("HQ")),
        tapeValues(QString(), QStringLiteral("A"), QColor(255, 0, 0), QString()),
    };
    // Back and forth, so that a layer kept for one tape showing on another would be seen.
    QByteArray first;
    for (const int i : {0, 1, 2, 0, 3, 1}) {
        const QByteArray png = CassetteCoverArt::png(tapes[i]);
        const QImage cover = decoded(png);
        ASSERT_EQ(cover.size(), QSize(880, 560));
        const QImage whole = CassetteArtwork(tapes[i]).coverArtImage();
        expectSamePicture(cover, whole, qPrintable(tapes[i].title));
        if (i != 0)
            continue;
        if (first.isEmpty())
            first = png;
        else
            EXPECT_EQ(png, first) << "the same tape makes the same file";
    }

    // The transparent corners stay transparent.
    const QImage cover = decoded(CassetteCoverArt::png(tapes[0]));
    EXPECT_EQ(qAlpha(cover.pixel(0, 0)), 0);
    EXPECT_EQ(qAlpha(cover.pixel(440, 280)), 255);
}

TEST(CassetteCoverArtTest, AccentsAndDescendersShowWhole)
{
    // Capitals with accents above and letters that reach below the line, on every line.
    CassetteValues values = tapeValues(QStringLiteral("Kitchen session"), QStringLiteral("A"),
                                       QColor(255, 0, 0), QStringLiteral("MQ"));
    const QImage plain = decoded(CassetteCoverArt::png(values));
    values.title = QStringLiteral("ÅÉÎ gjpqy |[]{} \u00c7\u0105");
    values.notes = QStringLiteral("gjpqy ÅÉÎ |[]{}");
    values.timeLine = QStringLiteral("ÅÉÎ gjpqy");
    const QImage tall = decoded(CassetteCoverArt::png(values));
    const QImage whole = CassetteArtwork(values).coverArtImage();
    expectSamePicture(tall, whole, "accents");
    EXPECT_GT(difference(tall, plain).second, 200);
}

TEST(PNGEncoderTest, RunsCompressedApartMakeOnePicture)
{
    // Gradients, text and transparency, in a size that is no multiple of anything.
    QImage picture(301, 97, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    {
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        QLinearGradient gradient(0, 0, 301, 97);
        gradient.setColorAt(0, QColor(255, 0, 0, 40));
        gradient.setColorAt(1, QColor(0, 80, 255, 230));
        painter.setBrush(gradient);
        painter.drawEllipse(QRectF(3.5, 2.5, 290, 90));
        painter.setPen(Qt::black);
        painter.drawText(QRect(0, 0, 301, 97), Qt::AlignCenter, QStringLiteral("Spindrel"));
    }
    const QImage straight = picture.convertToFormat(QImage::Format_ARGB32);

    EXPECT_EQ(decoded(PNGEncoder::encode(straight, 6)), straight);
    const PNGEncoder::Run top = PNGEncoder::compressRows(straight, 0, 1, 9, false);
    const PNGEncoder::Run middle = PNGEncoder::compressRows(straight, 1, 50, 1, false);
    const PNGEncoder::Run bottom = PNGEncoder::compressRows(straight, 51, 46, 6, true);
    EXPECT_EQ(decoded(PNGEncoder::assemble(301, 97, {&top, &middle, &bottom})), straight);

    // Premultiplied pixels are divided out, to within a unit of rounding.
    const auto [largest, count] = difference(decoded(PNGEncoder::encode(picture, 1)), straight);
    EXPECT_LE(largest, 1);
    EXPECT_LT(count, 301 * 97 / 10);
}
