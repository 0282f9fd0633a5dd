#include "audio/MP4InPlaceFinisher.h"

#include "MP4Tags/MP4Atom.h"
#include "MP4Tags/MP4Box.h"
#include "MP4Tags/MP4FileLayout.h"
#include "MP4Tags/PositionedIO.h"
#include "audio/DurableFileOutput.h"
#include "audio/MP4Remuxer.h"
#include "audio/RecordingRecovery.h"
#include "foundation/Error.h"

#include <QFile>
#include <QtEndian>
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <optional>
#include <unistd.h>
#include <vector>

namespace spindrel {

namespace {

constexpr uint32_t Co64 = fourCC("co64");
constexpr uint32_t Edts = fourCC("edts");
constexpr uint32_t Elst = fourCC("elst");
constexpr uint32_t Free = fourCC("free");
constexpr uint32_t Mdat = fourCC("mdat");
constexpr uint32_t Mdhd = fourCC("mdhd");
constexpr uint32_t Mdia = fourCC("mdia");
constexpr uint32_t Minf = fourCC("minf");
constexpr uint32_t Moof = fourCC("moof");
constexpr uint32_t Moov = fourCC("moov");
constexpr uint32_t Mp4a = fourCC("mp4a");
constexpr uint32_t Mvex = fourCC("mvex");
constexpr uint32_t Mvhd = fourCC("mvhd");
constexpr uint32_t Stbl = fourCC("stbl");
constexpr uint32_t Stco = fourCC("stco");
constexpr uint32_t Stsc = fourCC("stsc");
constexpr uint32_t Stsd = fourCC("stsd");
constexpr uint32_t Stsz = fourCC("stsz");
constexpr uint32_t Stts = fourCC("stts");
constexpr uint32_t Tfhd = fourCC("tfhd");
constexpr uint32_t Tkhd = fourCC("tkhd");
constexpr uint32_t Traf = fourCC("traf");
constexpr uint32_t Trak = fourCC("trak");
constexpr uint32_t Trex = fourCC("trex");
constexpr uint32_t Trun = fourCC("trun");

constexpr int kAACPriming = 1024; // FFmpeg's AAC encoder's delay, as in MP4Remuxer
// No header box of a recording comes near this; a size beyond it is damage.
constexpr uint64_t kMaxHeaderBox = 64 * 1024 * 1024;
// Holds the sample tables of days of audio; more is damage, not a recording.
constexpr size_t kMaxSamples = 50 * 1000 * 1000;

using Outcome = MP4InPlaceFinisher::Outcome;
using Result = MP4InPlaceFinisher::Result;

using TopBox = MP4FileLayout::Box;

// Reads big-endian fields one after another; `ok` turns false at the first that is not there.
struct Fields
{
    const QByteArray& bytes;
    qsizetype at = 0;
    bool ok = true;

