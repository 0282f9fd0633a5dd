#pragma once

#include <cstddef>
#include <cstdint>
#include <sys/types.h>

namespace spindrel {

/// pread and pwrite that carry on after interrupted or partial transfers. They return the count
/// moved, which is short only at the end of the file or on an error (-1 when nothing moved).
ssize_t preadFully(int fileHandle, void* buffer, size_t count, uint64_t offset);
ssize_t pwriteFully(int fileHandle, const void* buffer, size_t count, uint64_t offset);

/// While one lives, reads of its descriptor on this thread are served from 64 KiB blocks read once,
/// so walking a file's atoms costs a few system calls instead of two per atom. Meant for loading
/// (reads only); any write or size change on the descriptor drops what was read.
class ReadAheadScope
{
public:
    explicit ReadAheadScope(int fileHandle);
    ~ReadAheadScope();
    ReadAheadScope(const ReadAheadScope&) = delete;
    ReadAheadScope& operator=(const ReadAheadScope&) = delete;

private:
    bool mOwns = false; // only the outermost scope on a thread reads ahead
};

/// Drops blocks read ahead for the descriptor; callers that change a file's size call it.
void forgetReadAhead(int fileHandle);

/// The big-endian 32-bit word at the offset; false (and 0) when 4 bytes cannot be read.
bool readWordAt(int fileHandle, uint64_t offset, uint32_t& word);

/// An atom's size and type words with one read; false when 8 bytes cannot be read.
bool readHeaderAt(int fileHandle, uint64_t offset, uint32_t& length, uint32_t& type);

} // namespace spindrel
