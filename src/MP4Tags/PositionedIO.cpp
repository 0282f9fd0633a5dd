#include "MP4Tags/PositionedIO.h"

#include <QtEndian>
#include <cerrno>
#include <unistd.h>

namespace spindrel {

namespace {
// Offsets past what off_t can hold are never inside a file.
bool representable(uint64_t offset, size_t count)
{
    return offset <= uint64_t(INT64_MAX) - count;
}
} // namespace

ssize_t preadFully(int fileHandle, void* buffer, size_t count, uint64_t offset)
{
    if (!representable(offset, count))
        return -1;
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

ssize_t pwriteFully(int fileHandle, const void* buffer, size_t count, uint64_t offset)
{
    if (!representable(offset, count))
        return -1;
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
