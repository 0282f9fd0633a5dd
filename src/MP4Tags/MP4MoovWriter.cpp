#include "MP4Tags/MP4MoovWriter.h"

#include "MP4Tags/MP4Atom.h"
#include "MP4Tags/PositionedIO.h"
#include "foundation/LockedTemporaries.h"
#include "foundation/Log.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QtEndian>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace spindrel {

namespace {

constexpr uint32_t Moov = fourCC("moov");
constexpr uint32_t Stco = fourCC("stco");
constexpr uint32_t Co64 = fourCC("co64");
const QLatin1String EditFileMarker(".spindrel-edit-");

QString displayName(const QString& path)
{
    return QFileInfo(path).fileName();
}

// The free boxes inside the containers an edit opened, which can give up their space.
void internalFreeSpace(MP4Box& box, std::vector<MP4Box*>& found)
{
    if (!box.isExpanded())
        return;
    for (MP4Box& child : box.children()) {
        if (MP4FileLayout::isFree(child.type()))
            found.push_back(&child);
        else
            internalFreeSpace(child, found);
    }
}

void dropEmptied(MP4Box& box)
{
    if (!box.isExpanded())
        return;
    std::erase_if(box.children(), [](const MP4Box& child) { return child.type() == 0; });
    for (MP4Box& child : box.children())
        dropEmptied(child);
}

/// Makes the box exactly `target` long, or short enough to leave a free box of at least 8 bytes
/// after it, by resizing its internal free space. Gives the length of that free box, or nothing.
std::optional<uint64_t> fitTo(MP4Box& moov, uint64_t target)
{
    const uint64_t size = moov.size();
    if (size == target || size + 8 <= target)
        return target - size;
    std::vector<MP4Box*> frees;
    internalFreeSpace(moov, frees);
    if (size < target) {
        // Too few bytes left for a free box of their own: an inner one takes them.
        if (frees.empty())
            return std::nullopt;
        frees.front()->setContent(frees.front()->content() + QByteArray(qsizetype(target - size), '\0'));
        return 0;
    }
    uint64_t excess = size - target;
    for (MP4Box* free : frees) {
        if (excess == 0)
            break;
        const uint64_t freeSize = free->size();
        if (freeSize >= excess + 8) {
            free->setContent(free->content().left(free->content().size() - qsizetype(excess)));
            excess = 0;
        } else {
            *free = MP4Box(); // dropped below
            excess -= std::min(excess, freeSize);
        }
    }
    dropEmptied(moov);
    const uint64_t fitted = moov.size();
    if (fitted == target || fitted + 8 <= target)
        return target - fitted;
    return std::nullopt;
}

/// Moves every chunk offset past `from` by `shift`; a 32-bit table that would overflow becomes a
/// 64-bit one. False when an offset points into the rewritten region, which no media can be in.
bool moveChunkOffsets(MP4Box& moov, uint64_t regionStart, uint64_t regionEnd, int64_t shift)
{
    std::vector<MP4Box*> tables;
    if (!moov.collect(Stco, tables) || !moov.collect(Co64, tables))
        return false;
    for (MP4Box* table : tables) {
        const bool wide = table->type() == Co64;
        const qsizetype entrySize = wide ? 8 : 4;
        const QByteArray& content = table->content();
        if (content.size() < 8)
            return false;
        const uint32_t count = qFromBigEndian<uint32_t>(content.constData() + 4);
        if (uint64_t(count) * uint64_t(entrySize) > uint64_t(content.size() - 8))
            return false;
        std::vector<uint64_t> offsets(count);
        bool overflows = false;
        for (uint32_t i = 0; i < count; ++i) {
            const char* at = content.constData() + 8 + qsizetype(i) * entrySize;
            uint64_t offset = wide ? qFromBigEndian<uint64_t>(at) : qFromBigEndian<uint32_t>(at);
            if (offset >= regionStart && offset < regionEnd)
                return false;
            if (offset >= regionEnd)
                offset = uint64_t(int64_t(offset) + shift);
            overflows = overflows || offset > UINT32_MAX;
            offsets[i] = offset;
        }
        const bool widen = wide || overflows;
        QByteArray moved = content.left(8);
        moved.reserve(8 + qsizetype(count) * (widen ? 8 : 4) +
                      (content.size() - 8 - qsizetype(count) * entrySize));
        for (const uint64_t offset : offsets) {
            char word[8];
            if (widen)
                qToBigEndian(offset, word);
            else
                qToBigEndian(uint32_t(offset), word);
            moved.append(word, widen ? 8 : 4);
        }
        moved += content.mid(8 + qsizetype(count) * entrySize);
        *table = MP4Box(widen ? Co64 : Stco, moved);
    }
    return true;
}

bool hasChunkOffsets(MP4Box& moov)
{
    std::vector<MP4Box*> tracks;
    moov.collect(fourCC("trak"), tracks);
    for (MP4Box* track : tracks) {
        std::vector<MP4Box*> tables;
        if (!track->expand() || !track->collect(Stco, tables) || !track->collect(Co64, tables) ||
            tables.empty())
            return false;
    }
    return true;
}

// Copies a range of one file into another, leaving holes where the source has them.
bool copyRange(int from, uint64_t offset, int to, uint64_t destination, uint64_t length)
{
    const uint64_t end = offset + length;
    uint64_t at = offset;
    while (at < end) {
        off_t data = lseek(from, off_t(at), SEEK_DATA);
        if (data < 0 && errno != ENXIO)
            data = off_t(at); // no hole support: copy everything
        if (data < 0 || uint64_t(data) >= end)
            return true;
        off_t hole = lseek(from, data, SEEK_HOLE);
        const uint64_t stop = hole < 0 ? end : std::min(end, uint64_t(hole));
        uint64_t done = uint64_t(data);
        while (done < stop) {
            loff_t in = loff_t(done);
            loff_t out = loff_t(destination + (done - offset));
            // In slices whose writing to disk starts at once, so the final sync has little left.
            const size_t slice = size_t(std::min<uint64_t>(stop - done, 16 << 20));
            const ssize_t copied = copy_file_range(from, &in, to, &out, slice, 0);
            if (copied < 0 && errno == EINTR)
                continue;
            if (copied > 0) {
                sync_file_range(to, off_t(destination + (done - offset)), off_t(copied),
                                SYNC_FILE_RANGE_WRITE);
                done += uint64_t(copied);
                continue;
            }
            if (copied < 0 && errno != EXDEV && errno != ENOSYS && errno != EINVAL && errno != EOPNOTSUPP)
                return false;
            // Across file systems or without kernel support: through a buffer.
            static thread_local std::vector<char> buffer(1 << 20);
            const size_t chunk = size_t(std::min<uint64_t>(buffer.size(), stop - done));
            const ssize_t got = preadFully(from, buffer.data(), chunk, done);
            if (got <= 0)
                return got == 0 ? (errno = EIO, false) : false;
            if (pwriteFully(to, buffer.data(), size_t(got), destination + (done - offset)) != got)
                return false;
            done += uint64_t(got);
        }
        at = stop;
    }
    return true;
}

} // namespace

