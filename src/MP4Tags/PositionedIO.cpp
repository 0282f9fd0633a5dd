#include "MP4Tags/PositionedIO.h"

#include <QtEndian>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_map>
#include <vector>

namespace spindrel {

namespace {
thread_local ReadTrace* tReadTrace = nullptr;

ssize_t preadTraced(int fileHandle, void* buffer, size_t count, off_t offset)
{
    const ssize_t got = pread(fileHandle, buffer, count, offset);
    if (tReadTrace && got > 0)
        tReadTrace->note(fileHandle, uint64_t(offset), got);
    return got;
}

// Offsets past what off_t can hold are never inside a file.
bool representable(uint64_t offset, size_t count)
{
    return offset <= uint64_t(INT64_MAX) - count;
}
ssize_t preadFromFile(int fileHandle, void* buffer, size_t count, uint64_t offset)
{
    size_t done = 0;
    while (done < count) {
        const ssize_t got =
            preadTraced(fileHandle, static_cast<char*>(buffer) + done, count - done, off_t(offset + done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return done > 0 ? ssize_t(done) : got;
        done += size_t(got);
    }
    return ssize_t(done);
}

struct Block
{
    std::vector<char> bytes; // shorter than the block size only at the end of the file
    size_t dirtyFrom = SIZE_MAX;
    size_t dirtyTo = 0;
};

struct ReadAhead
{
    uint64_t blockSize = 0;
    int fileHandle = -1;
    bool holdsWrites = false;
    bool writeFailed = false;
    int64_t length = -1; // the file's, once asked
    std::unordered_map<uint64_t, Block> blocks;

    Block* block(uint64_t index)
    {
        auto found = blocks.find(index);
        if (found == blocks.end()) {
            std::vector<char> bytes(blockSize);
            // A regular file reads short only at its end, so one read settles the block.
            ssize_t got = 0;
            do
                got = preadTraced(fileHandle, bytes.data(), blockSize, off_t(index * blockSize));
            while (got < 0 && errno == EINTR);
            if (got < 0)
                return nullptr;
            bytes.resize(size_t(got));
            found = blocks.emplace(index, Block{std::move(bytes)}).first;
        }
        return &found->second;
    }

    ssize_t read(void* buffer, size_t count, uint64_t offset)
    {
        size_t done = 0;
        while (done < count) {
            const uint64_t at = offset + done;
            const Block* found = block(at / blockSize);
            if (!found)
                return done > 0 ? ssize_t(done) : -1;
            const uint64_t within = at % blockSize;
            if (within >= found->bytes.size())
                break;
            const size_t take = std::min(count - done, size_t(found->bytes.size() - within));
            std::memcpy(static_cast<char*>(buffer) + done, found->bytes.data() + within, take);
            done += take;
        }
        return ssize_t(done);
    }

    // Copies a write into the blocks it touches. A block must not end before the write begins, or
    // the file would gain a hole the block cannot show; then false, and nothing is copied.
    bool copyIn(const void* buffer, size_t count, uint64_t offset, bool loadMissing)
    {
        const uint64_t first = offset / blockSize;
        const uint64_t last = (offset + count - 1) / blockSize;
        for (uint64_t index = first; index <= last; ++index) {
            const Block* found = loadMissing ? block(index) : nullptr;
            if (loadMissing &&
                (!found || std::max(offset, index * blockSize) > index * blockSize + found->bytes.size()))
                return false;
        }
        // A short block before the write may now be followed by a hole.
        std::erase_if(blocks, [&](const auto& entry) {
            return entry.first < first && entry.second.bytes.size() < blockSize && entry.second.dirtyTo == 0;
        });
        if (length >= 0)
            length = std::max<int64_t>(length, int64_t(offset + count));
        for (uint64_t index = first; index <= last; ++index) {
            const auto found = blocks.find(index);
            if (found == blocks.end())
                continue;
            Block& target = found->second;
            const uint64_t blockStart = index * blockSize;
            const uint64_t from = std::max(offset, blockStart);
            const uint64_t to = std::min(offset + count, blockStart + blockSize);
            if (from > blockStart + target.bytes.size()) {
                blocks.erase(found);
                continue;
            }
            target.bytes.resize(std::max<size_t>(target.bytes.size(), to - blockStart));
            std::memcpy(target.bytes.data() + (from - blockStart),
                        static_cast<const char*>(buffer) + (from - offset), to - from);
            if (holdsWrites) {
                target.dirtyFrom = std::min<size_t>(target.dirtyFrom, from - blockStart);
                target.dirtyTo = std::max<size_t>(target.dirtyTo, to - blockStart);
            }
        }
        return true;
    }

    // Writes the held bytes, one write per block touched.
    bool flush()
    {
        for (auto& [index, held] : blocks) {
            if (held.dirtyTo == 0)
                continue;
            const size_t count = held.dirtyTo - held.dirtyFrom;
            size_t done = 0;
            while (done < count) {
                const ssize_t put = pwrite(fileHandle, held.bytes.data() + held.dirtyFrom + done,
                                           count - done, off_t(index * blockSize + held.dirtyFrom + done));
                if (put < 0 && errno == EINTR)
                    continue;
                if (put <= 0) {
                    writeFailed = true;
                    break;
                }
                done += size_t(put);
            }
            held.dirtyFrom = SIZE_MAX;
            held.dirtyTo = 0;
        }
        return !writeFailed;
    }
};

thread_local ReadAhead* tReadAhead = nullptr;

ReadAhead* readAheadFor(int fileHandle)
{
    return tReadAhead && tReadAhead->fileHandle == fileHandle ? tReadAhead : nullptr;
}

} // namespace

ReadAheadScope::ReadAheadScope(int fileHandle, size_t blockSize, Writes writes)
{
    if (!tReadAhead) {
        tReadAhead = new ReadAhead;
        tReadAhead->fileHandle = fileHandle;
        tReadAhead->blockSize = blockSize;
        tReadAhead->holdsWrites = writes == Writes::Held;
        mOwns = true;
    }
}

ReadAheadScope::~ReadAheadScope()
{
    if (!mOwns)
        return;
    tReadAhead->flush();
    delete tReadAhead;
    tReadAhead = nullptr;
}

bool ReadAheadScope::flush()
{
    return !mOwns || tReadAhead->flush();
}

ReadAheadBypass::ReadAheadBypass(int fileHandle)
{
    if (ReadAhead* readAhead = readAheadFor(fileHandle)) {
        readAhead->flush();
        readAhead->blocks.clear();
        readAhead->length = -1;
        mSuspended = readAhead;
        tReadAhead = nullptr;
    }
}

ReadAheadBypass::~ReadAheadBypass()
{
    if (mSuspended)
        tReadAhead = static_cast<ReadAhead*>(mSuspended);
}

ReadTrace::ReadTrace() : mOuter(tReadTrace)
{
    tReadTrace = this;
}

ReadTrace::~ReadTrace()
{
    tReadTrace = mOuter;
}

void ReadTrace::note(int fileHandle, uint64_t offset, ssize_t count)
{
    mReads.push_back({fileHandle, offset, size_t(count)});
}

ssize_t preadFully(int fileHandle, void* buffer, size_t count, uint64_t offset)
{
    if (!representable(offset, count))
        return -1;
    if (ReadAhead* readAhead = readAheadFor(fileHandle))
        return readAhead->read(buffer, count, offset);
    return preadFromFile(fileHandle, buffer, count, offset);
}

ssize_t pwriteFully(int fileHandle, const void* buffer, size_t count, uint64_t offset)
{
    if (!representable(offset, count))
        return -1;
    if (count == 0)
        return 0;
    ReadAhead* readAhead = readAheadFor(fileHandle);
    if (readAhead && readAhead->holdsWrites && readAhead->copyIn(buffer, count, offset, true))
        return ssize_t(count);
    if (readAhead)
        readAhead->flush();
    size_t done = 0;
    while (done < count) {
        const ssize_t put =
            pwrite(fileHandle, static_cast<const char*>(buffer) + done, count - done, off_t(offset + done));
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            return done > 0 ? ssize_t(done) : put;
        done += size_t(put);
    }
    if (readAhead)
        readAhead->copyIn(buffer, done, offset, false);
    return ssize_t(done);
}

int64_t fileLength(int fileHandle)
{
    ReadAhead* readAhead = readAheadFor(fileHandle);
    if (readAhead && readAhead->length >= 0)
        return readAhead->length;
    struct stat status;
    const int64_t length = fstat(fileHandle, &status) == 0 ? int64_t(status.st_size) : -1;
    if (readAhead)
        readAhead->length = length;
    return length;
}

bool readWordAt(int fileHandle, uint64_t offset, uint32_t& word)
{
    uchar bytes[4] = {};
    const bool complete = preadFully(fileHandle, bytes, 4, offset) == 4;
    word = complete ? qFromBigEndian<uint32_t>(bytes) : 0;
    return complete;
}

bool readHeaderAt(int fileHandle, uint64_t offset, uint32_t& length, uint32_t& type)
{
    uchar bytes[8] = {};
    const bool complete = preadFully(fileHandle, bytes, 8, offset) == 8;
    length = complete ? qFromBigEndian<uint32_t>(bytes) : 0;
    type = complete ? qFromBigEndian<uint32_t>(bytes + 4) : 0;
    return complete;
}

bool readBoxHeaderAt(int fileHandle, uint64_t offset, uint64_t end, BoxHeader& header)
{
    uint32_t size32 = 0;
    header = {};
    if (offset >= end || end - offset < 8 || !readHeaderAt(fileHandle, offset, size32, header.type))
        return false;
    header.size = size32;
    if (size32 == 0) {
        header.size = end - offset;
        header.toEnd = true;
    } else if (size32 == 1) {
        uchar large[8];
        if (end - offset < 16 || preadFully(fileHandle, large, 8, offset + 8) != 8)
            return false;
        header.size = qFromBigEndian<uint64_t>(large);
        header.headerLength = 16;
    }
    return true;
}

} // namespace spindrel
