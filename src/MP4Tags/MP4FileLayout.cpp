#include "MP4Tags/MP4FileLayout.h"

#include "MP4Tags/MP4Atom.h"
#include "MP4Tags/PositionedIO.h"

namespace spindrel {

bool MP4FileLayout::read(int fileHandle, MP4FileLayout& layout)
{
    layout = {};
    const int64_t length = spindrel::fileLength(fileHandle);
    if (length < 0)
        return false;
    layout.fileLength = uint64_t(length);
    for (uint64_t p = 0; p < layout.fileLength; p += layout.boxes.back().size) {
        BoxHeader header;
        if (!readBoxHeaderAt(fileHandle, p, layout.fileLength, header) || header.size < header.headerLength ||
            header.size > layout.fileLength - p)
            return true;
        layout.boxes.push_back({p, header.size, header.type, header.headerLength, header.toEnd});
    }
    layout.complete = true;
    return true;
}

int MP4FileLayout::indexOf(uint32_t type) const
{
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        if (boxes[i].type == type)
            return int(i);
    }
    return -1;
}

bool MP4FileLayout::hasFragments() const
{
    for (const Box& box : boxes) {
        if (box.type == fourCC("moof") || box.type == fourCC("mfra") || box.type == fourCC("sidx"))
            return true;
    }
    return false;
}

bool MP4FileLayout::isFree(uint32_t type)
{
    return type == fourCC("free") || type == fourCC("skip");
}

} // namespace spindrel
