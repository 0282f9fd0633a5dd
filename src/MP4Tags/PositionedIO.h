#pragma once

#include <cstddef>
#include <cstdint>
#include <sys/types.h>
#include <vector>

namespace spindrel {

/// pread and pwrite that carry on after interrupted or partial transfers. They return the count
/// moved, which is short only at the end of the file or on an error (-1 when nothing moved).
ssize_t preadFully(int fileHandle, void* buffer, size_t count, uint64_t offset);
ssize_t pwriteFully(int fileHandle, const void* buffer, size_t count, uint64_t offset);

/// While one lives, reads of its descriptor on this thread are served from blocks read once, so
/// walking a file's atoms costs a few system calls instead of two per atom. Writes through
/// pwriteFully keep the blocks true. With Writes::Held, writes into the blocks are kept and go to
/// the file together at flush() or when the scope ends, so a handful of small edits in one region
/// costs one write. Code that moves bytes any other way or changes the file's size works inside a
/// ReadAheadBypass.
class ReadAheadScope
{
public:
    enum class Writes { Through, Held };
    explicit ReadAheadScope(int fileHandle, size_t blockSize = 64 * 1024, Writes writes = Writes::Through);
    ~ReadAheadScope();
    ReadAheadScope(const ReadAheadScope&) = delete;
    ReadAheadScope& operator=(const ReadAheadScope&) = delete;

    /// Writes what is held; false when any held write has failed.
    bool flush();

private:
    bool mOwns = false; // only the outermost scope on a thread reads ahead
};

/// While one lives, the descriptor's reads and writes go straight to the file: what was held is
/// written and the blocks are dropped first. Moving a file's bytes or changing its size happens
/// inside one, so a bulk move never fills the blocks.
class ReadAheadBypass
{
public:
    explicit ReadAheadBypass(int fileHandle);
    ~ReadAheadBypass();
    ReadAheadBypass(const ReadAheadBypass&) = delete;
    ReadAheadBypass& operator=(const ReadAheadBypass&) = delete;

private:
    void* mSuspended = nullptr;
};

/// While one lives, every read that reaches a file from this thread is noted, so that a check can
/// tell which bytes of a file a walk asked the system for.
class ReadTrace
{
public:
    struct Read
    {
        int fileHandle = -1;
        uint64_t offset = 0;
        size_t count = 0; // the bytes that came back
    };

    ReadTrace();
    ~ReadTrace();
    ReadTrace(const ReadTrace&) = delete;
    ReadTrace& operator=(const ReadTrace&) = delete;

    const std::vector<Read>& reads() const { return mReads; }
    void note(int fileHandle, uint64_t offset, ssize_t count);

private:
    std::vector<Read> mReads;
    ReadTrace* mOuter;
};

/// The file's length, or -1 when it cannot be had. Inside a ReadAheadScope it is asked of the file
/// once and then follows the scope's own writes.
int64_t fileLength(int fileHandle);

/// The big-endian 32-bit word at the offset; false (and 0) when 4 bytes cannot be read.
bool readWordAt(int fileHandle, uint64_t offset, uint32_t& word);

/// An atom's size and type words with one read; false when 8 bytes cannot be read.
bool readHeaderAt(int fileHandle, uint64_t offset, uint32_t& length, uint32_t& type);

/// An atom's header in every size form: the 64-bit size after a size word of 1, and the rest of
/// [offset, end) for a size word of 0. The size is as written, not checked against anything.
struct BoxHeader
{
    uint64_t size = 0;
    uint32_t type = 0;
    uint32_t headerLength = 8;
    bool toEnd = false;
};
/// False when the header does not fit in [offset, end) or cannot be read.
bool readBoxHeaderAt(int fileHandle, uint64_t offset, uint64_t end, BoxHeader& header);

} // namespace spindrel
