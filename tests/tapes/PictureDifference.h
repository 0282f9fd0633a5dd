// Comparing two pictures of one size, pixel by pixel.
#pragma once

#include <QImage>
#include <algorithm>
#include <cstdlib>

namespace spindrel::test {

/// Calls `each(x, y, difference)` for every pixel, the difference being the largest of the four
/// channels' once both pictures are in `format`.
template <typename Each>
void forEachPixelDifference(const QImage& a, const QImage& b, QImage::Format format, Each each)
{
    const QImage first = a.convertToFormat(format);
    const QImage second = b.convertToFormat(format);
    for (int y = 0; y < first.height(); ++y) {
        const auto* p = reinterpret_cast<const QRgb*>(first.constScanLine(y));
        const auto* q = reinterpret_cast<const QRgb*>(second.constScanLine(y));
        for (int x = 0; x < first.width(); ++x)
            each(x, y,
                 std::max({std::abs(qRed(p[x]) - qRed(q[x])), std::abs(qGreen(p[x]) - qGreen(q[x])),
                           std::abs(qBlue(p[x]) - qBlue(q[x])), std::abs(qAlpha(p[x]) - qAlpha(q[x]))}));
    }
}

} // namespace spindrel::test
