#include "sharing/YUVPictureConverter.h"

#include <gtest/gtest.h>
#include <vector>

using namespace spindrel;

namespace {

struct YUVPicture
{
    int width, height;
    std::vector<uint8_t> y, u, v;
    YUVPicture(int w, int h)
        : width(w), height(h), y(size_t(w * h), 1), u(size_t(w * h / 4), 1), v(size_t(w * h / 4), 1)
    {
    }
    YUVPictureConverter::Planes planes()
    {
        return {{y.data(), u.data(), v.data()}, {width, width / 2, width / 2}};
    }
};

TEST(YUVPictureConverter, PrimariesGetTheirBT709LimitedRangeValues)
{
    struct Case
    {
        QRgb rgb;
        int y, cb, cr;
    };
    // Y = 16 + 219 (0.2126 R + 0.7152 G + 0.0722 B), chroma 128 +- 112 at the extremes.
    const Case cases[] = {{qRgb(255, 255, 255), 235, 128, 128},
                          {qRgb(0, 0, 0), 16, 128, 128},
                          {qRgb(255, 0, 0), 63, 102, 240},
                          {qRgb(0, 255, 0), 173, 42, 26},
                          {qRgb(0, 0, 255), 32, 240, 118}};
    for (const Case& c : cases) {
        QImage picture(4, 4, QImage::Format_RGB32);
        picture.fill(c.rgb);
        YUVPicture yuv(4, 4);
        YUVPictureConverter::convert(picture, picture.rect(), yuv.planes());
        EXPECT_EQ(yuv.y[5], c.y) << std::hex << c.rgb;
        EXPECT_EQ(yuv.u[3], c.cb) << std::hex << c.rgb;
        EXPECT_EQ(yuv.v[3], c.cr) << std::hex << c.rgb;
    }
}

TEST(YUVPictureConverter, PartOfAPictureTouchesOnlyItsOwnBlocks)
{
    QImage picture(8, 8, QImage::Format_RGB32);
    picture.fill(qRgb(255, 255, 255));
    YUVPicture yuv(8, 8);
    // An odd rectangle widens to whole 2x2 blocks: columns 2..5, rows 2..3.
    YUVPictureConverter::convert(picture, QRect(3, 2, 2, 1), yuv.planes());
    for (int row = 0; row < 8; ++row) {
        for (int column = 0; column < 8; ++column) {
            const bool inside = column >= 2 && column <= 5 && row >= 2 && row <= 3;
            EXPECT_EQ(yuv.y[size_t(row * 8 + column)], inside ? 235 : 1) << column << "," << row;
        }
    }
    EXPECT_EQ(yuv.u[1 * 4 + 1], 128);
    EXPECT_EQ(yuv.u[1 * 4 + 3], 1);
    EXPECT_EQ(yuv.v[0], 1);
}

TEST(YUVPictureConverter, ChromaIsTheAverageOfFourPixels)
{
    uint8_t cb = 0, cr = 0;
    YUVPictureConverter::chroma(qRgb(255, 0, 0), qRgb(255, 0, 0), qRgb(0, 0, 0), qRgb(0, 0, 0), cb, cr);
    uint8_t halfCb = 0, halfCr = 0;
    const QRgb half = qRgb(128, 0, 0);
    YUVPictureConverter::chroma(half, half, half, half, halfCb, halfCr);
    EXPECT_NEAR(cb, halfCb, 1);
    EXPECT_NEAR(cr, halfCr, 1);
}

} // namespace
