#pragma once

#include <QImage>
#include <QRect>
#include <cstdint>

namespace spindrel {

/// RGB pictures to the planar 4:2:0 YUV the H.264 encoder takes, with the BT.709 matrix in
/// limited range. Converts any part of a picture on its own, so a frame that differs from the
/// one before only in small areas costs only those areas.
class YUVPictureConverter
{
public:
    struct Planes
    {
        uint8_t* data[3];
        int stride[3];
    };

    /// Converts the pixels of `rect` (widened to even edges, clipped to the picture) of an
    /// RGB32 picture into `planes`, which hold a picture of the same size.
    static void convert(const QImage& picture, const QRect& rect, const Planes& planes);

    static uint8_t luma(QRgb rgb);
    /// The chroma pair of the average of four pixels.
    static void chroma(QRgb a, QRgb b, QRgb c, QRgb d, uint8_t& cb, uint8_t& cr);
};

} // namespace spindrel
