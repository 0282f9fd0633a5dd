#include "tapes/PNGEncoder.h"

#include <QtEndian>
#include <cstring>
#include <zlib.h>

namespace spindrel {

namespace {

// Unpremultiplied RGBA, as PNG stores it.
void toRGBA(const QRgb* from, int width, bool premultiplied, uchar* to)
{
    for (int x = 0; x < width; ++x) {
        const QRgb pixel = premultiplied ? qUnpremultiply(from[x]) : from[x];
        to[4 * x] = uchar(qRed(pixel));
        to[4 * x + 1] = uchar(qGreen(pixel));
        to[4 * x + 2] = uchar(qBlue(pixel));
        to[4 * x + 3] = uchar(qAlpha(pixel));
    }
}

void appendChunk(QByteArray& png, const char* type, const QByteArray& data)
{
    uchar length[4];
    qToBigEndian(quint32(data.size()), length);
    png.append(reinterpret_cast<const char*>(length), 4);
    const qsizetype start = png.size();
    png.append(type, 4);
    png.append(data);
    uLong crc = crc32(0, reinterpret_cast<const Bytef*>(png.constData() + start), uInt(png.size() - start));
    uchar sum[4];
    qToBigEndian(quint32(crc), sum);
    png.append(reinterpret_cast<const char*>(sum), 4);
}

} // namespace

PNGEncoder::Run PNGEncoder::compressRows(const QImage& image, int firstRow, int rowCount, int level,
                                         bool last)
{
    Run run;
    run.firstRow = firstRow;
    run.rowCount = rowCount;
    run.last = last;
    const int width = image.width();
    const qsizetype rowBytes = qsizetype(width) * 4;
    const bool premultiplied = image.format() == QImage::Format_ARGB32_Premultiplied;
    // The first row of a run filters against nothing above it (Sub), so the run stands alone;
    // the others take the difference to the row above (Up), which suits the picture's gradients.
    QByteArray filtered(qsizetype(rowCount) * (rowBytes + 1), Qt::Uninitialized);
    QByteArray previous(rowBytes, Qt::Uninitialized);
    QByteArray current(rowBytes, Qt::Uninitialized);
    for (int i = 0; i < rowCount; ++i) {
        toRGBA(reinterpret_cast<const QRgb*>(image.constScanLine(firstRow + i)), width, premultiplied,
               reinterpret_cast<uchar*>(current.data()));
        auto* out = reinterpret_cast<uchar*>(filtered.data()) + qsizetype(i) * (rowBytes + 1);
        const auto* now = reinterpret_cast<const uchar*>(current.constData());
        const auto* above = reinterpret_cast<const uchar*>(previous.constData());
        if (i == 0) {
            out[0] = 1;
            std::memcpy(out + 1, now, 4);
            for (qsizetype x = 4; x < rowBytes; ++x)
                out[1 + x] = uchar(now[x] - now[x - 4]);
        } else {
            out[0] = 2;
            for (qsizetype x = 0; x < rowBytes; ++x)
                out[1 + x] = uchar(now[x] - above[x]);
        }
        current.swap(previous);
    }
    run.length = filtered.size();
    run.adler =
        quint32(adler32(1, reinterpret_cast<const Bytef*>(filtered.constData()), uInt(filtered.size())));

    z_stream stream{};
    deflateInit2(&stream, level, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
    run.deflated.resize(qsizetype(deflateBound(&stream, uLong(filtered.size()))) + 16);
    stream.next_in = reinterpret_cast<Bytef*>(filtered.data());
    stream.avail_in = uInt(filtered.size());
    stream.next_out = reinterpret_cast<Bytef*>(run.deflated.data());
    stream.avail_out = uInt(run.deflated.size());
    // A sync flush ends on a byte boundary without a final block, so the next run follows on.
    deflate(&stream, last ? Z_FINISH : Z_SYNC_FLUSH);
    run.deflated.truncate(qsizetype(stream.total_out));
    deflateEnd(&stream);
    return run;
}

QByteArray PNGEncoder::assemble(int width, int height, const std::vector<const Run*>& runs)
{
    QByteArray png("\x89PNG\r\n\x1a\n", 8);
    QByteArray header(13, '\0');
    qToBigEndian(quint32(width), header.data());
    qToBigEndian(quint32(height), header.data() + 4);
    header[8] = 8; // bits per sample
    header[9] = 6; // truecolour with alpha
    appendChunk(png, "IHDR", header);

    qsizetype size = 6;
    for (const Run* run : runs)
        size += run->deflated.size();
    QByteArray data;
    data.reserve(size);
    data.append("\x78\x01", 2); // deflate, 32 KiB window
    uLong adler = 1;
    for (const Run* run : runs) {
        data.append(run->deflated);
        adler = adler32_combine(adler, run->adler, z_off_t(run->length));
    }
    uchar sum[4];
    qToBigEndian(quint32(adler), sum);
    data.append(reinterpret_cast<const char*>(sum), 4);
    appendChunk(png, "IDAT", data);
    appendChunk(png, "IEND", QByteArray());
    return png;
}

QByteArray PNGEncoder::encode(const QImage& image, int level)
{
    const bool direct = image.format() == QImage::Format_ARGB32_Premultiplied ||
                        image.format() == QImage::Format_ARGB32 || image.format() == QImage::Format_RGB32;
    const QImage source = direct ? image : image.convertToFormat(QImage::Format_ARGB32);
    const Run run = compressRows(source, 0, source.height(), level, true);
    return assemble(source.width(), source.height(), {&run});
}

} // namespace spindrel