uint64_t MP4MoovWriter::paddingFor(uint64_t moovSize)
{
    // Room for the tags and cover art to grow by an eighth before the media must move again.
    return 4096 + moovSize / 8;
}

bool MP4MoovWriter::write(MP4Box& moov, const MP4FileLayout& layout, int moovIndex)
{
    mError.clear();
    const auto& boxes = layout.boxes;
    Region region{moovIndex, moovIndex, 0, 0};
    while (region.first > 0 && MP4FileLayout::isFree(boxes[size_t(region.first - 1)].type))
        --region.first;
    while (size_t(region.last + 1) < boxes.size() &&
           MP4FileLayout::isFree(boxes[size_t(region.last + 1)].type))
        ++region.last;
    region.start = boxes[size_t(region.first)].offset;
    region.end = boxes[size_t(region.last)].end();

    const bool fragmented = layout.hasFragments() || (moov.expand() && moov.child(fourCC("mvex")));
    if (moov.size() > UINT32_MAX - 8 || region.end - region.start > UINT32_MAX)
        return fail(tr("The tags of “%1” are too large.").arg(displayName(mPath)));

    // Beside the old box, in the free space on either side of it.
    const MP4FileLayout::Box& old = boxes[size_t(moovIndex)];
    std::vector<MP4Box*> frees;
    internalFreeSpace(moov, frees);
    uint64_t givable = 0;
    for (const MP4Box* free : frees)
        givable += free->size();
    for (const bool after : {true, false}) {
        const uint64_t space = after ? region.end - old.end() : old.offset - region.start;
        if (space < 8 || space + givable < moov.size())
            continue; // not even with all of its inner free space given up
        MP4Box fitted = moov;
        if (fitTo(fitted, space))
            return writeBeside(fitted, layout, region, moovIndex, after);
    }
    // Over the old box and its free space, through a copy at the end of the file. A fragmented
    // file keeps its fragment index last, so it gets no copy.
    if (!fragmented) {
        // At the end of the file the region may grow, so the box goes as it is.
        const bool tail = size_t(region.last) + 1 == boxes.size();
        std::optional<MP4Box> fitted;
        if (!tail) {
            fitted = moov;
            if (!fitTo(*fitted, region.end - region.start))
                fitted.reset();
        }
        const MP4FileLayout::Box& last = boxes.back();
        if ((tail || fitted) && (!last.toEnd || last.size <= UINT32_MAX))
            return writeOver(fitted ? *fitted : moov, layout, region);
        return rewrite(moov, layout, region);
    }
    return fail(tr("“%1” cannot be edited: fragmented files cannot be edited yet.").arg(displayName(mPath)));
}

