// The tape's header probe: duration, sample rate, bit rate and channels from the movie header and
// the stream descriptor, without decoding audio.
//
// The probe reads files that may be cut short or damaged, so it walks the atoms itself: every
// atom is held to the bounds of its parent and of the file before a byte of it is read, and what
// cannot be read is left at its default. Nothing here asserts or throws on the file's content.
#include "MP4Tags/MP4FileAtom.h"
#include "MP4Tags/PositionedIO.h"
#include "foundation/Log.h"
#include "tapes/Tape.h"
#include "tapes/TapeQuality.h"

#include <QFile>
#include <QtEndian>
#include <algorithm>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace spindrel {

namespace {

// The probe's atoms are small (a movie header is about 100 bytes); a damaged size word must not
// make it read a whole file into memory.
constexpr uint64_t MaxReadLength = 64 * 1024;

quint32 wordAt(const QByteArray& bytes, qsizetype at)
{
    if (at < 0 || at + 4 > bytes.size())
        return 0;
    return qFromBigEndian<quint32>(bytes.constData() + at);
}

bool isAudioRate(quint64 rate)
{
    static constexpr quint32 rates[] = {8000,  11025, 12000, 16000, 22050, 24000,  32000,
                                        44100, 48000, 64000, 88200, 96000, 176400, 192000};
    return std::find(std::begin(rates), std::end(rates), rate) != std::end(rates);
}

quint8 byteAt(const QByteArray& bytes, qsizetype at)
{
    return at >= 0 && at < bytes.size() ? quint8(bytes.at(at)) : 0;
}

/// An atom as far as it lies inside its parent: where it starts, where its content starts and where
/// it ends, that end cut at the parent's. `whole` when nothing had to be cut.
struct Extent
{
    uint64_t offset = 0;
    uint64_t content = 0;
    uint64_t end = 0;
    bool whole = true;
};

/// The header at `at` within [at, end): its size (the 64-bit form after size 1, the rest of the
/// range for size 0) and type. Nothing when the header itself does not fit or its size is smaller
/// than the header.
std::optional<std::pair<Extent, uint32_t>> headerAt(int fileHandle, uint64_t at, uint64_t end)
{
    BoxHeader header;
    if (!readBoxHeaderAt(fileHandle, at, end, header) || header.size < header.headerLength)
        return std::nullopt;
    // A size past the range is what a cut file has: the atom keeps what the range holds.
    const bool whole = header.size <= end - at;
    return std::pair{Extent{at, at + header.headerLength, whole ? at + header.size : end, whole},
                     header.type};
}

/// The first direct child of the type between `start` and `end`. The walk stops at a header that
/// cannot be read, and after an atom that runs past the range, since nothing follows it.
std::optional<Extent> child(int fileHandle, uint64_t start, uint64_t end, uint32_t type)
{
    for (uint64_t p = start; p < end;) {
        const auto header = headerAt(fileHandle, p, end);
        if (!header)
            return std::nullopt;
        if (header->second == type)
            return header->first;
        p = header->first.end;
    }
    return std::nullopt;
}

std::optional<Extent> child(int fileHandle, const std::optional<Extent>& parent, uint32_t type)
{
    return parent ? child(fileHandle, parent->content, parent->end, type) : std::nullopt;
}

/// An atom of the type at any alignment between `start` and `end` (the sample entries hold
/// fields before their children, so a walk would not find them). The scan covers the first
/// MaxReadLength bytes, where real sample descriptions lie whole.
std::optional<Extent> anywhere(int fileHandle, uint64_t start, uint64_t end, uint32_t type)
{
    end = std::min(end, start + MaxReadLength);
    const uint64_t found = MP4FileAtom::findOffsetOfChildAtom(type, start, end, fileHandle);
    if (found == MP4Atom::NotFound || found < start)
        return std::nullopt;
    const auto header = headerAt(fileHandle, found, end);
    return header ? std::optional(header->first) : std::nullopt;
}

/// The content as far as it could be read, at most MaxReadLength bytes.
QByteArray contentOf(int fileHandle, const Extent& extent)
{
    QByteArray bytes(qsizetype(std::min(extent.end - extent.content, MaxReadLength)), Qt::Uninitialized);
    const ssize_t read = preadFully(fileHandle, bytes.data(), size_t(bytes.size()), extent.content);
    bytes.truncate(read > 0 ? qsizetype(read) : 0);
    return bytes;
}

/// A fragmented file's track length in its media time scale: the samples of every whole fragment
/// after `from`, counted from the fragment headers. A full disk can leave a tape like that.
uint64_t fragmentedDuration(int fileHandle, const std::optional<Extent>& moov, uint64_t from, uint64_t end)
{
    uint32_t defaultDuration = 0;
    if (const auto trex = child(fileHandle, child(fileHandle, moov, fourCC("mvex")), fourCC("trex")))
        defaultDuration = wordAt(contentOf(fileHandle, *trex), 12);
    uint64_t duration = 0;
    for (uint64_t p = from; p < end;) {
        const auto header = headerAt(fileHandle, p, end);
        if (!header || !header->first.whole)
            break;
        p = header->first.end;
        if (header->second != fourCC("moof"))
            continue;
        const auto traf = child(fileHandle, header->first, fourCC("traf"));
        const auto tfhd = child(fileHandle, traf, fourCC("tfhd"));
        if (!tfhd)
            continue;
        const QByteArray fragment = contentOf(fileHandle, *tfhd);
        const quint32 flags = wordAt(fragment, 0);
        // The optional fields before the default duration: base offset and description index.
        const qsizetype at = 8 + ((flags & 0x1) ? 8 : 0) + ((flags & 0x2) ? 4 : 0);
        const quint32 fragmentDefault = (flags & 0x8) ? wordAt(fragment, at) : defaultDuration;
        for (uint64_t q = traf->content; q < traf->end;) {
            const auto run = headerAt(fileHandle, q, traf->end);
            if (!run)
                break;
            q = run->first.end;
            if (run->second != fourCC("trun"))
                continue;
            const QByteArray samples = contentOf(fileHandle, run->first);
            const quint32 runFlags = wordAt(samples, 0);
            const quint32 count = wordAt(samples, 4);
            if (!(runFlags & 0x100)) {
                duration += uint64_t(count) * fragmentDefault;
                continue;
            }
            const qsizetype first = 8 + ((runFlags & 0x1) ? 4 : 0) + ((runFlags & 0x4) ? 4 : 0);
            const qsizetype stride = 4 * (1 + ((runFlags & 0x200) ? 1 : 0) + ((runFlags & 0x400) ? 1 : 0) +
                                          ((runFlags & 0x800) ? 1 : 0));
            for (quint32 i = 0; i < count && first + qsizetype(i) * stride + 4 <= samples.size(); ++i)
                duration += wordAt(samples, first + qsizetype(i) * stride);
        }
    }
    return duration;
}

} // namespace

