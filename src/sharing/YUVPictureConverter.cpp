#include "sharing/YUVPictureConverter.h"

namespace spindrel {

namespace {

// BT.709 in 16.16 fixed point, for full-range RGB in and limited-range YUV out:
// Y = 16 + 219/255 (Kr R + Kg G + Kb B), Cb and Cr scaled to 224/255 around 128.
constexpr int fixedOne = 1 << 16;
constexpr int fixed(double value)
{
    return int(value * fixedOne + (value < 0 ? -0.5 : 0.5));
}
constexpr double kr = 0.2126;
constexpr double kb = 0.0722;
constexpr double kg = 1.0 - kr - kb;
constexpr double lumaScale = 219.0 / 255.0;
constexpr double chromaScale = 224.0 / 255.0;
constexpr int yr = fixed(kr * lumaScale), yg = fixed(kg * lumaScale), yb = fixed(kb * lumaScale);
constexpr int ur = fixed(-kr / (2.0 * (1.0 - kb)) * chromaScale);
constexpr int ug = fixed(-kg / (2.0 * (1.0 - kb)) * chromaScale);
constexpr int ub = fixed(0.5 * chromaScale);
constexpr int vr = fixed(0.5 * chromaScale);
constexpr int vg = fixed(-kg / (2.0 * (1.0 - kr)) * chromaScale);
constexpr int vb = fixed(-kb / (2.0 * (1.0 - kr)) * chromaScale);

inline uint8_t clamp8(int value)
{
    return uint8_t(value < 0 ? 0 : (value > 255 ? 255 : value));
}

} // namespace

uint8_t YUVPictureConverter::luma(QRgb rgb)
{
    return clamp8(((16 << 16) + yr * qRed(rgb) + yg * qGreen(rgb) + yb * qBlue(rgb) + fixedOne / 2) >> 16);
}

void YUVPictureConverter::chroma(QRgb a, QRgb b, QRgb c, QRgb d, uint8_t& cb, uint8_t& cr)
{
    // Sums of four: the coefficients then carry a factor of 4, removed by the wider shift.
    const int r = qRed(a) + qRed(b) + qRed(c) + qRed(d);
    const int g = qGreen(a) + qGreen(b) + qGreen(c) + qGreen(d);
    const int bl = qBlue(a) + qBlue(b) + qBlue(c) + qBlue(d);
    cb = clamp8(((128 << 18) + ur * r + ug * g + ub * bl + (fixedOne << 1)) >> 18);
    cr = clamp8(((128 << 18) + vr * r + vg * g + vb * bl + (fixedOne << 1)) >> 18);
}

void YUVPictureConverter::convert(const QImage& picture, const QRect& rect, const Planes& planes)
{
    const int left = rect.left() & ~1;
    const int top = rect.top() & ~1;
    const QRect area = QRect(QPoint(left, top), QPoint(rect.right() | 1, rect.bottom() | 1))
                           .intersected(QRect(0, 0, picture.width() & ~1, picture.height() & ~1));
    if (area.isEmpty())
        return;
    for (int y = area.top(); y <= area.bottom(); y += 2) {
        const auto* upper = reinterpret_cast<const QRgb*>(picture.constScanLine(y));
        const auto* lower = reinterpret_cast<const QRgb*>(picture.constScanLine(y + 1));
        uint8_t* lumaUpper = planes.data[0] + y * planes.stride[0];
        uint8_t* lumaLower = lumaUpper + planes.stride[0];
        uint8_t* cb = planes.data[1] + (y / 2) * planes.stride[1];
        uint8_t* cr = planes.data[2] + (y / 2) * planes.stride[2];
        for (int x = area.left(); x <= area.right(); x += 2) {
            const QRgb a = upper[x], b = upper[x + 1], c = lower[x], d = lower[x + 1];
            lumaUpper[x] = luma(a);
            lumaUpper[x + 1] = luma(b);
            lumaLower[x] = luma(c);
            lumaLower[x + 1] = luma(d);
            chroma(a, b, c, d, cb[x / 2], cr[x / 2]);
        }
    }
}

} // namespace spindrel
