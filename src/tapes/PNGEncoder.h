#pragma once

#include <QByteArray>
#include <QImage>
#include <vector>

namespace spindrel {

/// Truecolour PNG with alpha, built from runs of rows that are filtered and compressed on their
/// own: no run refers to the rows or the bytes of another. A run compressed once can thus stand in
/// any picture that holds the same rows at the same place.
class PNGEncoder
{
public:
    struct Run
    {
        int firstRow = 0;
        int rowCount = 0;
        QByteArray deflated; ///< raw deflate data, ending on a byte boundary
        quint32 adler = 1;   ///< of the filtered rows, for the stream's checksum
        qint64 length = 0;   ///< bytes of filtered rows
        bool last = false;   ///< carries the stream's final block
    };

    /// Filters and compresses `rowCount` rows of `image` (ARGB32, premultiplied or not, or RGB32) from
    /// `firstRow`. `last` for the run that ends the picture.
    static Run compressRows(const QImage& image, int firstRow, int rowCount, int level, bool last);
    /// The PNG file of a `width` by `height` picture whose rows the runs hold, in order.
    static QByteArray assemble(int width, int height, const std::vector<const Run*>& runs);
    /// The whole picture in one run.
    static QByteArray encode(const QImage& image, int level);
};

} // namespace spindrel
