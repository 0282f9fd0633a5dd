#pragma once

#include <cstdint>
#include <vector>

namespace spindrel {

/// The top-level boxes of an open file, walked once with every size form: 32-bit, 64-bit (size word
/// 1) and size 0, which runs to the end of the file.
struct MP4FileLayout
{
    struct Box
    {
        uint64_t offset = 0;
        uint64_t size = 0;
        uint32_t type = 0;
        uint32_t headerLength = 8;
        bool toEnd = false; // written with size 0
        uint64_t end() const { return offset + size; }
    };

    std::vector<Box> boxes;
    uint64_t fileLength = 0;
    /// The boxes cover the file exactly; false when the last one runs past the end or the walk met
    /// bytes that are no box.
    bool complete = false;

    /// False when the file cannot be read at all.
    static bool read(int fileHandle, MP4FileLayout& layout);

    /// Index of the first box of the type, or -1.
    int indexOf(uint32_t type) const;
    /// Fragments or a fragment index: their boxes hold file offsets of one another.
    bool hasFragments() const;
    static bool isFree(uint32_t type);
};

} // namespace spindrel