    uint32_t u32()
    {
        if (!ok || at + 4 > bytes.size()) {
            ok = false;
            return 0;
        }
        at += 4;
        return qFromBigEndian<uint32_t>(bytes.constData() + at - 4);
    }
    uint64_t u64()
    {
        const uint64_t high = u32();
        return (high << 32) | u32();
    }
};

QByteArray bigEndian32(uint32_t value)
{
    QByteArray bytes(4, Qt::Uninitialized);
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray bigEndian64(uint64_t value)
{
    QByteArray bytes(8, Qt::Uninitialized);
    qToBigEndian(value, bytes.data());
    return bytes;
}

// The top-level boxes that lie whole in the file, up to the first that does not (or runs to the
// end with size 0, as a recording's last box never does).
std::vector<TopBox> topLevelBoxes(int fileHandle)
{
    MP4FileLayout layout;
    MP4FileLayout::read(fileHandle, layout);
    std::vector<TopBox> boxes;
    for (const TopBox& box : layout.boxes) {
        if (box.toEnd)
            break;
        boxes.push_back(box);
    }
    return boxes;
}

std::optional<MP4Box> readBox(int fileHandle, const TopBox& box)
{
    if (box.size > kMaxHeaderBox)
        return std::nullopt;
    QByteArray bytes(qsizetype(box.size), Qt::Uninitialized);
    if (preadFully(fileHandle, bytes.data(), size_t(bytes.size()), box.offset) != ssize_t(bytes.size()))
        return std::nullopt;
    auto parsed = MP4Box::parse(bytes);
    if (!parsed || !parsed->expand())
        return std::nullopt;
    return parsed;
}

MP4Box* descend(MP4Box& from, std::initializer_list<uint32_t> types)
{
    MP4Box* box = &from;
    for (uint32_t type : types) {
        box = box->child(type);
        if (!box || !box->expand())
            return nullptr;
    }
    return box;
}

// Where a full box keeps its time scale and duration: after 32-bit times in version 0, after
// 64-bit ones in version 1.
struct TimeFields
{
    qsizetype timescale = 0;
    qsizetype duration = 0;
    bool wide = false;
};

std::optional<TimeFields> timeFields(const MP4Box& box)
{
    const QByteArray& content = box.content();
    if (content.isEmpty())
        return std::nullopt;
    const bool wide = content.at(0) == 1;
    // 'tkhd' has its track ID and a reserved word where the others have their time scale.
    const TimeFields fields = box.type() == Tkhd ? TimeFields{-1, wide ? 28 : 20, wide}
                                                 : TimeFields{wide ? 20 : 12, wide ? 24 : 16, wide};
    return content.size() >= fields.duration + (wide ? 8 : 4) ? std::optional(fields) : std::nullopt;
}

bool setDuration(MP4Box& box, uint64_t duration)
{
    const auto fields = timeFields(box);
    if (!fields || (!fields->wide && duration > UINT32_MAX))
        return false;
    QByteArray content = box.content();
    if (fields->wide)
        qToBigEndian(duration, content.data() + fields->duration);
    else
        qToBigEndian(uint32_t(duration), content.data() + fields->duration);
    box.setContent(content);
    return true;
}

uint32_t timescaleOf(const MP4Box& box)
{
    const auto fields = timeFields(box);
    if (!fields || fields->timescale < 0)
        return 0;
    return qFromBigEndian<uint32_t>(box.content().constData() + fields->timescale);
}

// The fragmented file's movie header and its one track, with the defaults its fragments use.
struct Track
{
    MP4Box moov;
    uint32_t trackID = 0;
    uint32_t movieTimescale = 0;
    uint32_t mediaTimescale = 0;
    uint32_t defaultDuration = 0;
    uint32_t defaultSize = 0;
    bool aac = false;
};

std::optional<Track> readTrack(int fileHandle, const TopBox& box)
{
    auto moov = readBox(fileHandle, box);
    if (!moov)
        return std::nullopt;
    Track track;
    int tracks = 0;
    for (const MP4Box& child : moov->children())
        tracks += child.type() == Trak ? 1 : 0;
    MP4Box* mvhd = moov->child(Mvhd);
    MP4Box* trak = descend(*moov, {Trak});
    MP4Box* tkhd = trak ? trak->child(Tkhd) : nullptr;
    MP4Box* mdhd = trak ? descend(*trak, {Mdia}) : nullptr;
    mdhd = mdhd ? mdhd->child(Mdhd) : nullptr;
    MP4Box* stbl = trak ? descend(*trak, {Mdia, Minf, Stbl}) : nullptr;
    MP4Box* stsd = stbl ? stbl->child(Stsd) : nullptr;
    MP4Box* mvex = descend(*moov, {Mvex});
    if (tracks != 1 || !mvhd || !tkhd || !mdhd || !stsd || !mvex || !timeFields(*tkhd))
        return std::nullopt;
    Fields header{tkhd->content(), tkhd->content().at(0) == 1 ? 20 : 12};
    track.trackID = header.u32();
    track.movieTimescale = timescaleOf(*mvhd);
    track.mediaTimescale = timescaleOf(*mdhd);
    // The sample entry's type follows the version, the entry count and the entry's size.
    Fields entry{stsd->content(), 12};
    track.aac = entry.u32() == Mp4a;
    bool found = false;
    for (const MP4Box& trex : mvex->children()) {
        Fields fields{trex.content(), 4};
        if (trex.type() != Trex || fields.u32() != track.trackID)
            continue;
        fields.u32(); // sample description index
        track.defaultDuration = fields.u32();
        track.defaultSize = fields.u32();
        found = fields.ok;
    }
    if (!found || !header.ok || track.movieTimescale == 0 || track.mediaTimescale == 0)
        return std::nullopt;
    track.moov = std::move(*moov);
    return track;
}

// Every sample of the complete fragments: where its bytes lie and how long it lasts.
struct Samples
{
    std::vector<uint32_t> sizes;
    std::vector<uint32_t> durations;
    std::vector<std::pair<uint64_t, uint32_t>> chunks; // file offset, samples in it
    uint64_t duration = 0;
};

// One fragment's samples, held to the 'mdat' that follows its header.
bool readFragment(const MP4Box& moof, const TopBox& where, const TopBox& mdat, const Track& track,
                  Samples& samples)
{
    for (MP4Box traf : moof.children()) {
        if (traf.type() != Traf)
            continue;
        MP4Box* tfhd = traf.expand() ? traf.child(Tfhd) : nullptr;
        if (!tfhd)
            return false;
        Fields header{tfhd->content()};
        const uint32_t flags = header.u32() & 0xffffff;
        if (header.u32() != track.trackID)
            return false;
        // Without a base offset the data counts from the fragment's own header.
        const uint64_t base = (flags & 0x1) ? header.u64() : where.offset;
        if (flags & 0x2)
            header.u32(); // sample description index
        const uint32_t defaultDuration = (flags & 0x8) ? header.u32() : track.defaultDuration;
        const uint32_t defaultSize = (flags & 0x10) ? header.u32() : track.defaultSize;
        if (!header.ok)
            return false;
        uint64_t next = base;
        for (const MP4Box& trun : traf.children()) {
            if (trun.type() != Trun)
                continue;
            Fields run{trun.content()};
            const uint32_t runFlags = run.u32() & 0xffffff;
            const uint32_t count = run.u32();
            const int32_t dataOffset = (runFlags & 0x1) ? int32_t(run.u32()) : 0;
            if (runFlags & 0x4)
                run.u32(); // first sample's flags
            const qsizetype perSample = 4 * (((runFlags & 0x100) ? 1 : 0) + ((runFlags & 0x200) ? 1 : 0) +
                                             ((runFlags & 0x400) ? 1 : 0) + ((runFlags & 0x800) ? 1 : 0));
            if (!run.ok || count == 0 || samples.sizes.size() + count > kMaxSamples ||
                (perSample > 0 && qsizetype(count) > (trun.content().size() - run.at) / perSample))
                return false;
            const uint64_t start = (runFlags & 0x1) ? uint64_t(int64_t(base) + dataOffset) : next;
            uint64_t bytes = 0;
            for (uint32_t i = 0; i < count; ++i) {
                const uint32_t duration = (runFlags & 0x100) ? run.u32() : defaultDuration;
                const uint32_t size = (runFlags & 0x200) ? run.u32() : defaultSize;
                if (runFlags & 0x400)
                    run.u32();
                // Audio shows every sample when it is decoded: a composition offset is no recording.
                if (((runFlags & 0x800) && run.u32() != 0) || size == 0)
                    return false;
                samples.durations.push_back(duration);
                samples.sizes.push_back(size);
                samples.duration += duration;
                bytes += size;
                if (bytes > mdat.size)
                    return false;
            }
            if (!run.ok || start < mdat.offset + mdat.headerLength || start + bytes > mdat.end())
                return false;
            samples.chunks.emplace_back(start, count);
            next = start + bytes;
        }
    }
    return true;
}

template <typename Value> QByteArray runLengths(const std::vector<Value>& values)
{
    QByteArray entries;
    uint32_t count = 0;
    for (size_t i = 0; i < values.size(); ++i) {
        ++count;
        if (i + 1 == values.size() || values[i + 1] != values[i]) {
            entries += bigEndian32(count) + bigEndian32(uint32_t(values[i]));
            count = 0;
        }
    }
    return entries;
}

// The sample tables of an ordinary file: times, chunks, sizes and chunk offsets.
std::vector<MP4Box> sampleTables(const Samples& samples)
{
    const QByteArray fullBoxHeader(4, '\0');
    const QByteArray times = runLengths(samples.durations);
    std::vector<uint32_t> perChunk;
    for (const auto& chunk : samples.chunks)
        perChunk.push_back(chunk.second);
    QByteArray chunks;
    uint32_t chunkEntries = 0;
    for (size_t i = 0; i < perChunk.size(); ++i) {
        if (i == 0 || perChunk[i] != perChunk[i - 1]) {
            chunks += bigEndian32(uint32_t(i + 1)) + bigEndian32(perChunk[i]) + bigEndian32(1);
            ++chunkEntries;
        }
    }
    const bool sameSize = std::all_of(samples.sizes.begin(), samples.sizes.end(),
                                      [&](uint32_t size) { return size == samples.sizes.front(); });
    QByteArray sizes =
        bigEndian32(sameSize ? samples.sizes.front() : 0) + bigEndian32(uint32_t(samples.sizes.size()));
    if (!sameSize) {
        for (uint32_t size : samples.sizes)
            sizes += bigEndian32(size);
    }
    const bool wide = samples.chunks.back().first > UINT32_MAX;
    QByteArray offsets = bigEndian32(uint32_t(samples.chunks.size()));
    for (const auto& chunk : samples.chunks)
        offsets += wide ? bigEndian64(chunk.first) : bigEndian32(uint32_t(chunk.first));
    return {MP4Box(Stts, fullBoxHeader + bigEndian32(uint32_t(times.size() / 8)) + times),
            MP4Box(Stsc, fullBoxHeader + bigEndian32(chunkEntries) + chunks),
            MP4Box(Stsz, fullBoxHeader + sizes), MP4Box(wide ? Co64 : Stco, fullBoxHeader + offsets)};
}

// The fragmented 'moov' made ordinary: no fragment defaults, the durations filled in, an edit
// list hiding the priming, and the sample tables of every sample.
std::optional<MP4Box> ordinaryMoov(Track track, const Samples& samples, int priming)
{
    MP4Box& moov = track.moov;
    std::erase_if(moov.children(), [](const MP4Box& box) { return box.type() == Mvex; });
    MP4Box* trak = descend(moov, {Trak});
    MP4Box* mdia = trak ? descend(*trak, {Mdia}) : nullptr;
    MP4Box* stbl = mdia ? descend(*mdia, {Minf, Stbl}) : nullptr;
    if (!stbl)
        return std::nullopt;
    const uint64_t shown = samples.duration - uint64_t(priming);
    const auto movieDuration =
        uint64_t(std::llround(double(shown) * double(track.movieTimescale) / double(track.mediaTimescale)));
    if (!setDuration(*moov.child(Mvhd), movieDuration) || !setDuration(*trak->child(Tkhd), movieDuration) ||
        !setDuration(*mdia->child(Mdhd), samples.duration))
        return std::nullopt;

    std::erase_if(trak->children(), [](const MP4Box& box) { return box.type() == Edts; });
    if (priming > 0) {
        if (movieDuration > UINT32_MAX)
            return std::nullopt;
        const QByteArray edit = bigEndian32(0) + bigEndian32(1) + bigEndian32(uint32_t(movieDuration)) +
                                bigEndian32(uint32_t(priming)) + bigEndian32(0x00010000);
        MP4Box edts(Edts, QByteArray());
        edts.putChild(MP4Box(Elst, edit));
        // Right after the track header, where players look for it.
        trak->insertChild(1, std::move(edts));
    }
    std::erase_if(stbl->children(), [](const MP4Box& box) { return box.type() != Stsd; });
    for (MP4Box& table : sampleTables(samples))
        stbl->putChild(std::move(table));
    return moov;
}

bool syncData(int fileHandle)
{
    int result;
    do
        result = ::fdatasync(fileHandle);
    while (result < 0 && errno == EINTR);
    return result == 0;
}

bool retype(int fileHandle, uint64_t offset, uint32_t type)
{
    char bytes[4];
    qToBigEndian(type, bytes);
    return pwriteFully(fileHandle, bytes, 4, offset + 4) == 4;
}

// A box header at `offset` that makes everything up to `end` one box of `type`: 8 bytes, or 16 when
// the box passes 4 GiB. Either lies in one sector, so a crash leaves the old header or this one.
bool rewriteHeader(int fileHandle, uint64_t offset, uint64_t end, uint32_t type)
{
    const uint64_t size = end - offset;
    const QByteArray header = size <= UINT32_MAX
                                  ? QByteArray(bigEndian32(uint32_t(size)) + bigEndian32(type))
                                  : QByteArray(bigEndian32(1) + bigEndian32(type) + bigEndian64(size));
    return pwriteFully(fileHandle, header.constData(), size_t(header.size()), offset) == header.size();
}

// The last step, shared by every way to a tape: the final name, on the disk.
bool renameTo(const QString& from, const QString& to, QString* why)
{
    if (std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) < 0) {
        *why = Error::systemErrorText(errno);
        return false;
    }
    DurableFileOutput::syncFolderOf(to);
    return true;
}

// Gives the file its name once its one 'moov' is on the disk. Fragment headers still lying before
// it, from a finish that marked each one free instead, become free space first. (What lay after the
// complete fragments, a torn one too, is under the 'moov' now.)
Result completeFinish(int fileHandle, const std::vector<TopBox>& boxes, uint64_t moov, const QString& path,
                      const QString& destination, double seconds)
{
    Result result;
    for (const TopBox& box : boxes) {
        if (box.type == Moof && box.end() <= moov && !retype(fileHandle, box.offset, Free)) {
            result.message = Error::systemErrorText(errno);
            return result;
        }
    }
    if (!syncData(fileHandle)) {
        result.message = Error::systemErrorText(errno);
        return result;
    }
    if (!renameTo(path, destination, &result.message))
        return result;
    result.outcome = Outcome::Ordinary;
    result.seconds = seconds;
    return result;
}

// Cuts the file back to its complete fragments, which also gives back the room of a torn one.
Result keepFragmented(int fileHandle, const QString& path, const QString& destination, int64_t length,
                      const QString& reason, double seconds)
{
    Result result;
    if (::ftruncate(fileHandle, length) < 0 || !syncData(fileHandle) ||
        !renameTo(path, destination, &result.message)) {
        result.message = reason + QStringLiteral("; ") +
                         (result.message.isEmpty() ? Error::systemErrorText(errno) : result.message);
        return result;
    }
    result.outcome = Outcome::Fragmented;
    result.message = reason;
    result.seconds = seconds;
    return result;
}

const TopBox* onlyMoov(const std::vector<TopBox>& boxes)
{
    const TopBox* found = nullptr;
    for (const TopBox& box : boxes) {
        if (box.type == Moov) {
            if (found)
                return nullptr;
            found = &box;
        }
    }
    return found;
}

double movieSeconds(int fileHandle, const TopBox& moovBox)
{
    auto moov = readBox(fileHandle, moovBox);
    MP4Box* mvhd = moov ? moov->child(Mvhd) : nullptr;
    const auto fields = mvhd ? timeFields(*mvhd) : std::nullopt;
    const uint32_t timescale = mvhd ? timescaleOf(*mvhd) : 0;
    if (!fields || timescale == 0)
        return 0.0;
    Fields duration{mvhd->content(), fields->duration};
    return double(fields->wide ? duration.u64() : duration.u32()) / timescale;
}

bool isInterrupted(int fileHandle, const std::vector<TopBox>& boxes)
{
    const TopBox* box = onlyMoov(boxes);
    if (!box)
        return false;
    auto moov = readBox(fileHandle, *box);
    return moov && moov->child(Trak) && !moov->child(Mvex);
}

} // namespace

int64_t MP4InPlaceFinisher::moovSizeBound(int64_t packets, int64_t fragments)
{
    // The headers, the sample description and the encoder's tag, then per packet its size and
    // per fragment a chunk: its offset (64-bit at worst) and a change of samples per chunk.
    return 4096 + 4 * packets + 20 * fragments;
}

bool MP4InPlaceFinisher::isInterruptedFinish(int fileHandle)
{
    const int64_t length = fileLength(fileHandle);
    if (length <= 0)
        return false;
    const ReadAheadScope readAhead(fileHandle);
    return isInterrupted(fileHandle, topLevelBoxes(fileHandle));
}

MP4InPlaceFinisher::Result MP4InPlaceFinisher::finish(int fileHandle, const QString& path,
                                                      const QString& destination, int primingFrames,
                                                      int64_t allocatedEnd)
{
    Result result;
    const int64_t length = fileLength(fileHandle);
    if (length <= 0) {
        result.message = QStringLiteral("it is empty");
        return result;
    }
    std::vector<TopBox> boxes;
    {
        const ReadAheadScope readAhead(fileHandle);
        boxes = topLevelBoxes(fileHandle);
        if (isInterrupted(fileHandle, boxes))
            return completeFinish(fileHandle, boxes, onlyMoov(boxes)->offset, path, destination,
                                  movieSeconds(fileHandle, *onlyMoov(boxes)));
    }
    const int64_t complete = RecordingRecovery::recoverableLength(path);
    if (complete <= 0) {
        result.message = QStringLiteral("it holds no complete fragment");
        return result;
    }
    std::optional<MP4Box> moov;
    TopBox oldMoov;
    Samples samples;
    int priming = 0;
    uint32_t timescale = 0;
    {
        const ReadAheadScope readAhead(fileHandle);
        std::optional<Track> track;
        bool whole = true;
        for (size_t i = 0; i < boxes.size() && boxes[i].end() <= uint64_t(complete) && whole; ++i) {
            if (boxes[i].type == Moov && !track) {
                track = readTrack(fileHandle, boxes[i]);
                oldMoov = boxes[i];
                whole = track.has_value();
            } else if (boxes[i].type == Moof) {
                const auto moof = readBox(fileHandle, boxes[i]);
                whole = track && moof && i + 1 < boxes.size() && boxes[i + 1].type == Mdat &&
                        boxes[i + 1].end() <= uint64_t(complete) &&
                        readFragment(*moof, boxes[i], boxes[i + 1], *track, samples);
            }
        }
        if (!whole || samples.chunks.empty()) {
            result.message = QStringLiteral("its fragments could not be read");
            return result;
        }
        priming = primingFrames == MP4Remuxer::kPrimingByCodec ? (track->aac ? kAACPriming : 0)
                                                               : std::max(primingFrames, 0);
        priming = int(std::min<uint64_t>(uint64_t(priming), samples.duration));
        timescale = track->mediaTimescale;
        moov = ordinaryMoov(std::move(*track), samples, priming);
        if (!moov) {
            result.message = QStringLiteral("its track is too long for an ordinary file");
            return result;
        }
    }
    const double seconds = double(samples.duration - uint64_t(priming)) / timescale;

    // The new 'moov' after the last complete fragment, and free space after it over whatever
    // else the file holds and the room allocated to it.
    const QByteArray moovBytes = moov->bytes();
    const uint64_t moovEnd = uint64_t(complete) + uint64_t(moovBytes.size());
    const auto writeTail = [&](uint64_t end) {
        end = std::min(end, moovEnd + UINT32_MAX);
        const QByteArray tail = moovBytes + bigEndian32(uint32_t(end - moovEnd)) + bigEndian32(Free);
        return pwriteFully(fileHandle, tail.constData(), size_t(tail.size()), uint64_t(complete)) ==
                   tail.size() &&
               (uint64_t(length) == end || ::ftruncate(fileHandle, int64_t(end)) == 0);
    };
    // The room allocated beyond the end is the tags' to come; a file system that refuses it gets
    // no more free space than the 'moov' needs.
    const uint64_t least = std::max(uint64_t(length), moovEnd + 8);
    if (!(writeTail(std::max(least, uint64_t(std::max<int64_t>(allocatedEnd, 0)))) || writeTail(least)) ||
        !syncData(fileHandle)) {
        const QString reason = Error::systemErrorText(errno);
        return keepFragmented(fileHandle, path, destination, complete, reason, seconds);
    }
    // From here on the file is read through the new 'moov'. The fragmented 'moov' and every
    // fragment after it become one 'mdat' that the new 'moov' points into: a reader walks four
    // boxes, not two for every half second of audio.
    char header[16];
    if (preadFully(fileHandle, header, sizeof header, oldMoov.offset) != ssize_t(sizeof header)) {
        const QString reason = Error::systemErrorText(errno);
        return keepFragmented(fileHandle, path, destination, complete, reason, seconds);
    }
    if (!rewriteHeader(fileHandle, oldMoov.offset, uint64_t(complete), Mdat) || !syncData(fileHandle)) {
        const QString reason = Error::systemErrorText(errno);
        if (pwriteFully(fileHandle, header, sizeof header, oldMoov.offset) != ssize_t(sizeof header) ||
            !syncData(fileHandle)) {
            result.message = reason;
            return result;
        }
        return keepFragmented(fileHandle, path, destination, complete, reason, seconds);
    }
    return completeFinish(fileHandle, {}, uint64_t(complete), path, destination, seconds);
}

} // namespace spindrel