bool MP4MoovWriter::writeBeside(const MP4Box& moov, const MP4FileLayout& layout, const Region& region,
                                int moovIndex, bool after)
{
    const MP4FileLayout::Box& old = layout.boxes[size_t(moovIndex)];
    const uint64_t start = after ? old.end() : region.start;
    const uint64_t space = after ? region.end - old.end() : old.offset - region.start;
    const QByteArray bytes = moov.bytes();
    const uint64_t size = uint64_t(bytes.size());

    // The space becomes one free box, so the body can go inside it while it stays free.
    const int firstFree = after ? moovIndex + 1 : region.first;
    const MP4FileLayout::Box& free = layout.boxes[size_t(firstFree)];
    if (free.size != space || free.headerLength != 8 || free.toEnd) {
        if (!putHeader(start, space, "free") || !sync())
            return false;
    }
    if (!put(bytes.constData() + 8, size - 8, start + 8) ||
        (space > size && !putHeader(start + size, space - size, "free")) || !sync())
        return false;
    // The new box's header: the switch when it stands before the old one.
    if (!put(bytes.constData(), 8, start) || !sync())
        return false;
    // Freeing the old box: the switch when the new one stands after it. Only the order of the
    // steps matters to the file's integrity, so the last one needs no sync of its own.
    return put("free", 4, old.offset + 4);
}

bool MP4MoovWriter::writeOver(const MP4Box& moov, const MP4FileLayout& layout, const Region& region)
{
    const QByteArray bytes = moov.bytes();
    const uint64_t size = uint64_t(bytes.size());
    const uint64_t space = region.end - region.start;
    const bool tail = size_t(region.last) + 1 == layout.boxes.size();

    // The last box must end where its size says before anything follows it.
    const MP4FileLayout::Box& last = layout.boxes.back();
    if (last.toEnd) {
        uchar word[4];
        qToBigEndian(uint32_t(last.size), word);
        if (!put(word, 4, last.offset) || !sync())
            return false;
    }
    // The copy at the end of the file: from the moment the old box is freed, it is the one read.
    const uint64_t copyAt = layout.fileLength;
    if (!put(bytes.constData(), size, copyAt) || !sync()) {
        // Nothing refers to a copy that did not make it (a full disk): it goes, and the file is
        // as it was.
        if (ftruncate(mFileHandle, off_t(copyAt)) != 0)
            logError(QStringLiteral("MP4MoovWriter"), QStringLiteral("could not cut off an unfinished copy"));
        return false;
    }
    // Growing at the end of the file: the copy is the new box, and the old space stays free for
    // the next edit.
    if (tail && (size > space || space - size < 8))
        return putHeader(region.start, space, "free");
    if (!putHeader(region.start, space, "free") || !sync())
        return false;

    if (!put(bytes.constData() + 8, size - 8, region.start + 8) ||
        (space > size && !tail && !putHeader(region.start + size, space - size, "free")) || !sync())
        return false;
    if (!put(bytes.constData(), 8, region.start) || !sync())
        return false;
    if (ftruncate(mFileHandle, off_t(tail ? region.start + size : copyAt)) != 0)
        return failWithErrno(tr("“%1” could not be shortened").arg(displayName(mPath)));
    return true;
}

