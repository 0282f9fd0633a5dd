#include "MP4Tags/PositionedIO.h"

#include <QtEndian>
#include <cerrno>
#include <cstring>
#include <unistd.h>
#include <unordered_map>
#include <vector>

namespace spindrel {

namespace {
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
            pread(fileHandle, static_cast<char*>(buffer) + done, count - done, off_t(offset + done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return done > 0 ? ssize_t(done) : got;
        done += size_t(got);
    }
    return ssize_t(done);
}

struct ReadAhead
{
    static constexpr uint64_t BlockSize = 64 * 1024;

    int fileHandle = -1;
    // Block index to its bytes; a block shorter than BlockSize ends at the end of the file.
    std::unordered_map<uint64_t, std::vector<char>> blocks;

    const std::vector<char>* block(uint64_t index)
    {
        auto found = blocks.find(index);
        if (found == blocks.end()) {
            std::vector<char> bytes(BlockSize);
            const ssize_t got = preadFromFile(fileHandle, bytes.data(), BlockSize, index * BlockSize);
            if (got < 0)
                return nullptr;
            bytes.resize(size_t(got));
            found = blocks.emplace(index, std::move(bytes)).first;
        }
        return &found->second;
    }

    ssize_t read(void* buffer, size_t count, uint64_t offset)
    {
        size_t done = 0;
        while (done < count) {
            const uint64_t at = offset + done;
            const std::vector<char>* bytes = block(at / BlockSize);
            if (!bytes)
                return done > 0 ? ssize_t(done) : -1;
            const uint64_t within = at % BlockSize;
            if (within >= bytes->size())
                break;
            const size_t take = std::min(count - done, size_t(bytes->size() - within));
            std::memcpy(static_cast<char*>(buffer) + done, bytes->data() + within, take);
            done += take;
        }
        return ssize_t(done);
    }
};

thread_local ReadAhead* tReadAhead = nullptr;

} // namespace

ReadAheadScope::ReadAheadScope(int fileHandle)
{
    if (!tReadAhead) {
        tReadAhead = new ReadAhead;
        tReadAhead->fileHandle = fileHandle;
        mOwns = true;
    }
}

ReadAheadScope::~ReadAheadScope()
{
    if (!mOwns)
        return;
    delete tReadAhead;
    tReadAhead = nullptr;
}

void forgetReadAhead(int fileHandle)
{
    if (tReadAhead && tReadAhead->fileHandle == fileHandle)
        tReadAhead->blocks.clear();
}

ssize_t preadFully(int fileHandle, void* buffer, size_t count, uint64_t offset)
{
    if (!representable(offset, count))
        return -1;
    if (tReadAhead && tReadAhead->fileHandle == fileHandle)
        return tReadAhead->read(buffer, count, offset);
    return preadFromFile(fileHandle, buffer, count, offset);
}

ssize_t pwriteFully(int fileHandle, const void* buffer, size_t count, uint64_t offset)
{
    if (!representable(offset, count))
        return -1;
    forgetReadAhead(fileHandle);
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
    return ssize_t(done);
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

} // namespace spindrel