void Tape::parseMP4FileHeaders()
{
    // Only regular files are opened: a FIFO or a device is never touched. The open is
    // non-blocking and checked again, in case the path changed in between.
    const QByteArray path = QFile::encodeName(mFilename);
    struct stat status;
    if (::stat(path.constData(), &status) != 0 || !S_ISREG(status.st_mode))
        return;
    const int fileHandle = ::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fileHandle < 0)
        return;
    // Closed on every path: nothing depends on the descriptor staying open.
    struct Closer
    {
        int fd;
        ~Closer() { ::close(fd); }
    } closer{fileHandle};
    if (::fstat(fileHandle, &status) != 0 || !S_ISREG(status.st_mode))
        return;
    const ReadAheadScope readAhead(fileHandle);
    parseMP4FileHeaders(fileHandle);
}

void Tape::parseMP4FileHeaders(int fileHandle)
{
    const int64_t length = fileLength(fileHandle);
    if (length <= 0)
        return;
    // Long recordings put a 64-bit 'mdat' before 'moov'; the walk steps over it.
    const auto moov = child(fileHandle, 0, uint64_t(length), fourCC("moov"));
    const auto mvhd = child(fileHandle, moov, fourCC("mvhd"));
    if (!mvhd)
        return;

    const QByteArray header = contentOf(fileHandle, *mvhd);
    const bool version0 = wordAt(header, 0) == 0;
    const qsizetype timescaleAt = version0 ? 12 : 28;
    const quint32 timescale = wordAt(header, timescaleAt);
    const quint32 duration = wordAt(header, timescaleAt + 4);
    // A header cut before the end of its duration tells nothing, nor does a timescale of 0.
    if (header.size() < timescaleAt + 8 || timescale == 0)
        return;
    mDuration = double(float(duration) / float(timescale));
    mSamplerate = timescale;
    const auto mdia = child(fileHandle, child(fileHandle, moov, fourCC("trak")), fourCC("mdia"));
    const bool fragmented = duration == 0 && child(fileHandle, moov, fourCC("mvex"));
    // Our own files count the movie in samples; others mostly in milliseconds, and then the
    // track's own clock (or, below, the sample entry) tells the rate.
    if (fragmented || !isAudioRate(mSamplerate)) {
        const auto mdhd = child(fileHandle, mdia, fourCC("mdhd"));
        const QByteArray media = mdhd ? contentOf(fileHandle, *mdhd) : QByteArray();
        const quint32 mediaTimescale = wordAt(media, wordAt(media, 0) == 0 ? 12 : 20);
        if (!isAudioRate(mSamplerate) && isAudioRate(mediaTimescale))
            mSamplerate = mediaTimescale;
        if (fragmented && mediaTimescale > 0)
            mDuration =
                double(fragmentedDuration(fileHandle, moov, moov->end, uint64_t(length))) / mediaTimescale;
    }

    std::optional<Extent> stsd = mdia;
    for (const uint32_t type : {fourCC("minf"), fourCC("stbl"), fourCC("stsd")})
        stsd = child(fileHandle, stsd, type);
    // Half a sample description would tell a wrong quality (a missing descriptor reads as lossless).
    if (!stsd || !stsd->whole) {
        Q_EMIT headersChanged();
        return;
    }

    const auto mp4a = anywhere(fileHandle, stsd->content, stsd->end, fourCC("mp4a"));
    const auto alac = mp4a ? std::nullopt : anywhere(fileHandle, stsd->content, stsd->end, fourCC("alac"));
    if (const auto& entry = mp4a ? mp4a : alac) {
        // An audio sample entry: channel count at 16, the rate (16.16 fixed point) at 24.
        const QByteArray head = contentOf(
            fileHandle, Extent{entry->offset, entry->content, std::min(entry->end, entry->content + 28)});
        if (head.size() >= 18)
            mStereo = qFromBigEndian<quint16>(head.constData() + 16) >= 2;
        if (const quint32 entryRate = wordAt(head, 24) >> 16; !isAudioRate(mSamplerate) && entryRate > 0)
            mSamplerate = entryRate;
    }
    if (mp4a) {
        if (const auto esds = anywhere(fileHandle, mp4a->content, mp4a->end, fourCC("esds")))
            parseESDS(contentOf(fileHandle, *esds));
        mQuality = TapeQuality::lossyQualityForBitrate(mBitrate, mStereo);
    } else if (alac) {
        mQuality = TapeQuality::qualityNames().first();
    } else {
        mQuality = TapeQuality::qualityForBitrate(mBitrate, sampleRate(), mStereo);
    }
    if (TapeQuality::presetForQuality(mRecordedQuality))
        mQuality = mRecordedQuality; // what the recorder was set to, silent or not
    Q_EMIT headersChanged();
}

void Tape::parseESDS(const QByteArray& esds)
{
    if (wordAt(esds, 0) != 0) {
        logError(logSourceName(__FILE__), QStringLiteral("Encountered unexpected ESDS version. Bailing."));
        return;
    }
    if (esds.size() < 9)
        return;
    // Only the four-byte size form (80 80 80 NN) is recognised; anything else ends the walk.
    qsizetype p = 4;
    while (p + 4 < esds.size()) {
        switch (wordAt(esds, p)) {
        case 0x03808080: // ES descriptor
            p += 8;
            break;
        case 0x04808080: // decoder configuration
            mBitrate = wordAt(esds, p + 14);
            p += 18;
            break;
        case 0x05808080: // audio specific configuration: channels in its second byte
            mStereo = (unsigned(byteAt(esds, p + 6)) & 0x70u) > 8u;
            p += 6;
            break;
        default:
            return;
        }
    }
}

} // namespace spindrel