bool MP4MoovWriter::rewrite(MP4Box& moov, const MP4FileLayout& layout, const Region& region)
{
    if (!hasChunkOffsets(moov)) {
        logErrorAfterSource(QStringLiteral("MP4Tags"), QStringLiteral("Could not find stco or co64"));
        return fail(tr("“%1” cannot be edited: a track has no chunk offsets.").arg(displayName(mPath)));
    }
    // The media after the region moves by the growth; moving the offsets may widen a table,
    // which grows the box again.
    const int64_t regionLength = int64_t(region.end - region.start);
    const uint64_t padding = paddingFor(moov.size());
    int64_t shift = int64_t(moov.size() + padding) - regionLength;
    QByteArray bytes;
    for (int pass = 0; pass < 3 && bytes.isEmpty(); ++pass) {
        MP4Box moved = moov;
        if (!moveChunkOffsets(moved, region.start, region.end, shift)) {
            logErrorAfterSource(QStringLiteral("MP4Tags"), QStringLiteral("Damaged atom chain in file!"));
            return fail(
                tr("“%1” is damaged: its chunk offsets point into its headers.").arg(displayName(mPath)));
        }
        const int64_t moves = int64_t(moved.size() + padding) - regionLength;
        if (moves == shift)
            bytes = moved.bytes();
        shift = moves; // a widened table grew the box: measure again
    }
    if (bytes.isEmpty())
        return fail(tr("The tags of “%1” are too large.").arg(displayName(mPath)));

    // Symbolic links stay links: the file they point to is the one replaced.
    const QString target = QFileInfo(mPath).canonicalFilePath();
    const QFileInfo targetInfo(target);
    QByteArray temporary =
        QFile::encodeName(targetInfo.absolutePath() + QStringLiteral("/.") + targetInfo.fileName() +
                          EditFileMarker + QStringLiteral("XXXXXX"));
    struct stat status;
    if (target.isEmpty() || fstat(mFileHandle, &status) != 0)
        return failWithErrno(tr("“%1” could not be read").arg(displayName(mPath)));
    const int out = mkostemp(temporary.data(), O_CLOEXEC);
    if (out < 0)
        return failWithErrno(tr("No new copy of “%1” could be made in its folder").arg(displayName(mPath)));
    // The lock tells a clean-up in another process that this file is still being written.
    flock(out, LOCK_EX);
    const auto abandon = [&](const QString& what) {
        const int error = errno;
        unlink(temporary.constData());
        close(out);
        errno = error;
        return failWithErrno(what);
    };

    uint64_t at = 0;
    bool copied = true;
    for (std::size_t i = 0; copied && i < layout.boxes.size(); ++i) {
        const MP4FileLayout::Box& box = layout.boxes[i];
        if (int(i) == region.first) {
            char header[8];
            qToBigEndian(uint32_t(padding), header);
            std::memcpy(header + 4, "free", 4);
            QByteArray room(qsizetype(padding), '\0');
            room.replace(0, 8, QByteArray(header, 8));
            copied = pwriteFully(out, bytes.constData(), size_t(bytes.size()), at) == bytes.size() &&
                     pwriteFully(out, room.constData(), size_t(room.size()), at + uint64_t(bytes.size())) ==
                         room.size();
            at += uint64_t(bytes.size()) + padding;
        } else if (int(i) < region.first || int(i) > region.last) {
            copied = copyRange(mFileHandle, box.offset, out, at, box.size);
            at += box.size;
        }
    }
    if (!copied || ftruncate(out, off_t(at)) != 0)
        return abandon(tr("“%1” could not be written anew").arg(displayName(mPath)));
    fchown(out, status.st_uid, status.st_gid); // only root may give a file away; keep what we can
    if (fchmod(out, status.st_mode & 07777) != 0 || fsync(out) != 0)
        return abandon(tr("“%1” could not be written anew").arg(displayName(mPath)));
    if (rename(temporary.constData(), QFile::encodeName(target).constData()) != 0)
        return abandon(tr("“%1” could not be replaced").arg(displayName(mPath)));
    const int folder =
        open(QFile::encodeName(targetInfo.absolutePath()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0) {
        fsync(folder);
        close(folder);
    }
    close(mFileHandle);
    mFileHandle = out; // the lock goes with the last descriptor
    return true;
}

bool MP4MoovWriter::put(const void* bytes, size_t count, uint64_t offset)
{
    errno = 0;
    if (pwriteFully(mFileHandle, bytes, count, offset) == ssize_t(count))
        return true;
    if (errno == 0)
        errno = EIO;
    return failWithErrno(tr("“%1” could not be written").arg(displayName(mPath)));
}

bool MP4MoovWriter::putHeader(uint64_t offset, uint64_t size, const char* type)
{
    char header[8];
    qToBigEndian(uint32_t(size), header);
    std::memcpy(header + 4, type, 4);
    return put(header, 8, offset);
}

bool MP4MoovWriter::sync()
{
    if (fdatasync(mFileHandle) == 0)
        return true;
    return failWithErrno(tr("“%1” could not be written").arg(displayName(mPath)));
}

bool MP4MoovWriter::fail(const QString& message)
{
    mError = message;
    return false;
}

bool MP4MoovWriter::failWithErrno(const QString& what)
{
    const int error = errno;
    if (error == ENOSPC || error == EDQUOT)
        return fail(tr("%1: the disk is full.").arg(what));
    return fail(QStringLiteral("%1: %2.").arg(what, QString::fromLocal8Bit(strerror(error))));
}

int MP4MoovWriter::removeStaleEditFiles(const QString& folder)
{
    return LockedTemporaries::removeStale(folder, EditFileMarker);
}

bool MP4MoovWriter::isEditFileName(const QString& name)
{
    return LockedTemporaries::isTemporaryName(name, EditFileMarker);
}

} // namespace spindrel
